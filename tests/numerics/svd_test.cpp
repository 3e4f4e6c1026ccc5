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

Matrix randomMatrix(Draws& draws, int m, int n, double scale) {
    Matrix a(m, n);
    const bool coarse = draws.chance(0.5);  // ties, zeros, rank deficiency
    for (int i = 1; i <= m; ++i)
        for (int j = 1; j <= n; ++j)
            a[i][j] = scale * (coarse ? draws.integer(-1, 1) : draws.normal(1.0));
    return a;
}

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

// Scales whose squares leave the range of double need not converge, but do so alike; at 1e-162 the thirty
// tests of a value run out while all is finite.
TEST(Svdcmp, IsTheColumnFormBitForBitAndReconstructs) {
    Draws draws(61);
    for (int round = 0; round < 600; ++round) {
        const int m = draws.integer(1, 14);
        const int n = draws.integer(1, 9);
        const double scales[] = {1.0, 1e70, 1e-70, 1e140, 1e-140, 1e-162, 1e200};
        const int scale = draws.integer(0, 6);
        Matrix a = randomMatrix(draws, m, n, scales[scale]);
        Parts parts(a);
        Matrix u(a);
        Matrix v(n, n);
        std::vector<double> w(std::size_t(n) + 1);
        ASSERT_EQ(parts.converged, TestSupport::literalSvd(u, w.data(), v)) << round;
        ASSERT_TRUE(areBitwiseEqual(parts.u.elements, u.elements) && areBitwiseEqual(parts.w, w) &&
                    areBitwiseEqual(parts.v.elements, v.elements))
            << round << ": " << m << " x " << n;
        if (scale > 2)
            continue;
        ASSERT_TRUE(parts.converged);
        const double largest = *std::max_element(w.begin() + 1, w.end());
        const double smallest = *std::min_element(w.begin() + 1, w.end());
        for (int i = 1; i <= m; ++i)
            for (int j = 1; j <= n; ++j)
                ASSERT_NEAR(
                    TestSupport::sum(1, n, [&](int k) { return u[i][k] * w[std::size_t(k)] * v[j][k]; }),
                    a[i][j], rotationError(n) * largest);
        ASSERT_GE(smallest, 0.0);
        ASSERT_LE(skew(v), rotationError(n));
        ASSERT_TRUE(smallest < 1e-6 * largest || skew(u) <= rotationError(n));
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

// With the sanitizers this also shows that no index leaves the arrays.
TEST(Svdcmp, EndsForEveryMatrix) {
    Draws draws(63);
    const double odd[] = {kNaN, kInfinity, -kInfinity, 1.7e308, -1.7e308, 5e-324, 0.0, 1e160, 1e-170};
    for (int round = 0; round < 2000; ++round) {
        Matrix a = randomMatrix(draws, draws.integer(1, 7), draws.integer(1, 7), 1.0);
        for (int hits = draws.integer(1, 12); hits > 0; --hits)
            a[draws.integer(1, a.m)][draws.integer(1, a.n)] = odd[draws.integer(0, 8)];
        const Parts parts(a);
    }
}

// NIST StRD, higher difficulty. y of "Wampler1" to "Wampler5" are certified polynomials in x = 0..20 plus
// `wampler`, which no polynomial of degree 5 takes up.
constexpr int wampler[11] = {759, -2048, 2048, -2048, 2523, -2048, 2048, -2048, 1838, -2048, 2048};
constexpr double filip[82][2] = {
    {-6.860120914, 0.8116}, {-4.324130045, 0.9072}, {-4.358625055, 0.9052}, {-4.358426747, 0.9039},
    {-6.955852379, 0.8053}, {-6.661145254, 0.8377}, {-6.355462942, 0.8667}, {-6.118102026, 0.8809},
    {-7.115148017, 0.7975}, {-6.815308569, 0.8162}, {-6.519993057, 0.8515}, {-6.204119983, 0.8766},
    {-5.853871964, 0.8885}, {-6.109523091, 0.8859}, {-5.79832982, 0.8959},  {-5.482672118, 0.8913},
    {-5.171791386, 0.8959}, {-4.851705903, 0.8971}, {-4.517126416, 0.9021}, {-4.143573228, 0.909},
    {-3.709075441, 0.9139}, {-3.499489089, 0.9199}, {-6.300769497, 0.8692}, {-5.953504836, 0.8872},
    {-5.642065153, 0.89},   {-5.031376979, 0.891},  {-4.680685696, 0.8977}, {-4.329846955, 0.9035},
    {-3.928486195, 0.9078}, {-8.56735134, 0.7675},  {-8.363211311, 0.7705}, {-8.107682739, 0.7713},
    {-7.823908741, 0.7736}, {-7.522878745, 0.7775}, {-7.218819279, 0.7841}, {-6.920818754, 0.7971},
    {-6.628932138, 0.8329}, {-6.323946875, 0.8641}, {-5.991399828, 0.8804}, {-8.781464495, 0.7668},
    {-8.663140179, 0.7633}, {-8.473531488, 0.7678}, {-8.247337057, 0.7697}, {-7.971428747, 0.77},
    {-7.676129393, 0.7749}, {-7.352812702, 0.7796}, {-7.072065318, 0.7897}, {-6.774174009, 0.8131},
    {-6.478861916, 0.8498}, {-6.159517513, 0.8741}, {-6.835647144, 0.8061}, {-6.53165267, 0.846},
    {-6.224098421, 0.8751}, {-5.910094889, 0.8856}, {-5.598599459, 0.8919}, {-5.290645224, 0.8934},
    {-4.974284616, 0.894},  {-4.64454848, 0.8957},  {-4.290560426, 0.9047}, {-3.885055584, 0.9129},
    {-3.408378962, 0.9209}, {-3.13200249, 0.9219},  {-8.726767166, 0.7739}, {-8.66695597, 0.7681},
    {-8.511026475, 0.7665}, {-8.165388579, 0.7703}, {-7.886056648, 0.7702}, {-7.588043762, 0.7761},
    {-7.283412422, 0.7809}, {-6.995678626, 0.7961}, {-6.691862621, 0.8253}, {-6.392544977, 0.8602},
    {-6.067374056, 0.8809}, {-6.684029655, 0.8301}, {-6.378719832, 0.8664}, {-6.065855188, 0.8834},
    {-5.752272167, 0.8898}, {-5.132414673, 0.8964}, {-4.811352704, 0.8963}, {-4.098269308, 0.9074},
    {-3.66174277, 0.9119},  {-3.2644011, 0.9228}};
const std::vector<double> filipCertified = {
    -1467.48961422980,      -2772.17959193342,      -2316.37108160893,     -1127.97394098372,
    -354.478233703349,      -75.1242017393757,      -10.8753180355343,     -1.06221498588947,
    -0.670191154593408E-01, -0.246781078275479E-02, -0.402962525080404E-04};

double polynomial(const std::vector<double>& coefficients, double x) {
    double value = 0.0;
    for (std::size_t p = coefficients.size(); p-- > 0;)
        value = value * x + coefficients[p];
    return value;
}

/// Largest distance of the fitted from the certified curve at the samples, in units of the largest y. The
/// basis is that of Chebyshev over the range of x, of condition below 5 here; powers of x have 1e7 and more.
double curveError(const std::vector<double>& x, const std::vector<double>& y,
                  const std::vector<double>& certified) {
    const auto ends = std::minmax_element(x.begin(), x.end());
    const int m = int(x.size());
    const int n = int(certified.size());
    std::vector<double> a;
    for (const double place : x)
        for (int p = 0; p < n; ++p)
            a.push_back(std::cos(
                p * std::acos((2 * place - *ends.first - *ends.second) / (*ends.second - *ends.first))));
    std::vector<double> c(certified.size());
    EXPECT_TRUE(KvMath::svdLeastSquares(a.data(), y.data(), m, n, 0.0, c.data()));
    double worst = 0.0;
    double largest = 0.0;
    for (int i = 0; i < m; ++i) {
        const double fitted =
            TestSupport::sum(0, n - 1, [&](int p) { return a[std::size_t(n * i + p)] * c[std::size_t(p)]; });
        worst = std::max(worst, std::fabs(fitted - polynomial(certified, x[std::size_t(i)])));
        largest = std::max(largest, std::fabs(y[std::size_t(i)]));
    }
    return worst / largest;
}

TEST(SvdLeastSquares, MeetsTheCertifiedPolynomials) {
    std::vector<double> x(21);
    std::vector<double> y(21);
    const struct { double ratio, share; } cases[] = {{1, 0}, {0.1, 0}, {1, 1}, {1, 100}, {1, 10'000}};
    for (const auto& c : cases) {
        std::vector<double> certified{1};
        while (certified.size() < 6)
            certified.push_back(certified.back() * c.ratio);
        for (int i = 0; i <= 20; ++i) {
            x[std::size_t(i)] = i;
            y[std::size_t(i)] = polynomial(certified, i) + c.share * wampler[std::min(i, 20 - i)];
        }
        EXPECT_LT(curveError(x, y, certified), 5 * rotationError(6)) << c.ratio << ' ' << c.share;
    }
    x.clear();
    y.clear();
    for (const auto& sample : filip) {
        x.push_back(sample[0]);
        y.push_back(sample[1]);
    }
    EXPECT_LT(curveError(x, y, filipCertified), 5 * rotationError(11));
}

// NIST StRD "Longley", y and six regressors.
constexpr double longley[16][7] = {
    {60323, 83.0, 234289, 2356, 1590, 107608, 1947},  {61122, 88.5, 259426, 2325, 1456, 108632, 1948},
    {60171, 88.2, 258054, 3682, 1616, 109773, 1949},  {61187, 89.5, 284599, 3351, 1650, 110929, 1950},
    {63221, 96.2, 328975, 2099, 3099, 112075, 1951},  {63639, 98.1, 346999, 1932, 3594, 113270, 1952},
    {64989, 99.0, 365385, 1870, 3547, 115094, 1953},  {63761, 100.0, 363112, 3578, 3350, 116219, 1954},
    {66019, 101.2, 397469, 2904, 3048, 117388, 1955}, {67857, 104.6, 419180, 2822, 2857, 118734, 1956},
    {68169, 108.4, 442769, 2936, 2798, 120445, 1957}, {66513, 110.8, 444546, 4681, 2637, 121950, 1958},
    {68655, 112.6, 482704, 3813, 2552, 123366, 1959}, {69564, 114.2, 502601, 3931, 2514, 125368, 1960},
    {69331, 115.7, 518173, 4806, 2572, 127852, 1961}, {70551, 116.9, 554894, 4007, 2827, 130081, 1962}};

// Centred and scaled to unit length the columns have the condition 110; times the rotation error of 6 columns
// that leaves 110 * 4.3e-6 of the largest coefficient.
TEST(SvdLeastSquares, MeetsTheCertifiedLongleyCoefficients) {
    const double certified[6] = {15.0618722713733,  -0.358191792925910E-01, -2.02022980381683,
                                 -1.03322686717359, -0.511041056535807E-01, 1829.15146461355};
    double mean[7] = {};
    double length[7] = {};
    for (int j = 0; j < 7; ++j) {
        for (const auto& row : longley)
            mean[j] += row[j] / 16;
        for (const auto& row : longley)
            length[j] += (row[j] - mean[j]) * (row[j] - mean[j]);
        length[j] = std::sqrt(length[j]);
    }
    double a[16 * 6];
    double b[16];
    for (int i = 0; i < 16; ++i) {
        b[i] = (longley[i][0] - mean[0]) / length[0];
        for (int j = 0; j < 6; ++j)
            a[6 * i + j] = (longley[i][j + 1] - mean[j + 1]) / length[j + 1];
    }
    double x[6];
    ASSERT_TRUE(KvMath::svdLeastSquares(a, b, 16, 6, 0.0, x));
    double largest = 0.0;
    for (int j = 0; j < 6; ++j)
        largest = std::max(largest, std::fabs(certified[j] * length[j + 1] / length[0]));
    for (int j = 0; j < 6; ++j)
        EXPECT_NEAR(x[j], certified[j] * length[j + 1] / length[0], 110 * rotationError(6) * largest) << j;
}

// Diagonal matrices stay exact. A value is cut off strictly below the tolerance; an exact 0 needs none.
TEST(SvdLeastSquares, TakesTheShortestSolutionWithoutSmallValues) {
    const struct {
        double a[4], b[2], tol, x[2];
    } cases[] = {{{4, 0, 0, 1}, {8, 3}, 0.25, {2, 3}},
                 {{4, 0, 0, 1}, {8, 3}, 0.2500001, {2, 0}},
                 {{2, 0, 0, 0}, {6, 7}, 0.0, {3, 0}},
                 {{1, 2, 2, 4}, {5, 10}, 1e-12, {1, 2}}};
    double x[2];
    for (const auto& c : cases) {
        ASSERT_TRUE(KvMath::svdLeastSquares(c.a, c.b, 2, 2, c.tol, x));
        const double error = c.a[1] == 0.0 ? 0.0 : 2 * rotationError(2);
        EXPECT_THAT(x, testing::Pointwise(testing::DoubleNear(error), c.x)) << c.tol;
    }
    const double bad[] = {kNaN, 1, 1, 1};
    x[0] = x[1] = 7.0;
    EXPECT_FALSE(KvMath::svdLeastSquares(bad, bad, 2, 2, 0.0, x));
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
        double mean[3];
        double basis[9];
        ASSERT_TRUE(KvMath::pca(data.data(), count, 3, mean, basis));
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
}

}  // namespace
