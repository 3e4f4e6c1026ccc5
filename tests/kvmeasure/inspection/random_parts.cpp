// Tools on parts of random dimensions, direction, pitch and noise: how far values lie off, in their stated
// uncertainty. With KVMEASURE_RUNS=5000 the study takes that many parts of each kind, and prints its table.

#include <tests/kvmeasure/inspection/shapes.h>

#include <cstdio>
#include <tests/kvmeasure/calls.h>

namespace {

using Random = std::mt19937_64;

constexpr double kPi = 180 * kRadiansPerDegree;

double within(Random& random, double from, double to) {
    return std::uniform_real_distribution<double>(from, to)(random);
}

double evenly(Random& random, double from, double to) {  // in the logarithm
    return std::exp(within(random, std::log(from), std::log(to)));
}

/// Surfaces as ways from corner to corner, and what a tool is to find; values of no shape that can be seen
/// are empty.
struct Part {
    QString words;
    std::vector<Points> surfaces;
    QMap<QString, double> truth;  ///< by ending
    QList<Region> regions = {};   ///< beside M, which is all
    double mostTurn = 15;         ///< degrees
    QString kind = {};            ///< of the table; empty: the words
};

Region region(const char* name, double from, double to) {
    Region result;
    result.name = name;
    result.minX = std::min(from, to);
    result.maxX = std::max(from, to);
    return result;
}

/// Lands beside what lies between them.
Points withLands(Random& random, Points between) {
    const Vector &first = between.front(), last = between.back();
    between.insert(between.begin(), Vector(first.x - within(random, 2, 8), first.y));
    between.push_back(Vector(last.x + within(random, 2, 8), last.y));
    return between;
}

Points arcOf(const Vector& centre, double radius, double from, double to) {  // radians
    constexpr int kSteps = 100;
    Points points;
    for (int i = 0; i <= kSteps; ++i) {
        const double angle = from + (to - from) * i / kSteps;
        points.emplace_back(centre.x + radius * std::cos(angle), centre.y + radius * std::sin(angle));
    }
    return points;
}

Part flatGroove(Random& random) {
    const double width = within(random, 1, 10), depth = within(random, 0.4, 5);
    const double left = depth / evenly(random, 0.6, 12), right = depth / evenly(random, 0.6, 12);
    if (width - left - right < 0.5)
        return {};
    return {"groove in M",
            {withLands(random, {{0, 0}, {left, -depth}, {width - right, -depth}, {width, 0}})},
            {{"width", width}, {"depth", depth}, {"area", depth * (width - (left + right) / 2)}},
            {},
            15,
            "groove, flat"};
}

Part vGroove(Random& random) {
    const double width = within(random, 1, 10);
    const double left = evenly(random, 0.6, 12), right = evenly(random, 0.6, 12);
    const double depth = width / (1 / left + 1 / right);
    if (depth > 8)
        return {};
    return {"groove in M",
            {withLands(random, {{0, 0}, {depth / left, -depth}, {width, 0}})},
            {{"width", width}, {"depth", depth}, {"area", depth * width / 2}},
            {},
            15,
            "groove, V"};
}

Part roundGroove(Random& random) {
    const double width = within(random, 2, 10), radius = within(random, 0.55, 1.5) * width;
    const double half = std::asin(width / 2 / radius), up = radius * std::cos(half);
    return {"groove in M",
            {withLands(random, arcOf({width / 2, up}, radius, -kPi / 2 - half, -kPi / 2 + half))},
            {{"width", width},
             {"depth", radius - up},
             {"area", radius * radius * (half - std::sin(2 * half) / 2)}},
            {},
            15,
            "groove, round"};
}

Part roundEdges(Random& random) {
    const double width = within(random, 3, 10), depth = within(random, 1.5, 8);
    const double radius = std::min(within(random, 0.1, 1), 0.4 * depth);
    Points points = arcOf({-radius, -radius}, radius, kPi / 2, 0);
    const Points right = arcOf({width + radius, -radius}, radius, kPi, kPi / 2);
    points.insert(points.end(), {{1e-9, -depth}, {width - 1e-9, -depth}});
    points.insert(points.end(), right.begin(), right.end());
    return {"groove in M", {withLands(random, points)}, {{"width", width}}, {}, 0, "groove, round edges"};
}

Part edgePart(Random& random) {
    const double height = within(random, 0.5, 3), flank = within(random, 0.05, 0.5);
    return {
        "edge in M window 15", {withLands(random, {{0, 0}, {flank, height}})}, {{"height", height}}, {}, 0};
}

Part hems(Random& random) {
    const double left = within(random, 0.4, 3), right = within(random, 0.4, 3), gap = within(random, 1, 6);
    const double flush = within(random, -1, 1);
    Points first = arcOf({-left, -left}, left, kPi / 2, 0.01);
    Points second = arcOf({gap + right, flush - right}, right, kPi - 0.01, kPi / 2);
    first.insert(first.begin(), {-left - within(random, 3, 8), 0});
    second.push_back({gap + right + within(random, 3, 8), flush});
    return {"gap L R tangent",
            {first, second},
            {{"", gap + left + right}},
            {region("L", -99, gap / 2), region("R", gap / 2, 99)},
            0};
}

Part plate(Random& random) {
    const double height = within(random, 0.5, 3), from = within(random, -2, 0), to = within(random, 1, 3);
    return {"area in R above 0",
            {{{-4, 0}, {-3.99, height}, {4, height}, {4.01, 0}}},
            {{"", height * (to - from)}},
            {region("R", from, to)},
            0};
}

Part fillet(Random& random) {
    const double half = within(random, 0.7, 1.1) * kPi / 4;  // of each plate over the horizontal
    const double legs[] = {within(random, 2, 6), within(random, 2, 6)}, rise = within(random, -0.25, 0.6);
    const auto on = [&](int side, double place) {
        return Vector((side == 0 ? -1 : 1) * place * std::cos(half), place * std::sin(half));
    };
    const Vector a = on(0, legs[0]), b = on(1, legs[1]);
    const double size = length(a, b);
    Points points{on(0, legs[0] + within(random, 4, 8))};
    constexpr int kSteps = 100;
    for (int i = 0; i <= kSteps; ++i) {
        const double t = double(i) / kSteps;
        const double up = 4 * rise * t * (1 - t);
        points.emplace_back(a.x + t * (b.x - a.x) - up * (b.y - a.y) / size,
                            a.y + t * (b.y - a.y) + up * (b.x - a.x) / size);
    }
    points.push_back(on(1, legs[1] + within(random, 4, 8)));
    return {"fillet-weld L R in M",
            {points},
            {{"leg1", legs[0]}, {"leg2", legs[1]}, {"convexity", rise}},
            {region("L", -99, a.x - 0.6), region("R", b.x + 0.6, 99)},
            0};
}

/// The points that a scanner above a turned part sees, with noise of the heights.
Points scanned(const Part& part, double turn, double pitch, double noise, Random& random) {
    std::normal_distribution<double> normal(0, noise);
    const double cosine = std::cos(turn), sine = std::sin(turn), start = within(random, 0, pitch);
    const auto turned = [&](const Vector& p) {
        return Vector(cosine * p.x - sine * p.y, sine * p.x + cosine * p.y);
    };
    Points points;
    for (double x = -30 + start; x < 30; x += pitch) {
        double highest = -HUGE_VAL;
        for (const Points& surface : part.surfaces) {
            for (std::size_t i = 1; i < surface.size(); ++i) {
                const Vector a = turned(surface[i - 1]), b = turned(surface[i]);
                if (x >= std::min(a.x, b.x) && x <= std::max(a.x, b.x) && a.x != b.x)
                    highest = std::max(highest, a.y + (x - a.x) / (b.x - a.x) * (b.y - a.y));
            }
        }
        if (std::isfinite(highest))
            points.emplace_back(x, highest + normal(random));
    }
    return points;
}

bool isSeen(const Part& part, double turn) {
    for (const Points& surface : part.surfaces) {
        for (std::size_t i = 1; i < surface.size(); ++i) {
            if ((surface[i].x - surface[i - 1].x) * std::cos(turn) <=
                (surface[i].y - surface[i - 1].y) * std::sin(turn))
                return false;
        }
    }
    return !part.surfaces.empty();
}

struct Errors {
    int count = 0, far = 0, missing = 0;
    double squares = 0;
};

TEST(RandomParts, AreMeasuredWithinTheirUncertainty) {
    const int wanted = qEnvironmentVariableIntValue("KVMEASURE_RUNS");
    const int runs = std::max(120, wanted);
    Random random(20261124);
    for (const auto& make : {flatGroove, vGroove, roundGroove, roundEdges, edgePart, hems, plate, fillet}) {
        QMap<QString, Errors> seen;
        for (int i = 0; i < runs;) {
            Part part = make(random);
            const double turn = within(random, -1, 1) * part.mostTurn * kRadiansPerDegree;
            const double pitch = evenly(random, 0.02, 0.1), noise = evenly(random, 0.003, 0.03);
            if (!isSeen(part, turn))
                continue;
            ++i;
            part.regions.append(region("M", -99, 99));
            const auto values =
                measure(part.words, scanned(part, turn, pitch, noise, random), {}, part.regions);
            for (auto truth = part.truth.begin(); truth != part.truth.end(); ++truth) {
                const Value value = values[truth.key()];
                const QString kind = part.kind.isEmpty() ? part.words : part.kind;
                Errors& errors = seen[(kind + ' ' + truth.key()).trimmed()];
                if (!value.isValid || !(value.u > 0)) {
                    ++errors.missing;
                    continue;
                }
                const double error = (value.value - *truth) / value.u;
                ++errors.count;
                errors.far += std::fabs(error) > 5 ? 1 : 0;
                errors.squares += std::min(error * error, 25.0);
            }
        }
        for (auto errors = seen.begin(); errors != seen.end(); ++errors) {
            const double ratio = std::sqrt(errors->squares / errors->count);
            EXPECT_LT(ratio, 1.6) << qPrintable(errors.key());
            EXPECT_LE(errors->far, 3 + runs / 50) << qPrintable(errors.key());
            EXPECT_LE(errors->missing, runs / 8) << qPrintable(errors.key());
            if (wanted > 0)
                std::printf("| `%s` | %.2f | %.1f | %.1f |\n", qPrintable(errors.key()), ratio,
                            100.0 * errors->far / errors->count, 100.0 * errors->missing / runs);
        }
    }
}

}  // namespace
