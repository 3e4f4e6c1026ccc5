#pragma once
// A series of values: mean, deviation, order, normality, outlier.

#include <kvmeasure/base/global.h>

#include <limits>
#include <vector>

namespace KvMeasure {

/// What a series says of itself; NaN where it has too few values, or all are equal.
struct SampleSummary {
    int count = 0;                                                        ///< values
    double mean = std::numeric_limits<double>::quiet_NaN();               ///< the sum over the count
    double standardDeviation = std::numeric_limits<double>::quiet_NaN();  ///< with n - 1; from two values on
    double minimum = std::numeric_limits<double>::quiet_NaN();            ///< least value
    double maximum = std::numeric_limits<double>::quiet_NaN();            ///< greatest value
    double median = std::numeric_limits<double>::quiet_NaN();           ///< as percentile() gives it for 0.5
    double autocorrelation = std::numeric_limits<double>::quiet_NaN();  ///< of neighbours in the series
};

/// The summary of finite values. Sums run over differences from the mean in long double: an offset of 1e9
/// costs no digits but those of the values themselves.
KVMEASURE_EXPORT SampleSummary summarize(const std::vector<double>& values);

/// The p-th part of the values lies below it, 0 <= p <= 1: straight between the order statistics, p = (i -
/// 0.5) / n (ISO 16269); the outermost beyond them. NaN without values.
KVMEASURE_EXPORT double percentile(const std::vector<double>& values, double p);

/// The test of Anderson and Darling whether values come from a normal distribution.
struct NormalityTest {
    double statistic = std::numeric_limits<double>::quiet_NaN();  ///< A^2, corrected for n
    double probability =
        std::numeric_limits<double>::quiet_NaN();  ///< of a greater one where they do; below 0.05: they do
                                                   ///< not. NaN below 8 values and for equal ones.
};

/// Mean and deviation are estimated from the values (R. B. D'Agostino, M. A. Stephens: Goodness-of-Fit
/// Techniques, 1986, table 4.9).
KVMEASURE_EXPORT NormalityTest testNormality(const std::vector<double>& values);

/// The value farthest from the mean, by F. E. Grubbs (Technometrics 11 (1969) 1-21).
struct OutlierTest {
    int index = -1;                                               ///< of that value; -1: no test
    double statistic = std::numeric_limits<double>::quiet_NaN();  ///< its distance in standard deviations
    double critical = std::numeric_limits<double>::quiet_NaN();   ///< distance at a significance of 5 %
    bool isOutlier() const { return statistic > critical; }       ///< false without a test
};

/// Two-sided; no test below three values and for equal ones.
KVMEASURE_EXPORT OutlierTest testOutlier(const std::vector<double>& values);

}  // namespace KvMeasure
