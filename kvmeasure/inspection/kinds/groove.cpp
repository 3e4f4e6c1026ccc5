// groove: width, depth, place and area of a groove under the lid that lies on its rims.

#include <kvmeasure/inspection/kinds/groove.h>

#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/tool_input.h>

namespace KvMeasure::Internal {

namespace {

void measureGrooveTool(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const RegionPoints& region = input.region(tool.region("region"));
    if (region.isEmpty())
        return results.refuse(region.reason);
    GrooveSettings settings;
    settings.bottom = GrooveBottom(tool.choice("bottom"));
    settings.number = int(tool.number("number"));
    settings.leastDepth = tool.number("leastDepth");
    settings.leastWidth = tool.number("leastWidth");
    const GrooveResult groove = measureGroove(region.points, settings, input.knownNoise());
    if (!groove.reason.isEmpty())
        return results.refuse(groove.reason);
    give("width", groove.width, results);
    give("depth", groove.depth, results);
    give("x", groove.x, results);
    give("z", groove.z, results);
    give("area", groove.area, results);
    if (groove.isLowest)
        results.note("depth", "of the lowest point, which noise makes deeper");
    if (groove.lacksBottom)
        results.warn("points are missing at the bottom, which may be deeper");
    warnOfNoise(groove.noise.reason, groove.isShort, results);
    results.markDistance(groove.leftRim, groove.rightRim, "width");
    results.markDistance(groove.underLid, groove.bottom, "depth");
}

constexpr double kMost = 1e6;

}  // namespace

const ToolKind grooveTool{
    "groove",
    "the deepest groove, or the n-th, under the lid on its rims",
    {regionField("region", "in", "region"),
     choiceField("bottom", "bottom", "where the depth is measured", {"auto", "lowest", "flat", "v", "round"}),
     numberField("number", "number", "which groove: 1 is the first from the left, -1 from the right", 0,
                 -1000, 1000, ""),
     numberField("leastDepth", "deeper", "less deep ones are none", 0, 0, kMost, "mm"),
     numberField("leastWidth", "wider", "narrower ones are none", 0, 0, kMost, "mm")},
    {{"width", "mm", "distance of the rims"},
     {"depth", "mm", "of the bottom under the lid"},
     {"x", "mm", "x of the bottom"},
     {"z", "mm", "z of the bottom"},
     {"area", "mm2", "area between lid and points"}},
    measureGrooveTool};

}  // namespace KvMeasure::Internal
