// The noise of points: its model against sums that are written out, and what the page of the model promises.

#include <kvmeasure/profiles/profile_noise.h>
#include <kvmeasure/profiles/robust_arc.h>
#include <tests/kvmeasure/calls.h>
#include <tests/kvmeasure/profiles/exact_points.h>

#include <numeric>
#include <tuple>

namespace {

using Points = std::vector<Vector>;

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
          Case{std::vector<int>(20, 100), 12}, Case{{40, 41, 42, 43, 44, 45, 46, 47, 48, 49}, 2},
          Case{{4001, 2502}, 25}, Case{{30'000}, 200}}) {
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

TEST(Noise, OfFewPointsWidensWhatRestsOnIt) {
    NoiseModel noise;
    noise.correlationTime = 10;
    noise.lags = 9;
    // As the header has them, to its digits.
    for (const auto& [lengths, widening, digits] :
         {std::tuple(100, 1.01, 0.005), {30, 1.03, 0.01}, {10, 1.1, 0.07}, {5, 1.6, 0.05}}) {
        noise.points = 10 * lengths;
        noise.isSmooth = false;
        EXPECT_NEAR(noise.widening(), widening, digits) << lengths;
        const double plain = noise.widening();
        noise.isSmooth = true;
        EXPECT_NEAR(noise.widening() / plain, std::max(1.0, std::pow(75 / noise.points, 1.5)), 1e-12)
            << lengths;
    }
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

/// Residuals from the parabola of least squares, by the normal equations.
std::vector<double> fromParabola(const Points& points, std::size_t from, std::size_t count) {
    const double x0 = points[from + count / 2].x;
    double m[3][4] = {};
    for (std::size_t i = from; i < from + count; ++i) {
        const double x = points[i].x - x0, powers[3] = {1, x, x * x};
        for (int a = 0; a < 3; ++a) {
            for (int b = 0; b < 3; ++b)
                m[a][b] += powers[a] * powers[b];
            m[a][3] += powers[a] * points[i].y;
        }
    }
    for (int a = 0; a < 3; ++a) {  // elimination
        for (int b = 0; b < 3; ++b) {
            const double share = b == a ? 0 : m[b][a] / m[a][a];
            for (int c = 0; c < 4; ++c)
                m[b][c] -= share * m[a][c];
        }
    }
    std::vector<double> residuals;
    for (std::size_t i = from; i < from + count; ++i) {
        const double x = points[i].x - x0;
        residuals.push_back(points[i].y - m[0][3] / m[0][0] - m[1][3] / m[1][1] * x -
                            m[2][3] / m[2][2] * x * x);
    }
    return residuals;
}

// Waves at places that are not equally far apart; every fifth run of 60 points has a wall in it, which takes
// it out, and every seventh scatters a third more, which does not.
TEST(Noise, OfCurvedProfilesIsThatAboutParabolas) {
    std::mt19937_64 random(32);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> jitter(0, 0.04);
    for (const int count : {60, 119, 600, 1250}) {
        Points points;
        for (int i = 0; i < count; ++i) {
            const double x = i / 20.0 + jitter(random);
            const int run = i / 60;
            points.emplace_back(x, 0.5 * std::sin(x / 4) + (run % 5 == 4 && i % 60 > 40 ? 3 : 0) +
                                       (run % 7 == 6 ? 0.008 : 0.006) * normal(random));
        }
        ResidualNoise expected;
        for (int from = 0; from + 60 <= count; from += 60) {
            if (from / 60 % 5 != 4)
                expected.add(fromParabola(points, std::size_t(from), 60), 3);
        }
        const NoiseModel model = profileNoise(points);
        SCOPED_TRACE(count);
        EXPECT_EQ(model.pieces, expected.model().pieces);
        EXPECT_NEAR(model.deviation, expected.model().deviation, 1e-9);
        EXPECT_NEAR(model.correlationTime, expected.model().correlationTime, 1e-6);
    }
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

TEST(Noise, CorrelatedNoiseCountsBySumsOverAllPairs) {
    constexpr int count = 400;
    Points points;
    for (int i = 0; i < count; ++i)
        points.emplace_back(i, 0.01 * signOf(i));
    const LineFit line = fitLine(points);
    for (const double time : {1.0, 2.5, 9.0}) {
        NoiseModel noise = whiteNoise(0.01);
        noise.correlationTime = time;
        double ofMean = 0, ofSlope = 0, places = 0;
        for (int i = 0; i < count; ++i) {
            const double place = i - (count - 1) / 2.0;
            places += place * place;
            for (int k = 0; k < count; ++k) {
                const double r = std::max(0.0, 1 - std::abs(i - k) / time);
                ofMean += r / (double(count) * count);
                ofSlope += r * place * (k - (count - 1) / 2.0);
            }
        }
        const double deviation = 0.01 * std::sqrt(count / (count - 2 * time));
        const LineUncertainty u = lineUncertainty(line, noise);
        EXPECT_NEAR(u.offset, deviation * std::sqrt(ofMean), 1e-3 * u.offset) << time;
        EXPECT_NEAR(u.direction, deviation * std::sqrt(ofSlope) / places, 1e-3 * u.direction) << time;
        EXPECT_NEAR(u.at(50), std::hypot(u.offset, 50 * u.direction), 1e-15);
    }
}

// (J'J)^-1 J'VJ (J'J)^-1 with J the slopes of the distances over x, z and radius, and V the covariances of
// all pairs of points: of heights seen square to the circle, or of distances, whichever the residuals look
// like.
TEST(Noise, GivesArcsTheUncertaintiesOfLeastSquares) {
    constexpr int count = 320;
    for (const bool isOfHeights : {false, true}) {
        for (const double time : {1.0, 2.5, 7.0}) {
            ArcFit arc;
            arc.circle = {{3, -4}, 5};
            double squares = 0, shares = 0;
            double normal[3][3] = {}, scattered[3][3] = {};
            std::vector<std::array<double, 3>> slopes;
            for (int i = 0; i < count; ++i) {
                const double angle = 0.3 + 2.2 * i / (count - 1), share = isOfHeights ? std::sin(angle) : 1;
                arc.residuals.push_back(0.01 * share * signedSize(i));
                const double r = 5 + arc.residuals.back();
                arc.used.emplace_back(3 + r * std::cos(angle), -4 + r * std::sin(angle));
                slopes.push_back({-std::cos(angle), -std::sin(angle), -1});
                squares += 0.01 * 0.01 * share * share * signedSize(i) * signedSize(i);
                shares += share * share;
            }
            arc.points = count;
            for (int i = 0; i < count; ++i) {
                for (int k = 0; k < count; ++k) {
                    const auto share = [&](int at) { return isOfHeights ? -slopes[std::size_t(at)][1] : 1; };
                    const double covariance = std::max(0.0, 1 - std::abs(i - k) / time) * share(i) * share(k);
                    for (std::size_t a = 0; a < 3; ++a) {
                        for (std::size_t b = 0; b < 3; ++b) {
                            normal[a][b] +=
                                i == k ? slopes[std::size_t(i)][a] * slopes[std::size_t(i)][b] : 0;
                            scattered[a][b] +=
                                covariance * slopes[std::size_t(i)][a] * slopes[std::size_t(k)][b];
                        }
                    }
                }
            }
            NoiseModel noise = whiteNoise(1);  // unlike the residuals, so that their own deviation counts
            noise.correlationTime = time;
            const double variance = squares * count / shares / (count - 3 * time);
            const ArcUncertainty u = arcUncertainty(arc, noise);
            ASSERT_TRUE(u.reason.isEmpty());
            SCOPED_TRACE(testing::Message() << isOfHeights << ' ' << time);
            for (std::size_t a = 0; a < 3; ++a) {
                for (std::size_t b = 0; b < 3; ++b) {  // J'J C J'J, so that nothing is inverted here
                    double found = 0;
                    for (std::size_t c = 0; c < 3; ++c) {
                        for (std::size_t d = 0; d < 3; ++d)
                            found += normal[a][c] * u.covariance[c][d] * normal[d][b];
                    }
                    EXPECT_NEAR(found, variance * scattered[a][b], 1e-9 * variance * scattered[2][2])
                        << a << b;
                }
            }
            EXPECT_NEAR(u.x * u.x, u.covariance[0][0], 1e-15);
            EXPECT_NEAR(u.z * u.z, u.covariance[1][1], 1e-15);
            EXPECT_NEAR(u.radius * u.radius, u.covariance[2][2], 1e-15);
        }
    }
}

}  // namespace
