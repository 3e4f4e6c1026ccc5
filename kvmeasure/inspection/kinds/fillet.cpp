// fillet: the circle that touches two lines. Its centre lies on the line that halves their angle, r / sin h
// from their corner, h being half of the angle, so that the radius r is all that the points decide: some
// steps of Gauss and Newton in one unknown. Uncertainty: noise of the points through the same equation, and
// each line moved and turned by its own.

#include <kvmeasure/inspection/kinds/fillet.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/tool_input.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

using namespace Internal;

namespace {

using Points = std::vector<Vector>;

constexpr std::size_t kFewestPoints = 3;
constexpr double kToDeviation = 1.4826;  ///< from the median distance

double dot(const Vector& a, const Vector& b) { return a.x * b.x + a.y * b.y; }

/// The corner of two lines and what does not change with the radius.
struct Wedge {
    Vector corner;
    std::array<Vector, 2> away;  ///< unit, from the corner along each line
    Vector middle;               ///< unit, between them
    double sine = 0;             ///< of half the angle
    double cosine = 0;

    Wedge(const LineFit& first, const LineFit& second) : corner(meetingPoint(first, second)) {
        const LineFit* lines[] = {&first, &second};
        for (std::size_t i = 0; i < 2; ++i) {
            const double sign = lines[i]->placeOf(corner) > 0 ? -1 : 1;
            away[i] = Vector(sign * lines[i]->along.x, sign * lines[i]->along.y);
        }
        const double size = std::hypot(away[0].x + away[1].x, away[0].y + away[1].y);
        middle = Vector((away[0].x + away[1].x) / size, (away[0].y + away[1].y) / size);
        cosine = size / 2;
        sine = std::sqrt(std::max(0.0, 1 - cosine * cosine));
    }
    Vector centre(double radius) const {
        return {corner.x + middle.x * radius / sine, corner.y + middle.y * radius / sine};
    }
    Vector touching(std::size_t line, double radius) const {
        const double way = radius * cosine / sine;
        return {corner.x + away[line].x * way, corner.y + away[line].y * way};
    }
    /// The radius of the circle that passes through a point on its near side; NaN: there is none.
    double radiusBy(const Vector& point) const {
        const Vector p(point.x - corner.x, point.y - corner.y);
        const double cotangent = cosine / sine;
        const double along = dot(p, middle) / sine;
        const double root = along * along - dot(p, p) * cotangent * cotangent;
        return along > 0 && root >= 0 ? (along + std::sqrt(root)) / (cotangent * cotangent)
                                      : std::numeric_limits<double>::quiet_NaN();
    }
    /// A point lies between both touching points, seen from the centre.
    bool isBetween(const Vector& point, double radius) const {
        const Vector c = centre(radius);
        const double size = length(c, point);
        return -(dot(point, middle) - dot(c, middle)) > sine * size;
    }
};

/// What the equation of a point says: its distance from the circle and what that changes with the radius.
struct Equation {
    double distance, slope;
    Vector outwards;  ///< unit

