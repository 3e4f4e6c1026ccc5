#include <kvmath/tsearch/constraints.h>

#include <kvmath/tsearch/constraint_kinds.h>
#include <kvmath/tsearch/measurements.h>

#include <tests/support/prelude.h>
#include <tests/support/stored_forms.h>

namespace {

double above(double v) { return std::nextafter(v, HUGE_VAL); }
double below(double v) { return std::nextafter(v, -HUGE_VAL); }

bool passes(TSConstraint&& constraint, std::vector<LinePP> lines, std::vector<int> codes) {
    return constraint.check(lines.data(), codes.data());
}

/// Makes a constraint with these bounds.
using Make = std::function<std::unique_ptr<TSConstraint>(double lower, double upper)>;

template <class C>
Make ofLine(int line) {
    return [=](double lower, double upper) { return std::make_unique<C>(line, lower, upper); };
}

template <class C, class... More>
Make ofLines(int from, int to, More... more) {
    return [=](double lower, double upper) { return std::make_unique<C>(from, to, lower, upper, more...); };
}

// Bounds on the size itself pass, bounds one step beside it reject.
TEST(EveryConstraint, BoundsTheSizeOfTheAssignedSegments) {
    const std::vector<LinePP> lines = {segment(0, 0, 9, 1),    segment(12, 5, 22, 40), segment(1, 1, 4, 5),
                                       segment(0, 0, 0, 3),    segment(0, 0, -3, -4),  segment(0, 0, 10, 0),
                                       segment(10, 10, 0, 10), segment(5, 0, 5, 7),    segment(9, 9, 30, 9),
                                       segment(0, 0, 2, 0),    segment(5, 4, 5, 9)};
    const double half = std::acos(-1.0), quarter = std::acos(0.0);
    const auto turn = ofLines<TSCRotationAngle>(0, 1, TSCRotationAngle::AnyDirection);
    const auto shiftFrom = ofLines<TSCEndPointShiftInDirection>(0, 1, 0.0, true);
    const auto shiftTo = ofLines<TSCEndPointShiftInDirection>(0, 1, 0.0, false);
    const struct {
        Make make;
        double size;
        std::vector<int> codes;
    } cases[] = {
        {ofLine<TSCLength>(1), 5, {0, 4}},
        {ofLine<TSCLength>(1), 5, {0, 5}},
        {ofLine<TSCInclinationAngle>(0), 0, {10}},
        {ofLine<TSCInclinationAngle>(0), half, {11}},
        {ofLine<TSCInclinationAngle>(0), half / 2, {6}},
        {ofLine<TSCInclinationAngle>(0), -half / 2, {7}},
        {ofLine<TSCInclinationAngle>(0), -std::acos(-0.6), {8}},
        {ofLines<TSCEndPointDistance>(0, 1), 5, {0, 2}},
        {ofLines<TSCEndPointDistance>(0, 1), 13, {1, 2}},
        {ofLines<TSCEndPointDistance>(1, 0), 5, {1, 3}},
        {ofLines<TSCEndPointDistanceWithCheck>(0, 1), 5, {0, 2}},
        {ofLines<TSCEndPointDistanceWithCheck>(0, 1), 10, {10, 12}},  // both pairs of ends 10 mm apart
        {turn, quarter, {10, 14}},
        {turn, quarter, {11, 14}},
        {turn, 0, {10, 16}},
        {turn, half, {10, 17}},
        {shiftFrom, 3, {18, 20}},
        {shiftTo, 4, {18, 20}},
        {shiftFrom, -5, {19, 20}},
        {shiftTo, -9, {18, 21}}};
    for (const auto& [make, size, codes] : cases) {
        SCOPED_TRACE(make(size, size)->getType().toStdString() + " of " + std::to_string(size));
        const auto accepts = [&, &make = make, &codes = codes](double lower, double upper) {
            return passes(std::move(*make(lower, upper)), lines, codes);
        };
        EXPECT_TRUE(accepts(kUnset, kUnset) && accepts(size, size) && accepts(kUnset, above(size)));
        EXPECT_FALSE(accepts(above(size), kUnset) || accepts(kUnset, below(size)));
    }
    EXPECT_FALSE(passes(TSCEndPointDistanceWithCheck(0, 1, kUnset, kUnset), lines, {1, 3})) << "far ends";
    EXPECT_TRUE(
        passes(TSCEndPointShiftInDirection(0, 1, 4 - 1e-12, 4 + 1e-12, half / 2, true), lines, {18, 20}));
}

TEST(Length, BoundsAreSquaredSoThatTheirSignIsLost) {
    EXPECT_TRUE(passes(TSCLength(0, -5, kUnset), {segment(0, 0, 5, 0)}, {0}));
    EXPECT_FALSE(passes(TSCLength(0, -6, kUnset), {segment(0, 0, 5, 0)}, {0}));
    EXPECT_FALSE(passes(TSCLength(0, above(kUnset), kUnset), {segment(0, 0, 5, 0)}, {0}));
}

TEST(RotationAngle, JudgesTheSense) {
    using C = TSCRotationAngle;
    const std::vector<LinePP> lines = {segment(0, 0, 5, 0), segment(5, 0, 5, 7), segment(9, 9, 30, 9)};
    const auto turns = [&](int first, int second, C::Direction direction) {
        return passes(C(0, 1, kUnset, kUnset, direction), lines, {first, second});
    };
    EXPECT_TRUE(turns(0, 2, C::CounterClockwise) && turns(1, 3, C::CounterClockwise));
    EXPECT_TRUE(turns(1, 2, C::Clockwise) && turns(0, 3, C::Clockwise));
    EXPECT_TRUE(turns(0, 4, C::Clockwise) && turns(0, 5, C::Clockwise));  // collinear
    EXPECT_FALSE(turns(0, 2, C::Clockwise) || turns(0, 3, C::CounterClockwise) ||
                 turns(0, 4, C::CounterClockwise) || turns(0, 2, static_cast<C::Direction>(3)));
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
        TSConstraintReading reading;
        EXPECT_FALSE(readConstraint(*constraint, point.data(), unassigned, reading) ||
                     readConstraint(*constraint, nullptr, assigned, reading) ||
                     readConstraint(*constraint, point.data(), nullptr, reading));
        EXPECT_TRUE(reading.quantity.isEmpty());
        EXPECT_TRUE(readConstraint(*constraint, point.data(), assigned, reading));
    }
    EXPECT_FALSE(passes(TSCLength(-1, kUnset, kUnset), point, {0, 2}));
    EXPECT_FALSE(passes(TSCEndPointDistance(1, INT_MIN, kUnset, kUnset), point, {0, 2}));
}

