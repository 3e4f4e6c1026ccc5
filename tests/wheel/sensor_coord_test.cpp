#include <kvmath/wheel/sensor_coord.h>

#include <kvmath/wheel/rule_algebra.h>

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

// Any other order of the products and sums differs in some last bit.
TEST(SensorSums, AreExactToTheLastBit) {
    TestSupport::Draws draws(42);
    const auto draw = [&](double range) { return static_cast<float>(draws.real(-range, range)); };
    for (int round = 0; round < 300; ++round) {
        const _KvORBIS_SensorCoord_ sensor = {draw(500), draw(500), draw(500),
                                              draw(200), draw(200), draw(200)};
        const float x = draw(100), y = draw(100), radius = 400 + draw(90), step = draw(5), index = draw(40);
        const float s = std::trunc(index) * step, theta = -(step / radius * std::trunc(index));
        KvPointCloud<KvPointXYZ> cloud;
        const KvProfile two = profileOf({{y, x}, {x, y}});
        ORBIS_XYtoXYZ(two, cloud, sensor);
        ORBIS_XYtoXYZ(two, cloud, sensor, radius, step, static_cast<int>(index));  // behind the others
        for (const bool rolls : {false, true}) {
            const auto angle = [&](float a) { return rolls ? a : a / 180 * 3.1415927F; };
            const float A = angle(sensor.angleA), B = angle(sensor.angleB), C = angle(sensor.angleC);
            const float sA = std::sin(A), cA = std::cos(A), sB = std::sin(B), cB = std::cos(B);
            const float sC = std::sin(C), cC = std::cos(C);
            KvPointXYZ p((sA * cB * cC + sC * sB) * x + sensor.x + cA * y * cB,
                         (sA * sB * cC - sC * cB) * x + sensor.y + cA * y * sB,
                         cA * x * cC + sensor.z - sA * y);
            p.x += rolls ? radius * std::cos(theta) - s : 0;
            p.z += rolls ? radius * std::sin(theta) : 0;
            const KvPointXYZ& q = cloud.points[rolls ? 3 : 1];
            EXPECT_TRUE(p.x == q.x && p.y == q.y && p.z == q.z) << round;
        }
        ORBIS_XYtoXYZ(two, cloud, sensor, 0, 3, 1);
        EXPECT_FALSE(std::isfinite(cloud.points[4].x)) << "no radius to roll on";
        const double rule[9] = {draws.real(-9, 9), 0, 0, draws.real(-1, 1), draws.real(-1, 1)},
                     plane[2] = {0.3, 7};
        double space[3];
        plane2space(rule, plane, space);
        EXPECT_EQ(space[0], rule[0] + rule[3] * 0.3 + rule[4] * 7);
    }
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
