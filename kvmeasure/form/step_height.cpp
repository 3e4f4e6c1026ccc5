// Sums about the middle of the groove and the first height, in long double; normal equations of three
// unknowns, which are well conditioned there: x is -1.5 to 1.5 of W.

#include <kvmeasure/form/step_height.h>

#include <kvmeasure/form/normal_equations_p.h>

#include <algorithm>

namespace KvMeasure {

namespace {

using Internal::NormalEquations;
using Internal::Real;

/// A point about the middle: x in W, z in mm.
struct Sample {
    Real x = 0, z = 0;
};

struct Parts {
    std::vector<Sample> a, b, c;
};

/// The sides of a reference and of the bottom, in W from the middle; limits count but for rounding.
Parts partsOf(const std::vector<Vector>& points, double fromEdge, double toEdge, Real base) {
    constexpr Real kOuter = 1.5L, kInner = 5.0L / 6, kBottom = 1.0L / 6, kRounding = 1e-9L;
    const Real width = Real(toEdge) - Real(fromEdge);
    const Real middle = (Real(fromEdge) + Real(toEdge)) / 2;
    Parts parts;
    for (const Vector& p : points) {
        const Sample sample{(Real(p.x) - middle) / width, Real(p.y) - base};
        const Real off = std::fabs(sample.x);
        if (!std::isfinite(off) || !std::isfinite(sample.z) || off > kOuter + kRounding)
            continue;
        if (off >= kInner - kRounding)
            (sample.x < 0 ? parts.a : parts.b).push_back(sample);
        else if (off <= kBottom + kRounding)
            parts.c.push_back(sample);
    }
    return parts;
}

/// True when points lie at both ends of 3 W; one pitch may be missing.
bool isCovered(const std::vector<Vector>& points, double fromEdge, double toEdge) {
    const double width = toEdge - fromEdge;
    const double from = (fromEdge + toEdge) / 2 - 1.5 * width;
    const double to = from + 3 * width;
    double least = std::numeric_limits<double>::infinity(), greatest = -least;
    int inside = 0;
    for (const Vector& p : points) {
        if (!isFinite(p))
            continue;
        least = std::min(least, p.x);
        greatest = std::max(greatest, p.x);
        inside += p.x >= from && p.x <= to ? 1 : 0;
    }
    if (inside < 2)
        return false;
    const double pitch = (std::min(to, greatest) - std::max(from, least)) / (inside - 1) + 1e-9 * width;
    return least <= from + pitch && greatest >= to - pitch;
}

void fitFlat(const Parts& parts, StepHeight& result, Real width) {
    NormalEquations<3> equations;
    for (const auto* part : {&parts.a, &parts.b, &parts.c}) {
        for (const Sample& s : *part)
            equations.add({s.x, 1, part == &parts.c ? Real(-1) : Real(1)}, s.z);
    }
    Real solved[3];
    if (!equations.solve(solved)) {
        result.reason = "the references do not determine a line: their points have one x";
        return;
    }
    result.slope = double(solved[0] / width);
    result.height = double(2 * solved[2]);
    Real squares = 0;
    for (const auto* part : {&parts.a, &parts.b, &parts.c}) {
        for (const Sample& s : *part) {
            const Real d = part == &parts.c ? -1 : 1;
            const Real residual = s.z - (solved[0] * s.x + solved[1] + solved[2] * d);
            squares += residual * residual;
        }
    }
    // The variance of h is 1 over the squares of what x and 1 leave of d; the height is 2 h.
    NormalEquations<2> ofStep;
    for (const auto* part : {&parts.a, &parts.b, &parts.c}) {
        for (const Sample& s : *part)
            ofStep.add({s.x, 1}, part == &parts.c ? Real(-1) : Real(1));
    }
    Real step[2], own = 0;
    if (ofStep.solve(step)) {
        for (const auto* part : {&parts.a, &parts.b, &parts.c}) {
            for (const Sample& s : *part) {
                const Real rest = (part == &parts.c ? -1 : 1) - (step[0] * s.x + step[1]);
                own += rest * rest;
            }
        }
        result.scatter = double(2 / std::sqrt(own));
    }
    const auto freedom = static_cast<Real>(parts.a.size() + parts.b.size() + parts.c.size()) - 3;
    if (freedom > 0)
        result.deviation = double(std::sqrt(squares / freedom));
}

void fitRounded(const Parts& parts, StepHeight& result, Real width) {
    NormalEquations<2> line;
    NormalEquations<3> parabola;
    for (const auto* part : {&parts.a, &parts.b}) {
        for (const Sample& s : *part)
            line.add({s.x, 1}, s.z);
    }
    Real lid[2], arc[3];
    const bool isLine = line.solve(lid);
    for (const Sample& s : parts.c)
        parabola.add({s.x * s.x, s.x, 1}, s.z - (isLine ? lid[0] * s.x + lid[1] : 0));
    if (!isLine || !parabola.solve(arc)) {
        result.reason = "the points of the references or of the bottom have too few places";
        return;
    }
    constexpr Real kHalf = 1.0L / 6;
    const auto height = [&arc](Real x) { return (arc[0] * x + arc[1]) * x + arc[2]; };
    Real at = -arc[1] / (2 * arc[0]);
    if (!(std::fabs(at) <= kHalf))
        at = std::fabs(height(-kHalf)) > std::fabs(height(kHalf)) ? -kHalf : kHalf;
    result.slope = double(lid[0] / width);
    result.height = double(-height(at));
}

}  // namespace

StepHeight stepHeight(const std::vector<Vector>& points, double fromEdge, double toEdge, StepType type) {
    StepHeight result;
    result.fromEdge = fromEdge;
    result.toEdge = toEdge;
    if (!std::isfinite(fromEdge) || !std::isfinite(toEdge) || !(fromEdge < toEdge)) {
        result.reason = "the edges are not in order";
        return result;
    }
    const Parts parts = partsOf(points, fromEdge, toEdge, points.empty() ? 0 : Real(points.front().y));
    result.pointsA = static_cast<int>(parts.a.size());
    result.pointsB = static_cast<int>(parts.b.size());
    result.pointsC = static_cast<int>(parts.c.size());
    result.isComplete = isCovered(points, fromEdge, toEdge);
    const int fewestOfBottom = type == StepType::A1 ? 1 : 3;
    if (result.pointsA < 2)
        result.reason = "fewer than two points in the left reference";
    else if (result.pointsB < 2)
        result.reason = "fewer than two points in the right reference";
    else if (result.pointsC < fewestOfBottom)
        result.reason =
            type == StepType::A1 ? "no point in the bottom" : "fewer than three points in the bottom";
    if (!result.isValid())
        return result;
    const Real width = Real(toEdge) - Real(fromEdge);
    (type == StepType::A1 ? fitFlat : fitRounded)(parts, result, width);
    return result;
}

}  // namespace KvMeasure