/// What readConstraint tells of the first two of `lines` under these codes.
TSConstraintReading readingOf(const TSConstraint& constraint, const std::vector<LinePP>& lines,
                              const std::vector<int>& codes) {
    TSConstraintReading reading;
    EXPECT_TRUE(readConstraint(constraint, lines.data(), codes.data(), reading));
    return reading;
}

/// The same quantity from the measurements of the library.
double measuredValue(const TSConstraintReading& reading, QList<LinePP> lines, const std::vector<int>& codes,
                     double angle, bool isFromReference) {
    const int reference = isFromReference ? 0 : 1;
    TSUMLength length(1, "");
    TSUMInclinationAngle inclination(1, "");
    TSUMRotationAngle rotation(0, 1, "");
    TSUMEndPointShiftInDirection shift(0, 1, false, true, reference, false, angle, "");
    TSLinesIndecies indices(codes.data(), 2);
    for (TSMeasurement* m : std::initializer_list<TSMeasurement*>{&length, &inclination, &rotation, &shift})
        EXPECT_TRUE(m->measure(lines, indices));
    if (reading.quantity == "length")
        return length.getLength();
    if (reading.quantity == "inclination angle")
        return inclination.getAngle();
    if (reading.quantity == "rotation angle")
        return rotation.getAngle();
    if (reading.quantity == "endpoint shift in direction")
        return shift.getShift();
    const auto line = shift.getUniformResult().lines[0];
    return std::sqrt((line.p2.x - line.p1.x) * (line.p2.x - line.p1.x) +
                     (line.p2.y - line.p1.y) * (line.p2.y - line.p1.y));
}

