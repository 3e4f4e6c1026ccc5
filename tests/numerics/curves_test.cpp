#include <kvmath/numerics/curves.h>

#include <tests/support/random_data.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

struct Spline {
    Spline(std::vector<double> knots, std::vector<double> values, double slopeStart, double slopeEnd)
        : n(int(knots.size())), x(std::move(knots)), rows(x.size()) {
        for (auto& row : rows)
            pointers.push_back(row.c);
        KvMath::cubicInterpolation(n, x.data(), values.data(), slopeStart, slopeEnd, pointers.data());
    }
    double at(double t) { return KvMath::getCubicInterpolatedValue(t, n, x.data(), pointers.data()); }

    struct Row {
        double c[4] = {7, 7, 7, 7};
    };
    int n;
    std::vector<double> x;
    std::vector<Row> rows;
    std::vector<double*> pointers;
};

// A cubic is its own clamped spline, so the result is exact up to the rounding of values up to 1e4 over steps
// down to 0.1, 1e4 * 2^-53 / 0.1^2 in the second derivative.
TEST(CubicInterpolation, ReproducesCubics) {
    TestSupport::Draws draws(8);
    const auto cubic = [](double t) { return ((0.5 * t - 2.0) * t + 3.0) * t - 7.0; };
    const auto slope = [](double t) { return (1.5 * t - 4.0) * t + 3.0; };
    for (int round = 0; round < 50; ++round) {
        std::vector<double> x{draws.real(-10.0, 0.0)};
        while (int(x.size()) < 2 + round % 20)
            x.push_back(x.back() + draws.real(0.1, 2.0));
        std::vector<double> y;
        for (const double knot : x)
            y.push_back(cubic(knot));
        Spline spline(x, y, slope(x.front()), slope(x.back()));
        for (double t = x.front() - 1.0; t < x.back() + 1.0; t += 0.1)
            ASSERT_NEAR(spline.at(t), cubic(t), 1e-9) << x.size();
        ASSERT_EQ(spline.at(x.back()), y.back());
        ASSERT_EQ(spline.rows.back().c[0], 7.0);  // n - 1 rows, derivatives at the right knot
        for (std::size_t k = 1; k < x.size(); ++k) {
            const double* row = spline.rows[k - 1].c;
            ASSERT_EQ(row[0], y[k]);
            ASSERT_NEAR(row[1], slope(x[k]), 1e-9);
            ASSERT_NEAR(row[2], 3.0 * x[k] - 4.0, 1e-9);
            ASSERT_NEAR(row[3], 3.0, 1e-8);
        }
    }
}

TEST(CubicInterpolation, AKnotBelongsToThePieceOnItsRight) {
    Spline spline({0, 1, 3, 4, 7}, {1, -2, 5, 5, 0}, 0.5, -4.0);
    EXPECT_NEAR(spline.at(1.0), -2.0, 1e-13);
    spline.rows[1].c[0] += 100.0;
    EXPECT_NEAR(spline.at(1.0), 98.0, 1e-12);
    EXPECT_GT(spline.at(3.0 - 1e-9), 90.0);
    EXPECT_NEAR(spline.at(3.0), 5.0, 1e-12);
}

TEST(CubicInterpolation, OnTheEdges) {
    Spline line({1, 3}, {2, 6}, 2.0, 2.0);
    EXPECT_DOUBLE_EQ(line.at(0.0), 0.0);
    EXPECT_DOUBLE_EQ(line.at(9.0), 18.0);
    EXPECT_TRUE(std::isnan(line.at(NAN)));
    for (const int n : {1, 0, -5}) {
        KvMath::cubicInterpolation(n, nullptr, nullptr, 0, 0, nullptr);
        EXPECT_TRUE(std::isnan(KvMath::getCubicInterpolatedValue(0.0, n, nullptr, nullptr)));
    }
    Spline same({1, 1, 1}, {1, 2, 3}, 0.0, 0.0);
    EXPECT_FALSE(std::isfinite(same.at(0.5)));
}

}  // namespace
