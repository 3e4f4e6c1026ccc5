// Cost: about 4 m n^2 + 8 n^3 operations.
//
// The textbook form runs down columns. Here the columns are contiguous, so that all but the sums works on
// several rows at once, and the rotations of a step are applied while the next step waits for its roots and
// quotients. Every element sees the same operations in the same order as in the textbook.

#include <kvmath/numerics/svd_p.h>

#include <kvmath/numerics/column_passes_p.h>

#include <algorithm>
#include <cmath>

namespace KvMath::Internal {
namespace {

constexpr int kMostTests = 30;  // per singular value, with a sweep between two

/// Work on one block, with the names of the classic description and indices from 0: rv1 is the
/// super-diagonal, anorm the scale against which elements are negligible.
class Decomposition {
public:
    Decomposition(SvdBlock& block, Count rows, Count columns, bool withLeft)
        : a(block.column(0)), v(block.right(0)), w(block.values()), m(rows), n(columns), wantsLeft(withLeft),
          rv1(block.work()), factors(rv1 + n), pivot(factors + n) {}

    bool run() {
        bidiagonalise();
        accumulateRight();
        if (wantsLeft)
            accumulateLeft();
        for (Count k = n - 1; k >= 0; --k)
            if (!converge(k))
                return false;
        return true;
    }

private:
    void bidiagonalise();
    double reflectColumn(Count i);
    double reflectRow(Count i);
    void accumulateRight();
    void accumulateLeft();
    bool converge(Count k);
    Count splitBelow(Count k);
    void cancel(Count l, Count k);
    void sweep(Count l, Count k);
    bool isNegligible(double value) const { return std::fabs(value) + anorm == anorm; }
    double* columnOfA(Count j) { return a + j * m; }
    double* columnOfV(Count j) { return v + j * n; }

