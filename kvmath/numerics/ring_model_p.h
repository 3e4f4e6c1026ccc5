#pragma once
// Reading of a rotating distance sensor inside a ring.

#include <cmath>

namespace KvMath::Internal {

/// Predicted reading at angle phi (radians) for a ring of radius R centred at (a, b), a sensor that looks
/// past the axis by e and reads c too little; lengths in mm. A negative radicand (the ray misses the ring)
/// gives NaN.
inline double ringDistanceModel(double phi, double a, double b, double e, double c, double R) {
    const double sinPhi = std::sin(phi);
    const double cosPhi = std::cos(phi);
    const double u = a * cosPhi + b * sinPhi;
    return std::sqrt(u * u - a * a - b * b - e * e + R * R + 2.0 * e * a * sinPhi - 2.0 * e * b * cosPhi) +
           u - c;
}

}  // namespace KvMath::Internal
