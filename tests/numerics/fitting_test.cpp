#include <kvmath/numerics/fitting.h>

#include <tests/numerics/literal_svd.h>
#include <tests/support/random_data.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

using namespace KvMath;

// NIST StRD "Norris" (lower difficulty). The means give a 2 x 2 system of condition 1e6; times 2^-53 that
// leaves ten digits.
TEST(LineFitting, MeetsTheCertifiedNorrisCoefficients) {
    const double x[] = {0.2, 337.4, 118.2, 884.6, 10.1,  226.5, 666.3, 996.3, 448.6, 777.0, 558.2, 0.4,
                        0.6, 775.5, 666.9, 338.0, 447.5, 11.6,  556.0, 228.1, 995.8, 887.6, 120.2, 0.3,
                        0.3, 556.8, 339.1, 887.2, 999.0, 779.0, 11.1,  118.3, 229.2, 669.1, 448.9, 0.5};
    const double y[] = {0.1, 338.8, 118.1, 888.0, 9.2,   228.1, 668.5, 998.5, 449.1, 778.9, 559.2, 0.3,
                        0.1, 778.1, 668.8, 339.3, 448.9, 10.8,  557.7, 228.3, 998.0, 888.8, 119.6, 0.3,
                        0.6, 557.6, 339.3, 888.0, 998.5, 778.9, 10.2,  117.6, 228.9, 668.4, 449.2, 0.2};
    double c[2];
    ASSERT_TRUE(lineFitting(x, y, 36, c));
    EXPECT_NEAR(c[0], 1.00211681802045, 1e-10);
    EXPECT_NEAR(c[1], -0.262323073774029, 1e-10);
    EXPECT_TRUE(lineFitting(x, y, 1, c));
    EXPECT_FALSE(std::isfinite(c[0]));
    EXPECT_TRUE(lineFitting(nullptr, nullptr, -3, c));
    EXPECT_TRUE(std::isnan(c[0]));
}

// NIST StRD "Pontius" (lower difficulty): in units of the largest x the normal matrix has a condition of
// about 1e3, so the curve keeps 12 digits of the largest y, 2.2.
TEST(ParabolaFitting, MeetsTheCertifiedPontiusCoefficients) {
    const double y[] = {0.11019, 0.21956, 0.32949, 0.43899, 0.54803, 0.65694, 0.76562, 0.87487,
                        0.98292, 1.09146, 1.20001, 1.30822, 1.41599, 1.52399, 1.63194, 1.73947,
                        1.84646, 1.95392, 2.06128, 2.16844, 0.11052, 0.22018, 0.32939, 0.43886,
                        0.54798, 0.65739, 0.76596, 0.87474, 0.98300, 1.09150, 1.20004, 1.30818,
                        1.41613, 1.52408, 1.63159, 1.73965, 1.84696, 1.95445, 2.06177, 2.16829};
    double x[40];
    for (int i = 0; i < 40; ++i)
        x[i] = 150000.0 * (i % 20 + 1);
    double c[3];
    ASSERT_TRUE(parabolaFitting(x, y, 40, c));
    constexpr double largest = 3e6;
    EXPECT_NEAR(c[2], 0.673565789473684E-03, 2e-12);
    EXPECT_NEAR(c[1] * largest, 0.732059160401003E-06 * largest, 2e-12);
    EXPECT_NEAR(c[0] * largest * largest, -0.316081871345029E-14 * largest * largest, 2e-12);
    EXPECT_TRUE(parabolaFitting(x, y, 2, c));
    EXPECT_TRUE(parabolaFitting(nullptr, nullptr, 0, c));
    EXPECT_TRUE(std::isnan(c[0]));
}

TEST(ParabolaFitting, GivesBackAParabola) {
    const double x[] = {-1, 0, 1, 2, 4}, y[] = {10, 5, 4, 7, 25};
    double c[3];
    ASSERT_TRUE(parabolaFitting(x, y, 5, c));
    EXPECT_THAT(c, testing::Pointwise(testing::DoubleNear(1e-12), {2.0, -3.0, 5.0}));
}

