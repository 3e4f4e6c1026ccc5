#pragma once
// What the definition of a measurement kind does not have to write.

#include <kvmath/tsearch/measurement_kinds_p.h>
#include <kvmath/tsearch/stored_fields_p.h>

namespace KvMath::Internal {

template <class M>
TSMeasurement* newPrototype() {
    return prototypeOf(static_cast<const M*>(nullptr));  // from KVMATH_MEASUREMENT
}

}  // namespace KvMath::Internal

/// Type name, clone, row and stored forms of a kind, the latter from its fields(). Behind the type name stand
/// the arguments of the constructor for the prototype.
#define KVMATH_MEASUREMENT(CLASS, TYPE, ...)                                                                 \
    QString CLASS::getType() { return QStringLiteral(TYPE); }                                                \
    TSMeasurement* CLASS::clone() { return new CLASS(*this); }                                               \
    static TSMeasurement* prototypeOf(const CLASS* /*kind*/) { return new CLASS(__VA_ARGS__); }              \
    template TSMeasurement* Internal::newPrototype<CLASS>();                                                 \
    KVMATH_SAVE_FIELDS(CLASS, saveConcreteUniform)                                                           \
    KVMATH_LOAD_FIELDS(CLASS, loadConcreteUniform)
