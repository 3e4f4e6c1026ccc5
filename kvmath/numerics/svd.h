#pragma once
// Singular value decomposition, least squares by it, principal components.

#include <kvmath/base/global.h>

namespace KvMath {

/// Golub-Reinsch singular value decomposition a = U diag(w) V^T of an m x n matrix (G. H. Golub, C. Reinsch,
/// Numer. Math. 14 (1970) 403-420: Householder bidiagonalisation, implicit-shift QR).
///
/// Unit-offset arrays: a has m + 1 row pointers, rows 1..m of n + 1 doubles; v n + 1 row pointers, rows 1..n
/// of n + 1 doubles; w n + 1 doubles. The slots 0 exist and hold nothing. On return a holds U (orthonormal
/// columns where m >= n and no value vanishes), w[1..n] the singular values, >= 0 in no particular order, v
/// the matrix V, not transposed.
///
/// False when one value has not converged at its 30th test, after 29 sweeps; a, w and v then hold partial
/// results. NaN or infinite elements end in true or false with unusable numbers, always within the arrays. n
/// < 1: true, nothing touched. m < 1: true, w zero, V the unit matrix. Up to 20 x 6 without heap, beyond with
/// one allocation; false, nothing touched, where memory is short.
/// (1) U diag(w) V^T is a within 7.2e-7 n times the largest value, for elements that are 0 or between 1e-70
/// and 1e70 in size. (2) The products of the columns of V differ from 0 and 1 by at most 7.2e-7 n.
KVMATH_EXPORT bool svdcmp(double** a, int m, int n, double* const w, double** v);

/// Least-squares solution x (n) of A x = b, A m x n row-major, b m values; of all solutions the one of least
/// norm. Singular values below tol times the largest are treated as 0; an exact 0 always is. False when the
/// decomposition does not converge or memory is short: x untouched. n < 1: true. m < 1: true, x = 0.
KVMATH_EXPORT bool svdLeastSquares(const double* A, const double* b, int m, int n, double tol, double* x);

/// Principal components of `count` points of `dim` coordinates, row-major. mean (dim) is their mean; column k
/// of basis (dim x dim, row-major) the unit direction of the k-th largest spread, sign free. False when the
/// decomposition does not converge or memory is short (mean written, basis 0), or count or dim is below 1
/// (both 0 as far as they have elements).
KVMATH_EXPORT bool pca(const double* data, int count, int dim, double* mean, double* basis);

/// Replaces every point of `data`, in place, by its coordinates along the principal axes of `pca`, largest
/// spread first. Nothing when count or dim is below 1 or memory is short.
KVMATH_EXPORT void pcaTransform(double* data, int count, int dim, const double* mean, const double* basis);

}  // namespace KvMath
