// Cloud filters, planes and outlines beside the Point Cloud Library: the same clouds, one thread, results
// compared before anything is timed. Rows that do not compute the same thing say so in their names.

#include <benchmarks/inputs.h>
#include <benchmarks/peers.h>
#include <kvmath/contours/hull.h>
#include <kvmath/core/plane.h>
#include <kvmath/numerics/fitting.h>
#include <kvmath/profile/profile.h>

#include <pcl/common/centroid.h>
#include <pcl/features/normal_3d.h>
#include <pcl/filters/radius_outlier_removal.h>
#include <pcl/filters/voxel_grid.h>
#include <pcl/surface/concave_hull.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <vector>

namespace {

using namespace Peers;
using Inputs::Pool;
using Cloud = KvMath::KvPointCloud<KvMath::KvPointXYZ>;
using Points = std::vector<KvMath::KvPointXY>;
using PeerCloud = pcl::PointCloud<pcl::PointXYZ>;

constexpr float kCell = 2.0F;  // mm; a power of two, so that both libraries put points into the same cells
constexpr int kLeast = 50;     // points of a cell, or neighbours

/// Points on the faces of cells are left out: the library counts them on both sides.
float offFaces(float at) { return std::fmod(at, kCell) == 0.0F ? at + 0.25F : at; }

/// A bumpy surface of 100 points per square centimetre, with one point of a hundred astray above it.
Cloud surface(int size, unsigned seed) {
    TestSupport::Draws draws(seed);
    const double side = std::sqrt(static_cast<double>(size));
    Cloud cloud;
    cloud.points.append({0, 0, 0});
    const auto place = [&] { return offFaces(static_cast<float>(draws.real(0.0, side))); };
    while (cloud.points.size() < size) {
        const float x = place();
        const float z = place();
        const float stray = draws.chance(0.01) ? static_cast<float>(draws.real(3.0, 30.0)) : 0.0F;
        cloud.points.append({x, offFaces(6.0F + std::sin(x * 0.1F) * 5.0F + stray), z});
    }
    return cloud;
}

/// A scanner line of 20 points per mm with strays above it.
KvMath::KvProfile line(int size, unsigned seed) {
    TestSupport::Draws draws(seed);
    KvMath::KvProfile profile;
    for (int i = 0; i < size; ++i) {
        const double stray = draws.chance(0.02) ? draws.real(1.0, 20.0) : 0.0;
        profile.points.append(
            {0.05F * static_cast<float>(i), static_cast<float>(draws.normal(0.02) + stray)});
    }
    return profile;
}

pcl::PointXYZ peerOf(const KvMath::KvPointXYZ& p) { return {p.x, p.y, p.z}; }
pcl::PointXYZ peerOf(const KvMath::KvPointXY& p) { return {p.x, p.y, 0.0F}; }

template <class Points>
PeerCloud::Ptr peerCloud(const Points& points) {
    auto peer = std::make_shared<PeerCloud>();
    for (const auto& p : points)
        peer->push_back(peerOf(p));
    return peer;
}
PeerCloud::Ptr peerOf(const Cloud& cloud) { return peerCloud(cloud.points); }
PeerCloud::Ptr peerOf(const KvMath::KvProfile& profile) { return peerCloud(profile.points); }
PeerCloud::Ptr peerOf(const Points& points) { return peerCloud(points); }

/// Inputs of the size that the row asks for, as the peer takes them.
template <class Make>
Pool<PeerCloud::Ptr> peersOf(const benchmark::State& state, Make make) {
    return Pool(sizeOf(state), make).as([](const auto& input) { return peerOf(input); });
}

bool isSame(const PeerCloud& a, const PeerCloud& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const auto& p, const auto& q) { return p.x == q.x && p.y == q.y && p.z == q.z; });
}

// ---- Cells with few points. The library removes their points; the peer puts one centre in the place of the
// points of every other cell, which is a further step. Compared: the points in cells that stay.

