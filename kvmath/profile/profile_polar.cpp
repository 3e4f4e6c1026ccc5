// Polar form, rotations, and smoothing of the distance from the origin. Angles are converted with the
// library's single-precision pi in both directions; arithmetic in double, narrowed once.

#include <kvmath/base/constants_p.h>
#include <kvmath/base/count_p.h>
#include <kvmath/core/polar_p.h>
#include <kvmath/profile/point_list_p.h>
#include <kvmath/profile/profile.h>

#include <vector>

namespace KvMath {
namespace {

constexpr int kMostPasses = 1000;

KvPointXY pointAt(double radius, double radians) {
    return {static_cast<float>(radius * std::cos(radians)), static_cast<float>(radius * std::sin(radians))};
}

double distanceFromOrigin(const KvPointXY& p) {
    const double x = static_cast<double>(p.x);
    const double y = static_cast<double>(p.y);
    return std::sqrt(x * x + y * y);
}

/// Centred means over values[from, to), 2 * half + 1 of them, less towards the ends. `sums` has a place per
/// value and one more; sums[i - from] is that of the run's values before i.
void smoothRun(std::vector<double>& values, size_t from, size_t to, size_t half, std::vector<double>& sums) {
    sums[0] = 0.0;
    for (size_t i = from; i < to; ++i)
        sums[i - from + 1] = sums[i - from] + values[i];
    for (size_t i = from; i < to; ++i) {
        const size_t reach = std::min({half, i - from, to - 1 - i});
        if (reach > 0)
            values[i] =
                (sums[i - from + reach + 1] - sums[i - from - reach]) / static_cast<double>(2 * reach + 1);
    }
}

}  // namespace

void KvProfile::toPolar() {
    for (KvPointXY& p : points)
        p = KvPointXY(static_cast<float>(distanceFromOrigin(p)), Internal::polarAngleDegrees(p.x, p.y));
}

void KvProfile::toEvklid() {
    for (KvPointXY& p : points)
        p = pointAt(static_cast<double>(p.x), static_cast<double>(p.y) * Internal::kPi / 180.0);
}

void KvProfile::rotatePolar(float degrees) {
    if (degrees == 0.0F)
        return;
    for (KvPointXY& p : points)
        p.y += degrees;
}

void KvProfile::rotateEvklid(float degrees) {
    if (degrees == 0.0F)
        return;
    const double radians = static_cast<double>(degrees) * Internal::kPi / 180.0;
    const double c = std::cos(radians);
    const double s = std::sin(radians);
    for (KvPointXY& p : points) {
        const double x = static_cast<double>(p.x);
        const double y = static_cast<double>(p.y);
        p = KvPointXY(static_cast<float>(c * x - s * y), static_cast<float>(c * y + s * x));
    }
}

void KvProfile::rotateFixed(float degrees, const KvPointXY& centre) {
    const KvPointXY c(centre);  // it may be one of the points
    shift(-c.x, -c.y, 0.0F);
    rotateEvklid(degrees);
    shift(c.x, c.y, 0.0F);
}

void KvProfile::wndFilterPolar(KvProfile& dest, float maxGap, int window, int passes) const {
    const int n = Internal::countOf(points);
    if (window < 1 || n < window || dest.points.size() < n)
        return;
    std::vector<int> usable;
    std::vector<double> radius;
    std::vector<double> radians;
    usable.reserve(static_cast<size_t>(n));
    radius.reserve(static_cast<size_t>(n));
    radians.reserve(static_cast<size_t>(n));
    const auto out = dest.points.begin();
    const auto in = points.constBegin();
    for (int i = 0; i < n; ++i) {
        const KvPointXY p(in[i]);
        out[i] = p;
        if (!Internal::isFinite(p))
            continue;
        usable.push_back(i);
        radius.push_back(distanceFromOrigin(p));
        radians.push_back(std::atan2(static_cast<double>(p.y), static_cast<double>(p.x)));
    }

    const size_t count = usable.size();
    std::vector<size_t> runEnds;
    for (size_t i = 1; i <= count; ++i) {
        if (i == count || std::abs(radius[i] - radius[i - 1]) > static_cast<double>(maxGap))
            runEnds.push_back(i);
    }
    std::vector<double> sums(count + 1);
    for (int pass = std::min(std::max(passes, 1), kMostPasses); pass > 0; --pass) {
        size_t from = 0;
        for (const size_t to : runEnds) {
            smoothRun(radius, from, to, static_cast<size_t>(window / 2), sums);
            from = to;
        }
    }
    for (size_t i = 0; i < count; ++i)
        out[usable[i]] = pointAt(radius[i], radians[i]);
}

}  // namespace KvMath
