// Cost: about 4 m n^2 + 8 n^3 operations. Two work blocks per call.
//
// The textbook form runs down columns of row-stored matrices. Here sums over a column are formed for all
// columns of a row at a time, and the rotations of one QR sweep are collected and applied row by row: every
// element sees the same operations in the same order, so the results are those of the column form bit for
// bit.

#include <kvmath/numerics/svd.h>

#include <kvmath/numerics/svd_p.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace KvMath {

using Internal::pythag;

namespace {

constexpr int kMostTests = 30;  // per singular value, with a sweep between two

struct Rotation {
    double c, s;

    void apply(double& x, double& z) const {
        const double x0 = x;
        x = x0 * c + z * s;
        z = z * c - x0 * s;
    }
};

/// Applies rotation j - first to the neighbouring columns j, j + 1, for j = first .. last, to rows 1..rows.
void rotateColumns(double** matrix, int rows, int first, int last, const Rotation* rotations) {
    for (int r = 1; r <= rows; ++r) {
        double* row = matrix[r];
        double carried = row[first];
        for (int j = first; j <= last; ++j) {
            double next = row[j + 1];
            rotations[j - first].apply(carried, next);
            row[j] = carried;
            carried = next;
        }
        row[last + 1] = carried;
    }
}

// The passes of a column reflection over rows i..m, `rest` columns on its right. A known number of columns
// keeps their sums in registers: tall matrices of three columns spend most of their time here.

template <int Rest>
void projectRows(double** a, int i, int m, double* sums) {
    double local[Rest] = {};
    for (int k = i; k <= m; ++k) {
        const double* row = a[k] + i;
        for (int j = 0; j < Rest; ++j)
            local[j] += row[0] * row[1 + j];
    }
    std::copy_n(local, Rest, sums);
}

void projectRows(double** a, int i, int m, int rest, double* sums) {
    if (rest == 1)
        return projectRows<1>(a, i, m, sums);
    if (rest == 2)
        return projectRows<2>(a, i, m, sums);
    std::fill_n(sums, rest, 0.0);
    for (int k = i; k <= m; ++k) {
        const double* row = a[k] + i;
        const double element = row[0];
        for (int j = 0; j < rest; ++j)
            sums[j] += element * row[1 + j];
    }
}

template <int Rest>
void reflectRows(double** a, int i, int m, const double* factors, double scale) {
    double local[Rest + 1] = {};
    std::copy_n(factors, Rest, local);
    for (int k = i; k <= m; ++k) {
        double* row = a[k] + i;
        const double element = row[0];
        for (int j = 0; j < Rest; ++j)
            row[1 + j] += local[j] * element;
        row[0] = element * scale;
    }
}

void reflectRows(double** a, int i, int m, int rest, const double* factors, double scale) {
    if (rest == 0)
        return reflectRows<0>(a, i, m, factors, scale);
    if (rest == 1)
        return reflectRows<1>(a, i, m, factors, scale);
    if (rest == 2)
        return reflectRows<2>(a, i, m, factors, scale);
    for (int k = i; k <= m; ++k) {
        double* row = a[k] + i;
        const double element = row[0];
        for (int j = 0; j < rest; ++j)
            row[1 + j] += factors[j] * element;
        row[0] = element * scale;
    }
}

/// One decomposition in the caller's unit-offset arrays, with the names of the classic description: rv1 is
/// the super-diagonal, anorm the scale against which elements are negligible.
class Decomposition {
public:
    Decomposition(double** matrix, int rows, int columns, double* values, double** rightVectors,
                  bool withLeft)
        : a(matrix), w(values), v(rightVectors), m(rows), n(columns), wantsLeft(withLeft),
          work(2 * (static_cast<std::size_t>(n) + 1)), rv1(work.data()), sums(rv1 + n + 1),
          rotations(2 * static_cast<std::size_t>(n)), rotationsV(rotations.data()),
          rotationsA(rotationsV + n) {}

    bool run() {
        bidiagonalise();
        accumulateRight();
        if (wantsLeft)
            accumulateLeft();
        for (int k = n; k >= 1; --k)
            if (!converge(k))
                return false;
        return true;
    }

private:
    void bidiagonalise();
    double reflectColumn(int i);
    double reflectRow(int i);
    void accumulateRight();
    void accumulateLeft();
    bool converge(int k);
    int splitBelow(int k);
    void cancel(int l, int k);
    void sweep(int l, int k);
    bool isNegligible(double value) const { return std::fabs(value) + anorm == anorm; }

