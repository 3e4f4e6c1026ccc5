// A groove is a gap under the upper convex hull (monotone chain, A. M. Andrew 1979): the points between two
// neighbouring corners of the hull. It counts from a quarter of the depth of the deepest on, among noisy
// points later. Linear for points in order of x, else a sort. A flank is fitted again over the points that
// its line reaches, on a thinned set until the last round.
#include <kvmeasure/inspection/kinds/groove_gaps_p.h>

#include <kvmeasure/profiles/fit_start_p.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace KvMeasure::Internal {

double below(const Vector& p, const Vector& from, const Vector& to) { return DepthBelow(from, to)(p); }

std::vector<Vector> inScanOrder(const std::vector<Vector>& points) {
    std::vector<Vector> result;
    result.reserve(points.size());
    for (const Vector& p : points) {
        if (std::isfinite(p.x) && std::isfinite(p.y))
            result.push_back(p);
    }
    if (!result.empty() && result.back().x < result.front().x)
        std::reverse(result.begin(), result.end());
    return result;
}

namespace {

/// To the left of the way from one point to another.
bool isAbove(const Vector& p, const Vector& from, const Vector& to) {
    return (to.y - from.y) * (p.x - from.x) - (to.x - from.x) * (p.y - from.y) < 0;
}

/// The standard deviation of the heights about straight pieces, by second differences: those of near
/// neighbours alone do not see correlated noise.
double roughness(const std::vector<Vector>& points) {
    constexpr double kOfMedian = 0.6745 * 2.449489742783178;  // of normal noise, whose weights are 1, -2, 1
    constexpr std::size_t kLeastShare = 16;                   // lags span an eighth of the points
    double greatest = 0;
    std::vector<double> bends;
    for (const std::size_t lag : {std::size_t{1}, std::size_t{4}, std::size_t{10}}) {
        if (points.size() < kLeastShare * lag)
            break;
        const std::size_t count = points.size() - 2 * lag;
        const std::size_t pairs = std::min(count, kMostSampled);
        bends.clear();
        for (std::size_t k = 0; k < pairs; ++k) {
            const std::size_t i = k * count / pairs;
            bends.push_back(std::fabs(points[i].y - 2 * points[i + lag].y + points[i + 2 * lag].y));
        }
        greatest = std::max(greatest, medianOf(bends) / kOfMedian);
    }
    return greatest;
}

/// The numbers of the corners of the upper convex hull from left to right.
std::vector<std::size_t> upperHull(const std::vector<Vector>& points) {
    std::vector<std::size_t> hull;
    const auto add = [&](std::size_t i) {
        while (hull.size() > 1 && !isAbove(points[hull.back()], points[hull[hull.size() - 2]], points[i]))
            hull.pop_back();
        hull.push_back(i);
    };
    if (std::is_sorted(points.begin(), points.end(),
                       [](const Vector& a, const Vector& b) { return a.x < b.x; })) {
        for (std::size_t i = 0; i < points.size(); ++i)
            add(i);
        return hull;
    }
    std::vector<std::size_t> order(points.size());
    std::iota(order.begin(), order.end(), std::size_t(0));
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return points[a].x < points[b].x; });
    for (const std::size_t i : order)
        add(i);
    return hull;
}

}  // namespace

std::vector<GrooveGap> gapsUnderHull(const std::vector<Vector>& points) {
    const std::vector<std::size_t> hull = upperHull(points);
    std::vector<GrooveGap> gaps;
    for (std::size_t k = 0; k + 1 < hull.size(); ++k) {
        GrooveGap gap{hull[k], hull[k + 1], hull[k], 0};
        const DepthBelow depthOf(points[gap.from], points[gap.to]);
        for (std::size_t i = gap.from + 1; i < gap.to; ++i) {
            const double depth = depthOf(points[i]);
            if (depth > gap.depth) {
                gap.depth = depth;
                gap.deepest = i;
            }
        }
        gaps.push_back(gap);
    }
    double most = 0;
    for (const GrooveGap& gap : gaps)
        most = std::max(most, gap.depth);
    // Between noisy points the hull has gaps, too: from its highest to its lowest points.
    constexpr double kLeastShare = 0.25;
    constexpr double kMostShare = 0.6;
    constexpr double kDeviations = 8;
    const double least =
        std::max(kLeastShare * most, std::min(kDeviations * roughness(points), kMostShare * most));
    gaps.erase(
        std::remove_if(gaps.begin(), gaps.end(), [&](const GrooveGap& gap) { return !(gap.depth > least); }),
        gaps.end());
    return gaps;
}

