// Fits of points whose result is known without a computer. Deviations of +h, -h, -h, +h over and over have no
// mean and no slope, and deviations of +h, -h about a whole circle neither move nor widen it, so that what a
// fit gives is the line or circle that they were put about. Uncertainties by the sums that define them.

#include <kvmeasure/profiles/profile_noise.h>
#include <kvmeasure/profiles/robust_arc.h>
#include <kvmeasure/profiles/search_estimate.h>

#include <gmock/gmock.h>

#include <cmath>
#include <random>

namespace {

using namespace KvMeasure;
using Points = std::vector<Vector>;

constexpr double kPi = 3.141592653589793;

double signOf(int i) { return i % 4 == 0 || i % 4 == 3 ? 1 : -1; }
/// The same with sizes as those of noise: not half of the points on one line and half on another.
double signedSize(int i) {
    constexpr double sizes[] = {0.3, 1, 0.5, 1.6, 0.1, 0.8, 0.2, 1.2};
    return signOf(i) * sizes[i / 4 % 8];
}

/// White noise, known from so many points that nothing is added for not knowing it.
NoiseModel whiteNoise(double deviation) {
    NoiseModel noise;
    noise.deviation = deviation;
    noise.correlationTime = 1;
    noise.points = 1e12;
    noise.pieces = 1;
    return noise;
}

TEST(ExactFits, LinesAreThoseThatTheirPointsWerePutAbout) {
    constexpr double h = 0.01;
    for (const int count : {16, 32, 96, 240, 244, 960}) {
        for (const double degrees : {0.0, 30.0, -45.0, 59.0, 61.0, 90.0, -80.0}) {
            for (const int strays : {0, count / 8}) {
                SCOPED_TRACE(testing::Message()
                             << count << " points, " << degrees << " degrees, " << strays << " strays");
                const Vector along(degrees == 90 ? 0 : std::cos(degrees * kPi / 180),
                                   std::sin(degrees * kPi / 180));
                const Vector way = along.y < 0 && along.x == 0 ? Vector(-along.x, -along.y) : along;
                const bool isInHeight = std::fabs(degrees) < 60;
                const Vector noise = isInHeight ? Vector(0, h / along.x) : Vector(-h * along.y, h * along.x);
                Points points;
                double squares = 0, most = 0;
                for (int i = 0; i < count; ++i) {
                    const double place = 0.5 * (i - (count - 1) / 2.0);
                    const double off = signedSize(i);
                    points.emplace_back(7 + place * along.x + off * noise.x,
                                        -3 + place * along.y + off * noise.y);
                    squares += off * h * off * h;
                    most = std::max(most, off * h);
                    if (strays > 0 && i % 8 == 2)
                        points.emplace_back(points.back().x - 5 * along.y, points.back().y + 5 * along.x);
                }
                const LineFit line = fitLine(points);
                ASSERT_TRUE(line.isFound());
                EXPECT_EQ(line.isInHeight, isInHeight);
                EXPECT_EQ(line.points, count);
                EXPECT_EQ(line.rejected, int(points.size()) - count);
                EXPECT_LT(length(line.centre, {7, -3}), 1e-9);
                EXPECT_LT(length(line.along, way), 1e-9);
                EXPECT_NEAR(line.deviation, std::sqrt(squares / (count - 2)), 1e-9);
                EXPECT_NEAR(line.above.distance, most, 1e-9);
                EXPECT_NEAR(line.below.distance, -most, 1e-9);
                EXPECT_NEAR(line.distanceOf(line.above.at), most, 1e-9);
                EXPECT_NEAR(line.distanceOf(line.below.at), -most, 1e-9);
                // Heights above a slope stand aside by their share of it.
                const double aside = isInHeight ? along.y / along.x : 0;
                EXPECT_NEAR(line.to, 0.25 * (count - 1) + aside * h * signedSize(count - 1), 1e-9);
                EXPECT_NEAR(line.from, -0.25 * (count - 1) + aside * h * signedSize(0), 1e-9);
                const double steps = 0.25 * count * (double(count) * count - 1) / 12;
                EXPECT_NEAR(line.spread, steps + squares * aside * aside, 1e-6);
                ASSERT_EQ(line.residuals.size(), std::size_t(count));
                for (int i = 0; i < count; ++i)
                    EXPECT_NEAR(line.residuals[std::size_t(i)],
                                signedSize(i) * (isInHeight ? h / along.x : h), 1e-9);
                // The noise is one of heights, and counts for a tenth at least.
                const LineUncertainty u =
                    lineUncertainty(line, whiteNoise(line.deviation / std::max(along.x, 0.1)));
                EXPECT_EQ(u.isShort, count < 30);
                EXPECT_NEAR(u.offset, line.deviation / std::sqrt(count), 1e-12);
                EXPECT_NEAR(u.direction, line.deviation / std::sqrt(line.spread), 1e-12);
            }
        }
    }
}

TEST(ExactFits, CorrelatedNoiseCountsBySumsOverAllPairs) {
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

TEST(ExactFits, TheDeviationIsTheFitsOwnOrThatOfAll) {
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

TEST(ExactFits, ResidualsCountAsTheirPageSays) {
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

TEST(ExactFits, CirclesAreThoseThatTheirPointsWerePutAbout) {
    for (const int count : {8, 40, 240, 600}) {
        constexpr double h = 0.02, radius = 5;
        const Vector centre(3, -4);
        Points points;
        for (int i = 0; i < count; ++i) {
            const double angle = 2 * kPi * i / count, r = radius + (i % 2 == 0 ? h : -h);
            points.emplace_back(centre.x + r * std::cos(angle), centre.y + r * std::sin(angle));
        }
        const ArcFit arc = fitArc(points);
        ASSERT_TRUE(arc.isFound()) << count;
        EXPECT_NEAR(arc.circle.radius, radius, 1e-9);
        EXPECT_LT(length(arc.circle.centre, centre), 1e-9);
        EXPECT_NEAR(arc.deviation, h * std::sqrt(count / (count - 3.0)), 1e-9);
        EXPECT_NEAR(arc.outside.distance, h, 1e-9);
        EXPECT_NEAR(arc.inside.distance, -h, 1e-9);
        EXPECT_NEAR(arc.span.span, 2 * kPi * (count - 1) / count, 1e-9);
        EXPECT_NEAR(circleCost(points, arc.circle), count * h * h, 1e-9);
        FittedCircle fixed{{3.5, -4.25}, 6};  // a known radius that is wrong keeps the centre
        EXPECT_TRUE(polishCircle(points, true, fixed));
        EXPECT_EQ(fixed.radius, 6);
        EXPECT_LT(length(fixed.centre, centre), 1e-6);
        if (count < 30)
            continue;
        const ArcUncertainty u = arcUncertainty(arc, whiteNoise(h));
        EXPECT_NEAR(u.radius, arc.deviation / std::sqrt(count), 1e-3 * u.radius);
        EXPECT_NEAR(u.x, arc.deviation * std::sqrt(2.0 / count), 1e-3 * u.x);
        EXPECT_NEAR(u.z, u.x, 1e-6);
        EXPECT_NEAR(u.covariance[0][0], u.x * u.x, 1e-12);
        EXPECT_NEAR(u.covariance[2][2], u.radius * u.radius, 1e-12);
        EXPECT_NEAR(u.covariance[0][2], 0, 1e-9);
    }
}

TEST(ExactFits, ArcsAreFoundFromBadStarts) {
    for (const double span : {0.2, 1.0, 3.0, 6.0}) {
        Points points;
        for (int i = 0; i <= 50; ++i) {
            const double angle = 1 + span * (i / 50.0 - 0.5);
            points.emplace_back(100 + 20 * std::cos(angle), 50 + 20 * std::sin(angle));
        }
        for (const FittedCircle& start : {FittedCircle{{90, 50}, 12}, {{130, 90}, 300}, {{111, 67}, 1}}) {
            for (const bool knowsRadius : {false, true}) {
                FittedCircle circle = start;
                circle.radius = knowsRadius ? 20 : start.radius;
                EXPECT_TRUE(polishCircle(points, knowsRadius, circle));
                EXPECT_NEAR(circle.radius, 20, 1e-6);
                EXPECT_LT(length(circle.centre, {100, 50}), 1e-6) << span << ' ' << knowsRadius;
            }
        }
    }
    FittedCircle kept{{1, 2}, 3};
    EXPECT_FALSE(polishCircle({{0, 0}, {1, 1}}, false, kept));
    EXPECT_FALSE(polishCircle({{1, 1}, {1, 1}, {1, 1}}, false, kept));
    EXPECT_FALSE(polishCircle({{5, 0}}, true, kept));
    EXPECT_EQ(kept.radius, 3);
    EXPECT_FALSE(polishCircle({{0, 0}, {1, 0}, {2, 0}, {3, 0}}, false, kept));
}

TEST(ExactFits, SpansLeaveOutTheWidestStretchWithoutPoints) {
    struct Case {
        std::vector<double> degrees;
        double start, span;
    };
    for (const Case& c :
         {Case{{30}, 30, 0}, Case{{10, 20, -10}, -10, 30}, Case{{170, -170, 180}, 170, 20},
          Case{{100, 180, -100}, 100, 160}, Case{{0, 60, 120, 180, 240}, 0, 240},
          Case{{200, 20, 290, 110}, NAN, 270}, Case{{-30, 150, 60, 270}, -90, 240}, Case{{40, 40}, 40, 0}}) {
        Points points;
        for (const double angle : c.degrees)
            points.emplace_back(3 + 2 * std::cos(angle * kPi / 180), 4 + 2 * std::sin(angle * kPi / 180));
        const ArcSpan arc = arcSpan(points, {3, 4});
        SCOPED_TRACE(testing::PrintToString(c.degrees));
        EXPECT_NEAR(arc.span * 180 / kPi, c.span, 1e-9);
        if (!std::isnan(c.start))  // else several stretches are as wide
        {
            EXPECT_NEAR(std::remainder(arc.start * 180 / kPi - c.start, 360), 0, 1e-9);
        }
    }
    EXPECT_NEAR(sagitta(5, kPi), 5, 1e-12);
    EXPECT_NEAR(sagitta(5, 2 * kPi), 10, 1e-12);
    EXPECT_NEAR(sagitta(10, kPi / 3), 10 * (1 - std::sqrt(3) / 2), 1e-12);
    EXPECT_EQ(sagitta(5, 0), 0);
}

TEST(ExactFits, TheSearchFollowsSpacingNoiseAndExtent) {
    struct Case {
        int count;
        float step, noise;
        double gap, tolerance, length;
    };
    constexpr double kBend = 2 / (0.6745 * 2.449489742783178);  // noise for each h of +h, -h, -h, +h
    for (const Case& c :
         {Case{401, 0.25F, 0, 5, 0.5, 2.5}, Case{101, 0.25F, 0, 5, 0.25, 2.5},
          Case{2001, 0.25F, 0, 5, 2.5, 10}, Case{11, 0.25F, 0, 5, 0.25, 0.625},
          Case{400, 0.0625F, 1, 12 * kBend, 9 * kBend, 0.625}, Case{400, 0.25F, 0.1F, 5, 0.9 * kBend, 2.5}}) {
        KvMath::KvProfile profile;
        for (int i = 0; i < c.count; ++i)
            profile.points.append(
                {c.step * float(i), c.noise * float(signOf(i + 1))});  // most steps are level
        const KvMath::TSFindTemplateParams search = estimateSearch(profile);
        SCOPED_TRACE(testing::Message() << c.count << " points");
        EXPECT_NEAR(search.minLineLength, c.length, 1e-3 * c.length);
        EXPECT_NEAR(search.contourGap, c.gap, 1e-6);
        EXPECT_NEAR(search.splitTolerance, c.tolerance, 1e-6);
        EXPECT_FALSE(search.allowReversed);
    }
    EXPECT_EQ(estimateSearch(KvMath::KvProfile()).contourGap, 0);
}

// White noise of 0.02 mm, 3 % of which its own scatter among 600 points takes, on surfaces of all sorts.
TEST(ExactFits, TheNoiseOfAProfileDoesNotFollowItsSurface) {
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
