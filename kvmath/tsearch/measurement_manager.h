#pragma once
// Registry of measurements: makes them by type name.

#include <kvmath/tsearch/measurement.h>

namespace KvMath {

/// Owns one prototype per type name. Registering is for one thread at a time and before others load.
class KVMATH_EXPORT TSManagerOfMeasurements {
public:
    TSManagerOfMeasurements();  ///< empty
    ~TSManagerOfMeasurements();

    /// The registry that loading uses. It holds the nine measurements of the library from its first use on
    /// and lives until the process ends.
    static TSManagerOfMeasurements& instance();

    /// Takes ownership on true. False, and the prototype stays with the caller: null, or its type name is
    /// taken.
    bool registerMeasurement(TSMeasurement* prototype);

    TSMeasurement*
    getMeasurement(QString type) const;  ///< a clone of the prototype, owned by the caller; null: unknown
    TSMeasurement* getMeasurementByTag(quint64 typeTag) const;  ///< the same by the type field of a record

private:
    Q_DISABLE_COPY(TSManagerOfMeasurements)

    QMap<QString, TSMeasurement*> prototypes_;
};

}  // namespace KvMath
