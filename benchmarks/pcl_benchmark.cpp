// Cloud filters, planes and outlines beside the Point Cloud Library: the same clouds, one thread, results
// compared before anything is timed. Rows that do not compute the same thing say so in their names.

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
using Cloud = KvMath::KvPointCloud<KvMath::KvPointXYZ>;
using PeerCloud = pcl::PointCloud<pcl::PointXYZ>;

constexpr float kCell = 2.0F;  // mm; a power of two, so that both libraries put points into the same cells
constexpr int kLeast = 50;     // points of a cell, or neighbours

/// Points on the faces of cells are left out: the library counts them on both sides.
float offFaces(float at) { return std::fmod(at, kCell) == 0.0F ? at + 0.25F : at; }

/// A bumpy surface of 100 points per square centimetre, with one point of a hundred astray above it.
Cloud surface(int size) {
    TestSupport::Draws draws(1);
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
KvMath::KvProfile line(int size) {
    TestSupport::Draws draws(2);
    KvMath::KvProfile profile;
    for (int i = 0; i < size; ++i) {
        const double stray = draws.chance(0.02) ? draws.real(1.0, 20.0) : 0.0;
        profile.points.append(
            {0.05F * static_cast<float>(i), static_cast<float>(draws.normal(0.02) + stray)});
    }
    return profile;
}

PeerCloud::Ptr peerOf(const Cloud& cloud) {
    auto peer = std::make_shared<PeerCloud>();
    for (const KvMath::KvPointXYZ& p : cloud.points)
        peer->emplace_back(p.x, p.y, p.z);
    return peer;
}

PeerCloud::Ptr peerOf(const KvMath::KvProfile& profile) {
    auto peer = std::make_shared<PeerCloud>();
    for (const KvMath::KvPointXY& p : profile.points)
        peer->emplace_back(p.x, p.y, 0.0F);
    return peer;
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
    const Cloud input = surface(size);
    Cloud kept = input;
    kept.cubicFilter(kCell, kLeast / 10);
    return isSame(*peerOf(kept), keptByPeer(peerOf(input))) ? nullptr : "different points kept";
});

