#include <kvmath/wheel/wheel_parameters.h>

#include <tests/support/random_data.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace KvMath;
using TestSupport::kNaN;

namespace {

const KvCircle kWheel = [] {
    KvCircle circle;
    circle.x = 10;
    circle.y = 500;
    circle.radius = 460;
    return circle;
}();

/// Points of a wheel whose depth below the tip, at lateral positions every `step` mm from -5, is depth(x).
template <class Depth>
KvPointCloud<KvPointXYZ> wheelPoints(Depth depth, double step = 0.5) {
    KvPointCloud<KvPointXYZ> cloud;
    for (int i = 0; i * step <= 140; ++i) {
        const double x = i * step, radius = 460 - depth(x), angle = 0.3 * i;
        cloud.points.append({static_cast<float>(10 + radius * std::cos(angle)), static_cast<float>(x - 5),
                             static_cast<float>(500 + radius * std::sin(angle))});
    }
    return cloud;
}

/// A flange from 20 on with its tip at 30 and flanks of slope 2, ending in a tread of the given depth.
double flange(double x, double tread) { return std::min(tread, 2 * std::fabs(x - 30)); }

}  // namespace

TEST(WheelParameters, AreThoseOfTheProfile) {
    for (const double tread : {28.3, 28.99, 29.0, 32.0}) {
        KvPointCloud<KvPointXYZ> cloud = wheelPoints([&](double x) { return flange(x, tread); });
        cloud.points.insert(5, {kNaN, 3, 3});
        _WheelProfileValues values = {7, {}};
        KvProfile profile, places;
        places.points.append({1, 1});
        ORBIS_calcWheelParameters(cloud, kWheel, &values, &profile, &places);
        EXPECT_NEAR(values.value[0], tread, 1e-3);
        EXPECT_NEAR(values.value[1], 39, 1e-3);                       // depth 18 lies 9 mm behind the tip
        EXPECT_NEAR(values.value[9], (tread - 13) / 2 - 0.75, 0.26);  // between middles of pairs 0.5 mm apart
        EXPECT_NEAR(values.value[8], tread - (tread >= 29 ? 30 : 28), 1e-3);
        EXPECT_TRUE(std::isnan(values.value[2] + values.value[3] + values.value[6]));
        EXPECT_TRUE(values.wheelType == 7 && values.value[4] == 0 && values.value[5] == 0);
        EXPECT_EQ(profile.points.size(), 281);
        EXPECT_EQ(profile.minX, 0.0F);
        ASSERT_EQ(places.points.size(), 5);
        EXPECT_FLOAT_EQ(places.points[1].y, 2);
        EXPECT_FLOAT_EQ(places.points[2].x, 70);
    }
}

// The tread slopes, so that the mean of two close neighbours and the interpolation differ.
TEST(WheelParameters, InterpolateTheTreadUnlessItsNeighboursAreClose) {
    for (const bool close : {false, true}) {
        KvPointCloud<KvPointXYZ> cloud;
        for (const KvPointXYZ& p : wheelPoints([](double x) { return flange(x, 28); }).points) {
            if (std::fabs(p.y + 5 - 70) > 1)
                cloud.points.append(p);
        }
        const auto add = [&](double x, double depth) {
            cloud.points.append({static_cast<float>(10 + 460 - depth), static_cast<float>(x - 5), 500});
        };
        add(69.997, close ? 20 : 28);
        add(close ? 70.006 : 70.6, close ? 30 : 28.06);
        _WheelProfileValues values;
        ORBIS_calcWheelParameters(cloud, kWheel, &values, nullptr, nullptr);
        EXPECT_NEAR(values.value[0], close ? 25.0 : 28.0003, 2e-4);
    }
}

TEST(WheelParameters, EndAtTheFirstStepThatFindsNothing) {
    const auto evaluate = [](const KvPointCloud<KvPointXYZ>& cloud, KvProfile* places) {
        _WheelProfileValues values;
        ORBIS_calcWheelParameters(cloud, kWheel, &values, nullptr, places);
        return std::vector<double>{values.value[0], values.value[8], values.value[9], values.value[1]};
    };
    KvProfile places;
    for (const auto& [width, steps] : {std::pair(60.0, 2), std::pair(31.0, 1), std::pair(0.9, 0)}) {
        KvPointCloud<KvPointXYZ> narrow;
        for (const KvPointXYZ& p : wheelPoints([](double x) { return flange(x, 28); }).points)
            if (p.y + 5 <= width)
                narrow.points.append(p);
        for (const double value : evaluate(narrow, &places))
            EXPECT_TRUE(std::isnan(value));
        EXPECT_EQ(places.points.size(), steps) << width;
    }
    EXPECT_TRUE(std::isnan(evaluate({}, nullptr)[0]));
    // A tread at depth 16 is measured, but the depth 18 is never reached.
    const auto shallow = evaluate(wheelPoints([](double x) { return flange(x, 16); }), &places);
    EXPECT_NEAR(shallow[0], 16, 1e-3);
    EXPECT_TRUE(!std::isnan(shallow[2]) && std::isnan(shallow[3]));
    ORBIS_calcWheelParameters({}, kWheel, nullptr, nullptr, nullptr);
}

TEST(WheelCircle, PassesThroughTheLowestPointOfEachScanner) {
    KvPointCloud<KvPointXYZ> clouds[3];
    const double angles[3] = {-2.0, -1.5, -0.9};
    for (int k = 0; k < 3; ++k) {
        for (int i = 0; i < 50; ++i)
            clouds[k].points.append({99, 0, 900.0F + static_cast<float>(i)});
        clouds[k].points[10 + k] = {static_cast<float>(10 + 460 * std::cos(angles[k])), 0,
                                    static_cast<float>(500 + 460 * std::sin(angles[k]))};
        clouds[k].points[40].z = kNaN;
    }
    KvCircle circle;
    debugWheelPosCalc debug;
    ASSERT_TRUE(ORBIS_calcWheel(clouds[0], clouds[1], clouds[2], circle, 0, &debug));
    EXPECT_NEAR(circle.x, 10, 1e-2);
    EXPECT_NEAR(circle.y, 500, 1e-2);
    EXPECT_NEAR(circle.radius, 460, 1e-2);
    EXPECT_TRUE(debug.indexA == 10 && debug.indexB == 11 && debug.indexC == 12);
    EXPECT_FALSE(ORBIS_calcWheel(clouds[0], clouds[0], clouds[0], circle, 0, nullptr));
    clouds[1].points.removeLast();
    EXPECT_FALSE(ORBIS_calcWheel(clouds[0], clouds[1], clouds[2], circle, 0, nullptr));
    KvPointCloud<KvPointXYZ> unset;
    for (int i = 0; i < 50; ++i)
        unset.points.append(KvPointXYZ());
    EXPECT_FALSE(ORBIS_calcWheel(clouds[0], unset, clouds[2], circle, 0, &debug));
    EXPECT_NEAR(circle.radius, 460, 1e-2);
}
