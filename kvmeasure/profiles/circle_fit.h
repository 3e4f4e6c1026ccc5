#pragma once
// The last step of a circle fit, to the least sum of squared distances, and what the points cover of it.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>

#include <vector>

namespace KvMeasure {

/// A circle, mm.
struct FittedCircle {
    Vector centre;      ///< mm
    double radius = 0;  ///< mm, > 0
};

/// Sum of the squared distances of the points to the circle, mm^2; 0 without points, not finite where a point
/// or the circle is not.
KVMEASURE_EXPORT double circleCost(const std::vector<Vector>& points, const FittedCircle& circle);

/// Lowers the cost of a circle, and never raises it: Levenberg-Marquardt steps from the circle given and from
/// the straight line through the points (N. Chernov, C. Lesort: Least squares fitting of circles, J. Math.
/// Imaging Vis. 23 (2005) 239-252). With `knowsRadius` the radius stays. True when it came to a minimum: a
/// further step lowers the cost by less than a share of `leastGain`, or none does. False after 1000 steps
/// (200 for 100,000 points and more), and where a straight line costs no more, or the radius is beyond 1e9
/// times the extent of the points. The points are finite. False, and the circle untouched, for fewer of them
/// than parameters (2 with `knowsRadius`, else 3) and for points in one place.
KVMEASURE_EXPORT bool polishCircle(const std::vector<Vector>& points, bool knowsRadius, FittedCircle& circle,
                                   double leastGain = 1e-14);

/// The part of a circle that has points: all but the widest stretch without one.
struct ArcSpan {
    double start = 0;  ///< direction of its first point from the centre, radians from the x axis, -pi to pi
    double span = 0;   ///< from there to the left to its last point, radians, 0 to below 2 pi
};

/// The arc that points cover as seen from a centre; at least one point, all finite. 0 wide for one.
KVMEASURE_EXPORT ArcSpan arcSpan(const std::vector<Vector>& points, const Vector& centre);

/// How far the middle of an arc of `radius` mm and `span` radians lies from its chord, mm: 0 for no span,
/// twice the radius for the whole circle.
KVMEASURE_EXPORT double sagitta(double radius, double span);

}  // namespace KvMeasure
