#include <kvmath/base/constants_p.h>
#include <kvmath/base/count_p.h>
#include <kvmath/core/free_vector.h>

#include <cmath>
#include <limits>

namespace KvMath {
namespace {

constexpr float kUnset = std::numeric_limits<float>::quiet_NaN();

double length(const KvFreeVector& v) {
    const auto x = static_cast<double>(v.x);
    const auto y = static_cast<double>(v.y);
    return std::sqrt(x * x + y * y);
}

}  // namespace

KvFreeVector::KvFreeVector() : x(kUnset), y(kUnset) {}
KvFreeVector::KvFreeVector(float x0, float y0) : x(x0), y(y0) {}

float KvFreeVector::size() const { return std::sqrt(x * x + y * y); }

bool KvFreeVector::resize(float newLength) {
    const float oldLength = size();
    if (!(newLength > 0.0F) || !(oldLength > 0.0F))
        return false;
    const double factor = static_cast<double>(newLength) / static_cast<double>(oldLength);
    x = static_cast<float>(static_cast<double>(x) * factor);
    y = static_cast<float>(static_cast<double>(y) * factor);
    return true;
}

bool KvFreeVector::sumVectors(const KvFreeVector& a, const KvFreeVector& b) {
    const KvFreeVector sum(a.x + b.x, a.y + b.y);
    const float sumLength = sum.size();
    if (sumLength == 0.0F)
        return false;
    x = sum.x / sumLength;
    y = sum.y / sumLength;
    return true;
}

double KvFreeVector::calcAngleBetweenVectors(const KvFreeVector& b) const {
    return calcAngleBetweenVectors(*this, b);
}

double KvFreeVector::calcAngleBetweenVectors(const KvFreeVector& a, const KvFreeVector& b) {
    const double lengths = length(a) * length(b);
    if (lengths == 0.0)
        return std::numeric_limits<double>::quiet_NaN();
    const double product = static_cast<double>(a.x) * static_cast<double>(b.x) +
                           static_cast<double>(a.y) * static_cast<double>(b.y);
    const double cosine = product / lengths;
    // Written so that NaN passes through.
    const double clamped = cosine > 1.0 ? 1.0 : (cosine < -1.0 ? -1.0 : cosine);
    return std::acos(clamped) * 180.0 / Internal::kPi;
}

bool KvFreeVector::calcFromPointCloud(const KvPointCloud<KvPointXY>& cloud, int start, int step,
                                      float length) {
    const int count = Internal::countOf(cloud.points);
    if ((step != 1 && step != -1) || start < 0 || start >= count)
        return false;
    const KvPointXY& from = cloud.points.at(start);
    int last = start;
    // A NaN length, or an unset point on the way, never stops the walk.
    while (!(from.calcDistance(cloud.points.at(last)) >= length)) {
        const int next = last + step;
        if (next < 0 || next >= count)
            break;
        last = next;
    }
    const KvPointXY& to = cloud.points.at(last);
    const float distance = from.calcDistance(to);
    if (!(distance > 0.0F) || std::isinf(distance))
        return false;
    x = (to.x - from.x) / distance;
    y = (to.y - from.y) / distance;
    return true;
}

}  // namespace KvMath
