// Stored forms of the six constraints: each lists its fields once, in the order of its record.

#include <kvmath/tsearch/constraints.h>
#include <kvmath/tsearch/stored_fields_p.h>

namespace KvMath {

using namespace Internal;

std::array<StoredField, 3> TSCLength::fields() {
    return {storedIndex("lineIndex", line_), storedBound("lowerBound", lower_),
            storedBound("upperBound", upper_)};
}

bool TSCLength::save(QMap<QString, QVariant>& map) { return saveFields(map, fields()); }
bool TSCLength::save(QDataStream& stream) { return saveFields(stream, fields()); }
bool TSCLength::load(QMap<QString, QVariant>& map) { return loadFields(map, fields()); }
bool TSCLength::load(QDataStream& stream) { return loadFields(stream, fields()); }

std::array<StoredField, 3> TSCInclinationAngle::fields() {
    return {storedIndex("lineIndex", line_), storedBound("lowerBound", lower_),
            storedBound("upperBound", upper_)};
}

bool TSCInclinationAngle::save(QMap<QString, QVariant>& map) { return saveFields(map, fields()); }
bool TSCInclinationAngle::save(QDataStream& stream) { return saveFields(stream, fields()); }
bool TSCInclinationAngle::load(QMap<QString, QVariant>& map) { return loadFields(map, fields()); }
bool TSCInclinationAngle::load(QDataStream& stream) { return loadFields(stream, fields()); }

std::array<StoredField, 4> TSCEndPointDistance::fields() {
    return {storedIndex("lineFromIndex", from_), storedIndex("lineToIndex", to_),
            storedBound("lowerBound", lower_), storedBound("upperBound", upper_)};
}

bool TSCEndPointDistance::save(QMap<QString, QVariant>& map) { return saveFields(map, fields()); }
bool TSCEndPointDistance::save(QDataStream& stream) { return saveFields(stream, fields()); }
bool TSCEndPointDistance::load(QMap<QString, QVariant>& map) { return loadFields(map, fields()); }
bool TSCEndPointDistance::load(QDataStream& stream) { return loadFields(stream, fields()); }

std::array<StoredField, 5> TSCRotationAngle::fields() {
    return {storedIndex("lineFromIndex", from_), storedIndex("lineToIndex", to_),
            storedBound("lowerBound", lower_), storedBound("upperBound", upper_),
            StoredField{"direction", StoredField::OptionalIndex, &direction_}};
}

bool TSCRotationAngle::save(QMap<QString, QVariant>& map) { return saveFields(map, fields()); }
bool TSCRotationAngle::save(QDataStream& stream) { return saveFields(stream, fields()); }
bool TSCRotationAngle::load(QMap<QString, QVariant>& map) { return loadFields(map, fields()); }
bool TSCRotationAngle::load(QDataStream& stream) { return loadFields(stream, fields()); }

std::array<StoredField, 6> TSCEndPointShiftInDirection::fields() {
    return {storedIndex("lineFromIndex", from_),
            storedIndex("lineToIndex", to_),
            storedBound("lowerBound", lower_),
            storedBound("upperBound", upper_),
            storedNumber("directionAngle", directionAngle_),
            storedFlag("isFromLineReference", isFromLineReference_)};
}

bool TSCEndPointShiftInDirection::save(QMap<QString, QVariant>& map) { return saveFields(map, fields()); }
bool TSCEndPointShiftInDirection::save(QDataStream& stream) { return saveFields(stream, fields()); }

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

}  // namespace KvMath
