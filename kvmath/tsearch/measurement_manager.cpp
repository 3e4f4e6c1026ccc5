#include <kvmath/tsearch/measurement_manager.h>

#include <kvmath/tsearch/measurement_kinds_p.h>
#include <kvmath/tsearch/type_tag_p.h>

namespace KvMath {

using Internal::newPrototype;

// A new kind is a file in measurements/ and a row here. `class` declares the name, so that the table needs no
// header of a kind; in an unnamed namespace it would declare another class.
static constexpr TSMeasurement* (*kRows[])() = {
    newPrototype<class TSUMLength>,
    newPrototype<class TSUMInclinationAngle>,
    newPrototype<class TSUMRotationAngle>,
    newPrototype<class TSUMAngleBetweenLines>,
    newPrototype<class TSUMLinePoint>,
    newPrototype<class TSUMLinesIntersection>,
    newPrototype<class TSUMPointBetween2Points>,
    newPrototype<class TSUMEndPointShiftInDirection>,
    newPrototype<class TSUMFarLineInDirection>,
};

TSManagerOfMeasurements::TSManagerOfMeasurements() = default;

TSManagerOfMeasurements::~TSManagerOfMeasurements() { qDeleteAll(prototypes_); }

TSManagerOfMeasurements& TSManagerOfMeasurements::instance() {
    // Never destroyed, so that hosts may load until the end.
    static TSManagerOfMeasurements* const manager = [] {
        auto* filled = new TSManagerOfMeasurements;
        for (const auto row : kRows)
            filled->registerMeasurement(row());
        return filled;
    }();
    return *manager;
}

bool TSManagerOfMeasurements::registerMeasurement(TSMeasurement* prototype) {
    if (prototype == nullptr)
        return false;
    const QString type = prototype->getType();
    if (prototypes_.contains(type))
        return false;
    prototypes_.insert(type, prototype);
    return true;
}

QStringList TSManagerOfMeasurements::getTypes() const { return prototypes_.keys(); }

TSMeasurement* TSManagerOfMeasurements::getMeasurement(QString type) const {
    TSMeasurement* prototype = prototypes_.value(type);
    return prototype != nullptr ? prototype->clone() : nullptr;
}

TSMeasurement* TSManagerOfMeasurements::getMeasurementByTag(quint64 typeTag) const {
    for (auto entry = prototypes_.begin(); entry != prototypes_.end(); ++entry) {
        if (Internal::typeTag(entry.key()) == typeTag)
            return entry.value()->clone();
    }
    return nullptr;
}

}  // namespace KvMath
