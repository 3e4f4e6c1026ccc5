#pragma once
// Points and lines of the plane of a profile, mm.

#include <kvmath/segments/line_types.h>

#include <QtCore/QList>

#include <cmath>

namespace KvMeasure {

/// A point, or the way from one point to another, mm.
using Vector = KvMath::KvVector2D<double>;

/// Straight segments, each from p1 to p2, mm.
using Segments = QList<KvMath::LinePP>;

constexpr double kDegreesPerRadian = 57.29577951308232;     ///< 180 / pi, rounded
constexpr double kRadiansPerDegree = 0.017453292519943295;  ///< pi / 180, rounded

/// Both coordinates of a point of any type are numbers.
template <class Point>
bool isFinite(const Point& p) {
    return std::isfinite(p.x) && std::isfinite(p.y);
}

/// Distance of two points, mm; not finite with a coordinate that is not.
inline double length(const Vector& from, const Vector& to) {
    return std::hypot(to.x - from.x, to.y - from.y);
}

/// The point halfway between two; NaN with a coordinate that is NaN.
inline Vector middle(const Vector& a, const Vector& b) { return {(a.x + b.x) / 2, (a.y + b.y) / 2}; }

/// Direction from the start of a line to its end: degrees from the x axis, to the left positive, -180 to 180.
/// NaN with a coordinate that is NaN, of no meaning for a line without length.
inline double direction(const KvMath::LinePP& line) {
    return std::atan2(line.p2.y - line.p1.y, line.p2.x - line.p1.x) * kDegreesPerRadian;
}

}  // namespace KvMeasure
