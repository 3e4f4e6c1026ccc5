#pragma once
// Flatness of a surface (ISO 12781): the narrowest pair of parallel planes that holds all points.

#include <kvmeasure/form/zone.h>

#include <array>

namespace KvMeasure {

/// A point of a surface: x, y, z, mm. The last coordinate is the one that "along z" means.
using SpacePoint = std::array<double, 3>;

/// Two parallel planes about all points.
struct PlaneZone : FormZone {
    SpacePoint normal = {};  ///< of unit length, square to the planes, z >= 0
    SpacePoint origin = {};  ///< a point; planes are at the products of (place - origin) with the normal
    double from = 0;         ///< product of the lower plane, mm
    double to = 0;           ///< product of the upper plane, mm
    double height = 0;       ///< distance of the planes along z, mm; infinite for upright planes
};

/// Flatness by three methods.
struct Flatness {
    int count = 0;                ///< points
    PlaneZone minimumZone;        ///< width square to the planes
    PlaneZone minimumZoneAlongZ;  ///< width along z
    PlaneZone leastSquares;       ///< about the plane with the least sum of squared distances
    double deviation = std::numeric_limits<double>::quiet_NaN();  ///< root mean square of these distances, mm
};

/// The flatness of finite points. Laws as those of straightness(). Fewer than three points, or all in one
/// place: no zone, each with its reason. Points on one line or plane: 0 wide. Points on an upright plane: no
/// zone along z. Rounding: 1e-15 of the extent. A million points of a measured surface take about a second.
/// Points all over a sphere may leave the certificate not valid: the width is then an upper bound, and the
/// true one is no less than lowerBound.
KVMEASURE_EXPORT Flatness flatness(const std::vector<SpacePoint>& points);

}  // namespace KvMeasure
