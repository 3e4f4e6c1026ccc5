#include <kvmath/base/trace.h>
#include <kvmath/core/plane.h>

#include <tests/support/prelude.h>
#include <tests/support/scratch_directory.h>

static void usePlane() {
    KvPointCloud<KvPointXYZ> cloud;
    double a = 0.0, b = 0.0, c = 0.0;
    KvPlane::calcFromPointCloud(QList<const Vector3D*>{nullptr, nullptr}, a, b, c);
    cloud.points = {{0, 0, 0.1F}, {1, 0, 0.35F}, {0, 1, 2.125F}};
    KvPlane::calcFromPointCloud(cloud, a, b, c);
    cloud.points[2].z = TestSupport::kNaN;
    KvPlane::calcFromPointCloud(cloud, a, b, c);
    PointCloud scan;
    scan.profiles().append(Profile3D());
    scan.profiles()[0].append(new Vector3D(1, 2, 6));
    KvPlane::removePointsRelativelyPlane(scan, true, -0.5, 1e-7, 0, 5);
    KvPlane::getPointsFromArea(scan, nullptr, scan);
}

TEST(Trace, AppendsMessagesUpToItsLevelByteForByte) {
    const TestSupport::ScratchDirectory scratch;
    for (const int level : {0, -1, -2147483647 - 1}) {
        SetTrace(level);
        usePlane();
        EXPECT_EQ(scratch.read("kvmath_trace.txt"), "none");
    }
    SetTrace(1);
    usePlane();
    ASSERT_TRUE(QDir().mkpath("other/kvmath_trace.txt") && QDir::setCurrent("other"));
    usePlane();  // dropped: a directory is in the way
    ASSERT_TRUE(QDir().rmdir("kvmath_trace.txt"));
    PointCloud none;
    KvPlane::getPointsFromArea(none, nullptr, none);
    KvPlane::removePointsRelativelyPlane(none, false, 1, 0, 0, 5);
    EXPECT_EQ(
        scratch.read("kvmath_trace.txt"),
        "KvPlane::getPointsFromArea\r\nKvPlane::getPointsFromArea: returning 0\r\n"
        "KvPlane::removePointsRelativelyPlane(cloud(points.count=0), removeUpLevel=0, shiftFromPlane=1, "
        "a=0, b=0, c=5)\r\nKvPlane::removePointsRelativelyPlane: returning 0\r\n");
    SetTrace(0);
    EXPECT_EQ(
        scratch.read("../kvmath_trace.txt"),
        "KvPlane::calcFromPointCloud(pointCloud(count=2))\r\n"
        "KvPlane::calcFromPointCloud returning false <pointCloud.size < 3>\r\n"
        "KvPlane::calcFromPointCloud(pointCloud(count=3))\r\n"
        "KvPlane::calcFromPointCloud returning true <a=0.2499999925494194, b=2.024999998509884, "
        "c=0.10000000149011612>\r\n"
        "KvPlane::calcFromPointCloud(pointCloud(count=3))\r\n"
        "KvPlane::calcFromPointCloud returning false <D=0>\r\n"
        "KvPlane::removePointsRelativelyPlane(cloud(points.count=1), removeUpLevel=1, shiftFromPlane=-0.5, "
        "a=1e-07, b=0, c=5)\r\n"
        "KvPlane::removePointsRelativelyPlane: returning 1\r\n"
        "KvPlane::getPointsFromArea\r\n"
        "KvPlane::getPointsFromArea: returning 0\r\n");
}
