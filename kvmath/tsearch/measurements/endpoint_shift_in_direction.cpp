#include <kvmath/tsearch/measurements/endpoint_shift_in_direction.h>

#include <kvmath/tsearch/measurement_definition_p.h>
#include <kvmath/tsearch/measurement_geometry_p.h>

namespace KvMath {

using namespace Internal;

KVMATH_MEASUREMENT(TSUMEndPointShiftInDirection, "Endpoint shift in direction", 0, 0, false, false, 0, false,
                   0, QString())

std::array<StoredField, 7> TSUMEndPointShiftInDirection::fields() {
    return {storedIndex("measureLineFromIndex", from_),
            storedIndex("measureLineToIndex", to_),
            storedIndex("measureLineReferenceIndex", reference_),
            storedFlag("isLFStartPoint", isLFStartPoint_),
            storedFlag("isLTStartPoint", isLTStartPoint_),
            storedFlag("isLineReferenceReversed", isLineReferenceReversed_),
            storedNumber("directionAngle", directionAngle_)};
}

TSUMEndPointShiftInDirection::TSUMEndPointShiftInDirection(int from, int to, bool isLFStartPoint,
                                                           bool isLTStartPoint, int reference,
                                                           bool isLineReferenceReversed,
                                                           double directionAngle, const QString& name)
    : TSUniformMeasurement({}, {name}, {}), from_(from), to_(to), reference_(reference),
      isLFStartPoint_(isLFStartPoint), isLTStartPoint_(isLTStartPoint),
      isLineReferenceReversed_(isLineReferenceReversed), directionAngle_(directionAngle), shift_(kNoBound) {}

double TSUMEndPointShiftInDirection::getDirectionAngle() const { return directionAngle_; }
void TSUMEndPointShiftInDirection::setDirectionAngle(double directionAngle) {
    directionAngle_ = directionAngle;
}
bool TSUMEndPointShiftInDirection::getLineReferenceReversed() const { return isLineReferenceReversed_; }
double TSUMEndPointShiftInDirection::getShift() const { return shift_; }

void TSUMEndPointShiftInDirection::setLineReferenceReversed(bool isLineReferenceReversed) {
    isLineReferenceReversed_ = isLineReferenceReversed;
}

void TSUMEndPointShiftInDirection::getMeasureLinesIndecies(int& from, int& to, int& reference) const {
    from = from_;
    to = to_;
    reference = reference_;
}

void TSUMEndPointShiftInDirection::setMeasureLinesIndecies(int from, int to, int reference) {
    from_ = from;
    to_ = to;
    reference_ = reference;
}

void TSUMEndPointShiftInDirection::getPointsChoice(bool& isLFStartPoint, bool& isLTStartPoint) const {
    isLFStartPoint = isLFStartPoint_;
    isLTStartPoint = isLTStartPoint_;
}

void TSUMEndPointShiftInDirection::setPointsChoice(bool isLFStartPoint, bool isLTStartPoint) {
    isLFStartPoint_ = isLFStartPoint;
    isLTStartPoint_ = isLTStartPoint;
}

bool TSUMEndPointShiftInDirection::measure(QList<LinePP>& lines, TSLinesIndecies& indices) {
    clearResults();
    shift_ = kNoBound;
    LinePP from;
    LinePP to;
    LinePP reference;
    if (!assignedLine(lines, indices, from_, from) || !assignedLine(lines, indices, to_, to) ||
        !assignedLine(lines, indices, reference_, reference))
        return false;
    const Vector& a = chosenEnd(from, isLFStartPoint_);
    const Vector& b = chosenEnd(to, isLTStartPoint_);
    const Vector r =
        isLineReferenceReversed_ ? between(reference.p2, reference.p1) : between(reference.p1, reference.p2);
    shift_ = shiftAlong(between(a, b), r, std::cos(directionAngle_), std::sin(directionAngle_));
    addLine(0, a, b, shift_);
    return succeed();
}

}  // namespace KvMath