    Equation(const Wedge& wedge, double radius, const Vector& point) {
        const Vector c = wedge.centre(radius);
        const double size = length(c, point);
        outwards = Vector((point.x - c.x) / size, (point.y - c.y) / size);
        distance = size - radius;
        slope = -dot(outwards, wedge.middle) / wedge.sine - 1;
    }
};

double polish(const Wedge& wedge, const Points& points, double radius) {
    constexpr int kSteps = 8;
    for (int step = 0; step < kSteps; ++step) {
        double sum = 0;
        double squares = 0;
        for (const Vector& point : points) {
            const Equation equation(wedge, radius, point);
            sum += equation.distance * equation.slope;
            squares += equation.slope * equation.slope;
        }
        const double move = squares > 0 ? sum / squares : 0;
        radius = std::max(radius - move, radius / 2);
        if (std::fabs(move) <= 1e-12 * radius)
            break;
    }
    return radius;
}

Points between(const Wedge& wedge, const Points& points, double radius) {
    Points kept;
    std::copy_if(points.begin(), points.end(), std::back_inserter(kept),
                 [&](const Vector& point) { return wedge.isBetween(point, radius); });
    return kept;
}

double medianOf(std::vector<double>& values) {
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

/// The median of the radii of all points that lie off both lines.
double startRadius(const Wedge& wedge, const LineFit& first, const LineFit& second, const Points& points) {
    constexpr double kDeviations = 4;
    std::vector<double> radii;
    for (const Vector& point : points) {
        const double radius = wedge.radiusBy(point);
        const bool isOff = std::fabs(first.distanceOf(point)) > kDeviations * first.deviation &&
                           std::fabs(second.distanceOf(point)) > kDeviations * second.deviation;
        if (isOff && std::isfinite(radius) && wedge.isBetween(point, radius))
            radii.push_back(radius);
    }
    return radii.size() < kFewestPoints ? 0 : medianOf(radii);
}

/// The points within `cut` deviations, these from the median distance.
Points withoutStray(const Wedge& wedge, const Points& points, double radius, double cut) {
    std::vector<double> distances;
    distances.reserve(points.size());
    for (const Vector& point : points)
        distances.push_back(std::fabs(Equation(wedge, radius, point).distance));
    std::vector<double> sorted(distances);
    const double most = cut * kToDeviation * medianOf(sorted) + 1e-9 * radius;
    Points kept;
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (distances[i] <= most)
            kept.push_back(points[i]);
    }
    return kept;
}

LineFit moved(const LineFit& line, double offset, double turn) {
    LineFit result = line;
    result.centre = line.pointAt(0, offset);
    result.along = Vector(line.along.x * std::cos(turn) - line.along.y * std::sin(turn),
                          line.along.x * std::sin(turn) + line.along.y * std::cos(turn));
    return result;
}

constexpr std::size_t kValues = 7;

/// Radius, centre, both touching points.
std::array<double, kValues> valuesOf(const Wedge& wedge, double radius) {
    const Vector c = wedge.centre(radius);
    const Vector a = wedge.touching(0, radius);
    const Vector b = wedge.touching(1, radius);
    return {radius, c.x, c.y, a.x, a.y, b.x, b.y};
}

/// The uncertainties of all values.
void spread(const LineFit& first, const LineFit& second, const Points& points, double radius,
            const NoiseModel& noise, std::array<UncertaintySum, kValues>& sums, bool& isShort) {
    const Wedge wedge(first, second);
    double squares = 0;
    double noisy = 0;
    for (const Vector& point : points) {
        const Equation equation(wedge, radius, point);
        squares += equation.slope * equation.slope;
        noisy += std::pow(equation.slope * equation.outwards.y, 2);
    }
    const double ofPoints = noise.deviation * std::sqrt(noise.correlationTime * noisy) / squares;
    const double degrees = noise.lengths(noise.points);
    const double step = 1e-4 * radius;
    const auto wider = valuesOf(wedge, radius + step);
    const auto narrower = valuesOf(wedge, radius - step);
    for (std::size_t k = 0; k < kValues; ++k)
        sums[k].add((wider[k] - narrower[k]) / (2 * step) * ofPoints, degrees);
    const LineFit* lines[] = {&first, &second};
    for (int i = 0; i < 2; ++i) {
        const LineUncertainty u = lineUncertainty(*lines[i], noise);
        isShort = isShort || u.isShort;
        for (const bool isTurn : {false, true}) {
            const double by = isTurn ? u.direction : u.offset;
            const auto at = [&](double sign) {
                const LineFit other = moved(*lines[i], isTurn ? 0 : sign * by, isTurn ? sign * by : 0);
                const Wedge changed = i == 0 ? Wedge(other, second) : Wedge(first, other);
                return valuesOf(changed, polish(changed, points, radius));
            };
            const auto up = at(1);
            const auto down = at(-1);
            for (std::size_t k = 0; k < kValues; ++k)
                sums[k].add((up[k] - down[k]) / 2, u.degreesOfFreedom);
        }
    }
}

FilletResult noFillet(const QString& reason) {
    FilletResult none;
    none.reason = reason;
    return none;
}

}  // namespace