TEST(PlaneFitting, TakesTheRightVectorOfTheLeastValue) {
    TestSupport::Draws draws(10);
    for (int round = 0; round < 100; ++round) {
        const int n = draws.integer(1, 40);
        std::vector<double> xyz;
        double centroid[3] = {};
        for (int i = 0; i < 3 * n; ++i) {
            xyz.push_back(draws.integer(-3, 3));
            centroid[i % 3] += xyz.back();
        }
        TestSupport::Matrix a(n, 3);
        TestSupport::Matrix v(3, 3);
        for (int i = 0; i < 3 * n; ++i)
            a[i / 3 + 1][i % 3 + 1] = xyz[std::size_t(i)] - centroid[i % 3] / n;
        double w[4] = {};
        ASSERT_TRUE(TestSupport::literalSvd(a, w, v));
        const int least = int(std::min_element(w + 1, w + 4) - w);
        const double sign = v[3][least] < 0.0 ? -1.0 : 1.0;
        double p[4];
        ASSERT_TRUE(planeFitting(xyz.data(), n, p));
        for (int k = 0; k < 3; ++k)
            ASSERT_EQ(p[k], sign * v[k + 1][least]) << n;
        const double offset = TestSupport::sum(0, 2, [&](int k) { return p[k] * (centroid[k] / n); });
        ASSERT_EQ(p[3], -offset);
    }
}

TEST(PlaneFitting, OnTheEdges) {
    const double bad[] = {0, 0, 1, NAN, 0, 1, 0, 1, 1};
    for (const int n : {0, 3}) {
        double p[4] = {7, 7, 7, 7};
        EXPECT_FALSE(planeFitting(bad, n, p));
        EXPECT_THAT(p, testing::Each(0.0));
    }
}

/// Normal equations of all 25 sums, solved row by row; the pivots do not vanish here.
std::vector<double> literalHarmonics(const double* phi, const double* y, int n) {
    double a[5][6] = {};  // the right side last
    const double mean = double(1.0F / float(n));
    for (int i = 0; i < n; ++i) {
        const double c = std::cos(phi[i]);
        const double s = std::sin(phi[i]);
        const double basis[] = {1.0, c, s, c * c - s * s, 2.0 * s * c, y[i]};
        for (int k = 0; k < 30; ++k)
            a[k / 6][k % 6] += basis[k / 6] * basis[k % 6];
    }
    for (auto& row : a)
        for (double& element : row)
            element *= mean;
    for (int r = 0; r < 5; ++r) {
        for (int k = 5; k >= r; --k)
            a[r][k] /= a[r][r];
        for (int below = r + 1; below < 5; ++below)
            for (int k = 5; k >= r; --k)
                a[below][k] -= a[below][r] * a[r][k];
    }
    std::vector<double> h(5);
    for (int r = 4; r >= 0; --r) {
        h[std::size_t(r)] = a[r][5];
        for (int k = r + 1; k < 5; ++k)
            h[std::size_t(r)] -= a[r][k] * h[std::size_t(k)];
    }
    return h;
}

// Narrow bands of angles leave tiny pivots, which are accepted.
TEST(FitTwoHarmonics, FindsTheHarmonicsOfSamples) {
    TestSupport::Draws draws(11);
    for (int round = 0; round < 100; ++round) {
        double phi[40];
        double y[40];
        for (int i = 0; i < 40; ++i) {
            phi[i] = draws.real(0.0, round % 2 == 0 ? 6.0 : 1e-3);
            y[i] = 3.0 - std::sin(phi[i]) + 0.125 * std::cos(2 * phi[i]) + 0.5 * std::sin(2 * phi[i]);
        }
        double h[5];
        ASSERT_TRUE(fitTwoHarmonics(phi, y, 40, h));
        ASSERT_THAT(h, testing::ElementsAreArray(literalHarmonics(phi, y, 40))) << round;
        if (round % 2 == 0) {
            ASSERT_THAT(h, testing::Pointwise(testing::DoubleNear(1e-11), {3.0, 0.0, -1.0, 0.125, 0.5}));
        }
    }
}

TEST(FitTwoHarmonics, RefusesWhatHasNoPivot) {
    double h[5] = {7, 7, 7, 7, 7};
    const double same[] = {0, 0, 0, 0, 0, 0};
    const double bad[] = {0, 1, 2, 3, 4, NAN};
    EXPECT_FALSE(fitTwoHarmonics(same, bad, 6, h));
    EXPECT_FALSE(fitTwoHarmonics(bad, same, 6, h));
    EXPECT_FALSE(fitTwoHarmonics(bad, same, 0, h));
    TestSupport::Draws draws(12);
    for (int round = 0; round < 300; ++round) {  // rounding leaves most of them a pivot
        const std::vector<double> phi(std::size_t(draws.integer(1, 40)), draws.real(-9, 9));
        std::vector<double> y;
        while (y.size() < phi.size())
            y.push_back(draws.real(-1, 1));
        EXPECT_FALSE(fitTwoHarmonics(phi.data(), y.data(), int(phi.size()), h)) << round;
    }
    EXPECT_THAT(h, testing::Each(7.0));
}

}  // namespace
