#pragma once
// Mean, median and percentiles of the heights or x of points.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>

#include <vector>

namespace KvMeasure {

/// Mean of the coordinates. NaN without values; all are finite.
KVMEASURE_EXPORT double meanOf(const std::vector<double>& values);

/// The value below which `percent` (0 to 100) of the values lie, between neighbours in proportion: 0 is the
/// least, 50 the median, 100 the greatest. The values change their order. NaN without values and for a
/// percentage that is NaN or out of its range; all values are finite.
KVMEASURE_EXPORT double percentileOf(std::vector<double>& values, double percent);

/// Heights of points, or their x.
KVMEASURE_EXPORT std::vector<double> coordinates(const std::vector<Vector>& points, bool isOfX);

}  // namespace KvMeasure
