// Lines, smoothing and splines beside GSL, where that is installed: the same data, one thread, results
// compared before anything is timed. The rows belong to the program of numerics_benchmark.cpp.

#include <benchmarks/numerics_peers.h>
#include <kvmath/numerics/curves.h>
#include <kvmath/numerics/fitting.h>
#include <kvmath/numerics/savitzky_golay.h>

#include <benchmark/benchmark.h>

#ifdef KVMATH_HAS_GSL
#include <gsl/gsl_blas.h>
#include <gsl/gsl_fit.h>
#include <gsl/gsl_linalg.h>
#include <gsl/gsl_spline.h>
#endif

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace {

using namespace Peers;

// ---- Lines. Compared: c[0] here, c1 there, is the slope, c[1] here, c0 there, the value at 0. Each
// sums up to 10,000 roundings (1e-16) in its own way, their square root in sum (4e-15 occurs).

#ifdef KVMATH_HAS_GSL
constexpr double kSums = 3e-14;

struct GslLine {
    double c0, c1, cov00, cov01, cov11, sumOfSquares;
};

GslLine lineOf(const LinePoints& points) {
    GslLine line{};
    gsl_fit_linear(points.x.data(), 1, points.y.data(), 1, points.x.size(), &line.c0, &line.c1, &line.cov00,
                   &line.cov01, &line.cov11, &line.sumOfSquares);
    return line;
}

Comparison lines([](int size) {
    return Pool(size, linePoints).difference([](const LinePoints& points) {
        double c[2];
        KvMath::lineFitting(points.x.data(), points.y.data(), static_cast<int>(points.x.size()), c);
        const GslLine peer = lineOf(points);
        const bool isSame = isNear(c[0], peer.c1, kSums) && isNear(c[1], peer.c0, kSums);
        return isSame ? nullptr : "different lines";
    });
});
#else
Comparison lines;
#endif

void BM_Line(benchmark::State& state) {
    if (lines.refuses(state))
        return;
    double c[2];
    Inputs::measure(state, Pool(sizeOf(state), linePoints), [&](const LinePoints& points) {
        KvMath::lineFitting(points.x.data(), points.y.data(), sizeOf(state), c);
        benchmark::DoNotOptimize(c);
    });
}
BENCHMARK(BM_Line)->Arg(100)->Arg(10'000);
#ifdef KVMATH_HAS_GSL
void BM_LineGsl(benchmark::State& state) {
    if (lines.refuses(state))
        return;
    Inputs::measure(state, Pool(sizeOf(state), linePoints),
                    [](const LinePoints& points) { benchmark::DoNotOptimize(lineOf(points)); });
}
BENCHMARK(BM_LineGsl)->Arg(100)->Arg(10'000);
#endif

// ---- Smoothing: the coefficients that evaluate, at the middle of a window, the polynomial fitted to it. GSL
// has none ready; they are the row of the middle's value in the pseudoinverse, R^-1 Q^T, of the matrix of
// powers. Compared: the coefficients, at most 0.04, to the roundings of some hundred products (3e-16 occurs).

constexpr int kHalf = 50;
constexpr std::size_t kWindow = 2 * kHalf + 1;

#ifdef KVMATH_HAS_GSL
class GslFilter {
public:
    explicit GslFilter(int degree) : terms_(static_cast<std::size_t>(degree) + 1), tau_(terms_), c_(kWindow) {
        for (int k = -kHalf; k <= kHalf; ++k)
            for (std::size_t p = 0; p < terms_; ++p)
                powers_.push_back(std::pow(k, p));
        qr_ = powers_;
    }

    const Values& coefficients() {
        qr_ = powers_;
        std::fill(c_.begin(), c_.end(), 0.0);
        c_[0] = 1.0;
        auto qr = gsl_matrix_view_array(qr_.data(), kWindow, terms_);
        auto tau = gsl_vector_view_array(tau_.data(), terms_);
        auto all = gsl_vector_view_array(c_.data(), kWindow);
        auto first = gsl_vector_view_array(c_.data(), terms_);
        gsl_linalg_QR_decomp(&qr.matrix, &tau.vector);
        const auto r = gsl_matrix_submatrix(&qr.matrix, 0, 0, terms_, terms_);
        gsl_blas_dtrsv(CblasUpper, CblasTrans, CblasNonUnit, &r.matrix, &first.vector);
        gsl_linalg_QR_Qvec(&qr.matrix, &tau.vector, &all.vector);
        return c_;
    }

private:
    std::size_t terms_;
    Values powers_, qr_, tau_, c_;
};

Comparison filters([](int degree) -> const char* {
    Values own(kWindow);
    if (!KvMath::SavitzkyGolay1dCoefficients(own.data(), degree, kHalf, 0))
        return "no coefficients";
    GslFilter filter(degree);
    const Values& peer = filter.coefficients();
    const auto isSame = [](double a, double b) { return isNear(a, b, 4e-15); };
    return std::equal(own.begin(), own.end(), peer.begin(), isSame) ? nullptr : "different coefficients";
});
#else
Comparison filters;
#endif

void BM_SavitzkyGolay(benchmark::State& state) {
    if (filters.refuses(state))
        return;
    Values coeffs(kWindow);
    for (auto _ : state)
        benchmark::DoNotOptimize(KvMath::SavitzkyGolay1dCoefficients(coeffs.data(), sizeOf(state), kHalf, 0));
}
BENCHMARK(BM_SavitzkyGolay)->Arg(2)->Arg(4);
#ifdef KVMATH_HAS_GSL
void BM_SavitzkyGolayGsl(benchmark::State& state) {
    if (filters.refuses(state))
        return;
    GslFilter filter(sizeOf(state));
    for (auto _ : state)
        benchmark::DoNotOptimize(filter.coefficients().data());
}
BENCHMARK(BM_SavitzkyGolayGsl)->Arg(2)->Arg(4);
#endif

// ---- Splines: clamped here, natural there, the same system but for two rows. What differs at an end is
// divided by 2 + sqrt(3) from knot to knot, so that 6e-58 of it is left 100 knots away, and the places are
// farther. Compared: the values there, numbers of the order of 1, to some roundings (1.1e-15 occurs).

class OwnSpline {
public:
    OwnSpline() : block_(4 * kKnots) {
        for (std::size_t k = 0; k < kKnots; ++k)
            rows_.push_back(block_.data() + 4 * k);
    }
    void fit(const Knots& knots) {
        KvMath::cubicInterpolation(kKnots, knots.x.data(), knots.y.data(), 0.0, 0.0, rows_.data());
    }
    double value(const Knots& knots, double at) {
        return KvMath::getCubicInterpolatedValue(at, kKnots, knots.x.data(), rows_.data());
    }

private:
    Values block_;
    std::vector<double*> rows_;
};

#ifdef KVMATH_HAS_GSL
class GslSpline {
public:
    void fit(const Knots& knots) { gsl_spline_init(spline_.get(), knots.x.data(), knots.y.data(), kKnots); }
    double value(const Knots& /*knots*/, double at) { return gsl_spline_eval(spline_.get(), at, nullptr); }

private:
    Owned<gsl_spline> spline_{gsl_spline_alloc(gsl_interp_cspline, kKnots), &gsl_spline_free};
};

ComparisonOf<> splines([]() -> const char* {
    const Knots knots;
    OwnSpline own;
    GslSpline peer;
    own.fit(knots);
    peer.fit(knots);
    for (const double at : knots.places) {
        if (!isNear(own.value(knots, at), peer.value(knots, at), 1e-14))
            return "different values";
    }
    return nullptr;
});
#else
ComparisonOf<> splines;
#endif

template <typename Spline>
void fit(benchmark::State& state) {
    if (splines.refuses(state))
        return;
    const Knots knots;
    Spline spline;
    for (auto _ : state) {
        spline.fit(knots);
        benchmark::ClobberMemory();
    }
}

template <typename Spline>
void evaluate(benchmark::State& state) {
    if (splines.refuses(state))
        return;
    const Knots knots;
    Spline spline;
    spline.fit(knots);
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(spline.value(knots, knots.places[i++ % kPlaces]));
}

void BM_Spline(benchmark::State& state) { fit<OwnSpline>(state); }
void BM_SplineValue(benchmark::State& state) { evaluate<OwnSpline>(state); }
BENCHMARK(BM_Spline);
BENCHMARK(BM_SplineValue);
#ifdef KVMATH_HAS_GSL
void BM_SplineGsl(benchmark::State& state) { fit<GslSpline>(state); }
void BM_SplineValueGsl(benchmark::State& state) { evaluate<GslSpline>(state); }
BENCHMARK(BM_SplineGsl);
BENCHMARK(BM_SplineValueGsl);
#endif

}  // namespace
