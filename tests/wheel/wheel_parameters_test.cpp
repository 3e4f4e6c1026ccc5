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
        for (const int i : {2, 3, 6, 7, 10})
            EXPECT_TRUE(std::isnan(values.value[i])) << i;
        EXPECT_TRUE(values.wheelType == 7 && values.value[4] == 0 && values.value[5] == 0);
        EXPECT_EQ(profile.points.size(), 281);
        EXPECT_EQ(profile.minX, 0.0F);
        ASSERT_EQ(places.points.size(), 5);
        EXPECT_FLOAT_EQ(places.points[1].y, 2);
        EXPECT_FLOAT_EQ(places.points[2].x, 70);
        _WheelProfileValues alone;
        ORBIS_calcWheelParameters(cloud, kWheel, &alone, nullptr, nullptr);
        EXPECT_TRUE(alone.value[0] == values.value[0]) << "places are not asked for";
    }
}

namespace {

/// The steps one by one: height, deviation, thickness, position at 18; the places found as (x, depth).
std::vector<double> literalValues(const QList<KvPointXY>& p, QList<KvPointXY>& places) {
    std::vector<double> values(4, std::nan(""));
    const auto x = [&](int i) { return static_cast<double>(p[i].x); };
    const auto y = [&](int i) { return static_cast<double>(p[i].y); };
    const auto mark = [&](double atX, double depth) {
        places.append({static_cast<float>(atX), static_cast<float>(depth)});
    };
    const int end = static_cast<int>(p.size()) - 2;
    int top = 0;
    for (int i = 1; i <= end; ++i)
        top = y(i) > 0 && (top == 0 || y(i) < y(top)) ? i : top;
    if (top == 0)
        return values;
    mark(x(top), y(top));
    const auto reaching = [&](double level) {
        int i = top + 1;
        while (i < end && !(y(i - 1) <= level && level <= y(i)))
            ++i;
        return i;
    };
    const int flank = reaching(2);
    if (flank >= end)
        return values;
    mark((x(flank - 1) + x(flank)) / 2, 2);
    int k = flank;
    while (k < end && !(x(k) <= 70 && 70 <= x(k + 1)))
        ++k;
    if (k >= end)
        return values;
    const double spacing = x(k + 1) - x(k), height = spacing <= 0.01
                                                         ? (y(k) + y(k + 1)) / 2
                                                         : y(k) + (70 - x(k)) / spacing * (y(k + 1) - y(k));
    mark(70, values[0] = height);
    const int inner = reaching(height - 13);
    if (inner >= end)
        return values;
    mark((x(inner - 1) + x(inner)) / 2, height - 13);
    values[2] = (x(inner - 1) + x(inner)) / 2 - (x(flank - 1) + x(flank)) / 2;
    values[1] = height - (height >= 29 ? 30 : 28);
    const int i = reaching(18);
    if (i < end)
        mark(values[3] = x(i - 1) + (18 - y(i - 1)) / (y(i) - y(i - 1)) * (x(i) - x(i - 1)), 18);
    return values;
}

}  // namespace

// Steps of a coarse grid meet every level and the limit of 0.01 exactly.
TEST(WheelParameters, FollowTheirStepsOnAnyProfile) {
    TestSupport::Draws draws(31);
    const float ways[] = {0, 0.0078125F, 0.015625F, 1, 10, 30}, steps[] = {-2, -0.25F, 0, 0.25F, 2, 13};
    for (int round = 0; round < 20000; ++round) {
        KvPointCloud<KvPointXYZ> cloud;
        float x = -5, depth = 4;
        for (int i = draws.integer(0, 16); i > 0; --i) {
            cloud.points.append({10 + 460 - depth, x, 500});
            x += ways[draws.integer(0, 5)];
            depth = std::fabs(depth + steps[draws.integer(0, 5)]);
        }
        cloud.points.insert(cloud.points.size() / 2, {470, kNaN, 500});
        _WheelProfileValues values;
        KvProfile profile, places;
        ORBIS_calcWheelParameters(cloud, kWheel, &values, &profile, &places);
        ASSERT_EQ(profile.points.size(), cloud.points.size() - 1);  // without the unset one
        QList<KvPointXY> expectedPlaces;
        const std::vector<double> expected = literalValues(profile.points, expectedPlaces);
        const int indices[] = {0, 8, 9, 1};
        for (std::size_t k = 0; k < 4; ++k) {
            const double value = values.value[indices[k]];
            ASSERT_TRUE(std::fabs(value - expected[k]) < 1e-9 || value == expected[k] ||
                        (std::isnan(value) && std::isnan(expected[k])))
                << round << " " << k << ": " << value << " " << expected[k];
        }
        ASSERT_EQ(places.points.size(), expectedPlaces.size()) << round;
        for (int k = 0; k < expectedPlaces.size(); ++k)
            ASSERT_FALSE(places.points[k].x != expectedPlaces[k].x && !std::isnan(expectedPlaces[k].x))
                << round;
    }
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
