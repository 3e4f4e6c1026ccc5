#pragma once
// What the benchmarks beside peers share: the comparison that comes before any timing, and inputs.

#include <kvmath/base/vector2d.h>
#include <kvmath/core/point_cloud.h>
#include <tests/support/random_data.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstddef>
#include <map>
#include <tuple>
#include <utility>
#include <vector>

namespace Peers {

inline int sizeOf(const benchmark::State& state) { return static_cast<int>(state.range(0)); }

inline void countPoints(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

inline void sizes(benchmark::internal::Benchmark* b) {
    b->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMicrosecond);
}

/// The comparison of the rows of one problem, made once for each set of sizes, which are the arguments of the
/// rows. All of them stand aside where their results differ.
template <typename... Sizes>
class ComparisonOf {
public:
    using Check = const char* (*)(Sizes... sizes);  ///< what differs, null when nothing does

    /// Without a check: there is no peer to differ from.
    explicit ComparisonOf(Check check = nullptr) : check_(check) {}

    /// True, with the row marked as failed, when it must not be timed.
    bool refuses(benchmark::State& state) { return refuses(state, std::index_sequence_for<Sizes...>()); }

private:
    template <std::size_t... kPlaces>
    bool refuses(benchmark::State& state, std::index_sequence<kPlaces...> /*places*/) {
        if (check_ == nullptr)
            return false;
        const std::tuple<Sizes...> sizes(static_cast<Sizes>(state.range(kPlaces))...);
        const auto [at, isNew] = differences_.try_emplace(sizes, nullptr);
        if (isNew)
            at->second = std::apply(check_, sizes);
        if (at->second != nullptr)
            state.SkipWithError(at->second);
        return at->second != nullptr;
    }

    Check check_;
    std::map<std::tuple<Sizes...>, const char*> differences_;
};

using Comparison = ComparisonOf<int>;

/// Points of a tilted plane of 100 x 100 mm with noise of 0.02 mm.
inline KvMath::KvPointCloud<KvMath::KvPointXYZ> slope(int size, unsigned seed) {
    TestSupport::Draws draws(seed);
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
inline std::vector<KvMath::KvPointXY> angleIron(int size, unsigned seed) {
    TestSupport::Draws draws(seed);
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
