#pragma once
// Smoothing and differentiating convolution coefficients.

#include <kvmath/base/global.h>

namespace KvMath {

/// Coefficients that evaluate, at the middle of a window of 2 * half + 1 equally spaced values, the
/// least-squares polynomial of degree `order` (derivative 0) or its coefficient of that power: the derivative
/// divided by its factorial, per sample spacing (A. Savitzky, M. J. E. Golay, Anal. Chem. 36 (1964)
/// 1627-1639).
///
/// coeffs has 2 * half + 1 elements in natural order, offset -half first: result(i) = sum coeffs[k + half] *
/// y(i + k). False, nothing written: half, order or derivative negative, derivative > order, 2 * half <
/// order, order > 1023. One allocation beyond degree 11; false where memory is short.
KVMATH_EXPORT bool SavitzkyGolay1dCoefficients(double* coeffs, int order, int half, int derivative);

}  // namespace KvMath
