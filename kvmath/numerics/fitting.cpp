// Line, parabola and harmonics: one pass gathers the sums of the normal equations, which a small system then
// solves. They take no memory, and square the condition of the data. The plane is the right singular vector
// of the least value of the centred points: it costs a copy of the points, squares nothing, and takes upright
// planes as well as others.
#include <kvmath/numerics/fitting.h>

#include <kvmath/numerics/linear_solve_p.h>
#include <kvmath/numerics/small_matrix.h>
#include <kvmath/numerics/svd_p.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace KvMath {

bool lineFitting(const double* x, const double* y, int n, double* c) {
    double sx = 0.0;
    double sy = 0.0;
    double sxx = 0.0;
    double sxy = 0.0;
    for (int i = 0; i < n; ++i) {
        sx += x[i];
        sy += y[i];
        sxx += x[i] * x[i];
        sxy += x[i] * y[i];
    }
    const double count = n;
    sx /= count;
    double matrix[4] = {sxx / count, sx, sx, 1.0};
    const double right[2] = {sxy / count, sy / count};
    inverseMatrix22(matrix);
    mul22with21(matrix, right, c);
    return true;
}

bool parabolaFitting(const double* x, const double* y, int n, double* c) {
    double sx = 0.0;
    double sy = 0.0;
    double sx2 = 0.0;
    double sxy = 0.0;
    double sx3 = 0.0;
    double sx2y = 0.0;
    double sx4 = 0.0;
    for (int i = 0; i < n; ++i) {
        const double square = x[i] * x[i];
        sx += x[i];
        sy += y[i];
        sx2 += square;
        sxy += x[i] * y[i];
        sx3 += square * x[i];
        sx2y += square * y[i];
        sx4 += square * square;
    }
    const double count = n;
    sx /= count;
    sx2 /= count;
    sx3 /= count;
    double matrix[9] = {sx4 / count, sx3, sx2, sx3, sx2, sx, sx2, sx, 1.0};
    const double right[3] = {sx2y / count, sxy / count, sy / count};
    inverseMatrix33(matrix);
    vectorA2B(matrix, right, c);
    return true;
}

bool planeFitting(const double* xyz, int n, double* p) {
    for (int k = 0; k < 4; ++k)
        p[k] = 0.0;
    if (n < 1)
        return false;
    double centroid[3] = {0.0, 0.0, 0.0};
    for (std::ptrdiff_t i = 0; i < n; ++i)
        for (int k = 0; k < 3; ++k)
            centroid[k] += xyz[3 * i + k];
    for (double& coordinate : centroid)
        coordinate /= n;
    Internal::SvdBlock svd(n, 3);
    if (!svd.isValid())
        return false;
    for (std::ptrdiff_t i = 0; i < n; ++i)
        for (int k = 0; k < 3; ++k)
            svd.column(k)[i] = xyz[3 * i + k] - centroid[k];
    if (!svd.decompose(/*wantsLeft=*/false))
        return false;
    const double* w = svd.values();
    int least = 0;
    for (int k = 1; k < 3; ++k)
        if (w[k] < w[least])
            least = k;
    double normal[3] = {svd.right(least)[0], svd.right(least)[1], svd.right(least)[2]};
    if (normal[2] < 0.0)
        mulV3byScalar(normal, -1.0);
    for (int k = 0; k < 3; ++k)
        p[k] = normal[k];
    p[3] = -mul13with31(normal, centroid);
    return true;
}

bool fitTwoHarmonics(const double* phi, const double* y, int n, double* h) {
    constexpr int kTerms = 5;
    constexpr double kSmallestPivot = 1e-100;
    // Rounding leaves pivots far above the threshold where a single angle repeats.
    if (n < 1 || std::all_of(phi, phi + n, [phi](double angle) { return angle == phi[0]; }))
        return false;
    double matrix[kTerms * kTerms] = {};
    double right[kTerms] = {};
    for (int i = 0; i < n; ++i) {
        const double c = std::cos(phi[i]);
        const double s = std::sin(phi[i]);
        const double basis[kTerms] = {1.0, c, s, c * c - s * s, 2.0 * s * c};
        for (int r = 0; r < kTerms; ++r) {
            for (int k = r; k < kTerms; ++k)
                matrix[kTerms * r + k] += basis[r] * basis[k];
            right[r] += y[i] * basis[r];
        }
    }
    const auto mean = static_cast<double>(1.0F / static_cast<float>(n));  // single precision by design
    for (int r = 0; r < kTerms; ++r) {
        for (int k = r; k < kTerms; ++k) {
            matrix[kTerms * r + k] *= mean;
            matrix[kTerms * k + r] = matrix[kTerms * r + k];
        }
        right[r] *= mean;
    }
    if (!Internal::eliminate(matrix, right, kTerms, kSmallestPivot))
        return false;
    for (int r = 0; r < kTerms; ++r)
        h[r] = right[r];
    return true;
}

}  // namespace KvMath
