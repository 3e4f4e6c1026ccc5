// Zones of form and roughness, beside functions of CGAL and ALGLIB for the same zone. Results are compared
// before anything is timed. One call here gives every method and the certificate; the peers give one method.
// The yardstick is a walk over the coordinates that sums their products.

#include <benchmarks/inputs.h>
#include <benchmarks/peers.h>
#include <kvmeasure/form/flatness.h>
#include <kvmeasure/form/roughness.h>
#include <kvmeasure/form/roundness.h>
#include <kvmeasure/form/straightness.h>

#ifdef KVMATH_HAS_CGAL
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Exact_rational.h>
#include <CGAL/Min_circle_2.h>
#include <CGAL/Min_circle_2_traits_2.h>
#include <CGAL/Simple_cartesian.h>
#include <CGAL/Width_3.h>
#include <CGAL/Width_default_traits_3.h>
#include <CGAL/convex_hull_2.h>
#include <CGAL/min_quadrilateral_2.h>
#endif
#ifdef KVMATH_HAS_ALGLIB
#include <libalglib/interpolation.h>
#endif

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

using Inputs::Pool;
using KvMeasure::SpacePoint;
using KvMeasure::Vector;
using Peers::Comparison;
using Peers::countPoints;
using Peers::sizeOf;

using Points = std::vector<Vector>;
using SpacePoints = std::vector<SpacePoint>;

constexpr double kPi = 3.14159265358979323846;
constexpr double kNoise = 0.02;  // mm

/// A bent bar, 100 mm long.
Points barOf(int size, unsigned seed) {
    TestSupport::Draws draws(seed);
    Points points;
    for (int i = 0; i < size; ++i) {
        const double x = 100.0 * i / size;
        points.emplace_back(x, 0.02 * x + 0.1 * std::sin(x / 30) + draws.normal(kNoise));
    }
    return points;
}

/// A turned part of 20 mm with three lobes.
Points ringOf(int size, unsigned seed) {
    TestSupport::Draws draws(seed);
    Points points;
    for (int i = 0; i < size; ++i) {
        const double angle = 2 * kPi * i / size;
        const double radius = 10 + 0.05 * std::cos(3 * angle) + draws.normal(kNoise);
        points.emplace_back(5 + radius * std::cos(angle), 7 + radius * std::sin(angle));
    }
    return points;
}

/// A ground plate of 100 x 100 mm, bent.
SpacePoints plateOf(int size, unsigned seed) {
    TestSupport::Draws draws(seed);
    SpacePoints points;
    for (int i = 0; i < size; ++i) {
        const double x = draws.real(-50.0, 50.0), y = draws.real(-50.0, 50.0);
        points.push_back({x, y, 0.1 * x + 1e-5 * x * y + draws.normal(kNoise)});
    }
    return points;
}

void sizes(benchmark::internal::Benchmark* b) {
    b->RangeMultiplier(10)->Range(100, 1000000)->Unit(benchmark::kMicrosecond);
}

template <class Make, class Call>
void measureForm(benchmark::State& state, Comparison& comparison, Make make, Call call) {
    if (comparison.refuses(state))
        return;
    Inputs::measure(state, Pool(sizeOf(state), make),
                    [&](const auto& points) { benchmark::DoNotOptimize(call(points)); });
    countPoints(state);
}

Comparison nothing;

double planePass(const Points& points) {
    double sum = 0;
    for (const Vector& p : points)
        sum += p.x * p.y;
    return sum;
}

double spacePass(const SpacePoints& points) {
    double sum = 0;
    for (const SpacePoint& p : points)
        sum += p[0] * p[1] * p[2];
    return sum;
}

void BM_PlanePass(benchmark::State& state) { measureForm(state, nothing, barOf, planePass); }
void BM_SpacePass(benchmark::State& state) { measureForm(state, nothing, plateOf, spacePass); }
BENCHMARK(BM_PlanePass)->Apply(sizes);
BENCHMARK(BM_SpacePass)->Apply(sizes);

double straightnessOf(const Points& points) { return KvMeasure::straightness(points).minimumZone.width; }
double roundnessOf(const Points& points) { return KvMeasure::roundness(points).minimumZone.width; }
double circumscribedOf(const Points& points) { return KvMeasure::circumscribedCircle(points).radius; }
double flatnessOf(const SpacePoints& points) { return KvMeasure::flatness(points).minimumZone.width; }

#ifdef KVMATH_HAS_CGAL
/// Null where two widths are the same, mm.
const char* differenceOf(double own, double peer) {
    constexpr double kSameZone = 1e-9;  // zones of 0.1 mm on parts of 100 mm
    return std::fabs(own - peer) < kSameZone ? nullptr : "different widths";
}

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using Exact = CGAL::Simple_cartesian<CGAL::Exact_rational>;
using PeerPoints = std::vector<Kernel::Point_2>;

PeerPoints peerOf(const Points& points) {
    PeerPoints peer;
    for (const Vector& p : points)
        peer.emplace_back(p.x, p.y);
    return peer;
}

PeerPoints peerBarOf(int size, unsigned seed) { return peerOf(barOf(size, seed)); }
PeerPoints peerRingOf(int size, unsigned seed) { return peerOf(ringOf(size, seed)); }

/// Width of the narrowest strip.
double stripOf(const PeerPoints& points) {
    PeerPoints hull;
    CGAL::convex_hull_2(points.begin(), points.end(), std::back_inserter(hull));
    std::vector<Kernel::Line_2> lines;
    CGAL::min_strip_2(hull.begin(), hull.end(), std::back_inserter(lines));
    return std::sqrt(CGAL::squared_distance(lines[0], lines[1].point()));
}

