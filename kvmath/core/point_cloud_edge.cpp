// Clearing of edge effects. Slices without points are passed over, so the cost does not depend on their
// number.

#include <kvmath/base/count_p.h>
#include <kvmath/core/point_cloud.h>

#include <kvmath/core/z_index_p.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace KvMath {
namespace {

using Points = QList<KvPointXYZ>;

struct Slices {
    float minZ, step;
    int count;
    float lower(int i) const { return minZ + static_cast<float>(i) * step; }
    float upper(int i) const { return lower(i) + step; }
};

/// First slice from `from` on for which `reached` holds, or the number of slices; once it holds it holds for
/// all later.
template <class Reached>
int firstSlice(const Slices& slices, int from, Reached reached) {
    int end = slices.count;
    while (from < end) {
        const int middle = from + (end - from) / 2;
        if (reached(middle))
            end = middle;
        else
            from = middle + 1;
    }
    return from;
}

/// Set z values with their places in the cloud, ascending.
std::vector<std::pair<float, int>> heightsAlongZ(const Points& points) {
    std::vector<std::pair<float, int>> found;
    for (int i = 0; i < points.size(); ++i)
        if (!std::isnan(points.at(i).z))
            found.emplace_back(points.at(i).z, i);
    std::sort(found.begin(), found.end());
    return found;
}

/// Places of the lowest point before the highest and of the lowest behind it; unset heights take no part.
struct Valleys {
    int left = -1, right = -1;
};

Valleys valleysOf(const Points& points, const std::vector<int>& slab) {
    const int size = static_cast<int>(slab.size());
    const auto y = [&](int i) { return points.at(slab[static_cast<std::size_t>(i)]).y; };
    int top = -1;
    for (int i = 0; i < size; ++i)
        if (!std::isnan(y(i)) && (top < 0 || y(i) >= y(top)))
            top = i;
    Valleys valleys;
    for (int i = 0; i < top; ++i)
        if (!std::isnan(y(i)) && (valleys.left < 0 || y(i) <= y(valleys.left)))
            valleys.left = i;
    for (int i = size - 1; i > top && top >= 0; --i)
        if (!std::isnan(y(i)) && (valleys.right < 0 || y(i) < y(valleys.right)))
            valleys.right = i;
    return valleys;
}

/// What trimming to each of several places one after the other amounts to on one axis: the greatest place is
/// the lower bound, the smallest the upper one; an unset place tests nothing but makes the range unknown.
struct TrimmedAxis {
    float low = std::numeric_limits<float>::quiet_NaN();
    float high = std::numeric_limits<float>::quiet_NaN();
    bool unset = false;

    void trimTo(float place) {
        unset = unset || std::isnan(place);
        if (std::isnan(low) || place > low)
            low = place;
        if (std::isnan(high) || place < high)
            high = place;
    }
    void resetIfUnset(float& min, float& max) const {
        if (unset)
            min = max = std::numeric_limits<float>::quiet_NaN();
    }
};

/// Trims the cloud to the place of every flank point of the slab, all at once. False when there is none.
bool trimToFlanks(KvPointCloud<KvPointXYZ>& cloud, const std::vector<int>& slab) {
    const Valleys valleys = valleysOf(cloud.points, slab);
    TrimmedAxis x;
    TrimmedAxis y;
    TrimmedAxis z;
    bool any = false;
    const auto trimTo = [&](int i) {
        const KvPointXYZ& place = cloud.points.at(slab[static_cast<std::size_t>(i)]);
        x.trimTo(place.x);
        y.trimTo(place.y);
        z.trimTo(place.z);
        any = true;
    };
    for (int i = 0; i < valleys.left; ++i)
        trimTo(i);
    for (int i = static_cast<int>(slab.size()) - 1; valleys.right >= 0 && i > valleys.right; --i)
        trimTo(i);
    if (!any)
        return false;
    cloud.trim(x.low, x.high, y.low, y.high, z.low, z.high);
    x.resetIfUnset(cloud.minX, cloud.maxX);
    y.resetIfUnset(cloud.minY, cloud.maxY);
    z.resetIfUnset(cloud.minZ, cloud.maxZ);
    return true;
}

/// Works on slices from `from` on until one changes the cloud. Returns the slice after that, or the number of
/// slices.
int clearFirstFlank(KvPointCloud<KvPointXYZ>& cloud, const Slices& slices, int from) {
    if (!cloud.zIndexBuilt)
        cloud.buildZIndex();
    const auto along = heightsAlongZ(cloud.points);
    const bool falling = Internal::fallsAlongZ(cloud.points);
    std::vector<int> slab;
    for (int i = from; i < slices.count;) {
        const float lower = slices.lower(i);
        const float upper = slices.upper(i);
        const auto first = std::lower_bound(along.begin(), along.end(), std::make_pair(lower, 0));
        if (first == along.end())
            return slices.count;
        if (first->first > upper) {
            i = firstSlice(slices, i + 1, [&](int k) { return slices.upper(k) >= first->first; });
            continue;
        }
        const auto window =
            Internal::windowOfZ(cloud.zIndex, Internal::countOf(cloud.points), falling, lower, upper);
        slab.clear();
        for (auto it = first; it != along.end() && it->first <= upper; ++it)
            if (it->second >= window.first && it->second <= window.last)
                slab.push_back(it->second);
        std::sort(slab.begin(), slab.end());
        if (trimToFlanks(cloud, slab))
            return i + 1;
        i = firstSlice(slices, i + 1, [&](int k) { return slices.lower(k) > lower; });
    }
    return slices.count;
}

}  // namespace

void KvPointCloud<KvPointXYZ>::clearEdgeEffect(float step) {
    calcRange();
    const float quotient = (maxZ - minZ) / step;
    if (!(step > 0.0F) || !(quotient < 2147483648.0F))  // false for an unknown range too
        return;
    const Slices slices{minZ, step, static_cast<int>(quotient)};
    for (int i = 0; i < slices.count && !points.isEmpty();)
        i = clearFirstFlank(*this, slices, i);
}

}  // namespace KvMath
