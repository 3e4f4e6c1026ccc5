// arc: the circle through the points of a region.

#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/tool_input.h>

#include <cmath>

namespace KvMeasure::Internal {

namespace {

void measureArc(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const RegionPoints& region = input.region(tool.region("region"));
    if (region.isEmpty())
        return results.refuse(region.reason);
    RobustFitting fitting;
    fitting.isRobust = tool.choice("fit") == 0;
    const ArcFit arc = fitArc(region.points, fitting);
    if (!arc.isFound())
        return results.refuse(arc.reason);
    ResidualNoise own;
    constexpr int kParameters = 3;
    own.add(arc.residuals, kParameters);
    const ArcUncertainty u = arcUncertainty(arc, input.noise(own));
    results.add("radius", arc.circle.radius, u.radius, u.degreesOfFreedom);
    results.add("x", arc.circle.centre.x, u.x, u.degreesOfFreedom);
    results.add("z", arc.circle.centre.y, u.z, u.degreesOfFreedom);
    results.add("angle", arc.span.span * kDegreesPerRadian);
    results.add("deviation", arc.deviation);
    if (arc.isNearlyStraight)
        results.warn("the arc rises over its chord by less than three deviations: the radius is uncertain");
    if (arc.rejected > 0)
        results.note("radius", QString("%1 points left out").arg(arc.rejected));
    warnOfNoise(u.reason, u.isShort, results);
    const double middle = arc.span.start + arc.span.span / 2;
    results.markDistance(arc.circle.centre,
                         {arc.circle.centre.x + arc.circle.radius * std::cos(middle),
                          arc.circle.centre.y + arc.circle.radius * std::sin(middle)},
                         "radius");
}

}  // namespace

const ToolKind arcTool{
    "arc",
    "the circle of least squared distances through the points",
    {regionField("region", "in", "region"), choiceField("fit", "fit", "stray points", {"robust", "all"})},
    {{"radius", "mm", "radius"},
     {"x", "mm", "x of the centre"},
     {"z", "mm", "z of the centre"},
     {"angle", "deg", "angle that the points cover"},
     {"deviation", "mm", "standard deviation of the points"}},
    measureArc};

}  // namespace KvMeasure::Internal
