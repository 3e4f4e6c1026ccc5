// What goes in and out of a measurement: profiles and scans read from files of every form, and results
// written as text, JSON, CSV and pages. Beside each reader a plain pass over the same file: all bytes read,
// and of a text every number converted, which no reader can leave out. Beside the reports the same bytes
// copied.

#include <benchmarks/scratch_folder.h>
#include <benchmarks/simulated_lines.h>
#include <kvmeasure/profiles/profile_file.h>
#include <kvmeasure/profiles/profile_writer.h>
#include <kvmeasure/report/match_page.h>
#include <kvmeasure/scans/scan_writer.h>
#include <tests/support/groove_template.h>

#include <QtCore/QTemporaryDir>

#include <benchmark/benchmark.h>
#include <charconv>
#include <cmath>

namespace {

using namespace KvMeasure;

int sizeOf(const benchmark::State& state) { return static_cast<int>(state.range(0)); }

/// Calls read(path) again and again, which returns the points that it found.
template <class Read>
void readAgain(benchmark::State& state, const QString& path, Read read) {
    for (auto _ : state) {
        if (read(path) != sizeOf(state))
            state.SkipWithError("not all points were read");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

qint64 readBytes(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().size() : 0;
}

/// The points of a text: every number of it converted, `columns` to a point.
int convertNumbers(const QString& path, int columns) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = file.readAll();
    int numbers = 0;
    const char* const end = text.constData() + text.size();
    for (const char* at = text.constData(); at < end; ++at) {
        double number = 0;
        const auto [behind, fault] = std::from_chars(at, end, number);
        if (fault == std::errc()) {
            benchmark::DoNotOptimize(number);
            ++numbers;
            at = behind;
        }
    }
    return numbers / columns;
}

/// A groove of so many points as CSV with a heading.
struct ProfileFile {
    explicit ProfileFile(const benchmark::State& state) {
        LoadedProfile loaded;
        loaded.profile.points = Inputs::groove(sizeOf(state), 1).points;
        writeProfile(path, FileForm::Csv, loaded);
    }
    const QTemporaryDir folder{Inputs::scratchFolder()};
    const QString path = folder.filePath("profile.csv");
};

void BM_ProfileText(benchmark::State& state) {
    readAgain(state, ProfileFile(state).path, [](const QString& path) {
        return static_cast<int>(loadOnlyProfile(path, TextOptions()).profile.points.size());
    });
}

void BM_ProfileTextPlain(benchmark::State& state) {
    readAgain(state, ProfileFile(state).path, [](const QString& path) { return convertNumbers(path, 2); });
}

constexpr int kLine = 500;  // points of a profile of a scan

/// A wavy plane, profiles of 500 points 0.1 mm apart.
struct ScanFile {
    ScanFile(const benchmark::State& state, ScanForm form) {
        Scan scan;
        scan.isStack = true;
        for (int line = 0; line < sizeOf(state) / kLine; ++line) {
            KvMath::KvProfileZ profile;
            profile.z = 0.1F * static_cast<float>(line);
            for (int i = 0; i < kLine; ++i) {
                const float x = 0.1F * static_cast<float>(i);
                scan.add(profile, x, std::sin(x) + 0.01F * profile.z);
            }
            scan.add(profile);
        }
        writeScan(path, form, /*heightLast=*/false, scan);
    }
    const QTemporaryDir folder{Inputs::scratchFolder()};
    const QString path = folder.filePath("scan");
};

template <ScanForm form>
void BM_Scan(benchmark::State& state) {
    readAgain(state, ScanFile(state, form).path,
              [](const QString& path) { return static_cast<int>(loadScan(path, ScanOptions()).points); });
}

void BM_XyzPlain(benchmark::State& state) {
    readAgain(state, ScanFile(state, ScanForm::Xyz).path,
              [](const QString& path) { return convertNumbers(path, 3); });
}

template <ScanForm form>
void BM_ScanBytes(benchmark::State& state) {
    readAgain(state, ScanFile(state, form).path, [&](const QString& path) {
        const qint64 bytes = readBytes(path);
        benchmark::DoNotOptimize(bytes);
        return bytes > 0 ? sizeOf(state) : 0;
    });
}

/// A groove of 411 points measured once; the profiles of a report differ in number, place and values.
struct Measured {
    Measured() {
        const TestSupport::GrooveTemplate groove;
        plan.lines = groove.lines;
        plan.measurements = groove.measurements;
        plan.search = groove.params;
        plan.hasSearch = true;
        plan.lineNames = QStringList{"left", "fall", "rise", "right"};
        KvMath::KvProfile profile;
        profile.points = Inputs::groove(411, 1).points;
        static_cast<MeasuredPart&>(part) = PartMeasurement(plan, PartSettings()).measure(profile);
        part.points = 411;
    }
    const MatchedProfile& next(int i) {
        part.name = "groove.kvs#" + QString::number(i);
        part.z = 0.1 * i;
        return part;
    }
    InspectionPlan plan;
    MatchedProfile part;
};

/// Reports of so many profiles; or their letters made bytes, as for a file.
template <MatchReport::Form form, bool isPlain>
void BM_Report(benchmark::State& state) {
    Measured measured;
    if (measured.part.found != 1)
        state.SkipWithError("the groove was not found");
    const auto write = [&](int profiles, const MatchReport::Output& output) {
        MatchReport report(form, measured.plan, /*allAssignments=*/false, /*keepValues=*/false, output);
        for (int i = 0; i < profiles; ++i)
            report.add(measured.next(i));
        report.finish();
    };
    QString text;  // of a hundred profiles
    write(100, [&](const QString& piece) { text += piece; });
    for (auto _ : state) {
        qint64 bytes = 0;
        if (isPlain) {
            for (int i = 0; i < sizeOf(state); i += 100)
                bytes += text.toUtf8().size();
        } else {
            write(sizeOf(state), [&](const QString& piece) { bytes += piece.size(); });
        }
        benchmark::DoNotOptimize(bytes);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// The page of so many profiles without pictures, results as data in it.
void BM_Page(benchmark::State& state) {
    Measured measured;
    for (auto _ : state) {
        MatchPage page(measured.plan, MatchReport::Json);
        for (int i = 0; i < sizeOf(state); ++i)
            page.add(measured.next(i), [] { return QByteArray(); });
        benchmark::DoNotOptimize(page.html().data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void profileSizes(benchmark::internal::Benchmark* rows) {
    rows->ArgName("points")->Arg(800)->Arg(3200)->Arg(12800)->Unit(benchmark::kMicrosecond);
}
void scanSizes(benchmark::internal::Benchmark* rows) {
    rows->ArgName("points")->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
}
void reportSizes(benchmark::internal::Benchmark* rows) {
    rows->ArgName("profiles")->Arg(100)->Arg(1000)->Arg(10'000)->Unit(benchmark::kMillisecond);
}

BENCHMARK(BM_ProfileText)->Apply(profileSizes);
BENCHMARK(BM_ProfileTextPlain)->Apply(profileSizes);
BENCHMARK_TEMPLATE(BM_Scan, ScanForm::Xyz)->Name("BM_Xyz")->Apply(scanSizes);
BENCHMARK(BM_XyzPlain)->Apply(scanSizes);
BENCHMARK_TEMPLATE(BM_Scan, ScanForm::Ply)->Name("BM_Ply")->Apply(scanSizes);
BENCHMARK_TEMPLATE(BM_ScanBytes, ScanForm::Ply)->Name("BM_PlyBytes")->Apply(scanSizes);
BENCHMARK_TEMPLATE(BM_Scan, ScanForm::PlyText)->Name("BM_PlyText")->Apply(scanSizes);
BENCHMARK_TEMPLATE(BM_Scan, ScanForm::Grid)->Name("BM_Grid")->Apply(scanSizes);
BENCHMARK_TEMPLATE(BM_Scan, ScanForm::Stack)->Name("BM_Stack")->Apply(scanSizes);
BENCHMARK_TEMPLATE(BM_ScanBytes, ScanForm::Stack)->Name("BM_StackBytes")->Apply(scanSizes);
BENCHMARK_TEMPLATE(BM_Report, MatchReport::Text, false)->Name("BM_ReportText")->Apply(reportSizes);
BENCHMARK_TEMPLATE(BM_Report, MatchReport::Text, true)->Name("BM_ReportTextCopied")->Apply(reportSizes);
BENCHMARK_TEMPLATE(BM_Report, MatchReport::Csv, false)->Name("BM_ReportCsv")->Apply(reportSizes);
BENCHMARK_TEMPLATE(BM_Report, MatchReport::Csv, true)->Name("BM_ReportCsvCopied")->Apply(reportSizes);
BENCHMARK_TEMPLATE(BM_Report, MatchReport::Json, false)->Name("BM_ReportJson")->Apply(reportSizes);
BENCHMARK_TEMPLATE(BM_Report, MatchReport::Json, true)->Name("BM_ReportJsonCopied")->Apply(reportSizes);
BENCHMARK(BM_Page)->Apply(reportSizes);

}  // namespace
