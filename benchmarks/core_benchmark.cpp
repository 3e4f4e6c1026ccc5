// Clouds from 100 to 1,000,000 points: each fast form beside its literal one, as far as that comes to an end.

#include <tests/support/literal_clouds.h>
#include <tests/support/random_data.h>

#include <QtCore/QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cmath>

namespace {

using Cloud = KvMath::KvPointCloud<KvMath::KvPointXYZ>;
namespace Literal = TestSupport::Literal;

/// A bumpy surface with stray points above, about 100 points per square centimetre, in random order.
Cloud surface(int size) {
    TestSupport::Draws draw(1);
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

template <class Operation>
void measure(benchmark::State& state, Operation operation) {
    const Cloud input = surface(static_cast<int>(state.range(0)));
    for (auto step : state) {
        static_cast<void>(step);
        Cloud cloud = input;
        operation(cloud);
        benchmark::DoNotOptimize(cloud.points);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
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
    measure(state, [x](Cloud& c) { Literal::bubbleSort(c.points, 0, c.points.size(), x, true); });
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

template <class Read>
void readRecords(benchmark::State& state, Read read) {
    const QTemporaryDir dir;
    QFile file(dir.filePath("cloud.bin"));
    if (!file.open(QIODevice::ReadWrite) || !surface(static_cast<int>(state.range(0))).writeToFile(file))
        return state.SkipWithError("no scratch file");
    for (auto step : state) {
        static_cast<void>(step);
        file.seek(0);
        Cloud cloud;
        benchmark::DoNotOptimize(read(file, cloud));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
void readFast(benchmark::State& state) {
    readRecords(state, [](QFile& file, Cloud& cloud) { return cloud.readFromFile(file); });
}
void readLiteral(benchmark::State& state) { readRecords(state, Literal::readXYZ); }

constexpr int kAll = 1000000;
BENCHMARK(sortFast)->RangeMultiplier(10)->Range(100, kAll)->Unit(benchmark::kMicrosecond);
BENCHMARK(sortLiteral)->RangeMultiplier(10)->Range(100, 10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(removeIndecesFast)->RangeMultiplier(10)->Range(100, kAll)->Unit(benchmark::kMicrosecond);
BENCHMARK(removeIndecesLiteral)->RangeMultiplier(10)->Range(100, 100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(cubicFilterFast)->RangeMultiplier(10)->Range(100, kAll)->Unit(benchmark::kMicrosecond);
BENCHMARK(cubicFilterLiteral)->RangeMultiplier(10)->Range(100, 10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(cubicFilterTinyCells)->RangeMultiplier(10)->Range(100, kAll)->Unit(benchmark::kMicrosecond);
BENCHMARK(sphericalFilterFast)->RangeMultiplier(10)->Range(100, kAll)->Unit(benchmark::kMicrosecond);
BENCHMARK(sphericalFilterLiteral)->RangeMultiplier(10)->Range(100, 10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(readFast)->RangeMultiplier(10)->Range(100, kAll)->Unit(benchmark::kMicrosecond);
BENCHMARK(readLiteral)->RangeMultiplier(10)->Range(100, kAll)->Unit(benchmark::kMicrosecond);

}  // namespace