FilletResult measureFillet(const LineFit& first, const LineFit& second, const Points& points,
                           const NoiseModel& noise, const RobustFitting& fitting) {
    for (const LineFit* line : {&first, &second}) {
        if (!line->isFound())
            return noFillet(line->reason);
    }
    constexpr double kLeastSine = 0.05;  // 3 degrees
    if (!(std::fabs(first.along.x * second.along.y - first.along.y * second.along.x) > kLeastSine))
        return noFillet("the lines beside the fillet are parallel");
    const Wedge wedge(first, second);
    QString few("fewer than three points lie between the lines: no fillet");
    double radius = startRadius(wedge, first, second, points);
    if (!(radius > 0))
        return noFillet(few);
    Points all;
    Points kept;
    constexpr int kRounds = 4;
    for (int round = 0; round < kRounds; ++round) {
        all = between(wedge, points, radius);
        kept = fitting.isRobust && all.size() >= kFewestPoints ? withoutStray(wedge, all, radius, fitting.cut)
                                                               : all;
        if (kept.size() < kFewestPoints)
            return noFillet(few);
        radius = polish(wedge, kept, radius);
    }
    FilletResult result;
    std::array<UncertaintySum, kValues> sums;
    spread(first, second, kept, radius, noise, sums, result.isShort);
    const auto at = valuesOf(wedge, radius);
    FittedValue* const given[kValues] = {&result.radius, &result.x,      &result.z,     &result.toX[0],
                                         &result.toZ[0], &result.toX[1], &result.toZ[1]};
    for (std::size_t k = 0; k < kValues; ++k) {
        if (!std::isfinite(at[k]))
            return noFillet("the points give no finite fillet");
        *given[k] = {at[k], sums[k].u(), sums[k].degreesOfFreedom(), {}};
    }
    result.points = static_cast<int>(kept.size());
    result.rejected = static_cast<int>(all.size() - kept.size());
    return result;
}

namespace Internal {

namespace {

void measureFilletTool(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const RegionPoints& region = input.region(tool.region("region"));
    if (region.isEmpty())
        return results.refuse(region.reason);
    const LineFit& first = input.line(tool.region("first"));
    const LineFit& second = input.line(tool.region("second"));
    const NoiseModel noise = input.noise();
    RobustFitting fitting;
    fitting.isRobust = tool.choice("fit") == 0;
    const FilletResult fillet = measureFillet(first, second, region.points, noise, fitting);
    if (!fillet.reason.isEmpty())
        return results.refuse(fillet.reason);
    give("radius", fillet.radius, results);
    give("x", fillet.x, results);
    give("z", fillet.z, results);
    const char* const endings[] = {"x1", "z1", "x2", "z2"};
    for (std::size_t i = 0; i < 2; ++i) {
        give(endings[2 * i], fillet.toX[i], results);
        give(endings[2 * i + 1], fillet.toZ[i], results);
        results.markPoint({fillet.toX[i].value, fillet.toZ[i].value}, tool.name + (i == 0 ? ".1" : ".2"));
    }
    if (fillet.rejected > 0)
        results.note("radius", filledIn("%1 points left out", fillet.rejected));
    warnOfNoise(noise.reason, fillet.isShort, results);
    results.markDistance({fillet.x.value, fillet.z.value}, {fillet.toX[0].value, fillet.toZ[0].value},
                         "radius");
}

}  // namespace

const ToolKind filletTool{
    "fillet",
    "the circle that touches the lines of two regions, nearest to the points of a third between them",
    {lineField("first", "", "region of the first line"), lineField("second", "", "region of the second line"),
     regionField("region", "in", "region"), choiceField("fit", "fit", "stray points", {"robust", "all"})},
    {{"radius", "mm", "radius"},
     {"x", "mm", "x of the centre"},
     {"z", "mm", "height of the centre"},
     {"x1", "mm", "x where it touches the first line"},
     {"z1", "mm", "height there"},
     {"x2", "mm", "x where it touches the second line"},
     {"z2", "mm", "height there"}},
    measureFilletTool};

}  // namespace Internal

}  // namespace KvMeasure
