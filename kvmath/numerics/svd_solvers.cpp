// What is made of the decomposition: least squares and principal components.

#include <kvmath/numerics/svd.h>

#include <kvmath/numerics/svd_p.h>

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <vector>

namespace KvMath {

using Internal::UnitOffsetMatrix;

namespace {

/// Columns of V by falling singular value.
std::vector<int> columnsBySpread(const std::vector<double>& w, int dim) {
    std::vector<int> columns(static_cast<std::size_t>(dim));
    std::iota(columns.begin(), columns.end(), 1);
    const auto spread = [&w](int column) { return w[static_cast<std::size_t>(column)]; };
    std::stable_sort(columns.begin(), columns.end(),
                     [&spread](int p, int q) { return spread(p) > spread(q); });
    return columns;
}

}  // namespace

bool svdLeastSquares(const double* A, const double* b, int m, int n, double tol, double* x) {
    if (n < 1)
        return true;
    if (m < 1) {
        std::fill_n(x, n, 0.0);
        return true;
    }
    UnitOffsetMatrix u(m, n);
    UnitOffsetMatrix v(n, n);
    std::vector<double> vectors(3 * (static_cast<std::size_t>(n) + 1));
    double* w = vectors.data();
    double* work = w + n + 1;
    double* solution = work + n + 1;
    u.fillFrom(A);
    if (!svdcmp(u.rows(), m, n, w, v.rows()))
        return false;
    double largest = 0.0;
    for (int j = 1; j <= n; ++j)
        largest = w[j] > largest ? w[j] : largest;
    const double threshold = largest * tol;
    for (int j = 1; j <= n; ++j)
        if (w[j] < threshold)
            w[j] = 0.0;
    Internal::svdBackSubstitute(u.rows(), w, v.rows(), m, n, b, solution, work);
    std::copy_n(solution + 1, n, x);
    return true;
}

bool pca(const double* data, int count, int dim, double* mean, double* basis) {
    if (dim < 1)
        return false;
    const auto width = static_cast<std::size_t>(dim);
    std::fill_n(mean, width, 0.0);
    std::fill_n(basis, width * width, 0.0);
    if (count < 1)
        return false;
    for (int i = 0; i < count; ++i)
        for (std::size_t j = 0; j < width; ++j)
            mean[j] += data[static_cast<std::size_t>(i) * width + j];
    for (std::size_t j = 0; j < width; ++j)
        mean[j] /= count;
    UnitOffsetMatrix centred(count, dim);
    for (int i = 0; i < count; ++i)
        for (std::size_t j = 0; j < width; ++j)
            centred[i + 1][j + 1] = data[static_cast<std::size_t>(i) * width + j] - mean[j];
    UnitOffsetMatrix v(dim, dim);
    std::vector<double> w(width + 1);
    if (!Internal::rightSingularVectors(centred.rows(), count, dim, w.data(), v.rows()))
        return false;
    const std::vector<int> columns = columnsBySpread(w, dim);
    for (int r = 0; r < dim; ++r)
        for (std::size_t k = 0; k < width; ++k)
            basis[static_cast<std::size_t>(r) * width + k] = v[r + 1][columns[k]];
    return true;
}

void pcaTransform(double* data, int count, int dim, const double* mean, const double* basis) {
    if (count < 1 || dim < 1)
        return;
    const auto width = static_cast<std::size_t>(dim);
    std::vector<double> centred(width);
    for (int i = 0; i < count; ++i) {
        double* point = data + static_cast<std::size_t>(i) * width;
        for (std::size_t j = 0; j < width; ++j)
            centred[j] = point[j] - mean[j];
        for (std::size_t k = 0; k < width; ++k) {
            double sum = 0.0;
            for (std::size_t j = 0; j < width; ++j)
                sum += basis[j * width + k] * centred[j];
            point[k] = sum;
        }
    }
}

}  // namespace KvMath
