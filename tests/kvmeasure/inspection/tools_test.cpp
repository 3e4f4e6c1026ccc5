// Tools on regions: words, places, values, and the reasons of those that cannot be had.

#include <kvmeasure/inspection/kinds/area.h>
#include <kvmeasure/inspection/kinds/average.h>
#include <kvmeasure/inspection/kinds/bridge.h>
#include <kvmeasure/inspection/kinds/corner.h>
#include <kvmeasure/inspection/kinds/extreme.h>
#include <kvmeasure/inspection/kinds/groove.h>
#include <kvmeasure/inspection/kinds/order_noise.h>
#include <kvmeasure/inspection/kinds/wall.h>
#include <kvmeasure/inspection/plan.h>
#include <kvmeasure/inspection/registration.h>
#include <kvmeasure/inspection/tool_input.h>
#include <kvmeasure/inspection/tool_results.h>
#include <tests/kvmeasure/calls.h>

namespace {

const float unset = std::nanf("");

/// Regions and anchors in words, a tool, and what it gives.
struct Bench {
    QStringList regions, anchors;
    KvMath::KvProfile profile;

    QList<Value> measure(const QString& words) const {
        QList<Region> placed;
        QList<Anchor> found;
        for (const QString& text : regions)
            placed.append(parseRegion(text));
        for (const QString& text : anchors)
            found.append(parseAnchor(text));
        ToolInput input(placed, found);
        input.load(profile);
        const Tool tool = parseTool(words).tool;
        ToolResults results(tool, {}, /*givesMarks=*/true);
        tool.kind->measure(tool, input, results);
        return results.take().values;
    }
};

KvMath::KvProfile profileOf(const std::vector<std::pair<float, float>>& points) {
    KvMath::KvProfile profile;
    for (const auto& [x, z] : points)
        profile.points.append({x, z});
    return profile;
}

TEST(Tools, GiveAReasonWhereThereIsNoValue) {
    const struct {
        const char *region, *anchor, *reason;
        std::vector<std::pair<float, float>> points;
    } cases[] = {
        {"R = x 0..1", "", "the profile has no points", {}},
        {"R = x 0..1", "", "the profile has no points", {{unset, unset}, {0.5F, unset}}},
        {"R = x 0..1", "", "no point lies in region \"R\"", {{2, 0}, {3, 0}}},
        {"S = x 0..1", "", "there is no region \"R\"", {{0.5F, 0}}},
        {"R = x 0..1 at A", "", "anchor \"A\" is not found: no such line", {{0.5F, 0}}},
        {"R = x 0..1 at A",
         "A = max in R",
         "anchor of region \"R\" depends on the region itself",
         {{0.5F, 0}}},
        {"R = x 0..1 at A", "A = max in S", "anchor \"A\" is not found: there is no region \"S\"", {{0, 0}}},
        {"R = x 0..1 at A", "A = template floor", "anchor \"floor\" is not found", {{0, 0}}},
        {"R = x 0..1", "", "", {{0.5F, 2}}},
        {"R = x 0..1", "", "", {{1, 2}, {unset, 5}}}};
    for (const auto& c : cases) {
        const Bench bench{
            {c.region}, *c.anchor == '\0' ? QStringList() : QStringList{c.anchor}, profileOf(c.points)};
        for (const ToolKind* kind : toolKinds()) {
            // Those that one point is enough for.
            if (!QStringList{"max", "min", "mean", "median"}.contains(kind->word))
                continue;
            for (const Value& value : bench.measure(QString("V = %1 in R").arg(kind->word))) {
                EXPECT_EQ(value.isValid, value.reason.isEmpty()) << kind->word;
                EXPECT_EQ(value.isValid, *c.reason == '\0') << kind->word << value.reason.toStdString();
                EXPECT_THAT(value.reason, Says(c.reason));
            }
        }
    }
}

TEST(Tools, MeasureWhereTheAnchorPutsTheRegion) {
    // A spike at (5, 9) beside a slope z = x / 10; taught with the spike at (0, 0).
    std::vector<std::pair<float, float>> points{{5, 9}};
    for (int i = 0; i <= 100; ++i)
        points.emplace_back(float(i) / 10, float(i) / 100);
    Bench bench{{"all = all", "R = x 1..3 at A", "B = x -1..1 at S", "C = x 1..3 at T"},
                {"A = max in all", "S = left in R from 1 -9", "T = max in all from 0 0 90"},
                profileOf(points)};
    const auto value = [&](const char* words) { return bench.measure(words).first().value; };
    EXPECT_FLOAT_EQ(float(value("V = min in R")), 0.6F);
    EXPECT_FLOAT_EQ(float(value("V = max in R of x")), 8);
    EXPECT_FLOAT_EQ(float(value("V = mean in R")), 0.7F);
    EXPECT_FLOAT_EQ(float(value("V = median in R of x")), 7);
    EXPECT_FLOAT_EQ(float(value("V = percentile 25 in R of x")), 6.5F);
    EXPECT_FLOAT_EQ(float(value("V = min in B of x")), 4) << "an anchor in an anchored region";
    EXPECT_FLOAT_EQ(float(value("V = max in C of x")), 8) << "max has no direction: nothing turns";

    // A line through (5, 5) that rises by 45 degrees, and a point 2 mm over its middle, square to it.
    points = {{5 - float(std::sqrt(2)), 5 + float(std::sqrt(2))}};
    for (int i = 0; i <= 100; ++i)
        points.emplace_back(float(i) / 10, float(i) / 10);
    Bench turned{
        {"all = all", "R = x 4.7..5.3 z 6.7..7.3 at A"}, {"A = line in all from 5 5 0"}, profileOf(points)};
    EXPECT_NEAR(turned.measure("V = max in R").first().value, 5 + std::sqrt(2), 1e-5);
    EXPECT_NEAR(turned.measure("V = max in R of x").first().value, 5 - std::sqrt(2), 1e-5);
}

TEST(Tools, MeasureShapesOfKnownDimensions) {
    // z = |x| from -5 to 5 mm, and a step of 3 mm up at x = 10.05, from 9 to 12.
    std::vector<std::pair<float, float>> points;
    for (int i = -50; i <= 50; ++i)
        points.emplace_back(float(i) / 10, float(std::abs(i)) / 10);
    for (int i = 90; i <= 120; ++i)
        points.emplace_back(float(i) / 10, i <= 100 ? 7.0F : 10.0F);
    const Bench bench{{"R = x -5..5", "L = x -5..-0.5", "M = x 0.5..5", "E = x 8..13", "P = x 3..3.01"},
                      {},
                      profileOf(points)};
    const struct {
        const char* words;
        std::vector<double> values;
    } cases[] = {{"V = area in R above 2", {9, 0, 3}},
                 {"V = area in R below 2", {4, 0, 4.0 / 3}},
                 {"V = area in R above L", {25, 10.0 / 3, 0}},
                 {"V = box in R", {0, 2.5, 10, 5}},
                 {"V = box in P", {3, 3, 0, 0}},
                 {"V = line in M", {45, 2.75, 2.75, 0}},
                 {"V = intersection L M", {0, 0}},
                 {"V = angle L M", {90}},
                 {"V = angle M L opening", {90}},
                 {"V = dimension L M from left to right", {10, 10, 0, 0, 5}},
                 {"V = edge in E least 1", {10.05, 8.5, 3}},
                 {"V = edge in E least 1 rising last", {10.05, 8.5, 3}},
                 {"V = bridge in R skip 0 window 100", {255.0 / 101}}};
    for (const auto& c : cases) {
        const QList<Value> values = bench.measure(c.words);
        for (int i = 0; i < static_cast<int>(c.values.size()); ++i) {
            EXPECT_TRUE(values[i].isValid) << c.words << values[i].reason.toStdString();
            EXPECT_NEAR(values[i].value, c.values[std::size_t(i)], 2e-6) << c.words << " " << i;
        }
    }
    const std::pair<const char*, const char*> refused[] = {
        {"V = intersection L L", "parallel"},
        {"V = edge in E falling", "no step of 0.1 mm"},
        {"V = edge in E least 3.5", "no step"},
        {"V = area in P above 0", "an area needs two points"},
        {"V = line in P", "two"},
        {"V = bridge in P", "too few points"},
        {"V = area in R above P", "two"}};
    for (const auto& [words, reason] : refused)
        EXPECT_THAT(bench.measure(words).first().reason, Says(reason)) << words;
}

// Two places with errors of their own: the middle has half the uncertainty of the difference.
TEST(Tools, MiddlesAreHalfAsUncertainAsDifferences) {
    std::mt19937 random(3);
    std::normal_distribution<double> noise(0, 0.01);
    std::vector<std::pair<float, float>> points;
    for (int i = 0; i < 400; ++i)
        points.emplace_back(float(i) / 20,
                            float((i < 200 ? 1 : 3) - std::pow(i % 200 - 100, 2) / 5000 + noise(random)));
    const Bench bench{{"L = x -1..9.99", "R = x 9.99..21"}, {}, profileOf(points)};
    for (const char* words :
         {"V = dimension L R from max to max", "V = dimension L R from centroid to centroid"}) {
        const QList<Value> values = bench.measure(words);
        ASSERT_EQ(values.size(), 5);
        EXPECT_GT(values[2].u, 0) << words;
        EXPECT_DOUBLE_EQ(values[3].u, values[1].u / 2) << words;
        EXPECT_DOUBLE_EQ(values[4].u, values[2].u / 2) << words;
        const double size = values[0].value;
        EXPECT_NEAR(size, std::hypot(values[1].value, values[2].value), 1e-12);
        EXPECT_NEAR(values[0].u,
                    std::hypot(values[1].value * values[1].u, values[2].value * values[2].u) / size, 1e-12);
    }
}

TEST(Tools, TakeAreasAsAFineSumDoes) {
    std::mt19937 random(5);
    std::normal_distribution<double> normal;
    for (int run = 0; run < 50; ++run) {
        std::vector<Vector> points;
        for (int i = 0; i < 2 + run; ++i)
            points.emplace_back(2 * i + 0.6 * std::tanh(normal(random)), normal(random));
        if (run > 20)
            points.erase(points.begin() + run / 2, points.begin() + run / 2 + 2);
        LineFit base;
        const double tilt = 0.2 * normal(random);
        base.centre = Vector(3, normal(random));
        base.along = Vector(std::cos(tilt), std::sin(tilt));
        const auto height = [&](const Vector& point) {
            return point.y - base.centre.y - std::tan(tilt) * (point.x - base.centre.x);
        };
        constexpr int parts = 2000;
        double fine[2] = {0, 0};
        for (std::size_t i = 1; i < points.size(); ++i) {
            const double step = (points[i].x - points[i - 1].x) / parts;
            for (int k = 0; k < parts; ++k) {
                const double share = (k + 0.5) / parts;
                const double distance = height(points[i - 1]) * (1 - share) + height(points[i]) * share;
                fine[distance > 0 ? 0 : 1] += std::fabs(distance) * step;
            }
        }
        std::vector<Vector> reversed(points.rbegin(), points.rend());
        for (const bool isAbove : {true, false}) {
            const AreaSettings settings{isAbove, /*widestGap=*/1e6};
            const AreaResult area = measureArea(points, base, settings);
            EXPECT_NEAR(area.area, fine[isAbove ? 0 : 1], 1e-5 * double(points.size())) << run;
            EXPECT_NEAR(area.area, measureArea(reversed, base, settings).area, 1e-12 * double(points.size()));
            EXPECT_EQ(area.gaps, 0);
            if (area.area == 0)
                continue;
            // What a height and a wall change of it, and of its centroid.
            const auto over = [&](std::size_t i) {
                return std::max((isAbove ? 1 : -1) * height(points[i]), 0.0);
            };
            const auto step = [&](std::size_t i) {
                return i > 0 && i < points.size() ? points[i].x - points[i - 1].x : 0;
            };
            const double zero = std::fabs(height(area.centroid));
            double sums[6] = {};
            const auto add = [&](int first, double change, double x, double z) {
                sums[first] += change * change;
                sums[first + 1] += std::pow(change * (x - area.centroid.x), 2);
                sums[first + 2] += std::pow(change * (z - zero), 2);
            };
            const PointSpacing spacing = spacingOf(points);
            const double end = std::sqrt(
                std::max(std::pow(spacing.deviationOfEnd, 2) - std::pow(spacing.medianStep, 2) / 12, 0.0));
            for (std::size_t i = 0; i < points.size(); ++i) {
                if (over(i) > 0)
                    add(0, (step(i) + step(i + 1)) / 2, points[i].x, over(i));
                if (i > 0)
                    add(3, step(i) * (over(i) - over(i - 1)) * wallShare(points, i) / std::sqrt(12.0),
                        (points[i - 1].x + points[i].x) / 2, (over(i - 1) + over(i)) / 2);
                if (i == 0 || i + 1 == points.size())
                    add(3, end * over(i), points[i].x, over(i) / 2);
            }
            const double found[] = {area.squaredShares, area.squaredSharesX, area.squaredSharesZ,
                                    area.walls,         area.wallsX,         area.wallsZ};
            for (int k = 0; k < 6; ++k)
                EXPECT_NEAR(found[k], sums[k], 1e-9 * (1 + sums[k])) << run << ", " << k;
        }
    }
    const std::vector<Vector> broken{{0, 1}, {1, 1}, {2, 1}, {30, 1}, {31, 1}};
    LineFit level;
    level.along = Vector(1, 0);
    EXPECT_TRUE(measureArea({{1, 0}, {2, 1}, {1, 2}}, level).reason.contains("begin and end at one x"));
    const AreaResult area = measureArea(broken, level);
    EXPECT_EQ(area.area, 3);
    EXPECT_EQ(area.gaps, 1);
    EXPECT_EQ(area.leftOut, 28);
}

TEST(Tools, AreReadInWordsAndWrittenBack) {
    for (const char* words :
         {"V = max in R", "V = min in R of x", "V = percentile 12.5 in R", "top-1 = median in R_2 of x"}) {
        EXPECT_EQ(parseTool(words).tool.text(), words);
        EXPECT_EQ(parseTool(QString(" %1 ;").arg(words).replace(';', ' ')).tool.text(), words);
    }
    for (const char* words :
         {"R = x -6..6", "R = all", "R = second", "R = x ..2.5 z 1.. at A", "R = z -1e-05..0"})
        EXPECT_EQ(parseRegion(words).text(), words);
    for (const char* words : {"A = max in R", "A = line in R from 1 2 -5", "A = template floor",
                              "A = template in", "A = left in R from 0 -3", "A = left in R from 0 0 30"})
        EXPECT_EQ(parseAnchor(words).text(), words);
    EXPECT_EQ(parseRegion("R = at A x -6 .. 6").text(), "R = x -6..6 at A");
    EXPECT_EQ(parseRegion("R = x 0.12345678901..1").text(), "R = x 0.123456789..1") << "ten digits";
    EXPECT_EQ(parseTool("V = percentile 5 in R: 5 +- 0.1").tolerances.first().first, "V");
}

TEST(Tools, RefuseWordsWithWhatWasExpected) {
    const std::pair<const char*, const char*> cases[] = {
        {"max in R", "\"NAME =\" is missing"},
        {"3 = max in R", "\"3\" is no name"},
        {"a b = max in R", "\"a b\" is no name"},
        {"V = maks in R", "\"maks\" is no kind of measurement; expected max,"},
        {"V = percentil 5 in R", "did you mean \"percentile\"?"},
        {"V = max", "lacks in region"},
        {"V = max R", "unexpected \"R\""},
        {"V = max in", "expected region behind \"in\""},
        {"V = max in R in S", "\"in\" stands twice"},
        {"V = max in R of y", "expected z or x, found \"y\""},
        {"V = max in 3", "expected the name of a region, found \"3\""},
        {"V = percentile in R", "lacks percentage"},
        {"V = percentile 101 in R", "percentage must be from 0 to 100 %, not 101"},
        {"V = edge in R window 0", "must be from 1 to 1000, not 0"},
        {"V = percentile nan in R", "expected a number, percentage, found \"nan\""},
        {"V = max in R : +- 0.1", "there is no taught value"},
        {"V = thickness R R square", "needs two regions"},
        {"V = bridge in R skip 20", "\"skip\" must be less than \"window\""},
        {"V = bridge in R window 100.5", "must be from 0 to 100 %, not 100.5"},
        {"V = max in R : 5", "expected \"NOMINAL"},
        {"V = box in R : max 3", "has several values; say whose tolerance it is"},
        {"V = max in R : ", "expected \"NOMINAL"},
        {"V = \1max\2 in R", "\"\\u0001max\\u0002\" is no kind"}};
    for (const auto& [words, reason] : cases) {
        const Error error = errorOf([text = words] {
            InspectionPlan plan;
            addTools(text, plan);
        });
        EXPECT_THAT(error, Says(reason)) << words;
        EXPECT_EQ(error.parameter(), "measure") << words;
    }
    for (const char* words :
         {"", "R", "R = x", "R = x 3", "R = x 6..-6", "R = x 1..2 x 1..2", "R = y 1..2", "R = x nan..1",
          "R = x ..", "R = x 1..b", "R = at", "1 = all", "R = x 1..2 at A B"})
        EXPECT_EQ(errorOf([words] { parseRegion(words); }).parameter(), "region") << words;
    for (const char* words :
         {"", "A", "A = ", "A = max", "A = max from 1 2", "A = peak in R", "A = max in R 1 2",
          "A = max in R from", "A = max in R from 1", "A = max in R from 1 x", "A = max in R from 1 2 3 4"})
        EXPECT_EQ(errorOf([words] { parseAnchor(words); }).parameter(), "anchor") << words;
}

TEST(Kinds, CalledDirectlyRefuseWhatHasNoValue) {
    std::vector<double> none, three{1, 2, 3};
    EXPECT_TRUE(std::isnan(meanOf(none)) && std::isnan(percentileOf(none, 50)));
    for (const double percent : {-1.0, 100.1, double(NAN)})
        EXPECT_TRUE(std::isnan(percentileOf(three, percent))) << percent;
    EXPECT_EQ(extremePoint({}), -1);
    NoiseModel noise;
    EXPECT_TRUE(std::isnan(OrderNoise({1, 2}, noise).extreme()) &&
                std::isnan(OrderNoise(10, 1, noise).percentile(50)));
    EXPECT_TRUE(std::isnan(deviationOfExtremePlace({1, 2}, {1, 2}, true, noise)));
    for (const double quantile : OrderNoise({1, 2}, noise).extremeQuantiles({0.1, 0.9}, true))
        EXPECT_TRUE(std::isnan(quantile));
    noise.deviation = 0;
    noise.correlationTime = 1;
    for (const auto& [skip, window] :
         std::vector<std::pair<double, double>>{{-1, 10}, {5, 5}, {0, 101}, {NAN, 9}, {0, NAN}}) {
        EXPECT_TRUE(std::isnan(bridgeValue(three, skip, window).height)) << skip << ' ' << window;
        EXPECT_TRUE(std::isnan(OrderNoise(three, noise).bandMean(skip, window))) << skip << ' ' << window;
    }
    EXPECT_EQ(OrderNoise(three, noise).bandMean(0, 10) + OrderNoise(three, noise).percentile(50), 0)
        << "no noise";
    for (const double percent : {0.0, 100.0, double(NAN)})
        EXPECT_TRUE(std::isnan(OrderNoise(three, noise).percentile(percent))) << percent;
    noise.deviation = 0.1;
    EXPECT_TRUE(std::isnan(OrderNoise(10, INFINITY, noise).extreme()));
    EXPECT_TRUE(std::isnan(OrderNoise({-1e308, 1e308}, noise).extreme()));
    // Points that are unset, and from right to left, are those of the same profile.
    std::vector<Vector> groove, bend;
    for (int i = 0; i <= 400; ++i) {
        const double x = i * 0.05 - 10, ripple = 0.004 * ((i * 37) % 11 - 5);
        groove.emplace_back(x, ripple - (std::fabs(x) < 2 ? 1.5 : 0));
        bend.emplace_back(x, ripple - std::fabs(x) / 2);
    }
    const auto damaged = [](std::vector<Vector> points) {
        points.insert(points.begin() + 100, {NAN, 1});
        points.insert(points.begin() + 50, {1, INFINITY});
        std::reverse(points.begin(), points.end());
        return points;
    };
    EXPECT_NEAR(measureGroove(damaged(groove)).width.value, measureGroove(groove).width.value, 1e-9);
    EXPECT_NEAR(measureGroove(damaged(groove)).depth.value, 1.5, 0.02);
    EXPECT_NEAR(measureCorner(damaged(bend)).x.value, measureCorner(bend).x.value, 1e-9);
    EXPECT_NEAR(measureCorner(bend).angle.value, 180 - 2 * std::atan(0.5) * 57.29577951308232, 0.1);
    // Nothing to lay, nothing to lay it on, one place, and one line.
    const std::vector<std::vector<Vector>> line{{{0, 0}, {1, 0}, {2, 0}, {3, 0}}}, nothing;
    EXPECT_EQ(registerPoints({}, line).used + registerPoints(line[0], nothing).used +
                  registerPoints({{NAN, 0}, {1, 0}}, line).used,
              0);
    EXPECT_FALSE(registerPoints(std::vector<Vector>(9, {1, 1}), line).isFixed());
    EXPECT_FALSE(registerPoints(line[0], line).isFixed()) << "along the line nothing holds it";
}

// Of a few different steps, as rounded columns have them, and of many.
TEST(PointSpacing, MedianStepIsThatOfTheSortedSteps) {
    std::mt19937 random(3);
    for (const std::size_t count : {1U, 2U, 39U, 40U, 41U, 100U, 239U, 240U}) {
        for (const unsigned different : {1U, 2U, 5U, 100'000U}) {
            std::vector<double> steps(count);
            std::vector<Vector> points{{0, 0}};
            for (double& step : steps) {
                step = 1 + double(random() % different);
                points.emplace_back(points.back().x + step, 0);
            }
            std::sort(steps.begin(), steps.end());
            EXPECT_EQ(medianStep(points), steps[count / 2]) << count << " of " << different;
        }
    }
}

}  // namespace
