// Calibration tables beside one plain pass over the same bytes: what is read is copied or summed, what is
// written is filled, in memory order and in the same containers.

#include <benchmarks/scratch_folder.h>
#include <kvmath/calibration/dtf_profiles.h>
#include <kvmath/calibration/pixel_lookup.h>
#include <kvmath/calibration/table_build.h>
#include <kvmath/calibration/table_io.h>
#include <kvmath/calibration/table_layout.h>
#include <kvmath/calibration/table_ops.h>
#include <kvmath/profile/profile.h>
#include <simulator/triangulation_scanner.h>

#include <benchmark/benchmark.h>

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <numeric>
#include <vector>

namespace {

using Cells = std::vector<unsigned short>;

constexpr double kZRange = 100.0;
constexpr double kXRange = 140.0;
constexpr double kStep = 100.0;
constexpr int kLast = KvMath::kSensorColumns - 1;

/// A record with the given noise in hundredths of a pixel, and the full table built from it.
struct Data {
    explicit Data(int noise) : table(KvMath::kTableCells, KvMath::kEmptyCell), copy(table) {
        Simulator::CalibrationRecipe recipe;
        recipe.noise = noise / 100.0;
        recipe.missing = noise == 0 ? 0.0 : 0.01;
        record = *Simulator::simulateCalibration(recipe);
        columns = record.columns();
        KvMath::calc_Z(columns.data(), parameters(), kZRange, kStep, 0, kLast, first, last, table.data());
        KvMath::calc_X(columns.data(), parameters(), kXRange, kStep, 0, kLast, first, last, table.data());
    }
    unsigned short** dtf() { return columns.data(); }
    const double* parameters() const { return record.parameters.data(); }

    KvMath::CalibrationRecord record;
    std::array<unsigned short*, KvMath::kSensorColumns> columns{};
    Cells table, copy;
    int first = 0;
    int last = 0;
};

Data& clean() {
    static Data data(0);
    return data;
}

Data& noisy() {
    static Data data(10);
    return data;
}

struct LookUp {
    LookUp() : cells(std::size_t(KvMath::kSensorColumns) * KvMath::kLookUpCells) {
        for (int c = 0; c < KvMath::kSensorColumns; ++c)
            rows.push_back(cells.data() + std::ptrdiff_t(c) * KvMath::kLookUpCells);
    }
    Cells cells;
    std::vector<unsigned short*> rows;
};

/// The plain pass of everything that builds: the record is summed, `out` is filled.
void passOver(benchmark::State& state, Cells& out) {
    const Cells& in = clean().record.positions;
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::accumulate(in.begin(), in.end(), 0U));
        std::fill(out.begin(), out.end(), KvMath::kEmptyCell);
        benchmark::ClobberMemory();
    }
}

void BM_FullHalfPass(benchmark::State& state) {
    Cells half(KvMath::kTableCells / 2);
    passOver(state, half);
}
BENCHMARK(BM_FullHalfPass)->Unit(benchmark::kMicrosecond);

template <class Build>
void buildFull(benchmark::State& state, Build build) {
    Data& data = state.range(0) == 0 ? clean() : noisy();
    for (auto _ : state)
        benchmark::DoNotOptimize(build(data.dtf(), data.parameters(), kZRange, kStep, 0, kLast, data.first,
                                       data.last, data.copy.data()));
}

void BM_CalcZ(benchmark::State& state) { buildFull(state, KvMath::calc_Z); }
BENCHMARK(BM_CalcZ)->Arg(0)->Arg(10)->Unit(benchmark::kMicrosecond);

void BM_CalcX(benchmark::State& state) { buildFull(state, KvMath::calc_X); }
BENCHMARK(BM_CalcX)->Arg(0)->Arg(10)->Unit(benchmark::kMicrosecond);

void BM_CompactPass(benchmark::State& state) {
    Cells table(KvMath::kCompactCells);
    passOver(state, table);
}
BENCHMARK(BM_CompactPass)->Unit(benchmark::kMicrosecond);

template <class Build>
void buildCompact(benchmark::State& state, Build build) {
    Data& data = state.range(0) == 0 ? clean() : noisy();
    Cells table(KvMath::kCompactCells);
    for (auto _ : state)
        benchmark::DoNotOptimize(build(data.dtf(), data.parameters(), kZRange, kXRange, kStep, kStep, 0,
                                       kLast, data.first, data.last, table.data()));
}

void BM_CalcXandZ(benchmark::State& state) { buildCompact(state, KvMath::calc_XandZ); }
BENCHMARK(BM_CalcXandZ)->Arg(0)->Arg(10)->Unit(benchmark::kMicrosecond);

void BM_CalcXandZTriangles(benchmark::State& state) { buildCompact(state, KvMath::calc_XandZ_Triangles); }
BENCHMARK(BM_CalcXandZTriangles)->Arg(0)->Arg(10)->Unit(benchmark::kMicrosecond);

void BM_LookUpPass(benchmark::State& state) {
    LookUp lookUp;
    passOver(state, lookUp.cells);
}
BENCHMARK(BM_LookUpPass)->Unit(benchmark::kMicrosecond);

void BM_LookUpZ(benchmark::State& state) {
    Data& data = state.range(0) == 0 ? clean() : noisy();
    LookUp lookUp;
    for (auto _ : state)
        benchmark::DoNotOptimize(KvMath::convert_Pxl2Z(data.dtf(), data.parameters(), kZRange, kStep, 0,
                                                       kLast, lookUp.rows.data()));
}
BENCHMARK(BM_LookUpZ)->Arg(0)->Arg(10)->Unit(benchmark::kMicrosecond);

