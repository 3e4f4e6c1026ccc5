// Geometry and polynomials found in profiles.

#include "profile_support.h"

#include <kvmath/core/line.h>

namespace {

double boxArea(KvProfile p, double degrees) {
    p.rotateEvklid(static_cast<float>(-degrees));
    p.calcRange();
    return double(p.size_x()) * double(p.size_y());
}

}  // namespace

TEST(ProfileRect, FindsTheTurnedRectangleThatWasFilled) {
    Draws draws(2301);
    for (int round = 0; round < 100; ++round) {
        const float angle = static_cast<float>(draws.real(0, 89.9));
        KvProfile p = profileOf({{-20, -5}, {20, -5}, {20, 5}, {-20, 5}});
        for (int i = draws.integer(0, 200); i > 0; --i)
            p.points.append(KvPointXY(float(draws.real(-20, 20)), float(draws.real(-5, 5))));
        p.rotateEvklid(angle);
        p.points.append(KvPointXY());
        KvPointCloud<KvPointXY> corners;
        float area = 0;
        ASSERT_TRUE(p.calcRect(corners, &area, draws.chance(0.5) ? angle : kNaN));
        ASSERT_EQ(corners.points.size(), 4);
        EXPECT_NEAR(area, 400, 0.02);
        for (int i = 0; i < 4; ++i)
            EXPECT_LT(corners.points[i].calcDistance(p.points[i]), 1e-3F) << "counter-clockwise";
    }
}

TEST(ProfileRect, NoAngleOfASweepIsBetter) {
    Draws draws(2302);
    for (int round = 0; round < 60; ++round) {
        const bool onGrid = draws.chance(0.5), isBowl = draws.chance(0.3);
        KvProfile p = randomProfile(draws, onGrid ? draws.integer(3, 150) : 0, 0);
        for (int i = onGrid ? 0 : draws.integer(3, 150); i > 0; --i) {
            const auto x = float(draws.normal(3));
            p.points.append(KvPointXY(x, isBowl ? x * x / 8 : float(draws.normal(1))));
        }
        float width = 0, height = 0, used = 0;
        ASSERT_TRUE(p.calcRect(&width, &height, &used, kNaN) && p.calcRect(nullptr, nullptr, nullptr, kNaN));
        const double area = double(width) * double(height);
        EXPECT_TRUE(used >= 0 && used < 90);
        EXPECT_NEAR(area, boxArea(p, double(used)), 1e-4 * (1 + area));
        for (double degrees = 0; degrees < 90; degrees += 0.25)
            ASSERT_LE(area, boxArea(p, degrees) * (1 + 1e-6) + 1e-4) << degrees;
    }
}

TEST(ProfileRect, DegeneratesToAPieceAndAPlace) {
    float width = 5, height = 5, used = 5;
    EXPECT_FALSE(profileOf({{kNaN, 1}, {INFINITY, 2}}).calcRect(&width, &height, &used, kNaN) || width != 5);
    ASSERT_TRUE(profileOf({{1, 1}, {2, 2}, {4, 4}}).calcRect(&width, &height, &used, kNaN));
    EXPECT_NEAR(width, 3 * std::sqrt(2.0), 1e-6);
    EXPECT_NEAR(height, 0, 1e-6);
    EXPECT_NEAR(used, 45, 1e-5);
    KvProfile place = profileOf({{3, 4}, {3, 4}});
    ASSERT_TRUE(place.calcRect(place, nullptr, kNaN));
    EXPECT_THAT(place, PointsAre({{3, 4}, {3, 4}, {3, 4}, {3, 4}}));
}

TEST(ProfilePolynomial, RecoversExactPolynomialsFarFromTheOrigin) {
    // (x - 1000)^2 - 7 on integers is exact in float; its powers of x cancel six digits.
    KvProfile p;
    for (int i = -20; i <= 20; ++i)
        p.points.append(KvPointXY(static_cast<float>(1000 + i), static_cast<float>(i * i - 7)));
    double c[6];
    ASSERT_TRUE(p.calcPolynomCoeffs(5, c));
    for (const double x : {980.0, 1001.0, 1020.0})
        EXPECT_NEAR(c[0] + x * (c[1] + x * (c[2] + x * (c[3] + x * (c[4] + x * c[5])))),
                    (x - 1000) * (x - 1000) - 7, 1e-4);
    ASSERT_TRUE(p.calcPolynomCoeffs(2, c));
    EXPECT_TRUE(std::abs(c[0] - 999993) < 1e-5 && std::abs(c[1] + 2000) < 1e-8 && std::abs(c[2] - 1) < 1e-11);
    for (const int degree : {2, 12, INT_MAX}) {
        KvProfile fitted = p;
        ASSERT_TRUE(fitted.polynomFit(degree));
        EXPECT_THAT(fitted, HasPointsOf(p)) << degree;
    }
}

