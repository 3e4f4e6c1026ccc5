// Flats and harmonics of simulated wheels against their truth, and what cannot be evaluated.

#include <kvmeasure/wheels/circumference.h>
#include <simulator/circumference.h>
#include <tests/kvmeasure/calls.h>

#include <tuple>

namespace {

std::vector<Vector> pointsOf(const Simulator::CircumferenceRecipe& recipe) {
    std::vector<Vector> points;
    for (const Simulator::RadiusPoint& point : Simulator::circumferenceOf(recipe))
        points.push_back({point.angle, point.radius});
    return points;
}

Simulator::CircumferenceRecipe waves(double noise, double dropouts) {
    Simulator::CircumferenceRecipe recipe;
    recipe.waves = {{1, 0.3, 200}, {3, 0.05, 10}, {12, 0.15, 7}};
    recipe.noise = noise;
    recipe.dropouts = dropouts;
    return recipe;
}

TEST(Circumference, WavesHaveTheirAmplitudesAndAreNoFlats) {
    for (const double noise : {0.0, 0.02}) {
        const Circumference wheel = evaluateCircumference(pointsOf(waves(noise, noise * 10)), {});
        ASSERT_EQ(wheel.harmonics.size(), 20U);
        const double spread = 4 * noise * std::sqrt(2 / 2880.0) * 1.3 + 1e-6;  // of an amplitude
        const auto check = [&](int order, double amplitude, double crest) {
            const WheelHarmonic& found = wheel.harmonics[static_cast<std::size_t>(order) - 1];
            EXPECT_NEAR(found.amplitude, amplitude, spread) << order;
            EXPECT_NEAR(found.level, 20 * std::log10(amplitude / std::sqrt(2.0) * 1000), 0.5) << order;
            EXPECT_NEAR(std::remainder(found.angle - crest, 360.0 / order), 0,
                        57.3 * spread / amplitude / order);
        };
        check(1, 0.3, 200);
        check(3, 0.05, 10);
        check(12, 0.15, 7);
        EXPECT_LT(wheel.harmonics[1].amplitude, spread);
        EXPECT_NEAR(wheel.meanRadius, 460, spread);
        EXPECT_NEAR(wheel.eccentricity, 0.3, spread);
        EXPECT_NEAR(wheel.deviation, std::hypot(0.05, 0.15) / std::sqrt(2.0), 0.003);
        EXPECT_NEAR(wheel.outOfRoundness, 0.39, noise > 0 ? 0.06 : 0.01);
        EXPECT_TRUE(wheel.flats.empty());
    }
}

TEST(Circumference, FlatsHaveTheDepthAndLengthOfTheirChords) {
    for (const auto& [noise, offset] : {std::pair(0.0, 0.0), {0.02, 0.0}, {0.02, 1000.0}}) {
        SCOPED_TRACE(testing::Message() << noise << ' ' << offset);
        Simulator::CircumferenceRecipe recipe = waves(noise, 0.01);
        recipe.waves.pop_back();
        recipe.flats = {{120, 60}, {240, 40}, {359, 30}};
        recipe.from += offset;
        recipe.to += offset;
        const Circumference wheel = evaluateCircumference(pointsOf(recipe), {});
        ASSERT_EQ(wheel.flats.size(), 3U);
        for (std::size_t i = 0; i < 3; ++i) {
            const WheelFlat& flat = wheel.flats[i];
            EXPECT_NEAR(flat.angle, recipe.flats[i].angle, noise > 0 ? 0.1 : 0.01);
            EXPECT_NEAR(flat.length, recipe.flats[i].length, noise > 0 ? 2 : 0.15);
            EXPECT_NEAR(flat.depth, Simulator::chordDepth(920, recipe.flats[i].length),
                        noise > 0 ? 0.02 : 0.002);
            EXPECT_NEAR(flat.depthOfChord, 460 - std::sqrt(460 * 460 - flat.length * flat.length / 4), 1e-3);
        }
        EXPECT_GT(wheel.flats[2].from, wheel.flats[2].to) << "it holds angle 0";
    }
}

TEST(Circumference, DoesNotDependOnWhereTheAnglesBegin) {
    const std::vector<Vector> points = pointsOf(waves(0.02, 0.1));
    const Circumference wheel = evaluateCircumference(points, {});
    ASSERT_EQ(wheel.deviations.size(), points.size());
    for (const double turn : {0.05, 1.0, 100.0, 359.9}) {
        SCOPED_TRACE(turn);
        std::vector<Vector> turned(points);
        for (Vector& p : turned)
            p.x = std::fmod(p.x + turn, 360);
        const Circumference again = evaluateCircumference(turned, {});
        EXPECT_NEAR(again.meanRadius, wheel.meanRadius, 1e-9);
        EXPECT_NEAR(again.outOfRoundness, wheel.outOfRoundness, 1e-9);
        EXPECT_NEAR(again.deviation, wheel.deviation, 1e-9);
        EXPECT_NEAR(std::remainder(again.eccentricityAngle - wheel.eccentricityAngle - turn, 360), 0, 1e-6);
        for (std::size_t i = 0; i < wheel.harmonics.size(); ++i)
            EXPECT_NEAR(again.harmonics[i].amplitude, wheel.harmonics[i].amplitude, 1e-9) << i;
        ASSERT_EQ(again.deviations.size(), wheel.deviations.size());
        const auto isLess = [](const Vector& a, const Vector& b) { return a.x < b.x; };
        const auto first = std::min_element(turned.begin(), turned.end(), isLess) - turned.begin();
        for (std::size_t i = 0; i < points.size(); ++i) {
            const Vector& here = again.deviations[i];
            const Vector& there = wheel.deviations[(i + std::size_t(first)) % points.size()];
            ASSERT_NEAR(std::remainder(here.x - there.x - turn, 360), 0, 1e-9);
            ASSERT_NEAR(here.y, there.y, 1e-9) << here.x;
        }
    }
}

TEST(Circumference, WhatCannotBeKnownHasItsReason) {
    Simulator::CircumferenceRecipe recipe;
    recipe.flats = {{100, 60}, {200, 60}};
    const std::vector<Vector> whole = pointsOf(recipe);
    const auto changed = [&](auto change) {
        std::vector<Vector> points(whole);
        for (Vector& point : points)
            change(point);
        return evaluateCircumference(points, {});
    };
    const auto expectNothing = [](const Circumference& wheel, const char* word) {
        EXPECT_TRUE(wheel.reason.contains(word)) << word << ": " << wheel.reason.toStdString();
        EXPECT_TRUE(wheel.flats.empty() && wheel.harmonics.empty() && std::isnan(wheel.meanRadius));
    };
    expectNothing(evaluateCircumference({}, {}), "0 points");
    expectNothing(evaluateCircumference({whole.begin(), whole.begin() + 3}, {}), "3 points");
    expectNothing(changed([](Vector& p) { p.y /= 10; }), "in cm");
    expectNothing(changed([](Vector& p) { p.y /= 25.4; }), "in inch");
    expectNothing(changed([](Vector& p) { p.x *= kRadiansPerDegree; }), "in radians");
    expectNothing(changed([](Vector& p) { p.x /= 360; }), "in turns");
    expectNothing(changed([](Vector& p) { p.x = p.y = std::nan(""); }), "0 points");
    std::vector<Vector> undercut(whole);
    undercut.push_back({50, 440});
    expectNothing(evaluateCircumference(undercut, {}), "undercut");

    std::vector<Vector> half(whole);
    half.resize(half.size() / 2);
    const Circumference part = evaluateCircumference(half, {});
    EXPECT_TRUE(part.notes.join(' ').contains("from the first two waves"));
    EXPECT_TRUE(part.roundnessReason.contains("less than a turn"));
    EXPECT_TRUE(std::isnan(part.outOfRoundness) && part.harmonics.empty());
    ASSERT_EQ(part.flats.size(), 1U);
    EXPECT_NEAR(part.flats[0].depth, 0.979, 0.02);

    EXPECT_EQ(evaluateCircumference({whole.begin(), whole.begin() + int(whole.size() / 8)}, {})
                  .flatsReason.section(';', 1),
              " flats are looked for from 60 on");
    const Circumference broken = changed([](Vector& p) { p.y -= std::fabs(p.x - 300) < 2 ? 6 : 0; });
    ASSERT_FALSE(broken.flats.empty());
    EXPECT_EQ(broken.flats[0].note, "deeper than a chord of its length: material is missing");
    for (const auto& [cutoff, depth, orders] : std::vector<std::tuple<double, double, int>>{
             {0, 0.1, 20}, {NAN, 0.1, 20}, {5, 0, 20}, {5, NAN, 20}, {5, 0.1, 0}, {5, 0.1, 501}}) {
        CircumferenceOptions options;
        options.cutoff = cutoff;
        options.leastDepth = depth;
        options.orders = orders;
        EXPECT_THROW(evaluateCircumference(whole, options), Error) << cutoff << ' ' << depth << ' ' << orders;
    }

    std::vector<Vector> gap(whole);
    gap.erase(std::remove_if(gap.begin(), gap.end(), [](const Vector& p) { return p.x > 100 && p.x < 106; }),
              gap.end());
    const Circumference torn = evaluateCircumference(gap, {});
    EXPECT_TRUE(torn.notes.join(' ').isEmpty()) << "a gap of 6 degrees holds up to order 30";
    ASSERT_EQ(torn.flats.size(), 2U);
    EXPECT_TRUE(torn.flats[1].reason.contains("gap"));
    EXPECT_TRUE(std::isnan(torn.flats[1].depth) && std::isfinite(torn.flats[0].depth));
    gap.erase(std::remove_if(gap.begin(), gap.end(), [](const Vector& p) { return p.x > 200 && p.x < 206; }),
              gap.end());
    const Circumference tornTwice = evaluateCircumference(gap, {});
    ASSERT_EQ(tornTwice.flats.size(), 2U);
    EXPECT_TRUE(tornTwice.flats[0].reason.contains("gap") && tornTwice.flats[1].reason.contains("gap"));
    std::vector<Vector> thin;
    for (std::size_t i = 0; i < whole.size(); i += 16)
        thin.push_back(whole[i]);
    const Circumference sparse = evaluateCircumference(thin, {});
    ASSERT_EQ(sparse.flats.size(), 2U);
    EXPECT_EQ(sparse.flats[1].reason, "too few points on it");
    CircumferenceOptions many;
    many.orders = 40;
    EXPECT_EQ(evaluateCircumference(gap, many).notes.join(' ').toStdString(),
              "harmonics above order 30 are not known: the points have a gap of 6.00 degrees");
    const struct {
        double cutoff, leastDepth;
        int orders;
        bool isTaken;
    } options[] = {{0, 0.2, 20, false}, {10, 0, 20, false},   {10, 0.2, 0, false},  {10, 0.2, 501, false},
                   {0.9, 0.2, 1, true}, {10, 0.9, 500, true}, {NAN, 0.2, 1, false}, {10, NAN, 1, false}};
    for (const auto& [cutoff, leastDepth, orders, isTaken] : options) {
        many.cutoff = cutoff;
        many.leastDepth = leastDepth;
        many.orders = orders;
        if (isTaken)
            EXPECT_EQ(evaluateCircumference(half, many).reason, "") << cutoff << ' ' << leastDepth;
        else
            EXPECT_THROW(evaluateCircumference(half, many), Error) << cutoff << ' ' << leastDepth;
    }
}

}  // namespace
