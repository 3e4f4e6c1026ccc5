#pragma once
// Two doubles that are worked on at once, and four where there is AVX2. Each lane rounds as a plain double
// does. A kernel of four is compiled twice, for any processor and for AVX2; which value goes into which lane
// is the same in both, and so are the bits:
//
//     KVMEASURE_INLINE_KERNEL void kernel(...) { ... }
//     KVMEASURE_FOR_AVX2 void kernelForAvx2(...) { kernel(...); }
//     Internal::ofThisMachine(kernelForAvx2, kernel)(...);
//
// kvmath has the same for itself; its private headers end at that library.

#include <kvmeasure/base/plane_geometry.h>

#include <cstring>

#if defined(__GNUC__) && defined(__x86_64__)
#define KVMEASURE_INLINE_KERNEL [[gnu::always_inline]] inline
#define KVMEASURE_FOR_AVX2 [[gnu::target("avx2")]]
#else
#define KVMEASURE_INLINE_KERNEL inline
#define KVMEASURE_FOR_AVX2
#endif

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

using DoubleQuad = double __attribute__((vector_size(32)));

/// Adds the products of a value and each of four neighbours. Results go to arguments: a quad that is returned
/// would need AVX2.
KVMEASURE_INLINE_KERNEL void addProduct(double value, const double* neighbours, DoubleQuad& sums) {
    DoubleQuad quad;
    std::memcpy(&quad, neighbours, sizeof(quad));
    sums += value * quad;
}

inline bool hasAvx2() {
#if defined(__GNUC__) && defined(__x86_64__)
    return __builtin_cpu_supports("avx2") != 0;
#else
    return false;
#endif
}

/// The better one of two kernels that do the same.
template <class Kernel>
Kernel* ofThisMachine(Kernel* forAvx2, Kernel* anywhere) {
    return hasAvx2() ? forAvx2 : anywhere;
}

}  // namespace KvMeasure::Internal
