#pragma once
// Segments and infinite lines of the template search, double precision.

#include <kvmath/base/vector2d.h>

namespace KvMath {

/// Directed segment from p1 to p2, mm; 32 bytes: x1, y1, x2, y2.
struct LinePP {
    KvVector2D<double> p1;  ///< start, mm
    KvVector2D<double> p2;  ///< end, mm
    LinePP() = default;     ///< from (0, 0) to (0, 0)
    /// From `first` to `second`, mm.
    LinePP(const KvVector2D<double>& first, const KvVector2D<double>& second) : p1(first), p2(second) {}
};

/// Infinite line a*x + b*y + c = 0. Lines made by the library have (a, b) of unit length.
struct LineABC {
    double a = 0;  ///< coefficient of x
    double b = 0;  ///< coefficient of y
    double c = 0;  ///< constant term, mm where (a, b) is of unit length
};

}  // namespace KvMath

Q_DECLARE_TYPEINFO(KvMath::LinePP, Q_MOVABLE_TYPE);
Q_DECLARE_TYPEINFO(KvMath::LineABC, Q_MOVABLE_TYPE);
