#include <kvmath/tsearch/measurement_manager.h>

#include <kvmath/tsearch/measurements.h>
#include <kvmath/tsearch/type_tag_p.h>

namespace KvMath {

namespace {

/// The registry of the process, with the library's own nine. Never destroyed, so that hosts may load until
/// the end.
TSManagerOfMeasurements* newFilledManager() {
    using Point = KvVector2D<double>;
    const QString none;
    auto* manager = new TSManagerOfMeasurements;
    manager->registerMeasurement(new TSUMLength(0, none));
    manager->registerMeasurement(new TSUMInclinationAngle(0, none));
    manager->registerMeasurement(new TSUMRotationAngle(0, 0, none));
    manager->registerMeasurement(new TSUMAngleBetweenLines(0, 0, none));
    manager->registerMeasurement(new TSUMLinePoint(0, 0, none));
    manager->registerMeasurement(new TSUMLinesIntersection(0, 0, none));
    manager->registerMeasurement(new TSUMPointBetween2Points(0, 0, false, false, 0, none));
    manager->registerMeasurement(new TSUMEndPointShiftInDirection(0, 0, false, false, 0, false, 0, none));
    manager->registerMeasurement(new TSUMFarLineInDirection(Point(), none, none, none));
    return manager;
}

}  // namespace

TSManagerOfMeasurements::TSManagerOfMeasurements() = default;

TSManagerOfMeasurements::~TSManagerOfMeasurements() { qDeleteAll(prototypes_); }

TSManagerOfMeasurements& TSManagerOfMeasurements::instance() {
    static TSManagerOfMeasurements* const manager = newFilledManager();
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
