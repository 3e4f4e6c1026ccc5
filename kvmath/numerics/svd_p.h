#pragma once
// Pieces of the decomposition that other kernels and the tests reach.

#include <cstddef>
#include <vector>

namespace KvMath::Internal {

/// Hypotenuse of (a, b) without overflow of the squares: larger * sqrt(1 + ratio^2). The ratio is rounded to
/// single precision and squared there, by design: about seven digits in the ratio term, and a ratio that
/// rounds to 0 gives the larger magnitude exactly. All results of the decomposition depend on it.
double pythag(double a, double b);

/// Owner of a rows x cols matrix that is addressed from 1, in one block with its row pointers.
class UnitOffsetMatrix {
public:
    UnitOffsetMatrix(int rows, int cols);  ///< zeros; dimensions below 0 count as 0
    /// Copies a row-major block of this shape.
    void fillFrom(const double* block);
    double** rows() { return rows_.data(); }
    double* operator[](int row) { return rows_[static_cast<std::size_t>(row)]; }
    const double* operator[](int row) const { return rows_[static_cast<std::size_t>(row)]; }

private:
    std::size_t rowCount_, colCount_;
    std::vector<double> elements_;
    std::vector<double*> rows_;
};

/// svdcmp without U: w and v are the same bit for bit, `a` is left as the reflections made it. For many rows
/// a fraction of the time.
bool rightSingularVectors(double** a, int m, int n, double* w, double** v);

/// x[1..n] = V diag(1 / w) U^T b with 0 for every w that is 0; u m x n, v n x n, w and x unit-offset,
/// b[0..m-1] not. `work` has n + 1 elements.
void svdBackSubstitute(double** u, const double* w, double** v, int m, int n, const double* b, double* x,
                       double* work);

}  // namespace KvMath::Internal
