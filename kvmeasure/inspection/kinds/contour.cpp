// The polygon of one profile from left to right and the other back, by the sum of its triangles. A point that
// moves by e in height changes the area by e times half of the way in x from the point before to the one
// behind it, and the first moments by that times its own place.

#include <kvmeasure/inspection/kinds/contour.h>

#include <kvmeasure/inspection/kinds/fitted_value_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

using namespace Internal;

namespace {

/// From the least x to the greatest, the ends moved outwards.
std::vector<Vector> fromLeft(std::vector<Vector> points, double move) {
    if (points.front().x > points.back().x)
        std::reverse(points.begin(), points.end());
    points.front().x -= move;
    points.back().x += move;
    return points;
}

int gapsOf(const std::vector<Vector>& points, double widest) {
    const double most = std::isnan(widest) ? widestStep(points) : widest;
    int gaps = 0;
    for (std::size_t i = 1; i < points.size(); ++i)
        gaps += std::fabs(points[i].x - points[i - 1].x) > most ? 1 : 0;
    return gaps;
}

/// Area and centroid of a polygon, counter-clockwise positive, about its first corner.
struct Polygon {
    double area = 0;
    Vector centroid;

    explicit Polygon(const std::vector<Vector>& corners) {
        double x = 0;
        double y = 0;
        const Vector& zero = corners.front();
        for (std::size_t i = 1; i + 1 < corners.size(); ++i) {
            const Vector a(corners[i].x - zero.x, corners[i].y - zero.y);
            const Vector b(corners[i + 1].x - zero.x, corners[i + 1].y - zero.y);
            const double twice = a.x * b.y - a.y * b.x;
            area += twice / 2;
            x += twice * (a.x + b.x) / 6;
            y += twice * (a.y + b.y) / 6;
        }
        centroid = Vector(zero.x + x / area, zero.y + y / area);
    }
};

/// Adds what the noise of the heights of one profile does.
void addNoise(const std::vector<Vector>& points, const NoiseModel& noise, const Polygon& polygon,
              UncertaintySum& area, UncertaintySum& x, UncertaintySum& z) {
    double squares = 0;
    double squaresX = 0;
    double squaresZ = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Vector& before = points[i > 0 ? i - 1 : i];
        const Vector& behind = points[std::min(i + 1, points.size() - 1)];
        const double share = (behind.x - before.x) / 2;
        squares += share * share;
        squaresX += std::pow(share * (points[i].x - polygon.centroid.x), 2);
        squaresZ += std::pow(share * (points[i].y - polygon.centroid.y), 2);
    }
    const double deviation = noise.deviation * std::sqrt(noise.correlationTime);
    const double degrees = noise.lengths(noise.points);
    area.add(deviation * std::sqrt(squares), degrees);
    x.add(deviation * std::sqrt(squaresX) / polygon.area, degrees);
    z.add(deviation * std::sqrt(squaresZ) / polygon.area, degrees);
}

/// Adds an end of one profile, which is not known better than the points are dense: where it moves, the
/// contour gains or loses a triangle with the other's end.
void addEnd(const Vector& own, const Vector& other, double deviation, const Polygon& polygon,
            UncertaintySum& area, UncertaintySum& x, UncertaintySum& z) {
    const Vector at((2 * own.x + other.x) / 3, (2 * own.y + other.y) / 3);
    const double move = std::fabs(own.y - other.y) * deviation / 2;
    const double known = std::numeric_limits<double>::infinity();
    area.add(move, known);
    x.add(move * (at.x - polygon.centroid.x) / polygon.area, known);
    z.add(move * (at.y - polygon.centroid.y) / polygon.area, known);
}

}  // namespace

ContourResult measureContour(const std::vector<Vector>& first, const std::vector<Vector>& second,
                             const NoiseModel& firstNoise, const NoiseModel& secondNoise,
                             const ContourSettings& settings) {
    ContourResult result;
    for (const std::vector<Vector>* points : {&first, &second}) {
        if (points->size() < 2 || points->front().x == points->back().x)
            result.reason = "a profile of the contour has no length in x";
    }
    if (!result.reason.isEmpty())
        return result;
    const double pitch = std::max(medianStep(first), medianStep(second));
    const double move = settings.movesFreeEdges ? pitch / 2 : 0;
    const std::vector<Vector> one = fromLeft(first, move);
    const std::vector<Vector> other = fromLeft(second, move);
    std::vector<Vector> corners = one;
    corners.insert(corners.end(), other.rbegin(), other.rend());
    const Polygon polygon(corners);
    if (!(std::fabs(polygon.area) > 0) || !std::isfinite(polygon.centroid.x + polygon.centroid.y)) {
        result.reason = "the profiles enclose no area";
        return result;
    }
    UncertaintySum area;
    UncertaintySum x;
    UncertaintySum z;
    addNoise(one, firstNoise, polygon, area, x, z);
    addNoise(other, secondNoise, polygon, area, x, z);
    const double ofOne = deviationOfEnd(first);
    const double ofOther = deviationOfEnd(second);
    addEnd(one.front(), other.front(), ofOne, polygon, area, x, z);
    addEnd(one.back(), other.back(), ofOne, polygon, area, x, z);
    addEnd(other.front(), one.front(), ofOther, polygon, area, x, z);
    addEnd(other.back(), one.back(), ofOther, polygon, area, x, z);
    result.area = {std::fabs(polygon.area), area.u(), area.degreesOfFreedom(), {}};
    result.x = {polygon.centroid.x, x.u(), x.degreesOfFreedom(), {}};
    result.z = {polygon.centroid.y, z.u(), z.degreesOfFreedom(), {}};
    result.freeEdges =
        move * (std::fabs(one.front().y - other.front().y) + std::fabs(one.back().y - other.back().y));
    result.gaps = gapsOf(first, settings.widestGap) + gapsOf(second, settings.widestGap);
    return result;
}

}  // namespace KvMeasure
