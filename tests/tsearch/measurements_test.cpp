#include <kvmath/tsearch/measurements.h>

#include <kvmath/tsearch/measurement_manager.h>

#include <tests/support/prelude.h>
#include <tests/support/stored_forms.h>

namespace {

using Point = KvVector2D<double>;

/// Template lines 0, 1, 2 on the segments with these codes.
bool measure(TSMeasurement& m, QList<LinePP> lines, const std::vector<int>& codes) {
    TSLinesIndecies indices(codes.data(), static_cast<int>(codes.size()));
    const bool measured = m.measure(lines, indices);
    EXPECT_EQ(m.isValid(), measured);
    EXPECT_EQ(m.getUniformResult().isEmpty(), !measured);
    return measured;
}

/// The numbers of all uniform results: points, lines (ends, value), angles (vertex, arms, value).
std::vector<double> numbersOf(TSMeasurement& m) {
    std::vector<double> all;
    TSUniformResults results = m.getUniformResult();
    for (const auto& r : results.points)
        all.insert(all.end(), {r.point.x, r.point.y});
    for (const auto& r : results.lines)
        all.insert(all.end(), {r.p1.x, r.p1.y, r.p2.x, r.p2.y, r.value});
    for (const auto& r : results.angles)
        all.insert(all.end(),
                   {r.vertex.x, r.vertex.y, r.first.x, r.first.y, r.second.x, r.second.y, r.value});
    results.clear();
    EXPECT_TRUE(results.points.isEmpty() && results.lines.isEmpty() && results.angles.isEmpty());
    return all;
}

const QList<LinePP> kCorner = {segment(1, 2, 4, 6), segment(10, 0, 10, 5), segment(20, 0, 28, 0)};
const double kQuarter = std::acos(0.0);
const double kHalf = std::acos(-1.0);

template <class M, class... Arguments>
std::shared_ptr<TSMeasurement> make(Arguments... arguments) {
    return std::make_shared<M>(arguments...);
}

TEST(EveryMeasurement, GivesItsUniformResults) {
    using Turn = TSUMRotationAngle;
    using Between = TSUMAngleBetweenLines;
    using Shift = TSUMEndPointShiftInDirection;
    const struct {
        std::shared_ptr<TSMeasurement> m;
        std::vector<int> codes;
        std::vector<double> numbers;
    } cases[] = {
        {make<TSUMLength>(0, "a"), {0}, {1, 2, 4, 6, 5}},
        {make<TSUMLength>(0, "a"), {1}, {4, 6, 1, 2, 5}},
        {make<TSUMInclinationAngle>(0, "a"), {0}, {1, 2, 6, 2, 4, 6, std::acos(0.6)}},
        {make<TSUMInclinationAngle>(0, "a"), {1}, {4, 6, 9, 6, 1, 2, -std::acos(-0.6)}},
        {make<TSUMInclinationAngle>(0, "a"), {5}, {28, 0, 36, 0, 20, 0, kHalf}},
        {make<Turn>(0, 1, "a"), {4, 2}, {10, 0, 18, 0, 10, 5, kQuarter}},
        {make<Between>(0, 1, "a"), {4, 2}, {10, 0, 18, 0, 10, 5, kQuarter + kPi}},
        {make<Between>(0, 1, "a"), {2, 4}, {10, 0, 10, 5, 18, 0, kPi - kQuarter}},
        {make<Between>(0, 1, "a"),
         {4, 5},
         {28, 0, 36, 0, 20, 0, kPi - kHalf}},  // parallel: start of the second
        {make<TSUMLinePoint>(0, 0.0, "a"), {0}, {1, 2}},
        {make<TSUMLinePoint>(0, 0.0, "a"), {1}, {4, 6}},
        {make<TSUMLinePoint>(0, 0.5, "a"), {1}, {2.5, 4}},
        {make<TSUMLinePoint>(0, 2.0, "a"), {0}, {7, 10}},
        {make<TSUMLinesIntersection>(1, 0, "a"), {4, 2}, {10, 0}},
        {make<TSUMLinesIntersection>(1, 0, "a"), {4, 3}, {10, 0}},
        {make<TSUMPointBetween2Points>(0, 1, true, false, 0.25, "a"), {2, 4}, {14.5, 0}},
        {make<TSUMPointBetween2Points>(0, 1, false, true, 0.25, "a"), {2, 4}, {12.5, 3.75}},
        {make<TSUMPointBetween2Points>(0, 1, false, true, 0.25, "a"), {3, 5}, {14.5, 0}},
        {make<Shift>(0, 1, false, true, 2, false, 0.0, "a"), {0, 2, 4}, {4, 6, 10, 0, 6}},
        {make<Shift>(0, 1, false, true, 2, false, 0.0, "a"), {0, 2, 5}, {4, 6, 10, 0, -6}},
        {make<Shift>(0, 1, false, true, 2, false, 0.0, "a"), {0, 2, 2}, {4, 6, 10, 0, -6}},
        {make<Shift>(0, 1, false, true, 2, false, 0.0, "a"), {1, 2, 4}, {1, 2, 10, 0, 9}},
        {make<Shift>(0, 1, true, false, 2, true, 0.0, "a"), {0, 2, 4}, {1, 2, 10, 5, -9}},
        {make<Shift>(0, 1, true, false, 2, true, kQuarter, "a"),
         {0, 2, 4},
         {1, 2, 10, 5, -3 - 9 * std::cos(kQuarter)}},
        {make<TSUMFarLineInDirection>(Point(0, 1), "n", "f", "l"), {}, {4, 6, 1, 2, 4, 6, 1, 2, 5}},
        {make<TSUMFarLineInDirection>(Point(-1, 0), "n", "f", "l"), {-1}, {1, 2, 4, 6, 1, 2, 4, 6, 5}}};
    for (const auto& [m, codes, numbers] : cases) {
        EXPECT_TRUE(measure(*m, kCorner, codes));
        EXPECT_EQ(numbersOf(*m), numbers) << m->getType().toStdString() << testing::PrintToString(codes);
    }
}

/// The getter says unset before a measurement and after a failure, else what the uniform result says.
template <class M, class Get>
void checkGetter(M m, Get get) {
    EXPECT_EQ(get(m), kUnset);
    EXPECT_TRUE(measure(m, kCorner, {0, 2, 4}));
    const std::vector<double> numbers = numbersOf(m);
    EXPECT_EQ(get(m), numbers.size() == 2 ? numbers[0] : numbers.back());
    EXPECT_FALSE(measure(m, {}, {}));
    EXPECT_EQ(get(m), kUnset);
}

TEST(EveryMeasurement, ShowsItsResultByItsGetter) {
    const auto angle = [](auto& m) { return m.getAngle(); };
    checkGetter(TSUMLength(0, "a"), [](auto& m) { return m.getLength(); });
    checkGetter(TSUMInclinationAngle(0, "a"), angle);
    checkGetter(TSUMRotationAngle(0, 1, "a"), angle);
    checkGetter(TSUMAngleBetweenLines(0, 1, "a"), angle);
    checkGetter(TSUMLinePoint(0, 0.5, "a"), [](auto& m) { return m.getPoint().x; });
    checkGetter(TSUMLinesIntersection(0, 1, "a"), [](auto& m) { return m.getIntersectionPoint().x; });
    checkGetter(TSUMPointBetween2Points(0, 1, true, true, 0.5, "a"), [](auto& m) { return m.getPoint().x; });
    checkGetter(TSUMEndPointShiftInDirection(0, 1, true, true, 2, true, 0, "a"),
                [](auto& m) { return m.getShift(); });
}

TEST(MeasureRotationAngle, GivesTheSenseAndParallelLinesAreNumbersInEveryDirection) {
    TSUMRotationAngle turn(0, 1, "turn");
    EXPECT_EQ(turn.getDirection(), TSUMRotationAngle::NoDirection);
    EXPECT_TRUE(measure(turn, kCorner, {4, 2}));
    EXPECT_EQ(turn.getDirection(), TSUMRotationAngle::CounterClockwise);
    EXPECT_TRUE(measure(turn, kCorner, {5, 2}));
    EXPECT_EQ(turn.getDirection(), TSUMRotationAngle::Clockwise);
    EXPECT_FALSE(measure(turn, kCorner, {5}));
    EXPECT_EQ(turn.getDirection(), TSUMRotationAngle::NoDirection);
    Draws draws(5);
    TSUMAngleBetweenLines m(0, 1, "");
    for (int k = 0; k < 2000; ++k) {
        const LinePP line = segment(0, 0, draws.real(-9, 9), draws.real(-9, 9));
        EXPECT_TRUE(measure(m, {line, line}, {0, 2}));
        EXPECT_NEAR(m.getAngle(), kPi, 3e-8);
    }
}

TEST(EveryMeasurement, DrawsAnAngleAtItsSecondLineWhereTheMeetingPointHasOneCoordinateOnly) {
    const QList<LinePP> lines = {segment(7.58631e-191, 8.10812e149, 2.49595e-25, 1.52464e-7),
                                 segment(3.57602e227, 3.9357e-260, 3.57602e227, -0.0986407)};
    for (const auto& m : {make<TSUMRotationAngle>(0, 1, "a"), make<TSUMAngleBetweenLines>(0, 1, "a")}) {
        EXPECT_TRUE(measure(*m, lines, {0, 2}));
        EXPECT_EQ(numbersOf(*m)[1], 3.9357e-260);
    }
    TSUMLinesIntersection m(0, 1, "a");
    EXPECT_TRUE(measure(m, lines, {0, 2}) && !std::isfinite(m.getIntersectionPoint().y));
}

TEST(MeasureEndPointShift, TurnsASlantedReferenceCounterClockwise) {
    TSUMEndPointShiftInDirection m(0, 1, false, true, 2, false, std::acos(0.6), "shift");
    EXPECT_TRUE(measure(m, kCorner, {0, 2, 0}));
    EXPECT_NEAR(m.getShift(), 6 * -0.28 - 6 * 0.96, 1e-12);
}

TEST(MeasureFarLineInDirection, TakesTheFirstOfTheFarthestEnds) {
    TSUMFarLineInDirection m({0, 1}, "near", "far", "line");
    EXPECT_TRUE(measure(m, {segment(0, 1, 0, 5), segment(3, 5, 4, 2)}, {}));
    EXPECT_EQ(numbersOf(m), (std::vector<double>{0, 5, 0, 1, 0, 5, 0, 1, 4}));
    EXPECT_TRUE(m.getNearPoint().y == 5 && m.getFarPoint().y == 1);
    EXPECT_TRUE(measure(m, {segment(0, 1, 0, 5), segment(3, 9, 4, 9)}, {}) && m.getNearPoint().x == 3);
    EXPECT_EQ(m.getUniformResult().points[1].name, "far");
    EXPECT_FALSE(measure(m, {}, {}));
    for (const Point& unset : {Point(kUnset, 1), Point(1, kUnset)}) {
        m.setDirection(unset);
        EXPECT_FALSE(measure(m, kCorner, {}));
        EXPECT_TRUE(m.getNearPoint().x == kUnset && m.getNearPoint().y == kUnset);
    }
}

std::vector<std::shared_ptr<TSMeasurement>> allNine() {
    return {std::make_shared<TSUMLength>(1, "a"),
            std::make_shared<TSUMInclinationAngle>(1, "a"),
            std::make_shared<TSUMRotationAngle>(1, 2, "a"),
            std::make_shared<TSUMAngleBetweenLines>(1, 2, "a"),
            std::make_shared<TSUMLinePoint>(1, 0.5, "a"),
            std::make_shared<TSUMLinesIntersection>(1, 2, "a"),
            std::make_shared<TSUMPointBetween2Points>(1, 2, true, false, 0.5, "a"),
            std::make_shared<TSUMEndPointShiftInDirection>(1, 2, true, false, 3, true, -2, "a"),
            std::make_shared<TSUMFarLineInDirection>(Point(0.5, -2), "a", "b", "c")};
}

TEST(EveryMeasurement, IsWhatItsSettersMadeItAndItsGettersTell) {
    const auto all = allNine();
    const auto becomes = [&](size_t k, auto m, auto set) {
        set(m);
        EXPECT_EQ(recordOf(m), recordOf(*all[k])) << m.getType().toStdString();
    };
    const auto line = [](auto& m) {
        m.setMeasureLineIndex(1);
        EXPECT_EQ(m.getMeasureLineIndex(), 1);
    };
    const auto pair = [](auto& m) {
        int from = 0, to = 0;
        m.setMeasureLinesIndecies(1, 2);
        m.getMeasureLinesIndecies(from, to);
        EXPECT_TRUE(from == 1 && to == 2);
    };
    const auto position = [](auto& m) {
        m.setPosition(0.5);
        EXPECT_EQ(m.getPosition(), 0.5);
    };
    const auto ends = [](auto& m) {
        bool from = false, to = true;
        m.setPointsChoice(true, false);
        m.getPointsChoice(from, to);
        EXPECT_TRUE(from && !to);
    };
    becomes(0, TSUMLength(0, "a"), line);
    becomes(1, TSUMInclinationAngle(0, "a"), line);
    becomes(2, TSUMRotationAngle(0, 0, "a"), pair);
    becomes(3, TSUMAngleBetweenLines(0, 0, "a"), pair);
    becomes(4, TSUMLinePoint(0, 0, "a"), [&](auto& m) { line(m), position(m); });
    becomes(5, TSUMLinesIntersection(0, 0, "a"), pair);
    becomes(6, TSUMPointBetween2Points(0, 0, false, true, 0, "a"),
            [&](auto& m) { pair(m), ends(m), position(m); });
    becomes(7, TSUMEndPointShiftInDirection(0, 0, false, true, 0, false, 0, "a"), [&](auto& m) {
        int from = 0, to = 0, reference = 0;
        m.setMeasureLinesIndecies(1, 2, 3);
        m.getMeasureLinesIndecies(from, to, reference);
        EXPECT_TRUE(from == 1 && to == 2 && reference == 3);
        ends(m);
        m.setDirectionAngle(-2);
        m.setLineReferenceReversed(true);
        EXPECT_TRUE(m.getDirectionAngle() == -2 && m.getLineReferenceReversed());
    });
    becomes(8, TSUMFarLineInDirection(Point(0, 0), "a", "b", "c"), [](auto& m) {
        m.setDirection({0.5, -2});
        EXPECT_TRUE(m.getDirection().x == 0.5 && m.getDirection().y == -2);
    });
}

TEST(EveryMeasurement, FailsWithoutASegmentForItsLineAndShowsActiveResultsOnly) {
    QList<LinePP> lines = kCorner;
    for (const auto& m : allNine()) {
        if (m->getType() == "Far line in direction")
            continue;
        SCOPED_TRACE(m->getType().toStdString());
        EXPECT_TRUE(measure(*m, lines, {0, 2, 4, 0}));
        for (int bad : {-1, -2, INT_MIN, 6, INT_MAX})
            EXPECT_FALSE(measure(*m, lines, {0, bad, 4, 0}));
        EXPECT_FALSE(measure(*m, lines, {0}));
        const QVariantMap map = mapOf(*m);
        const bool two = map.contains("measureLineToIndex") || map.contains("measureSecondLineIndex");
        EXPECT_EQ(measure(*m, lines, {0, 2, -1, 0}), !two);
        EXPECT_EQ(measure(*m, lines, {0, 2, 4, -1}), !map.contains("measureLineReferenceIndex"));
    }
    TSLinesIndecies indices(std::vector<int>{0, 2, 4, 0}.data(), 4);
    for (const auto& m : allNine()) {
        for (const auto& info : m->getUniformResultsInfoAll())
            *info.second = false;
        EXPECT_TRUE(m->measure(lines, indices) && m->getUniformResult().isEmpty()) << "inactive results";
    }
}

TEST(EveryMeasurement, HasItsDocumentedBytesAndKeys) {
    const QByteArray one = "01000000", two = one + "02000000", half = "000000000000e03f",
                     neg = "00000000000000c0";
    const QByteArray a = "01000000 01000000 61 01", none = "00000000";
    const QStringList line = {"measureLineIndex"}, pair = {"measureLineFromIndex", "measureLineToIndex"};
    const QStringList ends = pair + QStringList{"isLFStartPoint", "isLTStartPoint"};
    const std::vector<std::pair<QByteArray, QStringList>> expected = {
        {one + none + a + none, line},
        {one + none + none + a, line},
        {two + none + none + a, pair},
        {two + none + none + a, pair},
        {one + half + a + none + none, line + QStringList{"position"}},
        {two + a + none + none, {"measureFirstLineIndex", "measureSecondLineIndex"}},
        {two + "0100" + half + a + none + none, ends + QStringList{"position"}},
        {two + "03000000 010001" + neg + none + a + none,
         ends + QStringList{"measureLineReferenceIndex", "isLineReferenceReversed", "directionAngle"}},
        {half + neg + "02000000 01000000 6101 01000000 6201 01000000 01000000 6301" + none,
         {"directionX", "directionY"}}};
    const auto all = allNine();
    for (size_t k = 0; k < all.size(); ++k) {
        const QString type = all[k]->getType();
        SCOPED_TRACE(type.toStdString());
        const auto fresh = [&] {
            return std::unique_ptr<TSMeasurement>(TSManagerOfMeasurements::instance().getMeasurement(type));
        };
        const QVariantMap blank = mapOf(*fresh());
        EXPECT_TRUE(
            std::all_of(blank.begin(), blank.end(), [](const QVariant& v) { return v.toInt() == 0; }));
        checkRecord(*all[k], expected[k].first, fresh);
        checkMap(*all[k], *fresh(), expected[k].second);
    }
}

}  // namespace
