// Filters that remove points by level, by jumps and by straightness. Survivors are moved up in place, in
// order: one pass, no memory.

#include <kvmath/base/count_p.h>
#include <kvmath/core/line.h>
#include <kvmath/profile/correlation_p.h>
#include <kvmath/profile/point_list_p.h>
#include <kvmath/profile/profile.h>

namespace KvMath {

void KvProfile::removeHighLevel(KvLine line) {
    Internal::keepIf(points, [k = line.k, b = line.b](const KvPointXY& p) { return k * p.x + b > p.y; });
}

void KvProfile::removeLowLevel(KvLine line) {
    Internal::keepIf(points, [k = line.k, b = line.b](const KvPointXY& p) { return p.y > k * p.x + b; });
}

void KvProfile::removePointsByYMedian(double tolerance) {
    const int n = Internal::countOf(points);
    if (n == 0)
        return;
    sortByY(KvSortAscending);
    const double upper = static_cast<double>(points.at(n / 2).y);
    const double median = n % 2 != 0 ? upper : (static_cast<double>(points.at(n / 2 - 1).y) + upper) / 2.0;
    const double from = median - tolerance;
    const double to = median + tolerance;
    Internal::keepIf(points, [from, to](const KvPointXY& p) {
        const double y = static_cast<double>(p.y);
        return from < y && y < to;
    });
}

void KvProfile::removeNoise(int window, int maxJumps, float jumpThreshold, float /*unused*/) {
    if (window < 1)
        return;
    const int n = Internal::countOf(points);
    const auto begin = points.begin();
    auto target = begin;
    // By design a block needs a point behind it, so that the last one goes even when complete.
    for (int start = 0; n - start > window; start += window) {
        const auto block = begin + start;
        int jumps = 0;
        for (int t = 0; t < window - 1; ++t)
            jumps += std::abs(block[t].y - block[t + 1].y) > jumpThreshold ? 1 : 0;
        if (jumps > maxJumps)
            continue;
        if (target == block)
            target += window;
        else
            target = std::copy(block, block + window, target);
    }
    points.erase(target, points.end());
}

void KvProfile::removeLineParts(int maxParts, float maxCorrelation, float maxGap, int minPoints) {
    if (maxParts < 2)
        return;
    sort(KvSortAscending, KvSortAscending);
    const auto begin = points.begin();
    auto target = begin;
    auto part = begin;  // first point of the current part
    int parts = 1;
    const int last = Internal::countOf(points) - 1;  // by design the last point belongs to no part
    for (int i = 0; i < last; ++i) {
        const bool gap = KvPointXY::calcDistance(begin[i], begin[i + 1]) > maxGap;
        if (!gap && i + 1 < last)
            continue;
        const auto partEnd = begin + (i + 1);
        const bool keep =
            partEnd - part > minPoints && std::abs(Internal::correlation(part, partEnd)) < maxCorrelation;
        if (keep)
            target = std::copy(part, partEnd, target);
        part = partEnd;
        if (gap && parts++ == maxParts)
            break;  // the rest is dropped
    }
    points.erase(target, points.end());
}

}  // namespace KvMath
