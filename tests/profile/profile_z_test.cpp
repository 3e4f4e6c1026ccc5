#include <kvmath/profile/profile_sd.h>
#include <kvmath/profile/profile_z.h>

#include <tests/support/scratch_directory.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace KvMath;

namespace {

const float kBuffer[] = {1, -2, 3, 4, 5, 6};

/// `three` holds the buffer; the golden head ends before the points.
template <class Profile>
void checkRecord(const Profile& three, const QByteArray& head) {
    const TestSupport::ScratchDirectory scratch;
    QFile file("record");
    ASSERT_TRUE(file.open(QIODevice::ReadWrite) && three.writeToFile(file) && file.flush());
    const QByteArray whole = scratch.read("record");
    ASSERT_EQ(whole.toHex(), head + "0000803f000000c000004040000080400000a0400000c040");
    const int headSize = static_cast<int>(head.size()) / 2;
    for (int cut = 0; cut <= whole.size(); ++cut) {
        ASSERT_TRUE(file.seek(0) && file.write("xy" + whole) > 0 && file.resize(2 + cut));
        const int complete = cut < headSize ? 0 : (cut - headSize) / 8;
        for (const bool acceptPartial : {false, true}) {
            SCOPED_TRACE(cut);
            Profile read(three);
            file.seek(2);
            const bool taken = cut == whole.size() || (acceptPartial && cut >= headSize);
            EXPECT_EQ(read.readFromFile(file, acceptPartial), taken ? complete : -1);
            EXPECT_EQ(file.pos(), taken ? 2 + cut : 2);
            EXPECT_EQ(read.points.size(), complete);
            EXPECT_TRUE(complete == 0 || read.points.last().y == kBuffer[2 * complete - 1]);
        }
    }
    Profile longer(three);
    while (longer.points.size() < 65536 + 3)
        longer.points.append(KvPointXY(7, 7));
    ASSERT_TRUE(file.seek(0) && longer.writeToFile(file) && three.writeToFile(file) && file.seek(0));
    EXPECT_TRUE(longer.readFromFile(file) == 3 && longer.readFromFile(file) == 3 && file.atEnd());
    EXPECT_TRUE(longer.readFromFile("none") == -1 && longer.points.size() == 3);
}

TEST(ProfileRecords, HaveTheirBytesAndRefuseAnyCutInPlaceUnlessItIsAccepted) {
    checkRecord(KvProfileZ(0.5F, kBuffer, 3), "0503000000003f");
    checkRecord(KvProfileSD(-2, 7, kBuffer, 3), "850300feffffff0000000000000000070000000000000000000000");
}

TEST(ProfileZ, TakesItsPlaceFromItsOwnKindAloneAndLosesItByClear) {
    KvProfileZ profile;
    profile = KvProfileZ(2.5F, kBuffer, 3);
    profile = KvProfile(kBuffer, 1);
    EXPECT_TRUE(profile.z == 2.5F && profile.points.size() == 1);
    const TestSupport::ScratchDirectory scratch;
    KvProfileZ read;
    scratch.write("z", QByteArray(99, 'x'));
    EXPECT_TRUE(profile.writeToFile("z") && !profile.writeToFile("none/z") &&
                scratch.read("z").size() == 7 + 8);
    EXPECT_TRUE(read.readFromFile("z") == 1 && read.z == 2.5F && read.points.first().y == -2);
    profile.clear();
    EXPECT_TRUE(std::isnan(profile.z) && profile.isEmpty());
}

}  // namespace
