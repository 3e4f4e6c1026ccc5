#include <kvmath/core/level_histogram.h>

#include <tests/support/prelude.h>
#include <tests/support/scratch_directory.h>

using Bins = QMap<float, int>;

static KvPointCloud<KvPointXY> heights(std::initializer_list<float> values) {
    KvPointCloud<KvPointXY> cloud;
    for (const float y : values)
        cloud.points.append({0, y});
    return cloud;
}

TEST(LevelHistogram, EqualsTheLiteralCountOnAnUnknownAndOnAnyStaleRange) {
    TestSupport::Draws draws(8);
    for (int round = 0; round < 200; ++round) {
        KvPointCloud<KvPointXYZRGB> cloud;
        cloud.points.append({0, 0.5F, 0, 0});
        for (int i = draws.integer(0, 60); i > 0; --i)
            cloud.points.append({0, draws.coordinate(8, 0.25F, 0.1), 0, 0});
        cloud.calcRange();
        float minY = cloud.minY, maxY = cloud.maxY;
        if (draws.chance(0.3)) {
            (draws.chance(0.5) ? cloud.minY : cloud.maxY) = kNaN;  // found anew
        } else {
            cloud.minY = minY = draws.coordinate(6, 0.5F, 0);
            cloud.maxY = maxY = minY + static_cast<float>(draws.integer(-3, 8));
        }
        const auto width = static_cast<float>(draws.real(0.1, 3.0));
        Bins expected;
        for (int i = 0; i < static_cast<int>(std::ceil((maxY - minY) / width)) + 1; ++i)
            expected[minY + static_cast<float>(i) * width] = 0;
        for (const KvPointXYZRGB& p : qAsConst(cloud.points))
            if (!std::isnan(p.y))
                ++expected[static_cast<float>(static_cast<int>((p.y - minY) / width))];
        KvLevelHistogram<KvPointXYZRGB> histogram;
        EXPECT_EQ(histogram.calcFromPointCloud(cloud, width), expected.size());
        EXPECT_EQ(histogram.bins, expected) << round;
    }
}

TEST(LevelHistogram, RefusesWhatHasNoLevelsOrTooMany) {
    KvLevelHistogram<KvPointXY> histogram;
    for (auto cloud : {heights({0, 4194304}), heights({}), heights({0, kInf}), heights({-3e38F, 3e38F})}) {
        for (const float width : {1.0F, 0.0F, -1.0F, kNaN, 1e-38F}) {
            histogram.bins[5] = 5;
            EXPECT_EQ(histogram.calcFromPointCloud(cloud, width), 0) << width;
            EXPECT_EQ(histogram.count(), 0);
        }
    }
    EXPECT_TRUE(std::isnan(histogram.calcMassCenter()));
    histogram.bins[5] = 5;
    histogram.clear();
    EXPECT_EQ(histogram.count(), 0);
    auto cloud = heights({0, 1, 2147483648.0F, 3e38F, -3e38F, -kInf});
    cloud.minY = 0;
    cloud.maxY = 1;
    EXPECT_EQ(histogram.calcFromPointCloud(cloud, 1), 2);  // bands beyond int are skipped
    histogram.bins = {{-4, 2}, {7.5F, 1}, {8, 0}, {9, 1}};
    EXPECT_EQ(histogram.calcMassCenter(), 2.0F) << "a place among the bins, from one";
}

TEST(LevelHistogram, WritesKeysThatReadBack) {
    const TestSupport::ScratchDirectory scratch;
    KvLevelHistogram<KvPointXYZ> histogram;
    histogram.bins = {{-2.5F, 1}, {1e-7F, 2}, {1000.00006F, -3}, {16777216, 4}};
    EXPECT_TRUE(histogram.writeToCSV("bins.csv"));
    histogram.bins.remove(16777216);  // the longer file is cut
    EXPECT_TRUE(histogram.writeToCSV("bins.csv"));
    EXPECT_EQ(scratch.read("bins.csv"), "-2.5;1\r\n1e-07;2\r\n1000.00006;-3\r\n");
    histogram.bins = {{kNaN, 1}};
    EXPECT_TRUE(histogram.writeToCSV("bins.csv") && scratch.read("bins.csv") == "nan;1\r\n");
}
