#pragma once
// Probabilities and quantiles of the distributions that tests and confidence limits need.

#include <kvmeasure/base/global.h>

namespace KvMeasure {

/// The share of a normal distribution of mean 0 and deviation 1 below x. NaN for NaN.
KVMEASURE_EXPORT double normalShareBelow(double x);

/// The x below which that share of the normal distribution lies; NaN for a share outside 0 < share < 1.
KVMEASURE_EXPORT double normalQuantile(double share);

/// The share of an F distribution above f; 1 for f <= 0, NaN for degrees of freedom that are not > 0.
KVMEASURE_EXPORT double fShareAbove(double f, double freedomAbove, double freedomBelow);

/// The t of Student's distribution below which that share lies; NaN as above.
KVMEASURE_EXPORT double studentQuantile(double share, double freedom);

/// The value of a chi-square distribution below which that share lies; NaN as above.
KVMEASURE_EXPORT double chiSquareQuantile(double share, double freedom);

/// Mean and deviation of a range.
struct RangeOfNormal {
    double mean = 0;       ///< d2
    double deviation = 0;  ///< d3
};

/// The range of `count` independent values of a normal distribution of deviation 1. NaN below two values and
/// above 1000.
KVMEASURE_EXPORT RangeOfNormal rangeOfNormal(int count);
/// Its mean d2 alone, in a hundredth of the time; NaN likewise.
KVMEASURE_EXPORT double meanRangeOfNormal(int count);

}  // namespace KvMeasure
