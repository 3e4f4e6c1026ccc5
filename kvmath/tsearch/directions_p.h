#pragma once
// Angles of and between directed segments, shared by the default check, constraints and measurements.

#include <kvmath/base/vector2d.h>

#include <cmath>

namespace KvMath::Internal {

using Vector = KvVector2D<double>;

inline Vector between(const Vector& a, const Vector& b) { return {b.x - a.x, b.y - a.y}; }
inline double squareOf(const Vector& v) { return v.x * v.x + v.y * v.y; }
inline double lengthOf(const Vector& v) { return std::sqrt(squareOf(v)); }

/// Arc cosine of the cosine of two unit vectors: rounding can carry it past 1, where there is no angle. NaN
/// stays NaN.
inline double angleOfCosine(double cosine) {
    if (cosine > 1)
        return 0;
    return std::acos(cosine < -1 ? -1 : cosine);
}

/// Signed angle from the +x axis to d, radians in (-pi, pi]; +pi for -0.0 in y too. Length zero: NaN.
inline double inclinationOf(const Vector& d) {
    const double angle = std::acos(d.x / lengthOf(d));
    return d.y < 0 ? -angle : angle;
}

/// Angle between two directions, radians in [0, pi]. Length zero: NaN.
inline double angleBetween(const Vector& u, const Vector& w) {
    const double lu = lengthOf(u);
    const double lw = lengthOf(w);
    return angleOfCosine((u.x / lu) * (w.x / lw) + (u.y / lu) * (w.y / lw));
}

/// Sense of the turn from u to w: 1 counter-clockwise, 2 clockwise or, by design, collinear.
inline int turnBetween(const Vector& u, const Vector& w) { return u.x * w.y - u.y * w.x > 0 ? 1 : 2; }

/// Component of v along r turned counter-clockwise by the angle with this cosine and sine. Length zero of r:
/// NaN.
inline double shiftAlong(const Vector& v, const Vector& r, double cosine, double sine) {
    const Vector turned(cosine * r.x - sine * r.y, sine * r.x + cosine * r.y);
    return (v.x * turned.x + v.y * turned.y) / lengthOf(turned);
}

}  // namespace KvMath::Internal
