// A groove is a gap under the upper convex hull (monotone chain, A. M. Andrew 1979): the points between two
// neighbouring corners of the hull, parted where the profile comes back to it. It counts from a quarter of
// the depth of the deepest on, among noisy points later. Linear for points in order of x, else a sort. A
// flank is fitted again over the points that its line reaches, on a thinned set until the last round.
#include <kvmeasure/inspection/kinds/groove_gaps_p.h>

#include <kvmeasure/base/double_quad_p.h>
#include <kvmeasure/profiles/fit_start_p.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>

namespace KvMeasure::Internal {

double below(const Vector& p, const Vector& from, const Vector& to) { return DepthBelow(from, to)(p); }

std::vector<Vector> inScanOrder(const std::vector<Vector>& points) {
    std::vector<Vector> result(points);
    result.erase(std::remove_if(result.begin(), result.end(), [](const Vector& p) { return !isFinite(p); }),
                 result.end());
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
        EvenPlaces places(count, pairs);
        for (std::size_t k = 0; k < pairs; ++k) {
            const std::size_t i = places.next();
            bends.push_back(std::fabs(points[i].y - 2 * points[i + lag].y + points[i + 2 * lag].y));
        }
        greatest = std::max(greatest, medianOf(bends) / kOfMedian);
    }
    return greatest;
}

/// Adds points, whose x do not fall, to an upper hull.
void addToHull(const std::vector<Vector>& points, std::size_t i, std::vector<std::size_t>& hull) {
    while (hull.size() > 1 && !isAbove(points[hull.back()], points[hull[hull.size() - 2]], points[i]))
        hull.pop_back();
    hull.push_back(i);
}

/// The number of the highest of some points, of equals the first.
KVMEASURE_INLINE_KERNEL std::size_t highestOf(const Vector* points, std::size_t count) {
    double highest = points[0].y;
    std::size_t i = 0;
    if (count >= kFour) {
        DoubleQuad x;
        DoubleQuad highestOfFour;
        takeFour(points, x, highestOfFour);
        for (i = kFour; i + kFour <= count; i += kFour) {
            DoubleQuad y;
            takeFour(points + i, x, y);
            replaceWhere(y > highestOfFour, y, highestOfFour);
        }
        for (std::size_t k = 0; k < kFour; ++k)
            highest = std::max(highest, highestOfFour[k]);
    }
    for (; i < count; ++i)
        highest = std::max(highest, points[i].y);
    std::size_t at = 0;
    while (points[at].y != highest)
        ++at;
    return at;
}

/// The corners among the first and the last point and the highest of each run of 32 points.
KVMEASURE_INLINE_KERNEL void takeRoughHull(const std::vector<Vector>& points,
                                           std::vector<std::size_t>& hull) {
    constexpr std::size_t kRun = 32;
    hull.push_back(0);
    for (std::size_t from = 1; from + 1 < points.size(); from += kRun) {
        const std::size_t count = std::min(kRun, points.size() - 1 - from);
        addToHull(points, from + highestOf(points.data() + from, count), hull);
    }
    addToHull(points, points.size() - 1, hull);
}

/// Of points whose x do not fall. Corners lie on the rough hull or above it.
KVMEASURE_INLINE_KERNEL void takeHull(const std::vector<Vector>& points, std::vector<std::size_t>& hull) {
    std::vector<std::size_t> rough;
    takeRoughHull(points, rough);
    hull.push_back(0);
    for (std::size_t k = 0; k + 1 < rough.size(); ++k) {
        const Vector from = points[rough[k]];
        const Vector to = points[rough[k + 1]];
        const Vector way(to.x - from.x, to.y - from.y);
        const auto take = [&](std::size_t i) {
            if (way.y * (points[i].x - from.x) <= way.x * (points[i].y - from.y))
                addToHull(points, i, hull);
        };
        std::size_t i = rough[k] + 1;
        for (; i + kFour <= rough[k + 1]; i += kFour) {
            DoubleQuad x;
            DoubleQuad y;
            takeFour(points.data() + i, x, y);
            const DoubleQuadMask isOver = way.y * (x - from.x) <= way.x * (y - from.y);
            if ((isOver[0] | isOver[1] | isOver[2] | isOver[3]) == 0)
                continue;
            for (std::size_t lane = 0; lane < kFour; ++lane)
                take(i + lane);
        }
        for (; i < rough[k + 1]; ++i)
            take(i);
        addToHull(points, rough[k + 1], hull);
    }
}

