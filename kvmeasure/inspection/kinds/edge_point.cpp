// The end of a surface at a gap, of this project's own making. A hem is an arc that touches the surface, so
// that each of its points gives a radius: the median says where the hem begins, and three rounds of a line
// and an arc that touches it settle it. Their points would bend each other's fit otherwise. The arc has two
// unknowns, the place where it touches and its radius, by some steps of Gauss and Newton. Passes over the
// points.

#include <kvmeasure/inspection/kinds/edge_point.h>

#include <kvmeasure/inspection/kinds/order_noise.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace KvMeasure {

namespace {

using Points = std::vector<Vector>;

constexpr std::size_t kFewestPoints = 3;
constexpr std::size_t kFewestOfHem = 4;

/// The median distance along the line of the last points of a surface.
double pitchAt(const Points& points, const LineFit& line, int towardsGap) {
    constexpr std::size_t kMost = 9;
    std::vector<double> places;
    places.reserve(points.size());
    for (const Vector& p : points)
        places.push_back(-towardsGap * line.placeOf(p));
    const std::size_t count = std::min(kMost, places.size());
    std::partial_sort(places.begin(), places.begin() + std::ptrdiff_t(count), places.end());
    std::vector<double> steps;
    for (std::size_t i = 1; i < count; ++i)
        steps.push_back(places[i] - places[i - 1]);
    if (steps.empty())
        return 0;
    std::nth_element(steps.begin(), steps.begin() + std::ptrdiff_t(steps.size() / 2), steps.end());
    return steps[steps.size() / 2];
}

/// The points beyond a place along the line, towards the gap, or those before it.
Points part(const Points& points, const LineFit& line, int towardsGap, double place, bool beyond) {
    Points result;
    for (const Vector& p : points) {
        if ((towardsGap * line.placeOf(p) > place) == beyond)
            result.push_back(p);
    }
    return result;
}

/// Where the hem begins: the last point towards the gap that is not below the surface by more than the cut.
double hemStart(const Points& points, const LineFit& line, int towardsGap, double cut) {
    double start = -std::numeric_limits<double>::infinity();
    for (const Vector& p : points) {
        if (line.distanceOf(p) >= -cut)
            start = std::max(start, towardsGap * line.placeOf(p));
    }
    return start;
}

/// An arc that touches a line.
struct TouchingArc {
    double touch = 0;   ///< place along the line, towards the gap, mm
    double radius = 0;  ///< mm, below the line
};

/// What the equation of a point says: its distance from the arc and what touch and radius change of it.
struct Equation {
    double distance, byTouch, byRadius;

    Equation(const LineFit& line, int towardsGap, const TouchingArc& arc, const Vector& point) {
        const double along = towardsGap * line.placeOf(point) - arc.touch;
        const double up = line.distanceOf(point) + arc.radius;
        const double size = std::sqrt(along * along + up * up);
        distance = size - arc.radius;
        byTouch = -along / size;
        byRadius = up / size - 1;
    }
};

/// Normal matrix of the equations and their right side.
struct Normal {
    double tt = 0, tr = 0, rr = 0, t = 0, r = 0;

