#pragma once
// Plane in space, its fits, and the removal of what lies above or below it in a scan.

#include <kvmath/core/point_cloud.h>

#include <tarn/tarn.h>

namespace KvMath {

class KvProfileZSet;
struct LinePP;

/// Implicit plane a*x + b*y + c*z + d = 0, not normalised. The static fits and removals use the explicit form
/// z = a*x + b*y + c instead. These statics write trace messages of level 1, see SetTrace.
class KVMATH_EXPORT KvPlane {
public:
    double a;  ///< coefficient of x
    double b;  ///< coefficient of y
    double c;  ///< coefficient of z
    double d;  ///< constant term, mm where (a, b, c) is of unit length

    KvPlane();  ///< unset: all NaN

    /// The plane through three points, computed in single precision. All four are 0, or rounding noise, for
    /// points on one line.
    void calcFromPoints(const KvPointXYZ& p1, const KvPointXYZ& p2, const KvPointXYZ& p3);

    /// Distance of p at right angles to this plane, mm, never negative; NaN or infinite when a = b = c = 0.
    float calcDistance(const KvPointXYZ& p) const;
    /// Distance of p at right angles to `plane`, as the member computes it.
    static float calcDistance(const KvPlane& plane, const KvPointXYZ& p);

    /// Least squares of z = a*x + b*y + c over the points without an unset coordinate (null entries are
    /// skipped too). Products are taken in single precision and summed in double: far from the origin that
    /// costs digits, so move x, y and z near 0 first. False, with a, b and c untouched, for fewer than 3
    /// entries, fewer than 3 usable points, or a determinant of exactly 0. Points nearly on one line pass
    /// this test and give a plane that rounding decides.
    static bool calcFromPointCloud(const QList<const Vector3D*>& points, double& a, double& b, double& c);
    /// The plane of a cloud by the fit of a list of points, with the same failures.
    static bool calcFromPointCloud(const KvPointCloud<KvPointXYZ>& cloud, double& a, double& b, double& c);

    /// Removes the points above z = a*x + b*y + c - shiftFromPlane (removeUpLevel) or below z = a*x + b*y + c
    /// + shiftFromPlane; a point on the threshold, an unset one and a null entry stay. By design a positive
    /// shift moves the threshold through the plane to its other side, and so removes more, in both modes.
    /// Returns the number of points removed.
    static int removePointsRelativelyPlane(PointCloud& cloud, bool removeUpLevel, double shiftFromPlane,
                                           double a, double b, double c);
    /// Fits a plane to a scan and removes what lies above or below it: the plane y = a*x + b*z + c, heights
    /// over places, is fitted to all points of the stack and returned, and what lies above y = plane - shift
    /// (removeUpLevel) or below y = plane + shift goes. Points without a place or height stay. False, nothing
    /// changed, when the fit fails.
    static bool removePointsRelativelyPlane(KvProfileZSet& set, bool removeUpLevel, double shift, double& a,
                                            double& b, double& c);

    /// Takes nothing, by design: 0, with `out` untouched, for any input.
    static int getPointsFromArea(const PointCloud& in, const LinePP* area, PointCloud& out);
};

}  // namespace KvMath