void setUp(pcl::VoxelGrid<pcl::PointXYZ>& grid, const PeerCloud::Ptr& cloud) {
    grid.setInputCloud(cloud);
    grid.setLeafSize(kCell, kCell, kCell);
    grid.setMinimumPointsNumberPerVoxel(kLeast / 10);
}

/// The points of the cells that the peer keeps.
PeerCloud keptByPeer(const PeerCloud::Ptr& cloud) {
    pcl::VoxelGrid<pcl::PointXYZ> grid;
    setUp(grid, cloud);
    grid.setSaveLeafLayout(true);
    PeerCloud centres;
    grid.filter(centres);
    PeerCloud kept;
    for (const pcl::PointXYZ& point : *cloud) {
        if (grid.getCentroidIndex(point) >= 0)
            kept.push_back(point);
    }
    return kept;
}

Comparison cells([](int size) {
    return Pool(size, surface).difference([](const Cloud& input) {
        Cloud kept = input;
        kept.cubicFilter(kCell, kLeast / 10);
        return isSame(*peerOf(kept), keptByPeer(peerOf(input))) ? nullptr : "different points kept";
    });
});

void BM_Cells(benchmark::State& state) {
    if (cells.refuses(state))
        return;
    Pool inputs(sizeOf(state), surface);
    Cloud cloud;
    for (auto _ : state) {
        state.PauseTiming();  // a cloud of its own, as a host has it: not one that shares its points with the
                              // input
        cloud = inputs.next();
        cloud.points.detach();
        state.ResumeTiming();
        benchmark::DoNotOptimize(cloud.cubicFilter(kCell, kLeast / 10));
    }
    state.counters["kept"] = static_cast<double>(cloud.points.size());
}
BENCHMARK(BM_Cells)->Apply(sizes);

void BM_CellsPeerWithCentres(benchmark::State& state) {
    if (cells.refuses(state))
        return;
    PeerCloud centres;
    Inputs::measure(state, peersOf(state, surface), [&](const PeerCloud::Ptr& input) {
        pcl::VoxelGrid<pcl::PointXYZ> grid;
        setUp(grid, input);
        grid.filter(centres);
        benchmark::DoNotOptimize(centres.points.data());
    });
}
BENCHMARK(BM_CellsPeerWithCentres)->Apply(sizes);

// ---- Points with few neighbours within a radius: the same rule on both sides, in the plane.

void setUp(pcl::RadiusOutlierRemoval<pcl::PointXYZ>& removal, const PeerCloud::Ptr& cloud, double radius,
           int least) {
    removal.setInputCloud(cloud);
    removal.setRadiusSearch(radius);
    removal.setMinNeighborsInRadius(least);
}

void removeStrays(const PeerCloud::Ptr& input, double radius, int least, PeerCloud& kept) {
    pcl::RadiusOutlierRemoval<pcl::PointXYZ> removal;
    setUp(removal, input, radius, least);
    removal.filter(kept);
}

void measureStrays(benchmark::State& state, const Pool<PeerCloud::Ptr>& inputs, double radius, int least) {
    PeerCloud kept;
    Inputs::measure(state, inputs, [&](const PeerCloud::Ptr& input) {
        removeStrays(input, radius, least, kept);
        benchmark::DoNotOptimize(kept.points.data());
    });
    state.counters["kept"] = static_cast<double>(kept.size());
}

Comparison neighbours([](int size) {
    return Pool(size, line).difference([](const KvMath::KvProfile& input) {
        PeerCloud peer;
        removeStrays(peerOf(input), 1.0, 5, peer);
        KvMath::KvProfile kept = input;
        kept.removeNoisyPoints(1.0F, 5);
        return isSame(*peerOf(kept), peer) ? nullptr : "different points kept";
    });
});

void BM_Neighbours(benchmark::State& state) {
    if (neighbours.refuses(state))
        return;
    auto kept = KvMath::KvProfile().points.size();
    Inputs::measure(state, Pool(sizeOf(state), line), [&](const KvMath::KvProfile& input) {
        KvMath::KvProfile profile = input;
        profile.removeNoisyPoints(1.0F, 5);
        benchmark::DoNotOptimize(kept = profile.points.size());
    });
    state.counters["kept"] = static_cast<double>(kept);
}
BENCHMARK(BM_Neighbours)->Apply(sizes);

