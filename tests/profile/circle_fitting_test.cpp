#include <kvmath/profile/circle_fitting.h>

#include <kvmath/core/circle.h>
#include <kvmath/numerics/optimisers.h>
#include <kvmath/profile/profile.h>
#include <tests/support/random_data.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using namespace KvMath;
using Point = KvVector2D<double>;

// Six points of W. Gander, G. H. Golub, R. Strebel, BIT 34 (1994) 558-578, with their geometric fit to five
// digits.
const Point published[] = {{1, 7}, {2, 6}, {5, 8}, {7, 7}, {9, 5}, {3, 7}};

TEST(CircleFitting, MeetsThePublishedGeometricFit) {
    Point centre;
    double radius = 0.0;
    ASSERT_TRUE(circleFitting(published, 6, centre, radius, 1e-13, 10'000));
    EXPECT_NEAR(centre.x, 4.7398, 5e-5);
    EXPECT_NEAR(centre.y, 2.9835, 5e-5);
    EXPECT_NEAR(radius, 4.7142, 5e-5);
}

// The gradient of the sum of squares vanishes at the least; a tolerance of 1e-13 in the cost is one of about
// 1e-6 in the place.
TEST(CircleFitting, OfKnownRadiusIsStationary) {
    constexpr double away = 10'000.1;  // where single precision would show
    std::vector<Point> pts;
    for (const Point& p : published)
        pts.emplace_back(p.x + away, p.y);
    Point centre;
    ASSERT_TRUE(circleFittingWithKnownR(pts.data(), 6, 5.0, centre, 1e-13, 10'000));
    double gx = 0.0;
    double gy = 0.0;
    for (const Point& p : pts) {
        const double distance = std::hypot(p.x - centre.x, p.y - centre.y);
        gx += (distance - 5.0) * (p.x - centre.x) / distance;
        gy += (distance - 5.0) * (p.y - centre.y) / distance;
    }
    EXPECT_NEAR(gx, 0.0, 1e-5);
    EXPECT_NEAR(gy, 0.0, 1e-5);
}

/// The cost as it is defined, point after point.
double literalCost(double* p, void* data) {
    double sum = 0.0;
    for (const Point& q : *static_cast<std::vector<Point>*>(data)) {
        const double residual = std::sqrt((q.x - p[0]) * (q.x - p[0]) + (q.y - p[1]) * (q.y - p[1])) - p[2];
        sum += residual * residual;
    }
    return sum;
}

// The search goes where the last bit of a cost sends it.
TEST(CircleFitting, EqualsTheSearchOverPlainSums) {
    TestSupport::Draws draws(2211);
    for (const int n : {3, 63, 64, 65, 200, 333}) {
        std::vector<Point> pts;
        KvProfile profile;
        for (int i = 0; i < n; ++i) {
            const double angle = draws.real(0.0, 3.0);
            const double r = draws.real(9.9, 10.1);
            pts.emplace_back(300.1 + r * std::cos(angle), r * std::sin(angle));
            profile += KvPointXY(float(pts.back().x), float(pts.back().y));
        }
        KvCircle start;
        ASSERT_TRUE(start.calcFromPointCloud(profile, nullptr));
        double expected[] = {double(start.x), double(start.y), double(start.radius)};
        int evaluations = 0;
        const bool converged = fminsearch(literalCost, &pts, 3, expected, nullptr, 1e-12, 300, evaluations);
        Point centre;
        double radius = 0.0;
        EXPECT_EQ(circleFitting(pts.data(), n, centre, radius, 1e-12, 300), converged) << n;
        EXPECT_EQ(centre.x, expected[0]) << n;
        EXPECT_EQ(centre.y, expected[1]) << n;
        EXPECT_EQ(radius, expected[2]) << n;
    }
}

TEST(CircleFitting, WritesWhatItHasWhenTheBudgetEnds) {
    Point centre;
    double radius = 0.0;
    std::vector<Point> pts;
    KvProfile profile;  // single precision counts: 0.1 is not a float
    for (const Point& p : published) {
        pts.emplace_back(p.x + 0.1, p.y);
        profile += KvPointXY(float(pts.back().x), float(pts.back().y));
    }
    KvCircle start;
    ASSERT_TRUE(start.calcFromPointCloud(profile, nullptr));
    EXPECT_FALSE(circleFitting(pts.data(), 6, centre, radius, 1e-13, 0));
    EXPECT_EQ(centre.x, double(start.x));
    EXPECT_EQ(radius, double(start.radius));
    const Point line[] = {{0, 0}, {1, 0}, {2, 0}, {3, 0}};  // start: centre of mass, mean distance
    EXPECT_FALSE(circleFitting(line, 4, centre, radius, 1e-13, 0));
    EXPECT_EQ(centre.x, 1.5);
    EXPECT_EQ(radius, 1.0);
    const Point bad[] = {{NAN, 0}, {1, 0}, {2, 5}, {3, 0}};
    EXPECT_FALSE(circleFitting(bad, 4, centre, radius, 1e-13, 100));
    radius = 7.0;
    EXPECT_FALSE(circleFitting(nullptr, 0, centre, radius, 1e-13, 100));
    EXPECT_FALSE(circleFittingWithKnownR(nullptr, -1, 1.0, centre, 1e-13, 100));
    EXPECT_EQ(radius, 7.0);
}

}  // namespace
