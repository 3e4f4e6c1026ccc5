#include <kvmath/numerics/svd.h>

#include <kvmath/numerics/svd_p.h>

#include <algorithm>
#include <cstddef>

namespace KvMath {

using Internal::SvdBlock;

bool svdcmp(double** a, int m, int n, double* const w, double** v) {
    if (n < 1)
        return true;
    SvdBlock svd(m, n);
    if (!svd.isValid())
        return false;
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < n; ++j)
            svd.column(j)[i] = a[i + 1][j + 1];
    const bool converged = svd.decompose(/*wantsLeft=*/true);
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < n; ++j)
            a[i + 1][j + 1] = svd.column(j)[i];
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            v[i + 1][j + 1] = svd.right(j)[i];
    std::copy_n(svd.values(), n, w + 1);
    return converged;
}

bool svdLeastSquares(const double* A, const double* b, int m, int n, double tol, double* x) {
    if (n < 1)
        return true;
    if (m < 1) {
        std::fill_n(x, n, 0.0);
        return true;
    }
    SvdBlock svd(m, n);
    if (!svd.isValid())
        return false;
    for (std::ptrdiff_t i = 0; i < m; ++i)
        for (int j = 0; j < n; ++j)
            svd.column(j)[i] = A[i * n + j];
    if (!svd.decompose(/*wantsLeft=*/true))
        return false;
    double* w = svd.values();
    double largest = 0.0;
    for (int j = 0; j < n; ++j)
        largest = w[j] > largest ? w[j] : largest;
    const double threshold = largest * tol;
    for (int j = 0; j < n; ++j)
        if (w[j] < threshold)
            w[j] = 0.0;
    Internal::svdBackSubstitute(svd, m, n, b, x);
    return true;
}

bool pca(const double* data, int count, int dim, double* mean, double* basis) {
    if (dim < 1)
        return false;
    const std::ptrdiff_t width = dim;
    std::fill_n(mean, width, 0.0);
    std::fill_n(basis, width * width, 0.0);
    if (count < 1)
        return false;
    for (std::ptrdiff_t i = 0; i < count; ++i)
        for (std::ptrdiff_t j = 0; j < width; ++j)
            mean[j] += data[i * width + j];
    for (std::ptrdiff_t j = 0; j < width; ++j)
        mean[j] /= count;
    SvdBlock svd(count, dim);
    if (!svd.isValid())
        return false;
    for (std::ptrdiff_t i = 0; i < count; ++i)
        for (int j = 0; j < dim; ++j)
            svd.column(j)[i] = data[i * width + j] - mean[j];
    if (!svd.decompose(/*wantsLeft=*/false))
        return false;
    const double* w = svd.values();
    for (int k = 0; k < dim; ++k) {
        std::ptrdiff_t place = 0;  // columns before this one: larger values, and equal ones on its left
        for (int other = 0; other < dim; ++other)
            if (w[other] > w[k] || (w[other] == w[k] && other < k))
                ++place;
        for (std::ptrdiff_t r = 0; r < width; ++r)
            basis[r * width + place] = svd.right(k)[r];
    }
    return true;
}

void pcaTransform(double* data, int count, int dim, const double* mean, const double* basis) {
    if (count < 1 || dim < 1)
        return;
    const std::ptrdiff_t width = dim;
    Internal::Scratch scratch(width);
    double* centred = scratch.data();
    if (centred == nullptr)
        return;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        double* point = data + i * width;
        for (std::ptrdiff_t j = 0; j < width; ++j)
            centred[j] = point[j] - mean[j];
        for (std::ptrdiff_t k = 0; k < width; ++k) {
            double sum = 0.0;
            for (std::ptrdiff_t j = 0; j < width; ++j)
                sum += basis[j * width + k] * centred[j];
            point[k] = sum;
        }
    }
}

}  // namespace KvMath
