#pragma once
// Kernels compiled twice, for any processor and for AVX2, of which the better one is chosen when they run.
// Lanes are different results, never parts of one sum, and contraction is off: both give the same bits.
//
//     KVMATH_INLINE_KERNEL void kernel(...) { loops that the compiler vectorises }
//     KVMATH_FOR_AVX2 void kernelForAvx2(...) { kernel(...); }
//     if (Internal::hasAvx2()) kernelForAvx2(...); else kernel(...);

#if defined(__GNUC__) && defined(__x86_64__)
#define KVMATH_INLINE_KERNEL [[gnu::always_inline]] inline
#define KVMATH_FOR_AVX2 [[gnu::target("avx2")]]
#else
#define KVMATH_INLINE_KERNEL inline
#define KVMATH_FOR_AVX2
#endif

namespace KvMath::Internal {

inline bool hasAvx2() {
#if defined(__GNUC__) && defined(__x86_64__)
    return __builtin_cpu_supports("avx2") != 0;
#else
    return false;
#endif
}

}  // namespace KvMath::Internal
