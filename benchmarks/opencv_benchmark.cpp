// Splitting, line fits, filters and rectangles beside OpenCV: the same simulated profiles, one thread,
// results compared before anything is timed. OpenCV takes single precision and picks its vector instructions
// when it runs; the library takes double where its interface says so.

#include <benchmarks/opencv_peers.h>
#include <benchmarks/peers.h>
#include <kvmath/core/line.h>
#include <kvmath/profile/profile.h>
#include <kvmath/tsearch/line_extraction.h>
#include <kvmath/tsearch/line_geometry.h>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

using namespace KvMath;
using Peers::Comparison;
using Peers::countPoints;
using Peers::groove;
using Peers::simulated;
using Peers::sizeOf;
using Peers::sizes;
using Points = std::vector<KvVector2D<double>>;
using PeerPoints = std::vector<cv::Point2f>;

Points pointsOf(const KvProfile& profile) {
    Points points;
    for (const KvPointXY& p : profile.points)
        points.emplace_back(static_cast<double>(p.x), static_cast<double>(p.y));
    return points;
}

PeerPoints peerOf(const KvProfile& profile) {
    PeerPoints points;
    for (const KvPointXY& p : profile.points)
        points.emplace_back(p.x, p.y);
    return points;
}

// ---- Splitting at the farthest point (Ramer 1972, Douglas and Peucker 1973). A deviation of exactly the
// tolerance splits here and not there. The peer then drops corners, never two in a row, that are nearer than
// tolerance / sqrt(2) to the line through their neighbours. Compared: every corner of the peer is one here,
// and every other one here is that near. Two passes of fits, which the peer lacks, take the corners from
// measured points to where the lines meet: `error` is the greatest distance of a true corner, mm.

constexpr double kTolerance = 0.2;  // mm
constexpr double kNoCut = 1e300;

Points split(const Points& points, int passes) {
    int* breaks = nullptr;
    int nBreaks = 0;
    KvVector2D<double>* vertices = nullptr;
    contour2lines(points.data(), static_cast<int>(points.size()), kTolerance, passes, kNoCut, breaks, nBreaks,
                  vertices);
    Points corners(vertices, vertices + nBreaks);
    delete[] breaks;
    delete[] vertices;
    return corners;
}

void splitPeer(const PeerPoints& points, PeerPoints& corners) {
    cv::approxPolyDP(points, corners, kTolerance, /*closed=*/false);
}

double distance(const KvVector2D<double>& p, const KvVector2D<double>& q) {
    return std::hypot(p.x - q.x, p.y - q.y);
}

double cornerError(const Simulator::SimulatedProfile& truth, const Points& corners) {
    double greatest = 0.0;
    for (size_t k = 1; k < truth.outline.size(); ++k) {
        double least = HUGE_VAL;
        for (const auto& corner : corners)
            least = std::min(least, distance(corner, truth.outline[k].p1));
        greatest = std::max(greatest, least);
    }
    return greatest;
}

Points pointsOf(const PeerPoints& peer) {
    Points points;
    for (const cv::Point2f& p : peer)
        points.emplace_back(static_cast<double>(p.x), static_cast<double>(p.y));
    return points;
}

const char* compareSplits(int size) {
    const KvProfile profile = groove(size);
    const Points own = split(pointsOf(profile), 0);
    PeerPoints corners;
    splitPeer(peerOf(profile), corners);
    const Points peer = pointsOf(corners);
    size_t k = 0;
    for (const auto& corner : own) {
        if (k < peer.size() && distance(corner, peer[k]) == 0.0) {
            ++k;
        } else if (k == 0 || k == peer.size() ||
                   !(dist(LinePP(peer[k - 1], peer[k]), corner) < kTolerance / std::sqrt(2.0))) {
            return "different corners";
        }
    }
    return k == peer.size() && k > 2 ? nullptr : "different corners";
}
Comparison splits(&compareSplits);

void measureSplit(benchmark::State& state, int passes) {
    if (splits.refuses(state))
        return;
    const Simulator::SimulatedProfile source = simulated("v-groove", sizeOf(state));
    const Points points = pointsOf(source.profile);
    Points corners;
    for (auto _ : state)
        benchmark::DoNotOptimize(corners = split(points, passes));
    state.counters["corners"] = static_cast<double>(corners.size());
    state.counters["error"] = cornerError(source, corners);
    countPoints(state);
}

void BM_Split(benchmark::State& state) { measureSplit(state, 0); }
void BM_SplitRefined(benchmark::State& state) { measureSplit(state, 2); }

