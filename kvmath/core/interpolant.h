#pragma once
// Piecewise cubic through the points of a cloud.

#include <kvmath/core/point_cloud.h>

#include <QtCore/QVector>

namespace KvMath {

/// Kind of interpolant. Any int is legal; only the Akima spline builds.
enum _KvInterpolantType_ : int { KvInterpolantNone = -1, KvInterpolantAkima = 0 };

/// One cubic per interval between neighbouring knots, continuous in value and slope, through every knot. On
/// interval i, with t = x - knotX[i], the value is ((c3*t + c2)*t + c1)*t + c0. Copies are independent of
/// each other.
class KVMATH_EXPORT KvInterpolant {
public:
    QVector<float> knotX;         ///< x of the knots, mm, strictly ascending
    QVector<float> coefficients;  ///< c0, c1, c2, c3 per interval
    int knotCount;                ///< 0 when nothing is built
    _KvInterpolantType_ type;     ///< KvInterpolantNone when nothing is built
    float lastY;                  ///< y of the last knot; NaN when not known, as for arrays set by hand

    KvInterpolant();  ///< nothing built
    /// Runs buildFromPointCloud; knotCount tells whether it succeeded.
    KvInterpolant(const KvPointCloud<KvPointXY>& cloud, _KvInterpolantType_ type);

    /// Builds from the points in ascending x; points with a NaN or infinite coordinate are left out. Returns
    /// the number of knots. 0 for KvInterpolantNone, which keeps the previous build; 0 with nothing built for
    /// any other type than the Akima spline and where buildAkimaSpline gives 0.
    int buildFromPointCloud(const KvPointCloud<KvPointXY>& cloud, _KvInterpolantType_ type);

    /// Builds from points that are in ascending x already (H. Akima, J. ACM 17, 1970): the slope at a knot is
    /// the mean of the two secants beside it, each weighted by the change of secant on the other side, so
    /// that straight runs stay straight and an outlier bends only its neighbourhood; two secants are
    /// extrapolated linearly at either end. Two knots give their straight line. Returns the number of knots;
    /// 0 with nothing built when `cloud` is null, x does not ascend strictly, fewer than 2 usable points are
    /// left, or a coefficient does not fit a float.
    int buildAkimaSpline(const KvPointCloud<KvPointXY>* cloud);

    /// Value at x, evaluated in double and narrowed once: the knot's y at a knot, exactly at the first and
    /// the last one, within float rounding at inner ones. An inner knot is evaluated on the interval to its
    /// left, the last one too where lastY is NaN. NaN outside the knots, for a NaN x and when nothing is
    /// built.
    float calcY(float x) const;

    /// Replaces the points of `out` by the values at start, start + step, ... below the end. The start is
    /// xFrom or the first knot, whichever is greater, the end xTo or the last knot, whichever is less; NaN is
    /// no limit. The start is always evaluated: it is the only point when the end does not lie beyond it, and
    /// for a NaN step. A start beyond the last knot gives no points. x is summed in float; a step lost in
    /// rounding ends the run. The range becomes NaN, that of an empty `out` stays as it was. Returns the
    /// number of points. 0, with `out` untouched, when step <= 0, nothing is built or more than 2^24 points
    /// are asked for.
    int generatePointCloud(KvPointCloud<KvPointXY>& out, float step, float xFrom, float xTo) const;

    /// Slope at x of the parabola through (x0, y0), (x1, y1), (x2, y2), in double, narrowed once. Infinite or
    /// NaN when two abscissae are equal.
    float diff3p(float x, float x0, float x1, float x2, float y0, float y1, float y2) const;
};

}  // namespace KvMath
