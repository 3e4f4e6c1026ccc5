// step-height: the depth of a groove between two edges by the method for measurement standards (ISO 5436-1).

#include <kvmeasure/form/step_height.h>
#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/tool_input.h>
#include <kvmeasure/inspection/tool_results.h>

#include <cmath>

namespace KvMeasure::Internal {

namespace {

QString faultOf(const Tool& tool) {
    return tool.number("from") < tool.number("to")
               ? QString()
               : QString("the edges behind \"from\" and \"to\" are not in order");
}

void measureStepHeight(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const RegionPoints& region = input.region(tool.region("region"));
    if (region.isEmpty())
        return results.refuse(region.reason);
    // The edges are where they were taught; a region that moved takes its points back there.
    std::vector<Vector> points;
    points.reserve(region.points.size());
    for (const Vector& point : region.points)
        points.push_back(Frame::moved(point, region.found, region.taught));
    const bool isFlat = tool.choice("type") == 0;
    const StepHeight step =
        stepHeight(points, tool.number("from"), tool.number("to"), isFlat ? StepType::A1 : StepType::A2);
    if (!step.isValid())
        return results.refuse(step.reason);
    const NoiseModel& noise = input.pointNoise();
    const double ofPoint = noise.deviation * std::sqrt(noise.correlationTime);
    const double freedom = noise.lengths(noise.points);
    results.add("", step.height, ofPoint * step.scatter, freedom);
    results.add("deviation", step.deviation);
    if (!isFlat) {
        results.sayNoUncertainty("the lowest point of a fitted parabola: no formula is at hand");
        results.refuse("deviation", "type A2 has no common fit");
    } else {
        warnOfNoise(noise.reason, noise.isShort(step.pointsC), results);
    }
    if (!step.isComplete)
        results.warn("the points do not cover three widths of the groove, as ISO 5436-1 asks");
    const double middle = (step.fromEdge + step.toEdge) / 2;
    double bottom = 0;
    int count = 0;
    for (const Vector& point : points) {
        if (std::fabs(point.x - middle) <= (step.toEdge - step.fromEdge) / 6) {
            bottom += point.y;
            ++count;
        }
    }
    if (count > 0)
        results.markDistance(
            Frame::moved({middle, bottom / count + step.height}, region.taught, region.found),
            Frame::moved({middle, bottom / count}, region.taught, region.found), "");
}

ToolField edgeField(const char* key, const char* help) {
    constexpr double kFarthest = 1e6;
    return {key, key, ToolField::Number, help, /*isRequired=*/true, std::nan(""), -kFarthest, kFarthest};
}

}  // namespace

const ToolKind stepHeightTool{
    "step-height",
    "depth of the groove between two edges, negative of a ridge (ISO 5436-1)",
    {regionField("region", "in", "region with three widths of the groove"),
     edgeField("from", "x of the left edge"), edgeField("to", "x of the right edge"),
     choiceField("type", "", "shape of the bottom", {"A1", "A2"})},
    {{"", "mm", "depth"}, {"deviation", "mm", "standard deviation of the points of the fit"}},
    measureStepHeight,
    faultOf};

}  // namespace KvMeasure::Internal
