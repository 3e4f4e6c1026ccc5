#pragma once
// Polar angle of a point, shared by cloud rotations and profiles.

#include <kvmath/base/constants_p.h>

#include <cmath>

namespace KvMath::Internal {

/// Angle of (x, y) in degrees, from 0 to 360; 0 for the origin, NaN when x or y is NaN.
inline double polarAngle(float x, float y) {
    if (std::isnan(x) || std::isnan(y))
        return static_cast<double>(x + y);
    if (x == 0.0F)
        return y > 0.0F ? 90.0 : (y < 0.0F ? 270.0 : 0.0);
    const double degrees = std::atan(static_cast<double>(y) / static_cast<double>(x)) * 180.0 / kPi;
    if (x < 0.0F)
        return degrees + 180.0;
    return y < 0.0F ? degrees + 360.0 : degrees;
}

/// The same in single precision and in [0, 360): a value that rounds to 360 is 0.
inline float polarAngleDegrees(float x, float y) {
    const auto degrees = static_cast<float>(polarAngle(x, y));
    return degrees == 360.0F ? 0.0F : degrees;
}

}  // namespace KvMath::Internal
