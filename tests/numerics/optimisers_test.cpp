#include <kvmath/numerics/optimisers.h>

#include <kvmath/numerics/random.h>

#include <gmock/gmock.h>

#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

using namespace KvMath;
using testing::Each;
using Place = std::vector<double>;

using Cost = double (*)(double* p, void* data);

double square(double value) { return value * value; }

double rosenbrock(double* p, void*) { return 100.0 * square(p[1] - p[0] * p[0]) + square(1.0 - p[0]); }

double powell(double* p, void*) {
    return square(p[0] + 10 * p[1]) + 5 * square(p[2] - p[3]) + square(square(p[1] - 2 * p[2])) +
           10 * square(square(p[0] - p[3]));
}

/// Ties, and numbers missing.
double steps(double* p, void*) { return p[0] > 4.0 ? NAN : std::floor(std::fabs(p[0]) + std::fabs(p[1])); }

/// Every order of costs after a trial.
double noise(double* p, void*) {
    return std::fmod(std::fabs(1e6 * (1.37 * p[0] + square(p[1]) - 0.7 * p[2])), 1.0);
}

// The functions of H. H. Rosenbrock, Comput. J. 3 (1960), and M. J. D. Powell, Comput. J. 5 (1962). The
// search stops when the costs differ by less than 1e-10 * tol near a least cost of 0, and these costs grow at
// least with the fourth power of the distance: (1e-10 * 1e-12)^(1/4) = 3e-6, ten times that for the flat
// valleys. The counts of evaluations are regression figures.
TEST(Fminsearch, FindsThePublishedMinima) {
    int evaluations = 0;
    Place x{-1.2, 1.0};
    EXPECT_TRUE(fminsearch(rosenbrock, nullptr, 2, x.data(), nullptr, 1e-12, 5000, evaluations));
    EXPECT_EQ(evaluations, 256);
    EXPECT_THAT(x, Each(testing::DoubleNear(1.0, 3e-5)));
    x = {3.0, -1.0, 0.0, 1.0};
    EXPECT_TRUE(fminsearch(powell, nullptr, 4, x.data(), nullptr, 1e-12, 5000, evaluations));
    EXPECT_EQ(evaluations, 889);
    EXPECT_THAT(x, Each(testing::DoubleNear(0.0, 3e-5)));
}

// Regression figures over every branch: all trials of a search that was compared trial by trial with the
// textbook form. Only exact operations enter the costs.
TEST(Fminsearch, KeepsItsPath) {
    const struct {
        Cost cost;
        int n;
        std::vector<double> step;
        int limit, converged;
        long evaluations;
        double sum;
    } cases[] = {{steps, 2, {}, 40, 100, 0, 66.453000000000017},
                 {steps, 2, {0.5, -0.25, 2.0}, 40, 100, 560, 22.8125},
                 {noise, 3, {}, 40, 12, 3723, 115.87806861050841},
                 {noise, 3, {}, 0, 9, 0, 111.95},
                 {noise, 3, {}, 1, 12, 402, 113.65625000000013},
                 {noise, 3, {0.5, -0.25, 2.0}, 500, 100, 24559, 222.6250000173103},
                 {rosenbrock, 2, {}, 40, 0, 4030, 94.698787425160234},
                 {rosenbrock, 2, {0.5, -0.25, 2.0}, 40, 0, 4055, 79.287650435842806}};
    for (const auto& c : cases) {
        int converged = 0;
        long total = 0;
        double sum = 0.0;
        for (int start = 0; start < 100; ++start) {
            Place x{0.25 * (start * 7 % 28 - 12), 0.25 * (start % 9), 0.5};
            int evaluations = -1;
            converged += fminsearch(c.cost, nullptr, c.n, x.data(), c.step.empty() ? nullptr : c.step.data(),
                                    1e-6, c.limit, evaluations);
            total += evaluations;
            for (int k = 0; k < c.n; ++k)
                sum += x[std::size_t(k)];
        }
        EXPECT_EQ(converged, c.converged);
        EXPECT_EQ(total, c.evaluations);
        EXPECT_EQ(sum, c.sum);
    }
}

TEST(Fminsearch, OnTheEdges) {
    int evaluations = 7;
    EXPECT_TRUE(fminsearch(nullptr, nullptr, 0, nullptr, nullptr, 1.0, 10, evaluations));
    EXPECT_EQ(evaluations, 0);
    const auto flat = [](double*, void*) { return 1.0; };
    const auto nowhere = [](double*, void*) { return double(NAN); };
    double x = 1.0;
    EXPECT_TRUE(fminsearch(flat, nullptr, 1, &x, nullptr, 1e-9, 0, evaluations));  // before the budget
    EXPECT_FALSE(fminsearch(flat, nullptr, 1, &x, nullptr, NAN, 20, evaluations));
    EXPECT_FALSE(fminsearch(nowhere, nullptr, 1, &x, nullptr, 1e-9, 20, evaluations));
}

// Every third start is too cold to move, every fifth has no iteration to spend.
TEST(SimulatedAnnealing, DrawsInTheStatedOrder) {
    for (unsigned seed = 1; seed < 20; ++seed) {
        const Cost cost = seed % 2 == 0 ? rosenbrock : steps;
        double temperature = seed % 3 == 0 ? 1e-3 : 2.0;
        const int limit = seed % 5 == 0 ? -1 : 400;
        srand(seed);
        Place x{3.9, 2.0};
        int iterations = -1;
        const bool isWithin = simulatedAnnealingMinimization(cost, nullptr, 2, x.data(), temperature, 1e-3,
                                                             0.9, limit, iterations);
        const int nextDraw = rand();
        srand(seed);
        Place place{3.9, 2.0};
        int count = 0;
        while (count < limit && temperature > 1e-3) {
            Place candidate = place;
            for (double& c : candidate) {
                const double factor = std::pow((count + 1) / temperature + 1.0, 2.0 * randu() - 1.0) - 1.0;
                c += randn() * temperature * factor;
            }
            ++count;
            const double difference = cost(candidate.data(), nullptr) - cost(place.data(), nullptr);
            if (difference > 0.0 && !(std::exp(-difference / temperature) > randu()))
                temperature *= 0.9;
            else
                place = candidate;
        }
        EXPECT_EQ(x, place);
        EXPECT_EQ(iterations, count);
        EXPECT_EQ(isWithin, limit > 0);
        EXPECT_EQ(nextDraw, rand());
    }
}

// A draw that equals the chance of the move refuses it.
TEST(SimulatedAnnealing, RejectsOnEquality) {
    unsigned seed = 0;
    do
        srand(++seed);
    while (randu() != 0.5);
    srand(seed);
    double costs[] = {0.0, std::log(2.0), 0.0};
    const auto next = [](double*, void* data) { return *(*static_cast<double**>(data))++; };
    double* at = costs;
    int iterations = 0;
    simulatedAnnealingMinimization(next, &at, 0, nullptr, 1.0, 0.5, 0.5, 2, iterations);
    EXPECT_EQ(iterations, 1);  // an accepted move would not have cooled
}

}  // namespace
