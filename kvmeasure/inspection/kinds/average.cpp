// mean, median, percentile: of the heights or x of a region.

#include <kvmeasure/inspection/kinds/average.h>

#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/order_noise.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/tool_input.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMeasure {

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

}  // namespace

std::vector<double> coordinates(const std::vector<Vector>& points, bool isOfX) {
    std::vector<double> values;
    values.reserve(points.size());
    for (const Vector& point : points)
        values.push_back(isOfX ? point.x : point.y);
    return values;
}

double meanOf(const std::vector<double>& values) {
    if (values.empty())
        return kNone;
    // From the first value on: few digits are lost far from zero.
    double sum = 0;
    for (const double value : values)
        sum += value - values.front();
    return values.front() + sum / double(values.size());
}

double percentileOf(std::vector<double>& values, double percent) {
    constexpr double kMost = 100;
    if (values.empty() || !(percent >= 0 && percent <= kMost))
        return kNone;
    const double rank = percent / kMost * double(values.size() - 1);
    const auto below = values.begin() + static_cast<std::ptrdiff_t>(std::floor(rank));
    std::nth_element(values.begin(), below, values.end());
    const double share = rank - std::floor(rank);
    if (share == 0)
        return *below;
    const double next = *std::min_element(below + 1, values.end());
    return *below + share * (next - *below);
}

namespace Internal {

namespace {

constexpr double kMiddlePercent = 50;

std::vector<ToolField> averageFields() {
    return {regionField("region", "in", "region"), choiceField("of", "of", "coordinate", {"z", "x"})};
}

void measureMean(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const RegionPoints& region = input.region(tool.region("region"));
    if (region.isEmpty())
        return results.refuse(region.reason);
    const bool isOfX = tool.choice("of") == 1;
    const double mean = meanOf(coordinates(region.points, isOfX));
    const NoiseModel& noise = input.pointNoise();
    const double missing = input.spacing(tool.region("region")).missingShare;
    results.add("", mean, uOfMean(region.points, isOfX, noise, missing), noise.lengths(noise.points));
    if (results.givesMarks())
        results.markPoint({meanOf(coordinates(region.points, /*isOfX=*/true)),
                           meanOf(coordinates(region.points, /*isOfX=*/false))},
                          tool.name);
    if (!isOfX)
        warnOfNoise(noise.reason, noise.isShort(double(region.points.size())), results);
}

/// `percent` is that of the tool, or the median's.
void measurePercentile(const Tool& tool, const ToolInput& input, ToolResults& results, double percent) {
    const RegionPoints& region = input.region(tool.region("region"));
    if (region.isEmpty())
        return results.refuse(region.reason);
    const bool isOfX = tool.choice("of") == 1;
    std::vector<double> values = coordinates(region.points, isOfX);
    const double value = percentileOf(values, percent);
    if (isOfX) {
        // Of places that are all alike, points that are missing by chance move the share below.
        const double share = percent / 100;
        const auto [least, greatest] = std::minmax_element(values.begin(), values.end());
        const double missing = input.spacing(tool.region("region")).missingShare;
        return results.add("", value, (*greatest - *least) * std::sqrt(share * (1 - share) * missing));
    }
    giveRank(input, tool.region("region"), value, percent, results);
    if (results.givesMarks())
        results.markPoint({meanOf(coordinates(region.points, /*isOfX=*/true)), value}, tool.name);
}

}  // namespace

const ToolKind meanTool{
    "mean", "mean height, or x, of the points", averageFields(), {{"", "mm", "mean"}}, measureMean};

const ToolKind medianTool{"median",
                          "median height, or x, of the points",
                          averageFields(),
                          {{"", "mm", "median"}},
                          [](const Tool& tool, const ToolInput& input, ToolResults& results) {
                              measurePercentile(tool, input, results, kMiddlePercent);
                          }};

const ToolKind percentileTool{"percentile",
                              "the height, or x, below which so many percent of the points lie",
                              [] {
                                  std::vector<ToolField> fields = averageFields();
                                  constexpr double kMost = 100;
                                  fields.insert(fields.begin(),
                                                {"percent", "", ToolField::Number, "percentage",
                                                 /*isRequired=*/true, kNone, 0, kMost, "%"});
                                  return fields;
                              }(),
                              {{"", "mm", "percentile"}},
                              [](const Tool& tool, const ToolInput& input, ToolResults& results) {
                                  measurePercentile(tool, input, results, tool.number("percent"));
                              }};

}  // namespace Internal

}  // namespace KvMeasure
