// bridge: the mean of the highest points of a region, without the very highest.

#include <kvmeasure/inspection/kinds/bridge.h>

#include <kvmeasure/inspection/kinds/average.h>
#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/tool_input.h>
#include <kvmeasure/inspection/tool_results.h>

#include <algorithm>
#include <cmath>
#include <functional>

namespace KvMeasure {

BridgeResult bridgeValue(std::vector<double>& heights, double skip, double window) {
    constexpr double kMost = 100;
    BridgeResult result;
    if (!(skip >= 0 && skip < window && window <= kMost))
        return result;
    const auto rank = [&](double percent) {
        return static_cast<std::ptrdiff_t>(std::floor(percent / kMost * double(heights.size())));
    };
    const std::ptrdiff_t from = rank(skip);
    const std::ptrdiff_t to = rank(window);
    if (from >= to)
        return result;
    const auto first = heights.begin() + from;
    const auto last = heights.begin() + to;
    std::nth_element(heights.begin(), first, heights.end(), std::greater<>());
    if (last != heights.end())
        std::nth_element(first, last, heights.end(), std::greater<>());
    const std::vector<double> band(first, last);
    result.points = static_cast<int>(band.size());
    result.height = meanOf(band);
    double squares = 0;
    for (const double height : band)
        squares += (height - result.height) * (height - result.height);
    result.deviation = band.size() > 1 ? std::sqrt(squares / double(band.size() - 1)) : 0;
    return result;
}

namespace Internal {

namespace {

/// Heights over the line of the region, put back halfway between the ends of the region's points.
std::vector<double> shearedHeights(const std::vector<Vector>& points, const LineFit& line) {
    std::vector<double> heights;
    heights.reserve(points.size());
    const double slope = line.along.y / line.along.x;
    const auto [left, right] = std::minmax_element(
        points.begin(), points.end(), [](const Vector& a, const Vector& b) { return a.x < b.x; });
    const double at = (left->x + right->x) / 2;
    for (const Vector& point : points)
        heights.push_back(point.y - slope * (point.x - at));
    return heights;
}

void measureBridge(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const RegionPoints& region = input.region(tool.region("region"));
    if (region.isEmpty())
        return results.refuse(region.reason);
    std::vector<double> heights = coordinates(region.points, /*isOfX=*/false);
    double ofEnds = 0;
    if (tool.choice("tilt") == 1) {
        const LineFit& line = input.line(tool.region("region"));
        if (!line.isFound() || line.along.x == 0)
            return results.refuse(line.isFound() ? QString("the points lie upright") : line.reason);
        heights = shearedHeights(region.points, line);
        // Points that are missing at an end move the place halfway, and the height with it.
        const PointSpacing& spacing = input.spacing(tool.region("region"));
        const double ofPitch = spacing.medianStep / kRootOf12;
        const double ofEnd = spacing.deviationOfEnd;
        const double half = std::sqrt(1.0 / 2);
        ofEnds =
            half * std::sqrt(std::max(ofEnd * ofEnd - ofPitch * ofPitch, 0.0)) * line.along.y / line.along.x;
    }
    const NoiseModel& noise = input.pointNoise();
    OrderNoise order(smoothHeights(heights, noise.correlationTime), noise);
    order.setMissing(input.spacing(tool.region("region")).missingShare);
    const BridgeResult bridge = bridgeValue(heights, tool.number("skip"), tool.number("window"));
    if (bridge.points == 0)
        return results.refuse("too few points: none lies between skip and window");
    results.add("", bridge.height,
                std::hypot(order.bandMean(tool.number("skip"), tool.number("window")), ofEnds),
                noise.lengths(noise.points));
    results.add("deviation", bridge.deviation);
    results.markPoint({meanOf(coordinates(region.points, /*isOfX=*/true)), bridge.height}, tool.name);
    results.sayNoUncertainty(noise.reason.isEmpty() ? QString("it is a scatter itself") : noise.reason);
    const bool isShort = noise.isShort(double(bridge.points));
    if (noise.reason.isEmpty() && isShort)
        results.warnOfU("", "the uncertainty rests on few independent points");
}

QString bridgeFault(const Tool& tool) {
    return tool.number("skip") < tool.number("window") ? QString()
                                                       : QString("\"skip\" must be less than \"window\"");
}

}  // namespace

const ToolKind bridgeTool{
    "bridge",
    "mean of the highest points, without the very highest",
    {regionField("region", "in", "region"),
     numberField("skip", "skip", "share of the highest points that is left out", 5, 0, 100, "%"),
     numberField("window", "window", "share of the points down to which is read", 20, 0, 100, "%"),
     choiceField("tilt", "", "heights as they are, or over the line of the region", {"as-is", "sheared"})},
    {{"", "mm", "mean height"}, {"deviation", "mm", "standard deviation of these heights"}},
    measureBridge,
    bridgeFault};

}  // namespace Internal

}  // namespace KvMeasure
