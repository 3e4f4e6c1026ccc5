// butt-weld: cap, width, undercut and misalignment of a weld between two plates beside each other.

#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/kinds/weld.h>
#include <kvmeasure/inspection/tool_input.h>

namespace KvMeasure::Internal {

namespace {

void measureButtWeldTool(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const RegionPoints& region = input.region(tool.region("region"));
    if (region.isEmpty())
        return results.refuse(region.reason);
    const LineFit& first = input.line(tool.region("first"));
    const LineFit& second = input.line(tool.region("second"));
    const NoiseModel noise = input.noise();
    const WeldResult weld = measureButtWeld(first, second, region.points, noise);
    if (!weld.reason.isEmpty())
        return results.refuse(weld.reason);
    give("cap", weld.convexity, results);
    give("width", weld.width, results);
    give("undercut", weld.undercut, results);
    give("misalignment", weld.misalignment, results);
    warnOfNoise(noise.reason, weld.isShort, results);
    results.markDistance(weld.toes[0].at, weld.toes[1].at, "width");
    results.markPoint(weld.highest, tool.name + ".cap");
}

}  // namespace

const ToolKind buttWeldTool{
    "butt-weld",
    "weld between the plates of two regions, in a third that leads from one to the other",
    {lineField("first", "", "region of the first plate"),
     lineField("second", "", "region of the second plate"), regionField("region", "in", "region")},
    {{"cap", "mm", "greatest height over the line of both toes"},
     {"width", "mm", "distance of the toes"},
     {"undercut", "mm", "greatest depth below a plate before its toe"},
     {"misalignment", "mm", "height of the second plate over the line of the first, halfway"}},
    measureButtWeldTool};

}  // namespace KvMeasure::Internal
