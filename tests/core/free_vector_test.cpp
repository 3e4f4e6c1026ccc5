#include <kvmath/core/free_vector.h>

#include <tests/support/prelude.h>

TEST(FreeVector, ZeroLengthIsRefusedAndLeavesTheVector) {
    EXPECT_TRUE(std::isnan(KvFreeVector().x) && std::isnan(KvFreeVector().y));
    KvFreeVector v(3, -4);
    EXPECT_FALSE(v.resize(0) || v.resize(-1) || v.resize(kNaN) || KvFreeVector(0, 0).resize(2));
    EXPECT_FALSE(v.sumVectors({1, 2}, {-1, -2}));
    EXPECT_EQ(v.size(), 5.0F);
    EXPECT_TRUE(v.resize(10) && v.y == -8.0F);
    EXPECT_TRUE(v.sumVectors(v, {-3, 4}) && v.x == 0.6F &&
                v.y == -0.8F);  // reads itself before it is written
}

TEST(FreeVector, AngleStaysWithinItsRange) {
    EXPECT_TRUE(std::isnan(KvFreeVector::calcAngleBetweenVectors({1, 0}, {0, 0})));
    EXPECT_NEAR(KvFreeVector(1, 0).calcAngleBetweenVectors({0, -2}), 90 * M_PI / 3.1415927410125732, 1e-12);
    TestSupport::Draws draws(3);
    for (int i = 0; i < 2000; ++i) {  // rounding carries many of these cosines past 1
        const KvFreeVector a(static_cast<float>(draws.normal(10)), static_cast<float>(draws.normal(1)));
        EXPECT_NEAR(a.calcAngleBetweenVectors({3 * a.x, 3 * a.y}), 0.0, 2e-5);
        EXPECT_NEAR(a.calcAngleBetweenVectors({-a.x, -a.y}), 180.0, 2e-5);
    }
}

TEST(FreeVector, DirectionOfACloudEndsAtTheFirstPointFarEnough) {
    KvPointCloud<KvPointXY> cloud;
    cloud.points = {{0, 0}, {0.5F, 0}, {kNaN, 1}, {3, 4}, {0, 9}, {0, 0}};
    const std::tuple<int, int, float, float, float> cases[] = {
        // start, step, length, the unit vector or (7, 8) as before
        {0, 1, 0.5F, 1, 0},   {0, 1, 0.501F, 0.6F, 0.8F}, {0, 1, 5.0F, 0.6F, 0.8F}, {0, 1, 5.1F, 0, 1},
        {4, -1, kNaN, 0, -1}, {1, 1, 100.0F, -1, 0},      {0, 1, kNaN, 7, 8},       {0, 1, 0.0F, 7, 8},
        {0, -1, 1.0F, 7, 8},  {2, 1, 1.0F, 7, 8},         {0, 2, 1.0F, 7, 8},       {0, 0, 1.0F, 7, 8},
        {-1, 1, 1.0F, 7, 8},  {6, -1, 1.0F, 7, 8}};
    for (const auto& [start, step, length, x, y] : cases) {
        KvFreeVector v(7, 8);
        EXPECT_EQ(v.calcFromPointCloud(cloud, start, step, length), y != 8.0F);
        EXPECT_TRUE(v.x == x && v.y == y) << start << ", " << step << ", " << length;
    }
    cloud.points = {{-3e38F, 0}, {3e38F, 0}};
    EXPECT_FALSE(KvFreeVector().calcFromPointCloud(cloud, 0, 1, 1)) << "an infinite distance";
}
