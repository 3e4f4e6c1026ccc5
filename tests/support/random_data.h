#pragma once
// Seeded random input for the comparisons with literal algorithms: coarse coordinates, so that ties and
// duplicates occur, with unset values in between.

#include <kvmath/core/point_cloud.h>

#include <limits>
#include <random>

namespace TestSupport {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

class Draws {
public:
    explicit Draws(unsigned seed) : engine_(seed) {}
    int integer(int from, int to) { return std::uniform_int_distribution<int>(from, to)(engine_); }
    double real(double from, double to) { return std::uniform_real_distribution<double>(from, to)(engine_); }
    double normal(double sigma) { return std::normal_distribution<double>(0.0, sigma)(engine_); }
    bool chance(double probability) { return real(0.0, 1.0) < probability; }

    /// A multiple of `grid` in [-range, range], or NaN with the given probability.
    float coordinate(float range, float grid, double unset) {
        if (chance(unset))
            return kNaN;
        const int steps = static_cast<int>(range / grid);
        return static_cast<float>(integer(-steps, steps)) * grid;
    }

private:
    std::mt19937 engine_;
};

}  // namespace TestSupport