    double** a;
    double* w;
    double** v;
    int m, n;
    bool wantsLeft;  // nothing else depends on the left vectors
    std::vector<double> work;
    double* rv1;
    double* sums;
    std::vector<Rotation> rotations;
    Rotation* rotationsV;
    Rotation* rotationsA;
    double anorm = 0.0;
};

void Decomposition::bidiagonalise() {
    double superDiagonal = 0.0;
    for (int i = 1; i <= n; ++i) {
        rv1[i] = superDiagonal;
        w[i] = i <= m ? reflectColumn(i) : 0.0;
        superDiagonal = i <= m && i != n ? reflectRow(i) : 0.0;
        anorm = std::max(anorm, std::fabs(w[i]) + std::fabs(rv1[i]));
        if (std::isnan(w[i]) || std::isnan(rv1[i]))
            anorm = w[i] + rv1[i];  // nothing is negligible then: the iteration ends without convergence
    }
}

/// Householder reflection that clears column i below the diagonal; returns the new diagonal element.
double Decomposition::reflectColumn(int i) {
    double scale = 0.0;
    for (int k = i; k <= m; ++k)
        scale += std::fabs(a[k][i]);
    if (scale == 0.0)
        return 0.0;
    double s = 0.0;
    for (int k = i; k <= m; ++k) {
        a[k][i] /= scale;
        s += a[k][i] * a[k][i];
    }
    const double f = a[i][i];
    const double g = f >= 0.0 ? -std::sqrt(s) : std::sqrt(s);
    const double h = f * g - s;
    a[i][i] = f - g;
    double* factors = sums + i + 1;
    const int rest = n - i;
    projectRows(a, i, m, rest, factors);
    for (int j = 0; j < rest; ++j)
        factors[j] /= h;
    reflectRows(a, i, m, rest, factors, scale);
    return scale * g;
}

/// Householder reflection that clears row i behind the super-diagonal; returns the new super-diagonal
/// element.
double Decomposition::reflectRow(int i) {
    const int l = i + 1;
    double* pivotRow = a[i];
    double scale = 0.0;
    for (int k = l; k <= n; ++k)
        scale += std::fabs(pivotRow[k]);
    if (scale == 0.0)
        return 0.0;
    double s = 0.0;
    for (int k = l; k <= n; ++k) {
        pivotRow[k] /= scale;
        s += pivotRow[k] * pivotRow[k];
    }
    const double f = pivotRow[l];
    const double g = f >= 0.0 ? -std::sqrt(s) : std::sqrt(s);
    const double h = f * g - s;
    pivotRow[l] = f - g;
    for (int k = l; k <= n; ++k)
        sums[k] = pivotRow[k] / h;
    if (n - i == 2) {  // as below, in registers
        const double pivot[2] = {pivotRow[l], pivotRow[n]};
        const double factor[2] = {sums[l], sums[n]};
        for (int j = l; j <= m; ++j) {
            double* row = a[j] + l;
            const double dot = 0.0 + row[0] * pivot[0] + row[1] * pivot[1];
            row[0] += dot * factor[0];
            row[1] += dot * factor[1];
        }
    }
    for (int j = l; n - i != 2 && j <= m; ++j) {
        double* row = a[j];
        double dot = 0.0;
        for (int k = l; k <= n; ++k)
            dot += row[k] * pivotRow[k];
        for (int k = l; k <= n; ++k)
            row[k] += dot * sums[k];
    }
    for (int k = l; k <= n; ++k)
        pivotRow[k] *= scale;
    return scale * g;
}

void Decomposition::accumulateRight() {
    for (int i = n; i >= 1; --i) {
        const int l = i + 1;
        if (i < n) {
            const double g = rv1[l];
            if (g != 0.0) {  // never for i > m: the super-diagonal is 0 there
                const double* row = a[i];
                for (int j = l; j <= n; ++j)
                    v[j][i] = (row[j] / row[l]) / g;
                std::fill(sums + l, sums + n + 1, 0.0);
                for (int k = l; k <= n; ++k)
                    for (int j = l; j <= n; ++j)
                        sums[j] += row[k] * v[k][j];
                for (int k = l; k <= n; ++k)
                    for (int j = l; j <= n; ++j)
                        v[k][j] += sums[j] * v[k][i];
            }
            for (int j = l; j <= n; ++j) {
                v[i][j] = 0.0;
                v[j][i] = 0.0;
            }
        }
        v[i][i] = 1.0;
    }
}

void Decomposition::accumulateLeft() {
    for (int i = std::min(m, n); i >= 1; --i) {
        const int l = i + 1;
        std::fill(a[i] + l, a[i] + n + 1, 0.0);
        if (w[i] != 0.0) {
            const double g = 1.0 / w[i];
            std::fill(sums + l, sums + n + 1, 0.0);
            for (int k = l; k <= m; ++k)
                for (int j = l; j <= n; ++j)
                    sums[j] += a[k][i] * a[k][j];
            for (int j = l; j <= n; ++j)
                sums[j] = (sums[j] / a[i][i]) * g;
            for (int k = i; k <= m; ++k) {
                const double element = a[k][i];
                for (int j = l; j <= n; ++j)
                    a[k][j] += sums[j] * element;
                a[k][i] = element * g;
            }
        } else {
            for (int k = i; k <= m; ++k)
                a[k][i] = 0.0;
        }
        a[i][i] += 1.0;
    }
}

/// Iterates until w[k] is a singular value. False when it does not settle.
bool Decomposition::converge(int k) {
    for (int count = 1;; ++count) {
        const int l = splitBelow(k);
        if (l == k) {
            if (w[k] < 0.0) {
                w[k] = -w[k];
                for (int j = 1; j <= n; ++j)
                    v[j][k] = -v[j][k];
            }
            return true;
        }
        if (count == kMostTests)
            return false;
        sweep(l, k);
    }
}

/// First row of the unreduced block that ends at k. A vanishing diagonal element above it is rotated away.
int Decomposition::splitBelow(int k) {
    for (int l = k; l > 1; --l) {
        if (isNegligible(rv1[l]))
            return l;
        if (isNegligible(w[l - 1])) {
            cancel(l, k);
            return l;
        }
    }
    return 1;  // rv1[1] is 0
}

void Decomposition::cancel(int l, int k) {
    double c = 0.0;
    double s = 1.0;
    for (int i = l; i <= k; ++i) {
        const double f = s * rv1[i];
        rv1[i] = c * rv1[i];
        if (isNegligible(f))
            return;
        const double g = w[i];
        const double h = pythag(f, g);
        w[i] = h;
        const double reciprocal = 1.0 / h;
        c = g * reciprocal;
        s = -f * reciprocal;
        const Rotation rotation{c, s};
        for (int j = 1; wantsLeft && j <= m; ++j)
            rotation.apply(a[j][l - 1], a[j][i]);
    }
}

/// One implicit-shift QR sweep over the block l..k, the shift from its bottom 2 x 2 minor.
void Decomposition::sweep(int l, int k) {
    double x = w[l];
    const double z = w[k];
    double y = w[k - 1];
    double g = rv1[k - 1];
    double h = rv1[k];
    double f = ((y - z) * (y + z) + (g - h) * (g + h)) / (2.0 * h * y);
    g = pythag(f, 1.0);
    f = ((x - z) * (x + z) + h * (y / (f + (f >= 0.0 ? g : -g)) - h)) / x;
    Rotation right{1.0, 1.0};
    Rotation left{1.0, 1.0};
    for (int j = l; j < k; ++j) {
        const int i = j + 1;
        h = left.s * rv1[i];
        g = left.c * rv1[i];
        y = w[i];
        double length = pythag(f, h);
        rv1[j] = length;
        right = {f / length, h / length};
        f = x * right.c + g * right.s;
        g = g * right.c - x * right.s;
        h = y * right.s;
        y *= right.c;
        length = pythag(f, h);
        w[j] = length;
        left = right;
        if (length != 0.0) {
            const double reciprocal = 1.0 / length;
            left = {f * reciprocal, h * reciprocal};
        }
        f = left.c * g + left.s * y;
        x = left.c * y - left.s * g;
        rotationsV[j - l] = right;
        rotationsA[j - l] = left;
    }
    rv1[l] = 0.0;
    rv1[k] = f;
    w[k] = x;
    rotateColumns(v, n, l, k - 1, rotationsV);
    if (wantsLeft)
        rotateColumns(a, m, l, k - 1, rotationsA);
}

}  // namespace

bool svdcmp(double** a, int m, int n, double* const w, double** v) {
    if (n < 1)
        return true;
    return Decomposition(a, m, n, w, v, true).run();
}

bool Internal::rightSingularVectors(double** a, int m, int n, double* w, double** v) {
    if (n < 1)
        return true;
    return Decomposition(a, m, n, w, v, false).run();
}

}  // namespace KvMath
