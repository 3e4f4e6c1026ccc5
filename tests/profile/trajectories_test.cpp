#include <kvmath/profile/trajectories.h>

#include <kvmath/profile/profile.h>
#include <tests/support/random_data.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

namespace {

using namespace KvMath;
using Point = KvVector2D<double>;
using Pieces = QList<CubicBezierCurve>;

Point combined(double p, const Point& a, double q, const Point& b, double r = 0, const Point& c = {0, 0}) {
    return {p * a.x + q * b.x + r * c.x, p * a.y + q * b.y + r * c.y};
}
// Coordinates up to 10: the diagonally dominant systems leave a few 1e-15.
void expectSame(const Point& a, const Point& b) {
    EXPECT_NEAR(a.x, b.x, 1e-13);
    EXPECT_NEAR(a.y, b.y, 1e-13);
}
Point bend(const Point& a, const Point& b, const Point& c) { return combined(1, a, -2, b, 1, c); }

QList<Point> randomPoints(int count, unsigned seed) {
    TestSupport::Draws draws(seed);
    QList<Point> points;
    for (int i = 0; i < count; ++i)
        points.append(i % 3 == 2 ? points.last() : Point(draws.real(-10, 10), draws.real(-10, 10)));
    return points;
}

void expectSmooth(const CubicBezierCurve& left, const CubicBezierCurve& right) {
    expectSame(left.p3, right.p0);
    expectSame(combined(1, left.p3, -1, left.p2), combined(1, right.p1, -1, right.p0));
    expectSame(bend(left.p1, left.p2, left.p3), bend(right.p0, right.p1, right.p2));
}

// Open, closed, and closed with the first point repeated.
TEST(InterpolateTrajectory, JoinsSmoothlyAndEndsStraight) {
    for (int count = 2; count < 12; ++count)
        for (const int form : {0, 1, 2}) {
            QList<Point> points = randomPoints(count, unsigned(count));
            if (form == 2)
                points.append(points.first());
            Pieces pieces;
            ASSERT_TRUE(form == 0 ? interpolateTrajectory(points, pieces)
                                  : interpolateTrajectoryPeriodic(points, pieces));
            const int size = form == 0 ? count - 1 : count;
            ASSERT_EQ(pieces.size(), size);
            for (int i = 0; i < size; ++i) {
                expectSame(pieces[i].p0, points[i]);
                expectSame(pieces[i].p3, points[(i + 1) % count]);
                if (i + 1 < size || form != 0)
                    expectSmooth(pieces[i], pieces[(i + 1) % size]);
            }
            if (form != 0)
                continue;
            expectSame(bend(pieces.first().p0, pieces.first().p1, pieces.first().p2), {0, 0});
            expectSame(bend(pieces.last().p1, pieces.last().p2, pieces.last().p3), {0, 0});
        }
}

TEST(InterpolateTrajectory, NeedsTwoPoints) {
    for (const QList<Point>& points : {QList<Point>{}, QList<Point>{{1, 1}}}) {
        Pieces pieces{CubicBezierCurve()};
        EXPECT_FALSE(interpolateTrajectory(points, pieces));
        EXPECT_FALSE(interpolateTrajectoryPeriodic(points + points, pieces));
        EXPECT_TRUE(pieces.isEmpty());
    }
    Pieces pieces;
    EXPECT_TRUE(interpolateTrajectoryPeriodic({{0, 0}, {1, 0}, {0, 1}}, pieces) && pieces.size() == 3);
}

TEST(CubicBezierSpline, SamplesJointsOnce) {
    Pieces pieces;
    ASSERT_TRUE(interpolateTrajectory({{0, 0}, {3, 0}, {6, 0}}, pieces));
    KvProfile profile;
    ASSERT_EQ(cubicBezierSpline2KvProfile(pieces, 3, profile), 7);
    EXPECT_EQ(profile.points[3].x, 3.0F);
    const CubicBezierCurve arch{{0, 0}, {0, 4}, {8, 4}, {8, 0}};
    EXPECT_EQ(cubicBezierSpline2KvProfile({arch}, 2, profile), 3);
    expectSame({double(profile.points[1].x), double(profile.points[1].y)}, {4, 3});
    for (const int count : {0, -1, INT_MIN, INT_MAX, 1 << 24}) {
        EXPECT_EQ(cubicBezierSpline2KvProfile({arch}, count, profile), 0) << count;
        EXPECT_TRUE(profile.points.isEmpty());
    }
    EXPECT_EQ(cubicBezierSpline2KvProfile({}, 5, profile), 0);
}

TEST(FilterProfile, WeighsTheNeighboursThatHaveNumbers) {
    const double kernel[] = {1, 2, 3};
    KvProfile profile;
    for (const float y : {4.0F, 8.0F, TestSupport::kNaN, 0.0F})
        profile += KvPointXY(float(profile.points.size()), y);
    filterProfile(profile, kernel, 1);
    const float expected[] = {32.0F / 5, 20.0F / 3, 2.0F, 0.0F};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(profile.points[i].y, expected[i]);
    const double zero[] = {1, 0, -1};
    KvProfile alone;
    alone += KvPointXY(1, 5);
    filterProfile(alone, zero, 1);
    filterProfile(alone, nullptr, -1);
    EXPECT_EQ(alone.points[0].y, 5.0F);
}

}  // namespace
