#pragma once
// What the benchmarks beside peers share: the comparison that comes before any timing, and inputs.

#include <kvmath/core/point_cloud.h>
#include <kvmath/core/vector2d.h>
#include <tests/support/random_data.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <map>
#include <vector>

namespace Peers {

inline int sizeOf(const benchmark::State& state) { return static_cast<int>(state.range(0)); }

inline void countPoints(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

inline void sizes(benchmark::internal::Benchmark* b) {
    b->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMicrosecond);
}

/// The comparison of a pair of rows, made once per size. Both rows stand aside where their results differ.
class Comparison {
public:
    using Check = const char* (*)(int size);  ///< what differs, null when nothing does
    explicit Comparison(Check check) : check_(check) {}

    /// True, with the row marked as failed, when it must not be timed.
    bool refuses(benchmark::State& state) {
        const auto [at, isNew] = differences_.try_emplace(sizeOf(state), nullptr);
        if (isNew)
            at->second = check_(at->first);
        if (at->second != nullptr)
            state.SkipWithError(at->second);
        return at->second != nullptr;
    }

private:
    Check check_;
    std::map<int, const char*> differences_;
};

/// Points of a tilted plane of 100 x 100 mm with noise of 0.02 mm.
inline KvMath::KvPointCloud<KvMath::KvPointXYZ> slope(int size) {
    TestSupport::Draws draws(3);
    KvMath::KvPointCloud<KvMath::KvPointXYZ> cloud;
    for (int i = 0; i < size; ++i) {
        const double x = draws.real(-50.0, 50.0);
        const double y = draws.real(-50.0, 50.0);
        cloud.points.append({static_cast<float>(x), static_cast<float>(y),
                             static_cast<float>(0.1 * x - 0.05 * y + 70.0 + draws.normal(0.02))});
    }
    return cloud;
}

inline std::vector<double> doublesOf(const KvMath::KvPointCloud<KvMath::KvPointXYZ>& cloud) {
    std::vector<double> values;
    for (const KvMath::KvPointXYZ& p : cloud.points)
        values.insert(values.end(),
                      {static_cast<double>(p.x), static_cast<double>(p.y), static_cast<double>(p.z)});
    return values;
}

constexpr double kCoin = 3.0;  // mm

/// One point per square mm of an angle iron, seen from its end: so dense that triangles with circumcircles up
/// to kCoin leave no holes inside, whose corners peers would list too.
inline std::vector<KvMath::KvPointXY> angleIron(int size) {
    TestSupport::Draws draws(5);
    const double side = std::sqrt(static_cast<double>(size) / 0.75);
    std::vector<KvMath::KvPointXY> points;
    while (points.size() < static_cast<std::size_t>(size)) {
        const double x = draws.real(0.0, side);
        const double y = draws.real(0.0, side);
        if (x < side / 2 || y < side / 2)
            points.emplace_back(static_cast<float>(x), static_cast<float>(y));
    }
    return points;
}

inline QList<KvMath::KvVector2D<double>> vectorsOf(const std::vector<KvMath::KvPointXY>& points) {
    QList<KvMath::KvVector2D<double>> vectors;
    for (const KvMath::KvPointXY& p : points)
        vectors.append({static_cast<double>(p.x), static_cast<double>(p.y)});
    return vectors;
}

}  // namespace Peers
