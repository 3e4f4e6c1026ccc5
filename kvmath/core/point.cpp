#include <kvmath/core/point.h>

#include <cmath>
#include <limits>

namespace KvMath {
namespace {

constexpr float kUnset = std::numeric_limits<float>::quiet_NaN();

}  // namespace

KvPointXY::KvPointXY() : x(kUnset), y(kUnset) {}

float KvPointXY::calcDistance(KvPointXY other) const { return calcDistance(*this, other); }

float KvPointXY::calcDistance(KvPointXY a, KvPointXY b) {
    const float dx = a.x - b.x;
    const float dy = a.y - b.y;
    return std::sqrt(dx * dx + dy * dy);
}

bool KvPointXY::isNull() const { return std::isnan(x) || std::isnan(y); }

KvPointXYZ::KvPointXYZ() : x(kUnset), y(kUnset), z(kUnset) {}

float KvPointXYZ::calcDistance(KvPointXYZ other) const { return calcDistance(*this, other); }

float KvPointXYZ::calcDistance(KvPointXYZ a, KvPointXYZ b) {
    if (std::isnan(a.x) || std::isnan(a.y) || std::isnan(a.z) || std::isnan(b.x) || std::isnan(b.y) ||
        std::isnan(b.z))
        return kUnset;
    const float dx = a.x - b.x;
    const float dy = a.y - b.y;
    const float dz = a.z - b.z;
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

KvPointXYZRGB::KvPointXYZRGB() : x(kUnset), y(kUnset), z(kUnset), rgb(0) {}

}  // namespace KvMath
