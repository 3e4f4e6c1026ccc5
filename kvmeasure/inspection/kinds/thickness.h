#pragma once
// Thickness of a part that two scanners see from both sides.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/kinds/fitted_value.h>

#include <limits>
#include <vector>

namespace KvMeasure {

/// How thickness is taken.
struct ThicknessSettings {
    bool isSquare = false;  ///< square to the middle line of both profiles; false: vertical
    /// Widest step along the line from point to point that is bridged, mm; NaN: ten times the median step.
    double widestGap = std::numeric_limits<double>::quiet_NaN();
};

/// Thickness over the overlap of two profiles. Nothing but the reason means anything where there is one.
struct ThicknessResult {
    QString reason;      ///< why there is none; empty: there is one
    FittedValue mean;    ///< mm; negative where the profile that is above on average lies below the other
    FittedValue least;   ///< mm
    FittedValue most;    ///< mm
    FittedValue median;  ///< mm
    FittedValue at;      ///< x of the least, mm
    Vector leastFirst;   ///< where the least was taken, on the first profile
    Vector leastSecond;  ///< the same on the second
    int points = 0;      ///< points of the first profile that were compared
};

/// The distance of each point of the first profile from the other, which is straight from point to point,
/// where this has points on both sides. None, with a reason: fewer than two points, profiles that do not
/// overlap, and square to a middle line that is upright.
///
/// Exchanging the profiles exchanges which points are compared. Reversing either changes nothing.
KVMEASURE_EXPORT ThicknessResult measureThickness(const std::vector<Vector>& first,
                                                  const std::vector<Vector>& second,
                                                  const NoiseModel& firstNoise, const NoiseModel& secondNoise,
                                                  const ThicknessSettings& settings = {});

}  // namespace KvMeasure
