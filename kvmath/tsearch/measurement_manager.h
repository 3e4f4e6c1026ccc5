#pragma once
// Registry of measurements: makes them by type name.

#include <kvmath/tsearch/measurement.h>

namespace KvMath {

/// Owns one prototype per type name. Registering is for one thread at a time and before others load.
class KVMATH_EXPORT TSManagerOfMeasurements {
public:
    TSManagerOfMeasurements();   ///< empty
    ~TSManagerOfMeasurements();  ///< deletes its prototypes

    /// The registry that loading uses. It holds the nine measurements of the library from its first use on
    /// and lives until the process ends.
    static TSManagerOfMeasurements& instance();

    /// Adds a prototype and takes ownership on true. False, and the prototype stays with the caller: null, or
    /// its type name is taken.
    bool registerMeasurement(TSMeasurement* prototype);

    QStringList getTypes() const;  ///< type names of the prototypes, sorted
    /// A clone of the prototype of this type name, owned by the caller. Null: unknown.
    TSMeasurement* getMeasurement(QString type) const;
    /// A clone of the prototype with this type field of a record, owned by the caller. Null: unknown.
    TSMeasurement* getMeasurementByTag(quint64 typeTag) const;

private:
    Q_DISABLE_COPY(TSManagerOfMeasurements)

    QMap<QString, TSMeasurement*> prototypes_;
};

}  // namespace KvMath
