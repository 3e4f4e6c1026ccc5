// thickness: of two profiles in one x and z. Both are sorted along the line that the thickness is square to
// (they are sorted already, as a rule) and walked through side by side.

#include <kvmeasure/inspection/kinds/thickness.h>

#include <kvmeasure/inspection/kinds/average.h>
#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/tool_input.h>
#include <kvmeasure/profiles/profile_noise.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

using namespace Internal;

namespace {

using Points = std::vector<Vector>;

/// Places along a direction and heights square to it, sorted by place.
Points turned(const Points& points, const Vector& along) {
    Points result;
    result.reserve(points.size());
    for (const Vector& p : points)
        result.emplace_back(p.x * along.x + p.y * along.y, p.y * along.x - p.x * along.y);
    const auto isBefore = [](const Vector& a, const Vector& b) { return a.x < b.x; };
    if (result.front().x > result.back().x)
        std::reverse(result.begin(), result.end());
    if (!std::is_sorted(result.begin(), result.end(), isBefore))
        std::stable_sort(result.begin(), result.end(), isBefore);
    return result;
}

/// Distances at the places of the first profile.
struct Distances {
    Points points;             ///< place, distance (first minus second)
    Points first;              ///< the point of the first profile
    double squaredShares = 0;  ///< mean of the squared shares of the two neighbours of the second
};

Distances distancesOf(const Points& first, const Points& second, double widest) {
    Distances result;
    std::size_t behind = 1;
    for (const Vector& p : first) {
        while (behind < second.size() && second[behind].x < p.x)
            ++behind;
        if (behind == second.size())
            break;
        const Vector& a = second[behind - 1];
        const Vector& b = second[behind];
        if (p.x < a.x || b.x - a.x > widest)
            continue;
        const double share = b.x > a.x ? (p.x - a.x) / (b.x - a.x) : 0;
        result.points.emplace_back(p.x, p.y - (a.y + share * (b.y - a.y)));
        result.first.push_back(p);
        result.squaredShares += share * share + (1 - share) * (1 - share);
    }
    if (!result.points.empty())
        result.squaredShares /= double(result.points.size());
    return result;
}

ThicknessResult noThickness(const QString& reason) {
    ThicknessResult none;
    none.reason = reason;
    return none;
}

/// Unit, halfway between the directions of both lines; (0, 0): there is none.
Vector middleDirection(const Points& first, const Points& second) {
    const LineFit a = fitLine(first);
    const LineFit b = fitLine(second);
    if (!a.isFound() || !b.isFound())
        return {0, 0};
    const double size = std::hypot(a.along.x + b.along.x, a.along.y + b.along.y);
    return {(a.along.x + b.along.x) / size, (a.along.y + b.along.y) / size};
}

/// The noise of one distance: a point between two others has less of theirs.
NoiseModel noiseOfDistance(const NoiseModel& first, const NoiseModel& second, double squaredShares) {
    NoiseModel noise = first;
    const double white = second.correlationTime > 1 ? 1 : squaredShares;
    noise.deviation = std::hypot(first.deviation, second.deviation * std::sqrt(white));
    const double one = first.deviation * first.deviation;
    const double other = second.deviation * second.deviation * white;
    const auto mixed = [&](double a, double b) {
        return one + other > 0 ? (a * one + b * other) / (one + other) : a;
    };
    noise.correlationTime = mixed(first.correlationTime, second.correlationTime);
    noise.squaredCorrelation = mixed(first.squaredCorrelation, second.squaredCorrelation);
    return noise;
}

}  // namespace

