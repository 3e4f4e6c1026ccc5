// Splitting, line fits, filters and rectangles beside OpenCV: the same simulated profiles, one thread,
// results compared before anything is timed. OpenCV takes single precision and picks its vector instructions
// when it runs; the library takes double where its interface says so.

#include <benchmarks/inputs.h>
#include <benchmarks/opencv_peers.h>
#include <benchmarks/peers.h>
#include <benchmarks/simulated_lines.h>
#include <kvmath/core/line.h>
#include <kvmath/profile/profile.h>
#include <kvmath/segments/line_extraction.h>
#include <kvmath/segments/line_geometry.h>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

using namespace KvMath;
using Inputs::groove;
using Inputs::Pool;
using Inputs::simulated;
using Peers::Comparison;
using Peers::countPoints;
using Peers::sizeOf;
using Peers::sizes;
using Points = std::vector<KvVector2D<double>>;
using PeerPoints = std::vector<cv::Point2f>;

KvProfile itself(const KvProfile& profile) { return profile; }

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

Points pointsOf(Points points) { return points; }

Points pointsOf(const PeerPoints& peer) {
    Points points;
    for (const cv::Point2f& p : peer)
        points.emplace_back(static_cast<double>(p.x), static_cast<double>(p.y));
    return points;
}

const char* compareSplits(const KvProfile& profile) {
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
Comparison splits([](int size) { return Pool(size, groove).difference(compareSplits); });

/// Of all inputs: mean number of corners, greatest error.
void report(benchmark::State& state, Pool<Points> found) {
    Pool truths(sizeOf(state), [](int size, unsigned seed) { return simulated("v-groove", size, seed); });
    double corners = 0.0;
    double error = 0.0;
    for (size_t k = 0; k < found.count(); ++k) {
        const Points& points = found.next();
        corners += static_cast<double>(points.size());
        error = std::max(error, cornerError(truths.next(), points));
    }
    state.counters["corners"] = corners / static_cast<double>(found.count());
    state.counters["error"] = error;
    countPoints(state);
}

template <class Result, class Input, class Split>
void measureSplits(benchmark::State& state, Input convert(const KvProfile&), Split split) {
    if (splits.refuses(state))
        return;
    const Pool inputs = Pool(sizeOf(state), groove).as(convert);
    Result corners;
    Inputs::measure(state, inputs, [&](const Input& points) { split(points, corners); });
    report(state, inputs.as([&](const Input& points) {
        split(points, corners);
        return pointsOf(corners);
    }));
}

void BM_Split(benchmark::State& state) {
    measureSplits<Points>(state, pointsOf, [](const Points& in, Points& corners) { corners = split(in, 0); });
}
void BM_SplitRefined(benchmark::State& state) {
    measureSplits<Points>(state, pointsOf, [](const Points& in, Points& corners) { corners = split(in, 2); });
}
void BM_SplitOpenCv(benchmark::State& state) { measureSplits<PeerPoints>(state, peerOf, splitPeer); }
BENCHMARK(BM_Split)->Apply(sizes);
BENCHMARK(BM_SplitOpenCv)->Apply(sizes);
BENCHMARK(BM_SplitRefined)->Apply(sizes);

// ---- Lines. Orthogonal least squares on both sides; points and products in double here, in float there,
// sums in double. Least squares of the heights, the last row, is another problem: noise of 0.02 mm on 60 mm
// of a line this flat moves its solution by some 1e-6 mm only, so that it must pass the same comparison.

KvProfile straight(int size, unsigned seed) { return simulated("plate", size, seed).profile; }

LineABC orthogonalLine(const Points& points) {
    LineABC line;
    lsd(points.data(), static_cast<int>(points.size()), line);
    return line;
}

KvLine lineOfHeights(const KvProfile& profile) {
    KvLine line;
    line.calcFromPointCloud(profile);
    return line;
}

cv::Vec4f peerLine(const PeerPoints& points) {
    cv::Vec4f line;
    cv::fitLine(points, line, cv::DIST_L2, 0, 0.01, 0.01);
    return line;
}

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

/// The greater one of both fits.
double deviationOfLines(const KvProfile& profile) {
    const cv::Vec4f peer = peerLine(peerOf(profile));
    const KvLine flat = lineOfHeights(profile);
    LineABC ofHeights;
    ofHeights.a = static_cast<double>(flat.k);
    ofHeights.b = -1.0;
    ofHeights.c = static_cast<double>(flat.b);
    return std::max(deviation(orthogonalLine(pointsOf(profile)), peer), deviation(ofHeights, peer));
}

Comparison lines([](int size) {
    return Pool(size, straight).difference([](const KvProfile& profile) {
        return deviationOfLines(profile) < 1e-4 ? nullptr : "different lines";
    });
});

template <class Input, class Fit>
void measureLines(benchmark::State& state, Input convert(const KvProfile&), Fit fit) {
    if (lines.refuses(state))
        return;
    const Pool profiles(sizeOf(state), straight);
    Inputs::measure(state, profiles.as(convert), [&](const Input& input) {
        auto line = fit(input);
        benchmark::DoNotOptimize(line);
    });
    countPoints(state);
}

void BM_LineOrthogonal(benchmark::State& state) { measureLines(state, pointsOf, orthogonalLine); }
void BM_LineOrthogonalOpenCv(benchmark::State& state) { measureLines(state, peerOf, peerLine); }
void BM_LineOfHeights(benchmark::State& state) { measureLines(state, itself, lineOfHeights); }
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
    return Pool(size, groove).difference([](const KvProfile& profile) {
        const double own = leastArea(profile);
        const double peer = leastAreaPeer(peerOf(profile));
        return std::fabs(own - peer) < 1e-4 * own ? nullptr : "different areas";
    });
});

template <class Input>
void measureRectangles(benchmark::State& state, Input convert(const KvProfile&), double area(const Input&)) {
    if (rectangles.refuses(state))
        return;
    const Pool profiles(sizeOf(state), groove);
    Inputs::measure(state, profiles.as(convert),
                    [&](const Input& input) { benchmark::DoNotOptimize(area(input)); });
    countPoints(state);
}

void BM_LeastRectangle(benchmark::State& state) { measureRectangles(state, itself, leastArea); }
void BM_LeastRectangleOpenCv(benchmark::State& state) { measureRectangles(state, peerOf, leastAreaPeer); }
BENCHMARK(BM_LeastRectangle)->Apply(sizes);
BENCHMARK(BM_LeastRectangleOpenCv)->Apply(sizes);

}  // namespace
