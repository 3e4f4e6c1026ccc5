#pragma once
// Straightness of a profile (ISO 12780): the narrowest pair of parallel lines that holds all points.

#include <kvmeasure/base/plane_geometry.h>
#include <kvmeasure/form/zone.h>

namespace KvMeasure {

/// Two parallel lines about all points.
struct LineZone : FormZone {
    Vector normal;      ///< of unit length, square to the lines, y >= 0
    Vector origin;      ///< a point; lines are at the products of (place - origin) with the normal
    double from = 0;    ///< product of the lower line, mm
    double to = 0;      ///< product of the upper line, mm
    double height = 0;  ///< distance of the lines along z, mm; infinite for upright lines
};

/// Straightness by three methods.
struct Straightness {
    int count = 0;               ///< points
    LineZone minimumZone;        ///< width square to the lines
    LineZone minimumZoneAlongZ;  ///< width along z, the second coordinate
    LineZone leastSquares;       ///< about the line with the least sum of squared distances
    double deviation = std::numeric_limits<double>::quiet_NaN();  ///< root mean square of these distances, mm
};

/// The straightness of finite points. Laws: (1) minimumZone <= leastSquares; (2) neither changes by more than
/// rounding when the points are turned or put in another order; (3) minimumZoneAlongZ >= minimumZone.
/// Fewer than two distinct points: no zone, each with its reason. Points on one line: 0 wide. Upright points:
/// no zone along z. Rounding: 1e-15 of the extent.
KVMEASURE_EXPORT Straightness straightness(const std::vector<Vector>& points);

}  // namespace KvMeasure
