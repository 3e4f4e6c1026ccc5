#include <kvmath/numerics/optimisers.h>

#include <kvmath/numerics/random.h>
#include <tests/support/random_data.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace {

using namespace KvMath;
using Place = std::vector<double>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct Problem {
    const char* name;
    double (*cost)(const Place& p);
    Place start;
    Place least;
};

double square(double value) { return value * value; }

const Problem problems[] = {
    {"line", [](const Place& p) { return square(p[0] - 3.0); }, {0.0}, {3.0}},
    {"H. H. Rosenbrock 1960",
     [](const Place& p) { return 100.0 * square(p[1] - p[0] * p[0]) + square(1.0 - p[0]); },
     {-1.2, 1.0},
     {1.0, 1.0}},
    {"M. J. D. Powell 1962",
     [](const Place& p) {
         return square(p[0] + 10 * p[1]) + 5 * square(p[2] - p[3]) + square(square(p[1] - 2 * p[2])) +
                10 * square(square(p[0] - p[3]));
     },
     {3.0, -1.0, 0.0, 1.0},
     {0.0, 0.0, 0.0, 0.0}},
    {"R. Fletcher, M. J. D. Powell 1963, helical valley",
     [](const Place& p) {
         const double turns = std::atan2(p[1], p[0]) / (2.0 * std::acos(-1.0));
         return 100.0 * (square(p[2] - 10.0 * turns) + square(std::hypot(p[0], p[1]) - 1.0)) + square(p[2]);
     },
     {-1.0, 0.0, 0.0},
     {1.0, 0.0, 0.0}},
    {"steps and holes",  // ties and numbers missing
     [](const Place& p) { return p[0] > 4.0 ? NAN : std::floor(std::fabs(p[0]) + std::fabs(p[1])); },
     {3.9, 2.0},
     {}}};

struct Call {
    const Problem* problem;
    std::vector<Place> trials;
};

double recorded(double* p, void* data) {
    auto& call = *static_cast<Call*>(data);
    call.trials.emplace_back(p, p + call.problem->start.size());
    return call.problem->cost(call.trials.back());
}

/// The simplex search in its plain form: sorted by scanning, all trials kept.
struct LiteralSearch {
    explicit LiteralSearch(const Problem& p) : problem(p), n(p.start.size()) {}

    double evaluate(const Place& p) {
        trials.push_back(p);
        const double cost = problem.cost(p);
        return cost != cost ? kInfinity : cost;
    }
    void add() {
        sum.assign(n, 0.0);
        for (const Place& p : simplex)
            std::transform(p.begin(), p.end(), sum.begin(), sum.begin(),
                           [](double x, double s) { return s + x; });
    }
    double move(std::size_t worst, double factor) {
        const double f1 = (1.0 - factor) / double(n);
        Place trial(n);
        for (std::size_t k = 0; k < n; ++k)
            trial[k] = sum[k] * f1 - simplex[worst][k] * (f1 - factor);
        const double cost = evaluate(trial);
        if (cost >= y[worst])
            return cost;
        for (std::size_t k = 0; k < n; ++k)
            sum[k] += trial[k] - simplex[worst][k];
        simplex[worst] = trial;
        return y[worst] = cost;
    }
    bool run(const double* step, double tol, int limit) {
        simplex.assign(n + 1, problem.start);
        for (std::size_t k = 0; k < n; ++k) {
            double& x = simplex[k + 1][k];
            x = step != nullptr ? x + step[k] : x == 0.0 ? 0.00025 : x * 1.05;
        }
        for (const Place& p : simplex)
            y.push_back(evaluate(p));
        add();
        for (evaluations = 0;;) {
            std::size_t best = 0;
            std::size_t worst = y[0] > y[1] ? 0 : 1;
            std::size_t second = 1 - worst;
            for (std::size_t i = 0; i <= n; ++i) {
                best = y[i] <= y[best] ? i : best;
                if (y[i] > y[worst]) {
                    second = worst;
                    worst = i;
                } else if (y[i] > y[second] && i != worst) {
                    second = i;
                }
            }
            const double spread = 2.0 * std::fabs(y[worst] - y[best]);
            const bool converged = spread / (std::fabs(y[worst]) + std::fabs(y[best]) + 1e-10) < tol;
            result = simplex[converged ? best : 0];
            if (converged || evaluations >= limit)
                return converged;
            evaluations += 2;
            const double reflected = move(worst, -1.0);
            if (reflected <= y[best]) {
                move(worst, 2.0);
            } else if (reflected >= y[second]) {
                const double remembered = y[worst];
                if (move(worst, 0.5) >= remembered) {
                    for (std::size_t i = 0; i <= n; ++i) {
                        for (std::size_t k = 0; i != best && k < n; ++k)
                            simplex[i][k] = 0.5 * (simplex[i][k] + simplex[best][k]);
                        y[i] = i != best ? evaluate(simplex[i]) : y[i];
                    }
                    evaluations += int(n);
                    add();
                }
            } else {
                --evaluations;
            }
        }
    }

    const Problem& problem;
    std::size_t n;
    std::vector<Place> simplex, trials;
    Place y, sum, result;
    int evaluations = 0;
};

