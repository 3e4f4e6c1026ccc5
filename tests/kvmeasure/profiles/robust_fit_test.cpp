// Robust fits of lines and arcs: what holds for all of them, what stray points and degenerate input do, and
// their uncertainties against the scatter seen. KVMEASURE_RUNS=2000 takes that many runs and prints the
// table.

#include <kvmeasure/profiles/robust_arc.h>
#include <tests/kvmeasure/calls.h>

#include <cstdio>
#include <numeric>

namespace {

using Points = std::vector<Vector>;

/// Noise of standard deviation 1: the mean of `width` neighbours of white noise, scaled.
std::vector<double> movingAverage(std::mt19937_64& random, int count, int width) {
    std::normal_distribution<double> normal;
    std::vector<double> white(std::size_t(count + width));
    for (double& value : white)
        value = normal(random);
    std::vector<double> noise(std::size_t(count), 0.0);
    for (std::size_t i = 0; i < noise.size(); ++i) {
        for (std::size_t k = 0; k < std::size_t(width); ++k)
            noise[i] += white[i + k] / std::sqrt(double(width));
    }
    return noise;
}

/// Heights at equal steps with noise of them; every tenth or so missing where `drops`.
Points scan(std::mt19937_64& random, int count, double from, double to, double noise, int width, bool drops,
            const std::function<double(double)>& height) {
    const std::vector<double> errors = movingAverage(random, count, width);
    Points points;
    for (int i = 0; i < count; ++i) {
        const double x = from + (to - from) * i / (count - 1);
        if (!drops || std::uniform_real_distribution<double>()(random) >= 0.1)
            points.emplace_back(x, height(x) + noise * errors[std::size_t(i)]);
    }
    return points;
}

struct Motion {
    const char* name;
    std::function<Vector(const Vector&)> move;
    double scale = 1;
    bool isMirror = false;
    bool isReverse = false;
};

const std::vector<Motion> motions{
    {"shift", [](const Vector& p) { return Vector(p.x + 200, p.y - 30); }},
    {"turn", [](const Vector& p) { return Vector(p.x * 0.8 - p.y * 0.6, p.x * 0.6 + p.y * 0.8); }},
    {"mirror", [](const Vector& p) { return Vector(-p.x, p.y); }, 1, true},
    {"reverse", [](const Vector& p) { return p; }, 1, false, true},
    {"scale", [](const Vector& p) { return Vector(p.x * 1000, p.y * 1000); }, 1000}};

Points moved(const Points& points, const Motion& motion) {
    Points result;
    for (const Vector& p : points)
        result.push_back(motion.move(p));
    if (motion.isReverse)
        std::reverse(result.begin(), result.end());
    return result;
}

TEST(RobustFit, FollowsItsPoints) {
    std::mt19937_64 random(11);
    for (int run = 0; run < 30; ++run) {
        // A steep line, of which distances are fitted before and after the turn, and an arc; both with
        // strays.
        Points line = scan(random, 90, -2, 2, 0.2, 1, true, [](double x) { return 2.2 * x; });
        Points arc = scan(random, 120, -4, 4, 0.02, 1, true, [](double x) { return std::sqrt(25 - x * x); });
        for (Points* points : {&line, &arc}) {
            for (std::size_t i = 0; i < points->size(); i += 9)
                (*points)[i].y += 3 + double(i) / 10;
        }
        for (const Motion& motion : motions) {
            SCOPED_TRACE(motion.name);
            const LineFit before = fitLine(line);
            const LineFit after = fitLine(moved(line, motion));
            ASSERT_TRUE(before.isFound());
            EXPECT_EQ(after.rejected, before.rejected);
            EXPECT_NEAR(after.deviation, before.deviation * motion.scale, 1e-9 * motion.scale);
            EXPECT_NEAR(after.distanceOf(motion.move(before.pointAt(5))), 0, 1e-9 * motion.scale);
            EXPECT_NEAR(after.distanceOf(motion.move(before.centre)), 0, 1e-9 * motion.scale);
            const ArcFit bow = fitArc(arc);
            const ArcFit bent = fitArc(moved(arc, motion));
            ASSERT_TRUE(bow.isFound());
            EXPECT_EQ(bent.rejected, bow.rejected);
            EXPECT_NEAR(bent.circle.radius, bow.circle.radius * motion.scale, 1e-6 * motion.scale);
            EXPECT_LT(length(bent.circle.centre, motion.move(bow.circle.centre)), 1e-6 * motion.scale);
            EXPECT_NEAR(bent.span.span, bow.span.span, 1e-6);
        }
    }
}

TEST(RobustFit, LeavesStrayPointsOut) {
    std::mt19937_64 random(12);
    Points line = scan(random, 200, -10, 10, 0.02, 1, false, [](double x) { return 1 + 0.5 * x; });
    Points arc = scan(random, 200, -4, 4, 0.02, 1, false, [](double x) { return std::sqrt(25 - x * x); });
    for (std::size_t i = 120; i < 180; ++i) {  // 30 %, all on one side and at one end
        line[i].y += 5;
        arc[i].y += 2;
    }
    line[3].y = std::nan("");
    const LineFit robust = fitLine(line);
    EXPECT_NEAR(robust.along.y / robust.along.x, 0.5, 0.003);
    EXPECT_NEAR(robust.deviation, 0.02 * robust.along.x, 0.003);
    EXPECT_THAT(robust.rejected, testing::AllOf(testing::Ge(60), testing::Le(63)));
    EXPECT_EQ(robust.points + robust.rejected, 199);
    const LineFit plain = fitLine(line, {false, 3.5});
    EXPECT_EQ(plain.rejected, 0);
    EXPECT_GT(plain.above.distance, 1);
    // Of few points none is left out, however three or two of them agree.
    const Points few = scan(random, 9, -4, 4, 0.2, 1, false, [](double x) { return std::sqrt(25 - x * x); });
    EXPECT_EQ(fitArc(few).rejected, 0);
    EXPECT_EQ(fitLine({{0, 0}, {1, 0}, {2, 0.001}, {3, 0}, {4, 0}, {5, 1}}).rejected, 0);
    EXPECT_NEAR(fitArc(arc).circle.radius, 5, 0.03);
    EXPECT_GT(std::fabs(fitArc(arc, {false, 3.5}).circle.radius - 5), 0.3);
}

TEST(RobustFit, StandsUpToAQuarterOfStrayPoints) {
    // On one side, in one run of neighbours or anywhere; of few points and of more than the start takes.
    std::mt19937_64 random(21);
    std::uniform_real_distribution<double> share;
    for (const int count : {120, 239, 241, 700, 3000}) {
        for (int run = 0; run < 60; ++run) {
            const double slope = 3 * share(random) - 1.5, off = 1 + 9 * share(random), noise = 0.02;
            Points line = scan(random, count, -10, 10, noise, 1, false, [&](double x) { return slope * x; });
            std::vector<std::size_t> order(line.size());
            std::iota(order.begin(), order.end(), std::size_t{0});
            const bool isAnywhere = run % 2 == 0;
            if (isAnywhere)
                std::shuffle(order.begin(), order.end(), random);
            const double most = 0.25;
            const auto from = std::size_t(isAnywhere ? 0 : share(random) * (1 - most) * count);
            for (std::size_t i = 0; i < std::size_t(most * count); ++i)
                line[order[from + i]].y += off * (1 + 0.3 * share(random));
            const LineFit fit = fitLine(line);
            SCOPED_TRACE(testing::Message() << count << " points, run " << run);
            EXPECT_NEAR(fit.along.y / fit.along.x, slope, 1.5 * noise / std::sqrt(count));
            EXPECT_NEAR(fit.distanceOf({0, 0}), 0, 5 * noise / std::sqrt(0.6 * count));
            EXPECT_NEAR(fit.rejected, int(most * count), 1 + 0.01 * count);
        }
    }
}

// Strays that raise the deviation of all points so far that none lies beyond the cut.
TEST(RobustFit, SeesStrayPointsThatLeastSquaresHide) {
    std::mt19937_64 random(5);
    for (const int count : {100, 300, 3200}) {
        const Points clean = scan(random, count, -8, 8, 0.02, 1, false, [](double x) { return 0.3 * x; });
        Points aside(clean);  // the last quarter lies on another surface
        Points scattered(clean);
        for (int i = 0; i < count; ++i) {
            const auto at = std::size_t(i);
            aside[at].y += 4 * i > 3 * count ? 1 : 0;
            scattered[at].y += i % 5 == 2 ? 0.8 : 0;
        }
        const double most = 5 * 0.02 / std::sqrt(0.6 * count);
        for (const Points& points : {clean, aside, scattered}) {
            const LineFit line = fitLine(points);
            ASSERT_TRUE(line.isFound());
            EXPECT_NEAR(line.centre.y - 0.3 * line.centre.x, 0, most);
            EXPECT_NEAR(line.deviation, 0.02, 0.2 * 0.02);
            EXPECT_EQ(line.points + line.rejected, count);
            EXPECT_EQ(line.residuals.size(), std::size_t(line.points));
        }
    }
}

TEST(RobustFit, SeesStrayPointsOfArcsThatLeastSquaresHide) {
    std::mt19937_64 random(6);
    for (const int count : {100, 300, 3200}) {
        const Points clean =
            scan(random, count, -8, 8, 0.02, 1, false, [](double x) { return std::sqrt(100 - x * x); });
        Points aside(clean);  // the last eighth lies on another surface
        Points scattered(clean);
        Points few(clean);
        few[std::size_t(count / 3)].y += 0.5;
        for (int i = 0; i < count; ++i) {
            aside[std::size_t(i)].y += 8 * i > 7 * count ? 1 : 0;
            scattered[std::size_t(i)].y += i % 8 == 2 ? 0.8 : 0;
        }
        for (const Points& points : {clean, aside, scattered, few}) {
            const ArcFit arc = fitArc(points);
            ASSERT_TRUE(arc.isFound());
            EXPECT_NEAR(arc.circle.radius, 10, 0.6 / std::sqrt(count));
            EXPECT_NEAR(arc.deviation, 0.02, 0.2 * 0.02);
            EXPECT_EQ(arc.points + arc.rejected, count);
            EXPECT_EQ(arc.used.size(), std::size_t(arc.points));
        }
        EXPECT_LT(fitArc(few).outside.distance, 0.2);
    }
}

TEST(RobustFit, SpansLeaveOutTheWidestStretchWithoutPoints) {
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
            points.emplace_back(3 + 2 * std::cos(angle * M_PI / 180), 4 + 2 * std::sin(angle * M_PI / 180));
        const ArcSpan arc = arcSpan(points, {3, 4});
        SCOPED_TRACE(testing::PrintToString(c.degrees));
        EXPECT_NEAR(arc.span * 180 / M_PI, c.span, 1e-9);
        if (!std::isnan(c.start))  // else several stretches are as wide
        {
            EXPECT_NEAR(std::remainder(arc.start * 180 / M_PI - c.start, 360), 0, 1e-9);
        }
    }
    EXPECT_NEAR(sagitta(5, M_PI), 5, 1e-12);
    EXPECT_NEAR(sagitta(5, 2 * M_PI), 10, 1e-12);
    EXPECT_NEAR(sagitta(10, M_PI / 3), 10 * (1 - std::sqrt(3) / 2), 1e-12);
    EXPECT_EQ(sagitta(5, 0), 0);
}

