#pragma once
// Cyclic convolution and histograms of values.

#include <kvmath/base/global.h>

#include <vector>

namespace KvMath {

/// Replaces data (n) by its cyclic correlation with kernel (2 * half + 1): sum of data[(i + j) mod n] *
/// kernel[j + half] for j = -half..half, in this order; the kernel is not mirrored. n < 1 or half < 0:
/// nothing. Any half works, also beyond n. One allocation beyond 200 values; nothing where
/// memory is short.
KVMATH_EXPORT void convoluteCyclicaly(double* data, int n, const double* kernel, int half);

/// Counts values in binCount bins of binWidth from `start`; centres receives their middles. The bin number is
/// truncated towards zero, so a value up to one width below start is in bin 0 even when dropOutside is set.
/// Other values outside, and NaN, are dropped or, without dropOutside, counted in the nearest bin (NaN in bin
/// 0). binCount below 1 or above 2^24: both vectors empty.
KVMATH_EXPORT void hist(const std::vector<double>& values, double start, double binWidth, int binCount,
                        bool dropOutside, std::vector<double>& centres, std::vector<int>& counts);

}  // namespace KvMath
