#include <kvmath/core/line.h>

#include <tests/support/prelude.h>

TEST(Line, ThroughTwoPointsRefusesASteepRun) {
    KvLine line(3, 4);
    EXPECT_FALSE(line.calcFromTwoPoints({1e-5F, 0}, {0, 1}));  // the float below 1e-5, the next one is above
    EXPECT_TRUE(line.k == 0.0F && line.b == 0.0F);
    EXPECT_TRUE(line.calcFromTwoPoints({std::nextafter(1e-5F, 1.0F), 0}, {0, 1}));
    line = KvLine({-1, 5}, {3, -3});
    EXPECT_TRUE(line.k == -2.0F && line.b == 3.0F && line.y(10) == -17.0F && line.x(-17) == 10.0F);
}

TEST(Line, MeasuresDistanceIntersectionAndSignedAngle) {
    const KvLine line(0.75F, 1);
    EXPECT_FLOAT_EQ(line.calcDistanceToPoint({0, 6}), 4.0F);
    EXPECT_FLOAT_EQ(line.calcDistanceToPoint({0, -4}), 4.0F);
    EXPECT_EQ(KvLine::calcAngle({1, 9}, {0, 0}), 45.0F);
    EXPECT_EQ(KvLine::calcAngle({0, 0}, {1, 9}), -45.0F);
    KvPointXY p(7, 7);
    EXPECT_FALSE(KvLine::calcIntersection(line, KvLine(0.75F, 2), p));
    EXPECT_EQ(p.x, 7.0F);
    EXPECT_TRUE(KvLine::calcIntersection(line, KvLine(-0.25F, 5), p));
    EXPECT_TRUE(p.x == 4.0F && p.y == 4.0F);
}

// A run of 20 mm at 1000 mm: what the float products lose shows in the third digit of the slope, so neither
// exact products nor sums in float would pass.
TEST(LineFit, EqualsExactSumsOfFloatProducts) {
    TestSupport::Draws draws(11);
    for (int round = 0; round < 50; ++round) {
        KvPointCloud<KvPointXY> cloud;
        long double n = 0, sx = 0, sxx = 0, sy = 0, sxy = 0;
        while (n < 3 + 8 * round) {
            const auto x = static_cast<float>(draws.real(1000, 1020));
            const auto y = static_cast<float>(0.3 * static_cast<double>(x) + draws.normal(0.05));
            n += 1, sx += x, sxx += x * x, sy += y, sxy += x * y;
            cloud.points << KvPointXY(x, y) << KvPointXY(kNaN, y) << KvPointXY(x, kNaN);
        }
        const auto k = static_cast<double>((n * sxy - sx * sy) / (n * sxx - sx * sx));
        KvLine line;
        ASSERT_TRUE(line.calcFromPointCloud(cloud));
        EXPECT_NEAR(line.k, k, 1e-6 * std::fabs(k)) << round;
        EXPECT_NEAR(line.y(1010), static_cast<double>(sy / n) + k * (1010 - static_cast<double>(sx / n)),
                    1e-3);
    }
}

TEST(LineFit, CountsTheListAndDividesByAVanishingDeterminant) {
    KvPointCloud<KvPointXY> cloud;
    cloud.points = {{1, 2}};
    EXPECT_FALSE(KvLine().calcFromPointCloud(cloud));
    for (const KvPointXY second : {KvPointXY(1, 3), KvPointXY(kNaN, 3)}) {
        cloud.points = {{1, 2}, second};
        KvLine line(0, 0);
        EXPECT_TRUE(line.calcFromPointCloud(cloud));
        EXPECT_FALSE(std::isfinite(line.k));
    }
}
