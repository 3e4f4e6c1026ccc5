#include <kvmath/wheel/bogie_frame.h>

#include <kvmath/numerics/small_matrix.h>

#include <tests/support/random_data.h>

#include <gmock/gmock.h>

#include <cmath>

using namespace KvMath;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::Pointwise;

namespace {

std::vector<double> listOf(const double* values, int count) { return {values, values + count}; }

PlaneInfo planeOf(double a, double b, double c, double d) {
    PlaneInfo info;
    const double values[4] = {a, b, c, d};
    std::copy_n(values, 4, info.plane);
    info.valid = true;
    return info;
}

/// The plane a x + b y + c z + d = 0 after p -> M p + t.
PlaneInfo carried(const PlaneInfo& plane, const double* M, const double* t) {
    double n[3];
    vectorA2B(M, plane.plane, n);
    return planeOf(n[0], n[1], n[2], plane.plane[3] - mul13with31(n, t));
}

}  // namespace

TEST(RotationMatrix, TurnsIntoAxisAndAngleAndBack) {
    TestSupport::Draws draws(8);
    for (const double angle : {1e-9, 1e-3, 1.0, 1.5707963267948966, 3.0, 3.1415926, 3.141592653589793}) {
        for (int round = 0; round < 30; ++round) {
            const double axis[3] = {draws.normal(1), round % 3 == 0 ? 0.0 : draws.normal(1), draws.normal(3)};
            double M[9], found[3], foundAngle, back[9];
            getRotationMatrixByAxisAndAngle(axis, angle, M);
            getAxisAndAngleByRotationMatrix(M, found, foundAngle);
            EXPECT_NEAR(foundAngle, angle, 1e-14 + 1e-9 * angle);
            EXPECT_NEAR(v3Norm(found), 1, 1e-12);
            getRotationMatrixByAxisAndAngle(found, foundAngle, back);
            EXPECT_THAT(listOf(back, 9), Pointwise(DoubleNear(1e-9), listOf(M, 9)));
        }
    }
    const double zero[3] = {};
    double M[9], axis[3], angle;
    getRotationMatrixByAxisAndAngle(zero, 2, M);
    getAxisAndAngleByRotationMatrix(M, axis, angle);
    EXPECT_THAT(axis, ElementsAre(0, 0, 1));
    EXPECT_EQ(angle, 0);
}

TEST(Adjustment, FindsTheMotionFromPointsAndFromPlanes) {
    TestSupport::Draws draws(9);
    for (int round = 0; round < 50; ++round) {
        const bool flat = round % 2 == 0;  // points of one plane must not end in a reflection
        const double axis[3] = {draws.normal(1), draws.normal(1), draws.normal(1)}, t[3] = {100, -7, 0.5};
        double M[9], found[9], shift[3], measured[30], reference[30];
        getRotationMatrixByAxisAndAngle(axis, draws.real(-3, 3), M);
        PlaneInfo before[10], after[10];
        for (int i = 0; i < 10; ++i) {
            double* p = measured + 3 * i;
            for (int k = 0; k < 3; ++k)
                p[k] = k == 2 && flat ? 4 : draws.real(-200, 200);
            pointA2B(M, t, p, reference + 3 * i);
            before[i] = planeOf(draws.normal(2), draws.normal(2), draws.normal(2), draws.real(-9, 9));
            after[i] = carried(before[i], M, t);
        }
        before[3].valid = false;
        before[3].plane[0] += 1;
        ASSERT_TRUE(getAdjustmentData(measured, reference, 10, found, shift));
        EXPECT_THAT(listOf(found, 9), Pointwise(DoubleNear(1e-11), listOf(M, 9)));
        EXPECT_THAT(listOf(shift, 3), Pointwise(DoubleNear(1e-9), listOf(t, 3)));
        ASSERT_TRUE(getAdjustmentDataPlanesMethod(before, after, 10, found, shift));
        EXPECT_THAT(listOf(found, 9), Pointwise(DoubleNear(1e-9), listOf(M, 9)));
        EXPECT_THAT(listOf(shift, 3), Pointwise(DoubleNear(1e-7), listOf(t, 3)));
    }
}