/// Record and table are summed, and as many points appended to new profiles, one profile after the other.
void BM_ApplyPass(benchmark::State& state) {
    const Data& data = clean();
    for (auto _ : state) {
        const Cells& in = data.record.positions;
        benchmark::DoNotOptimize(std::accumulate(in.begin(), in.end(), 0U));
        benchmark::DoNotOptimize(std::accumulate(data.table.begin(), data.table.end(), 0U));
        std::vector<KvMath::KvProfile> profiles(KvMath::kCalibrationSteps);
        for (auto& profile : profiles) {
            profile.points.reserve(KvMath::kSensorColumns);
            for (int c = 0; c < KvMath::kSensorColumns; ++c)
                profile.points.append({float(c), 0.0F});
        }
        benchmark::DoNotOptimize(profiles.data());
    }
}
BENCHMARK(BM_ApplyPass)->Unit(benchmark::kMicrosecond);

void BM_Apply(benchmark::State& state) {
    Data& data = state.range(0) == 0 ? clean() : noisy();
    for (auto _ : state) {
        std::vector<KvMath::KvProfile> profiles(KvMath::kCalibrationSteps);
        KvMath::calcProfsFromDtf(data.table.data(), data.dtf(), kZRange, kXRange, profiles.data());
        benchmark::DoNotOptimize(profiles.data());
    }
}
BENCHMARK(BM_Apply)->Arg(0)->Arg(10)->Unit(benchmark::kMicrosecond);

/// Every cell of a table in place, as cuts and mirrors do.
void BM_TablePass(benchmark::State& state) {
    Cells& table = clean().copy;
    for (auto _ : state) {
        for (unsigned short& cell : table)
            cell = static_cast<unsigned short>(cell ^ 1U);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_TablePass)->Unit(benchmark::kMicrosecond);

void BM_Cut(benchmark::State& state) {
    Cells& table = clean().copy;
    for (auto _ : state) {
        KvMath::cutTBL(table.data(), {90, 40, 70, 50, 60, 30, 80, 20, 5, 6, 7, 8});
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_Cut)->Unit(benchmark::kMicrosecond);

void BM_MirrorTable(benchmark::State& state) {
    Cells& table = clean().copy;
    for (auto _ : state) {
        KvMath::zMirrorTBL(table.data(), /*mirrorZ=*/true, /*mirrorX=*/true);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_MirrorTable)->Unit(benchmark::kMicrosecond);

void BM_DtfPass(benchmark::State& state) {
    Cells positions = clean().record.positions;
    for (auto _ : state) {
        for (unsigned short& v : positions)
            v = static_cast<unsigned short>(v ^ 1U);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_DtfPass)->Unit(benchmark::kMicrosecond);

void BM_MirrorDtf(benchmark::State& state) {
    KvMath::CalibrationRecord record = clean().record;
    auto columns = record.columns();
    for (auto _ : state) {
        KvMath::zMirrorDTF(columns.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_MirrorDtf)->Unit(benchmark::kMicrosecond);

void BM_ShiftPass(benchmark::State& state) {
    const Cells source(KvMath::kCompactCells, 7);
    Cells destination(source);
    for (auto _ : state) {
        std::copy(source.begin(), source.end(), destination.begin());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_ShiftPass)->Unit(benchmark::kMicrosecond);

void BM_Shift(benchmark::State& state) {
    const Cells source(KvMath::kCompactCells, 7);
    Cells destination(source);
    for (auto _ : state) {
        KvMath::convert625to625d(source.data(), destination.data(), 3, -5);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_Shift)->Unit(benchmark::kMicrosecond);

// --- Files, in the page cache ---

QString scratchFile() {
    static const QTemporaryDir directory(Inputs::scratchFolder());
    return directory.filePath("calibration.bin");
}

/// Bytes of a raw record (0) or of a full table (1).
std::size_t fileSize(const benchmark::State& state) { return state.range(0) == 0 ? 1'304'000 : 2'592'000; }

void BM_FileWritePass(benchmark::State& state) {
    const std::vector<char> bytes(fileSize(state), 1);
    for (auto _ : state) {
        QFile file(scratchFile());
        file.open(QIODevice::WriteOnly | QIODevice::Truncate);
        file.write(bytes.data(), qint64(bytes.size()));
    }
}
BENCHMARK(BM_FileWritePass)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_FileWrite(benchmark::State& state) {
    Data& data = clean();
    for (auto _ : state) {
        if (state.range(0) == 0)
            KvMath::saveRawCbrDataToFile(data.dtf(), data.parameters(), scratchFile());
        else
            KvMath::saveTableToFile(data.table.data(), scratchFile());
    }
}
BENCHMARK(BM_FileWrite)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_FileReadPass(benchmark::State& state) {
    std::vector<char> bytes(fileSize(state));
    for (auto _ : state) {
        QFile file(scratchFile());
        file.open(QIODevice::ReadOnly);
        benchmark::DoNotOptimize(file.read(bytes.data(), qint64(bytes.size())));
    }
}
BENCHMARK(BM_FileReadPass)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_FileRead(benchmark::State& state) {
    Data& data = clean();
    KvMath::CalibrationRecord record = data.record;
    auto columns = record.columns();
    for (auto _ : state) {
        if (state.range(0) == 0)
            KvMath::loadRawCbrDataFromFile(columns.data(), record.parameters.data(), scratchFile());
        else
            KvMath::loadTableFromFile(data.copy.data(), scratchFile());
    }
}
BENCHMARK(BM_FileRead)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

}  // namespace
