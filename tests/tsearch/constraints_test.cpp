#include <kvmath/tsearch/constraints.h>

#include <tests/support/random_data.h>
#include <tests/support/stored_forms.h>

#include <cmath>
#include <memory>
#include <vector>

using namespace KvMath;
using namespace TestSupport;

namespace {

constexpr double kUnset = -1e100;
constexpr double kPi = 3.1415927410125732;
constexpr double kInfinity = std::numeric_limits<double>::infinity();

double above(double v) { return std::nextafter(v, kInfinity); }
double below(double v) { return std::nextafter(v, -kInfinity); }

bool passes(TSConstraint&& constraint, std::vector<LinePP> lines, std::vector<int> codes) {
    return constraint.check(lines.data(), codes.data());
}

/// `make(lower, upper)` judges these segments by the size `value`: bounds on it pass, bounds one step beside
/// reject.
template <class Make>
void checkBounds(Make make, double value, const std::vector<LinePP>& lines, const std::vector<int>& codes) {
    SCOPED_TRACE(value);
    EXPECT_TRUE(passes(make(kUnset, kUnset), lines, codes));
    EXPECT_TRUE(passes(make(value, value), lines, codes));
    EXPECT_FALSE(passes(make(above(value), kUnset), lines, codes));
    EXPECT_FALSE(passes(make(kUnset, below(value)), lines, codes));
    EXPECT_TRUE(passes(make(kUnset, above(value)), lines, codes));
}

TEST(Length, IsThatOfTheAssignedSegmentWhicheverWay) {
    const auto make = [](double lower, double upper) { return TSCLength(1, lower, upper); };
    for (int code : {2, 3})
        checkBounds(make, 5.0, {segment(0, 0, 9, 0), segment(1, 1, 4, 5)}, {0, code});
}

TEST(Length, BoundsAreSquaredSoThatTheirSignIsLost) {
    EXPECT_TRUE(passes(TSCLength(0, -5, kUnset), {segment(0, 0, 5, 0)}, {0}));
    EXPECT_FALSE(passes(TSCLength(0, -6, kUnset), {segment(0, 0, 5, 0)}, {0}));
    EXPECT_FALSE(passes(TSCLength(0, above(kUnset), kUnset), {segment(0, 0, 5, 0)}, {0}));
}

TEST(InclinationAngle, IsSignedAndFollowsTheOrientation) {
    const auto make = [](double lower, double upper) { return TSCInclinationAngle(0, lower, upper); };
    const double pi = std::acos(-1.0);
    checkBounds(make, 0.0, {segment(1, 2, 4, 2)}, {0});
    checkBounds(make, pi, {segment(1, 2, 4, 2)}, {1});
    checkBounds(make, pi / 2, {segment(0, 0, 0, 3)}, {0});
    checkBounds(make, -pi / 2, {segment(0, 0, 0, 3)}, {1});
    checkBounds(make, -std::acos(-0.6), {segment(0, 0, -3, -4)}, {0});
}

TEST(EndPointDistance, RunsFromTheEndOfOneLineToTheStartOfTheOther) {
    const std::vector<LinePP> lines = {segment(0, 0, 9, 1), segment(12, 5, 22, 40)};
    const auto make = [](double lower, double upper) { return TSCEndPointDistance(0, 1, lower, upper); };
    checkBounds(make, 5.0, lines, {0, 2});
    checkBounds(make, 13.0, lines, {1, 2});
    const auto backward = [](double lower, double upper) { return TSCEndPointDistance(1, 0, lower, upper); };
    checkBounds(backward, 5.0, lines, {1, 3});
}

TEST(EndPointDistanceWithCheck, DemandsThatTheNearEndsFaceEachOther) {
    const auto make = [](double lo, double up) { return TSCEndPointDistanceWithCheck(0, 1, lo, up); };
    const std::vector<LinePP> lines = {segment(0, 0, 9, 1), segment(12, 5, 22, 40)};
    checkBounds(make, 5.0, lines, {0, 2});
    EXPECT_FALSE(passes(make(kUnset, kUnset), lines, {1, 3}));
    const std::vector<LinePP> square = {segment(0, 0, 10, 0), segment(10, 10, 0, 10)};
    checkBounds(make, 10.0, square, {0, 2});  // both pairs of ends 10 mm apart
}

TEST(RotationAngle, JudgesAngleAndSense) {
    using C = TSCRotationAngle;
    const std::vector<LinePP> lines = {segment(0, 0, 5, 0), segment(5, 0, 5, 7), segment(9, 9, 30, 9)};
    const auto make = [](double lower, double upper) { return C(0, 1, lower, upper, C::AnyDirection); };
    const double quarter = std::acos(0.0);
    checkBounds(make, quarter, lines, {0, 2});
    checkBounds(make, quarter, lines, {1, 2});
    checkBounds(make, 0.0, lines, {0, 4});
    checkBounds(make, std::acos(-1.0), lines, {0, 5});
    const auto turns = [&](int first, int second, C::Direction direction) {
        return passes(C(0, 1, kUnset, kUnset, direction), lines, {first, second});
    };
    EXPECT_TRUE(turns(0, 2, C::CounterClockwise) && turns(1, 3, C::CounterClockwise));
    EXPECT_TRUE(turns(1, 2, C::Clockwise) && turns(0, 3, C::Clockwise));
    EXPECT_TRUE(turns(0, 4, C::Clockwise) && turns(0, 5, C::Clockwise));  // collinear
    EXPECT_FALSE(turns(0, 2, C::Clockwise) || turns(0, 3, C::CounterClockwise) ||
                 turns(0, 4, C::CounterClockwise));
    EXPECT_FALSE(turns(0, 2, static_cast<C::Direction>(3)));
}

TEST(RotationAngle, OfParallelLinesIsANumberInEveryDirection) {
    Draws draws(3);
    for (int k = 0; k < 2000; ++k) {
        const double x = draws.real(-9, 9);
        const double y = draws.real(-9, 9);
        EXPECT_FALSE(passes(TSCRotationAngle(0, 1, 0.01, 3.13, TSCRotationAngle::AnyDirection),
                            {segment(0, 0, x, y), segment(5, 5, 5 + x, 5 + y)}, {0, 2 + k % 2}));
    }
}

TEST(EndPointShiftInDirection, IsMeasuredAlongTheTurnedReference) {
    const std::vector<LinePP> lines = {segment(0, 0, 2, 0), segment(5, 4, 5, 9)};
    const auto along = [&](double angle, bool from, double value, const std::vector<int>& codes) {
        checkBounds(
            [=](double lo, double up) { return TSCEndPointShiftInDirection(0, 1, lo, up, angle, from); },
            value, lines, codes);
    };
    along(0, true, 3.0, {0, 2});
    along(0, false, 4.0, {0, 2});
    along(0, true, -5.0, {1, 2});
    along(0, false, -9.0, {0, 3});
    const double quarter = std::acos(-1.0) / 2;
    EXPECT_TRUE(
        passes(TSCEndPointShiftInDirection(0, 1, 4 - 1e-12, 4 + 1e-12, quarter, true), lines, {0, 2}));
}

TEST(EveryConstraint, PassesANaNValueAndRejectsAnUnassignedLine) {
    std::vector<LinePP> point = {segment(1, 1, 1, 1), segment(1, 1, 1, 1)};
    const std::vector<std::shared_ptr<TSConstraint>> all = {
        std::make_shared<TSCInclinationAngle>(1, 1, 2),
        std::make_shared<TSCRotationAngle>(0, 1, 1, 2, TSCRotationAngle::AnyDirection),
        std::make_shared<TSCEndPointShiftInDirection>(1, 0, 1, 2, 0, true),
        std::make_shared<TSCLength>(1, kUnset, kUnset),
        std::make_shared<TSCEndPointDistance>(0, 1, kUnset, kUnset),
        std::make_shared<TSCEndPointDistanceWithCheck>(1, 0, kUnset, kUnset)};
    for (const auto& constraint : all) {
        SCOPED_TRACE(constraint->getType().toStdString());
        int assigned[] = {0, 2};
        int unassigned[] = {0, -1};
        EXPECT_EQ(constraint->getMaximumLineIndex(), 1);
        EXPECT_TRUE(constraint->check(point.data(), assigned));
        EXPECT_FALSE(constraint->check(point.data(), unassigned));
        EXPECT_FALSE(constraint->check(nullptr, assigned));
        EXPECT_FALSE(constraint->check(point.data(), nullptr));
    }
    EXPECT_FALSE(passes(TSCLength(-1, kUnset, kUnset), point, {0, 2}));
    EXPECT_FALSE(passes(TSCEndPointDistance(1, INT_MIN, kUnset, kUnset), point, {0, 2}));
}

TEST(EndPointShiftInDirection, TurnsByTheAngleThatWasLoaded) {
    TSCEndPointShiftInDirection source(0, 1, 3, 5, kPi / 2, true), fromMap, fromRecord;
    QVariantMap map = mapOf(source);
    EXPECT_TRUE(fromMap.load(map) && loadRecord(fromRecord, recordOf(source)));
    for (auto* loaded : {&fromMap, &fromRecord})
        EXPECT_TRUE(passes(std::move(*loaded), {segment(0, 0, 9, 0), segment(9, 4, 20, 4)}, {0, 2}));
}

/// setBounds with each pair of values: the accepted ones only, and the object shows exactly those.
template <class C, class Set>
void checkSetBounds(Set set, double min, double max) {
    for (double lower : {kUnset, below(min), min, 1.0, max, above(max), std::nan("")}) {
        for (double upper : {kUnset, below(min), min, 1.0, max, above(max), std::nan("")}) {
            C c;
            const auto legal = [&](double v) { return v == kUnset || (v >= min && v <= max); };
            const bool expected =
                legal(lower) && legal(upper) && (lower == kUnset || upper == kUnset || upper >= lower);
            EXPECT_EQ(set(c, lower, upper), expected) << lower << ", " << upper;
            const QVariantMap map = mapOf(c);
            const auto shown = [](double v) { return v == kUnset ? QVariant("undefined") : QVariant(v); };
            EXPECT_EQ(map["lowerBound"], expected ? shown(lower) : shown(kUnset));
            EXPECT_EQ(map["upperBound"], expected ? shown(upper) : shown(kUnset));
        }
    }
}

TEST(SetBounds, TakesLegalPairsOnly) {
    const auto plain = [](auto& c, double lower, double upper) { return c.setBounds(lower, upper); };
    checkSetBounds<TSCLength>(plain, 0, kInfinity);
    checkSetBounds<TSCEndPointDistanceWithCheck>(plain, 0, kInfinity);
    checkSetBounds<TSCInclinationAngle>(plain, -kPi, kPi);
    const auto sense = [](TSCRotationAngle& c, double lower, double upper) {
        return c.setBounds(lower, upper, TSCRotationAngle::Clockwise);
    };
    checkSetBounds<TSCRotationAngle>(sense, 0, kPi);
    TSCEndPointShiftInDirection shift;
    EXPECT_TRUE(shift.setBounds(-7, -7, -kPi, true));
    for (double angle : {kUnset, above(kPi), below(-kPi), std::nan("")})
        EXPECT_FALSE(shift.setBounds(1, 2, angle, false));
    EXPECT_FALSE(shift.setBounds(2, 1, 0, false) || shift.setBounds(std::nan(""), kUnset, 0, false));
    EXPECT_EQ(mapOf(shift)["directionAngle"], QVariant(-kPi));
    EXPECT_TRUE(shift.setBounds(kUnset, 3, kPi / 2, true));  // the new angle is in force
    EXPECT_TRUE(passes(std::move(shift), {segment(0, 0, 9, 0), segment(0, 4, 9, 4)}, {2, 0}));
}

template <class C>
void checkStored(C constraint, const QByteArray& hex, const QStringList& required) {
    SCOPED_TRACE(constraint.getType().toStdString());
    checkRecord(constraint, hex, [] { return std::make_unique<C>(); });
    C fresh;
    checkMap<TSConstraint>(constraint, fresh, required);
    std::unique_ptr<TSConstraint> copy(constraint.clone());
    EXPECT_EQ(copy->getType(), constraint.getType());
    EXPECT_EQ(mapOf(*copy), mapOf(constraint));
}

TEST(StoredForms, AreTheDocumentedBytesAndKeys) {
    const QByteArray one = "07000000", two = "01000000 fdffffff";
    const QByteArray bounds = "000000000000f03f 7dc39425ad49b2d4";  // 1, -1e100
    const QStringList line = {"lineIndex", "lowerBound", "upperBound"};
    const QStringList pair = {"lineFromIndex", "lineToIndex", "lowerBound", "upperBound"};
    checkStored(TSCLength(7, 1, kUnset), one + bounds, line);
    checkStored(TSCInclinationAngle(7, 1, kUnset), one + bounds, line);
    checkStored(TSCEndPointDistance(1, -3, 1, kUnset), two + bounds, pair);
    checkStored(TSCEndPointDistanceWithCheck(1, -3, 1, kUnset), two + bounds, pair);
    checkStored(TSCRotationAngle(1, -3, 1, kUnset, TSCRotationAngle::Clockwise), two + bounds + "02000000",
                pair);
    checkStored(TSCEndPointShiftInDirection(1, -3, 1, kUnset, -2, true), two + bounds + "00000000000000c0 01",
                pair + QStringList{"directionAngle", "isFromLineReference"});
}

TEST(StoredForms, OnlyADoubleIsABound) {
    for (const QVariant& value : {QVariant("undefined"), QVariant(3), QVariant(2.5F), QVariant("2.5"),
                                  QVariant(true), QVariant(qint64(3)), QVariant(QVariantMap()), QVariant()}) {
        TSCLength c(4, 1, 2);
        QVariantMap map{{"lineIndex", 2}, {"lowerBound", 2.5}, {"upperBound", value}};
        EXPECT_TRUE(c.load(map));
        int line = 0;
        double lower = 0, upper = 0;
        c.getContraint(line, lower, upper);
        EXPECT_TRUE(line == 2 && lower == 2.5 && upper == kUnset);
    }
}

TEST(StoredForms, IndicesAreNumbersThatFit) {
    const double huge = 2147483648.0;
    TSCLength c(4, 1, 2);
    for (const QVariant& index : {QVariant(3.0), QVariant(quint64(7)), QVariant(-huge)}) {
        QVariantMap map{{"lineIndex", index}, {"lowerBound", 1.0}, {"upperBound", 2.0}};
        EXPECT_TRUE(c.load(map));
        EXPECT_EQ(mapOf(c)["lineIndex"].toInt(), index.toInt());
    }
    for (double bad : {huge, std::nan(""), kInfinity, -1e300}) {
        QVariantMap map{{"lineIndex", bad}, {"lowerBound", 1.0}, {"upperBound", 2.0}};
        EXPECT_FALSE(c.load(map));
    }
}

TEST(StoredForms, NoDirectionKeyMeansEitherSense) {
    TSCRotationAngle c(0, 1, 1, 2, TSCRotationAngle::Clockwise);
    QVariantMap map = mapOf(c);
    EXPECT_EQ(map["direction"], QVariant(2));
    map.remove("direction");
    EXPECT_TRUE(c.load(map));
    QVariantMap reused{{"direction", 1}};
    EXPECT_TRUE(c.save(reused));
    EXPECT_EQ(reused, map);
}

}  // namespace
