// Geometry and polynomials found in profiles.

#include "profile_support.h"

#include <kvmath/core/line.h>

#include <climits>

using namespace KvMath;
using namespace TestSupport;

namespace {

struct Box {
    double width, height;
    double area() const { return width * height; }
};

Box boxAt(const KvProfile& p, double degrees) {
    const double t = degrees * 3.1415927410125732 / 180.0;
    double low[2] = {1e300, 1e300};
    double high[2] = {-1e300, -1e300};
    for (const KvPointXY& point : p.points) {
        const double at[2] = {double(point.x) * std::cos(t) + double(point.y) * std::sin(t),
                              double(point.y) * std::cos(t) - double(point.x) * std::sin(t)};
        for (int axis = 0; axis < 2; ++axis) {
            low[axis] = std::min(low[axis], at[axis]);
            high[axis] = std::max(high[axis], at[axis]);
        }
    }
    return {high[0] - low[0], high[1] - low[1]};
}

}  // namespace

TEST(ProfileRect, FindsTheTurnedRectangleThatWasFilled) {
    Draws draws(2301);
    for (int round = 0; round < 100; ++round) {
        const double angle = draws.real(0, 89.9);
        KvProfile p = profileOf({{-20, -5}, {20, -5}, {20, 5}, {-20, 5}});
        for (int i = draws.integer(0, 50); i > 0; --i)
            p.points.append(
                KvPointXY(static_cast<float>(draws.real(-20, 20)), static_cast<float>(draws.real(-5, 5))));
        p.rotateEvklid(static_cast<float>(angle));
        p.shift(300, -40, 0);
        p.points.append(KvPointXY());
        float width = 0, height = 0, used = -1, area = 0;
        ASSERT_TRUE(p.calcRect(&width, &height, &used, kNaN));
        EXPECT_NEAR(width, 40, 1e-3);
        EXPECT_NEAR(height, 10, 1e-3);
        EXPECT_NEAR(used, angle, 1e-3);
        KvPointCloud<KvPointXY> corners;
        ASSERT_TRUE(p.calcRect(corners, &area, kNaN));
        ASSERT_EQ(corners.points.size(), 4);
        EXPECT_NEAR(area, 400, 0.02);
        for (int i = 0; i < 4; ++i)
            EXPECT_LT(corners.points[i].calcDistance(p.points[i]), 1e-3F)
                << "counter-clockwise from the lower left";
    }
}

TEST(ProfileRect, NoAngleOfASweepIsBetter) {
    Draws draws(2302);
    for (int round = 0; round < 60; ++round) {
        KvProfile p;
        for (int i = draws.integer(3, 40); i > 0; --i)
            p.points.append(draws.chance(0.5)
                                ? KvPointXY(draws.coordinate(4, 1, 0), draws.coordinate(4, 1, 0))
                                : KvPointXY(float(draws.normal(3)), float(draws.normal(1))));
        float width = 0, height = 0, used = 0, fixed = 0;
        ASSERT_TRUE(p.calcRect(&width, &height, &used, kNaN));
        const double area = double(width) * double(height);
        EXPECT_TRUE(used >= 0 && used < 90);
        EXPECT_NEAR(area, boxAt(p, double(used)).area(), 1e-4 * (1 + area));
        for (double degrees = 0; degrees < 90; degrees += 0.25)
            ASSERT_LE(area, boxAt(p, degrees).area() * (1 + 1e-6) + 1e-4) << degrees;
        ASSERT_TRUE(p.calcRect(&width, &height, &fixed, 130));
        EXPECT_EQ(fixed, 130);
        EXPECT_NEAR(width, boxAt(p, 130).width, 1e-5);
        EXPECT_NEAR(height, boxAt(p, 130).height, 1e-5);
    }
}

TEST(ProfileRect, DegeneratesToAPieceAndAPlace) {
    float width = 5, height = 5, used = 5;
    EXPECT_FALSE(profileOf({{kNaN, 1}, {INFINITY, 2}}).calcRect(&width, &height, &used, kNaN));
    EXPECT_EQ(width, 5);
    ASSERT_TRUE(profileOf({{1, 1}, {2, 2}, {4, 4}}).calcRect(&width, &height, &used, kNaN));
    EXPECT_NEAR(width, 3 * std::sqrt(2.0), 1e-6);
    EXPECT_NEAR(height, 0, 1e-6);
    EXPECT_NEAR(used, 45, 1e-5);
    KvProfile place = profileOf({{3, 4}, {3, 4}});
    ASSERT_TRUE(place.calcRect(place, nullptr, kNaN));
    EXPECT_THAT(place, HasPointsOf(profileOf({{3, 4}, {3, 4}, {3, 4}, {3, 4}})));
}

