#pragma once
// What the file of a kind needs.

#include <kvmeasure/inspection/measurement_kind_p.h>
#include <kvmeasure/inspection/statement_p.h>

namespace KvMeasure::Internal {

template <class Kind>
const MeasurementKind* kindRow() {
    static const Kind kind;
    return &kind;
}

}  // namespace KvMeasure::Internal

/// Makes the row of a class, after its definition.
#define KVMEASURE_KIND(KIND) template const MeasurementKind* kindRow<KIND>();
