// max, min: the extreme height or x of a region.

#include <kvmeasure/inspection/kinds/extreme.h>

#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/order_noise.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/tool_input.h>

namespace KvMeasure {

int extremePoint(const std::vector<Vector>& points, const ExtremeSettings& settings) {
    int best = points.empty() ? -1 : 0;
    const double sign = settings.isGreatest ? 1 : -1;
    double most = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double value = sign * (settings.isOfX ? points[i].x : points[i].y);
        if (i == 0 || value > most) {
            best = static_cast<int>(i);
            most = value;
        }
    }
    return best;
}

namespace Internal {

namespace {

void measureExtreme(const Tool& tool, const ToolInput& input, ToolResults& results, bool isGreatest) {
    const RegionPoints& region = input.region(tool.region("region"));
    if (region.isEmpty())
        return results.refuse(region.reason);
    const bool isOfX = tool.choice("of") == 1;
    const Vector& point = region.points[std::size_t(extremePoint(region.points, {isGreatest, isOfX}))];
    constexpr double kMost = 100;
    if (isOfX)
        results.add("", point.x, uOfExtreme(input, tool.region("region"), isOfX, isGreatest));
    else
        giveRank(input, tool.region("region"), point.y, isGreatest ? kMost : 0, results);
    results.add("at", isOfX ? point.y : point.x,
                uOfExtremePlace(input, tool.region("region"), isOfX, isGreatest));
    results.markPoint(point, tool.name);
}

std::vector<ToolField> extremeFields() {
    return {regionField("region", "in", "region"), choiceField("of", "of", "coordinate", {"z", "x"})};
}

}  // namespace

const ToolKind maxTool{"max",
                       "greatest height, or x, of the points",
                       extremeFields(),
                       {{"", "mm", "greatest value"}, {"at", "mm", "x of that point, or its height"}},
                       [](const Tool& tool, const ToolInput& input, ToolResults& results) {
                           measureExtreme(tool, input, results, /*isGreatest=*/true);
                       }};

const ToolKind minTool{"min",
                       "least height, or x, of the points",
                       extremeFields(),
                       {{"", "mm", "least value"}, {"at", "mm", "x of that point, or its height"}},
                       [](const Tool& tool, const ToolInput& input, ToolResults& results) {
                           measureExtreme(tool, input, results, /*isGreatest=*/false);
                       }};

}  // namespace Internal

}  // namespace KvMeasure
