#pragma once
// Small dense systems, row-major, in place.

namespace KvMath::Internal {

/// Gaussian elimination without pivoting of the n x n system A x = b; A is destroyed, b becomes x. False when
/// a pivot is below `smallestPivot` in magnitude or NaN; both hold partial results then.
bool eliminate(double* A, double* b, int n, double smallestPivot);

/// LU decomposition with implicit partial pivoting (rows scaled by their largest element), in place; rowOf[k]
/// is the row exchanged with row k. `scale` is work of n elements. A zero pivot becomes 1e-20. False at a row
/// of zeros: the decomposition stops there and the matrix stays as it is.
bool decomposeLu(double* A, int n, int* rowOf, double* scale);

/// Solves with the result of decomposeLu; b becomes x.
void solveLu(const double* lu, int n, const int* rowOf, double* b);

}  // namespace KvMath::Internal
