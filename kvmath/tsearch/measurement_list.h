#pragma once
// Measurements in the order in which they are evaluated.

#include <kvmath/tsearch/measurement.h>

namespace KvMath {

/// Owns its measurements. Copies are deep.
class KVMATH_EXPORT TSMeasurementList {
public:
    TSMeasurementList();                                ///< empty
    TSMeasurementList(const TSMeasurementList& other);  ///< clones every measurement of `other`
    /// Replaces the measurements by clones of those of `other`. The old ones are deleted; self-assignment
    /// changes nothing.
    TSMeasurementList& operator=(const TSMeasurementList& other);
    ~TSMeasurementList();  ///< deletes its measurements

    /// Appends a measurement and takes ownership. False for null or one it already holds.
    bool addMeasurement(TSMeasurement* measurement);
    QList<TSMeasurement*> getAllMeasurements() const;  ///< in the order of evaluation; owned here
    /// Names and activity flags of all results of all measurements, to be read and changed in place.
    QList<QPair<QString*, bool*>> getUniformResultsInfo() const;
    void removeAllMeasurements();  ///< deletes every measurement

    /// Stores the map form: a list of the maps that saveMeasurement writes. False, and `list` untouched, when
    /// one cannot be saved.
    bool save(QVariant& list) const;
    /// Writes a raw int32 count, then each as saveMeasurement writes it. False when one cannot be written.
    bool save(QDataStream& stream) const;

    /// Replaces the measurements by those of a map form. The present ones go first, always. False for a value
    /// that is no list and for the first measurement that does not load; those before it stay.
    bool load(const QVariant& list);
    /// Replaces the measurements by those of a stream. The present ones go first, always. False for a short
    /// read, a negative count and the first measurement that does not load; those before it stay.
    bool load(QDataStream& stream);

private:
    QList<TSMeasurement*> measurements_;
};

}  // namespace KvMath
