#include <kvmath/contours/edge_filter.h>
#include <kvmath/profile/profile.h>
#include <kvmath/tsearch/constraints.h>
#include <kvmath/tsearch/finder.h>
#include <kvmath/tsearch/template.h>

#include <tests/support/random_data.h>

#include <QtCore/QPointF>

#include <gmock/gmock.h>

#include <cmath>

namespace {

using namespace KvMath;
using testing::ElementsAre;

constexpr TSFindTemplateParams kParams = {0.5, 0.2, 0, 1.0, true, 1e300};

Profile3D stairs(const QList<QPointF>& corners) {
    Profile3D profile;
    for (int k = 0; k + 1 < corners.size(); k += 2)
        for (int i = 0; i <= 20; ++i) {
            const QPointF p = corners.at(k) + (corners.at(k + 1) - corners.at(k)) * i / 20.0;
            profile.append(new Vector3D(float(p.x()), 7, float(p.y())));
        }
    return profile;
}

QList<QPointF> stored(const QMap<QString, QVariant>& result) {
    QList<QPointF> points;
    for (const QVariant& point : result.value("fltEdgePoints").toList())
        points.append(point.toPointF());
    return points;
}

TEST(EdgeFilter, FindsTheUpperEdgesOfSteps) {
    Profile3D profile = stairs({{0, 0}, {4, 0}, {4.1, 2}, {8, 2}, {8.1, 1}, {12, 1}, {12.1, 9}, {16, 9}});
    profile.append(nullptr);
    profile.append(new Vector3D(17, NAN, 9));
    QMap<QString, QVariant> result{{"other", 1}};
    const double rows[][5] = {{0.5, 3, 2.5, 0.1, 2}, {0.5, 9, 9, 0.1, 4}, {0.5, 9, 2, 0.1, 1},
                              {NAN, 9, 9, 0.1, 0},   {-1, 9, 9, 0.1, 0},  {0.5, NAN, 9, 0.1, 0},
                              {0.5, 9, -1, 0.1, 0},  {0.5, 9, 9, -0.1, 0}};
    for (const auto& [least, most, gap, angle, count] : rows)
        EXPECT_TRUE(fltEdgePoints(profile, kParams, least, most, gap, angle, result) == count &&
                    static_cast<double>(stored(result).size()) == count);
    fltEdgePoints(profile, kParams, 0.5, 3, 2.5, 0.1, result);
    EXPECT_THAT(stored(result), ElementsAre(QPointF(double(4.1F), 2), QPointF(8, 2)));
    const double tables[][4] = {{1.5, 2.5, 0.1, 6}, {9, 20, 0.1, 2}, {1, NAN, 0.1, 0}, {1, 9, -1, 0}};
    for (const auto& [height, gap, angle, count] : tables)  // with 2 the ends of the line remain
        EXPECT_EQ(fltEdgePointsWithoutTable(profile, kParams, height, gap, angle, result), count);
    EXPECT_EQ(fltEdgePoints(Profile3D(), kParams, 0.5, 9, 9, 0.1, result), 0);
    EXPECT_EQ(result.size(), 2);
}

TEST(EdgeFilter, TakesAsManySegmentsAsItSaysAndNoMore) {
    Profile3D profile;
    QMap<QString, QVariant> result;
    for (const auto& [segments, points] : {std::pair(16384, 32768), std::pair(16385, 0)}) {
        for (int i = profile.size(); i < 2 * segments; ++i)
            profile.append(new Vector3D(float(i + i / 2), 7, 0));
        EXPECT_EQ(fltEdgePointsWithoutTable(profile, {1.5, 0.2, 0, 0.5, true, 1e300}, 1, 0, 1, result),
                  points);
    }
}

TEST(EdgeFilter, MarksWhatATemplateSearchMatches) {
    TestSupport::Draws draws(91);
    for (int run = 0; run < 100; ++run) {
        QList<QPointF> corners;
        for (int k = 0; k < 12; ++k)
            corners += {QPointF(3 * k, draws.integer(0, 4)), QPointF(3 * k + 2.5, draws.integer(0, 4))};
        const Profile3D scan = stairs(corners);
        const double gap = draws.chance(0.2) ? HUGE_VAL : draws.real(0, 6), angle = draws.real(0, 1.5);
        KvProfile plane;
        for (int i = 0; i < scan.size(); ++i)
            plane.points.append(KvPointXY(scan[i]->x, scan[i]->z));
        QList<LinePP> lines;
        QMap<int, QPointF> expected;  // by segment, start before end
        for (const int second : {1, 0}) {
            TSTemplate pair(2);
            const double lower = second == 1 ? 0.5 : -2.5;
            pair.addConstraint(new TSCRotationAngle(0, 1, 0, angle, TSCRotationAngle::AnyDirection));
            pair.addConstraint(new TSCEndPointDistanceWithCheck(0, 1, -1e100, gap));
            pair.addConstraint(new TSCEndPointShiftInDirection(0, 1, lower, lower + 2, M_PI / 2, true));
            QList<TSLinesIndecies> matches;
            findTemplate(plane, &pair, {0.5, 0.2, 0, 1.0, false, 1e300}, lines, matches);
            for (const TSLinesIndecies& match : matches) {
                int i = 0;
                match.getLineIndex(second, i);
                const auto [x, y] = second == 1 ? lines.at(i).p1 : lines.at(i).p2;
                expected[2 * i + 1 - second] = QPointF(x, y);
            }
        }
        QMap<QString, QVariant> result;
        fltEdgePoints(scan, kParams, 0.5, 2.5, gap, angle, result);
        ASSERT_EQ(stored(result), expected.values()) << run;
    }
}

}  // namespace
