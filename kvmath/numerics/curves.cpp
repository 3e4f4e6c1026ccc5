// The second derivatives M at the knots solve the tridiagonal system
//   h[k-1] M[k-1] + 2 (h[k-1] + h[k]) M[k] + h[k] M[k+1] = 6 (d[k] - d[k-1]),   d[k] = (y[k+1] - y[k]) /
//   h[k],
// with 2 h M + h M' = 6 (d - slope) at both ends. It is diagonally dominant, so elimination needs no
// pivoting.

#include <kvmath/numerics/curves.h>

#include <kvmath/numerics/scratch_p.h>

#include <algorithm>
#include <cstddef>
#include <limits>

namespace KvMath {

void cubicInterpolation(int n, const double* x, const double* y, double slopeStart, double slopeEnd,
                        double** coeffs) {
    if (n < 2)
        return;
    const auto last = static_cast<std::size_t>(n) - 1;
    Internal::Scratch work(3, n);
    double* above = work.data();  // super-diagonal after elimination
    if (above == nullptr)
        return;
    double* second = above + last + 1;  // right side, then second derivatives
    double* divided = second + last + 1;
    for (std::size_t k = 0; k < last; ++k)
        divided[k] = (y[k + 1] - y[k]) / (x[k + 1] - x[k]);

    double h = x[1] - x[0];
    above[0] = 0.5;
    second[0] = 6.0 * (divided[0] - slopeStart) / (2.0 * h);
    for (std::size_t k = 1; k <= last; ++k) {
        const double left = h;
        const bool inside = k < last;
        const double right = inside ? x[k + 1] - x[k] : 0.0;
        const double side = 6.0 * ((inside ? divided[k] : slopeEnd) - divided[k - 1]);
        const double pivot = 2.0 * (left + right) - left * above[k - 1];
        above[k] = right / pivot;
        second[k] = (side - left * second[k - 1]) / pivot;
        h = right;
    }
    for (std::size_t k = last; k-- > 0;)
        second[k] -= above[k] * second[k + 1];

    for (std::size_t k = 0; k < last; ++k) {
        const double step = x[k + 1] - x[k];
        double* row = coeffs[k];
        row[0] = y[k + 1];
        row[1] = divided[k] + step * (second[k] + 2.0 * second[k + 1]) / 6.0;
        row[2] = second[k + 1];
        row[3] = (second[k + 1] - second[k]) / step;
    }
}

double getCubicInterpolatedValue(double t, int n, const double* x, double** coeffs) {
    if (n < 2)
        return std::numeric_limits<double>::quiet_NaN();
    // First piece whose right knot lies behind t, the last piece if none does.
    const double* knot = std::upper_bound(x + 1, x + n - 1, t);
    const std::ptrdiff_t k = t != t ? 0 : knot - (x + 1);
    const double d = t - x[k + 1];
    const double* c = coeffs[k];
    return c[0] + d * (c[1] + d * (c[2] / 2.0 + d * c[3] / 6.0));
}

}  // namespace KvMath
