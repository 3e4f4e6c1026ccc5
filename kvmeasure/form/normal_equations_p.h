#pragma once
// Least squares of few unknowns by normal equations in long double.

#include <kvmeasure/form/contact_search_p.h>

#include <array>

namespace KvMeasure::Internal {

/// Sums of rows factors . unknowns = value, each of weight 1.
template <int size>
class NormalEquations {
public:
    void add(const std::array<Real, size>& factors, Real value) {
        for (std::size_t i = 0; i < size; ++i) {
            for (std::size_t k = 0; k < size; ++k)
                sums_[i][k] += factors[i] * factors[k];
            sums_[i][size] += factors[i] * value;
        }
    }

    /// Gauss elimination with pivots on the diagonal, which a positive definite matrix allows. False where
    /// the rows do not determine the unknowns.
    bool solve(Real (&unknowns)[size]) const {
        Real m[size][size + 1];
        std::copy(&sums_[0][0], &sums_[0][0] + size * (size + 1), &m[0][0]);
        for (int i = 0; i < size; ++i) {
            if (!(m[i][i] > 1e-14L * sums_[i][i]))
                return false;
            for (int row = 0; row < size; ++row) {
                const Real factor = row == i ? 0 : m[row][i] / m[i][i];
                for (int k = i; row != i && k <= size; ++k)
                    m[row][k] -= factor * m[i][k];
            }
        }
        for (int i = 0; i < size; ++i)
            unknowns[i] = m[i][size] / m[i][i];
        return true;
    }

private:
    Real sums_[size][size + 1] = {};
};

}  // namespace KvMeasure::Internal
