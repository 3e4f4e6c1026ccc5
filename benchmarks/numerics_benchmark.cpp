// The numerics beside Eigen and GSL, where those are installed: the same problem, the same data, one thread.
//
// The peers work in full double precision, column by column (Eigen) or row by row (GSL); svdcmp keeps its
// prescribed rotations. Inputs are restored within the measured loop on all sides, and small problems change
// from round to round: the processor would learn the branches of a single one by heart.

#include <kvmath/numerics/circle_fitting.h>
#include <kvmath/numerics/curves.h>
#include <kvmath/numerics/fitting.h>
#include <kvmath/numerics/optimisers.h>
#include <kvmath/numerics/savitzky_golay.h>
#include <kvmath/numerics/svd.h>
#include <tests/support/random_data.h>

#include <benchmark/benchmark.h>

#ifdef KVMATH_HAS_EIGEN
#include <Eigen/Eigenvalues>
#include <Eigen/SVD>
#endif
#ifdef KVMATH_HAS_GSL
#include <gsl/gsl_fit.h>
#include <gsl/gsl_linalg.h>
#include <gsl/gsl_multifit.h>
#include <gsl/gsl_multimin.h>
#include <gsl/gsl_spline.h>
#endif

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace {

using Values = std::vector<double>;

Values normals(std::size_t count) {
    TestSupport::Draws draws(7);
    Values values(count);
    for (double& value : values)
        value = draws.normal(1.0);
    return values;
}

std::size_t size(const benchmark::State& state, std::size_t i) {
    return static_cast<std::size_t>(state.range(i));
}

constexpr std::size_t kPool = 64;

/// One of kPool stretches of `size` numbers after the other.
class Pool {
public:
    Pool(Values values, std::size_t size) : values_(std::move(values)), size_(size) {}
    explicit Pool(std::size_t size) : Pool(normals(kPool * size), size) {}
    const double* next() {
        at_ = at_ + 2 * size_ <= values_.size() ? at_ + size_ : 0;
        return values_.data() + at_;
    }

private:
    Values values_;
    std::size_t size_;
    std::size_t at_ = 0;
};

void shapes(benchmark::internal::Benchmark* b) {
    for (const auto& shape : {std::pair(3, 3), {6, 6}, {20, 6}, {100, 10}, {1000, 3}})
        b->Args({shape.first, shape.second});
}

// Unit-offset rows over one block.
struct Rows {
    Rows(std::size_t m, std::size_t n) : block((m + 1) * (n + 1)), rows(m + 1) {
        for (std::size_t r = 0; r <= m; ++r)
            rows[r] = block.data() + r * (n + 1);
    }
    Values block;
    std::vector<double*> rows;
};

void BM_Svd(benchmark::State& state) {
    const std::size_t m = size(state, 0);
    const std::size_t n = size(state, 1);
    Rows a(m, n);
    Rows v(n, n);
    Values w(n + 1);
    Pool source(a.block.size());
    for (auto _ : state) {
        std::copy_n(source.next(), a.block.size(), a.block.begin());
        benchmark::DoNotOptimize(
            KvMath::svdcmp(a.rows.data(), static_cast<int>(m), static_cast<int>(n), w.data(), v.rows.data()));
    }
}
BENCHMARK(BM_Svd)->Apply(shapes);

void BM_LeastSquares(benchmark::State& state) {
    const std::size_t m = size(state, 0);
    const std::size_t n = size(state, 1);
    Pool a(m * n);
    const Values b = normals(m);
    Values x(n);
    for (auto _ : state)
        benchmark::DoNotOptimize(KvMath::svdLeastSquares(a.next(), b.data(), static_cast<int>(m),
                                                         static_cast<int>(n), 1e-12, x.data()));
}
BENCHMARK(BM_LeastSquares)->Apply(shapes);

Pool planePoints(std::size_t count) {
    Values xyz = normals(3 * count * (count <= 1000 ? kPool : 1));
    for (std::size_t i = 0; i < xyz.size(); i += 3)
        xyz[i + 2] = 0.01 * xyz[i + 2] + 0.5 * xyz[i];
    return {std::move(xyz), 3 * count};
}

void BM_Plane(benchmark::State& state) {
    Pool xyz = planePoints(size(state, 0));
    double p[4];
    for (auto _ : state)
        benchmark::DoNotOptimize(KvMath::planeFitting(xyz.next(), static_cast<int>(state.range(0)), p));
}
BENCHMARK(BM_Plane)->RangeMultiplier(10)->Range(10, 1'000'000);

void BM_Line(benchmark::State& state) {
    const Values x = normals(size(state, 0));
    const Values y = normals(size(state, 0));
    double c[2];
    for (auto _ : state) {
        KvMath::lineFitting(x.data(), y.data(), static_cast<int>(state.range(0)), c);
        benchmark::DoNotOptimize(c);
    }
}
BENCHMARK(BM_Line)->Arg(100)->Arg(10'000);

double rosenbrock(double x, double y) { return 100.0 * (y - x * x) * (y - x * x) + (1.0 - x) * (1.0 - x); }

void BM_Rosenbrock(benchmark::State& state) {
    int evaluations = 0;
    for (auto _ : state) {
        double x[] = {-1.2, 1.0};
        KvMath::fminsearch([](double* p, void*) { return rosenbrock(p[0], p[1]); }, nullptr, 2, x, nullptr,
                           1e-8, 1000, evaluations);
        benchmark::DoNotOptimize(x);
    }
    state.counters["evaluations"] = evaluations;
}
BENCHMARK(BM_Rosenbrock);

std::vector<KvMath::KvVector2D<double>> circlePoints(std::size_t count) {
    const Values noise = normals(count);
    std::vector<KvMath::KvVector2D<double>> points;
    for (std::size_t i = 0; i < count; ++i) {
        const double angle = 0.01 * static_cast<double>(i);
        const double radius = 5.0 + 0.02 * noise[i];
        points.emplace_back(1.0 + radius * std::cos(angle), 2.0 + radius * std::sin(angle));
    }
    return points;
}

void BM_Circle(benchmark::State& state) {
    const auto points = circlePoints(size(state, 0));
    KvMath::KvVector2D<double> centre;
    double radius = 0.0;
    for (auto _ : state)
        benchmark::DoNotOptimize(KvMath::circleFitting(points.data(), static_cast<int>(state.range(0)),
                                                       centre, radius, 1e-8, 1000));
}
BENCHMARK(BM_Circle)->Arg(100)->Arg(1000);

void BM_SavitzkyGolay(benchmark::State& state) {
    Values coeffs(101);
    for (auto _ : state)
        benchmark::DoNotOptimize(
            KvMath::SavitzkyGolay1dCoefficients(coeffs.data(), static_cast<int>(state.range(0)), 50, 0));
}
BENCHMARK(BM_SavitzkyGolay)->Arg(2)->Arg(4);

constexpr int kKnots = 1000;

struct Knots {
    Knots() : y(normals(kKnots)) {
        for (int i = 0; i < kKnots; ++i)
            x.push_back(i + 0.3 * std::sin(i));
        const Values picks = normals(1024);
        for (const double pick : picks)
            places.push_back(500.0 + 100.0 * pick);
    }
    Values x, y, places;
};

struct SplineRows {
    SplineRows() : block(4 * kKnots) {
        for (std::size_t k = 0; k < kKnots; ++k)
            rows.push_back(block.data() + 4 * k);
    }
    Values block;
    std::vector<double*> rows;
};

void BM_Spline(benchmark::State& state) {
    const Knots knots;
    SplineRows table;
    for (auto _ : state) {
        KvMath::cubicInterpolation(kKnots, knots.x.data(), knots.y.data(), 0.0, 0.0, table.rows.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_Spline);

void BM_SplineValue(benchmark::State& state) {
    const Knots knots;
    SplineRows table;
    KvMath::cubicInterpolation(kKnots, knots.x.data(), knots.y.data(), 0.0, 0.0, table.rows.data());
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(KvMath::getCubicInterpolatedValue(knots.places[i++ % 1024], kKnots,
                                                                   knots.x.data(), table.rows.data()));
}
BENCHMARK(BM_SplineValue);

#ifdef KVMATH_HAS_EIGEN
using Dense = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic>;
constexpr unsigned kThin = Eigen::ComputeThinU | Eigen::ComputeThinV;

Eigen::Map<const Dense> asMatrix(const double* v, const benchmark::State& state) {
    return {v, state.range(0), state.range(1)};
}

void BM_SvdEigen(benchmark::State& state) {
    Pool source(size(state, 0) * size(state, 1));
    Eigen::JacobiSVD<Dense> svd(state.range(0), state.range(1), kThin);
    for (auto _ : state)
        benchmark::DoNotOptimize(svd.compute(asMatrix(source.next(), state)).singularValues().data());
}
BENCHMARK(BM_SvdEigen)->Apply(shapes);

void BM_SvdEigenDivideAndConquer(benchmark::State& state) {
    Pool source(size(state, 0) * size(state, 1));
    Eigen::BDCSVD<Dense> svd(state.range(0), state.range(1), kThin);
    for (auto _ : state)
        benchmark::DoNotOptimize(svd.compute(asMatrix(source.next(), state)).singularValues().data());
}
BENCHMARK(BM_SvdEigenDivideAndConquer)->Apply(shapes);

void BM_LeastSquaresEigen(benchmark::State& state) {
    Pool source(size(state, 0) * size(state, 1));
    const Values b = normals(size(state, 0));
    const Eigen::Map<const Eigen::VectorXd> right(b.data(), state.range(0));
    for (auto _ : state) {
        const Eigen::VectorXd x = asMatrix(source.next(), state).jacobiSvd(kThin).solve(right);
        benchmark::DoNotOptimize(x.data());
    }
}
BENCHMARK(BM_LeastSquaresEigen)->Apply(shapes);

void BM_PlaneEigen(benchmark::State& state) {  // decomposition of the centred points, as planeFitting
    Pool xyz = planePoints(size(state, 0));
    for (auto _ : state) {
        const Eigen::Map<const Eigen::Matrix<double, 3, Eigen::Dynamic>> points(xyz.next(), 3,
                                                                                state.range(0));
        const Eigen::Vector3d centroid = points.rowwise().mean();
        const Eigen::Matrix<double, Eigen::Dynamic, 3> centred = (points.colwise() - centroid).transpose();
        Eigen::JacobiSVD<Eigen::Matrix<double, Eigen::Dynamic, 3>> svd(centred, Eigen::ComputeFullV);
        benchmark::DoNotOptimize(svd.matrixV().data());
    }
}
BENCHMARK(BM_PlaneEigen)->RangeMultiplier(10)->Range(10, 1'000'000);
#endif

#ifdef KVMATH_HAS_GSL
void BM_SvdGsl(benchmark::State& state) {
    Pool source(size(state, 0) * size(state, 1));
    Values a(size(state, 0) * size(state, 1));
    const std::size_t n = size(state, 1);
    Values v(n * n);
    Values w(n);
    Values work(n);
    auto viewA = gsl_matrix_view_array(a.data(), size(state, 0), n);
    auto viewV = gsl_matrix_view_array(v.data(), n, n);
    auto viewW = gsl_vector_view_array(w.data(), n);
    auto viewWork = gsl_vector_view_array(work.data(), n);
    for (auto _ : state) {
        std::copy_n(source.next(), a.size(), a.begin());
        gsl_linalg_SV_decomp(&viewA.matrix, &viewV.matrix, &viewW.vector, &viewWork.vector);
        benchmark::DoNotOptimize(w.data());
    }
}
BENCHMARK(BM_SvdGsl)->Apply(shapes);

void BM_LeastSquaresGsl(benchmark::State& state) {
    const std::size_t m = size(state, 0);
    const std::size_t n = size(state, 1);
    Pool a(m * n);
    const Values b = normals(m);
    Values x(n);
    Values covariance(n * n);
    auto viewB = gsl_vector_const_view_array(b.data(), m);
    auto viewX = gsl_vector_view_array(x.data(), n);
    auto viewC = gsl_matrix_view_array(covariance.data(), n, n);
    double chisq = 0.0;
    gsl_multifit_linear_workspace* work = gsl_multifit_linear_alloc(m, n);
    for (auto _ : state) {
        const auto viewA = gsl_matrix_const_view_array(a.next(), m, n);
        gsl_multifit_linear(&viewA.matrix, &viewB.vector, &viewX.vector, &viewC.matrix, &chisq, work);
    }
    gsl_multifit_linear_free(work);
}
BENCHMARK(BM_LeastSquaresGsl)->Apply(shapes);

void BM_LineGsl(benchmark::State& state) {
    const Values x = normals(size(state, 0));
    const Values y = normals(size(state, 0));
    double r[6];
    for (auto _ : state) {
        gsl_fit_linear(x.data(), 1, y.data(), 1, x.size(), r, r + 1, r + 2, r + 3, r + 4, r + 5);
        benchmark::DoNotOptimize(r);
    }
}
BENCHMARK(BM_LineGsl)->Arg(100)->Arg(10'000);

using Cost = double (*)(const gsl_vector* p, void* data);

/// GSL's simplex search until its size is below 1e-5; the trials are not comparable one by one.
void minimise(Cost cost, void* data, gsl_vector* start, const gsl_vector* step,
              gsl_multimin_fminimizer* minimizer) {
    gsl_multimin_function f{cost, start->size, data};
    gsl_multimin_fminimizer_set(minimizer, &f, start, step);
    for (int i = 0; i < 1000 && gsl_multimin_fminimizer_size(minimizer) > 1e-5; ++i)
        gsl_multimin_fminimizer_iterate(minimizer);
}

void BM_RosenbrockGsl(benchmark::State& state) {
    gsl_multimin_fminimizer* minimizer = gsl_multimin_fminimizer_alloc(gsl_multimin_fminimizer_nmsimplex2, 2);
    double x[] = {-1.2, 1.0};
    double step[] = {-0.06, 0.05};
    auto viewX = gsl_vector_view_array(x, 2);
    auto viewStep = gsl_vector_view_array(step, 2);
    const Cost cost = [](const gsl_vector* p, void*) { return rosenbrock(p->data[0], p->data[1]); };
    for (auto _ : state)
        minimise(cost, nullptr, &viewX.vector, &viewStep.vector, minimizer);
    gsl_multimin_fminimizer_free(minimizer);
}
BENCHMARK(BM_RosenbrockGsl);

void BM_CircleGsl(benchmark::State& state) {
    auto points = circlePoints(size(state, 0));
    gsl_multimin_fminimizer* minimizer = gsl_multimin_fminimizer_alloc(gsl_multimin_fminimizer_nmsimplex2, 3);
    double x[] = {1.0, 2.0, 5.0};  // near the result, as the algebraic start of circleFitting
    double step[] = {0.05, 0.1, 0.25};
    auto viewX = gsl_vector_view_array(x, 3);
    auto viewStep = gsl_vector_view_array(step, 3);
    const Cost cost = [](const gsl_vector* p, void* data) {
        double sum = 0.0;
        for (const auto& point : *static_cast<decltype(points)*>(data)) {
            const double dx = point.x - p->data[0];
            const double dy = point.y - p->data[1];
            const double residual = std::sqrt(dx * dx + dy * dy) - p->data[2];
            sum += residual * residual;
        }
        return sum;
    };
    for (auto _ : state)
        minimise(cost, &points, &viewX.vector, &viewStep.vector, minimizer);
    gsl_multimin_fminimizer_free(minimizer);
}
BENCHMARK(BM_CircleGsl)->Arg(100)->Arg(1000);

void BM_SplineGsl(
    benchmark::State& state) {  // natural instead of clamped ends: the same system but for two rows
    const Knots knots;
    gsl_spline* spline = gsl_spline_alloc(gsl_interp_cspline, kKnots);
    for (auto _ : state)
        gsl_spline_init(spline, knots.x.data(), knots.y.data(), kKnots);
    gsl_spline_free(spline);
}
BENCHMARK(BM_SplineGsl);

/// A polynomial of the same degree fitted to the same window, the nearest to a Savitzky-Golay filter that GSL
/// has.
void BM_SavitzkyGolayGsl(benchmark::State& state) {
    const std::size_t terms = size(state, 0) + 1;
    constexpr std::size_t kWindow = 101;
    Values a;
    for (int k = -50; k <= 50; ++k)
        for (std::size_t p = 0; p < terms; ++p)
            a.push_back(std::pow(k, p));
    Values tau(terms);
    Values unit(kWindow);
    unit[50] = 1.0;
    Values x(terms);
    Values residual(kWindow);
    for (auto _ : state) {
        Values qr(a);
        auto viewQr = gsl_matrix_view_array(qr.data(), kWindow, terms);
        auto viewTau = gsl_vector_view_array(tau.data(), terms);
        auto viewB = gsl_vector_view_array(unit.data(), kWindow);
        auto viewX = gsl_vector_view_array(x.data(), terms);
        auto viewR = gsl_vector_view_array(residual.data(), kWindow);
        gsl_linalg_QR_decomp(&viewQr.matrix, &viewTau.vector);
        gsl_linalg_QR_lssolve(&viewQr.matrix, &viewTau.vector, &viewB.vector, &viewX.vector, &viewR.vector);
        benchmark::DoNotOptimize(x.data());
    }
}
BENCHMARK(BM_SavitzkyGolayGsl)->Arg(2)->Arg(4);

void BM_SplineValueGsl(benchmark::State& state) {
    const Knots knots;
    gsl_spline* spline = gsl_spline_alloc(gsl_interp_cspline, kKnots);
    gsl_spline_init(spline, knots.x.data(), knots.y.data(), kKnots);
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(gsl_spline_eval(spline, knots.places[i++ % 1024], nullptr));
    gsl_spline_free(spline);
}
BENCHMARK(BM_SplineValueGsl);
#endif

}  // namespace
