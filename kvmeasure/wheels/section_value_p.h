#pragma once
// Values of a section, or why there are none.

#include <kvmeasure/wheels/gauge_values.h>

#include <cmath>

namespace KvMeasure::Internal {

/// Without a value where there is a reason, and for one that is no number, whose reason is `otherwise`.
inline SectionValue sectionValue(const char* key, const char* name, const char* unit, double value,
                                 const QString& reason, const char* otherwise, const QString& note = {}) {
    SectionValue result;
    result.key = key;
    result.name = name;
    result.unit = unit;
    if (!reason.isEmpty())
        result.reason = reason;
    else if (!std::isfinite(value))
        result.reason = otherwise;
    else {
        result.value = value;
        result.note = note;
    }
    return result;
}

}  // namespace KvMeasure::Internal
