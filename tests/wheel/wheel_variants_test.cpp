#include <kvmath/wheel/wheel_variants.h>

#include <tests/support/random_data.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace KvMath;
using TestSupport::kNaN;

namespace {

constexpr _CalcRimParameters_ kRim = {5.0F, 0.3F, 8.0F, 10.0F};

/// Points every 0.5 mm along the corners.
KvProfile polyline(const QList<QPointF>& corners) {
    KvProfile profile;
    for (int k = 0; k + 1 < corners.size(); ++k) {
        const QPointF way = corners[k + 1] - corners[k];
        const int steps = static_cast<int>(2 * std::hypot(way.x(), way.y()));
        for (int i = 0; i < steps; ++i) {
            const QPointF p = corners[k] + way * i / steps;
            profile.points.append({static_cast<float>(p.x()), static_cast<float>(p.y())});
        }
    }
    return profile;
}

KvProfile arc(double x, double y, double radius, double from, double to, double noise = 0) {
    TestSupport::Draws draws(3);
    KvProfile profile;
    for (int i = 0; i <= 60; ++i) {
        const double angle = from + (to - from) * i / 60, r = radius + draws.normal(noise);
        profile.points.append(
            {static_cast<float>(x + r * std::cos(angle)), static_cast<float>(y + r * std::sin(angle))});
    }
    return profile;
}

/// Back of the flange at x = 0 down to the rim's inner corner at depth 80, flange tip at 15, tread at 28.
const QList<QPointF> kSection = {{0, 80}, {0, 10}, {15, 0}, {35, 28}, {100, 30}, {135, 32}};

KvPointCloud<KvPointXYZ> revolved(const KvProfile& section, float largestRadius) {
    KvPointCloud<KvPointXYZ> cloud;
    float angle = 0;
    for (const KvPointXY& p : section.points) {
        const float radius = largestRadius - p.y;
        cloud.points.append({radius * std::cos(angle), p.x - 3, radius * std::sin(angle)});
        angle += 0.3F;
    }
    return cloud;
}

}  // namespace

TEST(WheelVariants, MeasureFlangeRimAndDiameter) {
    KvCircle wheel;
    wheel.x = wheel.y = 0;
    wheel.radius = 460;
    for (const bool tram : {true, false}) {
        _WheelProfileValues values;
        KvProfile profile, places;
        (tram ? ORBIS_calcWheelParameters_Tram : ORBIS_calcWheelParameters_Loko)(
            revolved(polyline(kSection), 460), wheel, &values, &profile, &places);
        const double height = tram ? 28 + 25 * 2.0 / 65 : 28 + 35 * 2.0 / 65;
        EXPECT_EQ(values.wheelType, tram ? 1 : 2);
        EXPECT_NEAR(values.value[0], height, 2e-3);
        EXPECT_NEAR(values.value[8], height - (tram ? 24 : 30), 2e-3);
        EXPECT_NEAR(values.value[7], 2 * (460 - height), 5e-3);
        EXPECT_NEAR(values.value[1], 15 + 20 * (tram ? 14 : 18) / 28.0, 2e-3);
        EXPECT_NEAR(values.value[9], 20 * (height - (tram ? 10 : 13) - 2) / 28, 0.4);
        EXPECT_NEAR(values.value[6], 0, 1e-3);
        EXPECT_NEAR(values.value[4], 0, 1e-2);  // the back of the flange meets its chamfer at depth 10
        EXPECT_NEAR(values.value[2], 10, 0.2);
        EXPECT_NEAR(values.value[3], 10 - height, 0.2);
        EXPECT_TRUE(std::isnan(values.value[10]));
        EXPECT_GT(profile.points.size(), 300);
        std::reverse(profile.points.begin(), profile.points.end());
        profile.points.insert(150, {kNaN, 3});  // must not keep its sides apart
        ASSERT_TRUE(
            ORBIS_calcWheelParams_FromProf_Tram(profile, {60, 2, 10, 14, 24}, kRim, &values, nullptr));
        EXPECT_NEAR(values.value[0], 28 + 25 * 2.0 / 65, 2e-3);
    }
    ORBIS_calcWheelParameters_Tram({}, wheel, nullptr, nullptr, nullptr);
    KvProfile empty;
    EXPECT_FALSE(ORBIS_calcWheelParams_FromProf_Tram(empty, {60, 2, 10, 14, 24}, kRim, nullptr, nullptr));
    _WheelProfileValues none;
    ORBIS_calcWheelParameters_Loko({}, wheel, &none, nullptr, nullptr);
    for (int i = 0; i < 11; ++i)
        EXPECT_TRUE(std::isnan(none.value[i]));
}

