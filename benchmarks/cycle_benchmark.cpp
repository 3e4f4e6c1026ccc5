// The whole cycle on grooves of 3,200 points, from the scanner's buffer to six values, its stages, and the
// unit of comparison: one plain pass that computes the distances of neighbouring points.

#include <benchmarks/inputs.h>
#include <benchmarks/simulated_lines.h>
#include <kvmath/profile/profile.h>
#include <kvmath/tsearch/finder.h>
#include <tests/support/groove_template.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace {

using namespace KvMath;

constexpr int kPoints = 3200;
constexpr int kNoiseWindow = 10, kNoiseJumps = 2, kMedianWindow = 5;
constexpr float kNoiseJump = 1.0F;

using Buffer = std::vector<float>;

/// 64 of them, so that no branch is learnt by heart.
template <class Make>
auto grooves(Make make) {
    constexpr unsigned kCount = 64;
    std::vector<decltype(make(KvProfile()))> made;
    for (unsigned seed = 1; seed <= kCount; ++seed)
        made.push_back(make(Inputs::groove(kPoints, seed)));
    return Inputs::Pool(std::move(made));
}

KvProfile itself(const KvProfile& groove) { return groove; }

KvProfile filtered(const KvProfile& groove) {
    KvProfile profile(groove);
    profile.removeNoise(kNoiseWindow, kNoiseJumps, kNoiseJump, 0.0F);
    KvProfile smooth(profile);
    profile.medFilt(smooth, kMedianWindow);
    return smooth;
}

template <class Input, class Call>
void onGrooves(benchmark::State& state, Inputs::Pool<Input> inputs, Call call) {
    Inputs::measure(state, std::move(inputs), call);
    state.SetItemsProcessed(state.iterations() * kPoints);
}

void BM_Cycle(benchmark::State& state) {
    TestSupport::GrooveTemplate groove;
    QList<LinePP> segments;
    QList<TSLinesIndecies> matches;
    onGrooves(state, grooves(Simulator::xyBuffer), [&](const Buffer& buffer) {
        KvProfile profile;
        profile.copyFromXYPointsBuffer(buffer.data(), kPoints);
        profile.removeNoise(kNoiseWindow, kNoiseJumps, kNoiseJump, 0.0F);
        KvProfile smooth(profile);
        profile.medFilt(smooth, kMedianWindow);
        findTemplate(smooth, &groove.lines, groove.params, segments, matches);
        if (matches.size() != 1 || !evalLinesSet(segments, matches[0], groove.measurements))
            state.SkipWithError("the groove was not measured");
        benchmark::DoNotOptimize(groove.depth->getShift());
    });
}
BENCHMARK(BM_Cycle)->Unit(benchmark::kMicrosecond);

/// So many points, in the storage that is there.
void setSize(QList<KvPointXY>& points, decltype(QList<KvPointXY>().size()) size) {
    while (points.size() > size)
        points.removeLast();
    while (points.size() < size)
        points.append(KvPointXY(0.0F, 0.0F));
}

// The same in work space that the caller keeps: profiles, lists and the finder's own.
void BM_CycleInPlace(benchmark::State& state) {
    TestSupport::GrooveTemplate groove;
    TemplateFinder finder;
    QList<LinePP> segments;
    QList<TSLinesIndecies> matches;
    KvProfile profile, smooth;
    auto inputs = grooves(Simulator::xyBuffer);
    const auto cycle = [&](const Buffer& buffer) {
        setSize(profile.points, kPoints);
        const auto to = profile.points.begin();
        for (int i = 0; i < kPoints; ++i)
            to[i] = KvPointXY(buffer[std::size_t(2 * i)], buffer[std::size_t(2 * i) + 1]);
        profile.removeNoise(kNoiseWindow, kNoiseJumps, kNoiseJump, 0.0F);
        setSize(smooth.points, profile.points.size());
        std::copy(profile.points.constBegin(), profile.points.constEnd(), smooth.points.begin());
        profile.medFilt(smooth, kMedianWindow);
        finder.find(smooth, &groove.lines, groove.params, segments, matches);
        if (matches.size() != 1 || !evalLinesSet(segments, matches[0], groove.measurements))
            state.SkipWithError("the groove was not measured");
        benchmark::DoNotOptimize(groove.depth->getShift());
    };
    for (std::size_t i = 0; i < inputs.count(); ++i)  // the work space reaches its size
        cycle(inputs.next());
    onGrooves(state, std::move(inputs), cycle);
}
BENCHMARK(BM_CycleInPlace)->Unit(benchmark::kMicrosecond);

