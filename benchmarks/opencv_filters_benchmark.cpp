// Filters and histograms beside OpenCV: the heights of the same simulated profiles as an image of one row of
// floats, one thread, results compared before anything is timed. OpenCV picks its vector instructions when it
// runs.

#include <benchmarks/inputs.h>
#include <benchmarks/opencv_peers.h>
#include <benchmarks/peers.h>
#include <benchmarks/simulated_lines.h>
#include <kvmath/numerics/signal.h>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace {

using namespace KvMath;
using Inputs::groove;
using Inputs::Pool;
using Peers::Comparison;
using Peers::countPoints;
using Peers::sizeOf;
using Peers::sizes;

/// Times `call`, which writes into the Result, on one of the grooves, converted, after the other.
template <class Result, class Input, class Call>
void measureInto(benchmark::State& state, Comparison& comparison, Input convert(const KvProfile&),
                 Call call) {
    if (comparison.refuses(state))
        return;
    Pool inputs = Pool(sizeOf(state), groove).as(convert);
    Result result;
    call(inputs.next(), result);  // its memory is reused from here on
    Inputs::measure(state, std::move(inputs), [&](const Input& input) {
        call(input, result);
        benchmark::DoNotOptimize(result);
    });
    countPoints(state);
}

KvProfile itself(const KvProfile& profile) { return profile; }

cv::Mat rowOf(const KvProfile& profile) {
    cv::Mat row(1, static_cast<int>(profile.points.size()), CV_32F);
    for (int i = 0; i < profile.points.size(); ++i)
        row.at<float>(i) = profile.points[i].y;
    return row;
}

// ---- Medians. medFilt takes the height of the middle point by place, so that a profile in order of x is
// only moved by half a window, the last row. With the heights as places too it is the median of the heights,
// as the peer's, which puts it to the middle of the window. Compared: all values of whole windows, to the
// bit.

KvProfile heightsAsPlaces(const KvProfile& groove) {
    KvProfile profile = groove;
    for (KvPointXY& p : profile.points)
        p.x = p.y;
    return profile;
}

template <int kWindow>
void median(const KvProfile& profile, KvProfile& filtered) {
    if (filtered.points.size() != profile.points.size())
        filtered = profile;
    profile.medFilt(filtered, kWindow);
}

template <int kWindow>
void medianPeer(const cv::Mat& row, cv::Mat& filtered) {
    cv::medianBlur(row, filtered, kWindow);
}

template <int kWindow>
const char* compareMedians(const KvProfile& groove) {
    KvProfile own;
    median<kWindow>(heightsAsPlaces(groove), own);
    cv::Mat peer;
    medianPeer<kWindow>(rowOf(groove), peer);
    for (int i = 0; i < own.points.size() - kWindow; ++i) {
        if (own.points[i].y != peer.at<float>(i + kWindow / 2))
            return "different medians";
    }
    return nullptr;
}
template <int kWindow>
Comparison medians([](int size) { return Pool(size, groove).difference(compareMedians<kWindow>); });

void BM_Median3(benchmark::State& state) {
    measureInto<KvProfile>(state, medians<3>, heightsAsPlaces, median<3>);
}
void BM_Median3OpenCv(benchmark::State& state) {
    measureInto<cv::Mat>(state, medians<3>, rowOf, medianPeer<3>);
}
void BM_Median5(benchmark::State& state) {
    measureInto<KvProfile>(state, medians<5>, heightsAsPlaces, median<5>);
}
void BM_Median5OpenCv(benchmark::State& state) {
    measureInto<cv::Mat>(state, medians<5>, rowOf, medianPeer<5>);
}
void BM_MedianByPlace5(benchmark::State& state) {
    measureInto<KvProfile>(state, medians<5>, itself, median<5>);
}
BENCHMARK(BM_Median3)->Apply(sizes);
BENCHMARK(BM_Median3OpenCv)->Apply(sizes);
BENCHMARK(BM_Median5)->Apply(sizes);
BENCHMARK(BM_Median5OpenCv)->Apply(sizes);
BENCHMARK(BM_MedianByPlace5)->Apply(sizes);