TEST(ReadConstraint, TellsWhatCheckCompares) {
    using C = TSCRotationAngle;
    Draws draws(14);
    int refused = 0;
    for (int k = 0; k < 3000; ++k) {
        const auto place = [&] { return std::round(draws.real(-4, 4)); };
        const std::vector<LinePP> lines = {segment(place(), place(), place(), place()),
                                           segment(place(), place(), place(), place())};
        const std::vector<int> codes = {draws.integer(0, 1), 2 + draws.integer(0, 1)};
        const auto bound = [&] { return draws.integer(0, 2) == 0 ? kUnset : place(); };
        const double lower = bound(), upper = bound(), angle = place() / 4;
        const bool isFromReference = draws.integer(0, 1) == 1;
        const auto direction = static_cast<C::Direction>(draws.integer(0, 3));
        const std::shared_ptr<TSConstraint> all[] = {
            std::make_shared<TSCLength>(1, lower, upper),
            std::make_shared<TSCInclinationAngle>(1, lower, upper),
            std::make_shared<TSCEndPointDistance>(0, 1, lower, upper),
            std::make_shared<TSCEndPointDistanceWithCheck>(0, 1, lower, upper),
            std::make_shared<C>(0, 1, lower, upper, direction),
            std::make_shared<TSCEndPointShiftInDirection>(0, 1, lower, upper, angle, isFromReference)};
        for (const auto& constraint : all) {
            const TSConstraintReading reading = readingOf(*constraint, lines, codes);
            const bool passes =
                constraint->check(const_cast<LinePP*>(lines.data()), const_cast<int*>(codes.data()));
            const double value = measuredValue(reading, {lines[0], lines[1]}, codes, angle, isFromReference);
            SCOPED_TRACE(testing::Message() << constraint->getType().toStdString() << ' ' << value << " in "
                                            << lower << " to " << upper);
            EXPECT_EQ(reading.isSatisfied, passes);
            EXPECT_TRUE(reading.value == value || (std::isnan(value) && std::isnan(reading.value)));
            const bool isBeyond = (reading.lower != kUnset && value < reading.lower) ||
                                  (reading.upper != kUnset && value > reading.upper);
            EXPECT_EQ(passes, !isBeyond && reading.fault.isEmpty() && reading.boundsNote.isEmpty());
            EXPECT_TRUE(!passes || reading.missedBy == 0);
            refused += passes ? 0 : 1;
        }
    }
    EXPECT_GT(refused, 3000);
}

TEST(ReadConstraint, PutsDemandsBesideTheBoundsIntoWords) {
    using C = TSCRotationAngle;
    const std::vector<LinePP> lines = {segment(0, 0, 5, 0), segment(5, 0, 5, 7)};
    const auto words = [&](const TSConstraint& constraint, const std::vector<int>& codes) {
        const TSConstraintReading reading = readingOf(constraint, lines, codes);
        return (reading.note + '|' + reading.boundsNote + '|' + reading.fault).toStdString();
    };
    EXPECT_EQ(words(C(0, 1, 2, 3, C::CounterClockwise), {0, 2}), "to the left||");
    EXPECT_EQ(words(C(0, 1, 2, kUnset, C::Clockwise), {0, 2}), "to the left|to the right|");
    EXPECT_EQ(words(C(0, 1, kUnset, kUnset, C::CounterClockwise), {0, 3}),
              "to the right|to the left|allowed is a turn to the left");
    EXPECT_EQ(words(C(0, 1, 2, 3, static_cast<C::Direction>(7)), {0, 2}),
              "||\"direction\" 7 in the template allows none");
    const double quarter = std::acos(0.0);
    EXPECT_EQ(readingOf(C(0, 1, 1, kUnset, C::Clockwise), lines, {0, 2}).missedBy, quarter + 1);
    const TSCEndPointDistanceWithCheck facing(0, 1, kUnset, 9), tight(0, 1, kUnset, 1);
    EXPECT_EQ(words(facing, {1, 3}), "||more than between their other ends");
    EXPECT_EQ(words(tight, {1, 3}), "||") << "the bounds tell";
    EXPECT_EQ(readingOf(tight, lines, {1, 3}).missedBy, std::sqrt(74.0));
}

