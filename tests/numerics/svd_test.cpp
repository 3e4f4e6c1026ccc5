#include <kvmath/numerics/svd.h>

#include <tests/numerics/literal_svd.h>
#include <tests/support/random_data.h>

#include <gmock/gmock.h>

#include <cstring>
#include <limits>

namespace {

using TestSupport::Draws;
using TestSupport::Matrix;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Why the results carry this error: a length from `pythag` is off by at most 3/4 * 2^-24 (ratio and square
// are rounded to 24 bits), so every rotation scales its plane by up to 1 + 4.5e-8 and its square by twice
// that. About 2 n sweeps turn each column twice on either side: 8 n * 9e-8.
double rotationError(int n) { return 7.2e-7 * n; }

struct Parts {
    explicit Parts(const Matrix& matrix)
        : u(matrix), v(matrix.n, matrix.n), w(std::size_t(matrix.n) + 1),
          converged(KvMath::svdcmp(u.rows().data(), u.m, u.n, w.data(), v.rows().data())) {}
    Matrix u, v;
    std::vector<double> w;
    bool converged;
};

/// Largest deviation of the columns from orthonormality.
double skew(Matrix& q) {
    double worst = 0.0;
    for (int p = 1; p <= q.n; ++p)
        for (int r = p; r <= q.n; ++r) {
            const double dot = TestSupport::sum(1, q.m, [&](int i) { return q[i][p] * q[i][r]; });
            worst = std::max(worst, std::fabs(dot - (p == r ? 1.0 : 0.0)));
        }
    return worst;
}

bool areBitwiseEqual(const std::vector<double>& p, const std::vector<double>& q) {
    return std::equal(p.begin(), p.end(), q.begin(), [](double x, double y) {
        return std::memcmp(&x, &y, sizeof x) == 0 || (x != x && y != y);
    });
}

/// V diag(1 / w) U^T b with the values below tol times the largest as 0.
std::vector<double> literalSolution(Matrix& u, std::vector<double> w, Matrix& v, const double* b,
                                    double tol) {
    std::vector<double> x;
    std::vector<double> t(w.size());
    const double largest = *std::max_element(w.begin(), w.end());
    for (int j = 1; j <= u.n; ++j) {
        const double value = w[std::size_t(j)] < largest * tol ? 0.0 : w[std::size_t(j)];
        const double dot = TestSupport::sum(1, u.m, [&](int i) { return u[i][j] * b[i - 1]; });
        t[std::size_t(j)] = value != 0.0 ? dot / value : 0.0;
    }
    for (int j = 1; j <= u.n; ++j)
        x.push_back(TestSupport::sum(1, u.n, [&](int k) { return v[j][k] * t[std::size_t(k)]; }));
    return x;
}

// Scales whose squares leave the range of double need not converge, but do so alike, and so do NaN and
// infinite elements; at 1e-162 the thirty tests of a value run out while all is finite.
TEST(Svdcmp, IsTheColumnFormBitForBitAndReconstructs) {
    Draws draws(61);
    const double scales[] = {1.0, 1e70, 1e-70, 1e140, 1e-140, 1e-162, 1e200, 1.0};
    const double odd[] = {kNaN, kInfinity, -kInfinity, 1.7e308, -1.7e308, 5e-324, 0.0, 1e160, 1e-170};
    for (int round = 0; round < 2000; ++round) {
        Matrix a(draws.integer(1, round % 50 == 0 ? 300 : 14), draws.integer(1, 9));
        const int n = a.n;
        const int scale = draws.integer(0, 7);
        const bool coarse = draws.chance(0.5);  // ties, zeros, rank deficiency
        std::vector<double> flat;
        for (int i = 1; i <= a.m; ++i)
            for (int j = 1; j <= n; ++j) {
                a[i][j] = scales[scale] * (coarse ? draws.integer(-1, 1) : draws.normal(1.0));
                if (scale == 7 && draws.chance(0.1))
                    a[i][j] = odd[draws.integer(0, 8)];
                flat.push_back(a[i][j]);
            }
        Parts parts(a);
        Matrix u(a);
        Matrix v(n, n);
        std::vector<double> w(std::size_t(n) + 1);
        ASSERT_EQ(parts.converged, TestSupport::literalSvd(u, w.data(), v)) << round;
        ASSERT_TRUE(areBitwiseEqual(parts.u.elements, u.elements) && areBitwiseEqual(parts.w, w) &&
                    areBitwiseEqual(parts.v.elements, v.elements))
            << round << ": " << a.m << " x " << n;
        std::vector<double> x(std::size_t(n), 7.0);
        const double tol = draws.integer(0, 1) * 0.3;
        ASSERT_EQ(KvMath::svdLeastSquares(flat.data(), flat.data(), a.m, n, tol, x.data()), parts.converged);
        ASSERT_TRUE(areBitwiseEqual(x, parts.converged ? literalSolution(u, w, v, flat.data(), tol)
                                                       : std::vector<double>(std::size_t(n), 7.0)));
        if (scale > 2)
            continue;
        ASSERT_TRUE(parts.converged);
        const double largest = *std::max_element(w.begin() + 1, w.end());
        const double smallest = *std::min_element(w.begin() + 1, w.end());
        for (int i = 0; i < a.m * n; ++i)
            ASSERT_NEAR(
                TestSupport::sum(
                    1, n, [&](int k) { return u[i / n + 1][k] * w[std::size_t(k)] * v[i % n + 1][k]; }),
                flat[std::size_t(i)], rotationError(n) * largest);
        ASSERT_GE(smallest, 0.0);
        ASSERT_LE(skew(v), rotationError(n));
        ASSERT_TRUE(smallest <= 1e-6 * largest || skew(u) <= rotationError(n));
    }
}

TEST(Svdcmp, OfNothing) {
    EXPECT_TRUE(KvMath::svdcmp(nullptr, 3, 0, nullptr, nullptr));
    EXPECT_TRUE(KvMath::svdcmp(nullptr, 3, -1, nullptr, nullptr));
    Parts parts(Matrix(0, 2));
    EXPECT_TRUE(parts.converged);
    EXPECT_THAT(parts.w, testing::Each(0.0));
    EXPECT_THAT(parts.v.elements, testing::ElementsAre(0, 0, 0, 0, 1, 0, 0, 0, 1));
}

// NIST StRD, higher difficulty. y of "Wampler1" to "Wampler5" are certified polynomials of degree 5 in x =
// 0..20 plus `wampler`, which none of them takes up. The basis is that of Chebyshev, of condition below 5
// here; powers of x have 1e7.
constexpr int wampler[11] = {759, -2048, 2048, -2048, 2523, -2048, 2048, -2048, 1838, -2048, 2048};

TEST(SvdLeastSquares, MeetsTheCertifiedPolynomials) {
    const struct { double ratio, share; } cases[] = {{1, 0}, {0.1, 0}, {1, 1}, {1, 100}, {1, 10'000}};
    for (const auto& c : cases) {
        double a[21 * 6];
        double y[21];
        double certified[21];
        for (int i = 0; i <= 20; ++i) {
            certified[i] = TestSupport::sum(0, 5, [&](int p) { return std::pow(c.ratio * i, p); });
            y[i] = certified[i] + c.share * wampler[std::min(i, 20 - i)];
            for (int p = 0; p < 6; ++p)
                a[6 * i + p] = std::cos(p * std::acos(i / 10.0 - 1.0));
        }
        double x[6];
        ASSERT_TRUE(KvMath::svdLeastSquares(a, y, 21, 6, 0.0, x));
        const double largest = *std::max_element(y, y + 21);
        for (int i = 0; i <= 20; ++i)
            EXPECT_NEAR(TestSupport::sum(0, 5, [&](int p) { return a[6 * i + p] * x[p]; }), certified[i],
                        5 * rotationError(6) * largest)
                << c.ratio << ' ' << c.share;
    }
}

// Diagonal matrices stay exact. A value is cut off strictly below the tolerance; an exact 0 needs none.
TEST(SvdLeastSquares, TakesTheShortestSolutionWithoutSmallValues) {
    const struct {
        double a[4], b[2], tol, x[2];
    } cases[] = {{{4, 0, 0, 1}, {8, 3}, 0.25, {2, 3}},
                 {{4, 0, 0, 1}, {8, 3}, 0.2500001, {2, 0}},
                 {{2}, {6, 7}, 0, {3, 0}}};
    double x[2];
    for (const auto& c : cases) {
        ASSERT_TRUE(KvMath::svdLeastSquares(c.a, c.b, 2, 2, c.tol, x));
        EXPECT_THAT(x, testing::ElementsAreArray(c.x)) << c.tol;
    }
    x[0] = x[1] = 7.0;
    EXPECT_TRUE(KvMath::svdLeastSquares(nullptr, nullptr, 2, 0, 0.0, x));
    EXPECT_THAT(x, testing::Each(7.0));
    EXPECT_TRUE(KvMath::svdLeastSquares(nullptr, nullptr, 0, 2, 0.0, x));
    EXPECT_THAT(x, testing::Each(0.0));
}

TEST(Pca, TakesTheRightVectorsByFallingSpread) {
    Draws draws(64);
    for (int round = 0; round < 100; ++round) {
        const int count = draws.integer(3, 30);
        std::vector<double> data;
        for (int i = 0; i < 3 * count; ++i)
            data.push_back(10.0 * (i % 3) + draws.normal(1.0 + i % 3));
        double mean[] = {0, 0, 0, 42};
        double basis[9];
        ASSERT_TRUE(KvMath::pca(data.data(), count, 3, mean, basis) && mean[3] == 42);
        Matrix a(count, 3);
        for (int i = 0; i < 3 * count; ++i)
            a[i / 3 + 1][i % 3 + 1] = data[std::size_t(i)] - mean[i % 3];
        Matrix centred(a);
        Matrix v(3, 3);
        double w[4];
        ASSERT_TRUE(TestSupport::literalSvd(a, w, v));
        int order[] = {1, 2, 3};
        std::sort(order, order + 3, [&w](int p, int q) { return w[p] > w[q]; });
        for (int i = 0; i < 9; ++i)
            ASSERT_EQ(basis[i], v[i / 3 + 1][order[i % 3]]);
        KvMath::pcaTransform(data.data(), count, 3, mean, basis);
        for (int i = 0; i < 3 * count; ++i)
            ASSERT_EQ(data[std::size_t(i)], TestSupport::sum(1, 3, [&](int j) {
                          return v[j][order[i % 3]] * centred[i / 3 + 1][j];
                      }));
    }
}

TEST(Pca, OnTheEdges) {
    double mean[2] = {7, 7};
    double basis[4] = {7, 7, 7, 7};
    const double same[] = {1, 2, 1, 2};
    EXPECT_TRUE(KvMath::pca(same, 2, 2, mean, basis));
    EXPECT_THAT(mean, testing::ElementsAre(1.0, 2.0));
    const double bad[] = {kNaN, 2, 1, 2};
    EXPECT_FALSE(KvMath::pca(bad, 2, 2, mean, basis));
    EXPECT_EQ(mean[1], 2.0);
    EXPECT_THAT(basis, testing::Each(0.0));
    mean[0] = 7;
    EXPECT_FALSE(KvMath::pca(same, 0, 2, mean, basis));
    EXPECT_THAT(mean, testing::Each(0.0));
    EXPECT_FALSE(KvMath::pca(same, 2, -1, nullptr, nullptr));
    KvMath::pcaTransform(nullptr, 0, 2, mean, basis);
    KvMath::pcaTransform(nullptr, 2, -1, mean, basis);
}

}  // namespace
