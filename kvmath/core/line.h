#pragma once
// Line in slope form.

#include <kvmath/core/point_cloud.h>

namespace KvMath {

/// y = k*x + b: k the slope, b the intercept in mm. A vertical line cannot be represented. All in single
/// precision unless said otherwise; an unset line or coordinate gives NaN.
class KVMATH_EXPORT KvLine {
public:
    float k;  ///< slope; mm per mm
    float b;  ///< height at x = 0, mm

    KvLine();                                          ///< unset: both NaN
    KvLine(float k, float b);                          ///< takes slope and intercept as they are
    KvLine(const KvPointXY& p1, const KvPointXY& p2);  ///< runs calcFromTwoPoints

    /// The line through both points. False, with k = b = 0, when their x differ by less than 1e-5 mm.
    bool calcFromTwoPoints(const KvPointXY& p1, const KvPointXY& p2);

    /// Ordinary least squares of y on x over the points without an unset coordinate. Products are taken in
    /// single precision and summed in double, which costs digits where |x| is large against its spread.
    /// False, with the line untouched, when the cloud holds fewer than 2 points. When all usable points share
    /// one x, or fewer than two are usable, the result is still true: k and b are NaN, infinite or numbers
    /// that rounding decides.
    bool calcFromPointCloud(const KvPointCloud<KvPointXY>& cloud);

    float y(float x) const;  ///< height of the line at x, mm
    float x(float y) const;  ///< (y - b) / k; infinite or NaN on a horizontal line

    /// Distance of p at right angles to this line, mm, never negative.
    float calcDistanceToPoint(const KvPointXY& p) const;
    /// Distance of p at right angles to `line`, mm, never negative.
    static float calcDistanceToPoint(const KvLine& line, const KvPointXY& p);

    /// Common point of both lines. False, with `p` untouched, when their slopes are exactly equal.
    static bool calcIntersection(const KvLine& l1, const KvLine& l2, KvPointXY& p);

    /// Angle from l2 to l1, degrees, counter-clockwise positive, between -180 and 180. In double, narrowed
    /// once.
    static float calcAngle(const KvLine& l1, const KvLine& l2);
};

}  // namespace KvMath
