// Step height beside lines built from their answer; roughness beside the formulas of a sine.

#include <kvmeasure/base/error.h>
#include <kvmeasure/form/gaussian_filter.h>
#include <kvmeasure/form/roughness.h>
#include <kvmeasure/form/step_height.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

using namespace KvMeasure;
constexpr double pi = 3.14159265358979323846;

/// A groove between 10 and 13 on a slope; rounded: its depth is reached in the middle alone.
std::vector<Vector> groove(double depth, double slope, bool isRounded, double from = 4, double to = 19) {
    std::vector<Vector> points;
    for (int i = 0; i <= 750; ++i) {
        const double x = 4 + i * 0.02;
        const double off = (x - 11.5) / 1.5;
        if (x < from - 1e-9 || x > to + 1e-9)
            continue;
        const double down = std::fabs(off) >= 1 ? 0 : isRounded ? depth * (1 - off * off) : depth;
        points.emplace_back(x, 1e6 + slope * x - down);
    }
    return points;
}

TEST(StepHeight, IsThatOfTheGroove) {
    for (const double depth : {0.5, -0.25}) {
        const StepHeight flat = stepHeight(groove(depth, 0.01, false), 10, 13);
        EXPECT_NEAR(flat.height, depth, 1e-9);
        EXPECT_NEAR(flat.slope, 0.01, 1e-9);
        EXPECT_EQ(flat.pointsA, 101);
        EXPECT_EQ(flat.pointsC, 51);
        EXPECT_EQ(flat.pointsB, 101);
        EXPECT_TRUE(flat.isComplete);
        EXPECT_NEAR(stepHeight(groove(depth, 0.01, true), 10, 13, StepType::A2).height, depth, 1e-9);
    }
    // A rounded groove is deeper than the mean of its middle third.
    EXPECT_LT(stepHeight(groove(0.5, 0, true), 10, 13).height, 0.499);
}

TEST(StepHeight, SaysWhatIsNotCovered) {
    EXPECT_FALSE(stepHeight(groove(0.5, 0, false, 7.1, 19), 10, 13).isComplete);
    EXPECT_TRUE(stepHeight(groove(0.5, 0, false, 7.02, 15.98), 10, 13).isComplete)
        << "a pitch may be missing";
    EXPECT_NEAR(stepHeight(groove(0.5, 0, false, 7.1, 19), 10, 13).height, 0.5, 1e-9);
    for (const StepHeight& step :
         {stepHeight(groove(0.5, 0, false, 9.5, 19), 10, 13), stepHeight(groove(0.5, 0, false), 13, 10),
          stepHeight(groove(0.5, 0, false), 10, NAN), stepHeight({}, 10, 13),
          stepHeight({{8, 0}, {8, 0}, {8, 1}, {15, 0}, {15, 0}}, 10, 13)}) {
        EXPECT_FALSE(step.isValid());
        EXPECT_TRUE(std::isnan(step.height));
    }
}

std::vector<Vector> sine(double amplitude, double wave, double pitch, double length, double slope = 0) {
    std::vector<Vector> points;
    for (int i = 0; i * pitch <= length; ++i)
        points.emplace_back(i * pitch,
                            amplitude * std::sin(2 * pi * i * pitch / wave) + slope * i * pitch + 40);
    return points;
}

TEST(Roughness, OfASineIsItsFormula) {
    const double amplitude = 0.002;
    // 2^-100 of this wave is waviness. Near the ends the mean line is cut where a weight is 3 % of the
    // greatest, and a sine of 160 points has not quite the mean of its integral.
    const double wave = 0.08, tolerance = 1e-3 * amplitude;
    for (const RoughnessNorm norm : {RoughnessNorm::Iso21920, RoughnessNorm::Iso4287}) {
        RoughnessSettings settings;
        settings.norm = norm;
        const Roughness result = roughness(sine(amplitude, wave, 0.0005, 6.4, 0.05), settings);
        ASSERT_TRUE(result.reason.isEmpty()) << result.reason.toStdString();
        EXPECT_EQ(result.sections, 7);
        const RoughnessValues& values = result.values;
        EXPECT_NEAR(values.ra, 2 * amplitude / pi, tolerance);
        EXPECT_NEAR(values.rq, amplitude / std::sqrt(2.0), tolerance);
        EXPECT_NEAR(values.rz, 2 * amplitude, tolerance);
        EXPECT_NEAR(values.rt, 2 * amplitude, tolerance);
        EXPECT_NEAR(values.rsk, 0, 1e-2);
        EXPECT_NEAR(values.rku, 1.5, 1e-3);
        EXPECT_NEAR(values.rsm, wave, 1e-6);
        EXPECT_LT(values.wa, 1e-2 * amplitude);
    }
    // A wave of the cut-off is divided in halves.
    const std::vector<double> line = gaussianMeanLine(sine(1, 0.8, 0.001, 8), 0.8);
    EXPECT_NEAR(line[4200] - 40, 0.5 * std::sin(2 * pi * 4.2 / 0.8), 1e-4);
}

TEST(Roughness, OfTheNormsDiffersAndMissingPointsDoNotCount) {
    std::vector<Vector> points = sine(0.002, 0.08, 0.001, 4.8);
    for (Vector& p : points)
        p.y = 40 + (p.y - 40) * (p.x > 2.4 ? 3 : 1);
    RoughnessSettings settings;
    const RoughnessValues whole = roughness(points, settings).values;
    settings.norm = RoughnessNorm::Iso4287;
    const RoughnessValues means = roughness(points, settings).values;
    EXPECT_GT(whole.rq, 1.02 * means.rq) << "the root of the mean of squares, not the mean of roots";
    EXPECT_DOUBLE_EQ(whole.rz, means.rz);
    std::vector<Vector> thinned;
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (i % 7 != 3)
            thinned.push_back(points[i]);
    }
    EXPECT_NEAR(roughness(thinned, settings).values.ra, means.ra, 2e-3 * means.ra);
    // A stray point lifts the mean line beside it, but not the robust one.
    points[2300].y += 1;
    settings.isRobust = true;
    const Roughness robust = roughness(points, settings);
    settings.isRobust = false;
    const Roughness plain = roughness(points, settings);
    EXPECT_LT(std::fabs(robust.waviness[2350]), 2e-4);
    EXPECT_GT(std::fabs(plain.waviness[2350]), 1e-3);
}

TEST(Roughness, HasReasons) {
    const RoughnessSettings settings;
    for (const auto& points : {std::vector<Vector>{}, std::vector<Vector>(10, {1, 1}),
                               sine(1, 0.1, 0.01, 1.5), sine(1, 1, 0.2, 20)}) {
        const Roughness result = roughness(points, settings);
        EXPECT_FALSE(result.reason.isEmpty());
        EXPECT_TRUE(std::isnan(result.values.ra));
    }
    EXPECT_EQ(roughness(std::vector<Vector>(sine(0, 1, 0.01, 8)), settings).values.ra, 0);
    RoughnessSettings wrong;
    wrong.shortCutoff = 1;
    EXPECT_THROW(roughness(sine(1, 0.1, 0.01, 8), wrong), Error);
    EXPECT_THROW(gaussianMeanLine(std::vector<Vector>(30000, {1, 1}), 1), Error) << "900 million products";
}

}  // namespace
