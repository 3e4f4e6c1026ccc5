#pragma once
// Block operations on the points of a profile; iterators walk the points in place.

#include <kvmath/base/count_p.h>
#include <kvmath/core/list_of_size_p.h>
#include <kvmath/core/point.h>

#include <QtCore/QList>

#include <algorithm>
#include <cmath>

namespace KvMath::Internal {

using PointIterator = QList<KvPointXY>::iterator;
using ConstPointIterator = QList<KvPointXY>::const_iterator;

/// Shortens the list to `count` points; no effect when it is that short.
inline void truncateTo(QList<KvPointXY>& points, int count) {
    if (count < points.size())
        points.erase(points.begin() + count, points.end());
}

/// Keeps, in order, the points that satisfy the condition and returns the number removed. One pass; a list
/// that keeps everything is not detached.
template <class Condition>
int keepIf(QList<KvPointXY>& points, Condition keep) {
    const auto first = std::find_if_not(points.constBegin(), points.constEnd(), keep);
    if (first == points.constEnd())
        return 0;
    const int before = countOf(points);
    const auto untouched = first - points.constBegin();
    const auto end = std::remove_if(points.begin() + untouched, points.end(),
                                    [&keep](const KvPointXY& p) { return !keep(p); });
    points.erase(end, points.end());
    return before - countOf(points);
}

/// n points of any value.
inline QList<KvPointXY> pointListOfSize(int n) { return listOfSize(n, KvPointXY(0.0F, 0.0F)); }

inline bool isFinite(const KvPointXY& p) { return std::isfinite(p.x) && std::isfinite(p.y); }

}  // namespace KvMath::Internal