void BM_NeighboursPeer(benchmark::State& state) {
    if (!neighbours.refuses(state))
        measureStrays(state, peersOf(state, line), 1.0, 5);
}
BENCHMARK(BM_NeighboursPeer)->Apply(sizes);

// ---- Strays of a cloud. Different rules for one purpose: balls on a grid here, a ball around each point
// there. Not compared; the counters tell how many points stay.

void BM_Balls(benchmark::State& state) {
    Cloud cloud;
    Inputs::measure(state, Pool(sizeOf(state), surface), [&](const Cloud& input) {
        cloud = input;
        benchmark::DoNotOptimize(cloud.sphericalFilter2(3.0F, 0.0F, 3));
    });
    state.counters["kept"] = static_cast<double>(cloud.points.size());
}
BENCHMARK(BM_Balls)->Apply(sizes);

void BM_BallsPeerAroundPoints(benchmark::State& state) {
    measureStrays(state, peersOf(state, surface), 1.5, 2);
}
BENCHMARK(BM_BallsPeerAroundPoints)->Apply(sizes);

// ---- Planes. Least squares of the height and orthogonal least squares here, both in double; orthogonal
// there, in double and in float. `deviation` is the greatest one of the unit normal from the library's
// orthogonal one. Compared: all of them. In double to the roundings of a closed form (1e-8 occurs). In float
// the covariance is summed one point after the other, so that what rounding leaves grows with their number
// (1.9e-4 occurs at a million). Heights are another problem: noise of 0.02 mm moves its solution by some 1e-7
// on a slope as flat as this one.

constexpr double kDouble = 1e-7;
constexpr double kHeights = 1e-6;
double toleranceOfFloat(int size) { return 1e-6 + 1e-9 * size; }

/// Unit normal of the plane, upwards.
template <class Number>
Eigen::Vector3d peerNormal(const PeerCloud::Ptr& cloud) {
    Eigen::Matrix<Number, 3, 3> covariance;
    Eigen::Matrix<Number, 4, 1> centre;
    pcl::computeMeanAndCovarianceMatrix(*cloud, covariance, centre);
    Number least = 0;
    Eigen::Matrix<Number, 3, 1> normal;
    pcl::eigen33(covariance, least, normal);
    const Eigen::Vector3d up = normal.template cast<double>();
    return up.z() < 0 ? Eigen::Vector3d(-up) : up;
}

Eigen::Vector3d orthogonalNormal(const std::vector<double>& xyz) {
    double p[4] = {};
    KvMath::planeFitting(xyz.data(), static_cast<int>(xyz.size() / 3), p);
    return {p[0], p[1], p[2]};
}

Eigen::Vector3d normalOfHeights(const Cloud& cloud) {
    double a = 0;
    double b = 0;
    double c = 0;
    KvMath::KvPlane::calcFromPointCloud(cloud, a, b, c);
    return {-a, -b, 1};
}

/// From the orthogonal one here.
template <class Fit>
double deviation(const Cloud& cloud, Fit fit) {
    return (fit(cloud).normalized() - orthogonalNormal(doublesOf(cloud))).norm();
}
template <class Number>
double peerDeviation(const Cloud& cloud) {
    return deviation(cloud, [](const Cloud& own) { return peerNormal<Number>(peerOf(own)); });
}

Comparison planes([](int size) {
    return Pool(size, slope).difference([size](const Cloud& cloud) -> const char* {
        if (!(peerDeviation<double>(cloud) < kDouble))
            return "different planes";
        if (!(peerDeviation<float>(cloud) < toleranceOfFloat(size)))
            return "a different plane in float";
        return deviation(cloud, normalOfHeights) < kHeights ? nullptr : "a different plane of heights";
    });
});