    void add(const Equation& e, double weight) {
        tt += weight * e.byTouch * e.byTouch;
        tr += weight * e.byTouch * e.byRadius;
        rr += weight * e.byRadius * e.byRadius;
        t += weight * e.byTouch * e.distance;
        r += weight * e.byRadius * e.distance;
    }
    double determinant() const { return tt * rr - tr * tr; }
};

/// The arc of least squared distances, from a start. False where it runs away.
bool polish(const LineFit& line, int towardsGap, const Points& points, TouchingArc& arc) {
    constexpr int kSteps = 20;
    for (int step = 0; step < kSteps; ++step) {
        Normal normal;
        for (const Vector& point : points)
            normal.add(Equation(line, towardsGap, arc, point), 1);
        const double determinant = normal.determinant();
        if (!(determinant > 0))
            return false;
        const double touch = (normal.rr * normal.t - normal.tr * normal.r) / determinant;
        const double radius = (normal.tt * normal.r - normal.tr * normal.t) / determinant;
        arc.touch -= touch;
        arc.radius = std::max(arc.radius - radius, arc.radius / 2);
        if (std::fabs(touch) + std::fabs(radius) <= 1e-10 * arc.radius)
            break;
    }
    return std::isfinite(arc.touch + arc.radius);
}

double deviationFrom(const LineFit& line, int towardsGap, const Points& points, const TouchingArc& arc) {
    std::vector<double> distances;
    distances.reserve(points.size());
    for (const Vector& point : points)
        distances.push_back(std::fabs(Equation(line, towardsGap, arc, point).distance));
    const auto middle = distances.begin() + std::ptrdiff_t(distances.size() / 2);
    std::nth_element(distances.begin(), middle, distances.end());
    constexpr double kOfMedian = 1.4826;
    return kOfMedian * *middle;
}

/// Fits the arc without stray points, which leave the list.
bool fitTouching(const LineFit& line, int towardsGap, Points& points, TouchingArc& arc) {
    constexpr double kCut = 3.5;
    if (!polish(line, towardsGap, points, arc))
        return false;
    const double most = kCut * deviationFrom(line, towardsGap, points, arc) + 1e-9 * arc.radius;
    Points kept;
    std::copy_if(points.begin(), points.end(), std::back_inserter(kept), [&](const Vector& point) {
        return std::fabs(Equation(line, towardsGap, arc, point).distance) <= most;
    });
    if (kept.size() < kFewestOfHem)
        return false;
    points = kept;
    return polish(line, towardsGap, points, arc);
}

/// The arc bends down from the surface to the last of its points, deeper than noise does, and is no flat one.
bool isHem(const TouchingArc& arc, const Points& points, const LineFit& line, int towardsGap) {
    constexpr double kFlattest = 2;     // times the length of the surface
    constexpr double kLeastRise = 1.5;  // deviations over its chord
    constexpr double kLeastDrop = 6;    // deviations below the surface
    double end = arc.touch;
    double drop = 0;
    for (const Vector& p : points) {
        end = std::max(end, towardsGap * line.placeOf(p));
        drop = std::max(drop, -line.distanceOf(p));
    }
    const double sine = std::min(1.0, (end - arc.touch) / arc.radius);
    return drop >= kLeastDrop * line.deviation && sine > 0 &&
           sagitta(arc.radius, std::asin(sine)) >=
               kLeastRise * deviationFrom(line, towardsGap, points, arc) &&
           arc.radius < kFlattest * (line.to - line.from);
}

/// The radius of the arc that touches the line and ends where the points do: by each point, a mm from the end
/// and d mm below the line, it is a + d + sqrt(2 a d). The median. `start` becomes the place where the arc
/// touches.
void guessTouch(const Points& ofHem, const LineFit& line, int towardsGap, double& start) {
    double end = start;
    for (const Vector& p : ofHem)
        end = std::max(end, towardsGap * line.placeOf(p));
    std::vector<double> radii;
    for (const Vector& p : ofHem) {
        const double a = end - towardsGap * line.placeOf(p);
        const double d = -line.distanceOf(p);
        if (d > 0)
            radii.push_back(a + d + std::sqrt(2 * a * d));
    }
    if (radii.empty())
        return;
    const auto middle = radii.begin() + std::ptrdiff_t(radii.size() / 2);
    std::nth_element(radii.begin(), middle, radii.end());
    start = std::min(start, end - *middle);
}

/// The line of the surface to begin with: where the hem is a large part of the side it bends the line, and
/// the half that is further from the gap scatters less about its own.
LineFit startLine(const Points& points, const EdgeSide& side) {
    constexpr double kMuch = 1.15;
    const LineFit& whole = side.surface;
    std::vector<double> places;
    places.reserve(points.size());
    for (const Vector& p : points)
        places.push_back(side.towardsGap * whole.placeOf(p));
    const auto middle = places.begin() + std::ptrdiff_t(places.size() / 2);
    std::nth_element(places.begin(), middle, places.end());
    const LineFit far = fitLine(part(points, whole, side.towardsGap, *middle, /*beyond=*/false));
    return far.isFound() && far.points >= int(kFewestOfHem) && whole.deviation > kMuch * far.deviation
               ? far
               : whole;
}

void findHem(const Points& points, const EdgeSettings& settings, EdgeSide& side) {
    const LineFit whole = startLine(points, side);
    double start = hemStart(points, whole, side.towardsGap, settings.hemCut * whole.deviation);
    const Points below = part(points, whole, side.towardsGap, start, /*beyond=*/true);
    if (below.empty())
        return;
    guessTouch(below, whole, side.towardsGap, start);
    side.bendStart = side.towardsGap * side.surface.placeOf(whole.pointAt(side.towardsGap * start));
    if (below.size() < kFewestPoints)
        return;
    constexpr int kRounds = 3;
    for (int i = 0; i < kRounds; ++i) {
        Points ofHem = part(points, whole, side.towardsGap, start, /*beyond=*/true);
        const Points ofSurface = part(points, whole, side.towardsGap, start, /*beyond=*/false);
        if (ofHem.size() < kFewestOfHem || ofSurface.size() < kFewestPoints)
            break;
        const LineFit line = fitLine(ofSurface);
        TouchingArc arc;
        arc.touch = side.towardsGap * line.placeOf(whole.pointAt(side.towardsGap * start));
        for (const Vector& p : ofHem)
            arc.radius = std::max(arc.radius, side.towardsGap * line.placeOf(p) - arc.touch);
        if (!line.isFound() || !(arc.radius > 0) || !fitTouching(line, side.towardsGap, ofHem, arc) ||
            !isHem(arc, ofHem, line, side.towardsGap))
            break;
        side.hem.centre = line.pointAt(side.towardsGap * arc.touch, -arc.radius);
        side.hem.radius = arc.radius;
        side.ofHem = ofHem;
        side.hasHem = true;
        side.surface = line;
        start = side.towardsGap * whole.placeOf(line.pointAt(side.towardsGap * arc.touch));
    }
}

}  // namespace

