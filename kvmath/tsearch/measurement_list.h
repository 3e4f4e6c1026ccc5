#pragma once
// Measurements in the order in which they are evaluated.

#include <kvmath/tsearch/measurement.h>

namespace KvMath {

/// Owns its measurements. Copies are deep.
class KVMATH_EXPORT TSMeasurementList {
public:
    TSMeasurementList();
    TSMeasurementList(const TSMeasurementList& other);
    /// The old measurements are deleted; self-assignment changes nothing.
    TSMeasurementList& operator=(const TSMeasurementList& other);
    ~TSMeasurementList();

    bool
    addMeasurement(TSMeasurement* measurement);  ///< takes ownership; false for null or one it already holds
    QList<TSMeasurement*> getAllMeasurements() const;  ///< owned here
    /// Names and activity flags of all results of all measurements, to be read and changed in place.
    QList<QPair<QString*, bool*>> getUniformResultsInfo() const;
    void removeAllMeasurements();  ///< deletes all

    /// Map form: a list of the maps that saveMeasurement writes. False, and `list` untouched, when one cannot
    /// be saved.
    bool save(QVariant& list) const;
    bool save(QDataStream& stream) const;  ///< raw int32 count, then each as saveMeasurement writes it

    /// Both remove the present measurements first, always. False for a wrong kind of value, a negative count
    /// or the first measurement that does not load; those before it stay.
    bool load(const QVariant& list);
    bool load(QDataStream& stream);

private:
    QList<TSMeasurement*> measurements_;
};

}  // namespace KvMath
