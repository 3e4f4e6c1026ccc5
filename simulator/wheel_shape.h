#pragma once
// The running surface of a railway wheel: a nominal cross-section, worn and damaged.
//
// The lateral position counts in mm from the back of the flange towards the field side, 0 ... kWheelWidth.
// The arc counts in mm along the running circle, from the place that touches the rail in the middle of the
// post.

#include <vector>

namespace Simulator {

constexpr double kWheelWidth = 130.0;
constexpr double kRunningCircle = 70.0;  ///< lateral position of the tread diameter

/// Height of the S1002 section (flange height 28, thickness 32.5) above the running circle; the eight
/// sections of EN 13715 in their usual coefficients. NaN outside the wheel.
double s1002Height(double lateral);

/// Material that is missing: a breakout of the tread, or a flat across it. The depth is largest in the middle
/// of the length and falls to both ends as a parabola, as that of a chord does.
struct TreadDefect {
    double angle = 0;         ///< of its middle, degrees, in the direction of travel
    double length = 0;        ///< along the running circle
    double depth = 0;         ///< largest
    double from = 0, to = 0;  ///< lateral positions
    double sideWidth = 0;     ///< over which its sides fall to the depth
    bool isBreakout = false;  ///< changes the shape of the section; a flat only shifts its tread
};

struct WheelShape {
    double treadDiameter = 920.0;
    double flangeWear =
        0.0;  ///< by how much the flank of the flange has moved to the back, largest at mid-height
    double hollow = 0.0;  ///< depth of tread hollowing, largest at the running circle
    std::vector<TreadDefect> defects;
};

/// Radius without defects. NaN outside the wheel.
double wornRadius(const WheelShape& shape, double lateral);
/// What a defect takes away from the radius here.
double missingDepth(const WheelShape& shape, const TreadDefect& defect, double lateral, double arc);
double radiusAt(const WheelShape& shape, double lateral, double arc);

/// The values of a section as ORBIS_calcWheelParameters defines them, on the continuous curve: its flange
/// thickness is the steepness here, its position at depth 18 the thickness from the back.
struct SectionTruth {
    double flangeHeight, flangeSteepness, thicknessFromBack, tipRadius;
};
SectionTruth sectionTruth(const WheelShape& shape, double arc);

}  // namespace Simulator
