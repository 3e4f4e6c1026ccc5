#pragma once
// The decomposition on columns, and what callers of it share.

#include <kvmath/numerics/scratch_p.h>

#include <cstddef>

namespace KvMath::Internal {

/// Hypotenuse of (a, b) without overflow of the squares: larger * sqrt(1 + ratio^2). The ratio is rounded to
/// single precision and squared there, by design: about seven digits in the ratio term, and a ratio that
/// rounds to 0 gives the larger magnitude exactly. All results of the decomposition depend on it.
double pythag(double a, double b);

/// A decomposition's storage, one block without initial values: the m x n matrix and V (n x n) column by
/// column, the values w (n), work for the iteration and for the caller (3 n).
class SvdBlock {
public:
    SvdBlock(int rows, int columns);  ///< dimensions below 0 count as 0
    /// False when there is not as much memory; nothing else may be asked then.
    bool isValid() { return scratch_.data() != nullptr; }

    /// Singular values in any order, and V; the matrix becomes U if that is wanted, else it is used up. w and
    /// V do not depend on that, and for many rows it halves the time. False without convergence.
    bool decompose(bool wantsLeft);

    double* column(int j) { return scratch_.data() + j * rows_; }
    double* right(int j) { return scratch_.data() + (rows_ + j) * columns_; }
    double* values() { return right(0) + columns_ * columns_; }
    double* work() { return values() + columns_; }

private:
    std::ptrdiff_t rows_, columns_;
    Scratch scratch_;
};

/// x[0..n-1] = V diag(1 / w) U^T b with 0 for every w that is 0; b has m elements.
void svdBackSubstitute(SvdBlock& svd, int m, int n, const double* b, double* x);

}  // namespace KvMath::Internal
