// Matching a stack of profiles on one core, from its file to the text of the result, beside the library's
// search and measurements on the same profiles in memory: what reading, fitting the lines, what is said
// beside the values, and the table cost.

#include <benchmarks/scratch_folder.h>
#include <benchmarks/simulated_lines.h>
#include <kvmath/profile/profile_zset.h>
#include <kvmath/tsearch/finder.h>
#include <kvmeasure/report/match_report.h>
#include <kvmeasure/scans/profile_sequence.h>
#include <tests/support/groove_template.h>

#include <QtCore/QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

using namespace KvMath;

constexpr int kProfiles = 2000;

/// Grooves of one size, 64 different ones over and over.
KvProfileZSet stackOf(int points) {
    constexpr int kDifferent = 64;
    std::vector<KvProfileZ> grooves;
    for (unsigned seed = 1; seed <= kDifferent; ++seed) {
        grooves.emplace_back();
        grooves.back().points = Inputs::groove(points, seed).points;
    }
    KvProfileZSet stack;
    for (int i = 0; i < kProfiles; ++i) {
        KvProfileZ profile = grooves[std::size_t(i % kDifferent)];
        profile.z = 0.1F * static_cast<float>(i);
        stack.append(profile);
    }
    return stack;
}

KvMeasure::InspectionPlan groovePlan() {
    const TestSupport::GrooveTemplate groove;
    KvMeasure::InspectionPlan file;
    file.lines = groove.lines;
    file.measurements = groove.measurements;
    file.search = groove.params;
    file.hasSearch = true;
    file.lineNames = QStringList{"left", "fall", "rise", "right"};
    return file;
}

void countProfiles(benchmark::State& state) { state.SetItemsProcessed(state.iterations() * kProfiles); }

void BM_SearchInMemory(benchmark::State& state) {
    const KvProfileZSet stack = stackOf(static_cast<int>(state.range(0)));
    TestSupport::GrooveTemplate groove;
    QList<LinePP> segments;
    QList<TSLinesIndecies> matches;
    for (auto _ : state) {
        for (const KvProfileZ& profile : stack.profiles) {
            findTemplate(profile, &groove.lines, groove.params, segments, matches);
            if (matches.size() != 1 || !evalLinesSet(segments, matches[0], groove.measurements))
                state.SkipWithError("the groove was not measured");
        }
    }
    countProfiles(state);
}

void BM_MatchFile(benchmark::State& state) {
    const QTemporaryDir folder(Inputs::scratchFolder());
    const QString path = folder.filePath("stack.kvs");
    if (!stackOf(static_cast<int>(state.range(0))).writeToFile(path))
        state.SkipWithError("the stack was not written");
    const KvMeasure::InspectionPlan file = groovePlan();
    KvMeasure::PartSettings settings;
    settings.givesReason = false;
    for (auto _ : state) {
        KvMeasure::PartMeasurement part(file, settings);
        KvMeasure::ProfileSequence profiles(path);
        qint64 letters = 0;
        KvMeasure::MatchReport report(KvMeasure::MatchReport::Text, file, /*allAssignments=*/false,
                                      /*keepValues=*/false,
                                      [&letters](const QString& text) { letters += text.size(); });
        KvMeasure::LoadedProfile loaded;
        while (profiles.next(loaded)) {
            KvMeasure::MatchedProfile matched;
            static_cast<KvMeasure::MeasuredPart&>(matched) = part.measure(loaded.profile);
            matched.name = loaded.name;
            matched.z = double(loaded.z);
            if (matched.found != 1)
                state.SkipWithError("the groove was not found");
            report.add(matched);
        }
        report.finish();
        benchmark::DoNotOptimize(letters);
    }
    countProfiles(state);
}

BENCHMARK(BM_SearchInMemory)->ArgName("points")->Arg(411)->Arg(3200)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MatchFile)->ArgName("points")->Arg(411)->Arg(3200)->Unit(benchmark::kMillisecond);

}  // namespace
