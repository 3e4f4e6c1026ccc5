// Hulls of noisy outlines, and the whole way from a scan to lines. The plain pass (distances of neighbouring
// points, one root each) is the yardstick; the literal walk looks at every point in every step.

#include <benchmarks/inputs.h>
#include <kvmath/contours/edge_points.h>
#include <kvmath/contours/hull.h>
#include <kvmath/contours/scan_lines.h>
#include <kvmath/profile/profile_zset.h>

#include <tests/support/literal_hulls.h>
#include <tests/support/random_data.h>

#include <benchmark/benchmark.h>

#include <cmath>

using namespace KvMath;

namespace {

using Points = QList<KvVector2D<double>>;

/// A square of 100 mm with noise of 0.1 mm. Its coin has 1 mm radius: at 200,000 points a thousand lie within
/// reach of every step.
Points outline(int n, unsigned seed) {
    TestSupport::Draws draws(seed);
    Points points;
    for (int i = 0; i < n; ++i) {
        const double way = 400.0 * i / n;
        const double along = std::fmod(way, 100);
        const double across = draws.normal(0.1);
        switch (static_cast<int>(way / 100)) {
        case 0:
            points.append({along, across});
            break;
        case 1:
            points.append({100 + across, along});
            break;
        case 2:
            points.append({100 - along, 100 + across});
            break;
        default:
            points.append({across, 100 - along});
        }
    }
    return points;
}

/// Points on a circle, turned: every one belongs to every hull.
Points circle(int n, unsigned seed) {
    Points points;
    for (int i = 0; i < n; ++i) {
        const double angle = 6.283185307 * i / n + 0.1 * seed;
        points.append({100 * std::cos(angle), 100 * std::sin(angle)});
    }
    return points;
}

/// A bowl open to the top, which a coin of 100 mm rolls around and through: it is larger by one part in
/// `parts`, so that the coin inside nearly touches all points at once.
Points bowl(int n, double parts) {
    Points points;
    for (int i = 0; i < n; ++i) {
        const double angle = 3.141592653 * (1 + i / (n - 1.0));
        const double radius = 100 * (1 + 1 / parts);
        points.append({radius * std::cos(angle), radius * std::sin(angle)});
    }
    return points;
}

template <class Make, class Call>
void measure(benchmark::State& state, Make make, Call call) {
    qint64 size = 0;
    Inputs::measure(state, Inputs::Pool(static_cast<int>(state.range(0)), make),
                    [&](const Points& points) { size = call(points); });
    state.counters["hull"] = static_cast<double>(size);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

qint64 plainPass(const Points& points) {
    double sum = 0;
    for (int i = 1; i < points.size(); ++i) {
        const double dx = points.at(i).x - points.at(i - 1).x;
        const double dy = points.at(i).y - points.at(i - 1).y;
        sum += std::sqrt(dx * dx + dy * dy);
    }
    benchmark::DoNotOptimize(sum);
    return 0;
}

qint64 coin(const Points& points, double radius) {
    QList<int> indices;
    getCoinHull(points, radius, indices);
    return indices.size();
}

qint64 literalCoin(const Points& points) {
    QList<int> indices;
    TestSupport::literalCoinHull(points, 1, indices);
    return indices.size();
}

int sizeOf(const benchmark::State& state) { return static_cast<int>(state.range(0)); }

void BM_PlainPass(benchmark::State& state) { measure(state, outline, plainPass); }
BENCHMARK(BM_PlainPass)->RangeMultiplier(10)->Range(1000, 1000000);

void BM_CoinHull(benchmark::State& state) {
    measure(state, outline, [](const Points& points) { return coin(points, 1); });
}
BENCHMARK(BM_CoinHull)->RangeMultiplier(10)->Range(1000, 1000000);

void BM_LiteralCoinHull(benchmark::State& state) { measure(state, outline, literalCoin); }
BENCHMARK(BM_LiteralCoinHull)->RangeMultiplier(10)->Range(1000, 100000);

void BM_CoinHullOfACircle(benchmark::State& state) {
    const auto radius = static_cast<double>(state.range(1));
    measure(state, circle, [radius](const Points& points) { return coin(points, radius); });
}
BENCHMARK(BM_CoinHullOfACircle)->ArgNames({"", "radius"})->ArgsProduct({{1000, 10000, 100000}, {5, 1000000}});

void BM_CoinHullOfABowl(benchmark::State& state) {
    const auto parts = static_cast<double>(state.range(1));
    measure(
        state, [parts](int n, unsigned) { return bowl(n, parts); },
        [](const Points& points) { return coin(points, 100); });
}
BENCHMARK(BM_CoinHullOfABowl)->ArgsProduct({{20000}, {100, 10000, 1000000}})->Iterations(1)->Repetitions(1);

void BM_PseudoConvexHull(benchmark::State& state) {
    measure(state, outline, [](const Points& points) { return getPseudoConvexHull(points, 2, 0).size(); });
}
BENCHMARK(BM_PseudoConvexHull)->RangeMultiplier(10)->Range(1000, 1000000);

void BM_LiteralPseudoConvexHull(benchmark::State& state) {
    measure(state, outline,
            [](const Points& points) { return TestSupport::literalPseudoHull(points, 2, 0).size(); });
}
BENCHMARK(BM_LiteralPseudoConvexHull)->RangeMultiplier(10)->Range(1000, 10000);

/// A plate of 60 x 40 mm, turned, in `profiles` profiles of 640 points, on an empty ground.
KvProfileZSet scan(int profiles, unsigned seed) {
    TestSupport::Draws draws(seed);
    KvProfileZSet stack;
    for (int i = 0; i < profiles; ++i) {
        const double s = 80.0 * i / profiles - 10;
        KvProfileZ profile(static_cast<float>(s));
        for (int j = 0; j < 640; ++j) {
            const double x = -20 + 0.125 * j;
            const double u = s * 0.96 + x * 0.28;
            const double v = x * 0.96 - s * 0.28;
            const bool isOn = u >= 0 && u <= 60 && v >= 0 && v <= 40;
            profile.points.append(KvPointXY(static_cast<float>(x + draws.normal(0.02)), isOn ? 5.0F : 0.0F));
        }
        stack.append(profile);
    }
    return stack;
}

void BM_OutlineOfAScan(benchmark::State& state) {
    const KvProfileZSet source = scan(sizeOf(state), 1);  // at least 64,000 points
    const bool simplification = state.range(1) != 0;
    for (auto _ : state) {
        KvProfileZSet stack = source;
        const QList<LinePP> lines =
            convertProfilesZ2Lines(stack, 80.0 / sizeOf(state), 2, 2, 0.5, 1, 0.5, 0, 5, 5, simplification);
        state.counters["lines"] = static_cast<double>(lines.size());
    }
    state.SetItemsProcessed(state.iterations() * source.size() * 640);
}
BENCHMARK(BM_OutlineOfAScan)
    ->ArgNames({"profiles", "simplification"})
    ->ArgsProduct({{100, 400, 1600}, {0, 1}})
    ->Unit(benchmark::kMillisecond);

}  // namespace
