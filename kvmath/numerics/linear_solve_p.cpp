#include <kvmath/numerics/linear_solve_p.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace KvMath::Internal {
namespace {

// Row r of an n-column block.
double* rowOfBlock(double* A, int n, int r) { return A + static_cast<std::ptrdiff_t>(r) * n; }
const double* rowOfBlock(const double* A, int n, int r) { return A + static_cast<std::ptrdiff_t>(r) * n; }

}  // namespace

bool eliminate(double* A, double* b, int n, double smallestPivot) {
    for (int r = 0; r < n; ++r) {
        double* row = rowOfBlock(A, n, r);
        const double pivot = row[r];
        if (!(std::fabs(pivot) >= smallestPivot))  // NaN fails too
            return false;
        for (int c = r; c < n; ++c)
            row[c] /= pivot;
        b[r] /= pivot;
        for (int below = r + 1; below < n; ++below) {
            double* other = rowOfBlock(A, n, below);
            const double factor = other[r];
            for (int c = r; c < n; ++c)
                other[c] -= factor * row[c];
            b[below] -= factor * b[r];
        }
    }
    for (int r = n - 2; r >= 0; --r)
        for (int c = r + 1; c < n; ++c)
            b[r] -= rowOfBlock(A, n, r)[c] * b[c];
    return true;
}

bool decomposeLu(double* A, int n, int* rowOf, double* scale) {
    for (int r = 0; r < n; ++r) {
        double largest = 0.0;
        for (int c = 0; c < n; ++c)
            largest = std::max(largest, std::fabs(rowOfBlock(A, n, r)[c]));
        if (largest == 0.0)
            return false;
        scale[r] = 1.0 / largest;
    }
    for (int k = 0; k < n; ++k) {
        int pivotRow = k;
        double best = 0.0;
        for (int r = 0; r < n; ++r) {
            double* row = rowOfBlock(A, n, r);
            double sum = row[k];
            for (int c = 0; c < std::min(r, k); ++c)
                sum -= row[c] * rowOfBlock(A, n, c)[k];
            row[k] = sum;
            const double merit = r >= k ? scale[r] * std::fabs(sum) : -1.0;
            if (merit >= best) {
                best = merit;
                pivotRow = r;
            }
        }
        if (pivotRow != k) {
            std::swap_ranges(rowOfBlock(A, n, k), rowOfBlock(A, n, k) + n, rowOfBlock(A, n, pivotRow));
            scale[pivotRow] = scale[k];
        }
        rowOf[k] = pivotRow;
        double& pivot = rowOfBlock(A, n, k)[k];
        if (pivot == 0.0)
            pivot = 1e-20;
        const double reciprocal = 1.0 / pivot;
        for (int r = k + 1; r < n; ++r)
            rowOfBlock(A, n, r)[k] *= reciprocal;
    }
    return true;
}

void solveLu(const double* lu, int n, const int* rowOf, double* b) {
    for (int r = 0; r < n; ++r) {
        double sum = b[rowOf[r]];
        b[rowOf[r]] = b[r];
        for (int c = 0; c < r; ++c)
            sum -= rowOfBlock(lu, n, r)[c] * b[c];
        b[r] = sum;
    }
    for (int r = n - 1; r >= 0; --r) {
        double sum = b[r];
        for (int c = r + 1; c < n; ++c)
            sum -= rowOfBlock(lu, n, r)[c] * b[c];
        b[r] = sum / rowOfBlock(lu, n, r)[r];
    }
}

}  // namespace KvMath::Internal
