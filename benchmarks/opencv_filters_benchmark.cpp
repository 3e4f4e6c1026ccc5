// Filters and histograms beside OpenCV: the heights of the same simulated profiles as an image of one row of
// floats, one thread, results compared before anything is timed. OpenCV picks its vector instructions when it
// runs.

#include <benchmarks/opencv_peers.h>
#include <benchmarks/peers.h>
#include <kvmath/numerics/signal.h>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

using namespace KvMath;
using Peers::Comparison;
using Peers::countPoints;
using Peers::groove;
using Peers::sizeOf;
using Peers::sizes;

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

KvProfile heightsAsPlaces(int size) {
    KvProfile profile = groove(size);
    for (KvPointXY& p : profile.points)
        p.x = p.y;
    return profile;
}

template <int kWindow>
const char* compareMedians(int size) {
    const KvProfile profile = heightsAsPlaces(size);
    KvProfile own(profile);
    profile.medFilt(own, kWindow);
    cv::Mat peer;
    cv::medianBlur(rowOf(profile), peer, kWindow);
    for (int i = 0; i < size - kWindow; ++i) {
        if (own.points[i].y != peer.at<float>(i + kWindow / 2))
            return "different medians";
    }
    return nullptr;
}
template <int kWindow>
Comparison medians(&compareMedians<kWindow>);

void filter(benchmark::State& state, const KvProfile& profile, int window) {
    KvProfile filtered(profile);
    filtered.points.detach();
    for (auto _ : state) {
        profile.medFilt(filtered, window);
        benchmark::DoNotOptimize(filtered.points.constBegin());
    }
    countPoints(state);
}

template <int kWindow>
void median(benchmark::State& state) {
    if (!medians<kWindow>.refuses(state))
        filter(state, heightsAsPlaces(sizeOf(state)), kWindow);
}

template <int kWindow>
void medianPeer(benchmark::State& state) {
    if (medians<kWindow>.refuses(state))
        return;
    const cv::Mat row = rowOf(groove(sizeOf(state)));
    cv::Mat filtered;
    for (auto _ : state) {
        cv::medianBlur(row, filtered, kWindow);
        benchmark::DoNotOptimize(filtered.data);
    }
    countPoints(state);
}

void BM_Median3(benchmark::State& state) { median<3>(state); }
void BM_Median3OpenCv(benchmark::State& state) { medianPeer<3>(state); }
void BM_Median5(benchmark::State& state) { median<5>(state); }
void BM_Median5OpenCv(benchmark::State& state) { medianPeer<5>(state); }
void BM_MedianByPlace5(benchmark::State& state) { filter(state, groove(sizeOf(state)), 5); }
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

const char* compareLowPasses(int size) {
    const KvProfile profile = groove(size);
    KvProfile own(profile);
    profile.zebFilter20(own, TestSupport::kNaN);
    cv::Mat peer;
    lowPassPeer(rowOf(profile), taps(), peer);
    for (int i = kTaps; i < size; ++i) {
        if (!(std::fabs(own.points[i].y - peer.at<float>(i)) < 1e-4F))
            return "different heights";
    }
    return nullptr;
}
Comparison lowPasses(&compareLowPasses);

void BM_LowPass(benchmark::State& state) {
    if (lowPasses.refuses(state))
        return;
    const KvProfile profile = groove(sizeOf(state));
    KvProfile filtered(profile);
    filtered.points.detach();
    for (auto _ : state) {
        profile.zebFilter20(filtered, TestSupport::kNaN);
        benchmark::DoNotOptimize(filtered.points.constBegin());
    }
    countPoints(state);
}

void BM_LowPassOpenCv(benchmark::State& state) {
    if (lowPasses.refuses(state))
        return;
    const cv::Mat row = rowOf(groove(sizeOf(state)));
    const cv::Mat kernel = taps();
    cv::Mat filtered;
    for (auto _ : state) {
        lowPassPeer(row, kernel, filtered);
        benchmark::DoNotOptimize(filtered.data);
    }
    countPoints(state);
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

void countPeer(const cv::Mat& row, cv::Mat& counts) {
    const int channel = 0;
    const float ends[] = {static_cast<float>(kFrom), static_cast<float>(kFrom + kBin * kBins)};
    const float* ranges[] = {ends};
    cv::calcHist(&row, 1, &channel, cv::noArray(), counts, 1, &kBins, ranges);
}

Comparison histograms([](int size) {
    const KvProfile profile = groove(size);
    std::vector<double> centres;
    std::vector<int> own;
    hist(heightsOf(profile), kFrom, kBin, kBins, /*dropOutside=*/true, centres, own);
    cv::Mat peer;
    countPeer(rowOf(profile), peer);
    const auto isSame = [](int a, float b) { return static_cast<float>(a) == b; };
    return std::equal(own.begin(), own.end(), peer.begin<float>(), isSame) ? nullptr : "different counts";
});

void BM_Histogram(benchmark::State& state) {
    if (histograms.refuses(state))
        return;
    const std::vector<double> heights = heightsOf(groove(sizeOf(state)));
    std::vector<double> centres;
    std::vector<int> counts;
    for (auto _ : state) {
        hist(heights, kFrom, kBin, kBins, /*dropOutside=*/true, centres, counts);
        benchmark::DoNotOptimize(counts.data());
    }
    countPoints(state);
}

void BM_HistogramOpenCv(benchmark::State& state) {
    if (histograms.refuses(state))
        return;
    const cv::Mat row = rowOf(groove(sizeOf(state)));
    cv::Mat counts;
    for (auto _ : state) {
        countPeer(row, counts);
        benchmark::DoNotOptimize(counts.data);
    }
    countPoints(state);
}
BENCHMARK(BM_Histogram)->Apply(sizes);
BENCHMARK(BM_HistogramOpenCv)->Apply(sizes);

}  // namespace