TEST(ReadConstraint, KnowsTheKindsButNotWhatAHostMakesOfThem) {
    class OwnLength : public TSCLength {
        bool check(LinePP* /*lines*/, int* /*assignment*/) override { return false; }
    };
    LinePP lines[] = {segment(0, 0, 3, 4)};
    const int codes[] = {0};
    TSConstraintReading reading;
    EXPECT_FALSE(readConstraint(OwnLength(), lines, codes, reading));
    EXPECT_EQ(newConstraint("Width"), nullptr);
    EXPECT_THAT(constraintTypes(),
                ElementsAre("Length", "Inclination angle", "Endpoint distance", "Endpoint distance w/c",
                            "Rotation angle", "Endpoint shift in direction"));
    for (const QString& type : constraintTypes()) {
        const std::unique_ptr<TSConstraint> made(newConstraint(type));
        EXPECT_TRUE(made != nullptr && made->getType() == type && made->getMaximumLineIndex() == 0);
        EXPECT_TRUE(readConstraint(*made, lines, codes, reading)) << type.toStdString();
    }
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
    checkSetBounds<TSCLength>(plain, 0, HUGE_VAL);
    checkSetBounds<TSCEndPointDistanceWithCheck>(plain, 0, HUGE_VAL);
    checkSetBounds<TSCInclinationAngle>(plain, -kPi, kPi);
    const auto sense = [](TSCRotationAngle& c, double lower, double upper) {
        return c.setBounds(lower, upper, TSCRotationAngle::Clockwise);
    };
    checkSetBounds<TSCRotationAngle>(sense, 0, kPi);
    const auto turned = [](TSCEndPointShiftInDirection& c, double lower, double upper) {
        return c.setBounds(lower, upper, kPi / 2, true);
    };
    checkSetBounds<TSCEndPointShiftInDirection>(turned, -HUGE_VAL, HUGE_VAL);
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

TEST(GetContraint, TellsWhatTheConstructorTook) {
    int from = 0, to = 0;
    double lower = 0, upper = 0, angle = 0;
    TSCInclinationAngle(7, 1, 2).getContraint(from, lower, upper);
    EXPECT_TRUE(from == 7 && lower == 1 && upper == 2);
    TSCRotationAngle::Direction direction;
    TSCRotationAngle(3, 4, 5, 6, TSCRotationAngle::Clockwise).getContraint(from, to, lower, upper, direction);
    EXPECT_TRUE(from == 3 && to == 4 && lower == 5 && upper == 6 && direction == TSCRotationAngle::Clockwise);
    TSCRotationAngle().getContraint(from, to, lower, upper, direction);
    EXPECT_TRUE(from == 0 && to == 0 && lower == kUnset && direction == TSCRotationAngle::AnyDirection);
    bool fromLine = false;
    TSCEndPointShiftInDirection(5, 6, 7, 8, 9, true).getContraint(from, to, lower, upper, angle, fromLine);
    EXPECT_TRUE(from == 5 && to == 6 && lower == 7 && upper == 8 && angle == 9 && fromLine);
}

TEST(StoredForms, BoundsAreDoublesIndicesNumbersThatFitAndADirectionMayBeMissing) {
    const auto map = [](const QVariant& line, const QVariant& upper) {
        return QVariantMap{{"lineIndex", line}, {"lowerBound", 2.5}, {"upperBound", upper}};
    };
    TSCLength c(4, 1, 2);
    for (const QVariant& value : {QVariant("undefined"), QVariant(3), QVariant(2.5F), QVariant("2.5"),
                                  QVariant(true), QVariant(qint64(3)), QVariant(QVariantMap()), QVariant()}) {
        QVariantMap odd = map(2, value);
        c = TSCLength(4, 1, 2);
        EXPECT_TRUE(c.load(odd));
        int line = 0;
        double lower = 0, upper = 0;
        c.getContraint(line, lower, upper);
        EXPECT_TRUE(line == 2 && lower == 2.5 && upper == kUnset);
    }
    const double huge = 2147483648.0;
    for (const QVariant& index :
         {QVariant(3.0), QVariant(quint64(7)), QVariant(-huge), QVariant(7U), QVariant(7.0F),
          QVariant::fromValue(7L), QVariant::fromValue(7UL), QVariant::fromValue(short(-7)),
          QVariant::fromValue(ushort(7)), QVariant::fromValue(static_cast<signed char>(-7)),
          QVariant::fromValue(uchar(7))}) {
        QVariantMap good = map(index, 2.0);
        EXPECT_TRUE(c.load(good) && mapOf(c)["lineIndex"].toInt() == index.toInt());
    }
    for (const double index : {huge, std::nan(""), HUGE_VAL, -1e300}) {
        QVariantMap bad = map(index, 2.0);
        EXPECT_FALSE(c.load(bad));
    }
    TSCEndPointShiftInDirection shift;
    QVariantMap flags = mapOf(shift);
    for (const double flag : {0.0, 0.25}) {
        flags["isFromLineReference"] = flag;
        EXPECT_TRUE(shift.load(flags) && mapOf(shift)["isFromLineReference"] == QVariant(flag != 0));
    }
    TSCRotationAngle turn(0, 1, 1, 2, TSCRotationAngle::Clockwise);
    QVariantMap whole = mapOf(turn);
    EXPECT_EQ(whole.take("direction"), QVariant(2));
    EXPECT_TRUE(turn.load(whole));
    QVariantMap reused{{"direction", 1}};
    EXPECT_TRUE(turn.save(reused) && reused == whole);
}

}  // namespace
