#include <kvmath/base/trace.h>
#include <kvmath/contours/hull.h>
#include <kvmath/contours/scan_lines.h>
#include <kvmath/profile/profile_zset.h>

#include <tests/support/random_data.h>
#include <tests/support/scratch_directory.h>

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <set>

namespace {

using namespace KvMath;

/// A plate of 20 x 12 mm, 5 mm high, turned by `degrees` on a ground at 0, seen every 0.2 mm along the line.
KvProfileZSet plate(double degrees, double step) {
    const double c = std::cos(degrees * M_PI / 180), s = std::sin(degrees * M_PI / 180);
    KvProfileZSet stack;
    for (int i = 0; i < 120; ++i) {
        KvProfileZ profile(float(i * step));
        for (double x = -10; x < 20; x += 0.2) {
            const double u = (i * step - 6) * c + x * s, v = x * c - (i * step - 6) * s;
            const bool isOn = u >= 0 && u <= 20 && v >= 0 && v <= 12;
            profile.points.append(KvPointXY(float(x), isOn ? 5.0F : 0.0F));
        }
        stack.append(profile);
    }
    return stack;
}

PointCloud cloudOf(const KvProfileZSet& stack, double step) {
    PointCloud cloud;
    for (int i = stack.size() - 1; i >= 0; --i) {  // against the scan, and against the line
        cloud.profiles().append(Profile3D());
        for (int j = static_cast<int>(stack.at(i).points.size()) - 1; j >= 0; --j)
            cloud.profiles().last().append(
                new Vector3D(stack.at(i).points.at(j).x, float(i * step + 3), stack.at(i).points.at(j).y));
    }
    return cloud;
}

TEST(ScanLines, AreTheFourSidesOfAPlate) {
    for (const bool simplification : {false, true})
        for (const double degrees : {0.0, 10.0, 25.0}) {
            KvProfileZSet stack = plate(degrees, 0.25), mapped;
            KvProfile entered, hull;
            const auto lines = convertProfilesZ2Lines(cloudOf(stack, 0.25), 0.25, 2, 1, 0.4, 1, 0.1, 0, 2.5,
                                                      3, simplification, 3, &mapped, &entered, &hull);
            for (const auto& sides :
                 {lines, convertProfilesZ2Lines(stack, 0.25, 2, 1, 0.4, 1, 0.1, 0, 2.5, 3, simplification)}) {
                std::multiset<double> lengths;
                for (const LinePP& line : sides)
                    lengths.insert(std::hypot(line.p2.x - line.p1.x, line.p2.y - line.p1.y));
                using testing::DoubleNear;
                EXPECT_THAT(lengths, testing::ElementsAre(DoubleNear(12, 0.7), DoubleNear(12, 0.7),
                                                          DoubleNear(20, 0.7), DoubleNear(20, 0.7)));
            }
            for (int i = 0; i < lines.size(); ++i)  // corners moved to the intersections
                EXPECT_EQ(std::memcmp(&lines.at(i).p2, &lines.at((i + 1) % 4).p1, sizeof lines.at(i).p2), 0);
            KvPointCloud<KvPointXYZ> all;
            EXPECT_EQ(entered.points.size() == stack.toPointCloud(all), !simplification);
            EXPECT_EQ(mapped.at(60).points.size(), stack.at(60).points.size());
            EXPECT_EQ(hull.points.first().y, hull.points.last().y);
        }
}

// Outlines between two slanted sides, 12 mm long, the short one at the end left out: its corners stay cut
// where they are too far apart, where the sides are parallel, and where they would meet too far from either
// end.
TEST(ScanLines, MeetOnlyWithinReach) {
    const double cases[][7] = {// left and right side at the start and at the end, reach, lines, corners
                               {-7, -7, 7, 7, 2.5, 4, 4}, {-7, -2, 7, 2, 2.5, 3, 2},
                               {-5, -1, 5, 1, 2.5, 3, 2}, {-7, -7, 7, -5, 2.5, 3, 2},
                               {-7, 5, 7, 7, 2.5, 3, 2},  {-1, -1, 1, 1, HUGE_VAL, 2, 0}};
    for (const auto& [l0, l1, r0, r1, reach, count, corners] : cases) {
        KvProfileZSet stack;
        for (int i = 0; i <= 48; ++i) {
            stack.append(KvProfileZ(float(i) / 4));
            for (double x = l0 + (l1 - l0) * i / 48, last = r0 + (r1 - r0) * i / 48; x < last + 0.1; x += 0.2)
                stack[i].points.append(KvPointXY(float(std::min(x, last)), 5));
        }
        const auto lines =
            convertProfilesZ2Lines(cloudOf(stack, 0.25), 0.25, 2, 1, 0.3, 1, 0.1, 0, reach, 5, false, 0);
        int joined = 0;
        for (int i = 0; i < lines.size(); ++i) {
            const LinePP &a = lines.at(i), &b = lines.at((i + 1) % lines.size());
            EXPECT_TRUE(std::isfinite(a.p2.x) && std::isfinite(a.p2.y));
            joined += a.p2.x == b.p1.x && a.p2.y == b.p1.y;
        }
        EXPECT_TRUE(static_cast<int>(lines.size()) == count && joined == corners)
            << l1 << ' ' << r1 << ": " << lines.size() << ' ' << joined;
    }
}

TEST(ScanLines, MapsInSinglePrecisionWhatIsAboveTheLevel) {
    KvProfileZSet stack;
    for (int i = 0; i < 4; ++i) {
        stack.append(KvProfileZ(7));
        stack[i].points = {{1, 2}, {2, 2.1F}, {TestSupport::kNaN, 9}, {HUGE_VALF, 9}, {3, TestSupport::kNaN}};
    }
    stack[1].points.clear();
    convertProfilesZ2Lines(stack, 0.3, 2, 1, 1, 1, 1, 0, 1, 1, false);
    ASSERT_TRUE(stack.size() == 4 && stack.at(1).isEmpty() && stack.at(3).points.size() == 1);
    EXPECT_EQ(stack.at(3).points.at(0).x, 3.0F * 0.3F);  // not float(3 * 0.3)
    EXPECT_TRUE(stack.at(3).points.at(0).y == 2.0F && stack.at(3).z == 7.0F);
    // Three points on one coin, around which the walk does not close.
    for (KvProfileZ& profile : stack.profiles)
        profile.points.clear();
    stack[1].points = {{8, 9}, {3, 9}};
    stack[3].points = {{4, 9}};
    EXPECT_TRUE(convertProfilesZ2Lines(stack, 1, 2, 2.5, 0.1, 1, 1, 0, 9, 0.1, false).isEmpty());
}

PointCloud threeSteps() {  // steps 2, 0 and 1, then 4
    PointCloud cloud;
    for (const float y : {3.2F, 1.0F, 1.7F, 5.0F}) {
        cloud.profiles().append(Profile3D());
        for (const float x : {3.0F, 1.0F, 2.0F, 0.0F})
            cloud.profiles().last().append(new Vector3D(x, y, 5));
        cloud.profiles().last().append(new Vector3D(0, y, TestSupport::kNaN));
        cloud.profiles().last().append(nullptr);
    }
    return cloud;
}

TEST(ScanLines, PartsOfACloudAreNoNeighbours) {
    KvProfileZSet stack;
    KvProfile entered;
    convertProfilesZ2Lines(threeSteps(), 1, 0, 1.5, 0.2, 2, 0.5, 0, 3, 0.5, true, 0, &stack, &entered);
    ASSERT_EQ(stack.size(), 4);
    EXPECT_TRUE(stack.at(3).z == 5.0F && stack.at(3).points.at(1).x == 4.0F);
    EXPECT_EQ(stack.at(3).points.at(1).y, 1.0F);      // sorted along the line
    EXPECT_EQ(entered.points.size(), 4 + 2 + 4 + 4);  // step 2 is a last one, step 4 stands alone
    EXPECT_TRUE(
        convertProfilesZ2Lines(PointCloud(), 1, 0, 1.5, 0.2, 2, 0.5, 0, 3, 0.5, true, 0, &stack).isEmpty() &&
        stack.isEmpty());
}

TEST(ScanLines, TracesAreTheLibrarysTexts) {
    const TestSupport::ScratchDirectory scratch;
    PointCloud cloud = threeSteps();
    SetTrace(2);
    convertProfilesZ2Lines(cloud, 1, 0.25, 1e-7, 0.2, 2, 0.5, -3, 3, 1e10, false, 0);
    convertProfilesZ2Lines(cloud, 0, 0.25, 1.5, 0.2, 2, 0.5, 7, 3, 0.5, true, 0);
    KvProfileZSet stack, empty;
    stack.append(KvProfileZ());
    stack.append(KvProfileZ());
    stack[1].points = {{0, 1}, {1, 1}};
    convertProfilesZ2Lines(stack, 1, 0, 1, 1, 3, 0.5, 0, 1, 1, true);
    convertProfilesZ2Lines(empty, 1, 0, 1, 1, 3, 0.5, 0, 1, 1, false);
    getPseudoConvexHull({{0, 0}, {1, 0}}, 2.5, 7);
    getPseudoConvexHull({{0, 0}, {1, 0}, {0, 1}}, 2.5, 7);
    SetTrace(0);
    const QByteArray expected =
        R"(convertProfilesZ2Lines (pc(profiles.count=4), zStep=1, minimumLevel=0.25, Rmax=1e-07, maxWidth=0.2, Lmax=2, Lmin=0.5, maxPointsNumber=-3, maxDistanceBetweenPoints=3, minimumLineLength=1e+10, simplification=0)
convertProfilesZ2Lines istep=5; istepy=1
convertProfilesZ2Lines insert profile(z=3) to 0
convertProfilesZ2Lines insert profile(z=1) to 0
convertProfilesZ2Lines insert profile(z=2) to 1
convertProfilesZ2Lines insert profile(z=5) to 3
convertProfilesZ2Lines returning lines(count=0) <ok>
convertProfilesZ2Lines (pc(profiles.count=4), zStep=0, minimumLevel=0.25, Rmax=1.5, maxWidth=0.2, Lmax=2, Lmin=0.5, maxPointsNumber=7, maxDistanceBetweenPoints=3, minimumLineLength=0.5, simplification=1)
convertProfilesZ2Lines retuning lines(count=0) <profiles.isEmpty=true>
getEdgePoints(profSet(size=2), Lmax=3, Lmin=0.5)
getSegments(prof(size=0), Lmax=3, Lmin=0.5)
getSegments(prof(size=2), Lmax=3, Lmin=0.5)
getSegments returning res(count=2) <ok>
getEdgePoints: returning true <points.count=2>
getPseudoConvexHull(points(count=2), Rmax=2.5, maxPointsNumber=7)
getPseudoConvexHull returning points(count=2) <points.size <= 2>
getPseudoConvexHull(points(count=3), Rmax=2.5, maxPointsNumber=7)
getPseudoConvexHull retuning res(count=3) <ok>
)";
    EXPECT_EQ(scratch.read("kvmath_trace.txt"),
              "Contours::" + QByteArray(expected).replace("\n", "\r\nContours::").chopped(10));
}

TEST(ScanLines, TakesAnyArgument) {
    const double odd[] = {NAN, HUGE_VAL, -HUGE_VAL, 0, -1, 1e-320, 1e308, 1e-30, 2};
    TestSupport::Draws draws(92);
    for (int run = 0; run < 400; ++run) {
        double a[8];
        for (double& value : a)
            value = odd[draws.integer(0, 8)];
        PointCloud cloud = threeSteps();
        cloud.profiles()[0].append(new Vector3D(3e38F, draws.chance(0.5) ? -3e38F : 3e38F, 3e38F));
        KvProfileZSet stack = plate(0, 4);
        convertProfilesZ2Lines(stack, a[0], a[1], a[2], a[3], a[4], a[5], -1, a[6], a[7], run % 2 == 0);
        const QList<LinePP> lines = convertProfilesZ2Lines(cloud, a[0], a[1], a[2], a[3], a[4], a[5], -1,
                                                           a[6], a[7], run % 2 == 0, run % 3 - 1, &stack);
        EXPECT_TRUE(lines.isEmpty() || (std::isfinite(a[0]) && a[0] > 0));
        EXPECT_EQ(stack.isEmpty(), a[0] != 1e308);
    }
}

}  // namespace
