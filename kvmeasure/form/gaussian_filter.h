#pragma once
// The Gaussian filter of surface texture (ISO 16610-21) and its robust form (ISO 16610-31).

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>

#include <vector>

namespace KvMeasure {

/// The long waves of a profile: at each point the mean of the heights with weights exp(-pi (d / (a c))^2) of
/// the distance d along x, a = sqrt(ln 2 / pi), c the cut-off, up to d = c (the rest is 7e-7 of all). Weights
/// are normalised over the points that there are, so that missing ones weigh nothing. A wave of length c
/// passes by half. Robust: points far off weigh less (Tukey's weights at 4.4478 medians), until nothing
/// changes by 1e-4 of the median. Points finite, in ascending x. Throws Error for a cut-off that is not > 0,
/// and where 400 million products do not suffice.
KVMEASURE_EXPORT std::vector<double> gaussianMeanLine(const std::vector<Vector>& points, double cutoff,
                                                      bool isRobust = false);

}  // namespace KvMeasure
