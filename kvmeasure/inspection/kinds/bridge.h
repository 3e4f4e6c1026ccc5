#pragma once
// The height of the highest points of a surface, without the very highest.

#include <kvmeasure/base/global.h>

#include <limits>
#include <vector>

namespace KvMeasure {

/// Mean and standard deviation of a band of heights.
struct BridgeResult {
    double height = std::numeric_limits<double>::quiet_NaN();  ///< mean of the band, mm; NaN: there is none
    double deviation = 0;                                      ///< standard deviation of these, mm; 0 for one
    int points = 0;                                            ///< of the band
};

/// The heights sorted from the top: the mean of those between `skip` and `window` percent of their number,
/// the first of them included. None without heights, for limits that are not 0 <= skip < window <= 100, and
/// where no point lies between them. The heights change their order; all are finite.
KVMEASURE_EXPORT BridgeResult bridgeValue(std::vector<double>& heights, double skip, double window);

}  // namespace KvMeasure
