#include "simulator/circumference.h"

#include "simulator/draws.h"
#include "simulator/legal_range.h"

#include <algorithm>
#include <cmath>

namespace Simulator {

namespace {
constexpr double kDegree = 3.14159265358979323846 / 180;
}

QString problemOf(const CircumferenceRecipe& recipe) {
    constexpr int kMostPoints = 1'000'000;
    constexpr double kAnyAngle = 3600;
    QString problem = outside("diameter", recipe.diameter, 300, 1500);
    const auto check = [&](const QString& found) { problem = problem.isEmpty() ? found : problem; };
    check(outside("points", recipe.points, 1, kMostPoints));
    check(outside("from", recipe.from, -kAnyAngle, kAnyAngle));
    check(outside("to", recipe.to, recipe.from, kAnyAngle));
    check(outside("noise", recipe.noise, 0, 5));
    check(outside("dropouts", recipe.dropouts, 0, 0.5));
    for (const Wave& wave : recipe.waves) {
        check(outside("order", wave.order, 1, 500));
        check(outside("amplitude", wave.amplitude, 0, 5));
        check(outside("angle", wave.angle, -kAnyAngle, kAnyAngle));
    }
    for (const ChordFlat& flat : recipe.flats) {
        check(outside("length", flat.length, 1, recipe.diameter));
        check(outside("angle", flat.angle, -kAnyAngle, kAnyAngle));
    }
    return problem;
}

double chordDepth(double diameter, double length) {
    const double radius = diameter / 2;
    return radius - std::sqrt(radius * radius - length * length / 4);
}

double radiusAt(const CircumferenceRecipe& recipe, double angle) {
    const double radius = recipe.diameter / 2;
    double result = radius;
    for (const Wave& wave : recipe.waves)
        result += wave.amplitude * std::cos(wave.order * (angle - wave.angle) * kDegree);
    double missing = 0;
    for (const ChordFlat& flat : recipe.flats) {
        const double off = std::remainder(angle - flat.angle, 360.0) * kDegree;
        if (std::fabs(off) < std::asin(flat.length / (2 * radius)))
            missing = std::max(missing,
                               radius - (radius - chordDepth(recipe.diameter, flat.length)) / std::cos(off));
    }
    return result - missing;
}

std::vector<RadiusPoint> circumferenceOf(const CircumferenceRecipe& recipe) {
    Draws noise(recipe.seed, 1), gaps(recipe.seed, 2);
    std::vector<RadiusPoint> points;
    const double step = 360.0 / recipe.points;
    for (int i = 0; recipe.from + i * step < recipe.to - step / 2; ++i) {
        const double angle = recipe.from + i * step;
        const double drawn = noise.normal();
        if (gaps.unit() < recipe.dropouts)
            continue;
        points.push_back({angle, radiusAt(recipe, angle) + recipe.noise * drawn});
    }
    return points;
}

}  // namespace Simulator