TEST(Rim, HasItsFaceAndCornerOnTheLongestUprightPiece) {
    KvProfile profile = polyline({{20, 80}, {0.4, 80}, {-0.4, 10}, {15, 0}, {35, 28}, {100, 30}});
    profile.points.insert(7, {kNaN, 3});
    float face = 0;
    ASSERT_TRUE(detectRimForB2B(profile, kRim, face));
    EXPECT_NEAR(face, 0, 0.02);
    EXPECT_FALSE(detectRimForB2B(profile, {5.0F, 0.3F, 8.0F, 0.6F}, face));  // tilted by 0.65 degrees
    EXPECT_TRUE(detectRimForB2B(profile, {5.0F, 0.3F, 8.0F, 0.7F}, face));
    KvPointXY corner;
    ASSERT_TRUE(calcRimRefPoint(profile, kRim, corner));
    EXPECT_NEAR(corner.x, 0.4, 0.05);
    EXPECT_NEAR(corner.y, 80, 0.1);
    EXPECT_FLOAT_EQ(calcRimThFlng(profile, corner), corner.y);
    profile.sort(KvSortAscending, KvSortNone);
    EXPECT_NEAR(calcRimThSurf(profile, corner, 60), corner.y - (28 + 25 * 2.0 / 65), 0.01);
    EXPECT_TRUE(std::isnan(calcRimThSurf(profile, corner, 101)) && std::isnan(calcRimThFlng({}, corner)));

    const KvProfile level = polyline({{0, 5}, {60, 5}});
    EXPECT_FLOAT_EQ(calcRimThSurf(level, corner, level.points.first().x), corner.y - 5) << "its end is of it";
    EXPECT_FLOAT_EQ(calcRimThSurf(level, corner, level.points.last().x), corner.y - 5);
    face = 42;
    EXPECT_FALSE(detectRimForB2B(level, kRim, face) || calcRimRefPoint(level, kRim, corner));
    EXPECT_FALSE(detectRimForB2B(profile, {kNaN, kNaN, kNaN, kNaN}, face));
    EXPECT_EQ(face, 42.0F);
    LinePP line;
    ASSERT_TRUE(maxLineDetect(level, {5, 0.3, 0, 1, false, 1e300}, line));
    EXPECT_NEAR(line.p2.x - line.p1.x, 59.5, 1e-6);
    KvProfile alone = polyline({{0, 80}, {0, 10}});
    EXPECT_TRUE(detectRimForB2B(alone, kRim, face) && !calcRimRefPoint(alone, kRim, corner))
        << "nothing beside the face";
    EXPECT_TRUE(std::isnan(calcRimThSurf(profile, corner, -99)) && std::isnan(calcRimThSurf({}, corner, 0)));
    QList<QPointF> hook = {{0, 80}, {0, 10}, {20, 10}, {20, 40}};
    for (int order = 0; order < 2; ++order) {  // the face comes first, then last
        EXPECT_TRUE(detectRimForB2B(polyline(hook), kRim, face) && std::fabs(face) < 0.05F) << order;
        EXPECT_TRUE(calcRimRefPoint(polyline(hook), kRim, corner));
        EXPECT_LT(corner.calcDistance({0, 10}), 0.6F) << "with the nearest other piece";
        EXPECT_TRUE(maxLineDetect(polyline(hook), {5, 0.3, 0, 1, false, 1e300}, line));
        EXPECT_NEAR(std::fabs(line.p2.y - line.p1.y), 70, 0.6);
        std::reverse(hook.begin(), hook.end());
    }
    alone.points += polyline({{20, 10}, {20, 40}}).points;
    EXPECT_FALSE(calcRimRefPoint(alone, kRim, corner)) << "parallel to the face";
    EXPECT_FALSE(maxLineDetect(level, {5, 0.3, 0, 100, false, 1e300}, line));
}

