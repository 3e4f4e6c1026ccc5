#include <kvmath/wheel/sensor_calibration.h>

#include <kvmath/wheel/apexes.h>

#include <tests/support/random_data.h>
#include <tests/support/scratch_directory.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace KvMath;
using TestSupport::kNaN;

namespace {

/// Ridges of slope 1 to both sides at the given places, sampled every 0.25 mm.
KvProfile ridges(const QList<KvPointXY>& tops) {
    KvProfile profile;
    for (int i = -400; i <= 400; ++i) {
        const float x = 0.25F * static_cast<float>(i);
        float y = -1e9F;
        for (const KvPointXY& top : tops)
            y = std::max(y, top.y - std::fabs(x - top.x));
        profile.points.append({x, y});
    }
    return profile;
}

}  // namespace

TEST(Apexes, AreWhereRisingMeetsFallingInAnyOrderOfPoints) {
    KvProfile profile = ridges({{-60, 30}, {0, 40}, {50, 20}}), apexes;
    std::reverse(profile.points.begin(), profile.points.end());
    profile.points.insert(10, {kNaN, 3});
    profile.points.insert(10, {3, kNaN});
    apexes.points.append({1, 1});
    QList<KvLine> lines;
    ASSERT_EQ(ORBIS_detectApexes(profile, apexes, lines, 2.0F), 3);
    ASSERT_EQ(lines.size(), 6);
    EXPECT_NEAR(apexes.points[0].x, -60, 1e-3);
    EXPECT_NEAR(apexes.points[1].y, 40, 1e-3);
    EXPECT_NEAR(apexes.points[2].x, 50, 1e-3);
    EXPECT_NEAR(lines[4].k, 1, 1e-4);
    profile.points = {{0, 0}, {1, 1}, {2, 2}, {3, 3.75F}, {4, 3}, {5, 2}, {6, 1}};
    ASSERT_EQ(ORBIS_detectApexes(profile, apexes, lines, 0.5F), 1);
    EXPECT_NEAR(lines[0].k, 1.225, 1e-5)
        << "a line goes through all points of its piece, both ends among them";
    profile.points.clear();  // upwards, upright, upwards, less so, and down
    for (int i = 0; i <= 100; ++i)
        profile.points.append(i <= 50 ? KvPointXY(float(i), float(i))
                                      : KvPointXY(float(i), i <= 75 ? 75 + float(i) / 2 : 187.5F - float(i)));
    profile.points.insert(51, {50, 100});
    ASSERT_EQ(ORBIS_detectApexes(profile, apexes, lines, 0.5F), 1);
    EXPECT_LT(apexes.points[0].calcDistance({75, 112.5F}), 1.5F);
    profile.points = profile.points.mid(0, 51);  // upwards, then level
    for (int i = 51; i <= 100; ++i)
        profile.points.append({float(i), 50});
    EXPECT_EQ(ORBIS_detectApexes(profile, apexes, lines, 0.5F), 0);
    EXPECT_EQ(ORBIS_detectApexes(KvProfile(), apexes, lines, kNaN), 0);
    EXPECT_TRUE(apexes.points.isEmpty() && lines.isEmpty());
}

// The object is placed by a known sensor; the sensor found must put the ridges back where they are.
TEST(SensorPlacement, PutsTheRidgesWhereTheyAre) {
    const KvProfile profile = ridges({{-60, 50}, {0, 40}, {50, 20}});
    for (const auto& [angleA, angleC] : {std::pair(35.0F, 0.0F), {35.0F, 20.0F}, {-178.0F, 0.0F}}) {
        const _KvORBIS_SensorCoord_ truth = {500, -20, 90, angleA, 0, angleC};
        KvProfile apexes;
        QList<KvLine> lines;
        ORBIS_detectApexes(profile, apexes, lines, 2.0F);
        KvPointCloud<KvPointXYZ> places;
        ORBIS_XYtoXYZ(apexes, places, truth);
        QList<QPointF> nodes;
        for (const KvPointXYZ& p : qAsConst(places.points))
            nodes.prepend({static_cast<double>(p.x) - 400.0, static_cast<double>(p.z) - 100.0});
        _KvORBIS_SensorCoord_ found = {};
        _KvORBIS_DbgData_ debug;
        ASSERT_TRUE(ORBIS_calcAnglesCoord(profile, 400, -20, 100, 0.1F, found, nodes, &debug));
        EXPECT_NEAR(found.x, truth.x, 0.05);
        EXPECT_NEAR(found.z, truth.z, 0.05);
        EXPECT_NEAR(found.angleA, truth.angleA, 0.02);
        EXPECT_NEAR(found.angleC, truth.angleC, 0.1);
        EXPECT_EQ(debug.points.size(), 3);
        places.clear();
        ORBIS_XYtoXYZ(apexes, places, found);
        EXPECT_NEAR(places.points[0].y + places.points[1].y + places.points[2].y, 3 * -20, 0.01);
        nodes[1].ry() += 5;
        // The misfits are 5/3, 10/3 and 5/3, 2.36 as a root mean square.
        EXPECT_FALSE(ORBIS_calcAnglesCoord(profile, 400, -20, 100, 2.3F, found, nodes, nullptr));
        EXPECT_TRUE(ORBIS_calcAnglesCoord(profile, 400, -20, 100, 2.4F, found, nodes, nullptr));
        EXPECT_TRUE(ORBIS_calcAnglesCoord(profile, 400, -20, 100, kNaN, found, nodes, nullptr));
        EXPECT_FALSE(ORBIS_calcAnglesCoord(profile, 400, -20, 100, kNaN, found, nodes.mid(0, 1), nullptr));
        for (const QPointF& bad : {QPointF(1, 1), QPointF(HUGE_VAL, 1)})  // one place for all, or none
            EXPECT_FALSE(
                ORBIS_calcAnglesCoord(profile, 400, -20, 100, kNaN, found, {bad, bad, bad}, nullptr));
    }
}

