#include <kvmath/wheel/wheel_detection.h>

#include <kvmath/core/line.h>

#include <tests/support/random_data.h>
#include <tests/wheel/wheel_files.h>

#include <gmock/gmock.h>

using namespace KvMath;
using TestSupport::kNaN;
using TestSupport::level;
using WheelDetection = TestSupport::WheelPass;

TEST_F(WheelDetection, SplitsARecordingOfBothRecordKindsAndUndoesShortRuns) {
    record("post_100.bin", ".wwwww.wwwwww.wwww0www");
    set("minProfsInWheel", 5);
    int wheels = -1;
    ASSERT_TRUE(ORBIS_detectWheels("post_100.bin", &settings, 0, &wheels));
    EXPECT_EQ(wheels, 3);  // the four are undone, the last three stay since nothing closes them
    QStringList expected;
    for (const int wheel : {1, 2, 3}) {
        for (int i = 1; i <= (wheel == 1 ? 5 : wheel == 2 ? 6 : 3); ++i)
            expected.append(QString::asprintf("%02d_%02d.bin", wheel, i));
    }
    EXPECT_EQ(filesIn("post_100"), expected);
    KvProfile stored;
    EXPECT_EQ(stored.readFromFile("post_100/02_06.bin"), 9);  // removeNoise drops the last block of three
    EXPECT_EQ(stored.points.first().y, 50.0F);
    QList<WheelPassage> passages;
    ASSERT_TRUE(ORBIS_detectWheels("post_100.bin", &settings, 0, &wheels, passages));
    ASSERT_EQ(passages.size(), 3);
    EXPECT_THAT(passages[2].records, testing::ElementsAre(19, 20, 21));
    EXPECT_TRUE(passages[2].z[0] == 19.0F && std::isnan(passages[2].z[1]));
}

TEST_F(WheelDetection, KeepsTheWheelsBeforeACut) {
    record("post_100.bin", "wwwww.wwwww");
    QFile file("post_100.bin");
    const qint64 size = file.size();
    ASSERT_TRUE(file.resize(size - 1));
    int wheels = -1;
    ASSERT_TRUE(ORBIS_detectWheels("post_100.bin", &settings, 0, &wheels));
    EXPECT_EQ(wheels, 2);
    EXPECT_EQ(filesIn("post_100").size(), 9);
    for (qint64 left = size - 2; left > 0; left -= 41) {
        const int before = wheels;
        ASSERT_TRUE(file.resize(left));
        ASSERT_TRUE(ORBIS_detectWheels("post_100.bin", &settings, 0, &wheels));
        EXPECT_LE(wheels, before);
    }
    EXPECT_EQ(wheels, 0);
}

TEST_F(WheelDetection, FindsTheScannerByTheSerialInTheName) {
    record("100.bin", "wwwww");
    record("other_7.bin", "wwwww");
    int wheels = -1;
    EXPECT_FALSE(ORBIS_detectWheels("other_7.bin", &settings, 0, &wheels));  // SENSOR2/SN is missing
    EXPECT_FALSE(ORBIS_detectWheels("missing_100.bin", &settings, 0, &wheels));
    EXPECT_FALSE(ORBIS_detectWheels("other_0.bin", &settings, 0, &wheels));
    EXPECT_FALSE(ORBIS_detectWheels("100.bin", nullptr, 0, &wheels));
    EXPECT_FALSE(ORBIS_detectWheels("100.bin", &settings, 0, nullptr));
    EXPECT_EQ(wheels, -1);
    EXPECT_TRUE(ORBIS_detectWheels("100.bin", &settings, 0, &wheels));
    EXPECT_EQ(wheels, 1);
    for (int i = 1; i <= 49; ++i)
        set(qPrintable(QString("SENSOR%1/SN").arg(i)), 1000 + i);
    set("SENSOR50/level_b", -1e6);  // nothing lies below this line
    EXPECT_TRUE(ORBIS_detectWheels("other_7.bin", &settings, 0, &wheels));
    EXPECT_EQ(wheels, 0);
    EXPECT_TRUE(filesIn("other_7").isEmpty());
}

