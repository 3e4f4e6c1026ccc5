#include <kvmath/profile.h>  // KvPlane too

#include <kvmath/core/matrix_cloud.h>
#include <tests/support/literal_scans.h>
#include <tests/support/random_data.h>
#include <tests/support/scratch_directory.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>

using namespace KvMath;
using TestSupport::kNaN;
using Cloud = KvPointCloud<KvPointXYZ>;

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();

KvProfileZ line(float z, const QList<KvPointXY>& points) {
    KvProfileZ profile(z);
    profile.points = points;
    return profile;
}

std::string text(const KvProfileZSet& set) {
    std::ostringstream result;
    for (const KvProfileZ& profile : set.profiles) {
        result << "z" << profile.z;
        for (const KvPointXY& p : profile.points)
            result << " " << p.x << "," << p.y;
    }
    return result.str();
}

TEST(ProfileZSet, SlicesAsTheNestedLoopWithTiesUnsetPlacesAndStaleRanges) {
    TestSupport::Draws draws(5);
    const float origins[] = {0, 0.1F, -3, 1e6F, 3e7F};  // from 1e6 on planes fall together
    for (int round = 0; round < 3000; ++round) {
        const float step = round % 3 == 0 ? 0.5F : static_cast<float>(draws.real(0.01, 1.5));
        const float origin = origins[draws.integer(0, 4)];
        Cloud cloud;
        cloud.append({0, 0, origin}, true);
        for (int i = draws.integer(1, 40); i > 0; --i) {
            const float z = draws.chance(0.5) ? draws.coordinate(4, 0.25F, 0.1)
                                              : static_cast<float>(draws.integer(-9, 9)) * step / 2;
            cloud.append({static_cast<float>(i), draws.coordinate(2, 1, 0.1), origin + z}, true);
        }
        if (round % 4 == 1)  // planes beyond, before or within the points
            cloud.minZ += draws.coordinate(2, 0.25F, 0);
        cloud.append({7, 7, draws.chance(0.5) ? kInf : -kInf}, false);
        KvProfileZSet set, literal;
        TestSupport::Literal::slice(cloud, step, literal);
        EXPECT_EQ(set.calcFromPointCloud(cloud, step), literal.size());
        ASSERT_EQ(text(set), text(literal)) << "round " << round;
    }
}

TEST(ProfileZSet, RefusesSlicesWithoutPlanesAndTooManyOfThem) {
    Cloud cloud;
    cloud.points = {{1, 2, 0}, {3, 4, 1}};
    KvProfileZSet set;
    EXPECT_EQ(set.calcFromPointCloud(cloud, 1.0F / ((1 << 20) - 1)), 1 << 20) << "computes the range";
    for (const float step : {0.0F, -1.0F, kNaN, kInf, 1e-45F, 1.0F / (1 << 20)})
        EXPECT_TRUE(set.calcFromPointCloud(cloud, step) == 0 && set.isEmpty() && std::isnan(set.zStep))
            << step;
    cloud.maxZ = 0;
    EXPECT_TRUE(set.calcFromPointCloud(cloud, 1.0F) == 1 && set.at(0).isEmpty() && set.zStep == 1.0F);
    cloud.maxZ = -1;
    EXPECT_TRUE(set.calcFromPointCloud(cloud, 0.5F) == 0 && set.zStep == 0.5F) << "exchanged ends";
    cloud.maxZ = kInf;
    EXPECT_TRUE(set.calcFromPointCloud(cloud, 0.5F) == 0 && std::isnan(set.zStep)) << "no end";
}

