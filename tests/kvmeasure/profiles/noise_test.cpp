// The noise of points: its model against sums that are written out, and what the page of the model promises.

#include <kvmeasure/profiles/profile_noise.h>
#include <kvmeasure/profiles/robust_line.h>

#include <gmock/gmock.h>

#include <cmath>
#include <numeric>
#include <random>

namespace {

using namespace KvMeasure;
using Points = std::vector<Vector>;

/// White noise, known from so many points that nothing is added for not knowing it.
NoiseModel whiteNoise(double deviation) {
    NoiseModel noise;
    noise.deviation = deviation;
    noise.correlationTime = 1;
    noise.points = 1e12;
    noise.pieces = 1;
    return noise;
}

using Fits = std::vector<std::vector<double>>;

/// What ResidualNoise says of fits of straight lines, from all pairs of residuals. Each fit is scaled to
/// variance
/// 1. A line of n points takes (1/n + t_i t_k) of each pair out of its residuals, t being its places scaled
/// to a sum of squares of 1; of S, the sum of the autocovariances, that share is put back.
NoiseModel expectedNoise(const Fits& fits, int mostLags) {
    std::vector<double> products, counts, taken;
    double squares = 0, all = 0;
    for (const std::vector<double>& r : fits) {
        const auto n = r.size();
        double own = 0, places = 0;
        for (std::size_t i = 0; i < n; ++i) {
            own += r[i] * r[i];
            places += std::pow(double(i) - double(n - 1) / 2, 2);
        }
        squares += own;
        all += double(n);
        const std::size_t last = std::min(n, std::size_t(mostLags) + 1);
        for (auto* sums : {&products, &counts, &taken})
            sums->resize(std::max(sums->size(), last));
        for (std::size_t lag = 0; lag < last; ++lag) {
            for (std::size_t i = 0; i + lag < n; ++i) {
                const double place = double(i) - double(n - 1) / 2;
                products[lag] += r[i] * r[i + lag] * double(n) / own;
                counts[lag] += 1;
                taken[lag] += 1 / double(n) + place * (place + double(lag)) / places;
            }
        }
    }
    NoiseModel model;
    double sum = 0;
    for (int round = 0; round < 50; ++round) {  // until the lags that count stay the same
        const auto r = [&](std::size_t lag) {
            return (products[lag] + sum * taken[lag]) / counts[lag] /
                   ((products[0] + sum * taken[0]) / counts[0]);
        };
        double seen = products[0] / counts[0], putBack = taken[0] / counts[0];
        model.squaredCorrelation = 1;
        model.lags = 0;
        for (std::size_t lag = 1; lag < products.size(); lag += 2) {  // pairs 0 and 1, 2 and 3, ...
            const double before = lag > 1 ? r(lag - 1) : 0;
            const double scatter = std::sqrt(model.squaredCorrelation / all) * (lag > 1 ? 2 : 1);
            if (before + r(lag) <= scatter)
                break;
            for (std::size_t k = std::max<std::size_t>(lag - 1, 1); k <= lag; ++k) {
                seen += 2 * products[k] / counts[k];
                putBack += 2 * taken[k] / counts[k];
                model.squaredCorrelation += 2 * r(k) * r(k);
            }
            model.lags = int(lag);
        }
        sum = seen / (1 - putBack);
        model.correlationTime = std::max(1.0, sum / ((products[0] + sum * taken[0]) / counts[0]));
        model.isSmooth = r(1) > 0.7;
    }
    const double free = all - 2 * double(fits.size()) * model.correlationTime;
    model.deviation = std::sqrt(squares / free);
    return model;
}

TEST(Noise, IsWhatAllPairsOfResidualsSay) {
    std::mt19937_64 random(31);
    std::normal_distribution<double> normal;
    struct Case {
        std::vector<int> counts;
        int width;  // of the moving average that makes the noise
    };
    for (const Case& c :
         {Case{{400}, 1}, Case{{401}, 3}, Case{{250, 333, 402, 127}, 3}, Case{{900, 1203}, 8},
          Case{{40, 41, 42, 43, 44, 45, 46, 47, 48, 49}, 2}, Case{{4001, 2502}, 25}, Case{{30'000}, 200}}) {
        SCOPED_TRACE(testing::Message()
                     << testing::PrintToString(c.counts) << ", moving average of " << c.width);
        Fits fits;
        ResidualNoise noise;
        for (const int count : c.counts) {
            Points points;
            std::vector<double> white(std::size_t(count + c.width));
            for (double& value : white)
                value = normal(random) * 0.02;
            for (int i = 0; i < count; ++i)
                points.emplace_back(i, std::accumulate(white.begin() + i, white.begin() + i + c.width, 0.0));
            fits.push_back(fitLine(points, {false, 3.5}).residuals);
            noise.add(fits.back(), 2);
        }
        const NoiseModel model = noise.model();
        const NoiseModel expected = expectedNoise(fits, 128);
        ASSERT_TRUE(model.reason.isEmpty());
        EXPECT_EQ(model.pieces, int(c.counts.size()));
        EXPECT_EQ(model.lags, expected.lags);
        EXPECT_EQ(model.isSmooth, expected.isSmooth);
        // The library takes sums over places as integrals, which differ by 1 / n^2.
        EXPECT_NEAR(model.correlationTime, expected.correlationTime, 2e-3 * expected.correlationTime);
        EXPECT_NEAR(model.squaredCorrelation, expected.squaredCorrelation,
                    2e-3 * expected.squaredCorrelation);
        EXPECT_NEAR(model.deviation, expected.deviation, 1e-3 * expected.deviation);
    }
}

TEST(Noise, TheDeviationIsTheFitsOwnOrThatOfAll) {
    struct Case {
        double count, own, time, deviation, degrees;
        int pieces;
        bool isShort;
    };
    // Own deviations count from 30 correlation lengths on, or beyond a factor of 2; never of 2 lengths per
    // parameter.
    for (const Case& c : {Case{100, 1.5, 1, 1.5, 98, 1, false}, Case{30, 1.9, 1, 1.9, 28, 1, false},
                          Case{29, 1.9, 1, 1, 1e12, 1, true}, Case{29, 1.9, 1, 1, 1e12, 2, false},
                          Case{10, 0.6, 1, 1, 1e12, 2, false}, Case{9, 0.6, 1, 1, 1e12, 2, true},
                          Case{20, 2.1, 1, 2.1, 18, 1, true}, Case{20, 0.4, 1, 0.4, 18, 1, true},
                          Case{4, 5, 1, 1, 1e12, 1, true}, Case{120, 1.5, 4, 3, 118, 1, false}}) {
        NoiseModel noise = whiteNoise(1);
        noise.correlationTime = c.time;
        noise.pieces = c.pieces;
        const FitDeviation found = deviationOf(c.own * c.own * (c.count - 2 * c.time), c.count, 2, noise);
        SCOPED_TRACE(testing::Message() << c.count << " points, own deviation " << c.own);
        EXPECT_NEAR(found.deviation, c.deviation, 1e-9);
        EXPECT_NEAR(found.degreesOfFreedom, c.degrees, 1e-6 * c.degrees);
        EXPECT_EQ(found.isShort, c.isShort);
    }
    EXPECT_FALSE(deviationOf(1, 100, 2, NoiseModel()).reason.isEmpty());
    EXPECT_TRUE(std::isnan(deviationOf(1, 100, 2, NoiseModel()).deviation));
}

TEST(Noise, ResidualsCountAsTheirPageSays) {
    const auto alternating = [](int count) {
        std::vector<double> residuals;
        for (int i = 0; i < count; ++i)
            residuals.push_back(i % 2 == 0 ? 0.5 : -0.5);
        return residuals;
    };
    struct Case {
        int count, parameters, counted;
    };
    for (const Case& c :
         {Case{4, 2, 0}, Case{5, 2, 5}, Case{23, 0, 23}, Case{24, 2, 24}, Case{1000, 3, 1000}}) {
        ResidualNoise noise;
        noise.add(alternating(c.count), c.parameters);
        const NoiseModel model = noise.model();
        EXPECT_EQ(model.points, c.counted);
        EXPECT_EQ(model.reason.isEmpty(), c.counted >= 24) << c.count;
        if (c.counted >= 24) {
            EXPECT_EQ(model.correlationTime, 1);
            EXPECT_NEAR(model.deviation, 0.5 * std::sqrt(double(c.count) / (c.count - c.parameters)), 1e-12);
        }
    }
    ResidualNoise much;
    for (int i = 0; i < 3; ++i)
        much.add(alternating(100'000), 2);
    EXPECT_EQ(much.model().points, 200'000);
}

// White noise of 0.02 mm, 3 % of which its own scatter among 600 points takes, on surfaces of all sorts.
TEST(Noise, OfAProfileDoesNotFollowItsSurface) {
    const struct {
        const char* name;
        double (*height)(double x);
    } surfaces[] = {{"flat", [](double x) { return 5 + 0.2 * x; }},
                    {"arc", [](double x) { return std::sqrt(1600 - x * x); }},
                    {"waves", [](double x) { return 0.5 * std::sin(x / 4); }},
                    {"steps", [](double x) { return x < -5  ? 0
                                                    : x < 4 ? 7
                                                            : -3.0; }}};
    for (const auto& surface : surfaces) {
        for (const double start : {-30.0, 1e4}) {
            std::mt19937_64 random(4);
            std::normal_distribution<double> noise(0, 0.02);
            Points points;
            for (int i = 0; i < 1200; ++i)
                points.emplace_back(start + i / 20.0, surface.height(i / 20.0 - 30) + noise(random));
            const NoiseModel model = profileNoise(points);
            SCOPED_TRACE(surface.name);
            EXPECT_TRUE(model.reason.isEmpty());
            EXPECT_NEAR(model.deviation, 0.02, 0.002);
            EXPECT_NEAR(model.correlationTime, 1, 0.25);
        }
    }
}

}  // namespace
