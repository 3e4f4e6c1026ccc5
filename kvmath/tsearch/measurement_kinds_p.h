#pragma once
// A row of the table of measurement kinds.

#include <kvmath/tsearch/measurement.h>

namespace KvMath::Internal {

/// A measurement of the class, made with new, for the registry to clone. Defined in
/// measurement_definition_p.h and made where the class is defined, so that the table needs no more than its
/// name.
template <class M>
TSMeasurement* newPrototype();

}  // namespace KvMath::Internal
