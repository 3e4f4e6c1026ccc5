// What one scanner line costs on its way into and through a profile: 3,200 points, as many as common line
// scanners deliver at most, a flat part with a groove, 0.02 mm noise.

#include <benchmarks/inputs.h>
#include <benchmarks/scratch_folder.h>
#include <kvmath/profile/profile.h>
#include <tests/support/random_data.h>

#include <benchmark/benchmark.h>

#include <QtCore/QTemporaryDir>

#include <cmath>
#include <utility>
#include <vector>

namespace {

using Inputs::Pool;
using KvMath::KvProfile;

constexpr int kPoints = 3200;

std::vector<float> scannerLine(int points, unsigned seed) {
    TestSupport::Draws draws(seed);
    std::vector<float> buffer;
    for (int i = 0; i < points; ++i) {
        const double x = -80.0 + i * 0.05;
        const double y = (std::abs(x) < 4.0 ? 60.0 : 72.0) + draws.normal(0.02);
        buffer.push_back(static_cast<float>(x));
        buffer.push_back(static_cast<float>(y));
    }
    return buffer;
}

Pool<std::vector<float>> buffers() { return {kPoints, scannerLine}; }

Pool<KvProfile> profiles() {
    return buffers().as([](const std::vector<float>& line) { return KvProfile(line.data(), kPoints); });
}

void countPoints(benchmark::State& state) { state.SetItemsProcessed(state.iterations() * kPoints); }

void BM_CopyFromBuffer(benchmark::State& state) {
    Inputs::measure(state, buffers(), [](const std::vector<float>& line) {
        KvProfile p;
        p.copyFromXYPointsBuffer(line.data(), kPoints);
        benchmark::DoNotOptimize(p.points.constBegin());
    });
    countPoints(state);
}
BENCHMARK(BM_CopyFromBuffer);

/// `call` on a fresh copy of each, which it also gets; the copy is part of the figure (BM_Copy shows it
/// alone).
template <class Call>
void measure(benchmark::State& state, Pool<KvProfile> sources, Call call) {
    Inputs::measure(state, std::move(sources), [&](const KvProfile& source) {
        KvProfile p = source;
        call(p, source);
        benchmark::DoNotOptimize(p.points.constBegin());
    });
    countPoints(state);
}
template <class Call>
void measure(benchmark::State& state, Call call) {
    measure(state, profiles(), [&](KvProfile& p, const KvProfile& /*source*/) { call(p); });
}

void BM_Copy(benchmark::State& state) {
    measure(state, [](KvProfile& p) { benchmark::DoNotOptimize(p.points.begin()); });
}
BENCHMARK(BM_Copy);

/// The unit of comparison: distances of neighbours, stored.
void BM_PlainPass(benchmark::State& state) {
    std::vector<float> distances(kPoints);
    Inputs::measure(state, profiles(), [&](const KvProfile& source) {
        const KvMath::KvPointXY* p = &source.points.at(0);
        for (std::size_t i = 1; i < kPoints; ++i) {
            const float dx = p[i].x - p[i - 1].x;
            const float dy = p[i].y - p[i - 1].y;
            distances[i] = std::sqrt(dx * dx + dy * dy);
        }
        benchmark::DoNotOptimize(distances.data());
    });
    countPoints(state);
}
BENCHMARK(BM_PlainPass);

void BM_RemoveNoise(benchmark::State& state) {
    measure(state, [](KvProfile& p) { p.removeNoise(16, 2, 0.5F, 0); });
}
BENCHMARK(BM_RemoveNoise);

void filterMedian(benchmark::State& state, Pool<KvProfile> sources) {
    const int window = static_cast<int>(state.range(0));
    measure(state, std::move(sources),
            [window](KvProfile& p, const KvProfile& source) { source.medFilt(p, window); });
}

void BM_MedFilt(benchmark::State& state) { filterMedian(state, profiles()); }
BENCHMARK(BM_MedFilt)->ArgName("window")->Arg(5)->Arg(31);

void BM_MedFiltOutOfOrder(benchmark::State& state) {
    filterMedian(state, profiles().as([](KvProfile p) {
        p.rotateEvklid(90);
        return p;
    }));
}
BENCHMARK(BM_MedFiltOutOfOrder)->ArgName("window")->Arg(5)->Arg(31);

void BM_WndFilter(benchmark::State& state) {
    measure(state, [](KvProfile& p) { p.wndFilter(5); });
}
BENCHMARK(BM_WndFilter);

void BM_ZebFilter20(benchmark::State& state) {
    measure(state, [](KvProfile& p) { p.zebFilter20(1.0F); });
}
BENCHMARK(BM_ZebFilter20);

void BM_SplashFilter(benchmark::State& state) {
    measure(state, [](KvProfile& p) { p.splashFilter(p, 0.5F, 0.3F); });
}
BENCHMARK(BM_SplashFilter);

void BM_RemoveNoisyPoints(benchmark::State& state) {
    measure(state, [](KvProfile& p) { p.removeNoisyPoints(0.2F, 3); });
}
BENCHMARK(BM_RemoveNoisyPoints);

void BM_RemoveDuplicates(benchmark::State& state) {
    const bool isDescending = state.range(0) != 0;
    const auto ordered = [=](KvProfile p) {
        if (isDescending)
            p.sort(KvMath::KvSortDescending, KvMath::KvSortNone);
        return p;
    };
    measure(state, profiles().as(ordered),
            [](KvProfile& p, const KvProfile& /*source*/) { p.removeDuplicates(); });
}
BENCHMARK(BM_RemoveDuplicates)->ArgName("descending")->Arg(0)->Arg(1);

void BM_PolynomFit(benchmark::State& state) {
    const int degree = static_cast<int>(state.range(0));
    measure(state, [degree](KvProfile& p) { p.polynomFit(degree); });
}
BENCHMARK(BM_PolynomFit)->ArgName("degree")->Arg(2)->Arg(10);

void BM_LeastRectangle(benchmark::State& state) {
    measure(state, [](KvProfile& p) {
        float width = 0;
        p.calcRect(&width, nullptr, nullptr, TestSupport::kNaN);
        benchmark::DoNotOptimize(width);
    });
}
BENCHMARK(BM_LeastRectangle);

void BM_CsvWriteAndRead(benchmark::State& state) {
    const QTemporaryDir directory(Inputs::scratchFolder());
    const QString path = directory.filePath("line.csv");
    measure(state, [&path](KvProfile& p) {
        p.writeToCSVFile(path);
        p.readFromCSVFile(path, 0, 1);
    });
}
BENCHMARK(BM_CsvWriteAndRead);

}  // namespace