TEST(ReferencePoint, IsTheCentreOfTheArc) {
    KvProfile profile = arc(100, -40, 13, 0.3, 2.5, 0.01);
    profile.points.prepend({900, 900});
    profile.points.insert(20, {kNaN, 0});
    profile.points.insert(21, {0, kNaN});
    KvPointXY centre;
    float radius = 0;
    ASSERT_TRUE(calcRefPoint(profile, 1, 99999, centre, radius));
    EXPECT_NEAR(centre.x, 100, 0.01);
    EXPECT_NEAR(radius, 13, 0.01);
    ASSERT_TRUE(calcRefPointWithConstR(profile, 1, 62, 13, centre));
    EXPECT_NEAR(centre.y, -40, 0.01);
    for (const auto& [first, last] : {std::pair(5, 6), std::pair(60, 3), std::pair(-9, 1)})
        EXPECT_FALSE(calcRefPoint(profile, first, last, centre, radius));
    for (const float bad : {0.0F, -13.0F, kNaN, std::numeric_limits<float>::infinity()})
        EXPECT_FALSE(calcRefPointWithConstR(profile, 1, 62, bad, centre));
    KvProfile half;
    half.points = {{13, 0}, {0, 13}, {-13, 0}};
    ASSERT_TRUE(calcRefPointWithConstR(half, 0, 2, 13, centre)) << "three points are enough";
    EXPECT_LT(std::hypot(centre.x, centre.y), 0.01);
    ASSERT_TRUE(calcRefPoint(half, 0, 2, centre, radius));
    EXPECT_NEAR(radius, 13, 0.01);
    ASSERT_TRUE(calcRefPointWithConstR(profile, 1, 62, 13, centre));
    profile.points = {{5, 1}, {3, 3}, {0, 6}};  // here 2000 evaluations are not enough
    EXPECT_FALSE(calcRefPoint(profile, 0, 2, centre, radius));
    profile.points = {{2, 0}, {3, 0}, {2, 2}, {1, 0}};
    EXPECT_FALSE(calcRefPointWithConstR(profile, 0, 3, 3000, centre));
    EXPECT_NEAR(centre.x + centre.y + radius, 73, 0.03) << "untouched";

    KvPointCloud<KvPointXYZ> cloud;  // the arc in the plane z = 0.75 x + 10
    for (const KvPointXY& p : arc(100, -40, 13, 0.3, 2.5).points)
        cloud.points.append({0.8F * p.x, p.y, 0.6F * p.x + 10});
    KvPointXYZ inSpace;
    ASSERT_TRUE(calcRefPointWithConstR3D(cloud, 13, inSpace));
    EXPECT_LT(inSpace.calcDistance({80, -40, 70}), 0.01F);
    for (const KvPointXYZ& unset : {KvPointXYZ(kNaN, 0, 0), KvPointXYZ(0, kNaN, 0), KvPointXYZ(0, 0, kNaN)})
        cloud.points.append(unset);
    ASSERT_TRUE(calcRefPointWithConstR3D(cloud, 13, inSpace));
    EXPECT_LT(inSpace.calcDistance({80, -40, 70}), 0.01F);
    EXPECT_FALSE(calcRefPointWithConstR3D(cloud, -13, inSpace));
    cloud.points = {{13, 0, 0}, {0, 13, 0}, {-13, 0, 0}};
    ASSERT_TRUE(calcRefPointWithConstR3D(cloud, 13, inSpace));
    EXPECT_LT(inSpace.calcDistance({0, 0, 0}), 0.01F);
    cloud.points = cloud.points.mid(0, 2);
    EXPECT_FALSE(calcRefPointWithConstR3D(cloud, 13, inSpace));
}

TEST(CentreScanner, SeesTheWheelFromTheSide) {
    const KvProfile profile = arc(10, 500, 460, -2.0, -1.2, 0.02);
    KvCircle wheel;
    EXPECT_FALSE(detectWheelByCenterScanner(profile, 470, 600, wheel));
    EXPECT_TRUE(std::isnan(wheel.radius));
    ASSERT_TRUE(detectWheelByCenterScanner(profile, 400, 470, wheel));
    EXPECT_NEAR(wheel.radius, 460, 0.5);
    EXPECT_TRUE(detectWheelByCenterScanner(profile, wheel.radius, wheel.radius, wheel)) << "limits are of it";
    float angle = 0;
    ASSERT_TRUE(detectWheelByCScanOnlyAngle(profile, 460, angle));
    EXPECT_NEAR(angle, 180 - 1.6 * 180 / 3.14159265, 0.02);
    EXPECT_FALSE(detectWheelByCScanOnlyAngle(KvProfile(), 460, angle) ||
                 detectWheelByCenterScanner(KvProfile(), 400, 470, wheel) ||
                 detectWheelByCenterScanner(profile, 400, 450, wheel));
    KvProfile holed = profile;
    holed.points[30] = {kNaN, kNaN};
    EXPECT_FALSE(detectWheelByCScanOnlyAngle(holed, 460, angle)) << "no middle point";

    KvProfile moved = polyline({{1, 0}, {2, 0}});
    transform2dProfile(moved, 10, 20, 90);
    EXPECT_NEAR(moved.points[0].x, 10, 1e-5);
    EXPECT_NEAR(moved.points[0].y, 21, 1e-5);
}
