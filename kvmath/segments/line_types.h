#pragma once
// Segments and infinite lines of the template search, double precision.

#include <kvmath/core/vector2d.h>

namespace KvMath {

/// Directed segment from p1 to p2, mm; 32 bytes: x1, y1, x2, y2.
struct LinePP {
    KvVector2D<double> p1, p2;
    LinePP() = default;
    LinePP(const KvVector2D<double>& first, const KvVector2D<double>& second) : p1(first), p2(second) {}
};

/// Infinite line a*x + b*y + c = 0. Lines made by the library have (a, b) of unit length.
struct LineABC {
    double a = 0, b = 0, c = 0;
};

}  // namespace KvMath

Q_DECLARE_TYPEINFO(KvMath::LinePP, Q_MOVABLE_TYPE);
Q_DECLARE_TYPEINFO(KvMath::LineABC, Q_MOVABLE_TYPE);
