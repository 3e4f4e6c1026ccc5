#include <kvmath/wheel/wheel_defects.h>

#include <tests/wheel/wheel_files.h>

#include <gmock/gmock.h>

using namespace KvMath;
using testing::ElementsAre;
using TestSupport::level;
using WheelDefects = TestSupport::WheelPass;

namespace {

/// A level run with n spikes of the given height.
KvProfile spiked(int spikes, float height) {
    KvProfile profile = level(60, 100);
    for (int i = 0; i < spikes; ++i)
        profile.points[5 + 10 * i].y += height;
    return profile;
}

}  // namespace

TEST(WheelDefect, IsMoreOutliersThanAllowed) {
    const KvProfile profile = spiked(3, 40);
    EXPECT_TRUE(ORBIS_detectWheelDefect(profile, 20, 3, 0));
    EXPECT_FALSE(ORBIS_detectWheelDefect(profile, 20, 2, 0));
    EXPECT_TRUE(ORBIS_detectWheelDefect(profile, 20, 0, -1));
    EXPECT_TRUE(ORBIS_detectWheelDefect(KvProfile(), 0, 0, 5));
    EXPECT_FALSE(ORBIS_detectWheelDefect(profile, 20, -1, 5));
    KvProfile two = level(2, 0);
    two.points[1].y = 10;  // 5 above and below the mean: on the limit
    EXPECT_TRUE(ORBIS_detectWheelDefect(two, 5, 0, 0));
    EXPECT_FALSE(ORBIS_detectWheelDefect(two, 4.99F, 0, 0));
}

// Two defective profiles exceed the one that is allowed; the limit in mm is "polynomDegree", the degree
// "pointsHigher". The spike leaves the curve of degree 5 by 20.48, of degree 6 by 19.6, of 19 by 13.9.
TEST_F(WheelDefects, ClearTheFlagsOfTheirWheels) {
    const KvProfile good = spiked(1, 10), bad = spiked(1, 22.85F);
    KvProfile cut = level(60, 100);  // its spikes lie just beyond the default level lines
    cut.points[55].y = 170;
    cut.points[50].y = 45;
    write("pass_100/00_00.bin", bad);
    write("pass_100/00_01.bin", bad);
    write("pass_100/01_01.bin", bad);
    write("pass_100/01_02.bin", good);
    write("pass_100/02_01.bin", bad);
    write("pass_100/02_02.bin", bad);
    write("pass_100/03_01.bin", bad);
    write("pass_100/03_03.bin", bad);  // behind a gap: not looked at
    write("pass_100/-1_01.bin", bad);  // no wheel of the train
    write("pass_100/-1_02.bin", bad);
    write("pass_100/04_01.bin", cut);
    write("pass_100/04_02.bin", cut);
    unsigned char flags[5] = {1, 1, 1, 1, 1}, others[5] = {1, 1, 1, 1, 1};
    ASSERT_TRUE(ORBIS_detectDefectsInTrain("pass_100.bin", &settings, flags, others, 5));
    EXPECT_THAT(flags, ElementsAre(0, 1, 0, 1, 1));
    set("SENSOR1/polynomDegree", 19);  // the scanner's own value goes before the common one
    set("polynomDegree", 70);
    flags[0] = flags[2] = 1;
    ASSERT_TRUE(ORBIS_detectDefectsInTrain("pass_100.bin", &settings, flags, others, 4));
    EXPECT_THAT(flags, ElementsAre(0, 1, 0, 1, 1));
    settings.remove("SENSOR1/polynomDegree");
    flags[0] = flags[2] = 1;
    ASSERT_TRUE(ORBIS_detectDefectsInTrain("pass_100.bin", &settings, flags, others, 4));
    EXPECT_THAT(flags, ElementsAre(1, 1, 1, 1, 1));
    set("SENSOR1/minimalDefectsProf", -1);
    ASSERT_TRUE(ORBIS_detectDefectsInTrain("pass_100.bin", &settings, flags, nullptr, 4));
    EXPECT_THAT(flags, ElementsAre(0, 0, 0, 0, 1));
    EXPECT_THAT(others, ElementsAre(1, 1, 1, 1, 1));
    unsigned char more[6] = {1, 1, 1, 1, 1, 1};  // there are no files of the last
    ASSERT_TRUE(ORBIS_detectDefectsInTrain("pass_100.bin", &settings, more, nullptr, 6));
    EXPECT_THAT(more, testing::Each(0));
}

TEST_F(WheelDefects, UseTheSecondFlagsFromScannerElevenOnAndTheCapitalLevels) {
    for (int i = 1; i <= 11; ++i)
        set(qPrintable(QString("SENSOR%1/SN").arg(i)), 100 + i);
    write("pass_111/00_01.bin", spiked(1, 60));
    write("pass_111/00_02.bin", spiked(1, 60));
    unsigned char flags[1] = {1};
    ASSERT_TRUE(ORBIS_detectDefectsInTrain("pass_111.bin", &settings, nullptr, flags, 1));
    EXPECT_EQ(flags[0], 0);
    flags[0] = 1;
    set("SENSOR11/lowLevel_b", 130);  // cuts all but the spikes, which then lie on their own curve
    ASSERT_TRUE(ORBIS_detectDefectsInTrain("pass_111.bin", &settings, nullptr, flags, 1));
    EXPECT_EQ(flags[0], 1);
    EXPECT_FALSE(ORBIS_detectDefectsInTrain("pass_111.bin", &settings, flags, nullptr, 1));
    EXPECT_FALSE(ORBIS_detectDefectsInTrain("pass_109.bin", &settings, flags, flags, 1));  // no directory
    write("pass_110/00_01.bin", spiked(1, 60));
    write("pass_110/00_02.bin", spiked(1, 60));
    EXPECT_TRUE(ORBIS_detectDefectsInTrain("pass_110.bin", &settings, flags, nullptr, 1));
    EXPECT_EQ(flags[0], 0);
    EXPECT_FALSE(ORBIS_detectDefectsInTrain("pass_5.bin", &settings, flags, flags, 1));
    EXPECT_FALSE(ORBIS_detectDefectsInTrain("pass_111.bin", nullptr, flags, flags, 1));
    EXPECT_TRUE(ORBIS_detectDefectsInTrain("pass_111.bin", &settings, nullptr, nullptr, -3) &&
                ORBIS_detectDefectsInTrain("pass_111.bin", &settings, nullptr, nullptr, 0));
}
