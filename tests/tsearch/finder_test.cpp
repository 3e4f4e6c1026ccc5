#include <kvmath/tsearch/finder.h>

#include <kvmath/profile/profile.h>
#include <kvmath/tsearch/constraints.h>
#include <kvmath/tsearch/measurement_list.h>
#include <kvmath/tsearch/measurements.h>
#include <kvmath/tsearch/template.h>

#include <tests/support/literal_lines.h>
#include <tests/support/point_runs.h>
#include <tests/support/prelude.h>

namespace {

using Codes = std::vector<int>;

/// A polyline sampled every 0.5 mm.
KvProfile sampled(const std::vector<KvVector2D<double>>& corners) {
    KvProfile profile;
    for (size_t k = 0; k + 1 < corners.size(); ++k) {
        const auto& a = corners[k];
        const auto& b = corners[k + 1];
        const int steps = static_cast<int>(std::hypot(b.x - a.x, b.y - a.y) / 0.5);
        for (int i = 0; i < steps; ++i) {
            const double t = static_cast<double>(i) / steps;
            profile.append(
                {static_cast<float>(a.x + t * (b.x - a.x)), static_cast<float>(a.y + t * (b.y - a.y))}, true);
        }
    }
    return profile;
}

TSFindTemplateParams parameters(bool allowReversed) { return {5.0, 0.3, 2, 3.0, allowReversed, 1e300}; }

const std::vector<KvVector2D<double>> kSteps = {{0, 0},  {20, 0},  {26, 8},  {46, 8},   {52, 0},
                                                {70, 0}, {74, 12}, {94, 12}, {100, -5}, {120, -5}};

Codes codesOf(const TSLinesIndecies& indices) {
    Codes codes;
    int segment = 0;
    bool reversed = false;
    for (int line = 0; line < indices.count(); ++line) {
        EXPECT_TRUE(indices.getLineIndex(line, segment) && indices.getLineOrientation(line, reversed));
        codes.push_back(2 * segment + (reversed ? 1 : 0));
    }
    return codes;
}

/// Every assignment of three segments in order of codes, judged by all constraints at the end.
std::vector<Codes> byNestedLoops(QList<LinePP>& lines, const TSTemplate& templ, bool allowReversed) {
    std::vector<LinePP> found(lines.begin(), lines.end());
    std::vector<Codes> all;
    const int end = 2 * static_cast<int>(lines.size());
    const int step = allowReversed ? 1 : 2;
    for (int a = 0; a < end; a += step) {
        for (int b = 0; b < end; b += step) {
            for (int c = 0; c < end; c += step) {
                Codes codes = {a, b, c};
                bool fits = a / 2 != b / 2 && a / 2 != c / 2 && b / 2 != c / 2;
                for (TSConstraint* constraint : templ.getAllConstraints())
                    fits = fits && constraint->check(found.data(), codes.data());
                if (fits)
                    all.push_back(codes);
            }
        }
    }
    return all;
}

TEST(FindTemplate, FindsWhatNestedLoopsFind) {
    const KvProfile profile = sampled(kSteps);
    Draws draws(11);
    int total = 0;
    TemplateFinder finder;
    QList<LinePP> keptLines;
    QList<TSLinesIndecies> keptResults;
    for (int round = 0; round < 40; ++round) {
        SCOPED_TRACE(round);
        TSTemplate templ(3);
        if (draws.chance(0.7))
            templ.addConstraint(new TSCLength(draws.integer(0, 2), draws.real(0, 15), draws.real(12, 30)));
        if (draws.chance(0.7))
            templ.addConstraint(
                new TSCRotationAngle(draws.integer(0, 1), 2, draws.real(0, 1), draws.real(1, 3.2),
                                     static_cast<TSCRotationAngle::Direction>(draws.integer(0, 2))));
        if (draws.chance(0.7))
            templ.addConstraint(new TSCEndPointDistanceWithCheck(1, 0, kUnset, draws.real(1, 60)));
        if (draws.chance(0.5))
            templ.addConstraint(
                new TSCEndPointShiftInDirection(2, 1, draws.real(-30, 5), kUnset, 0, draws.chance(0.5)));
        QList<LinePP> lines;
        QList<TSLinesIndecies> results;
        const bool allowReversed = draws.chance(0.5);
        EXPECT_TRUE(findTemplate(profile, &templ, parameters(allowReversed), lines, results));
        std::vector<Codes> found;
        for (const TSLinesIndecies& indices : results)
            found.push_back(codesOf(indices));
        EXPECT_EQ(found, byNestedLoops(lines, templ, allowReversed));
        EXPECT_TRUE(finder.find(profile, &templ, parameters(allowReversed), keptLines, keptResults));
        std::vector<Codes> again;
        for (const TSLinesIndecies& indices : qAsConst(keptResults))
            again.push_back(codesOf(indices));
        EXPECT_EQ(again, found) << "in the storage of the round before";
        total += static_cast<int>(results.size());
    }
    EXPECT_GT(total, 500);
}

PointRun pointsOf(const QList<LinePP>& lines) {
    PointRun points;
    for (const LinePP& line : lines)
        points.insert(points.end(), {line.p1, line.p2});
    return points;
}

TEST(FindTemplate, GivesTheSegmentsOfTheStepsOneByOneAndClearsOldResults) {
    Draws draws(5);
    TemplateFinder finder;
    QList<LinePP> lines = {LinePP()};
    QList<TSLinesIndecies> results;
    for (int trial = 0; trial < 3000; ++trial) {
        SCOPED_TRACE(trial);
        const QList<LinePP> linesBefore = lines;
        const PointRun before = pointsOf(lines);
        KvProfile profile;
        PointRun run, expected;
        for (const auto& p : drawnRun(draws)) {
            profile.points.append({static_cast<float>(p.x), static_cast<float>(p.y)});
            run.emplace_back(profile.points.last().x, profile.points.last().y);
        }
        const TSFindTemplateParams params{
            draws.chance(0.5) ? 0.6 : 0.2, 0.1, draws.integer(0, 3), 0.3, true, 0.5};
        for (const PointRun& contour : Literal::contours(run, params.contourGap)) {
            const PointRun v = Literal::pieces(contour, 0.1, params.refineIterations, 0.5).second;
            for (size_t k = 0; k + 1 < v.size(); ++k)
                if (Literal::distance(v[k + 1], v[k]) > 0.3)
                    expected.insert(expected.end(), {v[k], v[k + 1]});
        }
        results.append(TSLinesIndecies());
        EXPECT_TRUE(finder.find(profile, nullptr, params, lines, results) && results.isEmpty());
        ASSERT_TRUE(sameBits(pointsOf(lines), expected));
        ASSERT_TRUE(sameBits(pointsOf(linesBefore), before)) << "a copy of the list is another list";
    }
}

TEST(FindTemplate, ATemplateOfZeroLinesMapsAllSegments) {
    TSTemplate none(0);
    QList<LinePP> lines;
    QList<TSLinesIndecies> results;
    EXPECT_TRUE(findTemplate(sampled(kSteps), &none, parameters(true), lines, results));
    ASSERT_EQ(results.size(), 1);
    EXPECT_EQ(codesOf(results[0]), (Codes{0, 2, 4, 6, 8, 10, 12, 14, 16}));
    EXPECT_TRUE(findTemplate(KvProfile(), &none, parameters(true), lines, results));
    ASSERT_EQ(results.size(), 1);
    EXPECT_EQ(results[0].count(), 0);
}

TEST(FindTemplate, WithoutEnoughSegmentsThereIsNoResult) {
    TSTemplate ten(10), one(1);
    QList<LinePP> lines;
    QList<TSLinesIndecies> results;
    EXPECT_TRUE(findTemplate(sampled(kSteps), &ten, parameters(true), lines, results));
    EXPECT_TRUE(results.isEmpty());
    const TSFindTemplateParams exact = {50.0, 0.3, 0, 10.0, true, 1e300};
    for (bool longer : {false, true}) {
        KvProfile straight;
        for (float x : {0.0F, 5.0F, longer ? 10.5F : 10.0F})
            straight.append({x, 0.0F}, true);
        EXPECT_TRUE(findTemplate(straight, &one, exact, lines, results));
        EXPECT_EQ(lines.size(), longer ? 1 : 0) << "only longer than the minimum";
        EXPECT_EQ(results.size(), longer ? 2 : 0) << "either way round";
    }
}

TEST(EvalLinesSet, EvaluatesAllAlsoAfterAFailure) {
    QList<LinePP> lines = {LinePP({0, 0}, {3, 4})};
    const int code = 0;
    TSLinesIndecies indices(&code, 1);
    TSMeasurementList measurements;
    EXPECT_TRUE(evalLinesSet(lines, indices, measurements));
    auto* last = new TSUMLength(0, "a");
    measurements.addMeasurement(new TSUMLength(1, "no such line"));
    measurements.addMeasurement(last);
    EXPECT_FALSE(evalLinesSet(lines, indices, measurements));
    EXPECT_EQ(last->getLength(), 5.0);
}

}  // namespace
