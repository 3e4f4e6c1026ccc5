#pragma once
// Clamped cubic splines.

#include <kvmath/base/global.h>

namespace KvMath {

/// Cubic spline through (x[k], y[k]), k = 0..n-1, x strictly ascending, with the given slopes at both ends
/// (C. de Boor, A Practical Guide to Splines, 1978, ch. IV). Row k of coeffs (n - 1 rows of 4) receives
/// value, first, second and third derivative of piece k at its right knot x[k + 1]. n < 2: nothing. Equal x
/// give infinities or NaN. Linear time, one allocation beyond 66 knots; nothing is written where memory is
/// short.
KVMATH_EXPORT void cubicInterpolation(int n, const double* x, const double* y, double slopeStart,
                                      double slopeEnd, double** coeffs);

/// Value at t of the spline made by cubicInterpolation. A knot inside belongs to the piece on its right;
/// before the first and after the last knot the end pieces go on. n < 2: NaN. Logarithmic time.
KVMATH_EXPORT double getCubicInterpolatedValue(double t, int n, const double* x, double** coeffs);

}  // namespace KvMath
