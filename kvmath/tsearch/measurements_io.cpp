// Stored forms of the nine measurements: each lists its parameters once, in the order of its record.

#include <kvmath/tsearch/measurements.h>
#include <kvmath/tsearch/stored_fields_p.h>

namespace KvMath {

using namespace Internal;

// The four hooks say the same for every class.
#define KVMATH_STORED_FORMS(CLASS)                                                                           \
    bool CLASS::saveConcreteUniform(QMap<QString, QVariant>& map) { return saveFields(map, fields()); }      \
    bool CLASS::saveConcreteUniform(QDataStream& stream) { return saveFields(stream, fields()); }            \
    bool CLASS::loadConcreteUniform(QMap<QString, QVariant>& map) { return loadFields(map, fields()); }      \
    bool CLASS::loadConcreteUniform(QDataStream& stream) { return loadFields(stream, fields()); }

KVMATH_STORED_FORMS(TSUMLength)
KVMATH_STORED_FORMS(TSUMInclinationAngle)
KVMATH_STORED_FORMS(TSUMRotationAngle)
KVMATH_STORED_FORMS(TSUMAngleBetweenLines)
KVMATH_STORED_FORMS(TSUMLinePoint)
KVMATH_STORED_FORMS(TSUMLinesIntersection)
KVMATH_STORED_FORMS(TSUMPointBetween2Points)
KVMATH_STORED_FORMS(TSUMEndPointShiftInDirection)
KVMATH_STORED_FORMS(TSUMFarLineInDirection)

#undef KVMATH_STORED_FORMS

std::array<StoredField, 1> TSUMLength::fields() { return {storedIndex("measureLineIndex", line_)}; }

std::array<StoredField, 1> TSUMInclinationAngle::fields() { return {storedIndex("measureLineIndex", line_)}; }

std::array<StoredField, 2> TSUMRotationAngle::fields() {
    return {storedIndex("measureLineFromIndex", from_), storedIndex("measureLineToIndex", to_)};
}

std::array<StoredField, 2> TSUMAngleBetweenLines::fields() {
    return {storedIndex("measureLineFromIndex", from_), storedIndex("measureLineToIndex", to_)};
}

std::array<StoredField, 2> TSUMLinePoint::fields() {
    return {storedIndex("measureLineIndex", line_), storedNumber("position", position_)};
}

std::array<StoredField, 2> TSUMLinesIntersection::fields() {
    return {storedIndex("measureFirstLineIndex", first_), storedIndex("measureSecondLineIndex", second_)};
}

std::array<StoredField, 5> TSUMPointBetween2Points::fields() {
    return {storedIndex("measureLineFromIndex", from_), storedIndex("measureLineToIndex", to_),
            storedFlag("isLFStartPoint", isLFStartPoint_), storedFlag("isLTStartPoint", isLTStartPoint_),
            storedNumber("position", position_)};
}

std::array<StoredField, 7> TSUMEndPointShiftInDirection::fields() {
    return {storedIndex("measureLineFromIndex", from_),
            storedIndex("measureLineToIndex", to_),
            storedIndex("measureLineReferenceIndex", reference_),
            storedFlag("isLFStartPoint", isLFStartPoint_),
            storedFlag("isLTStartPoint", isLTStartPoint_),
            storedFlag("isLineReferenceReversed", isLineReferenceReversed_),
            storedNumber("directionAngle", directionAngle_)};
}

std::array<StoredField, 2> TSUMFarLineInDirection::fields() {
    return {storedNumber("directionX", direction_.x), storedNumber("directionY", direction_.y)};
}

}  // namespace KvMath
