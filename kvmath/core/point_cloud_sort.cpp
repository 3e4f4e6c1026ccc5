// Sorting, the index of runs of equal z, and what rests on it.

#include <kvmath/base/count_p.h>
#include <kvmath/core/point_cloud.h>

#include <kvmath/core/box_p.h>
#include <kvmath/core/stable_sort_p.h>
#include <kvmath/core/z_index_p.h>

#include <type_traits>

namespace KvMath {
namespace {

template <class Iterator>
void sortByX(Iterator first, Iterator last, KvSortOrder order) {
    Internal::sortStretches(
        first, last, [](const auto& p) { return p.x; }, order == KvSortAscending);
}

template <class T>
void sortRunsByX(QList<T>& points, KvSortOrder order) {
    const auto end = points.end();
    for (auto run = points.begin(); run != end;) {
        const float z = run->z;
        auto stop = run + 1;  // an unset z is a run of its own
        while (stop != end && stop->z == z)
            ++stop;
        sortByX(run, stop, order);
        run = stop;
    }
}

}  // namespace

template <class T>
void KvPointCloudBase<T>::sort(KvSortOrder first, KvSortOrder second) {
    if constexpr (std::is_same_v<T, KvPointXY>) {
        sortByX(points.begin(), points.end(), first);
        zIndexBuilt = false;
    } else {
        if (second == KvSortNone) {
            sortByX(points.begin(), points.end(), first);
            zIndexBuilt = false;
            return;
        }
        Internal::sortStretches(
            points.begin(), points.end(), [](const T& p) { return p.z; }, second == KvSortAscending);
        zIndex = Internal::zIndexOf(points);
        zIndexBuilt = !points.isEmpty();
        if (first != KvSortNone)
            sortRunsByX(points, first);  // leaves the runs, and so the index, as they are
    }
}

void KvPointCloud<KvPointXYZ>::buildZIndex() {
    zIndex = Internal::zIndexOf(points);
    zIndexBuilt = !points.isEmpty();
}

void KvPointCloud<KvPointXYZRGB>::buildZIndex() {
    zIndex = Internal::zIndexOf(points);
    zIndexBuilt = !points.isEmpty();
}

void KvPointCloud<KvPointXYZ>::extract(KvPointCloud& dest, float xmin, float xmax, float ymin, float ymax,
                                       float zmin, float zmax, bool /*flag*/) {
    if (!zIndexBuilt)
        buildZIndex();
    const QList<KvPointXYZ> source = points;  // shared; `dest` may be this cloud
    dest.clear();
    dest.zIndexBuilt = false;
    if (source.isEmpty())
        return;
    const Internal::Box box{xmin, xmax, ymin, ymax, zmin, zmax};
    const Internal::IndexWindow window =
        Internal::windowOfZ(zIndex, Internal::countOf(source), Internal::fallsAlongZ(source), zmin, zmax);
    for (int i = window.first; i <= window.last; ++i)
        if (box.contains(source.at(i)))
            dest.points.append(source.at(i));
}

template void KvPointCloudBase<KvPointXY>::sort(KvSortOrder, KvSortOrder);
template void KvPointCloudBase<KvPointXYZ>::sort(KvSortOrder, KvSortOrder);
template void KvPointCloudBase<KvPointXYZRGB>::sort(KvSortOrder, KvSortOrder);

}  // namespace KvMath
