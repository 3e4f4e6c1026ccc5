#pragma once
// Roundness of a profile (ISO 12181) about four circles.

#include <kvmeasure/base/plane_geometry.h>
#include <kvmeasure/form/zone.h>

namespace KvMeasure {

/// The zone about one centre: `width` is the roundness, the greatest distance less the least.
struct RoundZone : FormZone {
    Vector centre;           ///< mm
    double radius = 0;       ///< of the circle that the method fits, mm; of a minimum zone the middle one
    double innerRadius = 0;  ///< distance of the nearest point, mm
    double outerRadius = 0;  ///< distance of the farthest point, mm
};

/// Roundness by four methods.
struct Roundness {
    int count = 0;            ///< points
    RoundZone minimumZone;    ///< least difference of two radii; contacts alternate round the circle, none
                              ///< where all points lie on that of least squares
    RoundZone leastSquares;   ///< least sum of squared distances to the circle
    RoundZone circumscribed;  ///< the smallest circle about all points
    RoundZone inscribed;      ///< the largest circle between the points that they hold on all sides
    double deviation = std::numeric_limits<double>::quiet_NaN();  ///< root mean square distance to the circle
                                                                  ///< of least squares, mm
};

/// The roundness of finite points. Laws: (1) minimumZone is the least of the four widths; (2) none changes by
/// more than rounding when the points are turned or put in another order. Fewer than three distinct points,
/// and points on one line: no zone but the circumscribed one. A minimum zone is missing where a straight
/// strip is narrower, the inscribed circle where the points leave half a turn open: each with its reason.
KVMEASURE_EXPORT Roundness roundness(const std::vector<Vector>& points);

/// The circumscribed circle alone, as in roundness(). Finite points; without any: no zone, with its reason.
KVMEASURE_EXPORT RoundZone circumscribedCircle(const std::vector<Vector>& points);

}  // namespace KvMeasure
