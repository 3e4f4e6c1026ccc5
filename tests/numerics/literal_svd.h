#pragma once
// The decomposition column by column with every rotation applied at once, as it is usually written down: slow
// on row-stored matrices, and the measure of the library's form.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace TestSupport {

/// Unit-offset matrix with unit-offset rows.
struct Matrix {
    Matrix(int rows, int columns)
        : m(rows), n(columns), elements(std::size_t(rows + 1) * std::size_t(columns + 1)),
          pointers(std::size_t(rows) + 1) {
        for (int i = 0; i <= rows; ++i)
            pointers[std::size_t(i)] = elements.data() + std::size_t(i) * std::size_t(columns + 1);
    }
    Matrix(const Matrix& other) : Matrix(other.m, other.n) { elements = other.elements; }
    Matrix& operator=(const Matrix&) = delete;
    double* operator[](int i) { return pointers[std::size_t(i)]; }

    int m, n;
    std::vector<double> elements;
    std::vector<double*> pointers;
};

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
        const double z = matrix[r][q];
        matrix[r][p] = y * c + z * s;
        matrix[r][q] = z * c - y * s;
    }
}

inline double opposite(double size, double sign) { return sign >= 0.0 ? -size : size; }

inline double literalBidiagonal(Matrix& a, double* w, Matrix& v, std::vector<double>& e) {
    const int m = a.m;
    const int n = a.n;
    double anorm = 0.0;
    double upper = 0.0;
    for (int i = 1; i <= n; ++i) {
        e[std::size_t(i)] = upper;
        upper = w[i] = 0.0;
        double scale = 0.0;
        for (int k = i; k <= m; ++k)
            scale += std::fabs(a[k][i]);
        if (scale != 0.0) {
            double s = 0.0;
            for (int k = i; k <= m; ++k) {
                a[k][i] /= scale;
                s += a[k][i] * a[k][i];
            }
            const double g = opposite(std::sqrt(s), a[i][i]);
            const double h = a[i][i] * g - s;
            a[i][i] -= g;
            for (int j = i + 1; j <= n; ++j) {
                double dot = 0.0;
                for (int k = i; k <= m; ++k)
                    dot += a[k][i] * a[k][j];
                for (int k = i; k <= m; ++k)
                    a[k][j] += dot / h * a[k][i];
            }
            for (int k = i; k <= m; ++k)
                a[k][i] *= scale;
            w[i] = scale * g;
        }
        scale = 0.0;
        for (int k = i + 1; i <= m && k <= n; ++k)
            scale += std::fabs(a[i][k]);
        if (scale != 0.0) {
            double s = 0.0;
            for (int k = i + 1; k <= n; ++k) {
                a[i][k] /= scale;
                s += a[i][k] * a[i][k];
            }
            const double g = opposite(std::sqrt(s), a[i][i + 1]);
            const double h = a[i][i + 1] * g - s;
            a[i][i + 1] -= g;
            for (int j = i + 1; j <= m; ++j) {
                double dot = 0.0;
                for (int k = i + 1; k <= n; ++k)
                    dot += a[j][k] * a[i][k];
                for (int k = i + 1; k <= n; ++k)
                    a[j][k] += dot * (a[i][k] / h);
            }
            for (int k = i + 1; k <= n; ++k)
                a[i][k] *= scale;
            upper = scale * g;
        }
        anorm = std::max(anorm, std::fabs(w[i]) + std::fabs(e[std::size_t(i)]));
    }
    for (int i = n; i >= 1; --i) {
        for (int j = 1; j <= n; ++j)
            v[i][j] = i == j ? 1.0 : v[i][j];
        const double g = i < n ? e[std::size_t(i) + 1] : 0.0;
        for (int j = i + 1; j <= n; ++j)
            v[j][i] = g != 0.0 ? a[i][j] / a[i][i + 1] / g : 0.0;
        for (int j = i + 1; g != 0.0 && j <= n; ++j) {
            double dot = 0.0;
            for (int k = i + 1; k <= n; ++k)
                dot += a[i][k] * v[k][j];
            for (int k = i + 1; k <= n; ++k)
                v[k][j] += dot * v[k][i];
        }
        for (int j = i + 1; j <= n; ++j)
            v[i][j] = v[j][i] = 0.0;
    }
    for (int i = std::min(m, n); i >= 1; --i) {
        for (int j = i + 1; j <= n; ++j)
            a[i][j] = 0.0;
        const double g = w[i] != 0.0 ? 1.0 / w[i] : 0.0;
        for (int j = i + 1; g != 0.0 && j <= n; ++j) {
            double dot = 0.0;
            for (int k = i + 1; k <= m; ++k)
                dot += a[k][i] * a[k][j];
            const double f = dot / a[i][i] * g;
            for (int k = i; k <= m; ++k)
                a[k][j] += f * a[k][i];
        }
        for (int k = i; k <= m; ++k)
            a[k][i] = g != 0.0 ? a[k][i] * g : 0.0;
        a[i][i] += 1.0;
    }
    return anorm;
}

/// One QR sweep from l to k.
inline void literalSweep(Matrix& a, double* w, Matrix& v, std::vector<double>& e, int l, int k) {
    const auto rv1 = [&e](int i) -> double& { return e[std::size_t(i)]; };
    double x = w[l];
    const double y0 = w[k - 1];
    const double z = w[k];
    double f = ((y0 - z) * (y0 + z) + (rv1(k - 1) - rv1(k)) * (rv1(k - 1) + rv1(k))) / (2.0 * rv1(k) * y0);
    const double root = literalPythag(f, 1.0);
    f = ((x - z) * (x + z) + rv1(k) * (y0 / (f + (f >= 0.0 ? root : -root)) - rv1(k))) / x;
    double c = 1.0;
    double s = 1.0;
    for (int j = l; j < k; ++j) {
        double h = s * rv1(j + 1);
        double g = c * rv1(j + 1);
        rv1(j) = literalPythag(f, h);
        c = f / rv1(j);
        s = h / rv1(j);
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
    rv1(l) = 0.0;
    rv1(k) = f;
    w[k] = x;
}

/// As KvMath::svdcmp, for finite elements.
inline bool literalSvd(Matrix& a, double* w, Matrix& v) {
    std::vector<double> e(std::size_t(a.n) + 1);
    const double anorm = literalBidiagonal(a, w, v, e);
    const auto negligible = [anorm](double value) { return std::fabs(value) + anorm == anorm; };
    for (int k = a.n; k >= 1; --k) {
        for (int count = 1;; ++count) {
            int l = k;
            while (!negligible(e[std::size_t(l)]) && !negligible(w[l - 1]))
                --l;
            double c = 0.0;
            double s = negligible(e[std::size_t(l)]) ? 0.0 : 1.0;
            for (int i = l; s != 0.0 && i <= k; ++i) {
                const double f = s * e[std::size_t(i)];
                e[std::size_t(i)] *= c;
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
            for (int j = 1; j <= a.n; ++j)
                v[j][k] = -v[j][k];
        }
    }
    return true;
}

}  // namespace TestSupport
