#pragma once
// Convex hull and least enclosing rectangle of plane points, double precision.

#include <kvmath/base/vector2d.h>

#include <vector>

namespace KvMath::Internal {

/// Hull counter-clockwise from the lowest of the leftmost points, without points inside edges; one or two
/// points when all are on one place or line. Takes finite points. Monotone chain (Andrew 1979), n log n.
std::vector<KvVector2D<double>> convexHull(std::vector<KvVector2D<double>> points);

/// Rectangle with one side along the unit vector `along`; the other axis is that turned by 90 degrees.
struct TurnedBox {
    KvVector2D<double> along{1, 0};
    double minU = 0, maxU = 0, minV = 0, maxV = 0;  ///< bounds along and across

    double area() const { return (maxU - minU) * (maxV - minV); }
    KvVector2D<double> corner(double u, double v) const {
        return {u * along.x - v * along.y, u * along.y + v * along.x};
    }
};

/// The box of that direction around all points (at least one).
TurnedBox boxAround(const std::vector<KvVector2D<double>>& points, KvVector2D<double> along);

/// The box of least area around a hull, its direction in the first quadrant; the first of equal ones along
/// the hull.
TurnedBox leastBox(const std::vector<KvVector2D<double>>& hull);

}  // namespace KvMath::Internal
