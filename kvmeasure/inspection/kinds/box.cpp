// box: centre, width and height of the box round the points of a region, upright or turned.
//
// The turned box is found by rotating calipers (G. T. Toussaint, 1983): on the convex hull, which takes a
// sort, the three other sides move on as one side turns from edge to edge.

#include <kvmeasure/inspection/kinds/box.h>

#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/tool_input.h>
#include <kvmeasure/inspection/tool_results.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace KvMeasure {

BoundingBox boundingBox(const std::vector<Vector>& points) {
    BoundingBox box;
    for (const Vector& point : points) {
        if (!box.isFound)
            box = {point, point, true};
        box.lower = Vector(std::min(box.lower.x, point.x), std::min(box.lower.y, point.y));
        box.upper = Vector(std::max(box.upper.x, point.x), std::max(box.upper.y, point.y));
    }
    return box;
}

namespace {

double cross(const Vector& o, const Vector& a, const Vector& b) {
    return (a.x - o.x) * (b.y - o.y) - (a.y - o.y) * (b.x - o.x);
}

/// The corners of the convex hull, counter-clockwise, each once (A. M. Andrew, 1979).
std::vector<Vector> hullOf(std::vector<Vector> points) {
    std::sort(points.begin(), points.end(),
              [](const Vector& a, const Vector& b) { return a.x != b.x ? a.x < b.x : a.y < b.y; });
    const auto isSame = [](const Vector& a, const Vector& b) { return a.x == b.x && a.y == b.y; };
    points.erase(std::unique(points.begin(), points.end(), isSame), points.end());
    std::vector<Vector> hull;
    for (int side = 0; side < 2; ++side) {
        const std::size_t start = hull.size();
        for (const Vector& point : points) {
            while (hull.size() >= start + 2 && !(cross(hull[hull.size() - 2], hull.back(), point) > 0))
                hull.pop_back();
            hull.push_back(point);
        }
        hull.pop_back();
        std::reverse(points.begin(), points.end());
    }
    return hull;
}

/// The box with a side along a unit direction.
TurnedBox boxAlong(const Vector& direction, const Vector& least, const Vector& greatest) {
    TurnedBox box;
    box.isFound = true;
    box.along = direction;
    box.width = greatest.x - least.x;
    box.height = greatest.y - least.y;
    const Vector centre = middle(least, greatest);
    box.centre = Vector(centre.x * direction.x - centre.y * direction.y,
                        centre.x * direction.y + centre.y * direction.x);
    while (!(box.along.x > 0 && box.along.y <= box.along.x && box.along.y > -box.along.x)) {
        box.along = Vector(box.along.y, -box.along.x);
        std::swap(box.width, box.height);
    }
    return box;
}

}  // namespace

TurnedBox turnedBox(const std::vector<Vector>& points) {
    TurnedBox best;
    if (points.empty())
        return best;
    const Vector zero = points.front();
    std::vector<Vector> moved;
    moved.reserve(points.size());
    for (const Vector& point : points)
        moved.emplace_back(point.x - zero.x, point.y - zero.y);
    const std::vector<Vector> hull = hullOf(moved);
    const std::size_t n = hull.size();
    if (n < 2) {
        best = boxAlong(Vector(1, 0), Vector(0, 0), Vector(0, 0));
        best.centre = zero;
        return best;
    }
    std::size_t right = 0;
    std::size_t top = 0;
    std::size_t left = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const Vector& from = hull[i];
        const double size = length(from, hull[(i + 1) % n]);
        const Vector along((hull[(i + 1) % n].x - from.x) / size, (hull[(i + 1) % n].y - from.y) / size);
        const auto u = [&](std::size_t k) { return hull[k % n].x * along.x + hull[k % n].y * along.y; };
        const auto v = [&](std::size_t k) { return hull[k % n].y * along.x - hull[k % n].x * along.y; };
        for (right = std::max(right, i + 1); u(right + 1) > u(right); ++right) {
        }
        for (top = std::max(top, right); v(top + 1) > v(top); ++top) {
        }
        for (left = std::max(left, top); u(left + 1) < u(left); ++left) {
        }
        const TurnedBox box = boxAlong(along, Vector(u(left), v(i)), Vector(u(right), v(top)));
        constexpr double kRounding = 1e-12;
        const double lead = best.width * best.height - box.width * box.height;
        const double scale = kRounding * best.width * best.height;
        const bool isEqual = std::fabs(lead) <= scale && std::fabs(box.along.y) < std::fabs(best.along.y);
        if (!best.isFound || lead > scale || isEqual)
            best = box;
    }
    best.centre = Vector(best.centre.x + zero.x, best.centre.y + zero.y);
    return best;
}

