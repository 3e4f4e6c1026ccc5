#pragma once
// Single-precision pi and what is made of it. Clouds, profiles and lines convert between degrees and radians
// with this value in both directions, so that the conversions cancel; the arithmetic runs in double.

namespace KvMath::Internal {

constexpr float kPiFloat = 3.1415927F;
constexpr double kPi = 3.1415927410125732;  ///< kPiFloat, widened
constexpr double kRadiansPerDegree = kPi / 180.0;

}  // namespace KvMath::Internal
