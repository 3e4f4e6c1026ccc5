// Scans: slicing a cloud, files of stacks, grids of heights. Lines of 600 points with noise, 0.1 mm apart.

#include <benchmarks/inputs.h>
#include <benchmarks/scratch_folder.h>
#include <kvmath/core/matrix_cloud.h>
#include <kvmath/profile/profile_zset.h>
#include <tests/support/literal_scans.h>
#include <tests/support/random_data.h>

#include <benchmark/benchmark.h>

#include <QtCore/QTemporaryDir>

#include <algorithm>

namespace {

using namespace KvMath;
using Cloud = KvPointCloud<KvPointXYZ>;

constexpr int kLine = 600;
constexpr float kSpacing = 0.1F;

KvProfileZSet scan(int points, unsigned seed) {
    TestSupport::Draws draws(seed);
    KvProfileZSet set;
    for (int i = 0; i < points; ++i) {
        if (i % kLine == 0)
            set.append(KvProfileZ());
        const float x = kSpacing * static_cast<float>(i % kLine);
        set[set.size() - 1].points.append(KvPointXY(x, static_cast<float>(draws.normal(0.02))));
    }
    set.setZ(0.0F, kSpacing);
    return set;
}

Cloud cloudOf(int points, unsigned seed) {
    Cloud cloud;
    scan(points, seed).toPointCloud(cloud);
    cloud.calcRange();
    return cloud;
}

/// Times `call` on one of make(points, seed) after the other.
template <class Make, class Call>
void measure(benchmark::State& state, Make make, Call call) {
    Inputs::measure(state, Inputs::Pool(static_cast<int>(state.range(0)), make), call);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// The least that a walk over a cloud costs.
void BM_PlainPass(benchmark::State& state) {
    measure(state, cloudOf, [](const Cloud& cloud) {
        float sum = 0;
        for (const KvPointXYZ& p : cloud.points)
            sum += p.x + p.y + p.z;
        benchmark::DoNotOptimize(sum);
    });
}
BENCHMARK(BM_PlainPass)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMicrosecond);

template <class Slice>
void slicing(benchmark::State& state, Slice slice) {
    measure(state, cloudOf, [&](Cloud& cloud) {
        KvProfileZSet set;
        slice(cloud, set);
        benchmark::DoNotOptimize(set.profiles.constBegin());
    });
}

void BM_Slice(benchmark::State& state) {
    slicing(state, [](Cloud& cloud, KvProfileZSet& set) { set.calcFromPointCloud(cloud, kSpacing); });
}
BENCHMARK(BM_Slice)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMicrosecond);

void BM_SliceLiteral(benchmark::State& state) {
    slicing(state,
            [](Cloud& cloud, KvProfileZSet& set) { TestSupport::Literal::slice(cloud, kSpacing, set); });
}
BENCHMARK(BM_SliceLiteral)->RangeMultiplier(10)->Range(1000, 100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SliceLiteral)->Arg(1000000)->Repetitions(1)->Unit(benchmark::kMicrosecond);

void BM_ToPointCloud(benchmark::State& state) {
    Cloud cloud;
    measure(state, scan,
            [&](const KvProfileZSet& set) { benchmark::DoNotOptimize(set.toPointCloud(cloud)); });
}
BENCHMARK(BM_ToPointCloud)->Arg(600000)->Unit(benchmark::kMicrosecond);

/// A stack of 1,000 lines in a file.
class StackFile {
public:
    StackFile() { set.writeToFile(path); }

    const KvProfileZSet set = scan(600000, 1);
    const QTemporaryDir directory{Inputs::scratchFolder()};
    const QString path = directory.filePath("stack.bin");
};

void BM_StackRead(benchmark::State& state) {
    const StackFile file;
    for (auto _ : state) {
        KvProfileZSet set;
        benchmark::DoNotOptimize(set.readFromFile(file.path));
    }
}
BENCHMARK(BM_StackRead)->Unit(benchmark::kMicrosecond);

void BM_PlainRead(benchmark::State& state) {
    const StackFile stack;
    for (auto _ : state) {
        QFile file(stack.path);
        if (!file.open(QIODevice::ReadOnly))
            state.SkipWithError("no file");
        benchmark::DoNotOptimize(file.readAll().constData());
    }
}
BENCHMARK(BM_PlainRead)->Unit(benchmark::kMicrosecond);

void BM_StackWrite(benchmark::State& state) {
    const StackFile file;
    for (auto _ : state)
        benchmark::DoNotOptimize(file.set.writeToFile(file.path));
}
BENCHMARK(BM_StackWrite)->Unit(benchmark::kMicrosecond);

void BM_PlainWrite(benchmark::State& state) {
    const StackFile stack;
    QFile file(stack.path);
    if (!file.open(QIODevice::ReadOnly))
        state.SkipWithError("no file");
    const QByteArray bytes = file.readAll();
    file.close();
    for (auto _ : state) {
        if (!file.open(QIODevice::ReadWrite | QIODevice::Truncate) || file.write(bytes) != bytes.size())
            state.SkipWithError("not written");
        file.close();
    }
}
BENCHMARK(BM_PlainWrite)->Unit(benchmark::kMicrosecond);

void BM_ToMatrix(benchmark::State& state) {
    KvMatrixCloud matrix;
    measure(state, scan, [&](const KvProfileZSet& set) {
        benchmark::DoNotOptimize(set.toMatrixCloud(matrix, 2 * kSpacing, 2 * kSpacing));
    });
}
BENCHMARK(BM_ToMatrix)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMicrosecond);

KvMatrixWithHistos gridOf(int points, unsigned seed) {
    KvMatrixCloud grid;
    scan(points, seed).toMatrixCloud(grid, kSpacing, kSpacing);
    return KvMatrixWithHistos(grid);
}

void BM_Segment(benchmark::State& state) {
    measure(state, gridOf,
            [](KvMatrixWithHistos& grid) { benchmark::DoNotOptimize(grid.segment(0.01F, 0.02F, 10)); });
}
BENCHMARK(BM_Segment)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMicrosecond);

}  // namespace
