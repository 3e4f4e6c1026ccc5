#include <kvmath/tsearch/constraints/endpoint_shift_in_direction.h>

#include <kvmath/tsearch/comparison_p.h>
#include <kvmath/tsearch/constraint_definition_p.h>

#include <algorithm>

namespace KvMath {

using namespace Internal;

static inline double shiftOf(const LinePP* lines, int codeFrom, int codeTo, bool isFromReference,
                             double cosine, double sine) {
    const Vector reference = directionOf(lines, isFromReference ? codeFrom : codeTo);
    const Vector gap = between(endOf(lines, codeFrom), startOf(lines, codeTo));
    return shiftAlong(gap, reference, cosine, sine);
}

static bool takeReading(const TSCEndPointShiftInDirection& constraint, const LinePP* lines,
                        const int* assignment, TSConstraintReading& reading) {
    int from = 0;
    int to = 0;
    double lower = 0;
    double upper = 0;
    double angle = 0;
    bool isFromReference = false;
    constraint.getContraint(from, to, lower, upper, angle, isFromReference);
    if (!areAssigned(lines, assignment, from, to))
        return false;
    const double shift =
        shiftOf(lines, assignment[from], assignment[to], isFromReference, std::cos(angle), std::sin(angle));
    reading = readingOf({shift, lower, upper}, QStringLiteral("endpoint shift in direction"),
                        TSConstraintReading::Millimetre, from, to);
    return true;
}

KVMATH_CONSTRAINT(TSCEndPointShiftInDirection, "Endpoint shift in direction")
KVMATH_SAVE_FIELDS(TSCEndPointShiftInDirection, save)

std::array<StoredField, 6> TSCEndPointShiftInDirection::fields() {
    return {storedIndex("lineFromIndex", from_),
            storedIndex("lineToIndex", to_),
            storedBound("lowerBound", lower_),
            storedBound("upperBound", upper_),
            storedNumber("directionAngle", directionAngle_),
            storedFlag("isFromLineReference", isFromLineReference_)};
}

bool TSCEndPointShiftInDirection::load(QMap<QString, QVariant>& map) {
    if (!loadFields(map, fields()))
        return false;
    updateRotation();
    return true;
}

bool TSCEndPointShiftInDirection::load(QDataStream& stream) {
    if (!loadFields(stream, fields()))
        return false;
    updateRotation();
    return true;
}

void TSCEndPointShiftInDirection::updateRotation() {
    cos_ = std::cos(directionAngle_);
    sin_ = std::sin(directionAngle_);
}

TSCEndPointShiftInDirection::TSCEndPointShiftInDirection()
    : TSCEndPointShiftInDirection(0, 0, kNoBound, kNoBound, 0, false) {}
TSCEndPointShiftInDirection::TSCEndPointShiftInDirection(int from, int to, double lower, double upper,
                                                         double directionAngle, bool isFromLineReference)
    : from_(from), to_(to), lower_(lower), upper_(upper), directionAngle_(directionAngle),
      isFromLineReference_(isFromLineReference), cos_(std::cos(directionAngle)),
      sin_(std::sin(directionAngle)) {}

int TSCEndPointShiftInDirection::getMaximumLineIndex() { return std::max(from_, to_); }
int TSCEndPointShiftInDirection::getMinimumLineIndex() { return std::min(from_, to_); }

bool TSCEndPointShiftInDirection::check(LinePP* lines, int* assignment) {
    if (!areAssigned(lines, assignment, from_, to_))
        return false;
    const double shift = shiftOf(lines, assignment[from_], assignment[to_], isFromLineReference_, cos_, sin_);
    return isSatisfied({shift, lower_, upper_});
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

}  // namespace KvMath
