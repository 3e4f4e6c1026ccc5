// step: the height of a surface over the line of another one.

#include <kvmeasure/inspection/kinds/step.h>

#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/tool_input.h>

#include <cmath>

namespace KvMeasure {

using namespace Internal;

FittedValue measureStep(const LineFit& reference, const LineFit& surface, const NoiseModel& noise) {
    if (!reference.isFound())
        return refused(reference.reason);
    if (!surface.isFound())
        return refused(surface.reason);
    FittedValue step;
    step.value = reference.distanceOf(surface.centre);
    const LineUncertainty ofReference = lineUncertainty(reference, noise);
    const LineUncertainty ofSurface = lineUncertainty(surface, noise);
    // Where a tilted surface is met, its own offset counts by the cosine.
    const double cosine = reference.along.x * surface.along.x + reference.along.y * surface.along.y;
    UncertaintySum sum;
    sum.add(ofReference.at(reference.placeOf(surface.centre)), ofReference.degreesOfFreedom);
    sum.add(ofSurface.offset * cosine, ofSurface.degreesOfFreedom);
    step.u = sum.u();
    step.degreesOfFreedom = sum.degreesOfFreedom();
    return step;
}

namespace Internal {

namespace {

void measureStepTool(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const LineFit& reference = input.line(tool.region("reference"));
    const LineFit& surface = input.line(tool.region("surface"));
    const NoiseModel noise = input.noise();
    const FittedValue step = measureStep(reference, surface, noise);
    give("", step, results);
    if (!step.isFound())
        return;
    const LineUncertainty u = lineUncertainty(reference, noise);
    warnOfNoise(u.reason, u.isShort || lineUncertainty(surface, noise).isShort, results);
    results.markDistance(reference.pointAt(reference.placeOf(surface.centre)), surface.centre, "");
}

}  // namespace

const ToolKind stepTool{"step",
                        "height of the second region over the line of the first, square to it",
                        {lineField("reference", "", "region of the reference line"),
                         lineField("surface", "", "region of the surface")},
                        {{"", "mm", "height"}},
                        measureStepTool};

}  // namespace Internal

}  // namespace KvMeasure
