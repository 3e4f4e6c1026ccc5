#pragma once
// Deviations that leave fits where they are, and noise that is known beforehand.

#include <kvmeasure/profiles/residual_noise.h>

namespace TestSupport {

constexpr double kPi = 3.141592653589793;

/// +, -, -, + over and over: no mean and no slope.
inline double signOf(int i) { return i % 4 == 0 || i % 4 == 3 ? 1 : -1; }
/// The same with sizes as those of noise: not half of the points on one line and half on another.
inline double signedSize(int i) {
    constexpr double sizes[] = {0.3, 1, 0.5, 1.6, 0.1, 0.8, 0.2, 1.2};
    return signOf(i) * sizes[i / 4 % 8];
}

/// White noise, known from so many points that nothing is added for not knowing it.
inline KvMeasure::NoiseModel whiteNoise(double deviation) {
    KvMeasure::NoiseModel noise;
    noise.deviation = deviation;
    noise.correlationTime = 1;
    noise.points = 1e12;
    noise.pieces = 1;
    return noise;
}

}  // namespace TestSupport