// Scanners on both sides of the track, nodes in any order; an object that half a turn brings onto itself.
TEST(SensorPlacement, FindsASensorWhoseXRunsAgainstX) {
    const KvProfile profile = ridges({{-60, 50}, {0, 40}, {50, 20}});
    KvProfile apexes;
    QList<KvLine> lines;
    ASSERT_EQ(ORBIS_detectApexes(profile, apexes, lines, 2.0F), 3);
    for (const float angleA : {35.0F, -35.0F, 90.0F, -90.0F, 145.0F, -145.0F}) {
        for (const float angleC : {0.0F, 20.0F}) {
            const _KvORBIS_SensorCoord_ truth = {500, -20, 90, angleA, 0, angleC};
            KvPointCloud<KvPointXYZ> places;
            ORBIS_XYtoXYZ(apexes, places, truth);
            QList<QPointF> nodes;
            for (const int i : {1, 2, 0})
                nodes.append(
                    {static_cast<double>(places.points[i].x), static_cast<double>(places.points[i].z)});
            _KvORBIS_SensorCoord_ found = {};
            ASSERT_TRUE(ORBIS_calcAnglesCoord(profile, 0, 0, 0, 0.01F, found, nodes, nullptr)) << angleA;
            EXPECT_NEAR(found.angleA, truth.angleA, 0.02) << angleC;
            EXPECT_NEAR(found.angleC, truth.angleC, 0.1) << angleA;
            EXPECT_NEAR(found.x, truth.x, 0.05) << angleA << ' ' << angleC;
            EXPECT_NEAR(found.z, truth.z, 0.05) << angleA << ' ' << angleC;
        }
    }
    _KvORBIS_SensorCoord_ found = {};
    for (const QList<QPointF>& nodes : {QList<QPointF>{{-60, 0}, {60, 0}}, {{60, 0}, {-60, 0}}}) {
        EXPECT_TRUE(
            ORBIS_calcAnglesCoord(ridges({{-60, 30}, {60, 30}}), 0, 0, 0, 0.01F, found, nodes, nullptr));
        EXPECT_NEAR(found.angleA, 90, 0.01) << "x runs with X where nothing tells";
    }
}

TEST(CalibrationNodes, AreTheSharpestCornersAndTheirPlaces) {
    KvProfile profile;
    for (const KvPointXY& p : ridges({{-20, 30}, {20, 30}}).points)
        if (std::fabs(p.x) < 40)  // with a slight bend of a flank, steep and blunt
            profile.points.append({p.x, p.x < -30 ? p.y + 0.5F * (p.x + 30) : p.y});
    KvVector2D<double> nodes[3];
    ASSERT_EQ(ORBIS_detectCalibrNodes(profile, nodes, 1.0F, 0.2F, 0), CalibrNodesFound);
    EXPECT_NEAR(nodes[0].x, -20, 1e-6);
    EXPECT_NEAR(nodes[1].y, 10, 1e-6);
    EXPECT_NEAR(nodes[2].x, 20, 1e-6);
    const TestSupport::ScratchDirectory scratch;
    EXPECT_EQ(ORBIS_detectCalibrNodes(profile, nodes, 1.0F, 0.2F, 1), CalibrNodesFound);
    EXPECT_EQ(scratch.read("points.csv").count('\n'), 3) << "the three corners";
    EXPECT_EQ(ORBIS_detectCalibrNodes(profile, nullptr, 1.0F, 0.2F, 0), CalibrNodesTooFewPoints);
    EXPECT_EQ(ORBIS_detectCalibrNodes(profile, nodes, 0.01F, 0.2F, 0), CalibrNodesTooFewPoints);
    EXPECT_EQ(ORBIS_detectCalibrNodes(profile, nodes, 1.0F, 1e9F, 0), CalibrNodesTooFewLines);

    const KvPointXY corners[3] = {{-20, 30}, {4, 10}, {20, 30}};
    KvPointXYZ places[3];
    ASSERT_TRUE(ORBIS_detectCalibr3DNodes(corners, places, 30, 0.5F, 25));
    EXPECT_EQ(places[0].x, -20.0F);
    EXPECT_EQ(places[1].x, 4.0F);
    EXPECT_TRUE(places[1].y == 20.0F && places[1].z == 25.0F && places[2].z == 0.0F);
    const KvPointXY sloping[3] = {{1, 2}, {3, 13}, {31, 42}};  // the chord is 50 long, its foot at 10
    ASSERT_TRUE(ORBIS_detectCalibr3DNodes(sloping, places, 30, 0.5F, 25));
    EXPECT_NEAR(places[1].x, 10 - 25, 1e-5);
    const KvPointXY same[3] = {{1, 1}, {4, 10}, {1, 1}};
    const KvPointXY unset[3] = {{1, kNaN}, {4, 10}, {1, 1}};
    EXPECT_FALSE(ORBIS_detectCalibr3DNodes(same, places, 30, 0.5F, 25) ||
                 ORBIS_detectCalibr3DNodes(unset, places, 30, 0.5F, 25));
    EXPECT_FALSE(ORBIS_detectCalibr3DNodes(nullptr, places, 30, 0.5F, 25) ||
                 ORBIS_detectCalibr3DNodes(corners, nullptr, 30, 0.5F, 25));
    ASSERT_TRUE(ORBIS_detectCalibr3DNodes(corners, places, 30, 0, 25));
    EXPECT_EQ(places[0].y, 0.0F) << "without a taper";
}