std::vector<Vector> between(const std::vector<Vector>& points, std::size_t from, std::size_t to,
                            const Vector& left, const Vector& right, double least, double most) {
    std::vector<Vector> result;
    const DepthBelow depthOf(left, right);
    for (std::size_t i = std::min(from, to); i <= std::max(from, to); ++i) {
        const double depth = depthOf(points[i]);
        if (depth >= least && depth <= most)
            result.push_back(points[i]);
    }
    return result;
}

namespace {

bool areSame(const std::vector<Vector>& some, const std::vector<Vector>& others) {
    return std::equal(some.begin(), some.end(), others.begin(), others.end(),
                      [](const Vector& a, const Vector& b) { return a.x == b.x && a.y == b.y; });
}

/// The points of a range whose depth lies between limits; with a line, the depth of the line at their x.
void takeDeep(const std::vector<Vector>& points, const PointRange& range, const LineFit* line,
              const DepthBelow& depthOf, double least, double most, std::vector<Vector>& taken) {
    const auto [from, to] = std::minmax(range.first, range.second);
    taken.clear();
    taken.reserve(to - from + 1);
    const double slope = line != nullptr ? line->along.y / line->along.x : 0;
    for (std::size_t i = from; i <= to; ++i) {
        const Vector& p = points[i];
        const double height = line != nullptr ? line->centre.y + (p.x - line->centre.x) * slope : p.y;
        const double depth = depthOf({p.x, height});
        if (depth >= least && depth <= most)
            taken.push_back(p);
    }
}

}  // namespace

LineFit fitFlank(const std::vector<Vector>& points, const PointRange& wide, const PointRange& narrow,
                 const DepthBelow& depthOf, double least, double most, const LineFit* start, bool isRough) {
    constexpr std::size_t kFewest = 3;
    const bool isStarted = start != nullptr && start->isFound() && start->isInHeight;
    const int rounds = isRough ? 2 : 3;
    LineFit line;
    line.reason = "fewer than three points on a flank";
    if (isStarted)
        line = *start;
    std::vector<Vector> fitted;
    std::vector<Vector> flank;
    bool isThin = isStarted;
    for (int round = isStarted ? rounds - 1 : 0; round < rounds && (round == 0 || line.isInHeight); ++round) {
        takeDeep(points, round == 0 ? narrow : wide, round == 0 ? nullptr : &line, depthOf, least, most,
                 flank);
        if (flank.size() < kFewest || areSame(flank, fitted))
            break;
        isThin = flank.size() > kEnoughForRough && (isRough || round + 1 < rounds);
        line = fitLine(isThin ? thinned(flank, 0, flank.size()) : flank);
        if (!line.isFound())
            return line;
        fitted.swap(flank);
    }
    if (isThin && fitted.empty())  // the points that the start leads to are too few
        return fitFlank(points, wide, narrow, depthOf, least, most, nullptr, isRough);
    return isThin && !isRough ? fitLine(fitted) : line;
}

double depthOfFive(const std::vector<Vector>& points, std::size_t from, std::size_t to, const Vector& left,
                   const Vector& right) {
    constexpr std::size_t kFive = 5;
    const DepthBelow depthOf(left, right);
    std::array<double, kFive> last{};
    double greatest = 0;
    for (std::size_t i = from; i < to; ++i) {
        last[i % kFive] = depthOf(points[i]);
        if (i + 1 >= from + kFive)
            greatest = std::max(greatest, (last[0] + last[1] + last[2] + last[3] + last[4]) / double(kFive));
    }
    return greatest;
}

}  // namespace KvMeasure::Internal
