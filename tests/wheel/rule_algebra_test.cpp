#include <kvmath/wheel/rule_algebra.h>

#include <kvmath/numerics/small_matrix.h>

#include <tests/support/random_data.h>

#include <gmock/gmock.h>

#include <cmath>

using namespace KvMath;
using testing::ElementsAre;
using testing::Pointwise;

namespace {

struct Rule {
    double values[9];
};

Rule drawRule(TestSupport::Draws& draws) {
    Rule rule;
    for (double& value : rule.values)
        value = draws.real(-2, 2);
    return rule;
}

auto isNear(const double* expected, int count) {
    return Pointwise(testing::DoubleNear(1e-8), std::vector<double>(expected, expected + count));
}

std::vector<double> listOf(const double* values, int count) { return {values, values + count}; }

}  // namespace

TEST(Rules, FromNinePointsSolveEachCoordinateByItsOwnThree) {
    TestSupport::Draws draws(5);
    KvVector2D<double> pts[9];
    double values[9];
    const _KvORBIS_SensorCoordROT_ truth = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    for (int i = 0; i < 9; ++i) {
        pts[i] = {draws.real(-50, 50), draws.real(-50, 50)};
        const double plane[2] = {pts[i].x, pts[i].y};
        double place[3];
        plane2space(&truth.originX, plane, place);
        values[i] = place[i / 3];
    }
    _KvORBIS_SensorCoordROT_ rule;
    calcRule(pts, values, rule);
    EXPECT_THAT(listOf(&rule.originX, 9), isNear(&truth.originX, 9));

    const double p1[] = {1, 2}, p2[] = {4, -1}, p3[] = {0, 7};
    double linear[3];
    determineLinear2dRule(p1, p2, p3, 10, -3, 0.5, linear);
    EXPECT_NEAR(applyLinear2dRule(p1, linear), 10, 1e-12);
    EXPECT_NEAR(applyLinear2dRule(p2, linear), -3, 1e-12);
    EXPECT_NEAR(applyLinear2dRule(p3, linear), 0.5, 1e-12);
}

// A rule read as a frame, moved, and moved back; what one function carries away the other brings back.
TEST(Rules, MoveBetweenSpacesAndBack) {
    TestSupport::Draws draws(6);
    for (int round = 0; round < 200; ++round) {
        const Rule a = drawRule(draws), b = drawRule(draws);
        Rule moved = b;
        double M[9], O[3], t[3], frameB[9], originB[3], frameA[9], originA[3];
        rule2matrix(a.values, M, O);
        matrix2rule(M, O, moved.values);
        EXPECT_THAT(moved.values, ElementsAre(a.values[0], a.values[1], a.values[2], a.values[3], a.values[4],
                                              a.values[5], a.values[6], a.values[7], a.values[8]));
        double third[3];
        const double first[] = {M[0], M[3], M[6]}, second[] = {M[1], M[4], M[7]};
        crossProduct(first, second, third);
        EXPECT_THAT((std::vector<double>{M[2], M[5], M[8]}), isNear(third, 3));

        determineRuleConvertionA2B(a.values, b.values, M, t);
        rule2matrix(a.values, frameA, originA);
        if (std::fabs(mul13with31(first, first) * mul13with31(second, second)) < 0.05 || v3Norm(third) < 0.3)
            continue;  // a flat frame amplifies rounding
        adjustRule(moved.values, M, t);
        EXPECT_THAT(listOf(moved.values, 9), isNear(b.values, 9));
        changeRuleBToFirstSpace(a.values, b.values, moved.values);
        rule2matrix(b.values, frameB, originB);

        moved = b;
        changeRuleToNewAxis(moved.values, frameA, originA);
        adjustRule(moved.values, frameA, originA);
        EXPECT_THAT(listOf(moved.values, 9), isNear(b.values, 9));

        // A point in B's frame, seen from A's, lies at the same place.
        determineSpaceConvertionA2B(originB, frameB, originA, frameA, M, t);
        const double p[3] = {draws.real(-9, 9), draws.real(-9, 9), draws.real(-9, 9)};
        double inA[3], placeA[3], placeB[3];
        pointA2B(M, t, p, inA);
        pointA2B(frameA, originA, inA, placeA);
        pointA2B(frameB, originB, p, placeB);
        EXPECT_THAT(listOf(placeA, 3), isNear(placeB, 3));
    }
}

TEST(Rules, OfSpaceBComeIntoSpaceA) {
    const double ruleA[9] = {1, 2, 3, 1, 0, 0, 1, 0, 0}, ruleB[9] = {0, 0, 0, 0, -1, 1, 0, 0, 0};
    double rule[9] = {5, 6, 7, 0, -1, 1, 0, 0, 0};
    changeRuleBToFirstSpace(ruleA, ruleB, rule);  // B is A turned by 90 degrees about Z and moved
    EXPECT_THAT(rule, ElementsAre(1 + 6, 2 - 5, 3 + 7, 1, 0, 0, 1, 0, 0));
}

TEST(Planes, MeetInALineNearestToTheOrigin) {
    const double plane1[4] = {0, 0, 2, -6}, plane2[4] = {3, 0, 0, 3};
    double dir[3], point[3];
    planes2line(plane1, plane2, dir, point);
    EXPECT_THAT(dir, ElementsAre(0, 1, 0));
    EXPECT_THAT(listOf(point, 3), Pointwise(testing::DoubleNear(1e-12), {-1.0, 0.0, 3.0}));
    planes2line(plane1, plane1, dir, point);
    EXPECT_FALSE(std::isfinite(dir[0]) || std::isfinite(point[0]));
}

TEST(TiltAngles, GiveANormalOnNumberedAxes) {
    double n[3];
    convertKorvanAngles2NormVector(0, 0, -3, 1, 2, n);
    EXPECT_THAT(n, ElementsAre(0, 0, -1));
    convertKorvanAngles2NormVector(45, -30, -2, 3, 1, n);
    const double tanA = std::tan(45 * 0.01745329238474369), tanB = -std::tan(30 * 0.01745329238474369);
    const double m = 1 / std::sqrt(tanA * tanA + 1 + tanB * tanB);
    EXPECT_THAT(listOf(n, 3), Pointwise(testing::DoubleNear(1e-14), {m * tanB, -m, m * tanA}));
    convertKorvanAngles2NormVector(45, -30, 2, 2, 1, n);  // the last takes what the second left of the first
    EXPECT_THAT((std::vector<double>{n[0], n[1]}),
                Pointwise(testing::DoubleNear(1e-14), {m * tanA * tanB, m * tanA}));
    for (const int bad : {0, 4, -4, std::numeric_limits<int>::min()}) {
        double kept[3] = {7, 8, 9};
        convertKorvanAngles2NormVector(1, 2, bad, 1, 2, kept);
        convertKorvanAngles2NormVector(1, 2, 1, bad, 2, kept);
        convertKorvanAngles2NormVector(1, 2, 1, 2, bad, kept);
        EXPECT_THAT(kept, ElementsAre(7, 8, 9)) << bad;
    }
}
