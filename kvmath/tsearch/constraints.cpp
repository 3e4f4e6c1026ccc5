#include <kvmath/tsearch/constraints.h>

#include <kvmath/tsearch/assignment_p.h>
#include <kvmath/tsearch/bounds_p.h>
#include <kvmath/tsearch/directions_p.h>

#include <algorithm>
#include <limits>

namespace KvMath {

using namespace Internal;

namespace {

constexpr double kPi = 3.1415927410125732;  // single-precision pi, the deliberate limit of angle bounds

bool isAssigned(const LinePP* lines, const int* assignment, int line) {
    return lines != nullptr && assignment != nullptr && line >= 0 && assignment[line] >= 0;
}

bool areAssigned(const LinePP* lines, const int* assignment, int from, int to) {
    return isAssigned(lines, assignment, from) && isAssigned(lines, assignment, to);
}

/// Unset bounds and NaN values pass.
bool isWithin(double value, double lower, double upper) {
    return !(isBound(lower) && lower > value) && !(isBound(upper) && value > upper);
}

/// Bounds of a length against its square, which saves the root. By design the sign of a bound is lost.
bool isSquareWithin(double square, double lower, double upper) {
    return !(isBound(lower) && lower * lower > square) && !(isBound(upper) && square > upper * upper);
}

bool isInRange(double bound, double min, double max) {
    return !isBound(bound) || (min <= bound && bound <= max);
}

/// Legal bounds: each set one in [min, max], in order, no NaN.
bool areBounds(double lower, double upper, double min, double max) {
    return isInRange(lower, min, max) && isInRange(upper, min, max) &&
           (!isBound(lower) || !isBound(upper) || upper >= lower);
}

constexpr double kInfinity = std::numeric_limits<double>::infinity();

}  // namespace

TSCLength::TSCLength() : TSCLength(0, kNoBound, kNoBound) {}
TSCLength::TSCLength(int line, double lower, double upper) : line_(line), lower_(lower), upper_(upper) {}

TSConstraint* TSCLength::clone() { return new TSCLength(*this); }
int TSCLength::getMaximumLineIndex() { return line_; }
QString TSCLength::getType() { return QStringLiteral("Length"); }

bool TSCLength::check(LinePP* lines, int* assignment) {
    return isAssigned(lines, assignment, line_) &&
           isSquareWithin(squareOf(directionOf(lines, assignment[line_])), lower_, upper_);
}

bool TSCLength::setBounds(double lower, double upper) {
    if (!areBounds(lower, upper, 0, kInfinity))
        return false;
    lower_ = lower;
    upper_ = upper;
    return true;
}

void TSCLength::getContraint(int& line, double& lower, double& upper) const {
    line = line_;
    lower = lower_;
    upper = upper_;
}

TSCInclinationAngle::TSCInclinationAngle() : TSCInclinationAngle(0, kNoBound, kNoBound) {}
TSCInclinationAngle::TSCInclinationAngle(int line, double lower, double upper)
    : line_(line), lower_(lower), upper_(upper) {}

TSConstraint* TSCInclinationAngle::clone() { return new TSCInclinationAngle(*this); }
int TSCInclinationAngle::getMaximumLineIndex() { return line_; }
QString TSCInclinationAngle::getType() { return QStringLiteral("Inclination angle"); }

bool TSCInclinationAngle::check(LinePP* lines, int* assignment) {
    return isAssigned(lines, assignment, line_) &&
           isWithin(inclinationOf(directionOf(lines, assignment[line_])), lower_, upper_);
}

bool TSCInclinationAngle::setBounds(double lower, double upper) {
    if (!areBounds(lower, upper, -kPi, kPi))
        return false;
    lower_ = lower;
    upper_ = upper;
    return true;
}

void TSCInclinationAngle::getContraint(int& line, double& lower, double& upper) const {
    line = line_;
    lower = lower_;
    upper = upper_;
}

TSCEndPointDistance::TSCEndPointDistance() : TSCEndPointDistance(0, 0, kNoBound, kNoBound) {}
TSCEndPointDistance::TSCEndPointDistance(int from, int to, double lower, double upper)
    : from_(from), to_(to), lower_(lower), upper_(upper) {}

TSConstraint* TSCEndPointDistance::clone() { return new TSCEndPointDistance(*this); }
int TSCEndPointDistance::getMaximumLineIndex() { return std::max(from_, to_); }
int TSCEndPointDistance::getMinimumLineIndex() { return std::min(from_, to_); }
QString TSCEndPointDistance::getType() { return QStringLiteral("Endpoint distance"); }

bool TSCEndPointDistance::check(LinePP* lines, int* assignment) {
    if (!areAssigned(lines, assignment, from_, to_))
        return false;
    const Vector gap = between(endOf(lines, assignment[from_]), startOf(lines, assignment[to_]));
    return isSquareWithin(squareOf(gap), lower_, upper_);
}

bool TSCEndPointDistance::setBounds(double lower, double upper) {
    if (!areBounds(lower, upper, 0, kInfinity))
        return false;
    lower_ = lower;
    upper_ = upper;
    return true;
}

void TSCEndPointDistance::getContraint(int& from, int& to, double& lower, double& upper) const {
    from = from_;
    to = to_;
    lower = lower_;
    upper = upper_;
}

TSCEndPointDistanceWithCheck::TSCEndPointDistanceWithCheck() = default;
TSCEndPointDistanceWithCheck::TSCEndPointDistanceWithCheck(int from, int to, double lower, double upper)
    : TSCEndPointDistance(from, to, lower, upper) {}

TSConstraint* TSCEndPointDistanceWithCheck::clone() { return new TSCEndPointDistanceWithCheck(*this); }
QString TSCEndPointDistanceWithCheck::getType() { return QStringLiteral("Endpoint distance w/c"); }

bool TSCEndPointDistanceWithCheck::check(LinePP* lines, int* assignment) {
    int from = 0;
    int to = 0;
    double lower = 0;
    double upper = 0;
    getContraint(from, to, lower, upper);
    if (!areAssigned(lines, assignment, from, to))
        return false;
    const int codeFrom = assignment[from];
    const int codeTo = assignment[to];
    const double facing = squareOf(between(endOf(lines, codeFrom), startOf(lines, codeTo)));
    const double outer = squareOf(between(startOf(lines, codeFrom), endOf(lines, codeTo)));
    return !(facing > outer) && isSquareWithin(facing, lower, upper);
}

TSCRotationAngle::TSCRotationAngle() : TSCRotationAngle(0, 0, kNoBound, kNoBound, AnyDirection) {}
TSCRotationAngle::TSCRotationAngle(int from, int to, double lower, double upper, Direction direction)
    : from_(from), to_(to), lower_(lower), upper_(upper), direction_(direction) {}

TSConstraint* TSCRotationAngle::clone() { return new TSCRotationAngle(*this); }
int TSCRotationAngle::getMaximumLineIndex() { return std::max(from_, to_); }
int TSCRotationAngle::getMinimumLineIndex() { return std::min(from_, to_); }
QString TSCRotationAngle::getType() { return QStringLiteral("Rotation angle"); }

bool TSCRotationAngle::check(LinePP* lines, int* assignment) {
    if (!areAssigned(lines, assignment, from_, to_))
        return false;
    const Vector u = directionOf(lines, assignment[from_]);
    const Vector w = directionOf(lines, assignment[to_]);
    // The sense first: it costs two products, the angle an arc cosine. All tests must pass, so the order is
    // free.
    if (direction_ != AnyDirection && turnBetween(u, w) != direction_)
        return false;
    return (!isBound(lower_) && !isBound(upper_)) || isWithin(angleBetween(u, w), lower_, upper_);
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

TSCEndPointShiftInDirection::TSCEndPointShiftInDirection()
    : TSCEndPointShiftInDirection(0, 0, kNoBound, kNoBound, 0, false) {}
TSCEndPointShiftInDirection::TSCEndPointShiftInDirection(int from, int to, double lower, double upper,
                                                         double directionAngle, bool isFromLineReference)
    : from_(from), to_(to), lower_(lower), upper_(upper), directionAngle_(directionAngle),
      isFromLineReference_(isFromLineReference), cos_(std::cos(directionAngle)),
      sin_(std::sin(directionAngle)) {}

TSConstraint* TSCEndPointShiftInDirection::clone() { return new TSCEndPointShiftInDirection(*this); }
int TSCEndPointShiftInDirection::getMaximumLineIndex() { return std::max(from_, to_); }
int TSCEndPointShiftInDirection::getMinimumLineIndex() { return std::min(from_, to_); }
QString TSCEndPointShiftInDirection::getType() { return QStringLiteral("Endpoint shift in direction"); }

bool TSCEndPointShiftInDirection::check(LinePP* lines, int* assignment) {
    if (!areAssigned(lines, assignment, from_, to_))
        return false;
    const int codeFrom = assignment[from_];
    const int codeTo = assignment[to_];
    const Vector reference = directionOf(lines, isFromLineReference_ ? codeFrom : codeTo);
    const Vector gap = between(endOf(lines, codeFrom), startOf(lines, codeTo));
    return isWithin(shiftAlong(gap, reference, cos_, sin_), lower_, upper_);
}

bool TSCEndPointShiftInDirection::setBounds(double lower, double upper, double directionAngle,
                                            bool isFromLineReference) {
    if (!areBounds(lower, upper, -kInfinity, kInfinity) || !isBound(directionAngle) ||
        !isInRange(directionAngle, -kPi, kPi))
        return false;
    lower_ = lower;
    upper_ = upper;
    directionAngle_ = directionAngle;
    isFromLineReference_ = isFromLineReference;
    updateRotation();
    return true;
}

void TSCEndPointShiftInDirection::getContraint(int& from, int& to, double& lower, double& upper,
                                               double& directionAngle, bool& isFromLineReference) const {
    from = from_;
    to = to_;
    lower = lower_;
    upper = upper_;
    directionAngle = directionAngle_;
    isFromLineReference = isFromLineReference_;
}

void TSCEndPointShiftInDirection::updateRotation() {
    cos_ = std::cos(directionAngle_);
    sin_ = std::sin(directionAngle_);
}

}  // namespace KvMath