namespace Internal {

namespace {

constexpr double kRootOf2 = 1.4142135623730951;

/// What an end of the points moves a side by, for 1 mm in x: where the surface runs on along the side,
/// nothing.
double shareOfEnd(const std::vector<Vector>& points, std::size_t furthest, const Vector& direction) {
    constexpr std::size_t kNear = 10;
    const std::size_t size = points.size();
    if (size < 2 * kNear)
        return direction.x;
    if (furthest >= kNear && furthest < size - kNear)
        return 0;
    const auto from = points.begin() + std::ptrdiff_t(furthest < kNear ? 0 : size - kNear);
    const LineFit line = fitLine({from, from + std::ptrdiff_t(kNear)}, {/*isRobust=*/false});
    return line.isFound() && line.isInHeight ? direction.x + direction.y * line.along.y / line.along.x
                                             : direction.x;
}

/// Standard uncertainty of the distance of the two furthest points along a direction: by noise square to x,
/// by the point distance along x.
double uAlong(const std::vector<Vector>& points, const LineFit* line, const Vector& direction,
              const NoiseModel& noise, double uEnd) {
    std::vector<double> places;
    places.reserve(points.size());
    for (const Vector& point : points)
        places.push_back((point.x - points.front().x) * direction.x +
                         (point.y - points.front().y) * direction.y);
    NoiseModel turned = noise;
    turned.deviation *= std::fabs(direction.y);
    const auto [least, greatest] = std::minmax_element(places.begin(), places.end());
    const double ofEnds = std::hypot(shareOfEnd(points, std::size_t(greatest - places.begin()), direction),
                                     shareOfEnd(points, std::size_t(least - places.begin()), direction));
    if (turned.deviation == 0)
        return uEnd * ofEnds;
    if (line != nullptr) {
        const double rise =
            (line->along.x * direction.x + line->along.y * direction.y) * (line->to - line->from);
        return std::hypot(kRootOf2 * OrderNoise(double(points.size()), rise, turned).extreme(),
                          uEnd * ofEnds);
    }
    const OrderNoise order(smoothHeights(places, noise.correlationTime), turned);
    return std::hypot(order.extreme(true), order.extreme(false), uEnd * ofEnds);
}

/// The same of the height of an upright box: the point distance does not count.
double uOfHeight(const ToolInput& input, const QString& region, const LineFit* line) {
    const NoiseModel& noise = input.pointNoise();
    if (noise.deviation == 0)
        return 0;
    if (line != nullptr) {
        const double count = double(input.region(region).points.size());
        return kRootOf2 * OrderNoise(count, line->along.y * (line->to - line->from), noise).extreme();
    }
    const OrderNoise order(input.surface(region), noise);
    return std::hypot(order.extreme(true), order.extreme(false));
}

void giveBox(const Tool& tool, const ToolInput& input, const TurnedBox& box, bool isTurned,
             ToolResults& results) {
    const RegionPoints& region = input.region(tool.region("region"));
    const LineFit* const line = straightLine(input, tool.region("region"));
    const NoiseModel& noise = input.pointNoise();
    const Vector across(-box.along.y, box.along.x);
    const double uEnd = input.spacing(tool.region("region")).deviationOfEnd;
    const double uUpright = std::isfinite(noise.deviation) ? kRootOf2 * uEnd : noise.deviation;
    const double uWidth = isTurned ? uAlong(region.points, line, box.along, noise, uEnd) : uUpright;
    const double uHeight = isTurned ? uAlong(region.points, line, across, noise, uEnd)
                                    : uOfHeight(input, tool.region("region"), line);
    const double degrees = noise.lengths(noise.points);
    results.add("x", box.centre.x, std::hypot(uWidth * box.along.x, uHeight * across.x) / 2, degrees);
    results.add("z", box.centre.y, std::hypot(uWidth * box.along.y, uHeight * across.y) / 2, degrees);
    results.add("width", box.width, uWidth, degrees);
    results.add("height", box.height, uHeight, degrees);
    results.add("angle", std::atan2(box.along.y, box.along.x) * kDegreesPerRadian);
    warnOfNoise(noise.reason, noise.isShort(double(region.points.size())), results);
    if (noise.reason.isEmpty())
        results.sayNoUncertainty(isTurned ? "the angle is that of one side of the hull"
                                          : "the sides of an upright box are not measured");
    const auto corner = [&](double alongShare, double acrossShare) {
        const double a = alongShare * box.width / 2;
        const double b = acrossShare * box.height / 2;
        return Vector(box.centre.x + a * box.along.x + b * across.x,
                      box.centre.y + a * box.along.y + b * across.y);
    };
    results.markDistance(corner(-1, -1), corner(1, -1), "width");
    results.markDistance(corner(-1, -1), corner(-1, 1), "height");
}

void measureBox(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const RegionPoints& region = input.region(tool.region("region"));
    if (region.isEmpty())
        return results.refuse(region.reason);
    if (tool.choice("sides") == 1)
        return giveBox(tool, input, turnedBox(region.points), /*isTurned=*/true, results);
    const BoundingBox box = boundingBox(region.points);
    TurnedBox upright;
    upright.centre = middle(box.lower, box.upper);
    upright.width = box.upper.x - box.lower.x;
    upright.height = box.upper.y - box.lower.y;
    giveBox(tool, input, upright, /*isTurned=*/false, results);
}

}  // namespace

const ToolKind boxTool{"box",
                       "box round the points, sides along x and z, or turned so that its area is least",
                       {regionField("region", "in", "region"),
                        choiceField("sides", "", "direction of the sides", {"upright", "turned"})},
                       {{"x", "mm", "x of its centre"},
                        {"z", "mm", "height of its centre"},
                        {"width", "mm", "from end to end along x, or the side nearest to that direction"},
                        {"height", "mm", "square to the width"},
                        {"angle", "deg", "of the width against the x axis, -45 to 45"}},
                       measureBox};

}  // namespace Internal

}  // namespace KvMeasure