KVMEASURE_FOR_AVX2 void takeHullForAvx2(const std::vector<Vector>& points, std::vector<std::size_t>& hull) {
    takeHull(points, hull);
}

/// The numbers of the corners of the upper convex hull from left to right.
std::vector<std::size_t> upperHull(const std::vector<Vector>& points) {
    std::vector<std::size_t> hull;
    const bool isInOrder = std::is_sorted(points.begin(), points.end(),
                                          [](const Vector& a, const Vector& b) { return a.x < b.x; });
    if (isInOrder && points.size() > 1) {
        ofThisMachine(takeHullForAvx2, takeHull)(points, hull);
        return hull;
    }
    std::vector<std::size_t> order(points.size());
    std::iota(order.begin(), order.end(), std::size_t(0));
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return points[a].x < points[b].x; });
    for (const std::size_t i : order)
        addToHull(points, i, hull);
    return hull;
}

/// The greatest depth of points from one number to before another; `least` where all lie less deep.
KVMEASURE_INLINE_KERNEL double greatestDepth(const Vector* points, std::size_t count,
                                             const DepthBelow& depthOf, double least) {
    double most = least;
    DoubleQuad mostOf{least, least, least, least};
    std::size_t i = 0;
    for (; i + kFour <= count; i += kFour) {
        DoubleQuad x;
        DoubleQuad y;
        takeFour(points + i, x, y);
        const DoubleQuad depth =
            (depthOf.way().y * (x - depthOf.from().x) - depthOf.way().x * (y - depthOf.from().y)) /
            depthOf.size();
        replaceWhere(depth > mostOf, depth, mostOf);
    }
    for (; i < count; ++i)
        most = std::max(most, depthOf(points[i]));
    for (std::size_t k = 0; k < kFour; ++k)
        most = std::max(most, mostOf[k]);
    return most;
}

KVMEASURE_FOR_AVX2 double greatestDepthForAvx2(const Vector* points, std::size_t count,
                                               const DepthBelow& depthOf, double least) {
    return greatestDepth(points, count, depthOf, least);
}

/// The greatest depth of points between two numbers; 0 where none is deeper.
double depthBetween(const std::vector<Vector>& points, std::size_t from, std::size_t to,
                    const DepthBelow& depthOf) {
    const Vector* const first = points.data() + from + 1;
    const std::size_t count = to > from ? to - from - 1 : 0;
    return ofThisMachine(greatestDepthForAvx2, greatestDepth)(first, count, depthOf, 0);
}

/// Sets the deepest point of a gap.
void findDeepest(const std::vector<Vector>& points, GrooveGap& gap) {
    const DepthBelow depthOf(points[gap.from], points[gap.to]);
    const Vector* const first = points.data() + gap.from + 1;
    const std::size_t count = gap.to > gap.from ? gap.to - gap.from - 1 : 0;
    gap.depth = depthBetween(points, gap.from, gap.to, depthOf);
    const auto at =
        std::find_if(first, first + count, [&](const Vector& p) { return depthOf(p) == gap.depth; });
    if (gap.depth > 0 && at != first + count)
        gap.deepest = gap.from + 1 + std::size_t(at - first);
}