// Distances of neighbours, stored; the points as the buffer holds them.
void BM_PlainPass(benchmark::State& state) {
    std::vector<float> distances(kPoints);
    onGrooves(state, grooves(Simulator::xyBuffer), [&](const Buffer& buffer) {
        for (std::size_t i = 1; i < kPoints; ++i) {
            const float dx = buffer[2 * i] - buffer[2 * i - 2], dy = buffer[2 * i + 1] - buffer[2 * i - 1];
            distances[i] = std::sqrt(dx * dx + dy * dy);
        }
        benchmark::DoNotOptimize(distances.data());
    });
}
BENCHMARK(BM_PlainPass)->Unit(benchmark::kMicrosecond);

// The same over the points of a profile with the library's distance.
void BM_PlainPassOverProfile(benchmark::State& state) {
    std::vector<float> distances(kPoints);
    onGrooves(state, grooves(itself), [&](const KvProfile& profile) {
        for (int i = 1; i < kPoints; ++i)
            distances[static_cast<std::size_t>(i)] =
                profile.points.at(i).calcDistance(profile.points.at(i - 1));
        benchmark::DoNotOptimize(distances.data());
    });
}
BENCHMARK(BM_PlainPassOverProfile)->Unit(benchmark::kMicrosecond);

void BM_StageBuffer(benchmark::State& state) {
    onGrooves(state, grooves(Simulator::xyBuffer), [](const Buffer& buffer) {
        KvProfile profile;
        profile.copyFromXYPointsBuffer(buffer.data(), kPoints);
        benchmark::DoNotOptimize(profile.points);
    });
}
BENCHMARK(BM_StageBuffer)->Unit(benchmark::kMicrosecond);

// Works in place: each pass begins with a copy, which shares the points until removeNoise writes.
void BM_StageRemoveNoise(benchmark::State& state) {
    onGrooves(state, grooves(itself), [](const KvProfile& raw) {
        KvProfile profile(raw);
        profile.removeNoise(kNoiseWindow, kNoiseJumps, kNoiseJump, 0.0F);
        benchmark::DoNotOptimize(profile.points);
    });
}
BENCHMARK(BM_StageRemoveNoise)->Unit(benchmark::kMicrosecond);

void BM_StageMedian(benchmark::State& state) {
    onGrooves(state, grooves(itself), [](const KvProfile& profile) {
        KvProfile smooth(profile);
        profile.medFilt(smooth, kMedianWindow);
        benchmark::DoNotOptimize(smooth.points);
    });
}
BENCHMARK(BM_StageMedian)->Unit(benchmark::kMicrosecond);

// Argument 1 searches the template, 0 extracts the segments alone.
void BM_StageFind(benchmark::State& state) {
    TestSupport::GrooveTemplate groove;
    QList<LinePP> segments;
    QList<TSLinesIndecies> matches;
    onGrooves(state, grooves(filtered), [&](const KvProfile& profile) {
        findTemplate(profile, state.range(0) == 1 ? &groove.lines : nullptr, groove.params, segments,
                     matches);
    });
}
BENCHMARK(BM_StageFind)->ArgName("template")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

struct Found {
    QList<LinePP> segments;
    QList<TSLinesIndecies> matches;
};

void BM_StageEvaluate(benchmark::State& state) {
    TestSupport::GrooveTemplate groove;
    const auto find = [&](const KvProfile& raw) {
        Found found;
        findTemplate(filtered(raw), &groove.lines, groove.params, found.segments, found.matches);
        return found;
    };
    Inputs::measure(state, grooves(find), [&](Found& found) {
        benchmark::DoNotOptimize(evalLinesSet(found.segments, found.matches[0], groove.measurements));
    });
}
BENCHMARK(BM_StageEvaluate)->Unit(benchmark::kMicrosecond);

}  // namespace
