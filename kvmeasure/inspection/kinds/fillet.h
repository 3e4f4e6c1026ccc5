#pragma once
// The fillet between two straight surfaces: the circle that touches both lines.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/kinds/fitted_value.h>

#include <array>
#include <vector>

namespace KvMeasure {

/// A fillet. Nothing but the reason means anything where there is one.
struct FilletResult {
    QString reason;                  ///< why there is no fillet; empty: there is one
    FittedValue radius;              ///< mm
    FittedValue x;                   ///< of the centre, mm
    FittedValue z;                   ///< of the centre, mm
    std::array<FittedValue, 2> toX;  ///< x of the points where it touches the first and the second line, mm
    std::array<FittedValue, 2> toZ;  ///< height of these points, mm
    int points = 0;                  ///< between them, which the radius rests on
    int rejected = 0;                ///< of these, left out
    bool isShort = false;            ///< a line holds too few correlation lengths, see NoiseModel::isShort
};

/// The circle that touches two lines and lies nearest to the points between its two touching points, by least
/// squared distances; one number, the radius, is fitted. Robust fits start from the median of the radii of
/// the single points and leave out what lies further off than `cut` deviations. A fillet in a corner and a
/// round edge are alike. No fillet, with a reason: a line that is none, lines nearer to parallel than 3
/// degrees, fewer than three points between the touching points.
///
/// Exchanging the lines and reversing the points changes nothing, to rounding.
KVMEASURE_EXPORT FilletResult measureFillet(const LineFit& first, const LineFit& second,
                                            const std::vector<Vector>& points, const NoiseModel& noise,
                                            const RobustFitting& fitting = {});

}  // namespace KvMeasure
