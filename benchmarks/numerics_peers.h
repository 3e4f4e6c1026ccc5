#pragma once
// What the benchmarks of the numerics share: problems of the same numbers for every library.

#include <benchmarks/inputs.h>
#include <benchmarks/peers.h>
#include <kvmath/base/vector2d.h>
#include <tests/support/random_data.h>

#include <cmath>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace Peers {

using Values = std::vector<double>;

/// What a library in C allocates, with the function that frees it.
template <typename T>
using Owned = std::unique_ptr<T, void (*)(T*)>;

/// False for NaN.
inline bool isNear(double a, double b, double tolerance) { return std::fabs(a - b) <= tolerance; }

inline Values normals(std::size_t count, unsigned seed = 7) {
    TestSupport::Draws draws(seed);
    Values values(count);
    for (double& value : values)
        value = draws.normal(1.0);
    return values;
}

using Inputs::Pool;

/// How a library takes a matrix; unit offset is row by row with an unused row and column 0 in front.
enum class Layout { kRows, kColumns, kUnitOffset };

/// Matrices, the same ones in each layout.
inline Pool<Values> matrices(std::size_t m, std::size_t n, Layout layout) {
    return {m, [=](std::size_t /*rows*/, unsigned seed) {
                const bool isOffset = layout == Layout::kUnitOffset;
                const Values elements = normals(m * n, seed);
                Values values(isOffset ? (m + 1) * (n + 1) : m * n);
                for (std::size_t i = 0; i < elements.size(); ++i) {
                    const std::size_t row = i / n;
                    const std::size_t column = i % n;
                    std::size_t at = layout == Layout::kColumns ? column * m + row : row * n + column;
                    if (isOffset)
                        at = (row + 1) * (n + 1) + column + 1;
                    values[at] = elements[i];
                }
                return values;
            }};
}

/// Points of a slope of 1 x 1 (standard deviation) with noise of 0.01.
inline Values planePoints(int count, unsigned seed) {
    Values xyz = normals(3 * static_cast<std::size_t>(count), seed);
    for (std::size_t i = 0; i < xyz.size(); i += 3)
        xyz[i + 2] = 0.01 * xyz[i + 2] + 0.5 * xyz[i];
    return xyz;
}

/// Points of y = 0.5 x + 2 with noise of 1.
struct LinePoints {
    Values x, y;
};

inline LinePoints linePoints(int size, unsigned seed) {
    const auto count = static_cast<std::size_t>(size);
    LinePoints points{normals(count, seed), normals(count, seed + 1000)};
    for (std::size_t i = 0; i < count; ++i)
        points.y[i] += 0.5 * points.x[i] + 2.0;
    return points;
}

using CirclePoints = std::vector<KvMath::KvVector2D<double>>;

/// Points around (1, 2) at 5 with noise of 0.02, 0.01 radians apart.
inline CirclePoints circlePoints(int count, unsigned seed) {
    const Values noise = normals(static_cast<std::size_t>(count), seed);
    CirclePoints points;
    for (const double off : noise) {
        const double angle = 0.01 * static_cast<double>(points.size());
        const double radius = 5.0 + 0.02 * off;
        points.emplace_back(1.0 + radius * std::cos(angle), 2.0 + radius * std::sin(angle));
    }
    return points;
}

constexpr int kKnots = 1000;
constexpr std::size_t kPlaces = 65'536;

/// Knots about 1 apart, and places far from the ends where their curve is asked for, too many to be learnt.
struct Knots {
    Knots() : y(normals(kKnots)) {
        for (int i = 0; i < kKnots; ++i)
            x.push_back(i + 0.3 * std::sin(i));
        const Values picks = normals(kPlaces);
        for (const double pick : picks)
            places.push_back(500.0 + 100.0 * pick);
    }
    Values x, y, places;
};

}  // namespace Peers
