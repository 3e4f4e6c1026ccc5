#pragma once
// Two doubles that are worked on at once, and four where there is AVX2. Each lane rounds as a plain double
// does, so that loops written with them keep every bit as long as each sum stays in its lane.

#include <kvmath/base/instructions_p.h>
#include <kvmath/base/vector2d.h>

#include <QtCore/qglobal.h>

#include <cstring>
#include <limits>

namespace KvMath::Internal {

using DoublePair = double __attribute__((vector_size(16)));

inline DoublePair pairOf(const KvVector2D<double>& p) { return DoublePair{p.x, p.y}; }

using DoubleQuad = double __attribute__((vector_size(32)));

// For kernels on either of the two. Results go to arguments: a quad that is returned would need AVX2.

/// As many points as fit: x, y and so on.
template <class Lanes>
KVMATH_INLINE_KERNEL void load(const KvVector2D<double>* pts, Lanes& lanes) {
    std::memcpy(&lanes, pts, sizeof lanes);
}

/// (x, y), once or twice.
template <class Lanes>
KVMATH_INLINE_KERNEL void spread(double x, double y, Lanes& lanes) {
    if constexpr (sizeof(Lanes) == sizeof(DoublePair))
        lanes = Lanes{x, y};
    else
        lanes = Lanes{x, y, x, y};
}

/// x + y of the points in both, in any order.
template <class Lanes>
KVMATH_INLINE_KERNEL void addWithin(const Lanes& a, const Lanes& b, Lanes& sums) {
    if constexpr (sizeof(Lanes) == sizeof(DoublePair))
        sums = Lanes{a[0], b[0]} + Lanes{a[1], b[1]};
    else
        sums = Lanes{a[0], b[0], a[2], b[2]} + Lanes{a[1], b[1], a[3], b[3]};
}

/// What comparing gives: in each lane all bits or none.
template <class Lanes>
using BitsOf = decltype(Lanes() < Lanes());

/// Lane by lane the greater; a NaN in v leaves the lane of `greatest`.
template <class Lanes>
KVMATH_INLINE_KERNEL void takeGreater(const Lanes& v, Lanes& greatest) {
    greatest = v > greatest ? v : greatest;
}

/// The same with |v|.
template <class Lanes>
KVMATH_INLINE_KERNEL void takeGreaterMagnitudes(const Lanes& v, Lanes& greatest) {
    const BitsOf<Lanes> bits = (BitsOf<Lanes>)v & std::numeric_limits<qint64>::max();
    takeGreater((Lanes)bits, greatest);
}

}  // namespace KvMath::Internal
