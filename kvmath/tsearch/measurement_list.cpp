#include <kvmath/tsearch/measurement_list.h>

#include <kvmath/tsearch/stored_fields_p.h>

namespace KvMath {

TSMeasurementList::TSMeasurementList() = default;

TSMeasurementList::TSMeasurementList(const TSMeasurementList& other) {
    measurements_.reserve(other.measurements_.size());
    for (TSMeasurement* measurement : other.measurements_) {
        if (TSMeasurement* copy = measurement->clone())
            measurements_.append(copy);
    }
}

TSMeasurementList& TSMeasurementList::operator=(const TSMeasurementList& other) {
    if (this == &other)
        return *this;
    TSMeasurementList copy(other);
    measurements_.swap(copy.measurements_);
    return *this;
}

TSMeasurementList::~TSMeasurementList() { qDeleteAll(measurements_); }

bool TSMeasurementList::addMeasurement(TSMeasurement* measurement) {
    if (measurement == nullptr || measurements_.contains(measurement))
        return false;
    measurements_.append(measurement);
    return true;
}

QList<TSMeasurement*> TSMeasurementList::getAllMeasurements() const { return measurements_; }

QList<QPair<QString*, bool*>> TSMeasurementList::getUniformResultsInfo() const {
    QList<QPair<QString*, bool*>> all;
    for (TSMeasurement* measurement : measurements_)
        all += measurement->getUniformResultsInfoAll();
    return all;
}

void TSMeasurementList::removeAllMeasurements() {
    qDeleteAll(measurements_);
    measurements_.clear();
}

bool TSMeasurementList::save(QVariant& list) const {
    QVariantList entries;
    for (TSMeasurement* measurement : measurements_) {
        QVariantMap entry;
        if (!TSMeasurement::saveMeasurement(entry, measurement))
            return false;
        entries.append(entry);
    }
    list = entries;
    return true;
}

bool TSMeasurementList::save(QDataStream& stream) const {
    if (!Internal::writeRaw(stream, static_cast<qint32>(measurements_.size())))
        return false;
    for (TSMeasurement* measurement : measurements_) {
        if (!TSMeasurement::saveMeasurement(stream, measurement))
            return false;
    }
    return true;
}

bool TSMeasurementList::load(const QVariant& list) {
    removeAllMeasurements();
    if (list.userType() != QMetaType::QVariantList)
        return false;
    const QVariantList entries = list.toList();
    for (const QVariant& entry : entries) {
        QVariantMap map = entry.toMap();  // empty, and so without a type, when the entry is something else
        TSMeasurement* measurement = nullptr;
        if (!TSMeasurement::loadMeasurement(map, measurement))
            return false;
        measurements_.append(measurement);
    }
    return true;
}

bool TSMeasurementList::load(QDataStream& stream) {
    removeAllMeasurements();
    qint32 count = 0;
    if (!Internal::readRaw(stream, count) || count < 0)
        return false;
    for (qint32 k = 0; k < count; ++k) {
        TSMeasurement* measurement = nullptr;
        if (!TSMeasurement::loadMeasurement(stream, measurement))
            return false;
        measurements_.append(measurement);
    }
    return true;
}

}  // namespace KvMath
