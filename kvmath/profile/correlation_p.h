#pragma once
// Linear correlation of a run of points, shared by the profile's query and the filter of straight parts.

#include <kvmath/profile/point_list_p.h>

namespace KvMath::Internal {

/// Coefficient over [first, last). Products in single precision, sums in double in point order; the variances
/// may round below zero, which gives NaN like a level or an empty run.
inline float correlation(ConstPointIterator first, ConstPointIterator last) {
    double sumX = 0;
    double sumY = 0;
    double sumXX = 0;
    double sumYY = 0;
    double sumXY = 0;
    const double n = static_cast<double>(last - first);
    for (; first != last; ++first) {
        const float x = first->x;
        const float y = first->y;
        sumX += static_cast<double>(x);
        sumY += static_cast<double>(y);
        sumXX += static_cast<double>(x * x);
        sumYY += static_cast<double>(y * y);
        sumXY += static_cast<double>(x * y);
    }
    const double meanX = sumX / n;
    const double meanY = sumY / n;
    const double varianceX = sumXX / n - meanX * meanX;
    const double varianceY = sumYY / n - meanY * meanY;
    const double covariance = sumXY / n - meanX * meanY;
    return static_cast<float>(covariance / (std::sqrt(varianceY) * std::sqrt(varianceX)));
}

}  // namespace KvMath::Internal