void BM_SplitOpenCv(benchmark::State& state) {
    if (splits.refuses(state))
        return;
    const Simulator::SimulatedProfile source = simulated("v-groove", sizeOf(state));
    const PeerPoints points = peerOf(source.profile);
    PeerPoints corners;
    for (auto _ : state) {
        splitPeer(points, corners);
        benchmark::DoNotOptimize(corners.data());
    }
    state.counters["corners"] = static_cast<double>(corners.size());
    state.counters["error"] = cornerError(source, pointsOf(corners));
    countPoints(state);
}
BENCHMARK(BM_Split)->Apply(sizes);
BENCHMARK(BM_SplitOpenCv)->Apply(sizes);
BENCHMARK(BM_SplitRefined)->Apply(sizes);

// ---- Lines. Orthogonal least squares on both sides; points and products in double here, in float there,
// sums in double. Least squares of the heights, the last row, is another problem with another solution where
// the line is steep.

KvProfile straight(int size) { return simulated("plate", size).profile; }

/// Greatest distance, mm, between both lines within the view.
double deviation(const LineABC& own, const cv::Vec4f& peer) {
    const KvVector2D<double> at(static_cast<double>(peer[2]), static_cast<double>(peer[3]));
    double greatest = 0.0;
    for (const double x : {-30.0, 30.0}) {
        const double y = at.y + (x - at.x) * static_cast<double>(peer[1]) / static_cast<double>(peer[0]);
        greatest = std::max(greatest, std::fabs(own.a * x + own.b * y + own.c));
    }
    return greatest;
}

double deviationOfLines(int size) {
    const KvProfile profile = straight(size);
    const Points points = pointsOf(profile);
    LineABC own;
    lsd(points.data(), static_cast<int>(points.size()), own);
    cv::Vec4f peer;
    cv::fitLine(peerOf(profile), peer, cv::DIST_L2, 0, 0.01, 0.01);
    return deviation(own, peer);
}

Comparison lines([](int size) { return deviationOfLines(size) < 1e-4 ? nullptr : "different lines"; });

void BM_LineOrthogonal(benchmark::State& state) {
    if (lines.refuses(state))
        return;
    const Points points = pointsOf(straight(sizeOf(state)));
    LineABC line;
    for (auto _ : state) {
        lsd(points.data(), static_cast<int>(points.size()), line);
        benchmark::DoNotOptimize(line);
    }
    state.counters["deviation"] = deviationOfLines(sizeOf(state));
    countPoints(state);
}

void BM_LineOrthogonalOpenCv(benchmark::State& state) {
    if (lines.refuses(state))
        return;
    const PeerPoints points = peerOf(straight(sizeOf(state)));
    cv::Vec4f line;
    for (auto _ : state) {
        cv::fitLine(points, line, cv::DIST_L2, 0, 0.01, 0.01);
        benchmark::DoNotOptimize(line);
    }
    countPoints(state);
}

void BM_LineOfHeights(benchmark::State& state) {
    const KvProfile profile = straight(sizeOf(state));
    KvLine line;
    for (auto _ : state)
        benchmark::DoNotOptimize(line.calcFromPointCloud(profile));
    countPoints(state);
}
BENCHMARK(BM_LineOrthogonal)->Apply(sizes);
BENCHMARK(BM_LineOrthogonalOpenCv)->Apply(sizes);
BENCHMARK(BM_LineOfHeights)->Apply(sizes);

// ---- Least rectangles by rotating calipers around the convex hull; in double here, in float there.
// Compared: areas.

double leastArea(const KvProfile& profile) {
    float width = 0;
    float height = 0;
    profile.calcRect(&width, &height, nullptr, TestSupport::kNaN);
    return static_cast<double>(width) * static_cast<double>(height);
}

double leastAreaPeer(const PeerPoints& points) {
    return static_cast<double>(cv::minAreaRect(points).size.area());
}

Comparison rectangles([](int size) {
    const KvProfile profile = groove(size);
    const double own = leastArea(profile);
    const double peer = leastAreaPeer(peerOf(profile));
    return std::fabs(own - peer) < 1e-4 * own ? nullptr : "different areas";
});

void BM_LeastRectangle(benchmark::State& state) {
    if (rectangles.refuses(state))
        return;
    const KvProfile profile = groove(sizeOf(state));
    for (auto _ : state)
        benchmark::DoNotOptimize(leastArea(profile));
    countPoints(state);
}

void BM_LeastRectangleOpenCv(benchmark::State& state) {
    if (rectangles.refuses(state))
        return;
    const PeerPoints points = peerOf(groove(sizeOf(state)));
    for (auto _ : state)
        benchmark::DoNotOptimize(leastAreaPeer(points));
    countPoints(state);
}
BENCHMARK(BM_LeastRectangle)->Apply(sizes);
BENCHMARK(BM_LeastRectangleOpenCv)->Apply(sizes);

}  // namespace
