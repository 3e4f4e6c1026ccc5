// Step height beside lines built from their answer; roughness beside the formulas of a sine.

#include <kvmeasure/form/gaussian_filter.h>
#include <kvmeasure/form/roughness.h>
#include <kvmeasure/form/step_height.h>
#include <tests/kvmeasure/calls.h>

namespace {

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
    // Deepest beside its middle, and with deviations of 0.001 that neither move nor turn it much.
    std::vector<Vector> bent = groove(0, 0.01, false);
    for (Vector& p : bent)
        p.y -= p.x > 10 && p.x < 13 ? 0.5 - 0.1 * (p.x - 11.7) * (p.x - 11.7) : 0;
    EXPECT_NEAR(stepHeight(bent, 10, 13, StepType::A2).height, 0.5, 1e-9);
    std::vector<Vector> rough = groove(0.5, 0.01, false);
    for (std::size_t i = 0; i < rough.size(); ++i)
        rough[i].y += i % 4 == 0 || i % 4 == 3 ? 0.001 : -0.001;
    EXPECT_NEAR(stepHeight(rough, 10, 13).deviation, 0.001 * std::sqrt(253 / 250.0), 1e-6);
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

TEST(StepHeight, TellsWhyThereIsNone) {
    const std::vector<Vector> sides{{7, 1}, {8, 1}, {15, 1}, {16, 1}};
    const auto with = [&sides](std::vector<Vector> more) {
        more.insert(more.end(), sides.begin(), sides.end());
        return more;
    };
    const struct {
        std::vector<Vector> points;
        StepType type;
        const char* reason;
    } cases[] = {{sides, StepType::A1, "no point in the bottom"},
                 {with({{11, 0}, {12, 0}}), StepType::A2, "fewer than three points in the bottom"},
                 {with({{11.5, 0}, {11.5, 0}, {11.5, 1}}), StepType::A2,
                  "the points of the references or of the bottom have too few places"},
                 {{{7, 1}, {NAN, 1}, {15, 1}, {16, NAN}, {99, 0}},
                  StepType::A1,
                  "fewer than two points in the left reference"},
                 {{{8, 1}, {8, 1}, {16, 1}}, StepType::A1, "fewer than two points in the right reference"}};
    for (const auto& c : cases) {
        const StepHeight step = stepHeight(c.points, 10, 13, c.type);
        EXPECT_EQ(step.reason, c.reason);
        EXPECT_TRUE(std::isnan(step.height));
    }
    for (const auto& [from, to] : {std::pair<double, double>(NAN, 13), {10, INFINITY}, {13, 13}})
        EXPECT_EQ(stepHeight(sides, from, to).reason, "the edges are not in order");
    // Three points on a line have no deviation; a bottom that is bent upwards is read at its lower end.
    EXPECT_TRUE(std::isnan(stepHeight({{7, 1}, {11.5, 0}, {16, 1}, {16, NAN}, {8, NAN}}, 10, 13).deviation));
    const StepHeight slope = stepHeight(with({{11, 0.4}, {11.5, 0.2}, {12, 0.01}}), 10, 13, StepType::A2);
    EXPECT_NEAR(slope.height, 0.99, 1e-9);
    const StepHeight other = stepHeight(with({{11, 0.01}, {11.5, 0.2}, {12, 0.4}}), 10, 13, StepType::A2);
    EXPECT_NEAR(other.height, 0.99, 1e-9);
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

TEST(Roughness, OfARoughSurfaceIsThatOfItsHeightsInEachSection) {
    std::mt19937 random(9);
    std::exponential_distribution<double> height(500);  // skewed: Rp is not Rv
    std::vector<Vector> points;
    for (int i = 0; i <= 5037; ++i)  // no point between two sections
        points.emplace_back(20 + i * 0.001,
                            3 + 0.01 * i * 0.001 + 0.005 * std::sin(i * 0.002) + height(random));
    for (const RoughnessNorm norm : {RoughnessNorm::Iso21920, RoughnessNorm::Iso4287}) {
        RoughnessSettings settings;
        settings.norm = norm;
        const Roughness result = roughness(points, settings);
        ASSERT_EQ(result.sections, 5);  // of 0.8 mm in 4.237
        EXPECT_NEAR(result.from, 20.5185, 1e-9);
        EXPECT_NEAR(result.to, 24.5185, 1e-9);
        EXPECT_NEAR(result.pitch, 0.001, 1e-12);
        EXPECT_EQ(result.notes.filter("gap").size(), 0);
        std::vector<std::vector<double>> sections(5);
        std::vector<double> waves;
        for (std::size_t i = 0; i < result.x.size(); ++i) {
            if (result.x[i] < 20.5185 || result.x[i] > 24.5185)
                continue;
            sections[std::size_t(std::clamp((result.x[i] - 20.5185) / 0.8, 0.0, 4.5))].push_back(
                result.heights[i]);
            waves.push_back(result.waviness[i]);
        }
        const auto moment = [](const std::vector<double>& heights, int power) {
            double sum = 0;
            for (const double z : heights)
                sum += std::pow(z, power) / double(heights.size());
            return sum;
        };
        RoughnessValues expected;
        const auto add = [&](const std::vector<double>& heights, double share) {
            double size = 0;
            for (const double z : heights)
                size += std::fabs(z) / double(heights.size());
            const double rq = std::sqrt(moment(heights, 2));
            expected.ra += share * size;
            expected.rq += share * rq;
            expected.rsk += share * moment(heights, 3) / std::pow(rq, 3);
            expected.rku += share * moment(heights, 4) / std::pow(rq, 4);
        };
        expected.ra = expected.rq = expected.rsk = expected.rku = expected.rp = expected.rv = expected.wa = 0;
        std::vector<double> all;
        for (const std::vector<double>& heights : sections) {
            all.insert(all.end(), heights.begin(), heights.end());
            expected.rp += *std::max_element(heights.begin(), heights.end()) / 5;
            expected.rv -= *std::min_element(heights.begin(), heights.end()) / 5;
            if (norm == RoughnessNorm::Iso4287)
                add(heights, 0.2);
        }
        if (norm == RoughnessNorm::Iso21920)
            add(all, 1);
        for (const double wave : waves)
            expected.wa += std::fabs(wave) / double(waves.size());
        const auto [low, high] = std::minmax_element(all.begin(), all.end());
        const auto [trough, crest] = std::minmax_element(waves.begin(), waves.end());
        EXPECT_NEAR(result.values.ra, expected.ra, 1e-12);
        EXPECT_NEAR(result.values.rq, expected.rq, 1e-12);
        EXPECT_NEAR(result.values.rsk, expected.rsk, 1e-9);
        EXPECT_NEAR(result.values.rku, expected.rku, 1e-9);
        EXPECT_NEAR(result.values.rp, expected.rp, 1e-12);
        EXPECT_NEAR(result.values.rv, expected.rv, 1e-12);
        EXPECT_NEAR(result.values.rz, expected.rp + expected.rv, 1e-12);
        EXPECT_NEAR(result.values.rt, *high - *low, 1e-12);
        EXPECT_NEAR(result.values.wa, expected.wa, 1e-12);
        EXPECT_NEAR(result.values.wz, *crest - *trough, 1e-12);
        EXPECT_GT(result.values.rp, 1.5 * result.values.rv);
    }
    points.erase(points.begin() + 2000, points.begin() + 2500);
    EXPECT_EQ(roughness(points, {}).notes.filter("gap of 0.501 mm").size(), 1);
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

TEST(Roughness, NotesWhatDepartsFromTheNorms) {
    RoughnessSettings settings;
    settings.keepsEnds = true;
    settings.shortCutoff = 0.0025;
    const Roughness rough = roughness(sine(0.002, 0.1, 0.001, 2.4), settings);
    ASSERT_EQ(rough.sections, 3);
    EXPECT_NEAR(rough.from, 0, 1e-9);
    EXPECT_NEAR(rough.values.rp, 0.002, 1e-4) << "waves of 0.1 mm pass a short cut-off of 0.0025 mm";
    EXPECT_EQ(rough.notes[0], "3 sampling lengths; the norms take 5");
    EXPECT_EQ(rough.notes[1], "half a cut-off at each end counts: the filter is one-sided there");
    EXPECT_TRUE(rough.notes[2].contains("lambda s is below five pitches")) << rough.notes[2].toStdString();
    settings.shortCutoff = 0.25;
    EXPECT_LT(roughness(sine(0.002, 0.1, 0.001, 2.4), settings).values.rp, 4e-4)
        << "these waves do not, but at the ends";
    // Points in the first and last of three sampling lengths alone.
    settings.shortCutoff = 0;
    std::vector<Vector> parted = sine(0.002, 0.1, 0.001, 2.4);
    parted.erase(parted.begin() + 801, parted.begin() + 1600);
    EXPECT_EQ(roughness(parted, settings).reason, "a sampling length has fewer than two points");
    EXPECT_FALSE(roughness(sine(0.002, 0.1, 0.001, 0.5), settings).reason.contains("half a cut-off"));
    settings.keepsEnds = false;
    EXPECT_TRUE(roughness(sine(0.002, 0.1, 0.001, 1.5), settings)
                    .reason.endsWith("half a cut-off left out at each end"));
    for (const auto& [cutoff, shortCutoff] :
         std::vector<std::pair<double, double>>{{0, 0}, {NAN, 0}, {0.8, -1}, {0.8, NAN}, {0.8, 0.8}}) {
        settings.cutoff = cutoff;
        settings.shortCutoff = shortCutoff;
        EXPECT_THROW(roughness(sine(1, 0.1, 0.01, 8), settings), Error) << cutoff << ' ' << shortCutoff;
    }
}

// Parts below a tenth of Rz, or a hundredth of the cut-off, part no elements.
TEST(Roughness, CountsElementsByTheirHeightAndLength) {
    const struct {
        double height, length, rsm;  // as shares of Rz; mm
    } cases[] = {{0.13, 0.01, 0.08 / 3}, {0.07, 0.01, 0.08}, {0.13, 0.006, 0.08}, {0.3, 0.02, 0.08 / 3}};
    for (const auto& c : cases) {
        std::vector<Vector> points = sine(0.002, 0.08, 0.0005, 6.4);
        for (Vector& p : points) {  // each crest has a dip, each trough a bump
            const double from = std::remainder(p.x - 0.04, 0.08);
            if (std::fabs(std::fabs(from) - 0.02) < c.length / 2)
                p.y = 40 + (from > 0 ? 1 : -1) * c.height * 0.004;
        }
        EXPECT_NEAR(roughness(points, {}).values.rsm, c.rsm, 1e-4) << &c - cases;
    }
}

// The robust line is that of the weights which it gives: Tukey's, none beyond 4.4478 medians.
TEST(GaussianMeanLine, OfTrustIsThatOfItsOwnWeights) {
    std::mt19937 random(2);
    std::exponential_distribution<double> height(500);
    for (const double uneven : {0.0, 0.3}) {
        std::vector<Vector> points;
        for (int i = 0; i < 400; ++i)
            points.emplace_back((i + uneven * std::sin(i)) * 0.01, height(random));
        const std::vector<double> line = gaussianMeanLine(points, 0.8, true);
        std::vector<double> off;
        for (std::size_t i = 0; i < points.size(); ++i)
            off.push_back(std::fabs(points[i].y - line[i]));
        std::vector<double> sorted(off);
        std::sort(sorted.begin(), sorted.end());
        const double limit = 4.4478 * sorted[200];
        for (std::size_t i = 0; i < points.size(); ++i) {
            double sum = 0, weights = 0;
            for (std::size_t k = 0; k < points.size(); ++k) {
                const double d = std::fabs(points[k].x - points[i].x) / 0.8;
                const double trust = std::pow(std::max(1 - std::pow(off[k] / limit, 2), 0.0), 2);
                const double weight = d <= 1 ? trust * std::exp(-pi * pi * d * d / std::log(2)) : 0;
                sum += weight * points[k].y;
                weights += weight;
            }
            ASSERT_NEAR(line[i], sum / weights, 1e-4 * limit) << i;
        }
    }
}

TEST(GaussianMeanLine, OfNothingAndOfALineIsThat) {
    EXPECT_TRUE(gaussianMeanLine({}, 1).empty());
    for (const double cutoff : {0.0, -1.0, double(NAN)})
        EXPECT_THROW(gaussianMeanLine({{0, 0}}, cutoff), Error);
    EXPECT_EQ(gaussianMeanLine({{0, 3}}, 1, true), std::vector<double>{3});
    EXPECT_EQ(gaussianMeanLine({{0, 3}, {1, 3}, {5, 3}}, 2, true), (std::vector<double>(3, 3.0)));
}

}  // namespace
