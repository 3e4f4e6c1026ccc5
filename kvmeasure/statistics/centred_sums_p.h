#pragma once
// Mean and sum of squares without the difference of large sums.

#include <cmath>
#include <vector>

namespace KvMeasure::Internal {

using Real = long double;

/// The mean less the base, and the sum of the squared differences from the mean.
struct CentredSums {
    Real offset = 0, squares = 0;
};

/// Two passes about a base near the values, the second with the correction for the rounding of the mean (T.
/// F. Chan, G. H. Golub, R. J. LeVeque: Algorithms for computing the sample variance, Am. Stat. 37 (1983)
/// 242-247). There is a value at least.
inline CentredSums centredSums(const std::vector<double>& values, double base) {
    const auto count = static_cast<Real>(values.size());
    Real sum = 0;
    for (const double value : values)
        sum += Real(value) - base;
    const Real offset = sum / count;
    Real squares = 0, rest = 0;
    for (const double value : values) {
        const Real d = (Real(value) - base) - offset;
        squares += d * d;
        rest += d;
    }
    return {offset, squares - rest * rest / count};
}

}  // namespace KvMeasure::Internal
