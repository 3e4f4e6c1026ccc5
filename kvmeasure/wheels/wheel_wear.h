#pragma once
// The wear of a wheel's section against a nominal one.

#include <kvmeasure/base/global.h>
#include <kvmeasure/wheels/gauge_values.h>
#include <kvmeasure/wheels/rail_values.h>

namespace KvMeasure {

/// The S1002 profile (flange height 28, thickness 32.5) by its published equations, every `step` mm, > 0,
/// along x: x from the flange back, 0 to 130, y 0 at the running circle. A step below 0.01 counts as 0.01.
KVMEASURE_EXPORT WheelSection s1002Section(double step = 0.1);

/// What the heights of both sections are aligned on; across, both count from the flange back.
enum class WearAlignment {
    Tread,  ///< the tread points: the change of shape, whatever the wheel lost in diameter
    Tip     ///< the flange tips, which do not wear: what the wheel lost
};

/// The wear of a section.
struct KVMEASURE_EXPORT WheelWear {
    std::vector<SectionValue> values;  ///< in the order of wheelWear
    std::vector<Vector> worn;          ///< in the frame of the nominal section
    std::vector<Vector> nominal;       ///< its points
    WearMark largest;                  ///< where the wear is largest
};

/// Compares a worn section with a nominal one, mm:
///   treadWear    flange height of the worn section less that of the nominal one, at the tread point L2 from
///       the back: what the tread lost there, since the flange tip does not wear
///   flangeWear   flange thickness of the nominal section less that of the worn one
///   largestWear  the largest distance of the worn section inside the nominal one, square to that, from the
///       flange tip on; 0: nowhere inside
///   largestWearAt  where that is, from the flange back
///   areaLost     between both where the worn section lies inside, mm2, from the flange tip to the outer end
///       of the shorter one
///   areaGained   the same where it lies outside
/// A value that the sections do not show has a reason: no wheel, flange back not known, no tread point.
KVMEASURE_EXPORT WheelWear wheelWear(const WheelSection& worn, const WheelSection& nominal,
                                     WearAlignment alignment = WearAlignment::Tread,
                                     const GaugePlaces& places = {});

}  // namespace KvMeasure