TEST_F(WheelDetection, ModeThreeCutsStraightPartsWithTheExchangedSettings) {
    record("post_100.bin", "wwwww");
    set("SENSOR1/maxCorr", 2.9);  // two parts at most
    set("SENSOR1/parts", 1.9);    // correlation below 1: level runs have none (NaN) and go
    int wheels = -1;
    ASSERT_TRUE(ORBIS_detectWheels("post_100.bin", &settings, 3, &wheels));
    EXPECT_EQ(wheels, 0);
    set("SENSOR1/maxCorr", 1.9);  // fewer than two parts: nothing is cut
    ASSERT_TRUE(ORBIS_detectWheels("post_100.bin", &settings, 3, &wheels));
    EXPECT_EQ(wheels, 1);
    set("SENSOR1/lowlevel_b", 49);  // deliberately another spelling than the defect search has
    ASSERT_TRUE(ORBIS_detectWheels("post_100.bin", &settings, 3, &wheels));
    EXPECT_EQ(wheels, 1);
    set("SENSOR1/lowlevel_b", 50);
    ASSERT_TRUE(ORBIS_detectWheels("post_100.bin", &settings, 3, &wheels));
    EXPECT_EQ(wheels, 0);
}

TEST_F(WheelDetection, TrialNumbersTheProfilesThatBeginWheels) {
    record("post_100.bin", "..ww.wwwww.");
    QSettings result("result.ini", QSettings::IniFormat);
    int wheels = -1;
    ASSERT_TRUE(ORBIS_detectWheels_Test("post_100.bin", &settings, 0, &wheels, &result));
    EXPECT_EQ(wheels, 1);
    EXPECT_EQ(result.value("Wheel_1/firstProfInWheel").toInt(), 6);
    KvProfile summary;
    ASSERT_EQ(summary.readFromCSVFile("test.csv", 0, 1), 2);  // the undone run stays in the list
    EXPECT_EQ(summary.points[0].y, 3.0F);
    EXPECT_FALSE(ORBIS_detectWheels_Test("post_100.bin", &settings, 0, &wheels, nullptr));
}

TEST(IsWheel, CountsStrictlyBetweenTheLines) {
    const KvProfile profile = level(12, 50);
    const KvLine on(0, 50), above(0, 51), below(0, 49), unset;
    EXPECT_TRUE(ORBIS_isWheel(profile, above, 11));
    EXPECT_FALSE(ORBIS_isWheel(profile, above, 12));
    EXPECT_FALSE(ORBIS_isWheel(profile, on, 0));
    EXPECT_TRUE(ORBIS_isWheel(profile, on, -1));
    EXPECT_TRUE(ORBIS_isWheel(profile, above, below, 11));
    EXPECT_FALSE(ORBIS_isWheel(profile, above, on, 0));
    EXPECT_FALSE(ORBIS_isWheel(profile, unset, 0));
}

TEST(IsWheel, LooksForAPieceOfGivenLengthAndSlope) {
    KvProfile profile = level(41, 10);
    for (int i = 1; i <= 30; ++i)
        profile.points.append({40.0F + static_cast<float>(i), 10.0F - 0.5F * static_cast<float>(i)});
    const float length = 30 * std::sqrt(1.25F);
    const auto isWheel = [&](float slope, float slopeTolerance, float wanted, float tolerance) {
        return ORBIS_isWheel(profile, 5, 0.1F, 0, slope, slopeTolerance, wanted, tolerance);
    };
    EXPECT_TRUE(isWheel(-0.5F, 0.01F, length, 0.01F));
    EXPECT_TRUE(isWheel(0, 0.01F, 40, 0.01F));
    EXPECT_FALSE(isWheel(0, 0.01F, length, 0.01F));
    EXPECT_FALSE(isWheel(-0.5F, 0, length, 0.01F));
    EXPECT_FALSE(isWheel(-0.5F, 0.01F, kNaN, 1));
    EXPECT_TRUE(ORBIS_isWheel(level(9, 0), 5, 1, 0, 7, 0, 1e6F, 0));
    EXPECT_FALSE(ORBIS_isWheel(level(10, 0), 5, 1, 0, 7, 0, 1e6F, 0));
}
