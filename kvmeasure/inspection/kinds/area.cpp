// area: object above a base, or clearance below it.
//
// Between two points the height d over the base is linear in the place t = x - x0, so that
//   A = dt (d0 + d1) / 2,  int t dA = t0 A + dt^2 (d0 + 2 d1) / 6,  int d/2 dA = dt (d0^2 + d0 d1 + d1^2)
//   / 6.

#include <kvmeasure/inspection/kinds/area.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/inspection/kinds/contour.h>
#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/kinds/wall.h>
#include <kvmeasure/inspection/tool_input.h>
#include <kvmeasure/profiles/profile_noise.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

/// Sums up trapezoids.
class AreaSum {
public:
    /// From (t0, d0) to (t1, d1); what lies below 0 does not count. `wall` of the rise is upright, half way.
    void add(double t0, double d0, double t1, double d1, double wall) {
        if (!(d0 > 0) && !(d1 > 0))
            return;
        const double dt = t1 - t0;
        if (d0 < 0)
            return addPositive(t1 - dt * (d1 / (d1 - d0)), 0, t1, d1, wall);
        if (d1 < 0)
            return addPositive(t0, d0, t0 + dt * (d0 / (d0 - d1)), 0, wall);
        addPositive(t0, d0, t1, d1, wall);
    }
    AreaResult result(double sign) const;

private:
    void addPositive(double t0, double d0, double t1, double d1, double wall);

    double area_ = 0, momentT_ = 0, momentD_ = 0, length_ = 0, momentOfLength_ = 0, squareOfLength_ = 0;
};

void AreaSum::addPositive(double t0, double d0, double t1, double d1, double wall) {
    constexpr double kSixth = 1.0 / 6;
    const double dt = t1 - t0;
    const double area = dt * (d0 + d1) / 2;
    area_ += area;
    momentT_ += t0 * area + dt * dt * (d0 + 2 * d1) * kSixth;
    const double rise = d1 - d0;
    momentD_ += dt * ((d0 * d0 + d0 * d1 + d1 * d1) + wall * rise * rise / 2) * kSixth;
    length_ += dt;
    momentOfLength_ += dt * (t0 + t1) / 2;
    squareOfLength_ += dt * (t0 * t0 + t0 * t1 + t1 * t1) / 3;
}

AreaResult AreaSum::result(double sign) const {
    AreaResult result;
    result.area = sign * area_;
    if (area_ != 0)
        result.centroid = Vector(momentT_ / area_, momentD_ / area_);
    else
        result.centroid = Vector(std::nan(""), std::nan(""));
    result.length = sign * length_;
    result.moment = sign * momentOfLength_;
    result.secondMoment = sign * squareOfLength_;
    return result;
}

AreaResult refusedArea(const QString& reason) {
    AreaResult none;
    none.reason = reason;
    return none;
}

/// What points and walls do to the centroid and to the area, in a second pass: the centroid is known then.
/// Places are from the centre of the base, heights over it; `walls` are the shares of wallShare() where it
/// counts; `x` and `d` are the centroid there.
void addSpread(const std::vector<double>& places, const std::vector<double>& heights,
               const std::vector<double>& walls, const PointSpacing& spacing, double widest,
               AreaResult& result) {
    const double x = result.centroid.x;
    const double d = result.centroid.y;
    constexpr double kTwelfth = 1.0 / 12;
    for (std::size_t i = 0; i < places.size(); ++i) {
        double share = 0;
        for (const std::size_t behind : {i, i + 1}) {
            if (heights[i] > 0 && behind > 0 && behind < places.size()) {
                const double step = std::fabs(places[behind] - places[behind - 1]);
                share += step <= widest ? step / 2 : 0;
            }
        }
        result.squaredShares += share * share;
        result.squaredSharesX += std::pow(share * (places[i] - x), 2);
        result.squaredSharesZ += std::pow(share * (heights[i] - d), 2);
        if (i == 0 || std::fabs(places[i] - places[i - 1]) > widest)
            continue;
        const double low = std::max(std::min(heights[i], heights[i - 1]), 0.0);
        const double high = std::max(std::max(heights[i], heights[i - 1]), 0.0);
        const double rise = (high - low) * walls[i];
        const double square = std::pow((places[i] - places[i - 1]) * rise, 2) * kTwelfth;
        result.walls += square;
        result.wallsX += square * std::pow((places[i] + places[i - 1]) / 2 - x, 2);
        result.wallsZ += square * std::pow((low + high) / 2 - d, 2);
    }
    // Where it begins and ends in height points may be missing.
    const double ofPitch = spacing.medianStep / Internal::kRootOf12;
    const double ofEnd = spacing.deviationOfEnd;
    const double missing = std::max(ofEnd * ofEnd - ofPitch * ofPitch, 0.0);
    for (const std::size_t i : {std::size_t{0}, places.size() - 1}) {
        const double high = std::max(heights[i], 0.0);
        result.walls += missing * high * high;
        result.wallsX += missing * std::pow(high * (places[i] - x), 2);
        result.wallsZ += missing * std::pow(high * (high / 2 - d), 2);
    }
}

