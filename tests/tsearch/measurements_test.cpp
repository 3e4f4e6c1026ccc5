#include <kvmath/tsearch/measurements.h>

#include <kvmath/tsearch/measurement_manager.h>

#include <tests/support/random_data.h>
#include <tests/support/stored_forms.h>

#include <climits>
#include <cmath>
#include <memory>

using namespace KvMath;
using namespace TestSupport;

namespace {

constexpr double kUnset = -1e100;
constexpr double kPi = 3.1415927410125732;
using Point = KvVector2D<double>;

void expectPoint(const Point& p, double x, double y) {
    EXPECT_TRUE(p.x == x && p.y == y) << p.x << ", " << p.y;
}

/// Template lines 0, 1, 2 on the segments with these codes.
bool measure(TSMeasurement& m, QList<LinePP> lines, const std::vector<int>& codes) {
    TSLinesIndecies indices(codes.data(), static_cast<int>(codes.size()));
    const bool measured = m.measure(lines, indices);
    EXPECT_EQ(m.isValid(), measured);
    EXPECT_EQ(m.getUniformResult().isEmpty(), !measured);
    return measured;
}

const QList<LinePP> kCorner = {segment(1, 2, 4, 6), segment(10, 0, 10, 5), segment(20, 0, 28, 0)};

TEST(MeasureLength, IsThatOfTheSegment) {
    TSUMLength m(0, "width");
    EXPECT_EQ(m.getLength(), kUnset);
    for (int code : {0, 1})
        EXPECT_TRUE(measure(m, kCorner, {code}) && m.getLength() == 5.0);
    const TSUniformResultLine line = m.getUniformResult().lines.value(0);
    EXPECT_TRUE(line.name == "width" && line.value == 5.0);
    expectPoint(line.p1, 4, 6);
    expectPoint(line.p2, 1, 2);
}

TEST(MeasureInclinationAngle, IsSignedAndFollowsTheOrientation) {
    TSUMInclinationAngle m(0, "tilt");
    EXPECT_TRUE(measure(m, kCorner, {0}) && m.getAngle() == std::acos(0.6));
    EXPECT_TRUE(measure(m, kCorner, {1}) && m.getAngle() == -std::acos(-0.6));
    const TSUniformResultAngle angle = m.getUniformResult().angles.value(0);
    expectPoint(angle.vertex, 4, 6);
    expectPoint(angle.first, 9, 6);
    expectPoint(angle.second, 1, 2);
    EXPECT_TRUE(measure(m, kCorner, {5}) && m.getAngle() == std::acos(-1.0));
}

TEST(MeasureRotationAngle, GivesAngleAndSense) {
    TSUMRotationAngle m(0, 1, "turn");
    EXPECT_EQ(m.getDirection(), TSUMRotationAngle::NoDirection);
    const double quarter = std::acos(0.0);
    EXPECT_TRUE(measure(m, kCorner, {4, 2}) && m.getAngle() == quarter);
    EXPECT_EQ(m.getDirection(), TSUMRotationAngle::CounterClockwise);
    const TSUniformResultAngle angle = m.getUniformResult().angles.value(0);
    expectPoint(angle.vertex, 10, 0);
    expectPoint(angle.first, 18, 0);
    expectPoint(angle.second, 10, 5);
    EXPECT_TRUE(measure(m, kCorner, {5, 2}));
    EXPECT_EQ(m.getDirection(), TSUMRotationAngle::Clockwise);
    EXPECT_FALSE(measure(m, kCorner, {5}));
    EXPECT_EQ(m.getDirection(), TSUMRotationAngle::NoDirection);
    EXPECT_EQ(m.getAngle(), kUnset);
}

TEST(MeasureAngleBetweenLines, AddsOrSubtractsByTheSense) {
    TSUMAngleBetweenLines m(0, 1, "corner");
    const double quarter = std::acos(0.0);
    const auto angle = [&](int from, int to) {
        EXPECT_TRUE(measure(m, kCorner, {from, to}));
        return m.getAngle();
    };
    EXPECT_EQ(angle(4, 2), quarter + kPi);
    EXPECT_EQ(angle(2, 4), kPi - quarter);
    EXPECT_EQ(angle(4, 4), kPi);
    EXPECT_EQ(angle(4, 5), kPi - std::acos(-1.0));
    expectPoint(m.getUniformResult().angles.value(0).vertex, 28, 0);  // parallel: start of the second line
}

TEST(MeasureAngles, OfParallelLinesAreNumbersInEveryDirection) {
    Draws draws(5);
    TSUMAngleBetweenLines m(0, 1, "");
    for (int k = 0; k < 2000; ++k) {
        const LinePP line = segment(0, 0, draws.real(-9, 9), draws.real(-9, 9));
        EXPECT_TRUE(measure(m, {line, line}, {0, 2}));
        EXPECT_NEAR(m.getAngle(), kPi, 3e-8);
    }
}

TEST(MeasureLinePoint, RunsFromTheStartAsAssigned) {
    TSUMLinePoint m(0, 0, "p");
    const auto point = [&](double position, int code) {
        m.setPosition(position);
        EXPECT_TRUE(measure(m, kCorner, {code}));
        return m.getPoint();
    };
    expectPoint(point(0, 0), 1, 2);
    expectPoint(point(0, 1), 4, 6);
    expectPoint(point(0.5, 1), 2.5, 4);
    expectPoint(point(2, 0), 7, 10);
    EXPECT_EQ(m.getUniformResult().points.value(0).point.y, 10);
}

TEST(MeasureLinesIntersection, IsWhereTheInfiniteLinesMeet) {
    TSUMLinesIntersection m(1, 0, "x");
    for (int code : {2, 3}) {
        EXPECT_TRUE(measure(m, kCorner, {4, code}));
        expectPoint(m.getIntersectionPoint(), 10, 0);
    }
    EXPECT_TRUE(measure(m, {segment(0, 0, 1, 0), segment(0, 1, 1, 1)}, {0, 2}));
    EXPECT_FALSE(std::isfinite(m.getIntersectionPoint().x));
}

TEST(MeasurePointBetween2Points, GoesFromTheChosenEndToTheChosenEnd) {
    TSUMPointBetween2Points m(0, 1, true, false, 0.25, "p");
    EXPECT_TRUE(measure(m, kCorner, {2, 4}));
    expectPoint(m.getPoint(), 14.5, 0);
    m.setPointsChoice(false, true);
    EXPECT_TRUE(measure(m, kCorner, {2, 4}));
    expectPoint(m.getPoint(), 12.5, 3.75);
    EXPECT_TRUE(measure(m, kCorner, {3, 5}));
    expectPoint(m.getPoint(), 14.5, 0);
}

TEST(MeasureEndPointShiftInDirection, IsTakenAlongTheTurnedReference) {
    TSUMEndPointShiftInDirection m(0, 1, false, true, 2, false, 0, "shift");
    const auto shift = [&](const std::vector<int>& codes) {
        EXPECT_TRUE(measure(m, kCorner, codes));
        return m.getShift();
    };
    EXPECT_EQ(shift({0, 2, 4}), 6.0);  // from (4, 6) to (10, 0)
    expectPoint(m.getUniformResult().lines.value(0).p1, 4, 6);
    expectPoint(m.getUniformResult().lines.value(0).p2, 10, 0);
    EXPECT_EQ(shift({0, 2, 5}), -6.0);
    EXPECT_EQ(shift({0, 2, 2}), -6.0);
    EXPECT_EQ(shift({1, 2, 4}), 9.0);
    m.setLineReferenceReversed(true);
    EXPECT_EQ(shift({0, 2, 4}), -6.0);
    m.setDirectionAngle(std::acos(0.0));
    m.setPointsChoice(true, false);
    EXPECT_NEAR(shift({0, 2, 4}), -3.0, 1e-12);  // from (1, 2) to (10, 5), downward
    EXPECT_FALSE(measure(m, kCorner, {0, 2}));
}

TEST(MeasureFarLineInDirection, TakesTheFirstOfTheFarthestEnds) {
    TSUMFarLineInDirection m({0, 1}, "near", "far", "line");
    EXPECT_TRUE(measure(m, {segment(0, 1, 0, 5), segment(3, 5, 4, 2)}, {}));
    expectPoint(m.getNearPoint(), 0, 5);
    expectPoint(m.getFarPoint(), 0, 1);
    const TSUniformResults results = m.getUniformResult();
    EXPECT_TRUE(results.points.size() == 2 && results.points[1].name == "far");
    EXPECT_EQ(results.lines.value(0).value, 4.0);
    EXPECT_TRUE(measure(m, {segment(0, 1, 0, 5), segment(3, 9, 4, 9)}, {}));
    expectPoint(m.getNearPoint(), 3, 9);
    m.setDirection({-1, 0});
    EXPECT_TRUE(measure(m, kCorner, {-1}));
    expectPoint(m.getNearPoint(), 1, 2);
    EXPECT_FALSE(measure(m, {}, {}));
    for (const Point& unset : {Point(kUnset, 1), Point(1, kUnset)}) {
        m.setDirection(unset);
        EXPECT_FALSE(measure(m, kCorner, {}));
        expectPoint(m.getNearPoint(), kUnset, kUnset);
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

TEST(EveryMeasurement, FailsWithoutASegmentForItsLine) {
    QList<LinePP> lines = kCorner;
    for (const auto& m : allNine()) {
        if (m->getType() == "Far line in direction")
            continue;
        SCOPED_TRACE(m->getType().toStdString());
        EXPECT_TRUE(measure(*m, lines, {0, 2, 4, 0}));
        for (int bad : {-1, -2, INT_MIN, 6, INT_MAX})
            EXPECT_FALSE(measure(*m, lines, {0, bad, 4, 0}));
        EXPECT_FALSE(measure(*m, lines, {0}));
    }
}

TEST(EveryMeasurement, KeepsItsResultsFromTheUniformOnesWhenInactive) {
    QList<LinePP> lines = kCorner;
    const int codes[] = {0, 2, 4, 0};
    TSLinesIndecies indices(codes, 4);
    for (const auto& m : allNine()) {
        for (const auto& info : m->getUniformResultsInfoAll())
            *info.second = false;
        EXPECT_TRUE(m->measure(lines, indices) && m->getUniformResult().isEmpty());
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
        checkRecord(*all[k], expected[k].first, fresh);
        checkMap(*all[k], *fresh(), expected[k].second);
    }
}

}  // namespace
