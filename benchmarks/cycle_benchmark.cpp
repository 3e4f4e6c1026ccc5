// The whole cycle on a groove of 3,200 points, from the scanner's buffer to six values, its stages, and the
// unit of comparison: one plain pass that computes the distances of neighbouring points.

#include <kvmath/profile/profile.h>
#include <kvmath/tsearch/finder.h>
#include <simulator/profile_simulator.h>
#include <tests/support/groove_template.h>

#include <benchmark/benchmark.h>

#include <cmath>

namespace {

using namespace KvMath;

constexpr int kPoints = 3200;
constexpr int kNoiseWindow = 10, kNoiseJumps = 2, kMedianWindow = 5;
constexpr float kNoiseJump = 1.0F;

std::vector<float> grooveBuffer() {
    Simulator::ProfileRecipe recipe;
    recipe.points = kPoints;
    recipe.noise = 0.02;
    recipe.rotation = 3;
    recipe.shiftY = 40;
    return Simulator::xyBuffer(Simulator::simulateProfile(recipe)->profile);
}

KvProfile profileOf(const std::vector<float>& buffer) {
    return {buffer.data(), static_cast<unsigned short>(buffer.size() / 2)};
}

KvProfile filteredGroove() {
    KvProfile profile = profileOf(grooveBuffer());
    profile.removeNoise(kNoiseWindow, kNoiseJumps, kNoiseJump, 0.0F);
    KvProfile smooth(profile);
    profile.medFilt(smooth, kMedianWindow);
    return smooth;
}

void countPoints(benchmark::State& state) { state.SetItemsProcessed(state.iterations() * kPoints); }

void BM_Cycle(benchmark::State& state) {
    const std::vector<float> buffer = grooveBuffer();
    TestSupport::GrooveTemplate groove;
    QList<LinePP> segments;
    QList<TSLinesIndecies> matches;
    for (auto _ : state) {
        KvProfile profile;
        profile.copyFromXYPointsBuffer(buffer.data(), kPoints);
        profile.removeNoise(kNoiseWindow, kNoiseJumps, kNoiseJump, 0.0F);
        KvProfile smooth(profile);
        profile.medFilt(smooth, kMedianWindow);
        findTemplate(smooth, &groove.lines, groove.params, segments, matches);
        if (matches.size() != 1 || !evalLinesSet(segments, matches[0], groove.measurements))
            state.SkipWithError("the groove was not measured");
        benchmark::DoNotOptimize(groove.depth->getShift());
    }
    countPoints(state);
}
BENCHMARK(BM_Cycle)->Unit(benchmark::kMicrosecond);

// Distances of neighbours, stored; the points as the buffer holds them.
void BM_PlainPass(benchmark::State& state) {
    const std::vector<float> buffer = grooveBuffer();
    std::vector<float> distances(kPoints);
    for (auto _ : state) {
        for (std::size_t i = 1; i < kPoints; ++i) {
            const float dx = buffer[2 * i] - buffer[2 * i - 2], dy = buffer[2 * i + 1] - buffer[2 * i - 1];
            distances[i] = std::sqrt(dx * dx + dy * dy);
        }
        benchmark::DoNotOptimize(distances.data());
        benchmark::ClobberMemory();
    }
    countPoints(state);
}
BENCHMARK(BM_PlainPass)->Unit(benchmark::kMicrosecond);

// The same over the points of a profile with the library's distance.
void BM_PlainPassOverProfile(benchmark::State& state) {
    const KvProfile profile = profileOf(grooveBuffer());
    std::vector<float> distances(kPoints);
    for (auto _ : state) {
        for (int i = 1; i < kPoints; ++i)
            distances[static_cast<std::size_t>(i)] =
                profile.points.at(i).calcDistance(profile.points.at(i - 1));
        benchmark::DoNotOptimize(distances.data());
        benchmark::ClobberMemory();
    }
    countPoints(state);
}
BENCHMARK(BM_PlainPassOverProfile)->Unit(benchmark::kMicrosecond);

void BM_StageBuffer(benchmark::State& state) {
    const std::vector<float> buffer = grooveBuffer();
    for (auto _ : state) {
        KvProfile profile;
        profile.copyFromXYPointsBuffer(buffer.data(), kPoints);
        benchmark::DoNotOptimize(profile.points);
    }
    countPoints(state);
}
BENCHMARK(BM_StageBuffer)->Unit(benchmark::kMicrosecond);

// Works in place: each pass begins with a copy, which shares the points until removeNoise writes.
void BM_StageRemoveNoise(benchmark::State& state) {
    const KvProfile raw = profileOf(grooveBuffer());
    for (auto _ : state) {
        KvProfile profile(raw);
        profile.removeNoise(kNoiseWindow, kNoiseJumps, kNoiseJump, 0.0F);
        benchmark::DoNotOptimize(profile.points);
    }
    countPoints(state);
}
BENCHMARK(BM_StageRemoveNoise)->Unit(benchmark::kMicrosecond);

void BM_StageMedian(benchmark::State& state) {
    const KvProfile profile = profileOf(grooveBuffer());
    for (auto _ : state) {
        KvProfile smooth(profile);
        profile.medFilt(smooth, kMedianWindow);
        benchmark::DoNotOptimize(smooth.points);
    }
    countPoints(state);
}
BENCHMARK(BM_StageMedian)->Unit(benchmark::kMicrosecond);

// Argument 1 searches the template, 0 extracts the segments alone.
void BM_StageFind(benchmark::State& state) {
    const KvProfile profile = filteredGroove();
    TestSupport::GrooveTemplate groove;
    QList<LinePP> segments;
    QList<TSLinesIndecies> matches;
    for (auto _ : state)
        findTemplate(profile, state.range(0) == 1 ? &groove.lines : nullptr, groove.params, segments,
                     matches);
    countPoints(state);
}
BENCHMARK(BM_StageFind)->ArgName("template")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_StageEvaluate(benchmark::State& state) {
    TestSupport::GrooveTemplate groove;
    QList<LinePP> segments;
    QList<TSLinesIndecies> matches;
    findTemplate(filteredGroove(), &groove.lines, groove.params, segments, matches);
    for (auto _ : state)
        benchmark::DoNotOptimize(evalLinesSet(segments, matches[0], groove.measurements));
}
BENCHMARK(BM_StageEvaluate)->Unit(benchmark::kMicrosecond);

}  // namespace
