#include <kvmath/numerics/ring_calibration.h>

#include <gmock/gmock.h>

#include <cmath>
#include <vector>

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
}

/// Reading of a sensor at distance e past the axis with zero offset c, inside a ring about (a, b): the ray
/// from e * (sin, -cos) along (cos, sin) meets the ring.
double reading(double phi, double a, double b, double e, double c, double R) {
    const double dx = e * std::sin(phi) - a;
    const double dy = -e * std::cos(phi) - b;
    const double along = dx * std::cos(phi) + dy * std::sin(phi);
    return -along + std::sqrt(along * along - dx * dx - dy * dy + R * R) - c;
}

// The cost of exact readings is 0 and the search ends within 1e-10 * tol of it, over 80 readings.
TEST(CalibrationParameters, ComeBackFromReadingsInTwoRings) {
    std::vector<double> phi;
    std::vector<double> t1;
    std::vector<double> t2;
    for (int i = 0; i < 40; ++i) {
        phi.push_back(0.157 * i);
        t1.push_back(reading(phi.back(), 0.3, -0.2, 1.5, 10.0, 40.0));
        t2.push_back(reading(phi.back(), -0.1, 0.4, 1.5, 10.0, 25.0));
    }
    double e = 1.3;
    double c = 9.8;
    int iterations = 20'000;
    EXPECT_TRUE(calcCalibrationParametersWithTwoRings(phi.data(), t1.data(), 40, phi.data(), t2.data(), 40,
                                                      40.0, 25.0, 1e-3, iterations, e, c));
    EXPECT_LT(iterations, 20'000);
    EXPECT_NEAR(e, 1.5, 1e-4);
    EXPECT_NEAR(c, 10.0, 1e-5);
    iterations = 0;
    e = 1.25;
    EXPECT_FALSE(calcCalibrationParametersWithTwoRings(phi.data(), t1.data(), 40, phi.data(), t2.data(), 40,
                                                       40.0, 25.0, 1e-3, iterations, e, c));
    EXPECT_EQ(e, 1.25);
    EXPECT_EQ(iterations, 0);
    iterations = 50;
    EXPECT_TRUE(calcCalibrationParametersWithTwoRings(nullptr, nullptr, 0, nullptr, nullptr, -1, 40.0, 25.0,
                                                      1e-3, iterations, e, c));
}

TEST(MapTPhi2XY, TurnsTheDistanceFromTheAxis) {
    double x = 0;
    double y = 0;
    mapTPhi2XY(0.5, 2.0, 1.0, -4.0, x, y);
    EXPECT_DOUBLE_EQ(x, 5.0 * std::cos(0.5));
    EXPECT_DOUBLE_EQ(y, 5.0 * std::sin(0.5));
}

}  // namespace
