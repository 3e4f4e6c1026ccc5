// edge: the place of a step of height. The steps of all places come from running sums, in one pass.

#include <kvmeasure/inspection/kinds/edge.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/kinds/wall.h>
#include <kvmeasure/inspection/tool_input.h>
#include <kvmeasure/inspection/tool_results.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMeasure {

namespace {

/// Means of heights over runs of points.
class HeightMeans {
public:
    explicit HeightMeans(const std::vector<Vector>& points) : zero_(points.front().y) {
        for (const Vector& point : points)
            sums_.push_back(sums_.back() + (point.y - zero_));
    }
    double mean(std::size_t from, std::size_t to) const {
        return zero_ + (sums_[to] - sums_[from]) / double(to - from);
    }

private:
    double zero_;
    std::vector<double> sums_{0};
};

/// A step between the points `behind - 1` and `behind`.
struct Step {
    std::size_t behind = 0;
    double low = 0, high = 0;  ///< mean heights before and behind

    double height() const { return high - low; }
};

bool hasSense(double height, EdgeSettings::Sense sense) {
    return sense == EdgeSettings::Any || (sense == EdgeSettings::Rising) == (height > 0);
}

/// The steepest place of a run of steps that are high enough.
std::vector<Step> edgesOf(const std::vector<Vector>& points, const EdgeSettings& settings) {
    const HeightMeans means(points);
    const auto window = std::size_t(std::clamp(settings.window, 1, 1000));
    std::vector<Step> edges;
    bool isInRun = false;
    for (std::size_t i = 1; i < points.size(); ++i) {
        const std::size_t width = std::min({window, i, points.size() - i});
        const Step step{i, means.mean(i - width, i), means.mean(i, i + width)};
        const bool isEdge =
            std::fabs(step.height()) >= settings.leastHeight && hasSense(step.height(), settings.sense);
        const bool isSameRun = isInRun && isEdge && (step.height() > 0) == (edges.back().height() > 0);
        if (isEdge && !isSameRun)
            edges.push_back(step);
        else if (isSameRun && std::fabs(step.height()) > std::fabs(edges.back().height()))
            edges.back() = step;
        isInRun = isEdge;
    }
    return edges;
}

/// The number of the point behind which the points around a step pass a height: the crossing nearest to the
/// step; 0: none within the window.
std::size_t crossing(const std::vector<Vector>& points, std::size_t behind, std::size_t window,
                     double height) {
    for (std::size_t away = 0; away <= window; ++away) {
        for (const std::size_t i : {behind - std::min(away, behind), behind + away}) {
            if (i > 0 && i < points.size() && (points[i - 1].y - height) * (points[i].y - height) <= 0 &&
                points[i].y != points[i - 1].y)
                return i;
        }
    }
    return 0;
}

/// Takes both means off the flank: from where the profile leaves the tenth of the step at its ends, and an
/// eighth of the way between these further. False where the flank is wider than the window.
bool leaveFlank(const std::vector<Vector>& points, const HeightMeans& means, std::size_t window, Step& step) {
    constexpr int kRounds = 4;
    constexpr double kEnd = 0.1;
    constexpr std::size_t kPart = 8;
    const std::size_t behind = step.behind;
    for (int round = 0; round < kRounds; ++round) {
        const std::size_t first = crossing(points, behind, window, step.low + kEnd * step.height());
        const std::size_t last = crossing(points, behind, window, step.high - kEnd * step.height());
        if (first == 0 || last == 0 || last < first)
            return false;
        const std::size_t more = last == first ? 0 : (last - first + kPart - 1) / kPart;
        if (first < more + window || last + more + window > points.size())
            return last == first;
        const Step next{behind, means.mean(first - more - window, first - more),
                        means.mean(last + more, last + more + window)};
        if (std::fabs(next.height()) <= std::fabs(step.height()))
            break;
        step.low = next.low;
        step.high = next.high;
    }
    return true;
}

/// Where the points around a step pass half of it.
EdgeResult placeOf(const std::vector<Vector>& points, Step step, std::size_t window) {
    const bool isOffFlank = leaveFlank(points, HeightMeans(points), window, step);
    const double half = (step.low + step.high) / 2;
    const std::size_t crossed = crossing(points, step.behind, window, half);
    const bool isCrossed = crossed != 0;
    const std::size_t best = isCrossed ? crossed : step.behind;
    const Vector& before = points[best - 1];
    const Vector& behind = points[best];
    const double share = isCrossed ? (half - before.y) / (behind.y - before.y) : 1.0 / 2;
    EdgeResult edge;
    edge.at = Vector(before.x + share * (behind.x - before.x), half);
    edge.height = step.height();
    edge.pitch = std::fabs(behind.x - before.x);
    edge.wall = wallShare(points, best);
    edge.slope = (behind.y - before.y) / (behind.x - before.x);
    edge.isOffFlank = isOffFlank;
    edge.window = static_cast<int>(std::min({window, step.behind, points.size() - step.behind}));
    return edge;
}

}  // namespace

