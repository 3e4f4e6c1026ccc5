#pragma once
// Two doubles that are worked on at once. Each lane rounds as a plain double does, so that loops written with
// pairs keep every bit as long as each sum stays in its lane.

#include <kvmath/base/vector2d.h>

#include <QtCore/qglobal.h>

#include <limits>

namespace KvMath::Internal {

using DoublePair = double __attribute__((vector_size(16)));

inline DoublePair pairOf(const KvVector2D<double>& p) { return DoublePair{p.x, p.y}; }

inline DoublePair magnitudes(DoublePair v) {
    using Bits = qint64 __attribute__((vector_size(16)));
    constexpr qint64 kAllButSign = std::numeric_limits<qint64>::max();
    return reinterpret_cast<DoublePair>(reinterpret_cast<Bits>(v) & Bits{kAllButSign, kAllButSign});
}

/// Lane by lane the greater; a NaN in v leaves the lane of `greatest`.
inline DoublePair greater(DoublePair v, DoublePair greatest) { return v > greatest ? v : greatest; }

}  // namespace KvMath::Internal
