// fillet-weld: legs, throat, convexity, undercut and root of a weld in the corner of two plates.

#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/kinds/weld.h>
#include <kvmeasure/inspection/tool_input.h>

namespace KvMeasure::Internal {

namespace {

void measureFilletWeldTool(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const RegionPoints& region = input.region(tool.region("region"));
    if (region.isEmpty())
        return results.refuse(region.reason);
    const LineFit& first = input.line(tool.region("first"));
    const LineFit& second = input.line(tool.region("second"));
    const NoiseModel noise = input.noise();
    const WeldResult weld = measureFilletWeld(first, second, region.points, noise);
    if (!weld.reason.isEmpty())
        return results.refuse(weld.reason);
    give("leg1", weld.legs[0], results);
    give("leg2", weld.legs[1], results);
    give("throat", weld.throat, results);
    give("convexity", weld.convexity, results);
    give("undercut", weld.undercut, results);
    give("x", weld.x, results);
    give("z", weld.z, results);
    warnOfNoise(noise.reason, weld.isShort, results);
    results.markDistance(weld.root, weld.toes[0].at, "leg1");
    results.markDistance(weld.root, weld.toes[1].at, "leg2");
    results.markDistance(weld.root, weld.throatFoot, "throat");
}

}  // namespace

const ToolKind filletWeldTool{
    "fillet-weld",
    "weld in the corner of the plates of two regions, in a third that leads from one to the other",
    {lineField("first", "", "region of the first plate"),
     lineField("second", "", "region of the second plate"), regionField("region", "in", "region")},
    {{"leg1", "mm", "from the root to the toe on the first plate"},
     {"leg2", "mm", "from the root to the toe on the second plate"},
     {"throat", "mm", "height of the largest triangle under the face"},
     {"convexity", "mm", "of the face over the line of both toes; negative: concave"},
     {"undercut", "mm", "greatest depth below a plate before its toe"},
     {"x", "mm", "x of the root, where the plates meet"},
     {"z", "mm", "height of the root"}},
    measureFilletWeldTool};

}  // namespace KvMeasure::Internal
