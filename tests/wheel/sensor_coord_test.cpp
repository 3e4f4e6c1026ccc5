#include <kvmath/wheel/sensor_coord.h>

#include <tests/support/random_data.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace KvMath;
using TestSupport::kNaN;

namespace {

KvProfile profileOf(std::initializer_list<KvPointXY> points) {
    KvProfile profile;
    profile.points = points;
    return profile;
}

void expectPoint(const KvPointXYZ& p, float x, float y, float z) {
    EXPECT_FLOAT_EQ(p.x, x);
    EXPECT_FLOAT_EQ(p.y, y);
    EXPECT_FLOAT_EQ(p.z, z);
}

}  // namespace

TEST(SensorByAngles, FollowsTheThreeSumsInDegreesAndBehindTheOldPoints) {
    KvPointCloud<KvPointXYZ> cloud;
    cloud.points.append({7, 8, 9});
    const KvProfile profile = profileOf({{2, 5}, {-1, 3}});
    ORBIS_XYtoXYZ(profile, cloud, _KvORBIS_SensorCoord_{10, 20, 30, 0, 0, 0});
    ORBIS_XYtoXYZ(profile, cloud, _KvORBIS_SensorCoord_{10, 20, 30, 30, 60, 45});
    ASSERT_EQ(cloud.points.size(), 5);
    expectPoint(cloud.points[0], 7, 8, 9);
    expectPoint(cloud.points[1], 15, 20, 32);
    expectPoint(cloud.points[2], 13, 20, 29);
    const float h = std::sqrt(0.5F), t = std::sqrt(0.75F);  // sin 45 = cos 45; cos 30 = sin 60
    expectPoint(cloud.points[3], (0.25F * h + h * t) * 2 + 10 + t * 5 * 0.5F,
                (0.5F * t * h - h * 0.5F) * 2 + 20 + t * 5 * t, t * 2 * h + 30 - 0.5F * 5);
}

TEST(SensorOnARollingCircle, TakesRadiansAndAddsTheWayRolled) {
    KvPointCloud<KvPointXYZ> cloud;
    const KvProfile profile = profileOf({{2, 5}});
    const float quarter = 1.5707964F;
    ORBIS_XYtoXYZ(profile, cloud, {10, 20, 30, 0, 0, 0}, 400, 3, 0);
    ORBIS_XYtoXYZ(profile, cloud, {10, 20, 30, quarter, 0, 0}, 400, 3, 7);
    expectPoint(cloud.points[0], 415, 20, 32);
    const float theta = -(3.0F / 400 * 7);
    expectPoint(cloud.points[1], 12 + 400 * std::cos(theta) - 21, 20, 25 + 400 * std::sin(theta));
    ORBIS_XYtoXYZ(profile, cloud, {10, 20, 30, 0, 0, 0}, 0, 3, 1);
    EXPECT_FALSE(std::isfinite(cloud.points[2].x));
}

TEST(SensorByRule, CarriesTheCalibrationPointsExactlyAndSumsInDouble) {
    TestSupport::Draws draws(41);
    for (int round = 0; round < 100; ++round) {
        KvPointCloud<KvPointXY> flat;
        KvPointCloud<KvPointXYZ> space, placed;
        const auto draw = [&](double range) { return static_cast<float>(draws.real(-range, range)); };
        for (int i = 0; i < 4; ++i) {  // the fourth is not looked at
            flat.points.append({draw(100), draw(100)});
            space.points.append({draw(900), draw(900), draw(900)});
        }
        _KvORBIS_SensorCoordROT_ rule;
        double array[9];
        ASSERT_TRUE(ORBIS_calcCoord(flat, space, rule) && ORBIS_calcCoordinatesFrom3p(flat, space, array));
        EXPECT_EQ(rule.originX, array[0]);
        EXPECT_EQ(rule.zFromY, array[8]);
        KvProfile profile;
        profile.points = flat.points;
        ORBIS_XYtoXYZ(profile, placed, rule);
        for (int i = 0; i < 4; ++i) {
            KvPointXYZ alone;
            ORBIS_XYtoXYZ({static_cast<double>(flat.points[i].x), static_cast<double>(flat.points[i].y)},
                          alone, rule);
            expectPoint(alone, placed.points[i].x, placed.points[i].y, placed.points[i].z);
            if (i < 3) {
                EXPECT_LT(alone.calcDistance(space.points[i]), 1e-3F);
            }
        }
    }
}

TEST(SensorByRule, CollinearOrMissingPointsAreTrueAndNotFinite) {
    KvPointCloud<KvPointXY> flat;
    KvPointCloud<KvPointXYZ> space;
    flat.points = {{0, 0}, {1, 1}, {2, 2}};
    space.points = {{0, 0, 1}, {1, 0, 0}, {0, 2, 0}};
    double rule[9];
    EXPECT_TRUE(ORBIS_calcCoordinatesFrom3p(flat, space, rule));
    for (const double value : rule)
        EXPECT_FALSE(std::isfinite(value));
    space.points.removeLast();
    flat.points[2] = {2, 5};
    EXPECT_TRUE(ORBIS_calcCoordinatesFrom3p(flat, space, rule));
    for (const double value : rule)
        EXPECT_TRUE(std::isnan(value));
}
