#pragma once
// Cloud operations word by word, slow: the yardstick of the tests and benchmarks.

#include <kvmath/core/point_cloud.h>

#include <QtCore/QtEndian>

#include <algorithm>
#include <cmath>
#include <utility>

namespace TestSupport::Literal {

using Cloud = KvMath::KvPointCloud<KvMath::KvPointXYZ>;

/// Exchange of neighbours from the end towards the front until a pass changes nothing.
template <class T, class Key>
void bubbleSort(QList<T>& points, int from, int to, Key key, bool ascending) {
    for (bool swapped = true; swapped;) {
        swapped = false;
        for (int i = to - 2; i >= from; --i) {
            const float a = key(points.at(i));
            const float b = key(points.at(i + 1));
            if (ascending ? a > b : a < b) {
                std::swap(points[i], points[i + 1]);
                swapped = true;
            }
        }
    }
}

template <class T>
int removeIndeces(QList<T>& points, QList<int> indices) {
    std::sort(indices.begin(), indices.end());
    int count = 0;
    for (int i = static_cast<int>(indices.size()) - 1; i >= 0 && !(points.isEmpty() && count == 0); --i) {
        if (indices.at(i) >= points.size())
            continue;
        ++count;
        if (indices.at(i) >= 0)
            points.removeAt(indices.at(i));
    }
    return count;
}

/// One axis of the scan: the next lower face; the axis ends where adding changes nothing.
inline bool advance(float& x, float step) {
    const float next = x + step;
    const bool moved = next != x;
    x = next;
    return moved;
}

inline int sparseScan(Cloud& cloud, float step, float cell, int minCount, bool balls) {
    if (std::isnan(cloud.minX + cloud.maxX + cloud.minY + cloud.maxY + cloud.minZ + cloud.maxZ))
        cloud.calcRange();
    QList<int> found;
    int removed = 0;
    bool goX = true;
    for (float x = cloud.minX; goX && x < cloud.maxX; goX = advance(x, step)) {
        bool goY = true;
        for (float y = cloud.minY; goY && y < cloud.maxY; goY = advance(y, step)) {
            bool goZ = true;
            for (float z = cloud.minZ; goZ && z < cloud.maxZ; goZ = advance(z, step)) {
                const float h = cell / 2;
                if (balls)
                    cloud.getRangeIndeces(found, KvMath::KvPointXYZ(x + h, y + h, z + h), cell);
                else
                    cloud.getRangeIndeces(found, x, x + cell, y, y + cell, z, z + cell);
                if (found.size() < minCount)
                    removed += removeIndeces(cloud.points, found);
            }
        }
    }
    if (removed > 0)
        cloud.zIndexBuilt = false;
    return removed;
}

inline int cubicFilter(Cloud& cloud, float cell, int minCount) {
    return cloud.points.size() < minCount ? 0 : sparseScan(cloud, cell, cell, minCount, false);
}

inline int cubicFilter2(Cloud& cloud, float cell, int minCount, bool spherical) {
    if (cloud.points.size() < 2)
        return 0;
    const float step = spherical ? static_cast<float>(static_cast<double>(cell) / 1.41421) : cell;
    return sparseScan(cloud, step, cell, minCount, spherical);
}

inline void clearEdgeEffect(Cloud& cloud, float step) {
    cloud.calcRange();
    const float minZ = cloud.minZ;
    const float none = std::nanf("");
    const float depth = (cloud.maxZ - minZ) / step;
    const int slices = std::isnan(depth) ? 0 : static_cast<int>(depth);
    for (int i = 0; i < slices && !cloud.isEmpty(); ++i) {
        Cloud slab;
        const float from = minZ + static_cast<float>(i) * step;
        cloud.extract(slab, none, none, none, none, from, from + step, false);
        const auto& p = slab.points;
        const int size = static_cast<int>(p.size());
        int top = -1;
        for (int k = 0; k < size; ++k)
            if (!std::isnan(p.at(k).y) && (top < 0 || p.at(k).y >= p.at(top).y))
                top = k;
        int left = -1;
        for (int k = 0; k < top; ++k)
            if (!std::isnan(p.at(k).y) && (left < 0 || p.at(k).y <= p.at(left).y))
                left = k;
        int right = -1;
        for (int k = size - 1; top >= 0 && k > top; --k)
            if (!std::isnan(p.at(k).y) && (right < 0 || p.at(k).y < p.at(right).y))
                right = k;
        const auto trimTo = [&](const KvMath::KvPointXYZ& q) { cloud.trim(q.x, q.x, q.y, q.y, q.z, q.z); };
        for (int k = 0; k < left; ++k)
            trimTo(p.at(k));
        for (int k = size - 1; right >= 0 && k > right; --k)
            trimTo(p.at(k));
    }
}

/// Number of points of an XYZ record, field by field, or -1; complete points stay.
inline int readXYZ(QFile& file, Cloud& cloud) {
    const qint64 start = file.pos();
    const auto field = [&file](auto& value) {
        char bytes[sizeof value];
        if (file.read(bytes, sizeof value) != qint64(sizeof value))
            return false;
        value = qFromLittleEndian<std::decay_t<decltype(value)>>(bytes);
        return true;
    };
    cloud.clear();
    quint8 marker = 0;
    quint32 count = 0;
    bool good = field(marker) && marker == 3 && field(count);
    for (quint32 i = 0; good && i < count; ++i) {
        KvMath::KvPointXYZ p;
        good = field(p.x) && field(p.y) && field(p.z);
        if (good)
            cloud.append(p, true);
    }
    if (!good)
        file.seek(start);
    return good ? static_cast<int>(cloud.points.size()) : -1;
}

}  // namespace TestSupport::Literal