TEST(ProfileZSet, ReadsFilesUpToTheFirstRecordThatIsNotWhole) {
    const TestSupport::ScratchDirectory scratch;
    KvProfileZSet set, read;
    set.profiles = {line(1, {{1, 2}, {kNaN, 4}}), line(kNaN, {}), line(3, {{5, 6}})};
    ASSERT_TRUE(set.writeToFile("stack") && !set.writeToFile("."));
    for (int cut = 45; cut >= 0; --cut) {
        ASSERT_TRUE(QFile::resize("stack", cut));
        EXPECT_EQ(read.readFromFile("stack"), (cut >= 23) + (cut >= 30) + (cut >= 45)) << cut;
        EXPECT_EQ(text(set).find(text(read)), 0U);
    }
    KvPointCloud<KvPointXY> cloud;  // the form without places
    QFile file("clouds");
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && set.at(0).KvPointCloud<KvPointXY>::writeToFile(file));
    ASSERT_TRUE(cloud.writeToFile(file) && set.at(2).KvPointCloud<KvPointXY>::writeToFile(file));
    file.close();
    EXPECT_EQ(read.readFromFile("clouds", 10, 2), 2);
    EXPECT_EQ(text(read), "z10 1,2 nan,4z14 5,6") << "an empty record takes its place";
    EXPECT_TRUE(QFile::resize("clouds", 1) && read.readFromFile("clouds", 10, 2) == 0);
    EXPECT_TRUE(read.readFromFile("none", 1, 3) == -1 && read.isEmpty() && read.zStep == 3);
    EXPECT_TRUE(read.readFromFile("none") == -1 && std::isnan(read.zStep));
}

TEST(ProfileZSet, FilesAreTheRecordsWhateverTheirSize) {
    const TestSupport::ScratchDirectory scratch;
    KvProfileZSet set, read;
    QFile single("single");
    ASSERT_TRUE(single.open(QIODevice::ReadWrite));
    for (const int size : {20000, 0, 4097, 65535, 1, 32767, 30000, 5}) {
        KvProfileZ profile(static_cast<float>(size));
        for (int i = 0; i < size; ++i)
            profile.points.append({static_cast<float>(i), static_cast<float>(i % 7)});
        set.append(profile);
        ASSERT_TRUE(profile.writeToFile(single));
    }
    ASSERT_TRUE(set.writeToFile("stack") && single.seek(0));
    QFile stack("stack");
    ASSERT_TRUE(stack.open(QIODevice::ReadOnly) && stack.readAll() == single.readAll());
    EXPECT_TRUE(read.readFromFile("stack") == 8 && text(read) == text(set));
    ASSERT_TRUE(QFile::resize("stack", stack.size() - 1));
    EXPECT_EQ(read.readFromFile("stack"), 7);
}

TEST(ProfileZSet, TakesRangesOfPlacesWithTheirEndsEvenFromItself) {
    KvProfileZSet set, out;
    set.profiles = {line(0, {{0, 0}}), line(0, {{1, 0}}), line(0, {{2, 0}})};
    set.setZ(1, 0.5F);
    set.append(KvProfileZ());
    const float rows[][3] = {{1.2F, kNaN, 2}, {kNaN, 1, 1}, {kNaN, kNaN, 4}, {3, 1, 0}};
    for (const auto& [from, to, count] : rows)
        EXPECT_EQ(set.getRange(from, to, out), static_cast<int>(count));
    EXPECT_EQ(set.getRange(1.5F, 2.0F, set), 2);
    EXPECT_TRUE(text(set) == "z1.5 1,0z2 2,0" && set.zStep == 0.5F && set.calcRange() && set.minZ == 1.5F);
    Cloud cloud;
    cloud.zIndexBuilt = true;
    EXPECT_TRUE(set.toPointCloud(cloud, 1, 0) == 0 && !cloud.zIndexBuilt);
    EXPECT_TRUE(set.toPointCloud(cloud, 1, 0) == 0 && set.toPointCloud(cloud, -5, 1 << 30) == 2);
    EXPECT_TRUE(set.toPointCloud(cloud) == 2 && cloud.points.last().z == 2);
    set.profiles = {line(3, {{kNaN, 4}, {1, 2}}), line(kNaN, {{5, kNaN}})};
    EXPECT_TRUE(set.calcRange() && set.minX == 1 && set.maxX == 5 && set.minY == 2 && set.maxZ == 3);
    set.clear();
    EXPECT_TRUE(!set.calcRange() && std::isnan(set.minZ + set.zStep) && set.calcAverageY() == 0);
}

