#pragma once
// Closed-form least-squares fits.

#include <kvmath/base/global.h>

namespace KvMath {

/// y = c[0] x + c[1] through n points by the normal equations of the means; all sums in double. Move x to the
/// middle of the data first where |x| is large against its spread. Always true: n < 1 gives NaN, all x equal
/// NaN, infinities or numbers that rounding decides.
KVMATH_EXPORT bool lineFitting(const double* x, const double* y, int n, double* c);

/// y = c[0] x^2 + c[1] x + c[2] through n points, by the normal equations of the means. They hold powers of x
/// up to 4: move x to the middle of the data first where |x| is large against its spread. Always true; fewer
/// than three distinct x give NaN, infinities or numbers that rounding decides.
KVMATH_EXPORT bool parabolaFitting(const double* x, const double* y, int n, double* c);

/// Orthogonal plane p[0] x + p[1] y + p[2] z + p[3] = 0 through n points, xyz in 3 n doubles: (p[0], p[1],
/// p[2]) is the unit direction of least spread about the centroid, p[2] >= 0 (the sign is free where it is
/// 0). False, p zero, for n < 1 or a decomposition that does not converge. Fewer than 3 points or points on a
/// line: one of the planes through them. Beyond 59 points one allocation; false where memory is short.
KVMATH_EXPORT bool planeFitting(const double* xyz, int n, double* p);

/// y = h[0] + h[1] cos phi + h[2] sin phi + h[3] cos 2 phi + h[4] sin 2 phi through n samples, phi in
/// radians. False, h untouched, for n < 1, for angles that are all equal, and for a pivot of the normal
/// equations below 1e-100 or NaN. Few distinct angles, or angles in a narrow band, leave pivots of rounding
/// that pass: true, with coefficients that mean nothing apart. The factor 1/n is rounded to single precision
/// by design, on both sides of the equations.
KVMATH_EXPORT bool fitTwoHarmonics(const double* phi, const double* y, int n, double* h);

}  // namespace KvMath
