#pragma once
// Polar angle of a point, shared by cloud rotations and profiles.

#include <kvmath/core/constants_p.h>

#include <cmath>

namespace KvMath::Internal {

/// Angle of (x, y) in degrees, in [0, 360); 0 for the origin, NaN when x or y is NaN. Computed in double,
/// narrowed once; a value that rounds to 360 is 0.
inline float polarAngleDegrees(float x, float y) {
    if (std::isnan(x) || std::isnan(y))
        return x + y;
    if (x == 0.0F)
        return y > 0.0F ? 90.0F : (y < 0.0F ? 270.0F : 0.0F);
    double degrees = std::atan(static_cast<double>(y) / static_cast<double>(x)) * 180.0 / kPi;
    if (x < 0.0F)
        degrees += 180.0;
    else if (y < 0.0F)
        degrees += 360.0;
    const float narrowed = static_cast<float>(degrees);
    return narrowed == 360.0F ? 0.0F : narrowed;
}

}  // namespace KvMath::Internal
