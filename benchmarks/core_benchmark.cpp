// Clouds from 100 to 1,000,000 points: each fast form beside its literal one, as far as that comes to an end.

#include <benchmarks/inputs.h>
#include <benchmarks/scratch_folder.h>

#include <tests/support/literal_clouds.h>
#include <tests/support/random_data.h>

#include <QtCore/QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cmath>
#include <map>

namespace {

using Cloud = KvMath::KvPointCloud<KvMath::KvPointXYZ>;
namespace Literal = TestSupport::Literal;

/// A bumpy surface with stray points above, about 100 points per square centimetre, in random order.
Cloud surface(int size, unsigned seed) {
    TestSupport::Draws draw(seed);
    const double side = std::sqrt(static_cast<double>(size));
    Cloud cloud;
    for (int i = 0; i < size; ++i) {
        const float x = static_cast<float>(draw.real(0.0, side));
        const float z = static_cast<float>(static_cast<int>(draw.real(0.0, side)));
        const float y = std::sin(x * 0.1F) * 5.0F + (draw.chance(0.01) ? 30.0F : 0.0F);
        cloud.points.append(KvMath::KvPointXYZ(x, y, z));
    }
    cloud.calcRange();
    return cloud;
}

/// Made once per size; copies share the points until one is changed.
Inputs::Pool<Cloud>& inputs(const benchmark::State& state) {
    static std::map<int, Inputs::Pool<Cloud>> pools;
    const int size = static_cast<int>(state.range(0));
    return pools.try_emplace(size, size, surface).first->second;
}

template <class Operation>
void measure(benchmark::State& state, Operation operation) {
    Inputs::measure(state, inputs(state), [&](const Cloud& source) {
        Cloud cloud = source;
        operation(cloud);
        benchmark::DoNotOptimize(cloud.points);
    });
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// The units of comparison: the coordinates of all points added up, and a copy with points of its own.
void plainPass(benchmark::State& state) {
    Inputs::measure(state, inputs(state), [](const Cloud& source) {
        float sum = 0;
        for (const KvMath::KvPointXYZ& p : source.points)
            sum += p.x + p.y + p.z;
        benchmark::DoNotOptimize(sum);
    });
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
void plainCopy(benchmark::State& state) {
    measure(state, [](Cloud& c) { c.points.detach(); });
}

QList<int> everySecond(const Cloud& cloud) {
    QList<int> indices;
    for (int i = 0; i < cloud.points.size(); i += 2)
        indices.append(i);
    return indices;
}

void sortFast(benchmark::State& state) {
    measure(state, [](Cloud& c) { c.sort(KvMath::KvSortAscending, KvMath::KvSortNone); });
}
void sortLiteral(benchmark::State& state) {
    const auto x = [](const KvMath::KvPointXYZ& p) { return p.x; };
    measure(state,
            [x](Cloud& c) { Literal::bubbleSort(c.points, 0, static_cast<int>(c.points.size()), x, true); });
}
void removeIndecesFast(benchmark::State& state) {
    measure(state, [](Cloud& c) {
        QList<int> indices = everySecond(c);
        c.removeIndeces(indices);
    });
}
void removeIndecesLiteral(benchmark::State& state) {
    measure(state, [](Cloud& c) { Literal::removeIndeces(c.points, everySecond(c)); });
}
void cubicFilterFast(benchmark::State& state) {
    measure(state, [](Cloud& c) { c.cubicFilter(3.0F, 3); });
}
void cubicFilterLiteral(benchmark::State& state) {
    measure(state, [](Cloud& c) { Literal::cubicFilter(c, 3.0F, 3); });
}
void sphericalFilterFast(benchmark::State& state) {
    measure(state, [](Cloud& c) { c.sphericalFilter2(3.0F, 0.0F, 3); });
}
void sphericalFilterLiteral(benchmark::State& state) {
    measure(state, [](Cloud& c) { Literal::cubicFilter2(c, 3.0F, 3, true); });
}
/// A millionth of the cell above: only the points may count, not the cells.
void cubicFilterTinyCells(benchmark::State& state) {
    measure(state, [](Cloud& c) { c.cubicFilter(3e-6F, 3); });
}

/// A file of one cloud: the order of its points decides nothing.
struct CloudFile {
    explicit CloudFile(benchmark::State& state) : cloud(inputs(state).next()) {
        if (!file.open(QIODevice::ReadWrite) || !cloud.writeToFile(file))
            state.SkipWithError("no scratch file");
    }
    const Cloud& cloud;
    const QTemporaryDir folder{Inputs::scratchFolder()};
    QFile file{folder.filePath("cloud.bin")};
};

template <class Read>
void readRecords(benchmark::State& state, Read read) {
    CloudFile source(state);
    for (auto step : state) {
        static_cast<void>(step);
        source.file.seek(0);
        Cloud cloud;
        benchmark::DoNotOptimize(read(source.file, cloud));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
template <class Write>
void writeRecords(benchmark::State& state, Write write) {
    CloudFile target(state);
    target.file.seek(0);
    const QByteArray bytes = target.file.readAll();
    target.file.close();
    for (auto step : state) {
        static_cast<void>(step);
        if (!target.file.open(QIODevice::WriteOnly) || !write(target.file, target.cloud, bytes))
            state.SkipWithError("not written");
        target.file.close();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
void readFast(benchmark::State& state) {
    readRecords(state, [](QFile& file, Cloud& cloud) { return cloud.readFromFile(file); });
}
void readBytes(benchmark::State& state) {
    readRecords(state, [](QFile& file, Cloud&) { return file.readAll(); });
}
void writeFast(benchmark::State& state) {
    writeRecords(state,
                 [](QFile& file, const Cloud& cloud, const QByteArray&) { return cloud.writeToFile(file); });
}
void writeBytes(benchmark::State& state) {
    writeRecords(state, [](QFile& file, const Cloud&, const QByteArray& bytes) {
        return file.write(bytes) == bytes.size();
    });
}
void readLiteral(benchmark::State& state) { readRecords(state, Literal::readXYZ); }

constexpr int kAll = 1000000;
BENCHMARK(plainPass)->RangeMultiplier(10)->Range(100, kAll)->Unit(benchmark::kMicrosecond);
BENCHMARK(plainCopy)->RangeMultiplier(10)->Range(100, kAll)->Unit(benchmark::kMicrosecond);
BENCHMARK(sortFast)->RangeMultiplier(10)->Range(100, kAll)->Unit(benchmark::kMicrosecond);
BENCHMARK(sortLiteral)->RangeMultiplier(10)->Range(100, 10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(removeIndecesFast)->RangeMultiplier(10)->Range(100, kAll)->Unit(benchmark::kMicrosecond);
BENCHMARK(removeIndecesLiteral)->RangeMultiplier(10)->Range(100, 100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(cubicFilterFast)->RangeMultiplier(10)->Range(100, kAll)->Unit(benchmark::kMicrosecond);
BENCHMARK(cubicFilterLiteral)->RangeMultiplier(10)->Range(100, 10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(cubicFilterTinyCells)->RangeMultiplier(10)->Range(100, kAll)->Unit(benchmark::kMicrosecond);
BENCHMARK(sphericalFilterFast)->RangeMultiplier(10)->Range(100, kAll)->Unit(benchmark::kMicrosecond);
BENCHMARK(sphericalFilterLiteral)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(sphericalFilterLiteral)->Arg(10000)->Repetitions(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(readFast)->RangeMultiplier(10)->Range(100, kAll)->Unit(benchmark::kMicrosecond);
BENCHMARK(readLiteral)->RangeMultiplier(10)->Range(100, kAll)->Unit(benchmark::kMicrosecond);
BENCHMARK(readBytes)->RangeMultiplier(10)->Range(100, kAll)->Unit(benchmark::kMicrosecond);
BENCHMARK(writeFast)->RangeMultiplier(10)->Range(100, kAll)->Unit(benchmark::kMicrosecond);
BENCHMARK(writeBytes)->RangeMultiplier(10)->Range(100, kAll)->Unit(benchmark::kMicrosecond);

}  // namespace
