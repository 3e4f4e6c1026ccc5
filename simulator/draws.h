#pragma once
// Seeded random draws made of exactly rounded operations alone, so that they are the same on every machine.

#include <cmath>
#include <cstdint>
#include <random>

namespace Simulator {

class Draws {
public:
    /// Streams of one seed are independent of each other.
    Draws(std::uint64_t seed, std::uint64_t stream) : engine_(seed ^ (stream * 0x9E3779B97F4A7C15ULL)) {}

    double unit() { return static_cast<double>(engine_() >> 11) * 0x1p-53; }  ///< in [0, 1)

    int below(int count) { return static_cast<int>(unit() * count); }  ///< in [0, count), for count >= 1

    /// Standard normal, by the polar form of the Box-Muller transform (Marsaglia and Bray 1964); the second
    /// value of each pair is kept for the next call.
    double normal() {
        if (hasSpare_) {
            hasSpare_ = false;
            return spare_;
        }
        double u = 0, v = 0, s = 0;
        do {
            u = 2.0 * unit() - 1.0;
            v = 2.0 * unit() - 1.0;
            s = u * u + v * v;
        } while (s >= 1.0 || s == 0.0);
        const double factor = std::sqrt(-2.0 * naturalLog(s) / s);
        spare_ = v * factor;
        hasSpare_ = true;
        return u * factor;
    }

    /// Logarithm of x > 0 by 2 atanh((m - 1) / (m + 1)), m in [0.5, 1): the library's own differs between
    /// platforms in its last place. The first term left out is below 1e-17.
    static double naturalLog(double x) {
        int exponent = 0;
        const double z0 = std::frexp(x, &exponent);
        const double z = (z0 - 1.0) / (z0 + 1.0);
        double sum = 0.0;
        for (int k = 33; k >= 1; k -= 2)
            sum = sum * z * z + 1.0 / k;
        return 2.0 * z * sum + exponent * 0.69314718055994530942;
    }

private:
    std::mt19937_64 engine_;
    double spare_ = 0;
    bool hasSpare_ = false;
};

}  // namespace Simulator
