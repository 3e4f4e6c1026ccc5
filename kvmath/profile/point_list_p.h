#pragma once
// Block operations on the points of a profile. QList 5 has no resize, and an append per point is a call into
// the library per point; iterators walk the points in place.

#include <kvmath/core/point.h>

#include <QtCore/QList>

#include <algorithm>
#include <cmath>

namespace KvMath::Internal {

using PointIterator = QList<KvPointXY>::iterator;
using ConstPointIterator = QList<KvPointXY>::const_iterator;

/// A list of n points of any value, made with one allocation and log n block copies: doubled and, per binary
/// digit, lengthened by one. Empty for n < 1.
inline QList<KvPointXY> pointListOfSize(int n) {
    QList<KvPointXY> list;
    if (n < 1)
        return list;
    list.reserve(n);
    list.append(KvPointXY(0.0F, 0.0F));
    int digit = 0;
    while ((n >> digit) > 1)
        ++digit;
    while (--digit >= 0) {
        list.append(list);
        if (((n >> digit) & 1) != 0)
            list.append(KvPointXY(0.0F, 0.0F));
    }
    return list;
}

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
    const int before = points.size();
    const int untouched = static_cast<int>(first - points.constBegin());
    const auto end = std::remove_if(points.begin() + untouched, points.end(),
                                    [&keep](const KvPointXY& p) { return !keep(p); });
    truncateTo(points, static_cast<int>(end - points.begin()));
    return before - points.size();
}

inline bool isFinite(const KvPointXY& p) { return std::isfinite(p.x) && std::isfinite(p.y); }

}  // namespace KvMath::Internal
