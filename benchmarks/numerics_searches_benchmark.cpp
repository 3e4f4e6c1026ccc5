// Searches by simplex beside GSL's, where that is installed: the same problems, one thread, results compared
// before anything is timed. fminsearch stops by the costs of its corners, GSL's search by their distances
// from the middle, so that the trials are not comparable one by one. The rows belong to the program of
// numerics_benchmark.cpp.

#include <benchmarks/numerics_peers.h>
#include <kvmath/numerics/optimisers.h>
#include <kvmath/profile/circle_fitting.h>

#include <benchmark/benchmark.h>

#ifdef KVMATH_HAS_GSL
#include <gsl/gsl_multimin.h>
#endif

#include <cmath>
#include <utility>
#include <vector>

namespace {

using namespace Peers;

#ifdef KVMATH_HAS_GSL
class GslSimplex {
public:
    using Cost = double (*)(const gsl_vector* p, void* data);
    GslSimplex(Values start, Values step)
        : start_(std::move(start)), step_(std::move(step)),
          minimizer_(gsl_multimin_fminimizer_alloc(gsl_multimin_fminimizer_nmsimplex2, start_.size()),
                     &gsl_multimin_fminimizer_free) {}

    /// The place where the size falls below kSize, or that of the thousandth round.
    const double* minimise(Cost cost, void* data) {
        gsl_multimin_function f{cost, start_.size(), data};
        const auto start = gsl_vector_view_array(start_.data(), start_.size());
        const auto step = gsl_vector_view_array(step_.data(), step_.size());
        gsl_multimin_fminimizer_set(minimizer_.get(), &f, &start.vector, &step.vector);
        for (int i = 0; i < 1000 && gsl_multimin_fminimizer_size(minimizer_.get()) > kSize; ++i)
            gsl_multimin_fminimizer_iterate(minimizer_.get());
        return gsl_multimin_fminimizer_x(minimizer_.get())->data;
    }

private:
    static constexpr double kSize = 1e-5;
    Values start_, step_;
    Owned<gsl_multimin_fminimizer> minimizer_;
};
#endif

// ---- The minimum of Rosenbrock's valley, which is (1, 1), from places around (-1.2, 1). Compared: both with
// that.

double rosenbrock(double x, double y) { return 100.0 * (y - x * x) * (y - x * x) + (1.0 - x) * (1.0 - x); }

struct Minimum {
    double x[2] = {};
    int evaluations = 0;
    bool isFound = false;
};

Pool<Values> starts() {
    return {2, [](int /*coordinates*/, unsigned seed) {
                Values start = normals(2, seed);
                start[0] = -1.2 + 0.05 * start[0];
                start[1] = 1.0 + 0.05 * start[1];
                return start;
            }};
}

Minimum minimumOfRosenbrock(const Values& start) {
    Minimum m{{start[0], start[1]}};
    m.isFound = KvMath::fminsearch([](double* p, void*) { return rosenbrock(p[0], p[1]); }, nullptr, 2, m.x,
                                   nullptr, 1e-8, 1000, m.evaluations);
    return m;
}

#ifdef KVMATH_HAS_GSL
/// With the steps that fminsearch takes of itself.
GslSimplex simplexOfRosenbrock(const Values& start) { return {start, {0.05 * start[0], 0.05 * start[1]}}; }

const double* minimise(GslSimplex& simplex) {
    return simplex.minimise([](const gsl_vector* p, void*) { return rosenbrock(p->data[0], p->data[1]); },
                            nullptr);
}

// The search of 1e-8 ends where the costs differ by 5e-19, because 1e-10 is added to their sum. On the floor
// of the valley the cost is dx^2 and dy is 2 dx: about 7e-10 and 1.4e-9 are left (1.8e-9 occurs).
constexpr double kByCost = 3e-9;
// The corners of the peer are about 1e-5 from their middle, that being some such distance from the minimum
// (1.6e-5 occurs).
constexpr double kBySize = 3e-5;

ComparisonOf<> minima([] {
    return starts().difference([](const Values& start) -> const char* {
        const Minimum own = minimumOfRosenbrock(start);
        GslSimplex simplex = simplexOfRosenbrock(start);
        const double* peer = minimise(simplex);
        const auto isThere = [](const double* x, double tolerance) {
            return isNear(x[0], 1.0, tolerance) && isNear(x[1], 1.0, tolerance);
        };
        if (!own.isFound || !isThere(own.x, kByCost))
            return "fminsearch is not at (1, 1)";
        return isThere(peer, kBySize) ? nullptr : "GSL is not at (1, 1)";
    });
});
#else
ComparisonOf<> minima;
#endif

void BM_Rosenbrock(benchmark::State& state) {
    if (minima.refuses(state))
        return;
    double evaluations = 0.0;
    Inputs::measure(state, starts(), [&](const Values& start) {
        Minimum minimum = minimumOfRosenbrock(start);
        benchmark::DoNotOptimize(minimum);
        evaluations += minimum.evaluations;
    });
    state.counters["evaluations"] = {evaluations, benchmark::Counter::kAvgIterations};
}
BENCHMARK(BM_Rosenbrock);
#ifdef KVMATH_HAS_GSL
void BM_RosenbrockGsl(benchmark::State& state) {
    if (minima.refuses(state))
        return;
    std::vector<GslSimplex> simplices;
    Pool<Values> from = starts();
    for (std::size_t k = 0; k < from.count(); ++k)
        simplices.push_back(simplexOfRosenbrock(from.next()));
    Inputs::measure(state, Pool(std::move(simplices)),
                    [](GslSimplex& simplex) { benchmark::DoNotOptimize(minimise(simplex)); });
}
BENCHMARK(BM_RosenbrockGsl);
#endif

// ---- Circles. Compared: centre and radius.

struct Circle {
    KvMath::KvVector2D<double> centre;
    double radius = 0.0;
    bool isFound = false;
};

Circle circleOf(const CirclePoints& points) {
    Circle circle;
    circle.isFound = KvMath::circleFitting(points.data(), static_cast<int>(points.size()), circle.centre,
                                           circle.radius, 1e-8, 1000);
    return circle;
}

#ifdef KVMATH_HAS_GSL
/// From near the result, as circleFitting from its algebraic start.
GslSimplex simplexOfCircle() { return {{1.0, 2.0, 5.0}, {0.05, 0.1, 0.25}}; }

const double* minimise(GslSimplex& simplex, CirclePoints& points) {
    const GslSimplex::Cost cost = [](const gsl_vector* p, void* data) {
        double sum = 0.0;
        for (const auto& point : *static_cast<CirclePoints*>(data)) {
            const double dx = point.x - p->data[0];
            const double dy = point.y - p->data[1];
            const double residual = std::sqrt(dx * dx + dy * dy) - p->data[2];
            sum += residual * residual;
        }
        return sum;
    };
    return simplex.minimise(cost, &points);
}

// The peer is off by about its size, 1e-5. Costs that agree to 1e-8 leave a full circle open by 3e-6 and the
// arc of 1 radian, which 100 points make, by 5e-5 (4e-6 occurs on both). The radius of an algebraic
// fit would be off by 4e-5.
double toleranceOfCircle(int size) { return size > 628 ? 1.5e-5 : 5e-5; }

Comparison circles([](int size) {
    return Pool(size, circlePoints).difference([size](CirclePoints points) {
        const Circle own = circleOf(points);
        GslSimplex simplex = simplexOfCircle();
        const double* peer = minimise(simplex, points);
        const double tolerance = toleranceOfCircle(size);
        const bool isSame = own.isFound && isNear(own.centre.x, peer[0], tolerance) &&
                            isNear(own.centre.y, peer[1], tolerance) &&
                            isNear(own.radius, peer[2], tolerance);
        return isSame ? nullptr : "different circles";
    });
});
#else
Comparison circles;
#endif

void BM_Circle(benchmark::State& state) {
    if (circles.refuses(state))
        return;
    Inputs::measure(state, Pool(sizeOf(state), circlePoints),
                    [](const CirclePoints& points) { benchmark::DoNotOptimize(circleOf(points)); });
}
BENCHMARK(BM_Circle)->Arg(100)->Arg(1000);
#ifdef KVMATH_HAS_GSL
void BM_CircleGsl(benchmark::State& state) {
    if (circles.refuses(state))
        return;
    GslSimplex simplex = simplexOfCircle();
    Inputs::measure(state, Pool(sizeOf(state), circlePoints),
                    [&](CirclePoints& points) { benchmark::DoNotOptimize(minimise(simplex, points)); });
}
BENCHMARK(BM_CircleGsl)->Arg(100)->Arg(1000);
#endif

}  // namespace