TEST(ProfilePolynomial, RecoversExactPolynomialsFarFromTheOrigin) {
    // (x - 1000)^2 - 7 on integers is exact in float; its powers of x cancel six digits.
    KvProfile p;
    for (int i = -20; i <= 20; ++i)
        p.points.append(KvPointXY(static_cast<float>(1000 + i), static_cast<float>(i * i - 7)));
    double c[40];
    for (const int degree : {2, 5}) {
        ASSERT_TRUE(p.calcPolynomCoeffs(degree, c));
        for (int i = -20; i <= 20; ++i) {
            double y = 0;
            for (int k = degree; k >= 0; --k)
                y = y * (1000 + i) + c[k];
            EXPECT_NEAR(y, i * i - 7, degree == 2 ? 1e-8 : 1e-4);
        }
    }
    ASSERT_TRUE(p.calcPolynomCoeffs(2, c));
    EXPECT_NEAR(c[0], 999993, 1e-5);
    EXPECT_NEAR(c[1], -2000, 1e-8);
    EXPECT_NEAR(c[2], 1, 1e-11);
    const KvProfile before = p;
    for (const int degree : {2, 12, INT_MAX}) {
        KvProfile fitted = before;
        ASSERT_TRUE(fitted.polynomFit(degree));
        EXPECT_THAT(fitted, HasPointsOf(before)) << degree;
    }
}

TEST(ProfilePolynomial, ResidualsAreOrthogonalToThePowers) {
    Draws draws(2303);
    KvProfile p;
    for (int i = 0; i < 300; ++i)
        p.points.append(
            KvPointXY(static_cast<float>(950 + draws.real(0, 100)), static_cast<float>(draws.normal(1))));
    for (int degree = 0; degree <= 25; ++degree) {
        KvProfile fitted = p;
        ASSERT_TRUE(fitted.polynomFit(degree));
        for (int power = 0; power <= degree; ++power) {
            double product = 0;
            for (int i = 0; i < 300; ++i) {
                const double t = (double(p.points[i].x) - 1000) / 50;
                product += std::cos(power * std::acos(std::clamp(t, -1.0, 1.0))) *
                           double(p.points[i].y - fitted.points[i].y);
            }
            EXPECT_NEAR(product, 0, 1e-5) << degree << ", " << power;
        }
    }
}

TEST(ProfilePolynomial, LowersTheDegreeToTheDistinctPlaces) {
    KvProfile p = profileOf({{1, 1}, {1, 3}, {2, 5}, {kNaN, 9}});
    double c[4] = {9, 9, 9, 9};
    ASSERT_TRUE(p.calcPolynomCoeffs(3, c));
    EXPECT_NEAR(c[0], -1, 1e-12);
    EXPECT_NEAR(c[1], 3, 1e-12);
    EXPECT_TRUE(c[2] == 0 && c[3] == 0);
    EXPECT_FALSE(p.calcPolynomCoeffs(-1, c) || p.calcPolynomCoeffs(1, nullptr) || p.polynomFit(INT_MIN));
    EXPECT_FALSE(KvProfile().polynomFit(2));
    ASSERT_TRUE(p.polynomFit(9));
    EXPECT_THAT(p, HasPointsOf(profileOf({{1, 2}, {1, 2}, {2, 5}, {kNaN, 9}})));
}

TEST(ProfileIntegral, IsTheAreaBetweenBounds) {
    const KvProfile p = profileOf({{4, 0}, {0, 0}, {kNaN, 50}, {2, 4}});  // a triangle, unsorted
    EXPECT_EQ(p.integral(kNaN, kNaN), 8);
    EXPECT_EQ(p.integral(1, 3), 6);
    EXPECT_EQ(p.integral(3, 1), -6);
    EXPECT_EQ(p.integral(-INFINITY, 1), 1);
    EXPECT_EQ(p.integral(3, kNaN), 1);
    EXPECT_EQ(p.integral(5, 9), 0);
    EXPECT_EQ(p.integral(2, 2), 0);
    EXPECT_EQ(profileOf({{1, 1}}).integral(kNaN, kNaN), 0);
}