    double* a;
    double* v;
    double* w;
    Count m, n;
    bool wantsLeft;  // nothing else depends on the left vectors
    double* rv1;
    double* factors;
    double* pivot;
    double anorm = 0.0;
};

void Decomposition::bidiagonalise() {
    double superDiagonal = 0.0;
    for (Count i = 0; i < n; ++i) {
        rv1[i] = superDiagonal;
        w[i] = i < m ? reflectColumn(i) : 0.0;
        superDiagonal = i < m && i + 1 < n ? reflectRow(i) : 0.0;
        anorm = std::max(anorm, std::fabs(w[i]) + std::fabs(rv1[i]));
        if (std::isnan(w[i]) || std::isnan(rv1[i]))
            anorm = w[i] + rv1[i];  // nothing is negligible then: the iteration ends without convergence
    }
}

/// Householder reflection that clears column i below the diagonal; returns the new diagonal element.
double Decomposition::reflectColumn(Count i) {
    double* x = columnOfA(i) + i;
    const Count count = m - i;
    const double scale = sumOfMagnitudes(x, count);
    if (scale == 0.0)
        return 0.0;
    const double s = divideAndSumSquares(x, count, scale);
    const double f = x[0];
    const double g = f >= 0.0 ? -std::sqrt(s) : std::sqrt(s);
    const double h = f * g - s;
    x[0] = f - g;
    const Count rest = n - i - 1;
    project(x, count, x + m, m, rest, factors);
    for (Count j = 0; j < rest; ++j)
        addMultiple(x + (j + 1) * m, x, count, factors[j] / h);
    if (wantsLeft)
        multiply(x, count, scale);
    return scale * g;
}

/// Householder reflection that clears row i behind the super-diagonal; returns the new super-diagonal
/// element.
double Decomposition::reflectRow(Count i) {
    double* row = columnOfA(i + 1) + i;
    const Count rest = n - i - 1;
    double scale = 0.0;
    for (Count k = 0; k < rest; ++k) {
        pivot[k] = row[k * m];
        scale += std::fabs(pivot[k]);
    }
    if (scale == 0.0)
        return 0.0;
    const double s = divideAndSumSquares(pivot, rest, scale);
    const double f = pivot[0];
    const double g = f >= 0.0 ? -std::sqrt(s) : std::sqrt(s);
    const double h = f * g - s;
    pivot[0] = f - g;
    for (Count k = 0; k < rest; ++k)
        factors[k] = pivot[k] / h;
    reflectRows(row + 1, m, rest, m - i - 1, pivot, factors);
    for (Count k = 0; k < rest; ++k)
        row[k * m] = pivot[k] * scale;
    return scale * g;
}

void Decomposition::accumulateRight() {
    std::fill_n(v, n * n, 0.0);
    for (Count i = n - 1; i >= 0; --i) {
        columnOfV(i)[i] = 1.0;
        const Count l = i + 1;
        const double g = l < n ? rv1[l] : 0.0;
        if (g == 0.0)  // always for i >= m
            continue;
        const Count rest = n - l;
        const double* row = columnOfA(l) + i;
        double* x = columnOfV(i) + l;
        for (Count k = 0; k < rest; ++k) {
            pivot[k] = row[k * m];
            x[k] = (pivot[k] / pivot[0]) / g;
        }
        project(pivot, rest, x + n, n, rest, factors);
        for (Count j = 0; j < rest; ++j)
            addMultiple(x + (j + 1) * n, x, rest, factors[j]);
        std::fill_n(x, rest, 0.0);
    }
}

void Decomposition::accumulateLeft() {
    for (Count i = std::min(m, n) - 1; i >= 0; --i) {
        double* x = columnOfA(i) + i;
        const Count rest = n - i - 1;
        for (Count j = 1; j <= rest; ++j)
            x[j * m] = 0.0;
        if (w[i] != 0.0) {
            const double g = 1.0 / w[i];
            project(x + 1, m - i - 1, x + m + 1, m, rest, factors);
            for (Count j = 0; j < rest; ++j)
                addMultiple(x + (j + 1) * m, x, m - i, (factors[j] / x[0]) * g);
            multiply(x, m - i, g);
        } else {
            std::fill_n(x, m - i, 0.0);
        }
        x[0] += 1.0;
    }
}

/// Iterates until w[k] is a singular value. False when it does not settle.
bool Decomposition::converge(Count k) {
    for (int count = 1;; ++count) {
        const Count l = splitBelow(k);
        if (l == k) {
            if (w[k] < 0.0) {
                w[k] = -w[k];
                for (Count j = 0; j < n; ++j)
                    columnOfV(k)[j] = -columnOfV(k)[j];
            }
            return true;
        }
        if (count == kMostTests)
            return false;
        sweep(l, k);
    }
}

/// First row of the unreduced block that ends at k. A vanishing diagonal element above it is rotated away.
Count Decomposition::splitBelow(Count k) {
    for (Count l = k; l > 0; --l) {
        if (isNegligible(rv1[l]))
            return l;
        if (isNegligible(w[l - 1])) {
            cancel(l, k);
            return l;
        }
    }
    return 0;  // rv1[0] is 0
}

void Decomposition::cancel(Count l, Count k) {
    double c = 0.0;
    double s = 1.0;
    for (Count i = l; i <= k; ++i) {
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
        if (wantsLeft)
            rotate(columnOfA(l - 1), columnOfA(i), m, c, s);
    }
}

/// One implicit-shift QR sweep over the block l..k, the shift from its bottom 2 x 2 minor.
void Decomposition::sweep(Count l, Count k) {
    double x = w[l];
    const double z = w[k];
    double y = w[k - 1];
    double g = rv1[k - 1];
    double h = rv1[k];
    double f = ((y - z) * (y + z) + (g - h) * (g + h)) / (2.0 * h * y);
    g = pythag(f, 1.0);
    f = ((x - z) * (x + z) + h * (y / (f + (f >= 0.0 ? g : -g)) - h)) / x;
    double c = 1.0;
    double s = 1.0;
    for (Count j = l; j < k; ++j) {
        const Count i = j + 1;
        h = s * rv1[i];
        g = c * rv1[i];
        y = w[i];
        double length = pythag(f, h);
        rv1[j] = length;
        c = f / length;
        s = h / length;
        f = x * c + g * s;
        g = g * c - x * s;
        h = y * s;
        y *= c;
        rotate(columnOfV(j), columnOfV(i), n, c, s);
        length = pythag(f, h);
        w[j] = length;
        if (length != 0.0) {
            const double reciprocal = 1.0 / length;
            c = f * reciprocal;
            s = h * reciprocal;
        }
        f = c * g + s * y;
        x = c * y - s * g;
        if (wantsLeft)
            rotate(columnOfA(j), columnOfA(i), m, c, s);
    }
    rv1[l] = 0.0;
    rv1[k] = f;
    w[k] = x;
}

}  // namespace

// Both quotients, of which the smaller counts, cost less than a branch that nobody can predict.
double pythag(double a, double b) {
    const double absA = std::fabs(a);
    const double absB = std::fabs(b);
    const double larger = std::max(absB, absA);  // |b| when |a| is NaN
    if (larger == 0.0)
        return 0.0;
    const auto ratio = static_cast<float>(std::min(absA / absB, absB / absA));
    const float square = ratio * ratio;
    return larger * std::sqrt(1.0 + static_cast<double>(square));
}

SvdBlock::SvdBlock(int rows, int columns)
    : rows_(std::max(rows, 0)), columns_(std::max(columns, 0)), scratch_(rows_ + columns_ + 4, columns_) {}

bool SvdBlock::decompose(bool wantsLeft) { return Decomposition(*this, rows_, columns_, wantsLeft).run(); }

void svdBackSubstitute(SvdBlock& svd, int m, int n, const double* b, double* x) {
    const double* w = svd.values();
    double* coefficients = svd.work();
    project(b, m, svd.column(0), m, n, coefficients);
    std::fill_n(x, n, 0.0);
    for (int j = 0; j < n; ++j)
        addMultiple(x, svd.right(j), n, w[j] != 0.0 ? coefficients[j] / w[j] : 0.0);
}

}  // namespace KvMath::Internal