// ---- The low-pass of 20 taps, summed in double here, in float there. Compared: heights behind the first
// window, within a tenth of a micrometre.

constexpr int kTaps = 20;

/// The taps, last first, from the answer to an impulse.
cv::Mat taps() {
    KvProfile impulse;
    for (int i = 0; i < 2 * kTaps; ++i)
        impulse.points.append({static_cast<float>(i), i == kTaps ? 1.0F : 0.0F});
    impulse.zebFilter20(TestSupport::kNaN);
    cv::Mat kernel(1, kTaps, CV_32F);
    for (int j = 0; j < kTaps; ++j)
        kernel.at<float>(kTaps - 1 - j) = impulse.points[kTaps + j].y;
    return kernel;
}

void lowPassPeer(const cv::Mat& row, const cv::Mat& kernel, cv::Mat& filtered) {
    cv::filter2D(row, filtered, CV_32F, kernel, cv::Point(kTaps - 1, 0));
}

void lowPass(const KvProfile& profile, KvProfile& filtered) {
    if (filtered.points.size() != profile.points.size())
        filtered = profile;
    profile.zebFilter20(filtered, TestSupport::kNaN);
}

const char* compareLowPasses(const KvProfile& profile) {
    KvProfile own;
    lowPass(profile, own);
    cv::Mat peer;
    lowPassPeer(rowOf(profile), taps(), peer);
    for (int i = kTaps; i < own.points.size(); ++i) {
        if (!(std::fabs(own.points[i].y - peer.at<float>(i)) < 1e-4F))
            return "different heights";
    }
    return nullptr;
}
Comparison lowPasses([](int size) { return Pool(size, groove).difference(compareLowPasses); });

void BM_LowPass(benchmark::State& state) { measureInto<KvProfile>(state, lowPasses, itself, lowPass); }
void BM_LowPassOpenCv(benchmark::State& state) {
    const cv::Mat kernel = taps();
    measureInto<cv::Mat>(state, lowPasses, rowOf,
                         [&](const cv::Mat& row, cv::Mat& filtered) { lowPassPeer(row, kernel, filtered); });
}
BENCHMARK(BM_LowPass)->Apply(sizes);
BENCHMARK(BM_LowPassOpenCv)->Apply(sizes);

// ---- Histograms of heights. Doubles here, floats there; bins of a power of two, so that both put every
// height into the same one.

constexpr double kFrom = 20.0;
constexpr double kBin = 0.125;
constexpr int kBins = 256;

std::vector<double> heightsOf(const KvProfile& profile) {
    std::vector<double> heights;
    for (const KvPointXY& p : profile.points)
        heights.push_back(static_cast<double>(p.y));
    return heights;
}

struct Counts {
    std::vector<double> centres;
    std::vector<int> counts;
};

void count(const std::vector<double>& heights, Counts& result) {
    hist(heights, kFrom, kBin, kBins, /*dropOutside=*/true, result.centres, result.counts);
}

void countPeer(const cv::Mat& row, cv::Mat& counts) {
    const int channel = 0;
    const float ends[] = {static_cast<float>(kFrom), static_cast<float>(kFrom + kBin * kBins)};
    const float* ranges[] = {ends};
    cv::calcHist(&row, 1, &channel, cv::noArray(), counts, 1, &kBins, ranges);
}

const char* compareHistograms(const KvProfile& profile) {
    Counts own;
    count(heightsOf(profile), own);
    cv::Mat peer;
    countPeer(rowOf(profile), peer);
    const auto isSame = [](int a, float b) { return static_cast<float>(a) == b; };
    return std::equal(own.counts.begin(), own.counts.end(), peer.begin<float>(), isSame) ? nullptr
                                                                                         : "different counts";
}
Comparison histograms([](int size) { return Pool(size, groove).difference(compareHistograms); });

void BM_Histogram(benchmark::State& state) { measureInto<Counts>(state, histograms, heightsOf, count); }
void BM_HistogramOpenCv(benchmark::State& state) {
    measureInto<cv::Mat>(state, histograms, rowOf, countPeer);
}
BENCHMARK(BM_Histogram)->Apply(sizes);
BENCHMARK(BM_HistogramOpenCv)->Apply(sizes);

}  // namespace