TEST(Adjustment, RefusesWhatDoesNotFixTheMotion) {
    double line[9] = {0, 0, 0, 1, 2, 3, 2, 4, 6}, M[9] = {42}, t[3] = {43};
    EXPECT_FALSE(getAdjustmentData(line, line, 3, M, t));
    EXPECT_FALSE(getAdjustmentData(line, line, 2, M, t));
    line[8] = TestSupport::kNaN;
    EXPECT_FALSE(getAdjustmentData(line, line, 3, M, t));
    const PlaneInfo planes[3] = {planeOf(1, 0, 0, 1), planeOf(0, 1, 0, 2), planeOf(1, 1, 0, 3)};
    EXPECT_FALSE(getAdjustmentDataPlanesMethod(planes, planes, 3, M, t));
    EXPECT_FALSE(getAdjustmentDataPlanesMethod(planes, planes, -1, M, t));
    const PlaneInfo cube[3] = {planes[0], planes[1], planeOf(0, 0, 1, 3)};
    double corners[9] = {0, 0, 0, 1, 2, 3, 2, 4, 7};
    ASSERT_TRUE(getAdjustmentData(corners, corners, 3, M + 0, t) &&
                getAdjustmentDataPlanesMethod(cube, cube, 3, M, t));
    const double vast[9] = {0, 0, 0, 1e100, 2e100, 3e100, 2e100, 4e100, 7e100};
    M[0] = 42, t[0] = 43;
    EXPECT_FALSE(
        getAdjustmentData(nullptr, corners, 3, M, t) || getAdjustmentData(corners, nullptr, 3, M, t) ||
        getAdjustmentData(corners, corners, 3, nullptr, t) ||
        getAdjustmentData(corners, corners, 3, M, nullptr) || getAdjustmentData(vast, vast, 3, M, t));
    EXPECT_FALSE(getAdjustmentDataPlanesMethod(nullptr, cube, 3, M, t) ||
                 getAdjustmentDataPlanesMethod(cube, nullptr, 3, M, t) ||
                 getAdjustmentDataPlanesMethod(cube, cube, 3, nullptr, t) ||
                 getAdjustmentDataPlanesMethod(cube, cube, 3, M, nullptr));
    for (PlaneInfo spoilt :
         {PlaneInfo(), planeOf(0, 0, 0, 3), planeOf(0, 0, 1, NAN)}) {  // each leaves two planes
        const PlaneInfo some[3] = {planes[0], planes[1], spoilt};
        EXPECT_FALSE(getAdjustmentDataPlanesMethod(cube, some, 3, M, t) ||
                     getAdjustmentDataPlanesMethod(some, cube, 3, M, t));
    }
    const PlaneInfo same[3] = {cube[0], cube[0], cube[0]};
    EXPECT_FALSE(getAdjustmentDataPlanesMethod(same, cube, 3, M, t)) << "one measured direction";
    EXPECT_TRUE(M[0] == 42 && t[0] == 43);
    // A mirrored octahedron: many rotations are as good, and one of them is found.
    double pointed[18] = {1, 0, 0, -1, 0, 0, 0, 1, 0, 0, -1, 0, 0, 0, 1, 0, 0, -1}, mirrored[18], turn[9];
    std::copy_n(pointed, 18, mirrored);
    std::swap(mirrored[14], mirrored[17]);
    ASSERT_TRUE(getAdjustmentData(pointed, mirrored, 6, M, t));
    std::copy_n(M, 9, turn);
    transposeMatrix33(turn);
    mul33with33(M, turn, turn);
    EXPECT_THAT(turn, Pointwise(DoubleNear(1e-9), {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0}));
}

TEST(PlanesAndLines, MeetOrAreRefused) {
    const double x[4] = {2, 0, 0, -4}, y[4] = {0, 1, 0, 3}, z[4] = {0, 1, 1, 0};
    double point[3];
    ASSERT_TRUE(intersectPlanes(x, y, z, point));
    EXPECT_THAT(point, ElementsAre(2, -3, 3));
    EXPECT_FALSE(intersectPlanes(x, y, y, point));
    const double beyond[4] = {0, 0, 1, 1e308}, also[4] = {0, 1, 1, -1e308};
    EXPECT_FALSE(intersectPlanes(x, beyond, also, point) && !std::isfinite(point[1]));
    const double six[18] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 0, 0, 6, 0, 0, 0, 3, 0};
    middlePointOf6Points(six, point);
    EXPECT_THAT(point, ElementsAre(3, 3, 3));

    const double p1[] = {0, 0, 0}, dir1[] = {5, 0, 0}, p2[] = {3, 7, 2}, dir2[] = {0, 2, 0};
    ASSERT_TRUE(lines3dIntersection(p1, dir1, p2, dir2, point));
    EXPECT_THAT(point, ElementsAre(3, 0, 1));
    const double p3[] = {1, 2, 3}, p4[] = {3, 7, 5};
    ASSERT_TRUE(lines3dIntersection(p3, dir1, p4, dir2, point));
    EXPECT_THAT(point, ElementsAre(3, 2, 4));
    EXPECT_FALSE(lines3dIntersection(p1, dir1, p2, dir1, point));
    EXPECT_FALSE(lines3dIntersection(p1, p1, p2, dir2, point));
    const double far[] = {1.7e308, 0, 0}, dir3[] = {0, 0, 1};
    EXPECT_FALSE(lines3dIntersection(far, dir2, far, dir3, point)) << "their middle is no number";
    EXPECT_THAT(point, ElementsAre(3, 2, 4));
}

