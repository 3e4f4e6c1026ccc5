#include <kvmath/segments/line_extraction.h>

#include <tests/support/literal_lines.h>
#include <tests/support/point_runs.h>
#include <tests/support/prelude.h>

namespace {

std::vector<PointRun> contoursOf(const PointRun& run, double gap) {
    KvVector2D<double>** contours = nullptr;
    int count = -1;
    int* sizes = nullptr;
    profile2contours(run.data(), static_cast<int>(run.size()), gap, contours, count, sizes);
    std::vector<PointRun> result;
    for (int k = 0; k < count; ++k) {
        result.emplace_back(contours[k], contours[k] + sizes[k]);
        delete[] contours[k];
    }
    delete[] contours;
    delete[] sizes;
    return result;
}

std::vector<size_t> sizesOf(const PointRun& run, double gap) {
    std::vector<size_t> sizes;
    for (const PointRun& contour : contoursOf(run, gap))
        sizes.push_back(contour.size());
    return sizes;
}

struct Pieces {
    std::vector<int> breaks;
    PointRun vertices;
    bool hasVertices;
};

Pieces piecesOf(const PointRun& run, double tolerance, int iterations, double cornerTolerance) {
    int* breaks = nullptr;
    int count = -1;
    KvVector2D<double>* vertices = nullptr;
    contour2lines(run.data(), static_cast<int>(run.size()), tolerance, iterations, cornerTolerance, breaks,
                  count, vertices);
    Pieces result{{breaks, breaks + count}, {}, vertices != nullptr};
    if (result.hasVertices)
        result.vertices.assign(vertices, vertices + count);
    delete[] breaks;
    delete[] vertices;
    return result;
}

template <class T, size_t N>
T oneOf(Draws& draws, const T (&values)[N]) {
    return values[draws.integer(0, static_cast<int>(N) - 1)];
}

TEST(ProfileToContours, StepOfExactlyTheGapStaysUnlessALaterEndIsAsNear) {
    EXPECT_THAT(sizesOf({{0, 0}, {1, 0}, {2, 0}}, 1.0), ElementsAre(3));
    EXPECT_THAT(sizesOf({{0, 0}, {1, 0}, {2, 0}}, std::nextafter(1.0, 0.0)), ElementsAre(1, 1, 1));
    EXPECT_THAT(sizesOf({{0, 0}, {9, 0}, {9, 1}, {0, 1}, {0, 1.5}, {8, 1}}, 1.5), ElementsAre(3, 3));
    EXPECT_THAT(sizesOf({{4, 0}, {2, 0}, {4, 0}, {3, 0}}, 1.0),
                ElementsAre(2, 2));  // the later end wins the tie
    EXPECT_THAT(sizesOf({{5, 5}, {5, 5}, {6, 5}, {5, 5}}, 0.0), ElementsAre(3, 1));
}

TEST(ProfileToContours, EqualsTheLiteralGrouping) {
    const double gaps[] = {0,      1,     1.5,          2,    0.05, 0.5,     3, std::sqrt(2.0),
                           1e-160, 1e300, std::nan(""), -1.0, 0.1,  HUGE_VAL};
    Draws draws(2);
    for (int trial = 0; trial < 20000; ++trial) {
        SCOPED_TRACE(trial);
        const PointRun run = drawnRun(draws);
        const double gap = oneOf(draws, gaps);
        const auto found = contoursOf(run, gap);
        const auto expected = Literal::contours(run, gap);
        ASSERT_EQ(found.size(), expected.size());
        for (size_t k = 0; k < found.size(); ++k)
            ASSERT_TRUE(sameBits(found[k], expected[k])) << "contour " << k;
    }
}

TEST(ContourToLines, DeviationEqualToToleranceSplitsAtTheFirstMaximum) {
    const PointRun roof{{0, 0}, {1, 1}, {2, 1}, {3, 0}};
    EXPECT_THAT(piecesOf(roof, 1.0, 0, 1e300).breaks, ElementsAre(0, 1, 3));
    EXPECT_THAT(piecesOf(roof, std::nextafter(1.0, 2.0), 0, 1e300).breaks, ElementsAre(0, 3));
    EXPECT_THAT(piecesOf({{0, 0}, {1, 0}, {2, 0}}, 0.0, 0, 1e300).breaks, ElementsAre(0, 1, 2));
    EXPECT_THAT(piecesOf({{0, 0}, {3, 0}, {3, 4}, {0, 0}}, 2.5, 0, 1e300).breaks, ElementsAre(0, 2, 3));
    const Pieces one = piecesOf({{7, 8}}, 0.1, 2, 0.5);
    EXPECT_TRUE(one.breaks.size() == 1 && !one.hasVertices && piecesOf({}, 0.1, 2, 0.5).breaks.empty());
    int counts[2] = {7, 7}, *numbers = counts;
    KvVector2D<double> point, *vertices = &point, **contours = &vertices;
    profile2contours(nullptr, 3, 1, contours, counts[0], numbers);
    EXPECT_TRUE(!contours && !numbers && counts[0] == 0);
    contour2lines(nullptr, 3, 0.1, 2, 0.5, numbers, counts[1], vertices);
    EXPECT_TRUE(!vertices && !numbers && counts[1] == 0);
}

TEST(ContourToLines, EqualsTheLiteralSteps) {
    const double tolerances[] = {0, 0.5, 1, 0.1, 0.02, -1, std::nan(""), 1e-9, HUGE_VAL, 2, 0.05};
    const double corners[] = {0, 0.5, 1, 1e300, 0.1, std::nan(""), -1, HUGE_VAL, 0.02};
    Draws draws(3);
    for (int trial = 0; trial < 20000; ++trial) {
        SCOPED_TRACE(trial);
        const PointRun run = drawnRun(draws);
        const double tolerance = oneOf(draws, tolerances);
        const double corner = oneOf(draws, corners);
        const int iterations = draws.chance(0.9) ? draws.integer(-1, 4) : draws.integer(5, 100);
        const Pieces found = piecesOf(run, tolerance, iterations, corner);
        const auto expected = Literal::pieces(run, tolerance, iterations, corner);
        ASSERT_EQ(found.breaks, expected.first);
        ASSERT_TRUE(sameBits(found.vertices, expected.second));
    }
}

/// Eight points a tooth: equal teeth, slowly growing or shrinking ones, rough ones, and teeth on a swell;
/// slanting, with flat stretches or an end that meets the start.
PointRun sawtooth(Draws& draws, int n) {
    const double tilt = draws.chance(0.3) ? 0 : draws.real(0, 6.3),
                 far = draws.chance(0.5) ? 0 : draws.real(-1e4, 1e4);
    const double growth = draws.chance(0.4) ? 0 : draws.real(-1e-4, 1e-4),
                 rough = draws.chance(0.5) ? 0 : draws.real(0, 0.1);
    const double swell = draws.chance(0.7) ? 0 : draws.real(0, 3);
    PointRun run;
    for (int i = 0; i < n; ++i) {
        const double height = (1 + growth * i + rough * draws.real(-1, 1)) * (4 - std::abs(i % 8 - 4));
        const double x = 0.05 * i, z = i % 1000 < 60 ? 0 : height + swell * std::sin(0.002 * i);
        run.push_back(
            {far + x * std::cos(tilt) - z * std::sin(tilt), x * std::sin(tilt) + z * std::cos(tilt)});
    }
    if (draws.chance(0.2))
        run.back() = run.front();
    return run;
}

// Long enough for the boxes that spare the looks at most points.
TEST(ContourToLines, SawteethAreSplitAtTheSamePoints) {
    Draws draws(5);
    for (int trial = 0; trial < 60; ++trial) {
        SCOPED_TRACE(trial);
        const PointRun run = sawtooth(draws, draws.integer(1200, 4000));
        const Pieces found = piecesOf(run, 0.3, 1, 1e300);
        const auto expected = Literal::pieces(run, 0.3, 1, 1e300);
        ASSERT_EQ(found.breaks, expected.first);
        ASSERT_TRUE(sameBits(found.vertices, expected.second));
    }
}

// 2^31 - 1 passes end where 127 do, for every period that divides 60.
TEST(ContourToLines, CountlessPassesEndWhereTheirBreaksRepeat) {
    Draws draws(4);
    for (int trial = 0; trial < 300; ++trial) {
        SCOPED_TRACE(trial);
        const PointRun run = drawnRun(draws);
        const Pieces found = piecesOf(run, 0.1, INT_MAX, 1e300);
        const auto expected = Literal::pieces(run, 0.1, 127, 1e300);
        ASSERT_EQ(found.breaks, expected.first);
        ASSERT_TRUE(sameBits(found.vertices, expected.second));
    }
}

}  // namespace