/// Adds the parts of a gap between lands that lie less deep than `ofLand` and what lies deeper than
/// `ofGroove`: noise decides which land is a corner of the hull, and points on one line are none.
void addParts(const std::vector<Vector>& points, GrooveGap gap, double ofLand, double ofGroove,
              std::vector<GrooveGap>& parts) {
    constexpr int kFewestOfLand = 3;
    const DepthBelow depthOf(points[gap.from], points[gap.to]);
    const std::size_t end = gap.to;
    const std::size_t before = landEnd(points, gap.deepest, gap.from, ofLand, depthOf);
    const std::size_t behind = landEnd(points, gap.deepest, gap.to, ofLand, depthOf);
    if (!(std::max(depthBetween(points, gap.from, before, depthOf),
                   depthBetween(points, behind, gap.to, depthOf)) > ofGroove)) {
        parts.push_back(gap);
        return;
    }
    bool isBehindGroove = false, isLand = false;
    double least = ofLand;
    int run = 0;
    const auto add = [&](std::size_t to) {
        GrooveGap part{gap.from, to, gap.from, 0};
        findDeepest(points, part);
        parts.push_back(part);
        gap.from = to;
    };
    for (std::size_t i = gap.from + 1; i < end; ++i) {
        const double depth = depthOf(points[i]);
        run = depth < ofLand ? run + 1 : 0;
        isLand = isLand || run >= kFewestOfLand;
        if (depth < least) {
            least = depth;
            gap.to = i;
        }
        if (!(depth > ofGroove))
            continue;
        if (isBehindGroove && isLand)
            add(gap.to);
        isBehindGroove = true;
        isLand = false;
        least = ofLand;
    }
    add(end);
}

}  // namespace

std::vector<GrooveGap> gapsUnderHull(const std::vector<Vector>& points) {
    const std::vector<std::size_t> hull = upperHull(points);
    std::vector<GrooveGap> gaps;
    for (std::size_t k = 0; k + 1 < hull.size(); ++k) {
        GrooveGap gap{hull[k], hull[k + 1], hull[k], 0};
        findDeepest(points, gap);
        gaps.push_back(gap);
    }
    double most = 0;
    for (const GrooveGap& gap : gaps)
        most = std::max(most, gap.depth);
    // Between noisy points the hull has gaps, too: from its highest to its lowest points.
    constexpr double kLeastShare = 0.25;
    constexpr double kMostShare = 0.6;
    constexpr double kDeviations = 8;
    const double noise = roughness(points);
    const double least = std::max(kLeastShare * most, std::min(kDeviations * noise, kMostShare * most));
    const auto isShallow = [&](const GrooveGap& gap) { return !(gap.depth > least); };
    gaps.erase(std::remove_if(gaps.begin(), gaps.end(), isShallow), gaps.end());
    double farthest = 0;
    for (const std::size_t corner : hull)
        farthest = std::max({farthest, std::fabs(points[corner].x), std::fabs(points[corner].y)});
    const double rounding = 4 * double(std::numeric_limits<float>::epsilon()) * farthest;
    const double ofLand = std::max(std::min(kDeviations * noise, least / 2), rounding);
    std::vector<GrooveGap> parts;
    for (const GrooveGap& gap : gaps)
        addParts(points, gap, ofLand, least, parts);
    parts.erase(std::remove_if(parts.begin(), parts.end(), isShallow), parts.end());
    for (GrooveGap& part : parts) {
        const DepthBelow depthOf(points[part.from], points[part.to]);
        part.landBefore = landEnd(points, part.deepest, part.from, ofLand, depthOf);
        part.landBehind = landEnd(points, part.deepest, part.to, ofLand, depthOf);
    }
    return parts;
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
    const double slope = line != nullptr ? line->along.y / line->along.x : 0;
    const auto isDeep = [&](const Vector& p) {
        const double height = line != nullptr ? line->centre.y + (p.x - line->centre.x) * slope : p.y;
        const double depth = depthOf({p.x, height});
        return depth >= least && depth <= most;
    };
    const auto first = points.begin() + std::ptrdiff_t(from);
    const auto end = points.begin() + std::ptrdiff_t(to) + 1;
    if (line == nullptr ||
        !std::is_sorted(first, end, [](const Vector& a, const Vector& b) { return a.x < b.x; })) {
        taken.reserve(to - from + 1);
        std::copy_if(first, end, std::back_inserter(taken), isDeep);
        return;
    }
    // Over x the depth of the line goes one way: what is taken lies together.
    const auto depthAt = [&](const Vector& p) {
        return depthOf({p.x, line->centre.y + (p.x - line->centre.x) * slope});
    };
    const bool falls = depthAt(*(end - 1)) < depthAt(*first);
    const auto begin = std::partition_point(
        first, end, [&](const Vector& p) { return falls ? depthAt(p) > most : depthAt(p) < least; });
    taken.assign(begin, std::partition_point(begin, end, isDeep));
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