TEST(TiltedPlanes, MeetTheirAxisAtTheDistance) {
    PlaneInfo planes[2];
    planes[0].angleA = 10;
    planes[0].angleB = -20;
    planes[0].distance = 250;
    planes[0].axis1 = -3;
    planes[1].axis2 = 0;
    planes[1].valid = true;
    convertKorvanPlanes2planes(planes, 2);
    EXPECT_TRUE(planes[0].valid && !planes[1].valid && planes[1].plane[3] == 0);
    EXPECT_NEAR(planes[0].plane[2] * 250 + planes[0].plane[3], 0, 1e-9);
    planes[0].distance = NAN;
    convertKorvanPlanes2planes(planes, 2);
    EXPECT_TRUE(!planes[0].valid && planes[0].plane[2] == 0);
    convertKorvanPlanes2planes(nullptr, 2);
}

// A body of three pairs of faces about (x, 10, 20) per row; the frame has its first axis along the rows.
TEST(BogieFrame, ComesFromMiddlePlanesAndUpperNormals) {
    PlaneInfo planes[4][7];
    for (int row = 0; row < 4; ++row) {
        const double x = 100 * row;
        const PlaneInfo body[7] = {planeOf(1, 0, 0, -x + 5),
                                   planeOf(-1, 0, 0, x + 5),
                                   planeOf(0, 3, 0, -24),
                                   planeOf(0, -1, 0, 12),
                                   planeOf(0, 0, 1, -15),
                                   planeOf(0, 0, 1, -25),
                                   planeOf(0, 0, row > 0 ? -2 : 2, 1)};
        std::copy_n(body, 7, planes[row]);
    }
    planes[3][2] = planes[3][3] = planeOf(1, 0, 0, 7);  // no common point: left out
    double M[9], origin[3];
    ASSERT_TRUE(getBogieReferenceFrame(planes, 4, M, origin));
    EXPECT_THAT(listOf(origin, 3), Pointwise(DoubleNear(1e-9), {100.0, 10.0, 20.0}));
    EXPECT_THAT(listOf(M, 9), Pointwise(DoubleNear(1e-12), {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0}));
    planes[1][6] = planeOf(0, 0, 0, 1);  // no normal: left out
    EXPECT_TRUE(getBogieReferenceFrame(planes, 4, M, origin));
    EXPECT_THAT(listOf(origin, 3), Pointwise(DoubleNear(1e-9), {100.0, 10.0, 20.0}));
    planes[1][6] = planeOf(0, 0, -2, 1);
    EXPECT_FALSE(getBogieReferenceFrame(planes, 1, M, origin));
    EXPECT_FALSE(getBogieReferenceFrame(planes + 3, 1, M, origin));
    EXPECT_FALSE(getBogieReferenceFrame(nullptr, 4, M, origin) ||
                 getBogieReferenceFrame(planes, 4, nullptr, origin) ||
                 getBogieReferenceFrame(planes, 4, M, nullptr));
    PlaneInfo twice[2][7];
    for (auto& row : twice)
        std::copy_n(planes[1], 7, row);
    EXPECT_FALSE(getBogieReferenceFrame(twice, 2, M, origin)) << "no way along the rows";
    planes[2][4].valid = false;
    planes[2][4].axis2 = 0;  // and no angles either: the row is left out
    EXPECT_TRUE(getBogieReferenceFrame(planes, 4, M, origin) && std::fabs(origin[0] - 50) < 1e-9);
    planes[2][4] = planes[1][4];
    for (int row = 0; row < 3; ++row)
        for (const int side : {0, 1})
            planes[row][side].plane[3] = 8e307 * (1 - row) * (1 - 2 * side);
    EXPECT_FALSE(getBogieReferenceFrame(planes, 3, M, origin)) << "farther apart than a double tells";
}