void BM_Cells(benchmark::State& state) {
    if (cells.refuses(state))
        return;
    const Cloud input = surface(sizeOf(state));
    Cloud cloud;
    for (auto _ : state) {
        state.PauseTiming();  // a cloud of its own, as a host has it: not one that shares its points with the
                              // input
        cloud = input;
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
    const PeerCloud::Ptr input = peerOf(surface(sizeOf(state)));
    PeerCloud centres;
    for (auto _ : state) {
        pcl::VoxelGrid<pcl::PointXYZ> grid;
        setUp(grid, input);
        grid.filter(centres);
        benchmark::DoNotOptimize(centres.points.data());
    }
    state.counters["kept"] = static_cast<double>(keptByPeer(input).size());
}
BENCHMARK(BM_CellsPeerWithCentres)->Apply(sizes);

// ---- Points with few neighbours within a radius: the same rule on both sides, in the plane.

void setUp(pcl::RadiusOutlierRemoval<pcl::PointXYZ>& removal, const PeerCloud::Ptr& cloud, double radius,
           int least) {
    removal.setInputCloud(cloud);
    removal.setRadiusSearch(radius);
    removal.setMinNeighborsInRadius(least);
}

Comparison neighbours([](int size) {
    KvMath::KvProfile kept = line(size);
    pcl::RadiusOutlierRemoval<pcl::PointXYZ> removal;
    setUp(removal, peerOf(kept), 1.0, 5);
    PeerCloud peer;
    removal.filter(peer);
    kept.removeNoisyPoints(1.0F, 5);
    return isSame(*peerOf(kept), peer) ? nullptr : "different points kept";
});

void BM_Neighbours(benchmark::State& state) {
    if (neighbours.refuses(state))
        return;
    const KvMath::KvProfile input = line(sizeOf(state));
    auto kept = input.points.size();
    for (auto _ : state) {
        KvMath::KvProfile profile = input;
        profile.removeNoisyPoints(1.0F, 5);
        benchmark::DoNotOptimize(kept = profile.points.size());
    }
    state.counters["kept"] = static_cast<double>(kept);
}
BENCHMARK(BM_Neighbours)->Apply(sizes);

void BM_NeighboursPeer(benchmark::State& state) {
    if (neighbours.refuses(state))
        return;
    const PeerCloud::Ptr input = peerOf(line(sizeOf(state)));
    PeerCloud kept;
    for (auto _ : state) {
        pcl::RadiusOutlierRemoval<pcl::PointXYZ> removal;
        setUp(removal, input, 1.0, 5);
        removal.filter(kept);
        benchmark::DoNotOptimize(kept.points.data());
    }
    state.counters["kept"] = static_cast<double>(kept.size());
}
BENCHMARK(BM_NeighboursPeer)->Apply(sizes);

// ---- Strays of a cloud. Different rules for one purpose: balls on a grid here, a ball around each point
// there. Not compared; the counters tell how many points stay.

void BM_Balls(benchmark::State& state) {
    const Cloud input = surface(sizeOf(state));
    Cloud cloud;
    for (auto _ : state) {
        cloud = input;
        benchmark::DoNotOptimize(cloud.sphericalFilter2(3.0F, 0.0F, 3));
    }
    state.counters["kept"] = static_cast<double>(cloud.points.size());
}
BENCHMARK(BM_Balls)->Apply(sizes);

void BM_BallsPeerAroundPoints(benchmark::State& state) {
    const PeerCloud::Ptr input = peerOf(surface(sizeOf(state)));
    PeerCloud kept;
    for (auto _ : state) {
        pcl::RadiusOutlierRemoval<pcl::PointXYZ> removal;
        setUp(removal, input, 1.5, 2);
        removal.filter(kept);
        benchmark::DoNotOptimize(kept.points.data());
    }
    state.counters["kept"] = static_cast<double>(kept.size());
}
BENCHMARK(BM_BallsPeerAroundPoints)->Apply(sizes);

// ---- Planes. Least squares of the height and orthogonal least squares here, both in double; orthogonal
// there, in double, which is compared, and in float. `deviation` is that of the unit normal from the
// library's orthogonal one.

/// Unit normal of the plane, upwards.
template <class Number>
Eigen::Vector3d peerNormal(const PeerCloud& cloud) {
    Eigen::Matrix<Number, 3, 3> covariance;
    Eigen::Matrix<Number, 4, 1> centre;
    pcl::computeMeanAndCovarianceMatrix(cloud, covariance, centre);
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

void BM_PlaneOfHeights(benchmark::State& state) {
    const Cloud cloud = slope(sizeOf(state));
    double a = 0;
    double b = 0;
    double c = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(KvMath::KvPlane::calcFromPointCloud(cloud, a, b, c));
    const Eigen::Vector3d normal = Eigen::Vector3d(-a, -b, 1).normalized();
    state.counters["deviation"] = (normal - orthogonalNormal(doublesOf(cloud))).norm();
}
BENCHMARK(BM_PlaneOfHeights)->Apply(sizes);

template <class Number>
double peerDeviation(const Cloud& cloud) {
    return (peerNormal<Number>(*peerOf(cloud)) - orthogonalNormal(doublesOf(cloud))).norm();
}

Comparison planes([](int size) {
    return peerDeviation<double>(slope(size)) < 1e-7 ? nullptr : "different planes";
});

void BM_PlaneOrthogonal(benchmark::State& state) {
    if (planes.refuses(state))
        return;
    const std::vector<double> xyz = doublesOf(slope(sizeOf(state)));
    for (auto _ : state)
        benchmark::DoNotOptimize(orthogonalNormal(xyz));
}
BENCHMARK(BM_PlaneOrthogonal)->Apply(sizes);

template <class Number>
void planePeer(benchmark::State& state) {
    if (planes.refuses(state))
        return;
    const Cloud cloud = slope(sizeOf(state));
    const PeerCloud::Ptr peer = peerOf(cloud);
    for (auto _ : state)
        benchmark::DoNotOptimize(peerNormal<Number>(*peer));
    state.counters["deviation"] = peerDeviation<Number>(cloud);
}
void BM_PlanePeerFloat(benchmark::State& state) { planePeer<float>(state); }
void BM_PlanePeerDouble(benchmark::State& state) { planePeer<double>(state); }
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

PeerCloud::Ptr peerOf(const std::vector<KvMath::KvPointXY>& points) {
    auto peer = std::make_shared<PeerCloud>();
    for (const KvMath::KvPointXY& p : points)
        peer->emplace_back(p.x, p.y, 0.0F);
    return peer;
}

std::set<int> outline(const std::vector<KvMath::KvPointXY>& points) {
    QList<int> indices;
    KvMath::getCoinHull(vectorsOf(points), kCoin, indices);
    return {indices.begin(), indices.end()};
}

Comparison outlines([](int size) {
    const std::vector<KvMath::KvPointXY> iron = angleIron(size);
    return outline(iron) == peerOutline(peerOf(iron), true) ? nullptr : "different corners";
});

void BM_Outline(benchmark::State& state) {
    if (outlines.refuses(state))
        return;
    const QList<KvMath::KvVector2D<double>> points = vectorsOf(angleIron(sizeOf(state)));
    QList<int> indices;
    for (auto _ : state)
        benchmark::DoNotOptimize(KvMath::getCoinHull(points, kCoin, indices));
    state.counters["corners"] = static_cast<double>(indices.size()) - 1;
}
BENCHMARK(BM_Outline)->RangeMultiplier(10)->Range(1000, 100000)->Unit(benchmark::kMicrosecond);

void BM_OutlinePeer(benchmark::State& state) {
    if (outlines.refuses(state))
        return;
    const PeerCloud::Ptr cloud = peerOf(angleIron(sizeOf(state)));
    for (auto _ : state)
        benchmark::DoNotOptimize(peerOutline(cloud, false));
}
BENCHMARK(BM_OutlinePeer)->RangeMultiplier(10)->Range(1000, 100000)->Unit(benchmark::kMicrosecond);

}  // namespace