/// The shares of wallShare() of the rises that count: over the base at one end at least.
std::vector<double> wallsOf(const std::vector<Vector>& points, const std::vector<double>& heights) {
    // Steps and slopes of the rises, 0 before the first and behind the last one.
    std::vector<double> steps(points.size() + 1);
    std::vector<double> slopes(points.size() + 1);
    for (std::size_t i = 1; i < points.size(); ++i) {
        steps[i] = std::fabs(points[i].x - points[i - 1].x);
        slopes[i] = std::fabs(points[i].y - points[i - 1].y) / steps[i];
    }
    std::vector<double> walls(points.size());
    for (std::size_t i = 1; i < points.size(); ++i) {
        // Not steeper and not wider than beside it: no wall, and wallShare() need not be asked.
        const bool isAlike = slopes[i] <= std::max(slopes[i - 1], slopes[i + 1]) &&
                             steps[i] <= std::max(steps[i - 1], steps[i + 1]) &&
                             std::isfinite(slopes[i - 1] + slopes[i] + slopes[i + 1]);
        const bool counts = heights[i - 1] > 0 || heights[i] > 0;
        walls[i] = counts && !isAlike ? wallShare(points, i) : 0;
    }
    return walls;
}

}  // namespace

AreaResult measureArea(const std::vector<Vector>& points, const LineFit& base, const AreaSettings& settings) {
    if (!base.isFound())
        return refusedArea(base.reason);
    if (points.size() < 2)
        return refusedArea("an area needs two points");
    const double side = settings.isAbove ? 1 : -1;
    if (base.along.x == 0)
        return refusedArea("the base is upright");
    const double slope = base.along.y / base.along.x;
    std::vector<double> places;   // from the centre of the base
    std::vector<double> heights;  // over the base, on the wanted side
    places.reserve(points.size());
    heights.reserve(points.size());
    for (const Vector& point : points) {
        places.push_back(point.x - base.centre.x);
        heights.push_back(side * (point.y - base.centre.y - slope * places.back()));
    }
    const double along = places.back() - places.front();
    if (along == 0)
        return refusedArea("the points begin and end at one x");
    const PointSpacing spacing = spacingOf(points);
    const double widest = std::isnan(settings.widestGap) ? spacing.widestStep : settings.widestGap;
    const std::vector<double> walls = wallsOf(points, heights);
    AreaSum sum;
    int gaps = 0;
    double leftOut = 0;
    for (std::size_t i = 1; i < points.size(); ++i) {
        const double step = std::fabs(places[i] - places[i - 1]);
        if (step > widest) {
            ++gaps;
            leftOut += step;
            continue;
        }
        sum.add(places[i - 1], heights[i - 1], places[i], heights[i], walls[i]);
    }
    AreaResult result = sum.result(along > 0 ? 1 : -1);
    addSpread(places, heights, walls, spacing, widest, result);
    result.centroid = Vector(base.centre.x + result.centroid.x,
                             base.centre.y + slope * result.centroid.x + side * result.centroid.y);
    result.gaps = gaps;
    result.leftOut = leftOut;
    return result;
}

AreaUncertainty areaUncertainty(const AreaResult& area, const LineFit& base, const NoiseModel& noise) {
    const double deviation = noise.deviation * std::sqrt(noise.correlationTime);
    const double known = std::numeric_limits<double>::infinity();
    const double size = area.area;
    UncertaintySum ofArea;
    UncertaintySum x;
    UncertaintySum z;
    ofArea.add(deviation * std::sqrt(area.squaredShares), noise.points);
    x.add(deviation * std::sqrt(area.squaredSharesX) / size, noise.points);
    z.add(deviation * std::sqrt(area.squaredSharesZ) / size, noise.points);
    ofArea.add(std::sqrt(area.walls), known);
    x.add(std::sqrt(area.wallsX) / size, known);
    z.add(std::sqrt(area.wallsZ) / size, known);
    AreaUncertainty result;
    if (base.points > 0) {
        const LineUncertainty line = lineUncertainty(base, noise);
        const double slope = base.along.y / base.along.x;
        const double place = area.centroid.x - base.centre.x;
        const double over = area.centroid.y - base.centre.y - slope * place;
        // A turn moves the base at x by (x - x0) / cos^2 in height, an offset square to it by 1 / cos; that
        // takes height off the area over its length, and moves the centroid by the moments of that.
        const auto add = [&](double move, double ofLength, double ofMoment) {
            const double toX = move * (place * ofLength - ofMoment) / size;
            ofArea.add(move * ofLength, line.degreesOfFreedom);
            x.add(toX, line.degreesOfFreedom);
            z.add(move * std::fabs(over) * ofLength / size + slope * toX, line.degreesOfFreedom);
        };
        add(line.offset / base.along.x, area.length, area.moment);
        add(line.direction / (base.along.x * base.along.x), area.moment, area.secondMoment);
        result.isShort = line.isShort;
    }
    result.area = {area.area, ofArea.u(), ofArea.degreesOfFreedom(), area.reason};
    result.x = {area.centroid.x, x.u(), x.degreesOfFreedom(), area.reason};
    result.z = {area.centroid.y, z.u(), z.degreesOfFreedom(), area.reason};
    return result;
}

