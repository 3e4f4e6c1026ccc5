#pragma once
// Points and ways in space, mm: x along the laser line, y the height, z the position along the scan.

#include <cmath>

namespace KvMeasure {

/// A point, or the way from one point to another, mm.
struct SpaceVector {
    double x = 0;  ///< along the laser line
    double y = 0;  ///< height
    double z = 0;  ///< position along the scan
};

inline SpaceVector operator+(const SpaceVector& a, const SpaceVector& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}  ///< sum
inline SpaceVector operator-(const SpaceVector& a, const SpaceVector& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}  ///< the way from b to a
inline SpaceVector operator*(double factor, const SpaceVector& v) {
    return {factor * v.x, factor * v.y, factor * v.z};
}  ///< multiple

/// Scalar product.
inline double dot(const SpaceVector& a, const SpaceVector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
/// Vector product.
inline SpaceVector cross(const SpaceVector& a, const SpaceVector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
/// Length, mm.
inline double length(const SpaceVector& v) { return std::sqrt(dot(v, v)); }
/// The vector with length 1; `otherwise` for one of no length.
inline SpaceVector unit(const SpaceVector& v, const SpaceVector& otherwise) {
    const double size = length(v);
    return size > 0 ? (1 / size) * v : otherwise;
}

}  // namespace KvMeasure
