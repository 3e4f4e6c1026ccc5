#pragma once
// Simulated noise of a scanner line.

#include <kvmeasure/profiles/residual_noise.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace KvMeasure {

/// Correlated Gaussian noise, the same for the same seed on every machine: a moving average of white noise,
/// its last weight a fraction, so that the integrated autocorrelation time is that of the model.
class NoiseSource {
public:
    /// Deviation and correlation time are finite; not checked.
    NoiseSource(const NoiseModel& noise, quint64 seed) : generator_(seed) {
        const double time = std::max(1.0, noise.correlationTime);
        const double whole = std::floor(time);
        // (whole + f)^2 / (whole + f^2) = time, its root from 0 to 1.
        const double root = std::sqrt(std::max(0.0, whole * whole - (time - 1) * whole * (time - whole)));
        const double fraction = whole * (time - whole) / (whole + root);
        weights_.assign(static_cast<std::size_t>(whole), 1);
        weights_.push_back(fraction);
        const double scale = noise.deviation / std::sqrt(whole + fraction * fraction);
        for (double& weight : weights_)
            weight *= scale;
    }

    /// The noise of that many neighbours, mm; valid until the next call.
    const std::vector<double>& draw(std::size_t count) {
        white_.resize(count + weights_.size());
        for (double& number : white_)
            number = gaussian();
        noise_.resize(count);
        for (std::size_t i = 0; i < count; ++i) {
            double sum = 0;
            for (std::size_t k = 0; k < weights_.size(); ++k)
                sum += weights_[k] * white_[i + k];
            noise_[i] = sum;
        }
        return noise_;
    }
    /// A number from 0 (excluded) to 1.
    double uniform() {
        constexpr int kDropped = 11;
        constexpr double kStep = 1.0 / 9007199254740992;  // 2^-53
        return (double(generator_() >> kDropped) + 1) * kStep;
    }

private:
    /// By G. E. P. Box and M. E. Muller; the standard library's own differs between compilers.
    double gaussian() {
        constexpr double kFullTurn = 6.283185307179586;
        const double radius = std::sqrt(-2 * std::log(uniform()));
        return radius * std::cos(kFullTurn * uniform());
    }

    std::mt19937_64 generator_;
    std::vector<double> weights_;  ///< mm
    std::vector<double> white_;
    std::vector<double> noise_;
};

}  // namespace KvMeasure
