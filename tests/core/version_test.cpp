#include <kvmath/core/version.h>

#include <gtest/gtest.h>

TEST(Version, NamesTheBuildThroughTheSamePointersOnEveryCall) {
    char *name = nullptr, *version = nullptr, *nameAgain = nullptr, *versionAgain = nullptr;
    KvMath::GetVersion(name, version);
    EXPECT_STREQ(name, "KvMath library");
    EXPECT_STREQ(version, "2.1.0.20181219");
    KvMath::GetVersion(nameAgain, versionAgain);
    EXPECT_TRUE(nameAgain == name && versionAgain == version);
}