ThicknessResult measureThickness(const Points& first, const Points& second, const NoiseModel& firstNoise,
                                 const NoiseModel& secondNoise, const ThicknessSettings& settings) {
    if (first.size() < 2 || second.size() < 2)
        return noThickness("a thickness needs two points of each profile");
    const Vector along = settings.isSquare ? middleDirection(first, second) : Vector(1, 0);
    if (!(along.x > 0))
        return noThickness("the middle line of the profiles is upright");
    const Points one = turned(first, along);
    const Points other = turned(second, along);
    const double widest = std::isnan(settings.widestGap) ? widestStep(other) : settings.widestGap;
    const Distances found = distancesOf(one, other, widest);
    if (found.points.empty())
        return noThickness("the profiles do not overlap");
    std::vector<double> values = coordinates(found.points, /*isOfX=*/false);
    const double sign = meanOf(values) < 0 ? -1 : 1;
    for (double& value : values)
        value *= sign;
    ThicknessResult result;
    result.points = static_cast<int>(values.size());
    const auto least = std::min_element(values.begin(), values.end()) - values.begin();
    const Vector& point = found.first[std::size_t(least)];
    const auto back = [&](double place, double height) {
        return Vector(place * along.x - height * along.y, place * along.y + height * along.x);
    };
    result.leastFirst = back(point.x, point.y);
    result.leastSecond = back(point.x, point.y - sign * values[std::size_t(least)]);
    NoiseModel noise = noiseOfDistance(firstNoise, secondNoise, found.squaredShares);
    noise.deviation *= along.x;  // the noise is one of heights
    const double degrees = noise.lengths(noise.points);
    const std::vector<double> smooth = smoothHeights(values, noise.correlationTime);
    OrderNoise order(smooth, noise);
    order.setMissing(missingShare(found.points));
    const double most = *std::max_element(values.begin(), values.end());
    result.least = {values[std::size_t(least)], order.extreme(/*isGreatest=*/false), degrees, {}};
    result.most = {most, order.extreme(/*isGreatest=*/true), degrees, {}};
    result.mean = {meanOf(values), 0, degrees, {}};
    // The mean of neighbours' mixtures is that of the points of the second profile.
    NoiseModel whole = noiseOfDistance(firstNoise, secondNoise, 1);
    whole.deviation *= along.x;
    result.mean.u = uOfMean(found.points, /*isOfX=*/false, whole, missingShare(found.points));
    result.at = {result.leastFirst.x,
                 deviationOfExtremePlace(coordinates(found.points, /*isOfX=*/true), smooth,
                                         /*isGreatest=*/false, noise) *
                     along.x,
                 degrees,
                 {}};
    constexpr double kMiddlePercent = 50;
    result.median = {percentileOf(values, kMiddlePercent), order.percentile(kMiddlePercent), degrees, {}};
    return result;
}

namespace Internal {

namespace {

void measureThicknessTool(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const RegionPoints& first = input.region(tool.region("first"));
    const RegionPoints& second = input.region(tool.region("second"));
    for (const RegionPoints* region : {&first, &second}) {
        if (region->isEmpty())
            return results.refuse(region->reason);
    }
    const NoiseModel& noise = input.pointNoise();
    const NoiseModel ofSecond = profileNoise(second.points);
    const ThicknessResult thickness =
        measureThickness(first.points, second.points, noise, ofSecond.reason.isEmpty() ? ofSecond : noise,
                         {tool.choice("direction") == 1, tool.number("gap")});
    if (!thickness.reason.isEmpty())
        return results.refuse(thickness.reason);
    give("mean", thickness.mean, results);
    give("min", thickness.least, results);
    give("max", thickness.most, results);
    give("median", thickness.median, results);
    give("at", thickness.at, results);
    warnOfNoise(noise.reason, noise.isShort(thickness.points), results);
    results.markDistance(thickness.leastFirst, thickness.leastSecond, "min");
}

QString thicknessFault(const Tool& tool) {
    return tool.region("first") == tool.region("second")
               ? QString("a thickness needs two regions: this one is nowhere away from itself")
               : QString();
}

}  // namespace

const ToolKind thicknessTool{
    "thickness",
    "distance of two profiles, the second of another scanner: \"R = second x -6..6\"",
    {regionField("first", "", "region of the first profile"),
     regionField("second", "", "region of the second profile"),
     choiceField("direction", "", "direction of the thickness, square to the middle line of both",
                 {"vertical", "square"}),
     numberField("gap", "gap", "widest step that is bridged", std::numeric_limits<double>::quiet_NaN(), 0,
                 1e6, "mm")},
    {{"mean", "mm", "mean"},
     {"min", "mm", "least thickness"},
     {"max", "mm", "greatest thickness"},
     {"median", "mm", "median"},
     {"at", "mm", "x of the least"}},
    measureThicknessTool,
    thicknessFault};

}  // namespace Internal

}  // namespace KvMeasure