TEST(ProfileZSet, LosesWhatLiesBeyondItsPlane) {
    for (const bool up : {true, false}) {
        KvProfileZSet set;
        for (const float z : {0.0F, 1.0F, 2.0F, 3.0F, 4.0F})
            set.append(line(z, {{0, z / 2}, {1, z / 2 + 2}, {2, z / 2 + (z == 2 ? 9.0F : 4.0F)}, {1, kNaN}}));
        double a = 0, b = 0, c = 0;
        ASSERT_TRUE(KvPlane::removePointsRelativelyPlane(set, up, -2.0, a, b, c));
        EXPECT_LT(std::fabs(a - 2.5) + std::fabs(b - 0.5) + std::fabs(c + 1.0 / 6), 1e-6);
        EXPECT_EQ(set.at(2).points.size(), up ? 3 : 4);
        ASSERT_TRUE(KvPlane::removePointsRelativelyPlane(set, up, 50.0, a, b, c));
        EXPECT_EQ(text(set), "z0 1,nanz1 1,nanz2 1,nanz3 1,nanz4 1,nan");
        EXPECT_FALSE(KvPlane::removePointsRelativelyPlane(set, up, 0.0, a, b, c));
    }
}

TEST(ProfileZSet, LosesDriftButNotLevelAndWhatLiesOutsideTheValleys) {
    KvProfileZSet set;
    for (const float i : {0.0F, 1.0F, 2.0F, 5.0F})
        set.append(line(1e5F + i, {{0, 5 + 0.25F * i}, {1, kNaN}}));
    EXPECT_TRUE(set.removePCfromZ());
    EXPECT_EQ(text(set), "z100000 0,5.5 1,nanz100001 0,5.5 1,nanz100002 0,5.5 1,nanz100005 0,5.5 1,nan");
    set.append(line(kNaN, {{0, 7}}));  // has no part in the drift
    EXPECT_TRUE(set.removePCfromZ() && set.at(4).points.first().y == 7);
    set.setZ(0.1F, 0);  // equal, though their mean is rounded
    EXPECT_FALSE(set.removePCfromZ());
    set.profiles = {
        line(0, {{0, 3}, {1, 1}, {2, 1}, {3, 8}, {4, 1}, {5, 8}, {6, kNaN}, {7, 2}, {8, 2}, {9, 4}}),
        line(1, {{0, 1}, {1, 2}}),
        line(2, {{0, kNaN}}),
        line(3, {}),
        line(4, {{0, kNaN}, {1, 2}, {2, 9}, {3, kNaN}, {4, 3}}),
        line(5, {{0, 1}, {1, 9}, {2, 2}, {3, 4}})};
    set.clearEdgeEffect();
    EXPECT_EQ(text(set), "z0 4,1 5,8 6,nan 7,2 8,2z1 0,1 1,2z2 0,nanz3z4 1,2 2,9 3,nan 4,3z5 0,1 1,9 2,2");
}

TEST(ProfileZSet, BecomesAGridOfMeans) {
    TestSupport::Draws draws(3);
    KvProfileZSet set;
    double sums[85] = {}, counts[85] = {1};
    set.profiles = {line(-1, {{-2, 0}}), line(kInf, {{0, 0}})};
    for (int i = 0; i < 200; ++i) {
        const float x = draws.coordinate(2, 0.125F, 0.1), y = draws.coordinate(3, 1, 0.1);
        const float z = draws.coordinate(1, 0.125F, 0.1);
        set.append(line(z, {{x, y}}));
        if (std::isnan(x + y + z))
            continue;
        const int cell = static_cast<int>(z * 2 + 2) * 17 + static_cast<int>(x * 4 + 8);
        sums[cell] += static_cast<double>(y);
        counts[cell] += 1;
    }
    KvMatrixCloud matrix;
    EXPECT_EQ(set.toMatrixCloud(matrix, 0.25F, 0.5F), 85 - std::count(counts, counts + 85, 0.0));
    ASSERT_TRUE(matrix.rows == 5 && matrix.columns == 17 && matrix.originX == -2 && matrix.stepZ == 0.5F);
    for (int i = 0; i < 85; ++i)
        EXPECT_THAT(matrix.heights[i], testing::NanSensitiveFloatEq(static_cast<float>(sums[i] / counts[i])));
    for (const float step : {0.0F, -1.0F, kNaN, kInf, 1e-45F})
        EXPECT_TRUE(set.toMatrixCloud(matrix, 1, step) + set.toMatrixCloud(matrix, step, 1) == 0) << step;
}

}  // namespace
