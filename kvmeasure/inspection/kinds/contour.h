#pragma once
// Area between two profiles of one part, seen from both sides.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/kinds/fitted_value.h>

#include <limits>
#include <vector>

namespace KvMeasure {

/// How the profiles are closed to a contour.
struct ContourSettings {
    bool movesFreeEdges = true;  ///< the ends lie half a point distance beyond the last points
    /// Widest step in x from point to point that is counted, mm; NaN: ten times the median step.
    double widestGap = std::numeric_limits<double>::quiet_NaN();
};

/// The area of a contour.
struct ContourResult {
    QString reason;        ///< why there is no area; empty: there is one
    FittedValue area;      ///< mm^2, never negative
    FittedValue x;         ///< of the centroid, mm; with a reason where the area is not greater than its u
    FittedValue z;         ///< of the centroid, mm
    double freeEdges = 0;  ///< what was added beyond the last points, mm^2
    int gaps = 0;          ///< wider steps, bridged by a straight line
};

/// The area that two profiles in one x and z enclose, each in scan order along x in either sense; their ends
/// are joined by straight lines. The noise of each is its own scanner's. No area, with a reason: a profile of
/// fewer than two points or without length in x, profiles that enclose nothing.
///
/// Exchanging both, reversing either and turning by 180 degrees changes nothing, scaling by f multiplies by
/// f^2.
KVMEASURE_EXPORT ContourResult measureContour(const std::vector<Vector>& first,
                                              const std::vector<Vector>& second, const NoiseModel& firstNoise,
                                              const NoiseModel& secondNoise,
                                              const ContourSettings& settings = {});

}  // namespace KvMeasure