TEST(ProfileCut, IsTheFirstMeetingFromEitherEnd) {
    const KvProfile p = profileOf({{0, 0}, {kNaN, 9}, {2, 2}, {4, 0}, {6, 1}});
    KvPointXY cut(9, 9);
    ASSERT_TRUE(p.calcCutPoint(KvLine(0, 0.5F), cut));
    EXPECT_TRUE(cut.x == 0.5F && cut.y == 0.5F);
    ASSERT_TRUE(p.calcCutPoint(KvLine(0, 0.5F), cut, /*fromEnd=*/true));
    EXPECT_TRUE(cut.x == 5 && cut.y == 0.5F);
    ASSERT_TRUE(p.calcCutPoint(KvLine(1, 0), cut, /*fromEnd=*/true)) << "a point on the line";
    EXPECT_EQ(cut.x, 2);
    EXPECT_FALSE(p.calcCutPoint(KvLine(0, 3), cut) || p.calcCutPoint(KvLine(), cut) ||
                 KvProfile().calcCutPoint(KvLine(0, 0), cut));
    EXPECT_EQ(cut.x, 2);
}

TEST(ProfileLines, StraightWindowsBecomeSegments) {
    KvProfile p;
    for (int i = 0; i <= 20; ++i)  // a roof
        p.points.append(KvPointXY(static_cast<float>(i), static_cast<float>(10 - std::abs(i - 10))));
    QList<LinePP> segments;
    EXPECT_EQ(p.addLineSegments(segments, 6, 5, 1e-6), 4);  // 0-5, 5-10, 10-15, 15-20
    EXPECT_NEAR(segments[1].p1.x, 5, 1e-6);
    EXPECT_NEAR(segments[1].p2.y, 10, 1e-6);
    EXPECT_EQ(p.addLineSegments(segments, 6, 4, 1e-6), 3);  // not the window over the ridge at 8-13
    EXPECT_EQ(segments.size(), 7);
    const double unset = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(p.addLineSegments(segments, 1, 1, 1) + p.addLineSegments(segments, 6, 0, 1) +
                  p.addLineSegments(segments, INT_MAX, INT_MAX, 1) + p.addLineSegments(segments, 6, 5, unset),
              0);
}

TEST(ProfileLines, ParallelLineIsOffsetTowardsPositiveY) {
    const KvProfile p = profileOf({{9, 9}, {0, 0}, {3, -3}, {kNaN, 0}, {6, -6}, {9, 9}});
    KvProfile dest = profileOf({{7, 7}});
    p.addParallelLine(dest, 1, 4, std::sqrt(2.0F));
    ASSERT_EQ(dest.points.size(), 4);
    EXPECT_LT(dest.points[1].calcDistance(KvPointXY(1, 1)), 1e-5F);
    EXPECT_LT(dest.points[3].calcDistance(KvPointXY(7, -5)), 1e-5F);
    p.addParallelLine(dest, 3, 4, 1);
    p.addParallelLine(dest, 4, 1, 1);
    p.addParallelLine(dest, INT_MAX, INT_MIN, 1);
    EXPECT_EQ(dest.points.size(), 4) << "fewer than two points";
    dest.addParallelLine(dest, INT_MIN, INT_MAX, -1);
    EXPECT_EQ(dest.points.size(), 8);
}

TEST(ProfileTopView, TakesXAndZ) {
    KvPointCloud<KvPointXYZ> cloud;
    cloud.points << KvPointXYZ(1, 2, 3) << KvPointXYZ(4, 5, kNaN) << KvPointXYZ(0, 8, 9);
    KvProfile p = profileOf({{7, 7}});
    EXPECT_EQ(p.makeCloudTopView(cloud), 3);
    EXPECT_THAT(p, HasPointsOf(profileOf({{1, 3}, {4, kNaN}, {0, 9}})));
    EXPECT_TRUE(p.minX == 0 && p.maxX == 4 && p.minY == 3 && p.maxY == 9);
}
