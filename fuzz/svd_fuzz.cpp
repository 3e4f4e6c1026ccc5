// Decompositions of any matrix; moderate ones give their matrix back.

#include "fuzz/fuzz_input.h"

#include <kvmath/numerics/svd.h>

#include <cmath>
#include <vector>

namespace {

/// What svdcmp promises of elements that are 0 or between 1 / kLargest and kLargest in size.
constexpr double kDigits = 7.2e-7, kLargest = 1e70;

/// Unit-offset rows.
struct Rows {
    std::vector<double> cells;
    std::vector<double*> rows;
    Rows(int m, int n) : cells(size_t((m + 1) * (n + 1))) {
        for (int i = 0; i <= m; ++i)
            rows.push_back(cells.data() + i * (n + 1));
    }
};

void decompose(const std::vector<double>& matrix, int m, int n) {
    Rows u(m, n), v(n, n);
    std::vector<double> w(size_t(n) + 1);
    double most = 0;
    bool isModerate = true;
    for (int i = 0; i < m; ++i) {
        for (int j = 0; j < n; ++j) {
            const double value = matrix[size_t(i) * size_t(n) + size_t(j)];
            u.rows[size_t(i) + 1][j + 1] = value;
            isModerate = isModerate && std::fabs(value) <= kLargest &&
                         (value == 0 || std::fabs(value) >= 1 / kLargest);
            most = std::fmax(most, std::fabs(value));
        }
    }
    if (!KvMath::svdcmp(u.rows.data(), m, n, w.data(), v.rows.data()) || !isModerate)
        return;
    for (int i = 0; i < m; ++i) {
        for (int j = 0; j < n; ++j) {
            double sum = 0;
            for (size_t k = 1; k <= size_t(n); ++k)
                sum += u.rows[size_t(i) + 1][k] * w[k] * v.rows[size_t(j) + 1][k];
            Fuzz::require(std::fabs(sum - matrix[size_t(i) * size_t(n) + size_t(j)]) <= kDigits * n * most,
                          "U W V^T is the matrix");
        }
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Fuzz::Input input(data, size);
    const int m = input.below(12), n = input.below(10);
    const double tolerance = input.number();
    std::vector<double> matrix, right;
    for (int i = 0; i < m * n; ++i)
        matrix.push_back(input.number());
    for (int i = 0; i < m; ++i)
        right.push_back(input.number());
    decompose(matrix, m, n);
    std::vector<double> x(size_t(n) + 1), mean(size_t(n) + 1), basis(size_t(n * n) + 1);
    KvMath::svdLeastSquares(matrix.data(), right.data(), m, n, tolerance, x.data());
    if (KvMath::pca(matrix.data(), m, n, mean.data(), basis.data()))
        KvMath::pcaTransform(matrix.data(), m, n, mean.data(), basis.data());
    return 0;
}