/// Radius of the smallest circle about all points.
double smallestCircleOf(const PeerPoints& points) {
    using Traits = CGAL::Min_circle_2_traits_2<Kernel>;
    static const Traits traits = Traits();
    const CGAL::Min_circle_2<Traits> circle(points.begin(), points.end(), true, CGAL::get_default_random(),
                                            traits);
    return std::sqrt(circle.circle().squared_radius());
}

/// Width of the narrowest slab. The peer demands exact numbers.
double slabOf(const SpacePoints& points) {
    std::vector<Exact::Point_3> peer;
    for (const SpacePoint& p : points)
        peer.emplace_back(p[0], p[1], p[2]);
    CGAL::Width_3<CGAL::Width_default_traits_3<Exact>> width(peer.begin(), peer.end());
    Exact::FT numerator, denominator;
    width.get_squared_width(numerator, denominator);
    return std::sqrt(CGAL::to_double(numerator / denominator));
}

Comparison strips([](int size) {
    return Pool(size, barOf).difference([](const Points& points) {
        return differenceOf(straightnessOf(points), stripOf(peerOf(points)));
    });
});

Comparison circles([](int size) {
    return Pool(size, ringOf).difference([](const Points& points) {
        return differenceOf(circumscribedOf(points), smallestCircleOf(peerOf(points)));
    });
});

Comparison slabs([](int size) -> const char* {
    return size > 1'000 ? nullptr : differenceOf(flatnessOf(plateOf(size, 1)), slabOf(plateOf(size, 1)));
});

void BM_StripCgal(benchmark::State& state) { measureForm(state, strips, peerBarOf, stripOf); }
void BM_SmallestCircleCgal(benchmark::State& state) {
    measureForm(state, circles, peerRingOf, smallestCircleOf);
}
void BM_SlabCgal(benchmark::State& state) { measureForm(state, slabs, plateOf, slabOf); }
BENCHMARK(BM_StripCgal)->Apply(sizes);
BENCHMARK(BM_SmallestCircleCgal)->Apply(sizes);
BENCHMARK(BM_SlabCgal)->RangeMultiplier(10)->Range(100, 1000)->Unit(benchmark::kMicrosecond)->Iterations(1);
#else
Comparison strips, circles, slabs;
#endif

#ifdef KVMATH_HAS_ALGLIB
alglib::real_2d_array tableOf(const Points& points) {
    alglib::real_2d_array table;
    table.setlength(static_cast<alglib::ae_int_t>(points.size()), 2);
    for (std::size_t i = 0; i < points.size(); ++i) {
        table[static_cast<alglib::ae_int_t>(i)][0] = points[i].x;
        table[static_cast<alglib::ae_int_t>(i)][1] = points[i].y;
    }
    return table;
}

alglib::real_2d_array tableOfRing(int size, unsigned seed) { return tableOf(ringOf(size, seed)); }

/// Difference of the radii of the narrowest ring.
double ringZoneOf(const alglib::real_2d_array& table) {
    alglib::real_1d_array centre;
    double least = 0, most = 0;
    alglib::fitspheremz(table, table.rows(), 2, centre, least, most);
    return most - least;
}

/// The peer searches, and stops near the least width: the widths are compared to a millionth of the radius.
Comparison rings([](int size) -> const char* {
    if (size > 10'000)
        return nullptr;
    return Pool(size, ringOf).difference([](const Points& points) {
        return std::fabs(roundnessOf(points) - ringZoneOf(tableOf(points))) < 1e-5 ? nullptr
                                                                                   : "different widths";
    });
});

void BM_RingZoneAlglib(benchmark::State& state) { measureForm(state, rings, tableOfRing, ringZoneOf); }
BENCHMARK(BM_RingZoneAlglib)->RangeMultiplier(10)->Range(100, 10000)->Unit(benchmark::kMicrosecond);
#else
Comparison rings;
#endif

void BM_SmallestCircle(benchmark::State& state) { measureForm(state, circles, ringOf, circumscribedOf); }
BENCHMARK(BM_SmallestCircle)->Apply(sizes);

void BM_Straightness(benchmark::State& state) { measureForm(state, strips, barOf, straightnessOf); }
void BM_Roundness(benchmark::State& state) { measureForm(state, rings, ringOf, roundnessOf); }
void BM_Flatness(benchmark::State& state) { measureForm(state, slabs, plateOf, flatnessOf); }
BENCHMARK(BM_Straightness)->Apply(sizes);
BENCHMARK(BM_Roundness)->Apply(sizes);
BENCHMARK(BM_Flatness)->Apply(sizes);

/// A bar with a point every 0.01 mm.
Points finelyMeasuredBarOf(int size, unsigned seed) {
    TestSupport::Draws draws(seed);
    Points points;
    for (int i = 0; i < size; ++i)
        points.emplace_back(0.01 * i, 0.0002 * i + draws.normal(kNoise));
    return points;
}

double roughnessOf(const Points& points) {
    return KvMeasure::roughness(points, KvMeasure::RoughnessSettings()).values.ra;
}

double robustRoughnessOf(const Points& points) {
    KvMeasure::RoughnessSettings settings;
    settings.isRobust = true;
    return KvMeasure::roughness(points, settings).values.ra;
}

void BM_Roughness(benchmark::State& state) { measureForm(state, nothing, finelyMeasuredBarOf, roughnessOf); }
void BM_RobustRoughness(benchmark::State& state) {
    measureForm(state, nothing, finelyMeasuredBarOf, robustRoughnessOf);
}
BENCHMARK(BM_Roughness)->Apply(Peers::sizes);
BENCHMARK(BM_RobustRoughness)->RangeMultiplier(10)->Range(1000, 100000)->Unit(benchmark::kMicrosecond);

}  // namespace
