// gap, flush: what lies between the edges of two sides, along the line of the first and square to it.

#include <kvmeasure/inspection/kinds/gap.h>

#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/tool_input.h>

#include <cmath>

namespace KvMeasure {

using namespace Internal;

GapResult measureGap(const EdgeSide& first, const EdgeSide& second, EdgeFeature feature,
                     const NoiseModel& noise) {
    GapResult result;
    if (!first.reason.isEmpty() || !second.reason.isEmpty()) {
        result.gap = result.flush = refused(first.reason.isEmpty() ? second.reason : first.reason);
        return result;
    }
    const LineFit& line = first.surface;
    const double sign = line.placeOf(second.surface.centre) < line.placeOf(line.centre) ? -1 : 1;
    const Vector towards(sign * line.along.x, sign * line.along.y);
    const EdgePoint a = edgePoint(first, feature, towards, noise);
    const EdgePoint b = edgePoint(second, feature, {-towards.x, -towards.y}, noise);
    const LineUncertainty u = lineUncertainty(line, noise);
    result.firstPoint = a.at;
    result.secondPoint = b.at;
    result.freeEdges = first.freeEdge + second.freeEdge;
    result.gap.value = sign * (line.placeOf(b.at) - line.placeOf(a.at));
    result.flush.value = line.distanceOf(b.at);
    UncertaintySum gap;
    gap.add(a.along, a.degreesOfFreedom);
    gap.add(b.along, b.degreesOfFreedom);
    gap.add(u.direction * (line.distanceOf(b.at) - line.distanceOf(a.at)), u.degreesOfFreedom);
    result.gap.u = gap.u();
    result.gap.degreesOfFreedom = gap.degreesOfFreedom();
    UncertaintySum flush;
    flush.add(u.at(line.placeOf(b.at)), u.degreesOfFreedom);
    flush.add(b.across, b.degreesOfFreedom);
    result.flush.u = flush.u();
    result.flush.degreesOfFreedom = flush.degreesOfFreedom();
    result.isShort = u.isShort || lineUncertainty(second.surface, noise).isShort;
    return result;
}

namespace Internal {

namespace {

struct Sides {
    EdgeSide first, second;
    NoiseModel noise;
    bool mayLackEdge = false;  ///< an edge is sharp, and points of its side are missing
};

Vector centroid(const std::vector<Vector>& points) {
    Vector sum(0, 0);
    for (const Vector& p : points)
        sum = Vector(sum.x + p.x, sum.y + p.y);
    return {sum.x / double(points.size()), sum.y / double(points.size())};
}

/// False, with a reason beside the values, where a side is missing.
bool findSides(const Tool& tool, const ToolInput& input, Sides& sides, ToolResults& results) {
    const RegionPoints& first = input.region(tool.region("first"));
    const RegionPoints& second = input.region(tool.region("second"));
    for (const RegionPoints* region : {&first, &second}) {
        if (region->isEmpty()) {
            results.refuse(region->reason);
            return false;
        }
    }
    EdgeSettings settings;
    settings.movesFreeEdges = tool.choice("freeEdges") == 0;
    sides.first = findEdge(first.points, centroid(second.points), settings);
    sides.second = findEdge(second.points, centroid(first.points), settings);
    ResidualNoise own;
    constexpr int kParameters = 2;
    own.add(sides.first.surface.residuals, kParameters);
    own.add(sides.second.surface.residuals, kParameters);
    sides.noise = input.noise(own);
    sides.mayLackEdge = (!sides.first.hasHem && missingShare(first.points) > 0) ||
                        (!sides.second.hasHem && missingShare(second.points) > 0);
    return true;
}

void warnOf(const Sides& sides, const GapResult& result, ToolResults& results) {
    if (sides.mayLackEdge)
        results.warnOfU("an edge is sharp and points are missing: at the edge, too, or they may be of a hem");
    warnOfNoise(sides.noise.reason, result.isShort, results);
}

void measureGapTool(const Tool& tool, const ToolInput& input, ToolResults& results) {
    Sides sides;
    if (!findSides(tool, input, sides, results))
        return;
    constexpr EdgeFeature kFeatures[] = {EdgeFeature::Extreme, EdgeFeature::Tangent, EdgeFeature::Corner};
    const GapResult result =
        measureGap(sides.first, sides.second, kFeatures[tool.choice("point")], sides.noise);
    give("", result.gap, results);
    if (!result.gap.isFound())
        return;
    if (result.freeEdges > 0)
        results.note("", QString("%1 mm less for free edges").arg(result.freeEdges, 0, 'f', 3));
    warnOf(sides, result, results);
    results.markDistance(result.firstPoint, result.secondPoint, "");
}

void measureFlushTool(const Tool& tool, const ToolInput& input, ToolResults& results) {
    Sides sides;
    if (!findSides(tool, input, sides, results))
        return;
    constexpr EdgeFeature kFeatures[] = {EdgeFeature::Tangent, EdgeFeature::Extreme, EdgeFeature::Corner};
    const GapResult result =
        measureGap(sides.first, sides.second, kFeatures[tool.choice("point")], sides.noise);
    give("", result.flush, results);
    if (!result.flush.isFound())
        return;
    warnOf(sides, result, results);
    const LineFit& line = sides.first.surface;
    results.markDistance(line.pointAt(line.placeOf(result.secondPoint)), result.secondPoint, "");
}

std::vector<ToolField> sideFields(const QStringList& points) {
    return {regionField("first", "", "region of the side whose line counts"),
            regionField("second", "", "region of the other side"),
            choiceField("point", "", "edge point of a side", points),
            choiceField("freeEdges", "edges",
                        "sharp edges: half a point distance beyond the last point, or on it",
                        {"moved", "seen"})};
}

}  // namespace

const ToolKind gapTool{"gap",
                       "distance of the edges of two sides along the line of the first",
                       sideFields({"extreme", "tangent", "corner"}),
                       {{"", "mm", "gap"}},
                       measureGapTool};

const ToolKind flushTool{"flush",
                         "height of the second side over the line of the first, square to it",
                         sideFields({"tangent", "extreme", "corner"}),
                         {{"", "mm", "flush"}},
                         measureFlushTool};

}  // namespace Internal

}  // namespace KvMeasure
