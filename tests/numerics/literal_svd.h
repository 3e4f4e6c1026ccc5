#pragma once
// The decomposition column by column with every rotation applied at once, as it is usually written down: slow
// on row-stored matrices, and the measure of the library's form.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace TestSupport {

/// Matrix addressed from 1, in one block.
struct Matrix {
    Matrix(int rows, int columns)
        : m(rows), n(columns), elements(std::size_t(rows + 1) * std::size_t(columns + 1)) {}
    double* operator[](int i) { return elements.data() + std::ptrdiff_t(i) * (n + 1); }
    std::vector<double*> rows() {
        std::vector<double*> all;
        for (int i = 0; i <= m; ++i)
            all.push_back((*this)[i]);
        return all;
    }
    int m, n;
    std::vector<double> elements;
};

template <typename Act>
void each(int from, int to, Act act) {
    for (int k = from; k <= to; ++k)
        act(k);
}

template <typename Term>
double sum(int from, int to, Term term) {
    double total = 0.0;
    each(from, to, [&](int k) { total += term(k); });
    return total;
}

inline double literalPythag(double a, double b) {
    a = std::fabs(a);
    b = std::fabs(b);
    if (!(a > b) && b == 0.0)
        return 0.0;
    const auto ratio = static_cast<float>(a > b ? b / a : a / b);
    const float square = ratio * ratio;
    return (a > b ? a : b) * std::sqrt(1.0 + double(square));
}

inline void literalRotate(Matrix& matrix, int p, int q, double c, double s) {
    for (int r = 1; r <= matrix.m; ++r) {
        const double y = matrix[r][p];
        matrix[r][p] = y * c + matrix[r][q] * s;
        matrix[r][q] = matrix[r][q] * c - y * s;
    }
}

inline double opposite(double size, double sign) { return sign >= 0.0 ? -size : size; }

/// Householder reflection of x(from..to) onto its first element, applied to y(j, .) for j = others..last;
/// returns that element. Rows carry the quotient in the vector, columns in the factor.
template <typename X, typename Y>
double literalReflect(int from, int to, int last, bool isRow, X x, Y y) {
    const double scale = sum(from, to, [&](int k) { return std::fabs(x(k)); });
    if (scale == 0.0)
        return 0.0;
    each(from, to, [&](int k) { x(k) /= scale; });
    const double s = sum(from, to, [&](int k) { return x(k) * x(k); });
    const double g = opposite(std::sqrt(s), x(from));
    const double h = x(from) * g - s;
    x(from) -= g;
    each(isRow ? from : from + 1, last, [&](int j) {
        const double dot = sum(from, to, [&](int k) { return x(k) * y(j, k); });
        each(from, to, [&](int k) { y(j, k) += isRow ? dot * (x(k) / h) : dot / h * x(k); });
    });
    each(from, to, [&](int k) { x(k) *= scale; });
    return scale * g;
}

/// Returns the scale against which elements are negligible, NaN when any is NaN; e, zero so far, is the
/// super-diagonal.
inline double literalBidiagonal(Matrix& a, double* w, double* e) {
    using Element = double&;
    double anorm = 0.0;
    for (int i = 1; i <= a.n; ++i) {
        w[i] = literalReflect(
            i, a.m, a.n, false, [&](int k) -> Element { return a[k][i]; },
            [&](int j, int k) -> Element { return a[k][j]; });
        if (!std::isnan(anorm))
            anorm = std::max(std::fabs(w[i]) + std::fabs(e[i]), anorm);
        if (i < a.n && i <= a.m)
            e[i + 1] = literalReflect(
                i + 1, a.n, a.m, true, [&](int k) -> Element { return a[i][k]; },
                [&](int j, int k) -> Element { return a[j][k]; });
    }
    return anorm;
}

