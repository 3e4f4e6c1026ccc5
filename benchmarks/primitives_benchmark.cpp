// The fits and the interpolant on one scanner line of 3,200 points, beside one plain pass that adds up the
// coordinates in double: what merely reading the points costs.

#include <kvmath/core/circle.h>
#include <kvmath/core/interpolant.h>
#include <kvmath/core/level_histogram.h>
#include <kvmath/core/line.h>
#include <kvmath/core/plane.h>
#include <tests/support/random_data.h>

#include <benchmark/benchmark.h>

#include <cmath>

namespace {

using namespace KvMath;

constexpr int kPoints = 3200;

// An arc of 100 mm radius with 0.02 mm noise, x ascending.
KvPointCloud<KvPointXY> scannerLine() {
    TestSupport::Draws draws(1);
    KvPointCloud<KvPointXY> cloud;
    for (int i = 0; i < kPoints; ++i) {
        const double x = -80.0 + i * 0.05;
        cloud.points.append(
            {static_cast<float>(x), static_cast<float>(std::sqrt(1e4 - x * x) + draws.normal(0.02))});
    }
    return cloud;
}

void reportPoints(benchmark::State& state) { state.SetItemsProcessed(state.iterations() * kPoints); }

void BM_PlainPass(benchmark::State& state) {
    const auto cloud = scannerLine();
    for (auto _ : state) {
        double x = 0.0;
        double y = 0.0;
        for (const KvPointXY& p : cloud.points) {
            x += static_cast<double>(p.x);
            y += static_cast<double>(p.y);
        }
        benchmark::DoNotOptimize(x);
        benchmark::DoNotOptimize(y);
    }
    reportPoints(state);
}
BENCHMARK(BM_PlainPass);

void BM_LineFit(benchmark::State& state) {
    const auto cloud = scannerLine();
    KvLine line;
    for (auto _ : state)
        benchmark::DoNotOptimize(line.calcFromPointCloud(cloud));
    reportPoints(state);
}
BENCHMARK(BM_LineFit);

void BM_CircleFit(benchmark::State& state) {
    const auto cloud = scannerLine();
    KvCircle circle;
    float error = 0.0F;
    for (auto _ : state)
        benchmark::DoNotOptimize(circle.calcFromPointCloud(cloud, &error));
    reportPoints(state);
}
BENCHMARK(BM_CircleFit);

void BM_PlaneFit(benchmark::State& state) {
    const auto line = scannerLine();
    KvPointCloud<KvPointXYZ> cloud;
    for (const KvPointXY& p : line.points)
        cloud.points.append({p.x, p.y, 0.1F * p.x - 0.2F * p.y});
    double a = 0.0;
    double b = 0.0;
    double c = 0.0;
    for (auto _ : state)
        benchmark::DoNotOptimize(KvPlane::calcFromPointCloud(cloud, a, b, c));
    reportPoints(state);
}
BENCHMARK(BM_PlaneFit);

void BM_LevelHistogram(benchmark::State& state) {
    auto cloud = scannerLine();
    KvLevelHistogram<KvPointXY> histogram;
    for (auto _ : state)
        benchmark::DoNotOptimize(histogram.calcFromPointCloud(cloud, 0.1F));
    reportPoints(state);
}
BENCHMARK(BM_LevelHistogram);

void BM_InterpolantBuild(benchmark::State& state) {
    const auto cloud = scannerLine();
    KvInterpolant spline;
    for (auto _ : state)
        benchmark::DoNotOptimize(spline.buildFromPointCloud(cloud, KvInterpolantAkima));
    reportPoints(state);
}
BENCHMARK(BM_InterpolantBuild);

void BM_InterpolantResample(benchmark::State& state) {
    const KvInterpolant spline(scannerLine(), KvInterpolantAkima);
    KvPointCloud<KvPointXY> out;
    for (auto _ : state)
        benchmark::DoNotOptimize(spline.generatePointCloud(out, 0.05F, -80.0F, 80.0F));
    reportPoints(state);
}
BENCHMARK(BM_InterpolantResample);

}  // namespace