// The search stops when the costs differ by less than 1e-10 * tol near a least cost of 0, and these costs
// grow at least with the fourth power of the distance: (1e-10 * 1e-12)^(1/4) = 3e-6, ten times that for the
// flat valleys.
TEST(Fminsearch, MakesThePlainSearchTrialByTrialToThePublishedMinima) {
    TestSupport::Draws draws(12);
    for (int round = 0; round < 300; ++round) {
        Problem problem = problems[round % 5];
        if (problem.least.empty())
            for (double& x : problem.start)
                x = 0.25 * draws.integer(-12, 15);
        const double steps[] = {0.5, -0.25, 2.0, 1.0};
        const double* step = draws.chance(0.5) ? steps : nullptr;
        const int limits[] = {-1, 0, 1, 7, 50, 5000, 5000, 5000};
        const int limit = limits[draws.integer(0, 7)];
        LiteralSearch literal(problem);
        const bool converged = literal.run(step, 1e-12, limit);
        Call call{&problem, {}};
        Place x = problem.start;
        int evaluations = -1;
        ASSERT_EQ(fminsearch(recorded, &call, int(x.size()), x.data(), step, 1e-12, limit, evaluations),
                  converged);
        ASSERT_EQ(evaluations, literal.evaluations) << problem.name << ", limit " << limit;
        ASSERT_EQ(call.trials, literal.trials) << problem.name << ", limit " << limit;
        ASSERT_EQ(x, literal.result) << problem.name << ", limit " << limit;
        if (limit == 5000 && step == nullptr && !problem.least.empty()) {
            ASSERT_TRUE(converged) << problem.name;
            ASSERT_THAT(x, testing::Pointwise(testing::DoubleNear(3e-5), problem.least)) << problem.name;
        }
    }
}

TEST(Fminsearch, OnTheEdges) {
    int evaluations = 7;
    EXPECT_TRUE(fminsearch(nullptr, nullptr, 0, nullptr, nullptr, 1.0, 10, evaluations));
    EXPECT_EQ(evaluations, 0);
    const Problem flat{"flat", [](const Place&) { return 1.0; }, {1.0}, {}};
    const Problem nowhere{"nowhere", [](const Place&) { return double(NAN); }, {1.0}, {}};
    double x = 1.0;
    Call call{&flat, {}};
    EXPECT_TRUE(
        fminsearch(recorded, &call, 1, &x, nullptr, 1e-9, 0, evaluations));  // converged before the budget
    EXPECT_FALSE(fminsearch(recorded, &call, 1, &x, nullptr, NAN, 20, evaluations));
    call.problem = &nowhere;
    EXPECT_FALSE(fminsearch(recorded, &call, 1, &x, nullptr, 1e-9, 20, evaluations));
}

TEST(SimulatedAnnealing, DrawsInTheStatedOrder) {
    for (unsigned seed = 1; seed < 12; ++seed) {
        const Problem& problem = problems[seed % 2 == 0 ? 1 : 4];
        srand(seed);
        Call call{&problem, {}};
        Place x = problem.start;
        int iterations = -1;
        EXPECT_TRUE(
            simulatedAnnealingMinimization(recorded, &call, 2, x.data(), 2.0, 1e-3, 0.9, 400, iterations));
        srand(seed);
        Place place = problem.start;
        double cost = problem.cost(place);
        double temperature = 2.0;
        int count = 0;
        while (count < 400 && temperature > 1e-3) {
            Place candidate = place;
            for (double& c : candidate) {
                const double factor = std::pow((count + 1) / temperature + 1.0, 2.0 * randu() - 1.0) - 1.0;
                c += randn() * temperature * factor;
            }
            ASSERT_EQ(candidate, call.trials[std::size_t(count) + 1]);
            const double difference = problem.cost(candidate) - cost;
            ++count;
            if (difference > 0.0 && !(std::exp(-difference / temperature) > randu())) {
                temperature *= 0.9;
                continue;
            }
            place = candidate;
            cost = problem.cost(place);
        }
        EXPECT_EQ(x, place);
        EXPECT_EQ(iterations, count);
    }
}

TEST(SimulatedAnnealing, CoolsOnRejectionOnly) {
    static int calls = 0;
    double x = 5.0;
    int iterations = -1;
    const auto worse = [](double*, void*) { return calls++ == 0 ? 0.0 : kInfinity; };
    EXPECT_TRUE(simulatedAnnealingMinimization(worse, nullptr, 1, &x, 1.0, 0.1, 0.5, 1000, iterations));
    EXPECT_EQ(iterations, 4);  // 1, 0.5, 0.25, 0.125
    EXPECT_EQ(x, 5.0);
    const auto missing = [](double*, void*) { return double(NAN); };
    x = 5.0;
    EXPECT_TRUE(simulatedAnnealingMinimization(missing, nullptr, 1, &x, 1.0, 1.0, 0.5, 50, iterations));
    EXPECT_EQ(iterations, 0);
    EXPECT_FALSE(simulatedAnnealingMinimization(missing, nullptr, 1, &x, 1.0, 0.1, 0.5, -1, iterations));
    EXPECT_EQ(x, 5.0);
}

}  // namespace