EdgeSide findEdge(const Points& points, const Vector& gap, const EdgeSettings& settings) {
    EdgeSide side;
    side.surface = fitLine(points);
    if (points.size() < kFewestPoints || !side.surface.isFound()) {
        side.reason = side.surface.isFound() ? QString("fewer than three points on a side of the gap")
                                             : side.surface.reason;
        return side;
    }
    side.towardsGap = side.surface.placeOf(gap) < 0 ? -1 : 1;
    findHem(points, settings, side);
    const auto place = [&](const Vector& p) { return side.towardsGap * side.surface.placeOf(p); };
    side.lastPoint = *std::max_element(points.begin(), points.end(),
                                       [&](const Vector& a, const Vector& b) { return place(a) < place(b); });
    side.pitch = pitchAt(points, side.surface, side.towardsGap);
    const double step = medianStep(points);
    side.uEnd = step > 0 ? deviationOfEnd(points) * side.pitch / step : side.pitch / std::sqrt(12.0);
    side.freeEdge = !side.hasHem && settings.movesFreeEdges ? side.pitch / 2 : 0;
    return side;
}

namespace {

/// The feature of a hem whose line is moved and turned, and its arc changed by some.
Vector hemFeature(const EdgeSide& side, const LineFit& line, const TouchingArc& arc, EdgeFeature feature,
                  const Vector& direction) {
    if (feature == EdgeFeature::Tangent)
        return line.pointAt(side.towardsGap * arc.touch);
    const Vector centre = line.pointAt(side.towardsGap * arc.touch, -arc.radius);
    return {centre.x + arc.radius * direction.x, centre.y + arc.radius * direction.y};
}

/// Of a hem: its extreme point along the direction, or where it touches. Uncertainties: noise of its points
/// through the equations, and the line of the surface moved and turned by its own.
EdgePoint hemPoint(const EdgeSide& side, EdgeFeature feature, const Vector& direction,
                   const NoiseModel& noise) {
    const LineFit& line = side.surface;
    TouchingArc arc;
    arc.touch = side.towardsGap * line.placeOf(side.hem.centre);
    arc.radius = side.hem.radius;
    EdgePoint point;
    point.at = hemFeature(side, line, arc, feature, direction);
    UncertaintySum along;
    UncertaintySum across;
    const auto add = [&](const Vector& up, const Vector& down, double degrees) {
        const Vector way((up.x - down.x) / 2, (up.y - down.y) / 2);
        along.add(way.x * direction.x + way.y * direction.y, degrees);
        across.add(way.y * direction.x - way.x * direction.y, degrees);
    };
    Normal normal;
    Normal noisy;
    for (const Vector& p : side.ofHem) {
        const Equation equation(line, side.towardsGap, arc, p);
        const double height = (p.y - side.hem.centre.y) / length(p, side.hem.centre);
        normal.add(equation, 1);
        noisy.add(equation, height * height);
    }
    // The inverse times the noise times the inverse, as two independent changes of touch and radius.
    const double factor = noise.deviation * std::sqrt(noise.correlationTime) / normal.determinant();
    const double a = normal.rr;
    const double b = -normal.tr;
    const double c = normal.tt;
    const double first = std::sqrt(noisy.tt);
    const double second = std::sqrt(std::max(0.0, noisy.rr - noisy.tr * noisy.tr / noisy.tt));
    const double changes[2][2] = {{first, noisy.tr / first}, {0, second}};
    for (const auto& change : changes) {
        const double touch = factor * (a * change[0] + b * change[1]);
        const double radius = factor * (b * change[0] + c * change[1]);
        add(hemFeature(side, line, {arc.touch + touch, arc.radius + radius}, feature, direction),
            hemFeature(side, line, {arc.touch - touch, arc.radius - radius}, feature, direction),
            noise.lengths(noise.points));
    }
    const LineUncertainty u = lineUncertainty(line, noise);
    for (const bool isTurn : {false, true}) {
        const auto at = [&](double sign) {
            LineFit moved = line;
            if (isTurn)
                moved.along = Vector(line.along.x - sign * u.direction * line.along.y,
                                     line.along.y + sign * u.direction * line.along.x);
            else
                moved.centre = line.pointAt(0, sign * u.offset);
            TouchingArc changed = arc;
            polish(moved, side.towardsGap, side.ofHem, changed);
            return hemFeature(side, moved, changed, feature, direction);
        };
        if (std::isfinite(u.offset))
            add(at(1), at(-1), u.degreesOfFreedom);
        else
            add(Vector(u.offset, u.offset), Vector(0, 0), u.degreesOfFreedom);
    }
    point.along = along.u();
    point.across = across.u();
    point.degreesOfFreedom = std::min(along.degreesOfFreedom(), across.degreesOfFreedom());
    return point;
}

/// The point on the surface's line at the place of another one, which it keeps along the direction.
EdgePoint ontoSurface(const EdgeSide& side, const EdgePoint& point, const NoiseModel& noise) {
    EdgePoint result = point;
    const LineFit& line = side.surface;
    const double place = line.placeOf(point.at);
    const LineUncertainty u = lineUncertainty(line, noise);
    UncertaintySum sum;
    sum.add(u.at(place), u.degreesOfFreedom);
    result.at = line.pointAt(place);
    result.across = sum.u();
    result.degreesOfFreedom = std::min(point.degreesOfFreedom, u.degreesOfFreedom);
    return result;
}

}  // namespace

EdgePoint edgePoint(const EdgeSide& side, EdgeFeature feature, const Vector& direction,
                    const NoiseModel& noise) {
    const LineFit& line = side.surface;
    if (!side.hasHem) {
        EdgePoint point;
        double place = line.placeOf(side.lastPoint) + side.towardsGap * side.freeEdge;
        // The edge lies anywhere between the last point and the next, which is missing.
        point.along = side.uEnd;
        if (feature == EdgeFeature::Tangent && std::isfinite(side.bendStart)) {
            constexpr double kOfBend = 0.2;  // how well few points show where a bend begins
            point.along = std::hypot(side.uEnd, kOfBend * (side.towardsGap * place - side.bendStart));
            place = side.towardsGap * side.bendStart;
        }
        point.at = line.pointAt(place);
        point.degreesOfFreedom = std::numeric_limits<double>::infinity();
        return ontoSurface(side, point, noise);
    }
    if (feature == EdgeFeature::Corner)
        return ontoSurface(side, hemPoint(side, EdgeFeature::Extreme, direction, noise), noise);
    return hemPoint(side, feature, direction, noise);
}

}  // namespace KvMeasure
