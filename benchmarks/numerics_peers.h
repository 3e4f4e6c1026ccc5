#pragma once
// What the benchmarks of the numerics share: problems of the same numbers for every library.

#include <benchmarks/peers.h>
#include <kvmath/core/vector2d.h>
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

constexpr std::size_t kPool = 64;

/// One of some stretches of `size` numbers after the other.
class Pool {
public:
    Pool(Values values, std::size_t size) : values_(std::move(values)), size_(size) {}
    std::size_t count() const { return values_.size() / size_; }
    const double* next() {
        at_ = at_ + 2 * size_ <= values_.size() ? at_ + size_ : 0;
        return values_.data() + at_;
    }

private:
    Values values_;
    std::size_t size_;
    std::size_t at_ = 0;
};

/// How a library takes a matrix; unit offset is row by row with an unused row and column 0 in front.
enum class Layout { kRows, kColumns, kUnitOffset };

/// kPool matrices, the same ones in each layout.
inline Pool matrices(std::size_t m, std::size_t n, Layout layout) {
    const bool isOffset = layout == Layout::kUnitOffset;
    const std::size_t size = isOffset ? (m + 1) * (n + 1) : m * n;
    const Values elements = normals(kPool * m * n);
    Values values(kPool * size);
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const std::size_t matrix = i / (m * n);
        const std::size_t row = i / n % m;
        const std::size_t column = i % n;
        std::size_t at = layout == Layout::kColumns ? column * m + row : row * n + column;
        if (isOffset)
            at = (row + 1) * (n + 1) + column + 1;
        values[matrix * size + at] = elements[i];
    }
    return {std::move(values), size};
}

/// Points of a slope of 1 x 1 (standard deviation) with noise of 0.01.
inline Pool planePoints(std::size_t count) {
    Values xyz = normals(3 * count * (count <= 1000 ? kPool : 1));
    for (std::size_t i = 0; i < xyz.size(); i += 3)
        xyz[i + 2] = 0.01 * xyz[i + 2] + 0.5 * xyz[i];
    return {std::move(xyz), 3 * count};
}

/// Points of y = 0.5 x + 2 with noise of 1.
struct LinePoints {
    explicit LinePoints(std::size_t count) : x(normals(count)), y(normals(count, 8)) {
        for (std::size_t i = 0; i < count; ++i)
            y[i] += 0.5 * x[i] + 2.0;
    }
    Values x, y;
};

/// Points around (1, 2) at 5 with noise of 0.02, 0.01 radians apart.
inline std::vector<KvMath::KvVector2D<double>> circlePoints(std::size_t count) {
    const Values noise = normals(count);
    std::vector<KvMath::KvVector2D<double>> points;
    for (std::size_t i = 0; i < count; ++i) {
        const double angle = 0.01 * static_cast<double>(i);
        const double radius = 5.0 + 0.02 * noise[i];
        points.emplace_back(1.0 + radius * std::cos(angle), 2.0 + radius * std::sin(angle));
    }
    return points;
}

constexpr int kKnots = 1000;

/// Knots about 1 apart, and places far from the ends where their curve is asked for.
struct Knots {
    Knots() : y(normals(kKnots)) {
        for (int i = 0; i < kKnots; ++i)
            x.push_back(i + 0.3 * std::sin(i));
        const Values picks = normals(1024);
        for (const double pick : picks)
            places.push_back(500.0 + 100.0 * pick);
    }
    Values x, y, places;
};

}  // namespace Peers
