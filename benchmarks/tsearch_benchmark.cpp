// Segments of a groove profile and the template search. The plain pass (distances of neighbouring points, one
// root each) is the yardstick of the extraction; the literal form is the same work without any shortcut.

#include <benchmarks/inputs.h>
#include <kvmath/segments/line_extraction.h>
#include <kvmath/tsearch/search.h>

#include <tests/support/literal_lines.h>
#include <tests/support/point_runs.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

using namespace KvMath;
using TestSupport::PointRun;

namespace {

constexpr double kGap = 2.0;        // mm
constexpr double kTolerance = 0.2;  // mm
constexpr double kNoCut = 1e300;

/// Noise is the same per point at every size, so that all sizes have the same six flanks: a groove of six
/// straight flanks across 96 mm, noise of 0.02 mm, coordinates of single precision as profiles have.
PointRun grooveOf(int n, unsigned seed) {
    const double xs[] = {-48, -30, -12, -6, 6, 12, 48.1};
    const double ys[] = {300, 300, 290, 284, 284, 290, 302};
    TestSupport::Draws draws(seed);
    PointRun run;
    for (int i = 0, k = 0; i < n; ++i) {
        const double x = -48 + 96.0 * i / n;
        while (x > xs[k + 1])
            ++k;
        const double y = ys[k] + (ys[k + 1] - ys[k]) * (x - xs[k]) / (xs[k + 1] - xs[k]) + draws.normal(0.02);
        run.emplace_back(static_cast<float>(x), static_cast<float>(y));
    }
    return run;
}

void countPoints(benchmark::State& state) { state.SetItemsProcessed(state.iterations() * state.range(0)); }

template <class Call>
void onGrooves(benchmark::State& state, Call call) {
    Inputs::measure(state, Inputs::Pool(static_cast<int>(state.range(0)), grooveOf), call);
    countPoints(state);
}

void BM_PlainPass(benchmark::State& state) {
    onGrooves(state, [](const PointRun& run) {
        double sum = 0;
        for (size_t k = 1; k < run.size(); ++k)
            sum += TestSupport::Literal::distance(run[k], run[k - 1]);
        benchmark::DoNotOptimize(sum);
    });
}

int extract(const PointRun& run, int iterations) {
    KvVector2D<double>** contours = nullptr;
    int nContours = 0;
    int* sizes = nullptr;
    profile2contours(run.data(), static_cast<int>(run.size()), kGap, contours, nContours, sizes);
    int segments = 0;
    for (int k = 0; k < nContours; ++k) {
        int* breaks = nullptr;
        int nBreaks = 0;
        KvVector2D<double>* vertices = nullptr;
        contour2lines(contours[k], sizes[k], kTolerance, iterations, kNoCut, breaks, nBreaks, vertices);
        segments += nBreaks - 1;
        delete[] breaks;
        delete[] vertices;
        delete[] contours[k];
    }
    delete[] contours;
    delete[] sizes;
    return segments;
}

void BM_ExtractSegments(benchmark::State& state) {
    int segments = 0;
    onGrooves(state, [&](const PointRun& run) { segments = extract(run, static_cast<int>(state.range(1))); });
    state.counters["segments"] = segments;
}

void BM_ExtractSegmentsLiterally(benchmark::State& state) {
    onGrooves(state, [](const PointRun& run) {
        for (const PointRun& contour : TestSupport::Literal::contours(run, kGap))
            benchmark::DoNotOptimize(TestSupport::Literal::pieces(contour, kTolerance, 2, kNoCut));
    });
}

/// Every point a contour of its own, 0.5 mm from its neighbours with a gap of 0.4 mm.
void BM_ManyContours(benchmark::State& state) {
    PointRun run;
    for (int k = 0; k < state.range(0); ++k)
        run.emplace_back(0.5 * k, 300.0);
    for (auto _ : state) {
        KvVector2D<double>** contours = nullptr;
        int nContours = 0;
        int* sizes = nullptr;
        profile2contours(run.data(), static_cast<int>(run.size()), 0.4, contours, nContours, sizes);
        state.counters["contours"] = nContours;
        for (int k = 0; k < nContours; ++k)
            delete[] contours[k];
        delete[] contours;
        delete[] sizes;
    }
    countPoints(state);
}

/// A zigzag of segments, 8 mm high, no two alike.
std::vector<LinePP> zigzag(int count, unsigned seed) {
    TestSupport::Draws draws(seed);
    std::vector<LinePP> lines;
    KvVector2D<double> from(0.0, 0.0);
    for (int k = 1; k <= count; ++k) {
        const KvVector2D<double> to(10.0 * k, k % 2 * 8.0 + draws.real(-1.0, 1.0));
        lines.emplace_back(from, to);
        from = to;
    }
    return lines;
}

/// A zigzag searched for a stretch of itself: each line begins within 2 mm of the end of the one before and
/// turns by 0.5 to 2 radians. All assignments are enumerated.
void BM_TemplateSearch(benchmark::State& state) {
    const int nLines = static_cast<int>(state.range(0));
    const int T = static_cast<int>(state.range(1));
    DefaultCheckFunctionParams params;
    initDefaultCheckFunctionParams(params, T);
    for (int k = 1; k < T; ++k) {
        params.maxDistance[k * T + k - 1] = 2;
        params.minAngle[k * T + k - 1] = 0.5;
        params.maxAngle[k * T + k - 1] = 2;
    }
    int found = 0;
    Inputs::measure(state, Inputs::Pool(nLines, zigzag), [&](std::vector<LinePP>& lines) {
        int* codes = nullptr;
        found = 0;
        while (templateSearch(lines.data(), nLines, T, &defaultCheckFunction, &params, nullptr, nullptr,
                              /*findBest=*/false, /*allowReversed=*/true, codes))
            ++found;
        delete[] codes;
    });
    state.counters["found"] = found;
    clearDefaultCheckFunctionParams(params);
}

BENCHMARK(BM_PlainPass)->ArgName("points")->ArgsProduct({{100, 1000, 3200, 10000, 65535, 100000, 1000000}});
BENCHMARK(BM_ExtractSegments)
    ->ArgNames({"points", "passes"})
    ->ArgsProduct({{100, 3200, 65535, 1000000}, {0, 2}})
    ->Args({3200, 1000000});
BENCHMARK(BM_ExtractSegmentsLiterally)->ArgName("points")->Arg(100)->Arg(3200)->Arg(65535)->Arg(1000000);
BENCHMARK(BM_ManyContours)->ArgName("points")->RangeMultiplier(10)->Range(100, 1000000);
BENCHMARK(BM_TemplateSearch)
    ->ArgNames({"segments", "lines"})
    ->ArgsProduct({{5, 10, 20, 50, 100, 200}, {2, 3, 5, 8}});

}  // namespace