namespace Internal {

namespace {

/// The base of a tool: a fitted line or a height.
LineFit baseOf(const Tool& tool, const ToolInput& input, const char* key) {
    if (!tool.region(key).isEmpty())
        return input.line(tool.region(key));
    LineFit base;
    base.centre = Vector(0, tool.number(key));
    base.along = Vector(1, 0);
    return base;
}

void giveArea(const Tool& tool, const ToolInput& input, const LineFit& base, const AreaResult& area,
              ToolResults& results) {
    const NoiseModel& noise = input.pointNoise();
    const AreaUncertainty known = areaUncertainty(area, base, noise);
    give("", known.area, results);
    if (area.area > 0) {
        give("x", known.x, results);
        give("z", known.z, results);
    }
    results.refuse("there is no area on this side of the base");
    const double count = base.points > 0 ? double(base.points) : double(noise.points);
    warnOfNoise(noise.reason, known.isShort || noise.isShort(count), results);
    if (area.gaps > 0)
        results.warn(filledIn("%1 gap(s) of %2 mm in all left out", area.gaps, area.leftOut));
    results.markPoint(area.centroid, tool.name);
}

/// The area between two profiles.
void measureContourTool(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const RegionPoints& first = input.region(tool.region("region"));
    const RegionPoints& second = input.region(tool.region("with"));
    for (const RegionPoints* region : {&first, &second}) {
        if (region->isEmpty())
            return results.refuse(region->reason);
    }
    const NoiseModel& noise = input.pointNoise();
    const NoiseModel secondNoise = profileNoise(second.points);
    const ContourResult contour =
        measureContour(first.points, second.points, noise, secondNoise.reason.isEmpty() ? secondNoise : noise,
                       {tool.choice("freeEdges") == 0, tool.number("gap")});
    if (!contour.reason.isEmpty())
        return results.refuse(contour.reason);
    give("", contour.area, results);
    give("x", contour.x, results);
    give("z", contour.z, results);
    if (contour.freeEdges > 0)
        results.note("", QString("%1 mm2 more for free edges").arg(contour.freeEdges, 0, 'f', 3));
    if (contour.gaps > 0)
        results.warn(filledIn("%1 gap(s) bridged by straight lines", contour.gaps));
    warnOfNoise(noise.reason, /*isShort=*/false, results);
    results.markPoint({contour.x.value, contour.z.value}, tool.name);
}

void measureAreaTool(const Tool& tool, const ToolInput& input, ToolResults& results) {
    if (!tool.region("with").isEmpty())
        return measureContourTool(tool, input, results);
    const RegionPoints& region = input.region(tool.region("region"));
    if (region.isEmpty())
        return results.refuse(region.reason);
    const bool isAbove = !tool.region("above").isEmpty() || !std::isnan(tool.number("above"));
    const char* const key = isAbove ? "above" : "below";
    const LineFit base = baseOf(tool, input, key);
    const AreaResult area = measureArea(region.points, base, {isAbove, tool.number("gap")});
    if (!area.isFound())
        return results.refuse(area.reason);
    giveArea(tool, input, base, area, results);
}

QString areaFault(const Tool& tool) {
    int given = 0;
    for (const char* key : {"above", "below", "with"})
        given += !tool.region(key).isEmpty() || !std::isnan(tool.number(key)) ? 1 : 0;
    return given == 1 ? QString()
                      : QString("needs one of \"above\" and \"below\": a region or a height; or \"with\": a "
                                "region of the second profile");
}

ToolField baseField(const char* key, const char* help) {
    ToolField field{key, key, ToolField::RegionOrNumber, help, /*isRequired=*/false};
    field.isLine = true;
    return field;
}

ToolField otherField() {
    ToolField field = regionField("with", "with", "the other side of a closed contour");
    field.isRequired = false;
    return field;
}

}  // namespace

const ToolKind areaTool{
    "area",
    "area between the points and the line of a region, or a height; or between two profiles",
    {regionField("region", "in", "region"), baseField("above", "base of the object above it"),
     baseField("below", "lid of the clearance below it"), otherField(),
     numberField("gap", "gap", "widest step that is counted", std::numeric_limits<double>::quiet_NaN(), 0,
                 1e6, "mm"),
     choiceField("freeEdges", "edges",
                 "ends of a closed contour: half a point distance beyond the last point, or on it",
                 {"moved", "seen"})},
    {{"", "mm2", "area"}, {"x", "mm", "x of its centroid"}, {"z", "mm", "height of its centroid"}},
    measureAreaTool,
    areaFault};

}  // namespace Internal

}  // namespace KvMeasure
