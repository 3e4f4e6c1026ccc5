#include <kvmath/profile/profile_sd.h>
#include <kvmath/profile/profile_z.h>

#include <tests/support/scratch_directory.h>

#include <gtest/gtest.h>

#include <cstring>

using namespace KvMath;

namespace {

const float kBuffer[] = {1, -2, 3, 4, 5, 6};

TEST(ProfileSD, AssignmentAppendsAndTakesTheTagsOnly) {
    KvProfileSD source(3, 4, kBuffer, 2), target(1, 2, kBuffer, 3);
    source.blockA.reserved[7] = 9;
    target.blockB.reserved[0] = 5;
    target = source;
    EXPECT_TRUE(target.points.size() == 5 && target.blockA.tag == 3 && target.blockB.tag == 4);
    EXPECT_TRUE(target.blockA.reserved[7] == 0 && target.blockB.reserved[0] == 5);
    target = KvProfile(kBuffer, 1);
    target = static_cast<const KvProfileSD&>(target);
    EXPECT_TRUE(target.points.size() == 12 && target.blockA.tag == 3);
    const KvProfileSD copy(source), converted(static_cast<const KvProfile&>(source));
    EXPECT_TRUE(copy.blockA.tag == 3 && copy.blockA.reserved[7] == 9 && converted.blockA.tag == 0);
}

TEST(ProfileSD, RecordsAreAppendedAndReadAmongOthersWithTheirReservedBytes) {
    const TestSupport::ScratchDirectory scratch;
    KvProfileSD profile(3, -4), read;
    profile = KvProfile(kBuffer, 2);
    std::memcpy(profile.blockA.reserved, "reserved", 8);
    for (const bool append : {false, false, true})
        EXPECT_TRUE(profile.writeToFile("records", append));
    QFile file("records");
    ASSERT_TRUE(file.open(QIODevice::ReadWrite) && file.size() == 2 * 43 && file.seek(file.size()));
    ASSERT_TRUE(KvProfileZ(1, kBuffer, 3).writeToFile(file) && file.seek(43));
    EXPECT_EQ(KvProfileZ().readFromFile(file), -1) << "left to its own kind";
    EXPECT_EQ(read.readFromFile(file), 2);
    EXPECT_EQ(std::memcmp(&read.blockA, &profile.blockA, 24), 0);
    EXPECT_TRUE(read.readFromFile("records") == 2 && read.blockB.tag == -4);
    EXPECT_TRUE(read.readFromFile("none") == -1 && !profile.writeToFile("none/records", true));
    EXPECT_TRUE(read.readFromFile(file, true) == -1 && KvProfileZ().readFromFile(file) == 3);
}

}  // namespace