TEST(ProfilePolynomial, ResidualsAreOrthogonalToThePowers) {
    Draws draws(2303);
    KvProfile p;
    for (int i = 0; i < 300; ++i)
        p.points.append(KvPointXY(float(950 + draws.real(0, 100)), float(draws.normal(1))));
    KvProfile fitted = p;
    ASSERT_TRUE(fitted.polynomFit(25));
    for (int power = 0; power <= 25; ++power) {
        double product = 0;
        for (int i = 0; i < 300; ++i)
            product += std::pow((double(p.points[i].x) - 1000) / 50, power) *
                       double(p.points[i].y - fitted.points[i].y);
        EXPECT_NEAR(product, 0, 1e-5) << power;
    }
}

TEST(ProfilePolynomial, LowersTheDegreeToTheDistinctPlaces) {
    KvProfile p = profileOf({{1, 1}, {1, 3}, {2, 5}, {kNaN, 9}});
    double c[4] = {9, 9, 9, 9};
    ASSERT_TRUE(p.calcPolynomCoeffs(3, c));
    EXPECT_THAT(c, testing::Pointwise(testing::DoubleNear(1e-12), {-1.0, 3.0, 0.0, 0.0}));
    EXPECT_FALSE(p.calcPolynomCoeffs(-1, c) || p.calcPolynomCoeffs(1, nullptr) || p.polynomFit(INT_MIN));
    EXPECT_FALSE(KvProfile().polynomFit(2));
    ASSERT_TRUE(p.polynomFit(9));
    EXPECT_THAT(p, PointsAre({{1, 2}, {1, 2}, {2, 5}, {kNaN, 9}}));
    // Six places whose fourth power is no double.
    KvProfile close = profileOf({{-1e38F, 2}, {1e38F, 4}});
    for (float i = 1; i <= 6; ++i)
        close.points.append(KvPointXY(i * 1e-44F, 3));
    const KvProfile before = close;
    ASSERT_TRUE(close.polynomFit(9));
    EXPECT_THAT(close, HasPointsOf(before));
}

TEST(ProfileIntegral, IsTheAreaBetweenBounds) {
    const KvProfile p = profileOf({{4, 0}, {0, 0}, {kNaN, 50}, {2, 4}});  // a triangle, unsorted
    const float cases[][3] = {{kNaN, kNaN, 8}, {1, 3, 6}, {3, 1, -6}, {-INFINITY, 1, 1},
                              {3, kNaN, 1},    {5, 9, 0}, {2, 2, 0}};
    for (const auto& [from, to, area] : cases)
        EXPECT_EQ(p.integral(from, to), area) << from << " to " << to;
    EXPECT_EQ(profileOf({{1, 1}}).integral(kNaN, kNaN), 0);
}

TEST(ProfileCut, IsTheFirstMeetingFromEitherEnd) {
    const KvProfile p = profileOf({{0, 0}, {kNaN, 9}, {2, 2}, {4, 0}, {6, 1}});
    KvPointXY cut;
    EXPECT_TRUE(p.calcCutPoint(KvLine(0, 0.5F), cut) && cut.x == 0.5F && cut.y == 0.5F);
    EXPECT_TRUE(p.calcCutPoint(KvLine(0, 0.5F), cut, /*fromEnd=*/true) && cut.x == 5 && cut.y == 0.5F);
    EXPECT_TRUE(p.calcCutPoint(KvLine(1, 0), cut, /*fromEnd=*/true) && cut.x == 2) << "a point on the line";
    EXPECT_FALSE(p.calcCutPoint(KvLine(0, 3), cut) || p.calcCutPoint(KvLine(), cut) ||
                 p.calcCutPoint(KvLine(0, kNaN), cut));
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
    p.addParallelLine(dest, 3, 4, 1);  // one usable point: nothing
    p.addParallelLine(dest, INT_MAX, INT_MIN, 1);
    ASSERT_EQ(dest.points.size(), 4);
    EXPECT_LT(dest.points[1].calcDistance({1, 1}) + dest.points[3].calcDistance({7, -5}), 1e-5F);
    dest.addParallelLine(dest, INT_MIN, INT_MAX, -1);
    EXPECT_EQ(dest.points.size(), 8);
    KvProfile upright, two = profileOf({{2, 1}, {2, 5}});
    two.addParallelLine(upright, 0, 1, 3);
    KvProfile feet;
    profileOf({{0, 1}, {10, -2}, {20, 1}}).addParallelLine(feet, 0, 2, 5);
    EXPECT_LT(feet.points[0].calcDistance({0, 5}) + feet.points[1].calcDistance({10, 5}), 1e-5F);
    EXPECT_THAT(upright, PointsAre({{5, 1}, {5, 5}})) << "along x where there is no y";
}

TEST(ProfileTopView, TakesXAndZ) {
    KvPointCloud<KvPointXYZ> cloud;
    cloud.points << KvPointXYZ(1, 2, 3) << KvPointXYZ(4, 5, kNaN) << KvPointXYZ(0, 8, 9);
    KvProfile p = profileOf({{7, 7}});
    EXPECT_EQ(p.makeCloudTopView(cloud), 3);
    EXPECT_THAT(p, PointsAre({{1, 3}, {4, kNaN}, {0, 9}}));
    EXPECT_TRUE(p.minX == 0 && p.maxX == 4 && p.minY == 3 && p.maxY == 9);
}
