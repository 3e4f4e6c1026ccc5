#pragma once
// Four doubles that are worked on at once: values and points, roots, sums. A sum has four parts, each over
// every fourth value, which are added up in one order: so it is the same with AVX2 and without.

#include <kvmeasure/base/double_pair_p.h>

#include <cmath>

#if defined(__GNUC__) && defined(__x86_64__)
#include <immintrin.h>
/// At the end of a kernel for AVX2 where the compiler leaves it out, as g++ 12 does in large ones: without it
/// all that follows takes twice as long.
#define KVMEASURE_LEAVE_AVX2() _mm256_zeroupper()
#else
#define KVMEASURE_LEAVE_AVX2() static_cast<void>(0)
#endif

namespace KvMeasure::Internal {

using DoubleQuadMask = decltype(DoubleQuad() < DoubleQuad());  ///< -1 where it holds, else 0

constexpr std::size_t kFour = 4;

/// A value and the next three, into `four`.
KVMEASURE_INLINE_KERNEL void takeFour(const double* values, DoubleQuad& four) {
    std::memcpy(&four, values, sizeof(four));
}

/// x and y of a point and the next three.
KVMEASURE_INLINE_KERNEL void takeFour(const Vector* points, DoubleQuad& x, DoubleQuad& y) {
    static_assert(sizeof(Vector) == 2 * sizeof(double));
    DoubleQuad first;
    DoubleQuad second;
    std::memcpy(&first, points, sizeof(first));
    std::memcpy(&second, points + 2, sizeof(second));
    x = __builtin_shufflevector(first, second, 0, 2, 4, 6);
    y = __builtin_shufflevector(first, second, 1, 3, 5, 7);
}

/// The square root of each, none of them negative.
KVMEASURE_INLINE_KERNEL void takeRoots(DoubleQuad& four) {
#if defined(__GNUC__) && defined(__x86_64__)
    __m128d low;
    __m128d high;
    std::memcpy(&low, &four, sizeof(low));
    std::memcpy(&high, reinterpret_cast<const char*>(&four) + sizeof(low), sizeof(high));
    low = _mm_sqrt_pd(low);
    high = _mm_sqrt_pd(high);
    std::memcpy(&four, &low, sizeof(low));
    std::memcpy(reinterpret_cast<char*>(&four) + sizeof(low), &high, sizeof(high));
#else
    for (std::size_t i = 0; i < kFour; ++i)
        four[i] = std::sqrt(four[i]);
#endif
}

/// Lanes of `four` where the mask holds become those of `others`.
KVMEASURE_INLINE_KERNEL void replaceWhere(const DoubleQuadMask& mask, const DoubleQuad& others,
                                          DoubleQuad& four) {
    four = mask ? others : four;
}

/// Lanes of `four` where the mask does not hold become 0.
KVMEASURE_INLINE_KERNEL void clearUnless(const DoubleQuadMask& mask, DoubleQuad& four) {
    replaceWhere(~mask, DoubleQuad{0, 0, 0, 0}, four);
}

/// The absolute value of each.
KVMEASURE_INLINE_KERNEL void takeSizes(DoubleQuad& four) { replaceWhere(four < 0, -four, four); }

/// Of all lanes, always in the same order.
KVMEASURE_INLINE_KERNEL double sumOf(const DoubleQuad& four) {
    return (four[0] + four[1]) + (four[2] + four[3]);
}

}  // namespace KvMeasure::Internal
