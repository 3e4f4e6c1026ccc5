// Singular values, least squares and planes beside Eigen and GSL, where those are installed: the same
// matrices, one thread, results compared before anything is timed. Searches and curves have files of their
// own.
//
// The peers work in full double precision, column by column (Eigen) or row by row (GSL); svdcmp keeps its
// own order of rotations. Inputs are restored within the measured loop on all sides.

#include <benchmarks/numerics_peers.h>
#include <kvmath/numerics/fitting.h>
#include <kvmath/numerics/svd.h>

#include <benchmark/benchmark.h>

#ifdef KVMATH_HAS_EIGEN
#include <Eigen/Eigenvalues>
#include <Eigen/SVD>
#endif
#ifdef KVMATH_HAS_GSL
#include <gsl/gsl_linalg.h>
#include <gsl/gsl_multifit.h>
#endif

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

namespace {

using namespace Peers;

// svdcmp takes the lengths of its rotations in single precision, by design, and so does what is built on it:
// U and V are orthonormal, W right and U W V^T the matrix to a few roundings of float (6e-8 each; 9e-8 of the
// largest value occurs).
constexpr double kSingle = 3e-7;
// The peers round doubles only (2.4e-15 occurs).
[[maybe_unused]] constexpr double kDouble = 2e-14;

void shapes(benchmark::internal::Benchmark* b) {
    for (const auto& shape : {std::pair(3, 3), {6, 6}, {20, 6}, {100, 10}, {1000, 3}})
        b->Args({shape.first, shape.second});
}

/// Times Problem(m, n).run(matrix).
template <typename Problem>
void time(benchmark::State& state, ComparisonOf<std::size_t, std::size_t>& comparison) {
    if (comparison.refuses(state))
        return;
    const auto m = static_cast<std::size_t>(state.range(0));
    const auto n = static_cast<std::size_t>(state.range(1));
    Problem problem(m, n);
    Inputs::measure(state, matrices(m, n, Problem::kLayout),
                    [&](const Values& matrix) { benchmark::DoNotOptimize(problem.run(matrix.data())); });
}

// ---- Singular values. A class for each library: run returns the values, null when they do not converge;
// u(row, column) and v(row, column) are the vectors then.

// Unit-offset rows over one block.
struct Rows {
    Rows(std::size_t m, std::size_t n) : block((m + 1) * (n + 1)), rows(m + 1) {
        for (std::size_t r = 0; r <= m; ++r)
            rows[r] = block.data() + r * (n + 1);
    }
    Values block;
    std::vector<double*> rows;
};

class OwnSvd {
public:
    static constexpr Layout kLayout = Layout::kUnitOffset;
    OwnSvd(std::size_t m, std::size_t n)
        : m_(static_cast<int>(m)), n_(static_cast<int>(n)), a_(m, n), v_(n, n), w_(n + 1) {}
    const double* run(const double* matrix) {
        std::copy_n(matrix, a_.block.size(), a_.block.begin());
        return KvMath::svdcmp(a_.rows.data(), m_, n_, w_.data(), v_.rows.data()) ? w_.data() + 1 : nullptr;
    }
    double u(std::size_t row, std::size_t column) const { return a_.rows[row + 1][column + 1]; }
    double v(std::size_t row, std::size_t column) const { return v_.rows[row + 1][column + 1]; }

private:
    int m_, n_;
    Rows a_, v_;
    Values w_;
};

#ifdef KVMATH_HAS_EIGEN
using Dense = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic>;
constexpr unsigned kThin = Eigen::ComputeThinU | Eigen::ComputeThinV;

Eigen::Index indexOf(std::size_t i) { return static_cast<Eigen::Index>(i); }

template <typename Svd>
class EigenSvd {
public:
    static constexpr Layout kLayout = Layout::kColumns;
    EigenSvd(std::size_t m, std::size_t n) : svd_(indexOf(m), indexOf(n), kThin) {}
    const double* run(const double* matrix) {
        return svd_.compute(Eigen::Map<const Dense>(matrix, svd_.rows(), svd_.cols()))
            .singularValues()
            .data();
    }
    double u(std::size_t row, std::size_t column) const {
        return svd_.matrixU()(indexOf(row), indexOf(column));
    }
    double v(std::size_t row, std::size_t column) const {
        return svd_.matrixV()(indexOf(row), indexOf(column));
    }

private:
    Svd svd_;
};
using EigenJacobi = EigenSvd<Eigen::JacobiSVD<Dense>>;
using EigenDivideAndConquer = EigenSvd<Eigen::BDCSVD<Dense>>;
#endif

#ifdef KVMATH_HAS_GSL
class GslSvd {
public:
    static constexpr Layout kLayout = Layout::kRows;
    GslSvd(std::size_t m, std::size_t n) : n_(n), a_(m * n), v_(n * n), w_(n), work_(n) {}
    const double* run(const double* matrix) {
        std::copy_n(matrix, a_.size(), a_.begin());
        auto a = gsl_matrix_view_array(a_.data(), a_.size() / n_, n_);
        auto v = gsl_matrix_view_array(v_.data(), n_, n_);
        auto w = gsl_vector_view_array(w_.data(), n_);
        auto work = gsl_vector_view_array(work_.data(), n_);
        gsl_linalg_SV_decomp(&a.matrix, &v.matrix, &w.vector, &work.vector);
        return w_.data();
    }
    double u(std::size_t row, std::size_t column) const { return a_[row * n_ + column]; }
    double v(std::size_t row, std::size_t column) const { return v_[row * n_ + column]; }

private:
    std::size_t n_;
    Values a_, v_, w_, work_;
};
#endif

Values descending(const double* values, std::size_t count) {
    Values sorted(values, values + count);
    std::sort(sorted.begin(), sorted.end(), std::greater<>());
    return sorted;
}

/// Whether U W V^T is each of the matrices to `tolerance`, and W in falling order that of svdcmp to kSingle,
/// both times the largest value.
template <typename Svd>
bool isDecomposed(std::size_t m, std::size_t n, double tolerance) {
    Pool rows = matrices(m, n, Layout::kRows);
    Pool ownInputs = matrices(m, n, OwnSvd::kLayout);
    Pool inputs = matrices(m, n, Svd::kLayout);
    OwnSvd own(m, n);
    Svd svd(m, n);
    for (std::size_t k = 0; k < inputs.count(); ++k) {
        const Values& matrix = rows.next();
        const double* ownValues = own.run(ownInputs.next().data());
        const double* values = svd.run(inputs.next().data());
        if (ownValues == nullptr || values == nullptr)
            return false;
        const Values expected = descending(ownValues, n);
        const Values found = descending(values, n);
        for (std::size_t i = 0; i < n; ++i) {
            if (!isNear(found[i], expected[i], kSingle * expected[0]))
                return false;
        }
        for (std::size_t i = 0; i < m * n; ++i) {
            double sum = 0.0;
            for (std::size_t j = 0; j < n; ++j)
                sum += svd.u(i / n, j) * values[j] * svd.v(i % n, j);
            if (!isNear(sum, matrix[i], tolerance * expected[0]))
                return false;
        }
    }
    return true;
}

ComparisonOf<std::size_t, std::size_t> decompositions([](std::size_t m, std::size_t n) -> const char* {
    if (!isDecomposed<OwnSvd>(m, n, kSingle))
        return "not the matrix of svdcmp";
#ifdef KVMATH_HAS_EIGEN
    if (!isDecomposed<EigenJacobi>(m, n, kDouble) || !isDecomposed<EigenDivideAndConquer>(m, n, kDouble))
        return "other singular values by Eigen";
#endif
#ifdef KVMATH_HAS_GSL
    if (!isDecomposed<GslSvd>(m, n, kDouble))
        return "other singular values by GSL";
#endif
    return nullptr;
});

void BM_Svd(benchmark::State& state) { time<OwnSvd>(state, decompositions); }
BENCHMARK(BM_Svd)->Apply(shapes);
#ifdef KVMATH_HAS_EIGEN
void BM_SvdEigen(benchmark::State& state) { time<EigenJacobi>(state, decompositions); }
void BM_SvdEigenDivideAndConquer(benchmark::State& state) {
    time<EigenDivideAndConquer>(state, decompositions);
}
BENCHMARK(BM_SvdEigen)->Apply(shapes);
BENCHMARK(BM_SvdEigenDivideAndConquer)->Apply(shapes);
#endif
#ifdef KVMATH_HAS_GSL
void BM_SvdGsl(benchmark::State& state) { time<GslSvd>(state, decompositions); }
BENCHMARK(BM_SvdGsl)->Apply(shapes);
#endif

// ---- Least squares. A class for each library: run returns the solution, null when there is none.

Values rightSide(std::size_t m) { return normals(m, 8); }

class OwnLeastSquares {
public:
    static constexpr Layout kLayout = Layout::kRows;
    OwnLeastSquares(std::size_t m, std::size_t n) : b_(rightSide(m)), x_(n) {}
    const double* run(const double* matrix) {
        return KvMath::svdLeastSquares(matrix, b_.data(), static_cast<int>(b_.size()),
                                       static_cast<int>(x_.size()), 1e-12, x_.data())
                   ? x_.data()
                   : nullptr;
    }

private:
    Values b_, x_;
};

#ifdef KVMATH_HAS_EIGEN
class EigenLeastSquares {
public:
    static constexpr Layout kLayout = Layout::kColumns;
    EigenLeastSquares(std::size_t m, std::size_t n) : b_(rightSide(m)), x_(indexOf(n)) {}
    const double* run(const double* matrix) {
        const Eigen::Map<const Eigen::VectorXd> right(b_.data(), indexOf(b_.size()));
        x_ = Eigen::Map<const Dense>(matrix, right.size(), x_.size()).jacobiSvd(kThin).solve(right);
        return x_.data();
    }

private:
    Values b_;
    Eigen::VectorXd x_;
};
#endif

#ifdef KVMATH_HAS_GSL
class GslLeastSquares {
public:
    static constexpr Layout kLayout = Layout::kRows;
    GslLeastSquares(std::size_t m, std::size_t n)
        : b_(rightSide(m)), x_(n), covariance_(n * n),
          work_(gsl_multifit_linear_alloc(m, n), &gsl_multifit_linear_free) {}
    const double* run(const double* matrix) {
        const auto a = gsl_matrix_const_view_array(matrix, b_.size(), x_.size());
        const auto b = gsl_vector_const_view_array(b_.data(), b_.size());
        auto x = gsl_vector_view_array(x_.data(), x_.size());
        auto covariance = gsl_matrix_view_array(covariance_.data(), x_.size(), x_.size());
        double chisq = 0.0;
        gsl_multifit_linear(&a.matrix, &b.vector, &x.vector, &covariance.matrix, &chisq, work_.get());
        return x_.data();
    }

private:
    Values b_, x_, covariance_;
    Owned<gsl_multifit_linear_workspace> work_;
};
#endif

/// Whether the solutions are those of svdLeastSquares. Its directions are off by kSingle at most; what they
/// make of the right side is divided by the singular values, so that the least one bounds the error.
template <typename LeastSquares>
[[maybe_unused]] bool isSolved(std::size_t m, std::size_t n) {
    Pool inputs = matrices(m, n, LeastSquares::kLayout);
    Pool ownInputs = matrices(m, n, OwnLeastSquares::kLayout);
    Pool svdInputs = matrices(m, n, OwnSvd::kLayout);
    LeastSquares solver(m, n);
    OwnLeastSquares own(m, n);
    OwnSvd svd(m, n);
    double length = 0.0;
    for (const double b : rightSide(m))
        length = std::hypot(length, b);
    for (std::size_t k = 0; k < inputs.count(); ++k) {
        const double* x = solver.run(inputs.next().data());
        const double* ownX = own.run(ownInputs.next().data());
        const double* values = svd.run(svdInputs.next().data());
        if (x == nullptr || ownX == nullptr || values == nullptr)
            return false;
        const double tolerance = kSingle * length / *std::min_element(values, values + n);
        if (!std::equal(x, x + n, ownX, [&](double a, double b) { return isNear(a, b, tolerance); }))
            return false;
    }
    return true;
}

ComparisonOf<std::size_t, std::size_t> solutions([]([[maybe_unused]] std::size_t m,
                                                    [[maybe_unused]] std::size_t n) -> const char* {
#ifdef KVMATH_HAS_EIGEN
    if (!isSolved<EigenLeastSquares>(m, n))
        return "other solutions by Eigen";
#endif
#ifdef KVMATH_HAS_GSL
    if (!isSolved<GslLeastSquares>(m, n))
        return "other solutions by GSL";
#endif
    return nullptr;
});

void BM_LeastSquares(benchmark::State& state) { time<OwnLeastSquares>(state, solutions); }
BENCHMARK(BM_LeastSquares)->Apply(shapes);
#ifdef KVMATH_HAS_EIGEN
void BM_LeastSquaresEigen(benchmark::State& state) { time<EigenLeastSquares>(state, solutions); }
BENCHMARK(BM_LeastSquaresEigen)->Apply(shapes);
#endif
#ifdef KVMATH_HAS_GSL
void BM_LeastSquaresGsl(benchmark::State& state) { time<GslLeastSquares>(state, solutions); }
BENCHMARK(BM_LeastSquaresGsl)->Apply(shapes);
#endif

// ---- Planes, on both sides by decomposition of the centred points. Compared: the normal, its sign being
// free, and the offset, to kSingle (3e-8 occurs).

void planeSizes(benchmark::internal::Benchmark* b) { b->RangeMultiplier(10)->Range(10, 1'000'000); }

#ifdef KVMATH_HAS_EIGEN
Eigen::Vector4d planeOf(const double* xyz, int count) {
    const Eigen::Map<const Eigen::Matrix<double, 3, Eigen::Dynamic>> points(xyz, 3, count);
    const Eigen::Vector3d centroid = points.rowwise().mean();
    const Eigen::Matrix<double, Eigen::Dynamic, 3> centred = (points.colwise() - centroid).transpose();
    Eigen::JacobiSVD<Eigen::Matrix<double, Eigen::Dynamic, 3>> svd(centred, Eigen::ComputeFullV);
    const Eigen::Vector3d normal = svd.matrixV().col(2);
    return {normal.x(), normal.y(), normal.z(), -normal.dot(centroid)};
}

Comparison planes([](int size) {
    return Pool(size, planePoints).difference([size](const Values& xyz) -> const char* {
        Eigen::Vector4d own;
        if (!KvMath::planeFitting(xyz.data(), size, own.data()))
            return "no plane";
        const Eigen::Vector4d peer = planeOf(xyz.data(), size);
        const double sign = own.head<3>().dot(peer.head<3>()) < 0.0 ? -1.0 : 1.0;
        return (own - sign * peer).lpNorm<Eigen::Infinity>() <= kSingle ? nullptr : "different planes";
    });
});
#else
Comparison planes;
#endif

void BM_Plane(benchmark::State& state) {
    if (planes.refuses(state))
        return;
    double p[4];
    Inputs::measure(state, Pool(sizeOf(state), planePoints), [&](const Values& xyz) {
        benchmark::DoNotOptimize(KvMath::planeFitting(xyz.data(), sizeOf(state), p));
    });
}
BENCHMARK(BM_Plane)->Apply(planeSizes);
#ifdef KVMATH_HAS_EIGEN
void BM_PlaneEigen(benchmark::State& state) {
    if (planes.refuses(state))
        return;
    Inputs::measure(state, Pool(sizeOf(state), planePoints),
                    [&](const Values& xyz) { benchmark::DoNotOptimize(planeOf(xyz.data(), sizeOf(state))); });
}
BENCHMARK(BM_PlaneEigen)->Apply(planeSizes);
#endif

}  // namespace