EdgeResult findEdge(const std::vector<Vector>& points, const EdgeSettings& settings) {
    EdgeResult none;
    none.reason = "an edge needs two points";
    if (points.size() < 2)
        return none;
    const std::vector<Step> edges = edgesOf(points, settings);
    none.reason = filledIn("no step of %1 mm or more", settings.leastHeight);
    if (edges.empty())
        return none;
    const auto isLower = [](const Step& a, const Step& b) {
        return std::fabs(a.height()) < std::fabs(b.height());
    };
    const Step& chosen = settings.place == EdgeSettings::First ? edges.front()
                         : settings.place == EdgeSettings::Last
                             ? edges.back()
                             : *std::max_element(edges.begin(), edges.end(), isLower);
    return placeOf(points, chosen, std::size_t(std::clamp(settings.window, 1, 1000)));
}

namespace Internal {

namespace {

void measureEdge(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const RegionPoints& region = input.region(tool.region("region"));
    if (region.isEmpty())
        return results.refuse(region.reason);
    EdgeSettings settings;
    settings.leastHeight = tool.number("least");
    settings.window = static_cast<int>(tool.number("window"));
    settings.sense = static_cast<EdgeSettings::Sense>(tool.choice("sense"));
    settings.place = static_cast<EdgeSettings::Place>(tool.choice("which"));
    const EdgeResult edge = findEdge(region.points, settings);
    if (!edge.isFound())
        return results.refuse(edge.reason);
    // A wall lies anywhere between its two points; a flank is crossed where its noise and that of half the
    // step put it.
    const NoiseModel& noise = input.pointNoise();
    const double degrees = noise.lengths(noise.points);
    const double ofMean = noise.deviation * std::sqrt(noise.correlationTime / edge.window);
    const double half = std::sqrt(1.0 / 2);
    const double onFlank = std::hypot(noise.deviation, half * ofMean) / std::fabs(edge.slope);
    results.add("x", edge.at.x,
                edge.wall > 0 ? std::hypot(edge.wall * edge.pitch / kRootOf12, (1 - edge.wall) * onFlank)
                              : onFlank,
                edge.wall < 1 ? degrees : std::numeric_limits<double>::infinity());
    // On a flank the steepest place is known to a point, which moves the means.
    const double ofPlace =
        edge.isOffFlank ? 0 : (1 - edge.wall) * std::fabs(edge.height) / (2 * edge.window) / kRootOf12;
    results.add("z", edge.at.y, std::hypot(half * ofMean, ofPlace), degrees);
    results.add("height", edge.height, ofMean / half, degrees);
    warnOfNoise(noise.reason, /*isShort=*/false, results);
    results.markPoint(edge.at, tool.name);
}

}  // namespace

const ToolKind edgeTool{
    "edge",
    "where the height steps by at least so much",
    {regionField("region", "in", "region"),
     numberField("least", "least", "least height of the step", EdgeSettings().leastHeight, 1e-6, 1e6, "mm"),
     numberField("window", "window", "points on each side whose mean counts", EdgeSettings().window, 1, 1000,
                 ""),
     choiceField("sense", "", "sense of the step", {"any", "rising", "falling"}),
     choiceField("which", "", "which of several", {"best", "first", "last"})},
    {{"x", "mm", "x at half height"},
     {"z", "mm", "half of both heights"},
     {"height", "mm", "height of the step, positive where it rises"}},
    measureEdge};

}  // namespace Internal

}  // namespace KvMeasure
