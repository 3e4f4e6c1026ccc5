// line: a line fitted to a region, by default without the points that do not belong to it.

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/tool_input.h>

#include <cmath>

namespace KvMeasure::Internal {

namespace {

/// The scatter of a standard deviation: the correlation leaves fewer independent squares.
double uOfDeviation(const LineFit& line, const NoiseModel& noise) {
    constexpr double kTwo = 2;
    return line.points > 0 ? line.deviation * std::sqrt(noise.squaredCorrelation / (kTwo * line.points)) : 0;
}

void measureLine(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const RegionPoints& region = input.region(tool.region("region"));
    if (region.isEmpty())
        return results.refuse(region.reason);
    const bool takesAll = tool.choice("fit") == 1;
    const LineFit line =
        takesAll ? fitLine(region.points, {/*isRobust=*/false}) : input.line(tool.region("region"));
    if (!line.isFound())
        return results.refuse(line.reason);
    ResidualNoise own;
    if (takesAll)
        own.add(line.residuals, 2);
    const NoiseModel noise = input.noise(own);
    const LineUncertainty u = lineUncertainty(line, noise);
    results.add("angle", std::atan2(line.along.y, line.along.x) * kDegreesPerRadian,
                u.direction * kDegreesPerRadian, u.degreesOfFreedom);
    // Points that are missing or left out, a correlation time of them at once, move the centre along the
    // line.
    const auto count = double(line.points);
    const double atOnce = std::isfinite(noise.correlationTime)
                              ? std::max(1.0, std::min(noise.correlationTime, double(line.rejected)))
                              : 1;
    const double alongLine = std::sqrt(
        (input.spacing(tool.region("region")).missingShare + line.rejected * atOnce / (count * count)) *
        line.spread / count);
    results.add("x", line.centre.x, std::hypot(alongLine * line.along.x, u.offset * line.along.y),
                u.degreesOfFreedom);
    results.add("z", line.centre.y, std::hypot(alongLine * line.along.y, u.offset * line.along.x),
                u.degreesOfFreedom);
    results.add("deviation", line.deviation, uOfDeviation(line, noise), u.degreesOfFreedom);
    results.add("above", line.above.distance);
    results.add("below", line.below.distance);
    if (line.rejected > 0)
        results.note("deviation",
                     filledIn("%1 of %2 points left out", line.rejected, line.rejected + line.points));
    warnOfNoise(u.reason, u.isShort, results);
    results.markDistance(line.pointAt(line.from), line.pointAt(line.to), "angle");
}

}  // namespace

const ToolKind lineTool{
    "line",
    "line fitted to the points, without stray ones",
    {lineField("region", "in", "region"), choiceField("fit", "fit", "stray points", {"robust", "all"})},
    {{"angle", "deg", "direction against the x axis, -90 to 90"},
     {"x", "mm", "x of its centre"},
     {"z", "mm", "height of its centre"},
     {"deviation", "mm", "standard deviation of the points square to it"},
     {"above", "mm", "largest distance of a point above it"},
     {"below", "mm", "largest distance of a point below it, negative"}},
    measureLine};

}  // namespace KvMeasure::Internal
