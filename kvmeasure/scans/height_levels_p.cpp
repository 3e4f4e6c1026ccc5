// A histogram with at most 512 bands and at least 20 points in each on average: in a band of a smooth
// distribution chance alone then leaves less than a tenth of them once in two million times.

#include <kvmeasure/base/error.h>
#include <kvmeasure/scans/height_levels_p.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>

#include <QtCore/QStringList>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

namespace KvMeasure {

using KvMath::KvPointXY;
using KvMath::KvProfileZ;
using KvMath::KvProfileZSet;

namespace {

constexpr std::size_t kMostBands = 512;
constexpr std::size_t kFewestBands = 8;
constexpr std::size_t kPointsPerBand = 20;
constexpr double kFair = 0.03;  // of all points, on either side of a gap

double quantile(std::vector<float>& heights, std::size_t rank) {
    const auto at = heights.begin() + std::ptrdiff_t(rank);
    std::nth_element(heights.begin(), at, heights.end());
    return double(*at);
}

/// Counts of heights between the ends that all but a few in a thousand lie between.
struct Histogram {
    double low = 0, high = 0;
    std::vector<double> counts;

    explicit Histogram(std::vector<float>& heights)
        : counts(std::clamp(heights.size() / kPointsPerBand, kFewestBands, kMostBands)) {
        const std::size_t few = heights.size() / 500;
        low = quantile(heights, few);
        high = quantile(heights, heights.size() - 1 - few);
        const auto bands = double(counts.size());
        for (const float height : heights) {
            const double share = (double(height) - low) / (high - low);
            if (share >= 0 && share <= 1)  // false when all heights are one
                ++counts[std::min(std::size_t(share * bands), counts.size() - 1)];
        }
    }
    double edge(std::size_t band) const { return low + (high - low) * double(band) / double(counts.size()); }
};

/// The gaps that count, from below; with hardly any points between two of them, the wider one alone.
QList<HeightLevels::Gap> findGaps(const Histogram& histogram, double leastGap) {
    constexpr double kHardly = 0.1;  // of the mean of all bands
    const std::vector<double>& counts = histogram.counts;
    const double total = std::accumulate(counts.begin(), counts.end(), 0.0);
    const double few = kHardly * total / double(counts.size());
    QList<HeightLevels::Gap> gaps;
    double below = 0;
    double belowFirst = 0, belowLast = 0;  // points below the first band of a gap: of this, of the last one
    std::size_t first = 0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        below += counts[i];
        if (counts[i] >= few) {
            first = i + 1;
            belowFirst = below;
            continue;
        }
        const HeightLevels::Gap gap{histogram.edge(first), histogram.edge(i + 1)};
        if (gap.width() < leastGap || below < kFair * total || total - below < kFair * total)
            continue;
        if (gaps.isEmpty() || belowFirst - belowLast >= kFair * total)
            gaps.append(gap);
        else if (gap.width() > gaps.last().width())
            gaps.last() = gap;
        belowLast = below;
    }
    return gaps;
}

/// Neighbours on different sides of the level, as a share of what they would be in any order.
double mixture(const KvProfileZSet& stack, const HeightLevels& found) {
    double pairs = 0;
    double changes = 0;
    for (const KvProfileZ& profile : stack.profiles) {
        for (int i = 1; i < profile.points.size(); ++i) {
            const bool before = double(profile.points[i - 1].y) > found.level;
            changes += before != (double(profile.points[i].y) > found.level) ? 1 : 0;
            ++pairs;
        }
    }
    const double share = double(found.above) / double(found.above + found.below);
    return pairs > 0 ? changes / (pairs * 2 * share * (1 - share)) : 0;
}

QString number(double value) { return QString::number(value, 'g', 5); }

}  // namespace

/// "the heights are of 3 kinds, parted by gaps from ... to ... mm; say which is meant: --level 5 or --level
/// 25"
QString HeightLevels::severalText() const {
    QStringList ranges, options;
    for (const Gap& gap : gaps) {
        ranges.append(filledIn("from %1 to %2", number(gap.from), number(gap.to)));
        options.append("\1level\2 " + number(gap.middle()));
    }
    return QString("the heights are of %1 kinds, with gaps ").arg(gaps.size() + 1) + ranges.join(" and ") +
           " mm; try " + options.join(" or ");
}

QString HeightLevels::explanation() const {
    const auto percent = [this](qint64 count) {
        return QString::number(100.0 * double(count) / double(below + above), 'f', 1) + " %";
    };
    switch (outcome) {
    case Found:
        return QString("%1 of the points lie about %2 mm and %3 about %4 mm, hardly any from %5 to %6 mm")
            .arg(percent(below), number(medianBelow), percent(above), number(medianAbove),
                 number(gaps.first().from), number(gaps.first().to));
    case TooFewPoints:
        return QString("the scan has too few points to tell two heights apart");
    case NoGap:
        return QString("the heights, from %1 to %2 mm, have no gap of %3 mm or more with at least 3 % of the "
                       "points on either side")
            .arg(number(lowest), number(highest), number(leastGap));
    case Several:
        return severalText();
    case Mixed:
        return QString("points about %1 mm and about %2 mm lie in between each other, as in noise")
            .arg(number(medianBelow), number(medianAbove));
    }
    return {};
}

HeightLevels findHeightLevels(const KvProfileZSet& stack, double step) {
    constexpr double kLeastShare = 0.15;  // of the range of heights
    constexpr double kMostMixed = 0.5;
    HeightLevels found;
    std::vector<float> heights;
    for (const KvProfileZ& profile : stack.profiles) {
        for (const KvPointXY& p : profile.points)
            heights.push_back(p.y);
    }
    if (heights.empty())
        return found;
    const auto ends = std::minmax_element(heights.begin(), heights.end());
    found.lowest = double(*ends.first);
    found.highest = double(*ends.second);
    if (heights.size() < kFewestBands * kPointsPerBand)
        return found;
    const Histogram histogram(heights);
    found.leastGap = std::max(step, kLeastShare * (histogram.high - histogram.low));
    found.outcome = HeightLevels::NoGap;
    found.gaps = findGaps(histogram, found.leastGap);
    if (found.gaps.isEmpty())
        return found;
    found.outcome = HeightLevels::Several;
    if (found.gaps.size() > 1)
        return found;
    found.level = found.gaps.first().middle();
    const auto isBelow = [&found](float height) { return !(double(height) > found.level); };
    const auto middle = std::partition(heights.begin(), heights.end(), isBelow);
    std::vector<float> upper(middle, heights.end());
    heights.erase(middle, heights.end());
    found.below = qint64(heights.size());
    found.above = qint64(upper.size());
    found.medianBelow = quantile(heights, heights.size() / 2);
    found.medianAbove = quantile(upper, upper.size() / 2);
    found.outcome = mixture(stack, found) <= kMostMixed ? HeightLevels::Found : HeightLevels::Mixed;
    return found;
}

}  // namespace KvMeasure
