// fminsearch: the downhill simplex of Nelder and Mead (Comput. J. 7 (1965) 308-313). Sums of all vertices are
// kept up to date, so that a trial costs one evaluation and some operations for each parameter; only a shrink
// evaluates all vertices but one. simulatedAnnealingMinimization: after Kirkpatrick, Gelatt and Vecchi
// (Science 220 (1983) 671-680), one evaluation a round. Both take one block of memory at the start.
#include <kvmath/numerics/optimisers.h>

#include <kvmath/numerics/random.h>
#include <kvmath/numerics/scratch_p.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMath {
namespace {

using Cost = double (*)(double* params, void* data);

/// The simplex in one block: n + 1 vertices of n parameters, the sums of their coordinates, a trial place,
/// the costs.
class Simplex {
public:
    Simplex(Cost f, void* data, int n)
        : f_(f), data_(data), n_(static_cast<std::size_t>(n)), scratch_(n + 5LL, n) {
        vertices_ = scratch_.data();
        if (vertices_ == nullptr)
            return;
        sums_ = vertices_ + (n_ + 1) * n_;
        trial_ = sums_ + n_;
        costs_ = trial_ + n_;
    }
    bool isValid() const { return vertices_ != nullptr; }  ///< false: memory is short

    void start(const double* x, const double* step);
    bool search(double tol, long long limit, long long& evaluations);
    const double* result() const { return vertex(resultVertex_); }

private:
    struct Ranks {
        std::size_t best, worst, second;
    };

    double* vertex(std::size_t i) { return vertices_ + i * n_; }
    const double* vertex(std::size_t i) const { return vertices_ + i * n_; }
    double evaluate(double* place) {
        const double cost = f_(place, data_);
        return std::isnan(cost) ? std::numeric_limits<double>::infinity() : cost;
    }
    Ranks rank() const;
    void sumCoordinates();
    double moveWorst(std::size_t worst, double factor);
    void shrinkTowards(std::size_t best);

    Cost f_;
    void* data_;
    std::size_t n_;
    Internal::Scratch scratch_;
    double* vertices_ = nullptr;
    double* sums_ = nullptr;
    double* trial_ = nullptr;
    double* costs_ = nullptr;
    std::size_t resultVertex_ = 0;
};

void Simplex::start(const double* x, const double* step) {
    for (std::size_t i = 0; i <= n_; ++i)
        std::copy_n(x, n_, vertex(i));
    for (std::size_t k = 0; k < n_; ++k) {
        double& changed = vertex(k + 1)[k];
        if (step != nullptr)
            changed += step[k];
        else
            changed = changed == 0.0 ? 0.00025 : changed * 1.05;
    }
    for (std::size_t i = 0; i <= n_; ++i)
        costs_[i] = evaluate(vertex(i));
    sumCoordinates();
}

void Simplex::sumCoordinates() {
    for (std::size_t k = 0; k < n_; ++k) {
        sums_[k] = 0.0;
        for (std::size_t i = 0; i <= n_; ++i)
            sums_[k] += vertex(i)[k];
    }
}

/// Best: the last of equals. Worst and second worst: only a strictly higher cost takes the place.
Simplex::Ranks Simplex::rank() const {
    Ranks r{0, 1, 0};
    if (costs_[0] > costs_[1])
        r = {0, 0, 1};
    for (std::size_t i = 0; i <= n_; ++i) {
        if (costs_[i] <= costs_[r.best])
            r.best = i;
        if (costs_[i] > costs_[r.worst]) {
            r.second = r.worst;
            r.worst = i;
        } else if (costs_[i] > costs_[r.second] && i != r.worst) {
            r.second = i;
        }
    }
    return r;
}

/// Tries the worst vertex moved through the centroid of the others by `factor`; keeps the place when it is
/// better.
double Simplex::moveWorst(std::size_t worst, double factor) {
    const double weight = (1.0 - factor) / static_cast<double>(n_);
    const double rest = weight - factor;
    double* place = vertex(worst);
    for (std::size_t k = 0; k < n_; ++k)
        trial_[k] = sums_[k] * weight - place[k] * rest;
    const double cost = evaluate(trial_);
    if (cost < costs_[worst]) {
        costs_[worst] = cost;
        for (std::size_t k = 0; k < n_; ++k) {
            sums_[k] += trial_[k] - place[k];
            place[k] = trial_[k];
        }
    }
    return cost;
}

void Simplex::shrinkTowards(std::size_t best) {
    for (std::size_t i = 0; i <= n_; ++i) {
        if (i == best)
            continue;
        for (std::size_t k = 0; k < n_; ++k)
            vertex(i)[k] = 0.5 * (vertex(i)[k] + vertex(best)[k]);
        costs_[i] = evaluate(vertex(i));
    }
    sumCoordinates();
}

bool Simplex::search(double tol, long long limit, long long& evaluations) {
    evaluations = 0;
    for (;;) {
        const Ranks r = rank();
        const double high = costs_[r.worst];
        const double low = costs_[r.best];
        if (2.0 * std::fabs(high - low) / (std::fabs(high) + std::fabs(low) + 1e-10) < tol) {
            resultVertex_ = r.best;
            return true;
        }
        if (evaluations >= limit)
            return false;
        evaluations += 2;
        const double reflected = moveWorst(r.worst, -1.0);
        if (reflected <= costs_[r.best]) {
            moveWorst(r.worst, 2.0);
        } else if (reflected >= costs_[r.second]) {
            const double remembered = costs_[r.worst];
            if (moveWorst(r.worst, 0.5) >= remembered) {
                shrinkTowards(r.best);
                evaluations += static_cast<long long>(n_);
            }
        } else {
            evaluations -= 1;
        }
    }
}

}  // namespace

bool fminsearch(double (*f)(double* params, void* data), void* data, int n, double* x, const double* step,
                double tol, int maxEvaluations, int& evaluations) {
    evaluations = 0;
    if (n < 1)
        return true;
    Simplex simplex(f, data, n);
    if (!simplex.isValid())
        return false;
    simplex.start(x, step);
    long long count = 0;
    const bool converged = simplex.search(tol, maxEvaluations, count);
    std::copy_n(simplex.result(), n, x);
    evaluations = static_cast<int>(std::min<long long>(count, std::numeric_limits<int>::max()));
    return converged;
}

bool simulatedAnnealingMinimization(double (*f)(double* params, void* data), void* data, int n, double* x,
                                    double T0, double Tmin, double alpha, int maxIterations,
                                    int& iterations) {
    const std::size_t count = n > 0 ? static_cast<std::size_t>(n) : 0;
    iterations = 0;
    Internal::Scratch scratch(static_cast<std::ptrdiff_t>(count));
    double* candidate = scratch.data();
    if (candidate == nullptr)
        return false;
    double cost = f(x, data);
    double temperature = T0;
    while (temperature > Tmin && iterations < maxIterations) {
        for (std::size_t k = 0; k < count; ++k) {
            const double base = (iterations + 1.0) / temperature + 1.0;
            const double factor = std::pow(base, 2.0 * randu() - 1.0) - 1.0;
            candidate[k] = x[k] + randn() * temperature * factor;
        }
        const double candidateCost = f(candidate, data);
        const double difference = candidateCost - cost;
        const bool rejected = difference > 0.0 && !(std::exp(-difference / temperature) > randu());
        if (rejected) {
            temperature *= alpha;
        } else {
            std::copy_n(candidate, count, x);
            cost = candidateCost;
        }
        iterations += 1;
    }
    return iterations <= maxIterations;
}

}  // namespace KvMath
