#pragma once
// Two doubles that are worked on at once. Each lane rounds as a plain double does.

#include <kvmeasure/base/plane_geometry.h>

#include <cstring>

namespace KvMeasure::Internal {

using DoublePair = double __attribute__((vector_size(16)));

/// x and y of a point.
inline DoublePair pairOf(const Vector& p) {
    DoublePair pair;
    static_assert(sizeof(pair) == sizeof(p));
    std::memcpy(&pair, &p, sizeof(pair));
    return pair;
}

/// A value and the next one.
inline DoublePair pairAt(const double* values) {
    DoublePair pair;
    std::memcpy(&pair, values, sizeof(pair));
    return pair;
}

}  // namespace KvMeasure::Internal
