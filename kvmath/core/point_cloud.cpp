// Container, range, centres, searches by value and by box. One template serves the three kinds of points and
// is instantiated at the end. Everything is one pass. Lists of points are shared until one of them changes,
// so that copying a cloud costs no pass. Order, filters, transformations and files stand in
// point_cloud_*.cpp.
#include <kvmath/core/point_cloud.h>

#include <kvmath/base/count_p.h>
#include <kvmath/core/box_p.h>

#include <cmath>
#include <limits>
#include <type_traits>

namespace KvMath {
namespace {

constexpr float kUnset = std::numeric_limits<float>::quiet_NaN();

template <class T>
constexpr bool kHasZ = !std::is_same_v<T, KvPointXY>;

void extend(float& low, float& high, float c) {
    if (std::isnan(low) || low > c)
        low = c;
    if (std::isnan(high) || high < c)
        high = c;
}

/// Range of one coordinate from scratch. Compares without branches: infinities stand for bounds not yet
/// known, and only without any number do they stay in their wrong order. A NaN compares false, the first of
/// equal values (zeros of either sign) stays, both as in extend.
struct Extent {
    float low = std::numeric_limits<float>::infinity();
    float high = -std::numeric_limits<float>::infinity();
    void add(float c) {
        low = c < low ? c : low;
        high = c > high ? c : high;
    }
    void get(float& min, float& max) const {
        min = low <= high ? low : kUnset;
        max = low <= high ? high : kUnset;
    }
};

// False for an unset bound: it stays unset.
void extendKnown(float& low, float& high, float c) {
    if (low > c)
        low = c;
    if (c > high)
        high = c;
}

template <class T>
int indexOf(const QList<T>& points, float T::*coordinate, float value) {
    for (int i = 0; i < points.size(); ++i)
        if (points.at(i).*coordinate == value)
            return i;
    return -1;
}

template <class T, class Inside>
int indicesOf(QList<int>& indices, const QList<T>& points, Inside inside) {
    indices.clear();
    for (int i = 0; i < points.size(); ++i)
        if (inside(points.at(i)))
            indices.append(i);
    return Internal::countOf(indices);
}

}  // namespace

template <class T>
KvPointCloudBase<T>::KvPointCloudBase()
    : minX(kUnset), maxX(kUnset), minY(kUnset), maxY(kUnset), minZ(kUnset), maxZ(kUnset), zIndexBuilt(false) {
}

template <class T>
KvPointCloudBase<T>::KvPointCloudBase(const KvPointCloudBase& other)
    : points(other.points), minX(other.minX), maxX(other.maxX), minY(other.minY), maxY(other.maxY),
      minZ(other.minZ), maxZ(other.maxZ), zIndexBuilt(false) {}

template <class T>
KvPointCloudBase<T>& KvPointCloudBase<T>::operator=(const KvPointCloudBase& other) {
    copyFromPointCloud(other);
    return *this;
}

template <class T>
KvPointCloudBase<T>::~KvPointCloudBase() = default;

template <class T>
void KvPointCloudBase<T>::copyFromPointCloud(const KvPointCloudBase& other) {
    points = other.points;
    minX = other.minX;
    maxX = other.maxX;
    minY = other.minY;
    maxY = other.maxY;
    minZ = other.minZ;
    maxZ = other.maxZ;
    zIndexBuilt = false;  // the map itself stays: by design, the flag alone says whether it counts
}

template <class T>
void KvPointCloudBase<T>::appendFromPointCloud(const KvPointCloudBase& other) {
    const QList<T> added = other.points;  // shared, not copied; `other` may be this cloud
    points.append(added);
    zIndexBuilt = false;
}

template <class T>
KvPointCloud<T>& KvPointCloudBase<T>::operator+=(const KvPointCloudBase& other) {
    appendFromPointCloud(other);
    return static_cast<KvPointCloud<T>&>(*this);
}

template <class T>
KvPointCloud<T>& KvPointCloudBase<T>::operator+=(const T& point) {
    points.append(point);
    return static_cast<KvPointCloud<T>&>(*this);
}

template <class T>
void KvPointCloudBase<T>::append(const T& point, bool extendRange) {
    const T added = point;  // may be one of the points
    points.append(added);
    if (!extendRange)
        return;
    if constexpr (std::is_same_v<T, KvPointXYZRGB>) {
        // Deliberate: the coloured cloud never makes an unknown range known here.
        extendKnown(minX, maxX, added.x);
        extendKnown(minY, maxY, added.y);
        extendKnown(minZ, maxZ, added.z);
    } else {
        updateRange(added);
    }
}

template <class T>
void KvPointCloudBase<T>::clear() {
    points.clear();
    minX = maxX = minY = maxY = minZ = maxZ = kUnset;
}

template <class T>
bool KvPointCloudBase<T>::isEmpty() const {
    return points.isEmpty();
}

template <class T>
void KvPointCloudBase<T>::calcRange() {
    Extent x;
    Extent y;
    [[maybe_unused]] Extent z;
    for (const T& point : qAsConst(points)) {
        x.add(point.x);
        y.add(point.y);
        if constexpr (kHasZ<T>)
            z.add(point.z);
    }
    x.get(minX, maxX);
    y.get(minY, maxY);
    if constexpr (kHasZ<T>)
        z.get(minZ, maxZ);
}

template <class T>
void KvPointCloudBase<T>::updateRange(const T& point) {
    extend(minX, maxX, point.x);
    extend(minY, maxY, point.y);
    if constexpr (kHasZ<T>)
        extend(minZ, maxZ, point.z);
}

template <class T>
bool KvPointCloudBase<T>::calcCenterPoint(T& centre) {
    if (points.isEmpty())
        return false;
    bool known = !std::isnan(minX) && !std::isnan(maxX) && !std::isnan(minY) && !std::isnan(maxY);
    if constexpr (kHasZ<T>)
        known = known && !std::isnan(minZ) && !std::isnan(maxZ);
    if (!known)
        calcRange();
    centre.x = (maxX + minX) * 0.5F;
    centre.y = (maxY + minY) * 0.5F;
    if constexpr (kHasZ<T>)
        centre.z = (maxZ + minZ) * 0.5F;
    return true;
}

template <class T>
bool KvPointCloudBase<T>::caclCenterMassPoint(T& centre) const {
    if (points.isEmpty())
        return false;
    float sumX = 0.0F;
    float sumY = 0.0F;
    [[maybe_unused]] float sumZ = 0.0F;
    for (const T& point : points) {
        sumX += point.x;
        sumY += point.y;
        if constexpr (kHasZ<T>)
            sumZ += point.z;
    }
    const float count = static_cast<float>(points.size());
    centre.x = sumX / count;
    centre.y = sumY / count;
    if constexpr (kHasZ<T>)
        centre.z = sumZ / count;
    return true;
}

float KvPointCloud<KvPointXY>::calcAverageY() const {
    if (points.isEmpty())
        return 0.0F;
    double sum = 0.0;
    for (const KvPointXY& point : points)
        sum += static_cast<double>(point.y);
    return static_cast<float>(sum / static_cast<double>(points.size()));
}

int KvPointCloud<KvPointXY>::getIndexX(float x) const { return indexOf(points, &KvPointXY::x, x); }
int KvPointCloud<KvPointXY>::getIndexY(float y) const { return indexOf(points, &KvPointXY::y, y); }
int KvPointCloud<KvPointXYZ>::getIndexX(float x) const { return indexOf(points, &KvPointXYZ::x, x); }
int KvPointCloud<KvPointXYZ>::getIndexY(float y) const { return indexOf(points, &KvPointXYZ::y, y); }
int KvPointCloud<KvPointXYZ>::getIndexZ(float z) const { return indexOf(points, &KvPointXYZ::z, z); }

int KvPointCloud<KvPointXY>::getRangeIndeces(QList<int>& indices, float xmin, float xmax, float ymin,
                                             float ymax) const {
    return indicesOf(indices, points, [=](const KvPointXY& p) {
        return Internal::isWithin(p.x, xmin, xmax) && Internal::isWithin(p.y, ymin, ymax);
    });
}

int KvPointCloud<KvPointXYZ>::getRangeIndeces(QList<int>& indices, float xmin, float xmax, float ymin,
                                              float ymax, float zmin, float zmax) const {
    const Internal::Box box{xmin, xmax, ymin, ymax, zmin, zmax};
    return indicesOf(indices, points, [&box](const KvPointXYZ& p) { return box.contains(p); });
}

int KvPointCloud<KvPointXYZRGB>::getRangeIndeces(QList<int>& indices, float xmin, float xmax, float ymin,
                                                 float ymax, float zmin, float zmax) const {
    const Internal::Box box{xmin, xmax, ymin, ymax, zmin, zmax};
    return indicesOf(indices, points, [&box](const KvPointXYZRGB& p) { return box.contains(p); });
}

int KvPointCloud<KvPointXYZ>::getRangeIndeces(QList<int>& indices, KvPointXYZ centre, float diameter) const {
    const double radius = static_cast<double>(diameter) * 0.5;
    return indicesOf(indices, points, [&centre, radius](const KvPointXYZ& p) {
        return static_cast<double>(p.calcDistance(centre)) <= radius;
    });
}

float KvPointCloud<KvPointXY>::size_x() const { return maxX - minX; }
float KvPointCloud<KvPointXY>::size_y() const { return maxY - minY; }
float KvPointCloud<KvPointXYZ>::size_x() const { return maxX - minX; }
float KvPointCloud<KvPointXYZ>::size_y() const { return maxY - minY; }
float KvPointCloud<KvPointXYZ>::size_z() const { return maxZ - minZ; }

int KvPointCloud<KvPointXYZ>::calcSection(KvPointCloud& dest, float z, float halfWidth) const {
    const QList<KvPointXYZ> source = points;  // shared; `dest` may be this cloud
    dest.clear();
    dest.zIndexBuilt = false;
    for (const KvPointXYZ& point : source)
        if (std::fabs(point.z - z) <= halfWidth)
            dest.points.append(point);
    return Internal::countOf(dest.points);
}

// All members defined above; the other files instantiate theirs one by one.
template class KvPointCloudBase<KvPointXY>;
template class KvPointCloudBase<KvPointXYZ>;
template class KvPointCloudBase<KvPointXYZRGB>;

}  // namespace KvMath
