// area: object above a base, or clearance below it.

#include <kvmeasure/inspection/kinds/area.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/inspection/kinds/area_sums_p.h>
#include <kvmeasure/inspection/kinds/contour.h>
#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/tool_input.h>
#include <kvmeasure/profiles/profile_noise.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

using namespace Internal;

namespace {

AreaResult refusedArea(const QString& reason) {
    AreaResult none;
    none.reason = reason;
    return none;
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
    const AreaColumns columns(points, base, side);
    if (columns.along() == 0)
        return refusedArea("the points begin and end at one x");
    const double sign = columns.along() > 0 ? 1 : -1;
    const PointSpacing spacing = spacingOf(points);
    const double widest = std::isnan(settings.widestGap) ? spacing.widestStep : settings.widestGap;
    const AreaIntegrals sum = columns.integrals(widest);
    const Vector centroid(sum.momentT / sum.area,
                          sum.momentD / sum.area);  // not finite where there is no area
    const AreaSpread spread = columns.spread(spacing, widest, centroid);
    AreaResult result;
    result.area = sign * sum.area;
    result.centroid =
        Vector(base.centre.x + centroid.x, base.centre.y + slope * centroid.x + side * centroid.y);
    result.gaps = sum.gaps;
    result.leftOut = sum.leftOut;
    result.length = sign * sum.length;
    result.moment = sign * sum.momentOfLength;
    result.secondMoment = sign * sum.squareOfLength;
    result.squaredShares = spread.shares;
    result.squaredSharesX = spread.sharesX;
    result.squaredSharesZ = spread.sharesZ;
    result.walls = spread.walls;
    result.wallsX = spread.wallsX;
    result.wallsZ = spread.wallsZ;
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

/// The points of a region, and where the profile crosses its sides.
std::vector<Vector> upToSides(const RegionPoints& region, double gap) {
    const double widest = std::isnan(gap) ? spacingOf(region.points).widestStep : gap;
    std::vector<Vector> points;
    points.reserve(region.points.size() + 2);
    if (region.entry.step <= widest)
        points.push_back(region.entry.at);
    points.insert(points.end(), region.points.begin(), region.points.end());
    if (region.exit.step <= widest)
        points.push_back(region.exit.at);
    return points;
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
    const AreaResult area =
        measureArea(upToSides(region, tool.number("gap")), base, {isAbove, tool.number("gap")});
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
