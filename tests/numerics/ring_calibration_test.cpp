#include <kvmath/numerics/ring_calibration.h>

#include <kvmath/numerics/optimisers.h>

#include <gmock/gmock.h>

#include <cmath>

namespace {

using namespace KvMath;

// The formulas for round numbers: hypot(h3, h4) = 1 and R = 4 give rho = 4 and k = 0.4 / 0.8.
TEST(CalibrationParameters, FollowTheFormulas) {
    const double h[5] = {1.0, 2.0, 6.0, 0.6, 0.8};
    double o1, o2, o3, o4;
    ASSERT_TRUE(calcCalibrationParameters(h, 4.0, o1, o2, o3, o4));
    EXPECT_DOUBLE_EQ(o2, 4.0);    // (6 - 1) 4 / (3 + 2)
    EXPECT_NEAR(o1, 0.0, 1e-15);  // R - h0 - (16 + 8) / 8
    EXPECT_DOUBLE_EQ(o3, 8.0 / std::sqrt(5.0));
    EXPECT_DOUBLE_EQ(o4, 4.0 / std::sqrt(5.0));
    const double flat[5] = {1.0, 2.0, 6.0, 0.0, 0.0};
    o1 = 7;
    EXPECT_FALSE(calcCalibrationParameters(flat, 4.0, o1, o2, o3, o4));
    EXPECT_EQ(o1, 7.0);
    ASSERT_TRUE(calcCalibrationParametersWithFixedRho(h, 4.0, o1, 4.0, o2, o3));
    EXPECT_DOUBLE_EQ(o3, 2.0);
    EXPECT_DOUBLE_EQ(o2, 4.0);
    EXPECT_DOUBLE_EQ(o1, 3.0 - (10.0 + 16.0) / 8);
    EXPECT_TRUE(calcCalibrationParametersWithFixedRho(h, 0.0, o1, 4.0, o2, o3));
    mapTPhi2XY(0.5, 2.0, 1.0, -4.0, o1, o2);  // distance 5
    EXPECT_DOUBLE_EQ(o1, 5.0 * std::cos(0.5));
    EXPECT_DOUBLE_EQ(o2, 5.0 * std::sin(0.5));
}

/// Reading of a sensor at distance e past the axis with zero offset c, inside a ring about (a, b): the ray
/// from e * (sin, -cos) along (cos, sin) meets the ring.
double reading(double phi, double a, double b, double e, double c, double R) {
    const double dx = e * std::sin(phi) - a;
    const double dy = -e * std::cos(phi) - b;
    const double along = dx * std::cos(phi) + dy * std::sin(phi);
    return -along + std::sqrt(along * along - dx * dx - dy * dy + R * R) - c;
}

struct Rings {
    double phi[40], t1[40], t2[40];
};

double misfit(double* p, void* data) {
    const auto& rings = *static_cast<Rings*>(data);
    double sum = 0.0;
    for (int i = 0; i < 40; ++i) {
        const double d1 = reading(rings.phi[i], p[2], p[3], p[0], p[1], 40.0) - rings.t1[i];
        const double d2 = reading(rings.phi[i], p[4], p[5], p[0], p[1], 25.0) - rings.t2[i];
        sum += d1 * d1 + d2 * d2;
    }
    return sum;
}

// The cost of exact readings is 0 and the search ends within 1e-10 * tol of it, over 80 readings. When the
// budget ends early, the search has gone the way of the same cost with steps of 0.1.
TEST(CalibrationParameters, ComeBackFromReadingsInTwoRings) {
    Rings r;
    for (int i = 0; i < 40; ++i) {
        r.phi[i] = 0.157 * i;
        r.t1[i] = reading(r.phi[i], 0.3, -0.2, 1.5, 10.0, 40.0);
        r.t2[i] = reading(r.phi[i], -0.1, 0.4, 1.5, 10.0, 25.0);
    }
    double e = 0.0;
    double c = 0.0;
    const auto fit = [&](int& iterations) {
        e = 1.3;
        c = 9.8;
        return calcCalibrationParametersWithTwoRings(r.phi, r.t1, 40, r.phi, r.t2, 40, 40.0, 25.0, 1e-3,
                                                     iterations, e, c);
    };
    int iterations = 20'000;
    EXPECT_TRUE(fit(iterations));
    EXPECT_LT(iterations, 20'000);
    EXPECT_NEAR(e, 1.5, 1e-4);
    EXPECT_NEAR(c, 10.0, 1e-5);
    for (const int limit : {0, 40}) {
        iterations = limit;
        EXPECT_FALSE(fit(iterations));
        double p[] = {1.3, 9.8, 0, 0, 0, 0};
        const double step[] = {0.1, 0.1, 0.1, 0.1, 0.1, 0.1};
        int count = 0;
        EXPECT_FALSE(fminsearch(misfit, &r, 6, p, step, 1e-3, limit, count));
        EXPECT_EQ(iterations, count);
        EXPECT_NEAR(e, p[0], 1e-9);
        EXPECT_NEAR(c, p[1], 1e-9);
    }
    iterations = 50;
    EXPECT_TRUE(calcCalibrationParametersWithTwoRings(nullptr, nullptr, 0, nullptr, nullptr, -1, 40.0, 25.0,
                                                      1e-3, iterations, e, c));
}

}  // namespace
