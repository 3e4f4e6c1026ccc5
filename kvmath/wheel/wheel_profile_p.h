#pragma once
// The profile of a wheel and the steps along its flange, shared by all kinds of wheels.

#include <kvmath/wheel/wheel_parameters.h>

#include <limits>

namespace KvMath::Internal {

struct WheelProfile {
    KvProfile
        profile;  ///< x lateral from the smallest, y depth below the largest radius, sorted by x, ranged
    double largestRadius;  ///< NaN when there is no point
};

/// Points or radii that are not finite are left out.
WheelProfile wheelProfileOf(const KvPointCloud<KvPointXYZ>& points, const KvCircle& wheel);

/// Where the values are taken, mm.
struct FlangeLevels {
    double tread;      ///< lateral position of the tread point
    double flank;      ///< depth of the flank point
    double thickness;  ///< how far above the tread the thickness is taken
    double reference;  ///< depth of the lateral reference position
    double nominal;    ///< nominal flange height; NaN: 30 from a height of 29 on, else 28
};

constexpr FlangeLevels kBasicWheel = {70.0, 2.0, 13.0, 18.0, std::numeric_limits<double>::quiet_NaN()};

/// Fills values 0, 1, 8, 9 as far as the steps lead (the caller sets them NaN before) and appends the places
/// to `debugPoints`, if given.
void measureFlange(const KvProfile& profile, const FlangeLevels& levels, _WheelProfileValues& values,
                   KvProfile* debugPoints);

}  // namespace KvMath::Internal
