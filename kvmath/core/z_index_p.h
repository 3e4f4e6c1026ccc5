#pragma once
// The index of runs of equal z, and what it says about the place of a slab in the cloud.

#include <QtCore/QList>
#include <QtCore/QMap>

#include <algorithm>
#include <cmath>

namespace KvMath::Internal {

/// The first run's z -> 0, every later run's z -> index of the last point before it. The asymmetry is
/// deliberate: either value is a place from which a walk upwards meets the whole run. Unset z gets no entry
/// and ends a run.
template <class Point>
QMap<float, int> zIndexOf(const QList<Point>& points) {
    QMap<float, int> index;
    if (points.isEmpty())
        return index;
    float current = points.first().z;
    if (!std::isnan(current))
        index.insert(current, 0);
    for (int i = 1; i < points.size(); ++i) {
        const float z = points.at(i).z;
        if (z == current)
            continue;
        current = z;
        if (!std::isnan(z))
            index.insert(index.cend(), z, i - 1);  // the hint makes an ascending cloud linear
    }
    return index;
}

struct IndexWindow {
    int first, last;  ///< both included; nothing when first > last
};

/// Whether z falls from the first set one to the last: such a cloud counts as sorted downwards.
template <class Point>
bool fallsAlongZ(const QList<Point>& points) {
    const auto isSet = [](const Point& p) { return !std::isnan(p.z); };
    const auto first = std::find_if(points.cbegin(), points.cend(), isSet);
    const auto last = std::find_if(points.crbegin(), points.crend(), isSet);
    return first != points.cend() && first->z > last->z;
}

/// The part of a cloud of `size` points sorted by z in which zmin <= z <= zmax can hold, NaN being no limit:
/// from the entry of the first key at or above zmin (none: of the last key) to that of the first key above
/// zmax (none: to the last point); on a cloud sorted downwards the mirror image. Clamped, so that a stale
/// index is harmless.
inline IndexWindow windowOfZ(const QMap<float, int>& index, int size, bool falling, float zmin, float zmax) {
    IndexWindow window{0, size - 1};
    if (index.isEmpty())
        return window;
    if (!falling) {
        if (!std::isnan(zmin)) {
            const auto run = index.lowerBound(zmin);
            window.first = run == index.cend() ? index.last() : run.value();
        }
        if (!std::isnan(zmax)) {
            const auto run = index.upperBound(zmax);
            window.last = run == index.cend() ? size - 1 : run.value();
        }
    } else {
        if (!std::isnan(zmax)) {
            const auto above = index.upperBound(zmax);
            window.first = above == index.cbegin() ? index.first() : std::prev(above).value();
        }
        if (!std::isnan(zmin)) {
            const auto run = index.lowerBound(zmin);
            window.last = run == index.cbegin() ? size - 1 : std::prev(run).value();
        }
    }
    window.first = std::clamp(window.first, 0, size - 1);
    window.last = std::min(window.last, size - 1);
    return window;
}

}  // namespace KvMath::Internal
