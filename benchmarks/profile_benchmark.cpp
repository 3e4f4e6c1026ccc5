// What one scanner line costs on its way into and through a profile. 3,200 points, the longest line of the
// product's scanners: a flat part with a groove, 0.02 mm noise.

#include <kvmath/profile/profile.h>
#include <tests/support/random_data.h>

#include <benchmark/benchmark.h>

#include <QtCore/QTemporaryDir>

#include <cmath>
#include <vector>

namespace {

using KvMath::KvProfile;

constexpr int kPoints = 3200;

std::vector<float> scannerLine() {
    TestSupport::Draws draws(1);
    std::vector<float> buffer;
    for (int i = 0; i < kPoints; ++i) {
        const double x = -80.0 + i * 0.05;
        const double y = (std::abs(x) < 4.0 ? 60.0 : 72.0) + draws.normal(0.02);
        buffer.push_back(static_cast<float>(x));
        buffer.push_back(static_cast<float>(y));
    }
    return buffer;
}

KvProfile profile() {
    static const std::vector<float> line = scannerLine();
    return {line.data(), kPoints};
}

void BM_CopyFromBuffer(benchmark::State& state) {
    const std::vector<float> line = scannerLine();
    for (auto _ : state) {
        KvProfile p;
        p.copyFromXYPointsBuffer(line.data(), kPoints);
        benchmark::DoNotOptimize(p.points.constBegin());
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}
BENCHMARK(BM_CopyFromBuffer);

/// `call` on a fresh copy each time; the copy is part of the figure (BM_Copy shows it alone).
template <class Call>
void measure(benchmark::State& state, const KvProfile& source, Call call) {
    for (auto _ : state) {
        KvProfile p = source;
        call(p);
        benchmark::DoNotOptimize(p.points.constBegin());
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

void BM_Copy(benchmark::State& state) {
    measure(state, profile(), [](KvProfile& p) { benchmark::DoNotOptimize(p.points.begin()); });
}
BENCHMARK(BM_Copy);

/// The unit of comparison: distances of neighbours, stored.
void BM_PlainPass(benchmark::State& state) {
    const KvProfile source = profile();
    std::vector<float> distances(kPoints);
    for (auto _ : state) {
        const KvMath::KvPointXY* p = &source.points.at(0);
        for (std::size_t i = 1; i < kPoints; ++i) {
            const float dx = p[i].x - p[i - 1].x;
            const float dy = p[i].y - p[i - 1].y;
            distances[i] = std::sqrt(dx * dx + dy * dy);
        }
        benchmark::DoNotOptimize(distances.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}
BENCHMARK(BM_PlainPass);

void BM_RemoveNoise(benchmark::State& state) {
    measure(state, profile(), [](KvProfile& p) { p.removeNoise(16, 2, 0.5F, 0); });
}
BENCHMARK(BM_RemoveNoise);

void BM_MedFilt(benchmark::State& state) {
    const KvProfile source = profile();
    const int window = static_cast<int>(state.range(0));
    measure(state, source, [&](KvProfile& p) { source.medFilt(p, window); });
}
BENCHMARK(BM_MedFilt)->ArgName("window")->Arg(5)->Arg(31);

void BM_MedFiltOutOfOrder(benchmark::State& state) {
    KvProfile source = profile();
    source.rotateEvklid(90);
    const int window = static_cast<int>(state.range(0));
    measure(state, source, [&](KvProfile& p) { source.medFilt(p, window); });
}
BENCHMARK(BM_MedFiltOutOfOrder)->ArgName("window")->Arg(5)->Arg(31);

void BM_WndFilter(benchmark::State& state) {
    measure(state, profile(), [](KvProfile& p) { p.wndFilter(5); });
}
BENCHMARK(BM_WndFilter);

void BM_ZebFilter20(benchmark::State& state) {
    measure(state, profile(), [](KvProfile& p) { p.zebFilter20(1.0F); });
}
BENCHMARK(BM_ZebFilter20);

void BM_SplashFilter(benchmark::State& state) {
    measure(state, profile(), [](KvProfile& p) { p.splashFilter(p, 0.5F, 0.3F); });
}
BENCHMARK(BM_SplashFilter);

void BM_RemoveNoisyPoints(benchmark::State& state) {
    measure(state, profile(), [](KvProfile& p) { p.removeNoisyPoints(0.2F, 3); });
}
BENCHMARK(BM_RemoveNoisyPoints);

void BM_RemoveDuplicates(benchmark::State& state) {
    KvProfile source = profile();
    if (state.range(0) != 0)
        source.sort(KvMath::KvSortDescending, KvMath::KvSortNone);
    measure(state, source, [](KvProfile& p) { p.removeDuplicates(); });
}
BENCHMARK(BM_RemoveDuplicates)->ArgName("descending")->Arg(0)->Arg(1);

void BM_PolynomFit(benchmark::State& state) {
    const int degree = static_cast<int>(state.range(0));
    measure(state, profile(), [degree](KvProfile& p) { p.polynomFit(degree); });
}
BENCHMARK(BM_PolynomFit)->ArgName("degree")->Arg(2)->Arg(10);

void BM_LeastRectangle(benchmark::State& state) {
    measure(state, profile(), [](KvProfile& p) {
        float width = 0;
        p.calcRect(&width, nullptr, nullptr, TestSupport::kNaN);
        benchmark::DoNotOptimize(width);
    });
}
BENCHMARK(BM_LeastRectangle);

void BM_CsvWriteAndRead(benchmark::State& state) {
    const QTemporaryDir directory;
    const QString path = directory.filePath("line.csv");
    measure(state, profile(), [&path](KvProfile& p) {
        p.writeToCSVFile(path);
        p.readFromCSVFile(path, 0, 1);
    });
}
BENCHMARK(BM_CsvWriteAndRead);

}  // namespace
