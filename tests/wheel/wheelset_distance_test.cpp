#include <kvmath/wheel/wheelset_distance.h>

#include <tests/wheel/wheel_files.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

using namespace KvMath;
using TestSupport::level;
using WheelsetDistance = TestSupport::WheelPass;

TEST(WheelsDist, AddsTheOffsetsOfTheFirstHalvesSquareToTheReferences) {
    KvProfile a = level(11, 3), b = level(8, 5);
    a.points[5].y = 100;  // behind the half of five points
    EXPECT_FLOAT_EQ(ORBIS_calcWheelsDist(a, b, KvLine(0, 1), KvLine(1, 2), 1360),
                    static_cast<float>(2 + 1360 + 3 * std::sqrt(0.5)));
    EXPECT_EQ(a.points.size(), 5);
    EXPECT_EQ(b.points.size(), 4);
    KvProfile same = level(8, 1.75F), one = level(1, 3);  // two offsets of 0.75 count in a sum in double only
    EXPECT_EQ(ORBIS_calcWheelsDist(same, same, KvLine(0, 1), KvLine(0, 1), 16777216), 16777218.0F);
    EXPECT_TRUE(std::isnan(ORBIS_calcWheelsDist(one, same, KvLine(0, 0), KvLine(0, 0), 0)));
    EXPECT_TRUE(one.points.isEmpty());
}

// Heights name the file: 10 w + p. The profile behind the one with most points is measured, unless it is the
// first.
TEST_F(WheelsetDistance, TakesTheProfileBehindTheFullest) {
    set("SENSOR2/SN", 200);
    set("SENSOR1/level_b", 1000);
    set("SENSOR2/level_b", 1000);
    set("SENSOR2/b2", 7);
    set("calibrLines2", 1000);
    const int sizes[4][4] = {{9, 8, 9, 4}, {4, 9, 8, 4}, {4, 4, 9, 9}, {4, 5, 6, 9}};
    for (int w = 1; w <= 4; ++w) {
        for (int p = 1; p <= 4; ++p) {
            const auto height = static_cast<float>(10 * w + p);
            write(qPrintable(QString::asprintf("a_100/%02d_%02d.bin", w, p)),
                  level(sizes[w - 1][p - 1], height));
        }
        write(qPrintable(QString::asprintf("b_200/%02d_01.bin", w)), level(6, 7));
    }
    float distances[6] = {-1, -1, -1, -1, -1, -1};
    EXPECT_FALSE(ORBIS_calcWheelsDistInTrain("a_100.bin", "b_200.bin", 6, &settings, distances));
    EXPECT_FLOAT_EQ(distances[0], 1011);
    EXPECT_FLOAT_EQ(distances[1], 1023);
    EXPECT_FLOAT_EQ(distances[2], 1034);
    EXPECT_TRUE(std::isnan(distances[3]));  // nothing lies behind the last
    EXPECT_EQ(distances[4], -1.0F);
    EXPECT_TRUE(ORBIS_calcWheelsDistInTrain("a_100.bin", "b_200.bin", 4, &settings, distances));
    EXPECT_TRUE(ORBIS_calcWheelsDistInTrain("a_100.bin", "b_200.bin", 2, 2, &settings, distances));
    EXPECT_FLOAT_EQ(distances[0], 1023);
    EXPECT_FLOAT_EQ(distances[1], 1034);
    EXPECT_FALSE(ORBIS_calcWheelsDistInTrain("a_100.bin", "b_200.bin", 2, INT_MAX, &settings, distances));
    set("SENSOR1/level_b", 32.5);  // of wheel 3 profiles 1 and 2 are left: equal, the first counts
    EXPECT_FALSE(ORBIS_calcWheelsDistInTrain("a_100.bin", "b_200.bin", 4, &settings, distances));
    EXPECT_FLOAT_EQ(distances[2], 1031);
    set("SENSOR1/k2", 1);
    set("SENSOR1/b2", 3);
    EXPECT_TRUE(ORBIS_calcWheelsDistInTrain("a_100.bin", "b_200.bin", 1, &settings, distances));
    EXPECT_FLOAT_EQ(distances[0], static_cast<float>(8 * std::sqrt(0.5) + 1000));
    EXPECT_FALSE(ORBIS_calcWheelsDistInTrain("a_100.bin", "b_200.bin", 0, 1, &settings, distances));
    EXPECT_TRUE(QFile::remove("b_200/01_01.bin"));
    EXPECT_FALSE(ORBIS_calcWheelsDistInTrain("a_100.bin", "b_200.bin", 1, &settings, distances));
}

TEST_F(WheelsetDistance, IsRefusedWithoutScannerDirectoryOrPoints) {
    write("a_100/01_01.bin", level(6, -3));
    write("a_300/01_01.bin", level(6, -3));
    set("SENSOR2/SN", 100);  // the first group of the two counts
    set("SENSOR2/b2", 5);
    float distance = -1;
    const auto run = [&](const char* a, const char* b, int count) {
        return ORBIS_calcWheelsDistInTrain(a, b, count, &settings, &distance);
    };
    EXPECT_TRUE(run("a_100.bin", "a_100.bin", 1));  // both of one group; level 0 keeps negative heights
    EXPECT_FLOAT_EQ(distance, -6);
    EXPECT_TRUE(run("a_100.bin", "a_100.bin", 0));
    EXPECT_FALSE(run("a_100.bin", "b_100.bin", 0));
    EXPECT_FALSE(run("a_300.bin", "a_100.bin", 0));
    EXPECT_FALSE(ORBIS_calcWheelsDistInTrain("a_100.bin", "a_100.bin", 1, nullptr, &distance));
    EXPECT_FALSE(ORBIS_calcWheelsDistInTrain("a_100.bin", "a_100.bin", 1, &settings, nullptr));
    write("a_100/01_01.bin", level(6, 3));
    EXPECT_FALSE(run("a_100.bin", "a_100.bin", 1));
}
