// Offsets, factors and rotations.

#include <kvmath/core/point_cloud.h>

#include <kvmath/base/constants_p.h>
#include <kvmath/core/polar_p.h>

#include <cmath>
#include <type_traits>

namespace KvMath {
namespace {

template <class T>
void shiftAxis(QList<T>& points, float T::*axis, float offset) {
    if (offset == 0.0F)
        return;
    for (T& point : points)
        point.*axis += offset;
}

void scaleAxis(QList<KvPointXY>& points, float KvPointXY::*axis, float factor) {
    if (factor == 1.0F)
        return;
    for (KvPointXY& point : points)
        point.*axis *= factor;
}

/// Through polar form (r, angle + degrees), each stored as float on the way.
void rotatePlane(QList<KvPointXYZ>& points, float KvPointXYZ::*first, float KvPointXYZ::*second,
                 float degrees) {
    for (KvPointXYZ& point : points) {
        const double u = static_cast<double>(point.*first);
        const double v = static_cast<double>(point.*second);
        const float radius = static_cast<float>(std::sqrt(u * u + v * v));
        const double turned =
            Internal::polarAngle(point.*first, point.*second) + static_cast<double>(degrees);
        const auto angle = static_cast<float>(turned);
        const double radians = static_cast<double>(angle) * Internal::kRadiansPerDegree;
        point.*first = static_cast<float>(static_cast<double>(radius) * std::cos(radians));
        point.*second = static_cast<float>(static_cast<double>(radius) * std::sin(radians));
    }
}

bool turns(float degrees) { return !std::isnan(degrees) && degrees != 0.0F; }

}  // namespace

template <class T>
void KvPointCloudBase<T>::shift(float dx, float dy, [[maybe_unused]] float dz) {
    shiftAxis(points, &T::x, dx);
    shiftAxis(points, &T::y, dy);
    if constexpr (!std::is_same_v<T, KvPointXY>)
        shiftAxis(points, &T::z, dz);
}

void KvPointCloud<KvPointXY>::resize(float kx, float ky, float /*kz*/) {
    scaleAxis(points, &KvPointXY::x, kx);
    scaleAxis(points, &KvPointXY::y, ky);
}

void KvPointCloud<KvPointXYZ>::rotate(float angleXY, float angleXZ, float angleYZ) {
    if (turns(angleXY))
        rotateXY(angleXY);
    if (turns(angleXZ))
        rotateXZ(angleXZ);
    if (turns(angleYZ))
        rotateYZ(angleYZ);
}

void KvPointCloud<KvPointXYZ>::rotateXY(float degrees) {
    rotatePlane(points, &KvPointXYZ::x, &KvPointXYZ::y, degrees);
    zIndexBuilt = false;
}

void KvPointCloud<KvPointXYZ>::rotateXZ(float degrees) {
    rotatePlane(points, &KvPointXYZ::x, &KvPointXYZ::z, degrees);
    zIndexBuilt = false;
}

void KvPointCloud<KvPointXYZ>::rotateYZ(float degrees) {
    rotatePlane(points, &KvPointXYZ::y, &KvPointXYZ::z, degrees);
    zIndexBuilt = false;
}

template void KvPointCloudBase<KvPointXY>::shift(float, float, float);
template void KvPointCloudBase<KvPointXYZ>::shift(float, float, float);
template void KvPointCloudBase<KvPointXYZRGB>::shift(float, float, float);

}  // namespace KvMath
