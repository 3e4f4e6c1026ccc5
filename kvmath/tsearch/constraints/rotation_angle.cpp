#include <kvmath/tsearch/constraints/rotation_angle.h>

#include <kvmath/tsearch/comparison_p.h>
#include <kvmath/tsearch/constraint_definition_p.h>

#include <algorithm>

namespace KvMath {

using namespace Internal;

/// The sense costs two products, the angle an arc cosine: for the verdict alone it is left out where it
/// decides nothing.
static inline Comparison compared(const Vector& u, const Vector& w, double lower, double upper, int direction,
                                  bool isVerdictEnough) {
    Comparison c;
    c.isDemandMet = direction == TSCRotationAngle::AnyDirection || turnBetween(u, w) == direction;
    if (isVerdictEnough && (!c.isDemandMet || (!isBound(lower) && !isBound(upper))))
        return c;
    c.value = angleBetween(u, w);
    c.lower = lower;
    c.upper = upper;
    return c;
}

/// What the sense adds to a reading, for a constraint that demands one.
static void addSense(TSConstraintReading& reading, int direction, int turn) {
    using C = TSCRotationAngle;
    if (direction != C::CounterClockwise && direction != C::Clockwise) {
        reading.fault = QStringLiteral("\"direction\" %1 in the template allows none").arg(direction);
    } else {
        const auto words = [](int sense) {
            return sense == C::CounterClockwise ? QStringLiteral("to the left")
                                                : QStringLiteral("to the right");
        };
        reading.note = words(turn);
        if (turn == direction)
            return;
        reading.boundsNote = words(direction);
        if (!isBound(reading.lower) && !isBound(reading.upper))
            reading.fault = QStringLiteral("allowed is a turn ") + reading.boundsNote;
    }
    // As far as the angle on the other side of 0 that would do.
    reading.missedBy = reading.value + (isBound(reading.lower) ? std::max(reading.lower, 0.0) : 0.0);
}

static bool takeReading(const TSCRotationAngle& constraint, const LinePP* lines, const int* assignment,
                        TSConstraintReading& reading) {
    int from = 0;
    int to = 0;
    double lower = 0;
    double upper = 0;
    auto direction = TSCRotationAngle::AnyDirection;
    constraint.getContraint(from, to, lower, upper, direction);
    if (!areAssigned(lines, assignment, from, to))
        return false;
    const Vector u = directionOf(lines, assignment[from]);
    const Vector w = directionOf(lines, assignment[to]);
    reading = readingOf(compared(u, w, lower, upper, direction, /*isVerdictEnough=*/false),
                        QStringLiteral("rotation angle"), TSConstraintReading::Radian, from, to);
    if (direction != TSCRotationAngle::AnyDirection)
        addSense(reading, direction, turnBetween(u, w));
    return true;
}

KVMATH_CONSTRAINT(TSCRotationAngle, "Rotation angle")
KVMATH_SAVE_FIELDS(TSCRotationAngle, save)
KVMATH_LOAD_FIELDS(TSCRotationAngle, load)

std::array<StoredField, 5> TSCRotationAngle::fields() {
    return {storedIndex("lineFromIndex", from_), storedIndex("lineToIndex", to_),
            storedBound("lowerBound", lower_), storedBound("upperBound", upper_),
            StoredField{"direction", StoredField::OptionalIndex, &direction_}};
}

TSCRotationAngle::TSCRotationAngle() : TSCRotationAngle(0, 0, kNoBound, kNoBound, AnyDirection) {}
TSCRotationAngle::TSCRotationAngle(int from, int to, double lower, double upper, Direction direction)
    : from_(from), to_(to), lower_(lower), upper_(upper), direction_(direction) {}

int TSCRotationAngle::getMaximumLineIndex() { return std::max(from_, to_); }
int TSCRotationAngle::getMinimumLineIndex() { return std::min(from_, to_); }

bool TSCRotationAngle::check(LinePP* lines, int* assignment) {
    return areAssigned(lines, assignment, from_, to_) &&
           isSatisfied(compared(directionOf(lines, assignment[from_]), directionOf(lines, assignment[to_]),
                                lower_, upper_, direction_, /*isVerdictEnough=*/true));
}

bool TSCRotationAngle::setBounds(double lower, double upper, Direction direction) {
    if (!areBounds(lower, upper, 0, kPi))
        return false;
    lower_ = lower;
    upper_ = upper;
    direction_ = direction;
    return true;
}

void TSCRotationAngle::getContraint(int& from, int& to, double& lower, double& upper,
                                    Direction& direction) const {
    from = from_;
    to = to_;
    lower = lower_;
    upper = upper_;
    direction = static_cast<Direction>(direction_);
}

}  // namespace KvMath