TEST(RobustFit, SaysWhyThereIsNone) {
    const double nan = std::nan("");
    const Points none;
    const Points same(5, Vector(1, 2));
    const Points unset{{nan, 1}, {2, nan}, {1e300, 0}, {1, 1}};
    for (const Points& points : {none, same, unset}) {
        EXPECT_FALSE(fitLine(points).isFound());
        EXPECT_FALSE(fitArc(points).isFound());
        EXPECT_FALSE(lineUncertainty(fitLine(points), {}).reason.isEmpty());
        EXPECT_TRUE(std::isnan(arcUncertainty(fitArc(points), {}).radius));
    }
    Points straight;
    Points vertical;
    for (int i = 0; i < 50; ++i) {
        straight.emplace_back(i, 2 * i);
        vertical.emplace_back(4, -i);
    }
    EXPECT_FALSE(fitArc(straight).isFound());
    EXPECT_FALSE(fitArc(vertical).isFound());
    const LineFit upright = fitLine(vertical);
    EXPECT_EQ(upright.along.y, 1);
    EXPECT_EQ(upright.centre.x, 4);
    EXPECT_FALSE(fitLine({{0, 0}, {1, 3}}).residuals.empty());
    // An arc of little height: found, and flagged.
    std::mt19937_64 random(13);
    const auto flat = [](double x) { return std::sqrt(1e4 - x * x); };
    EXPECT_TRUE(fitArc(scan(random, 200, -2, 2, 0.02, 1, false, flat)).isNearlyStraight);
    EXPECT_FALSE(fitArc(scan(random, 200, -20, 20, 0.02, 1, false, flat)).isNearlyStraight);
}

