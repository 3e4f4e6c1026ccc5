// Removal by index, level, box; edge effects; tape thickness. Each removal is one pass that keeps the
// survivors in order. The sparse-cell filters are in point_cloud_cubic.cpp.

#include <kvmath/base/count_p.h>
#include <kvmath/core/point_cloud.h>

#include <kvmath/core/box_p.h>
#include <kvmath/core/z_index_p.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace KvMath {
namespace {

constexpr float kNoLimit = std::numeric_limits<float>::quiet_NaN();

template <class T, class Unwanted>
int removeIf(QList<T>& points, Unwanted unwanted) {
    const int before = Internal::countOf(points);
    points.erase(std::remove_if(points.begin(), points.end(), unwanted), points.end());
    return before - Internal::countOf(points);
}

template <class T>
int removeByYLevel(QList<T>& points, float level, bool above) {
    if (above)
        return removeIf(points, [level](const T& p) { return p.y >= level; });
    return removeIf(points, [level](const T& p) { return p.y <= level; });
}

/// The new bound replaces a known one that it narrows; NaN makes the side unknown.
void narrowLow(float& low, float bound) {
    if (std::isnan(bound) || bound > low)
        low = bound;
}

void narrowHigh(float& high, float bound) {
    if (std::isnan(bound) || bound < high)
        high = bound;
}

float median(std::vector<float>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 != 0)
        return *middle;
    const double lower = static_cast<double>(*std::max_element(values.begin(), middle));
    return static_cast<float>((lower + static_cast<double>(*middle)) * 0.5);
}

}  // namespace

template <class T>
int KvPointCloudBase<T>::removeIndeces(QList<int>& indices) {
    std::sort(indices.begin(), indices.end());
    if (indices.isEmpty() || points.isEmpty())
        return 0;
    // Points below `intact` are as they were; `above` holds the surviving ones from there on, the nearest on
    // top. As entries never grow, the point at the place of an entry is then always on top.
    int intact = Internal::countOf(points);
    std::vector<int> above;
    int count = 0;
    for (auto entry = indices.crbegin(); entry != indices.crend(); ++entry) {
        if (*entry >= intact + static_cast<int>(above.size()))
            continue;
        ++count;  // by design a negative entry counts, though nothing goes
        if (*entry < 0)
            continue;
        while (intact > *entry)
            above.push_back(--intact);
        above.pop_back();
    }
    int kept = intact;
    for (auto survivor = above.crbegin(); survivor != above.crend(); ++survivor)
        points[kept++] = points.at(*survivor);
    points.erase(points.begin() + kept, points.end());
    return count;
}

int KvPointCloud<KvPointXY>::removePointsByYLevel(float level, bool above) {
    return removeByYLevel(points, level, above);
}

int KvPointCloud<KvPointXYZ>::removePointsByYLevel(float level, bool above) {
    return removeByYLevel(points, level, above);
}

void KvPointCloud<KvPointXYZ>::trim(float xmin, float xmax, float ymin, float ymax, float zmin, float zmax) {
    const Internal::Box box{xmin, xmax, ymin, ymax, zmin, zmax};
    removeIf(points, [&box](const KvPointXYZ& p) { return box.excludes(p); });
    narrowLow(minX, xmin);
    narrowHigh(maxX, xmax);
    narrowLow(minY, ymin);
    narrowHigh(maxY, ymax);
    narrowLow(minZ, zmin);
    narrowHigh(maxZ, zmax);
    zIndexBuilt = false;
}

float KvPointCloud<KvPointXYZ>::extractInsulatingTape(float xmin, float xmax, float ymin, float ymax,
                                                      float zmin, float zmax) const {
    const Internal::Box box{xmin, xmax, ymin, ymax, zmin, zmax};
    std::vector<float> heights;
    for (const KvPointXYZ& p : points)
        if (std::isfinite(p.y) && box.contains(p))
            heights.push_back(p.y);
    if (heights.size() < 2)
        return kNoLimit;
    const auto [lowest, highest] = std::minmax_element(heights.begin(), heights.end());
    if (*lowest == *highest)
        return 0.0F;
    const double middle = (static_cast<double>(*lowest) + static_cast<double>(*highest)) * 0.5;
    const auto tapeBegin = std::partition(heights.begin(), heights.end(),
                                          [middle](float y) { return static_cast<double>(y) < middle; });
    std::vector<float> tape(tapeBegin, heights.end());
    heights.erase(tapeBegin, heights.end());
    if (tape.size() < 2 || heights.size() < 2)
        return kNoLimit;
    return median(tape) - median(heights);
}

template int KvPointCloudBase<KvPointXY>::removeIndeces(QList<int>&);
template int KvPointCloudBase<KvPointXYZ>::removeIndeces(QList<int>&);
template int KvPointCloudBase<KvPointXYZRGB>::removeIndeces(QList<int>&);

}  // namespace KvMath
