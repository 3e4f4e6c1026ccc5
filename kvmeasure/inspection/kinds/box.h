#pragma once
// The box round points.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>

#include <vector>

namespace KvMeasure {

/// A box with sides along x and z.
struct BoundingBox {
    Vector lower;          ///< least x and height, mm
    Vector upper;          ///< greatest x and height, mm
    bool isFound = false;  ///< false: there are no points
};

/// The least box that holds the points. One point: without width and height. All coordinates are finite.
KVMEASURE_EXPORT BoundingBox boundingBox(const std::vector<Vector>& points);

/// A box with sides in any direction.
struct TurnedBox {
    Vector centre;         ///< mm
    double width = 0;      ///< side along `along`, mm
    double height = 0;     ///< side square to it, mm
    Vector along{1, 0};    ///< unit, within 45 degrees of the x axis: x > 0 and |y| <= x
    bool isFound = false;  ///< false: there are no points
};

/// The box of least area that holds the points, by rotating calipers: one of its sides lies on a side of the
/// convex hull. Of several with the same area the one with the least turn. Points on a line: without height,
/// or without width. All coordinates are finite.
KVMEASURE_EXPORT TurnedBox turnedBox(const std::vector<Vector>& points);

}  // namespace KvMeasure
