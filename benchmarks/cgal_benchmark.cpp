// Outlines and fits beside CGAL: the same points, one thread, results compared before anything is timed. Its
// predicates are exact (double with a filter); coordinates are doubles on both sides.

#include <benchmarks/inputs.h>
#include <benchmarks/peers.h>
#include <kvmath/contours/hull.h>
#include <kvmath/numerics/fitting.h>
#include <kvmath/segments/line_geometry.h>

#include <CGAL/Alpha_shape_2.h>
#include <CGAL/Alpha_shape_face_base_2.h>
#include <CGAL/Alpha_shape_vertex_base_2.h>
#include <CGAL/Delaunay_triangulation_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/convex_hull_2.h>
#include <CGAL/linear_least_squares_fitting_2.h>
#include <CGAL/linear_least_squares_fitting_3.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <utility>
#include <vector>

namespace {

using Inputs::Pool;
using Peers::Comparison;
using Peers::countPoints;
using Peers::kCoin;
using Peers::sizeOf;
using Peers::sizes;

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using Point = Kernel::Point_2;
using Vertices = CGAL::Alpha_shape_vertex_base_2<Kernel>;
using Faces = CGAL::Alpha_shape_face_base_2<Kernel>;
using Triangulation =
    CGAL::Delaunay_triangulation_2<Kernel, CGAL::Triangulation_data_structure_2<Vertices, Faces>>;
using AlphaShape = CGAL::Alpha_shape_2<Triangulation>;

using Points = QList<KvMath::KvVector2D<double>>;
using Place = std::pair<double, double>;
using Edges = std::set<std::pair<Place, Place>>;  // the lesser end first

Points ironOf(int size, unsigned seed) { return Peers::vectorsOf(Peers::angleIron(size, seed)); }

using PeerPoints = std::vector<Point>;

PeerPoints peerOf(const Points& points) {
    PeerPoints peer;
    for (const auto& p : points)
        peer.emplace_back(p.x, p.y);
    return peer;
}
PeerPoints peerIronOf(int size, unsigned seed) { return peerOf(ironOf(size, seed)); }

Edges edgesOf(const Points& points, double radius) {
    QList<int> indices;
    KvMath::getCoinHull(points, radius, indices);
    Edges edges;
    for (int k = 1; k < indices.size(); ++k) {
        const auto& p = points[indices[k - 1]];
        const auto& q = points[indices[k]];
        edges.insert(std::minmax(Place(p.x, p.y), Place(q.x, q.y)));
    }
    return edges;
}

// ---- Outlines. A coin of radius R rolled around the points touches the corners of the outer boundary of the
// triangles with circumcircles up to R: the regularised alpha shape of alpha = R^2. The peer would list
// boundaries of holes and threads of points too, which the points here do not have. Compared: the edges. The
// peer finds the interval of alpha of every triangle, so that other radii cost little more; a row of its own
// tells what the triangulation without that takes.

Edges edgesOf(const AlphaShape& shape) {
    Edges edges;
    for (auto edge = shape.alpha_shape_edges_begin(); edge != shape.alpha_shape_edges_end(); ++edge) {
        const auto segment = shape.segment(*edge);
        edges.insert(std::minmax(Place(segment.source().x(), segment.source().y()),
                                 Place(segment.target().x(), segment.target().y())));
    }
    return edges;
}

AlphaShape alphaShape(const PeerPoints& points) {
    return {points.begin(), points.end(), kCoin * kCoin, AlphaShape::REGULARIZED};
}

Comparison outlines([](int size) {
    return Pool(size, ironOf).difference([](const Points& points) {
        const AlphaShape shape(alphaShape(peerOf(points)));
        return edgesOf(points, kCoin) == edgesOf(shape) ? nullptr : "different edges";
    });
});

void measureCoin(benchmark::State& state, Comparison& comparison, double radius) {
    if (comparison.refuses(state))
        return;
    QList<int> indices;
    Inputs::measure(state, Pool(sizeOf(state), ironOf), [&](const Points& points) {
        benchmark::DoNotOptimize(KvMath::getCoinHull(points, radius, indices));
    });
    state.counters["corners"] = static_cast<double>(indices.size()) - 1;
    countPoints(state);
}

void BM_Outline(benchmark::State& state) { measureCoin(state, outlines, kCoin); }

void BM_OutlineCgal(benchmark::State& state) {
    if (outlines.refuses(state))
        return;
    std::ptrdiff_t edges = 0;
    Inputs::measure(state, Pool(sizeOf(state), peerIronOf), [&](const PeerPoints& points) {
        const AlphaShape shape = alphaShape(points);
        benchmark::DoNotOptimize(
            edges = std::distance(shape.alpha_shape_edges_begin(), shape.alpha_shape_edges_end()));
    });
    state.counters["corners"] = static_cast<double>(edges);
    countPoints(state);
}

void BM_OutlineCgalTriangulationAlone(benchmark::State& state) {
    Inputs::measure(state, Pool(sizeOf(state), peerIronOf), [](const PeerPoints& points) {
        const CGAL::Delaunay_triangulation_2<Kernel> triangulation(points.begin(), points.end());
        benchmark::DoNotOptimize(triangulation.number_of_faces());
    });
    countPoints(state);
}
BENCHMARK(BM_Outline)->Apply(sizes);
BENCHMARK(BM_OutlineCgal)->Apply(sizes);
BENCHMARK(BM_OutlineCgalTriangulationAlone)->Apply(sizes);

// ---- Convex outlines: a coin without limit here. Compared: the edges. Points between corners on a straight
// edge, which only the library lists, do not occur.

constexpr double kNoLimit = std::numeric_limits<double>::infinity();

PeerPoints convexPeer(const PeerPoints& points) {
    PeerPoints corners;
    CGAL::convex_hull_2(points.begin(), points.end(), std::back_inserter(corners));
    return corners;
}

Edges closed(const PeerPoints& corners) {
    Edges edges;
    for (std::size_t k = 0; k < corners.size(); ++k) {
        const Point& p = corners[k];
        const Point& q = corners[(k + 1) % corners.size()];
        edges.insert(std::minmax(Place(p.x(), p.y()), Place(q.x(), q.y())));
    }
    return edges;
}

Comparison convexOutlines([](int size) {
    return Pool(size, ironOf).difference([](const Points& points) {
        return edgesOf(points, kNoLimit) == closed(convexPeer(peerOf(points))) ? nullptr : "different edges";
    });
});

void BM_ConvexOutline(benchmark::State& state) { measureCoin(state, convexOutlines, kNoLimit); }

void BM_ConvexOutlineCgal(benchmark::State& state) {
    if (convexOutlines.refuses(state))
        return;
    PeerPoints corners;
    Inputs::measure(state, Pool(sizeOf(state), peerIronOf), [&](const PeerPoints& points) {
        benchmark::DoNotOptimize(corners = convexPeer(points));
    });
    state.counters["corners"] = static_cast<double>(corners.size());
    countPoints(state);
}
BENCHMARK(BM_ConvexOutline)->Apply(sizes);
BENCHMARK(BM_ConvexOutlineCgal)->Apply(sizes);

// ---- Orthogonal least squares on both sides, in double. The plane comes from a decomposition of the centred
// points here; from the closed form for the directions of their second moments there, which is fast and right
// to some 1e-8. The direction of the library's line is rounded by up to 4.4e-8, by design.

using Vector = Kernel::Vector_3;

std::vector<Kernel::Point_3> spacePeer(const std::vector<double>& xyz) {
    std::vector<Kernel::Point_3> points;
    for (std::size_t i = 0; i < xyz.size(); i += 3)
        points.emplace_back(xyz[i], xyz[i + 1], xyz[i + 2]);
    return points;
}

std::vector<double> slopeOf(int size, unsigned seed) { return Peers::doublesOf(Peers::slope(size, seed)); }

Kernel::Plane_3 planePeer(const std::vector<Kernel::Point_3>& points) {
    Kernel::Plane_3 plane;
    CGAL::linear_least_squares_fitting_3(points.begin(), points.end(), plane, CGAL::Dimension_tag<0>());
    return plane;
}

/// Difference of the unit normals, with sign.
double planeDeviation(const std::vector<double>& xyz) {
    double p[4] = {};
    KvMath::planeFitting(xyz.data(), static_cast<int>(xyz.size() / 3), p);
    Vector normal = planePeer(spacePeer(xyz)).orthogonal_vector();
    normal = normal / std::copysign(std::sqrt(normal.squared_length()), normal.z());
    return std::sqrt((normal - Vector(p[0], p[1], p[2])).squared_length());
}

Comparison planes([](int size) {
    return Pool(size, slopeOf).difference([](const std::vector<double>& xyz) {
        return planeDeviation(xyz) < 1e-7 ? nullptr : "different planes";
    });
});

void BM_PlaneOrthogonal(benchmark::State& state) {
    if (planes.refuses(state))
        return;
    double p[4] = {};
    Inputs::measure(state, Pool(sizeOf(state), slopeOf), [&](const std::vector<double>& xyz) {
        benchmark::DoNotOptimize(KvMath::planeFitting(xyz.data(), sizeOf(state), p));
    });
    countPoints(state);
}

void BM_PlaneOrthogonalCgal(benchmark::State& state) {
    if (planes.refuses(state))
        return;
    Inputs::measure(state, Pool(sizeOf(state), slopeOf).as(spacePeer),
                    [](const auto& points) { benchmark::DoNotOptimize(planePeer(points)); });
    countPoints(state);
}
BENCHMARK(BM_PlaneOrthogonal)->Apply(sizes);
BENCHMARK(BM_PlaneOrthogonalCgal)->Apply(sizes);

using LinePoints = std::vector<KvMath::KvVector2D<double>>;

/// A section of the slope: a straight line with noise.
LinePoints lineOf(int size, unsigned seed) {
    LinePoints points;
    TestSupport::Draws draws(seed);
    for (int i = 0; i < size; ++i) {
        const double x = draws.real(-50.0, 50.0);
        points.emplace_back(x, 0.1 * x + 70.0 + draws.normal(0.02));
    }
    return points;
}

PeerPoints peerLineOf(int size, unsigned seed) {
    PeerPoints peer;
    for (const auto& p : lineOf(size, seed))
        peer.emplace_back(p.x, p.y);
    return peer;
}

KvMath::LineABC ownLine(const LinePoints& points) {
    KvMath::LineABC line;
    KvMath::lsd(points.data(), static_cast<int>(points.size()), line);
    return line;
}

Kernel::Line_2 peerLine(const PeerPoints& points) {
    Kernel::Line_2 line;
    CGAL::linear_least_squares_fitting_2(points.begin(), points.end(), line, CGAL::Dimension_tag<0>());
    return line;
}

/// Whether both lines are nowhere in the view farther apart than 1e-5 mm.
bool isSameLine(const KvMath::LineABC& own, const Kernel::Line_2& peer) {
    const auto offset = [&](double x) { return std::fabs(own.a * x + own.b * peer.y_at_x(x) + own.c); };
    return std::max(offset(-50.0), offset(50.0)) < 1e-5;
}

Comparison lines([](int size) {
    Pool peers(size, peerLineOf);
    return Pool(size, lineOf).as(ownLine).difference([&](const KvMath::LineABC& own) {
        return isSameLine(own, peerLine(peers.next())) ? nullptr : "different lines";
    });
});

template <class Make, class Fit>
void measureLines(benchmark::State& state, Make make, Fit fit) {
    if (lines.refuses(state))
        return;
    Inputs::measure(state, Pool(sizeOf(state), make), [&](const auto& points) {
        auto line = fit(points);
        benchmark::DoNotOptimize(line);
    });
    countPoints(state);
}

void BM_LineOrthogonal(benchmark::State& state) { measureLines(state, lineOf, ownLine); }
void BM_LineOrthogonalCgal(benchmark::State& state) { measureLines(state, peerLineOf, peerLine); }
BENCHMARK(BM_LineOrthogonal)->Apply(sizes);
BENCHMARK(BM_LineOrthogonalCgal)->Apply(sizes);

}  // namespace