/// `fit` gives a normal of what `convert` makes of a slope.
template <class Convert, class Fit, class Deviation>
void measurePlanes(benchmark::State& state, Convert convert, Fit fit, Deviation deviationOf) {
    if (planes.refuses(state))
        return;
    const Pool clouds(sizeOf(state), slope);
    Inputs::measure(state, clouds.as(convert),
                    [&](const auto& input) { benchmark::DoNotOptimize(fit(input)); });
    double greatest = 0.0;
    clouds.as([&](const Cloud& cloud) { return greatest = std::max(greatest, deviationOf(cloud)); });
    state.counters["deviation"] = greatest;
}

template <class Number>
void measurePeerPlanes(benchmark::State& state) {
    measurePlanes(
        state, [](const Cloud& cloud) { return peerOf(cloud); }, peerNormal<Number>, peerDeviation<Number>);
}

void BM_PlaneOfHeights(benchmark::State& state) {
    measurePlanes(
        state, [](const Cloud& cloud) { return cloud; }, normalOfHeights,
        [](const Cloud& cloud) { return deviation(cloud, normalOfHeights); });
}
void BM_PlaneOrthogonal(benchmark::State& state) {
    measurePlanes(state, doublesOf, orthogonalNormal, [](const Cloud& /*cloud*/) { return 0.0; });
}
void BM_PlanePeerFloat(benchmark::State& state) { measurePeerPlanes<float>(state); }
void BM_PlanePeerDouble(benchmark::State& state) { measurePeerPlanes<double>(state); }
BENCHMARK(BM_PlaneOfHeights)->Apply(sizes);
BENCHMARK(BM_PlaneOrthogonal)->Apply(sizes);
BENCHMARK(BM_PlanePeerFloat)->Apply(sizes);
BENCHMARK(BM_PlanePeerDouble)->Apply(sizes);

// ---- Outlines. A coin of radius R rolled around the points touches the corners of the outer boundary of the
// triangles with circumcircles up to R, which is what the peer builds. Points lie so densely that the peer
// finds no holes inside, which it would list too.

/// Indices of the corners. The peer's coordinates are rounded by a turn forth and back.
std::set<int> peerOutline(const PeerCloud::Ptr& cloud, bool withIndices) {
    pcl::ConcaveHull<pcl::PointXYZ> hull;
    hull.setInputCloud(cloud);
    hull.setAlpha(kCoin);
    hull.setDimension(2);
    hull.setKeepInformation(withIndices);  // costs a search, so not when timed
    PeerCloud outline;
    std::vector<pcl::Vertices> polygons;
    hull.reconstruct(outline, polygons);
    pcl::PointIndices corners;
    hull.getHullPointIndices(corners);
    return {corners.indices.begin(), corners.indices.end()};
}

std::set<int> outline(const Points& points) {
    QList<int> indices;
    KvMath::getCoinHull(vectorsOf(points), kCoin, indices);
    return {indices.begin(), indices.end()};
}

Comparison outlines([](int size) {
    return Pool(size, angleIron).difference([](const Points& iron) {
        return outline(iron) == peerOutline(peerOf(iron), true) ? nullptr : "different corners";
    });
});

void outlineSizes(benchmark::internal::Benchmark* b) {
    b->RangeMultiplier(10)->Range(1000, 100000)->Unit(benchmark::kMicrosecond);
}

void BM_Outline(benchmark::State& state) {
    if (outlines.refuses(state))
        return;
    QList<int> indices;
    Inputs::measure(state, Pool(sizeOf(state), angleIron).as(vectorsOf), [&](const auto& points) {
        benchmark::DoNotOptimize(KvMath::getCoinHull(points, kCoin, indices));
    });
    state.counters["corners"] = static_cast<double>(indices.size()) - 1;
}
BENCHMARK(BM_Outline)->Apply(outlineSizes);

void BM_OutlinePeer(benchmark::State& state) {
    if (outlines.refuses(state))
        return;
    Inputs::measure(state, peersOf(state, angleIron),
                    [](const PeerCloud::Ptr& cloud) { benchmark::DoNotOptimize(peerOutline(cloud, false)); });
}
BENCHMARK(BM_OutlinePeer)->Apply(outlineSizes);

}  // namespace