inline void literalAccumulate(Matrix& a, const double* w, Matrix& v, const double* e) {
    const int m = a.m;
    const int n = a.n;
    for (int i = n; i >= 1; --i) {
        const int l = i + 1;
        const double g = i < n ? e[l] : 0.0;
        each(l, g != 0.0 ? n : 0, [&](int j) { v[j][i] = a[i][j] / a[i][l] / g; });
        each(l, g != 0.0 ? n : 0, [&](int j) {
            const double dot = sum(l, n, [&](int k) { return a[i][k] * v[k][j]; });
            each(l, n, [&](int k) { v[k][j] += dot * v[k][i]; });
        });
        each(l, n, [&](int j) { v[i][j] = v[j][i] = 0.0; });
        v[i][i] = 1.0;
    }
    for (int i = std::min(m, n); i >= 1; --i) {
        const double g = 1.0 / w[i];
        each(i + 1, n, [&](int j) { a[i][j] = 0.0; });
        each(i + 1, w[i] != 0.0 ? n : 0, [&](int j) {
            const double f = sum(i + 1, m, [&](int k) { return a[k][i] * a[k][j]; }) / a[i][i] * g;
            each(i, m, [&](int k) { a[k][j] += f * a[k][i]; });
        });
        each(i, m, [&](int k) { a[k][i] = w[i] != 0.0 ? a[k][i] * g : 0.0; });
        a[i][i] += 1.0;
    }
}

/// One QR sweep from l to k.
inline void literalSweep(Matrix& a, double* w, Matrix& v, double* e, int l, int k) {
    double x = w[l];
    const double y0 = w[k - 1];
    const double z = w[k];
    double f = ((y0 - z) * (y0 + z) + (e[k - 1] - e[k]) * (e[k - 1] + e[k])) / (2.0 * e[k] * y0);
    f = ((x - z) * (x + z) + e[k] * (y0 / (f - opposite(literalPythag(f, 1.0), f)) - e[k])) / x;
    double c = 1.0;
    double s = 1.0;
    for (int j = l; j < k; ++j) {
        double h = s * e[j + 1];
        double g = c * e[j + 1];
        e[j] = literalPythag(f, h);
        c = f / e[j];
        s = h / e[j];
        f = x * c + g * s;
        g = g * c - x * s;
        h = w[j + 1] * s;
        const double y = w[j + 1] * c;
        literalRotate(v, j, j + 1, c, s);
        w[j] = literalPythag(f, h);
        if (w[j] != 0.0) {
            c = f * (1.0 / w[j]);
            s = h * (1.0 / w[j]);
        }
        f = c * g + s * y;
        x = c * y - s * g;
        literalRotate(a, j, j + 1, c, s);
    }
    e[l] = 0.0;
    e[k] = f;
    w[k] = x;
}

/// As KvMath::svdcmp.
inline bool literalSvd(Matrix& a, double* w, Matrix& v) {
    std::vector<double> superDiagonal(std::size_t(a.n) + 1);
    double* e = superDiagonal.data();
    const double anorm = literalBidiagonal(a, w, e);
    literalAccumulate(a, w, v, e);
    const auto negligible = [anorm](double value) { return std::fabs(value) + anorm == anorm; };
    for (int k = a.n; k >= 1; --k) {
        for (int count = 1;; ++count) {
            int l = k;
            while (l > 1 && !negligible(e[l]) && !negligible(w[l - 1]))
                --l;
            double c = 0.0;
            double s = 1.0;
            for (int i = l > 1 && !negligible(e[l]) ? l : k + 1; i <= k; ++i) {
                const double f = s * e[i];
                e[i] *= c;
                if (negligible(f))
                    break;
                const double h = literalPythag(f, w[i]);
                c = w[i] * (1.0 / h);
                s = -f * (1.0 / h);
                w[i] = h;
                literalRotate(a, l - 1, i, c, s);
            }
            if (l == k)
                break;
            if (count == 30)
                return false;
            literalSweep(a, w, v, e, l, k);
        }
        if (w[k] < 0.0) {
            w[k] = -w[k];
            each(1, a.n, [&](int j) { v[j][k] = -v[j][k]; });
        }
    }
    return true;
}

}  // namespace TestSupport