/// Errors and predictions of one quantity over many runs.
struct Scatter {
    double predicted = 0, squares = 0;
    int runs = 0, held = 0;

    void add(double error, double u, double degrees) {
        ASSERT_TRUE(u > 0);
        const double z = 1.959964;  // the quantile of Student's distribution, by its expansion
        const double t = z + (z * z * z + z) / (4 * degrees) +
                         (5 * std::pow(z, 5) + 16 * z * z * z + 3 * z) / (96 * degrees * degrees);
        predicted += u;
        squares += error * error;
        held += std::fabs(error) <= t * u ? 1 : 0;
        ++runs;
    }
    void check(const char* what) const {
        const double ratio = predicted / runs / std::sqrt(squares / runs);
        const double share = double(held) / runs;
        if (std::getenv("KVMEASURE_RUNS") != nullptr)
            std::printf("  %-9s u / seen %.3f, 95 %% intervals hold %.3f\n", what, ratio, share);
        const double ofRatio = 3 / std::sqrt(2.0 * runs);  // three standard errors of the runs themselves
        const double ofShare = 3 * std::sqrt(0.95 * 0.05 / runs);
        EXPECT_NEAR(ratio, 1, 0.1 + ofRatio) << what;
        EXPECT_NEAR(share, 0.95, 0.02 + ofShare) << what;
    }
};

TEST(RobustFit, UncertaintyIsTheScatterSeen) {
    struct Case {
        int count, pieces, width;
        double noise;
        bool drops;
    };
    const char* text = std::getenv("KVMEASURE_RUNS");
    const int runs = text != nullptr ? std::atoi(text) : 300;
    // 30 correlation lengths in a line alone, and 10 in each of three.
    for (const Case& c :
         {Case{30, 1, 1, 0.1, false}, Case{100, 1, 3, 0.01, true}, Case{450, 1, 15, 0.1, true},
          Case{34, 3, 3, 0.01, false}, Case{150, 3, 15, 0.1, true}}) {
        std::mt19937_64 random(14);
        Scatter offset, direction, radius;
        for (int run = 0; run < runs; ++run) {
            ResidualNoise noise, ofArc;
            LineFit line;
            for (int piece = 0; piece < c.pieces; ++piece) {
                line = fitLine(scan(random, c.count, -3, 3, c.noise, c.width, c.drops,
                                    [](double x) { return 1 + 0.75 * x; }));
                noise.add(line.residuals, 2);
            }
            const LineUncertainty u = lineUncertainty(line, noise.model());
            if (u.reason.isEmpty()) {
                offset.add(line.distanceOf({0, 1}), std::hypot(u.offset, u.direction * line.placeOf({0, 1})),
                           u.degreesOfFreedom);
                direction.add(std::atan2(line.along.y, line.along.x) - std::atan(0.75), u.direction,
                              u.degreesOfFreedom);
            }
            const ArcFit arc = fitArc(scan(random, 30 * c.width + 10, -3, 3, c.noise / 2, c.width, c.drops,
                                           [](double x) { return std::sqrt(25 - x * x); }));
            ofArc.add(arc.residuals, 3);
            const ArcUncertainty uArc = arcUncertainty(arc, ofArc.model());
            if (uArc.reason.isEmpty())
                radius.add(arc.circle.radius - 5, uArc.radius, uArc.degreesOfFreedom);
        }
        SCOPED_TRACE(testing::Message() << c.count << " points, moving average of " << c.width);
        if (text != nullptr)
            std::printf("%d x %d points, moving average of %d\n", c.pieces, c.count, c.width);
        EXPECT_GT(offset.runs, runs * 9 / 10);
        offset.check("offset");
        direction.check("direction");
        radius.check("radius");
    }
}

TEST(RobustFit, FewCorrelatedPointsAreFlagged) {
    std::mt19937_64 random(15);
    int stated = 0, flagged = 0;
    double time = 0, squares = 0, predicted = 0;
    for (int run = 0; run < 100; ++run) {
        const LineFit line =
            fitLine(scan(random, 40, -3, 3, 0.05, 15, false, [](double x) { return 1 + 0.75 * x; }));
        ResidualNoise noise;
        noise.add(line.residuals, 2);
        const LineUncertainty u = lineUncertainty(line, noise.model());
        stated += u.reason.isEmpty() ? 1 : 0;
        squares += line.distanceOf({0, 1}) * line.distanceOf({0, 1});
        predicted += u.reason.isEmpty() ? u.at(line.placeOf({0, 1})) : 0;
        flagged += u.isShort ? 1 : 0;
        // What the noise of the scanner is known from others.
        ResidualNoise scanner;
        for (int i = 0; i < 20; ++i)
            scanner.add(movingAverage(random, 300, 15), 0);
        time += scanner.model().correlationTime / 100;
        EXPECT_TRUE(lineUncertainty(line, scanner.model()).reason.isEmpty());
    }
    EXPECT_NEAR(time, 15, 1);
    EXPECT_GT(predicted / stated, 0.8 * std::sqrt(squares / 100));
    EXPECT_LT(stated, 50);
    EXPECT_GT(flagged, 90);
    EXPECT_EQ(ResidualNoise().model().pieces, 0);
    EXPECT_FALSE(ResidualNoise().model().reason.isEmpty());
    ResidualNoise exact;
    exact.add(std::vector<double>(50, 0.0), 2);
    EXPECT_EQ(exact.model().deviation, 0);
    exact.add({1, std::nan(""), 2, 3, 4, 5}, 2);
    EXPECT_EQ(exact.model().deviation, 0);
    exact.add(exact);
    EXPECT_EQ(exact.model().points, 100);
}

}  // namespace
