// Fits, evaluation, slopes, differences and resampling of a profile.

#include <kvmath/base/count_p.h>
#include <kvmath/core/circle.h>
#include <kvmath/core/line.h>
#include <kvmath/profile/correlation_p.h>
#include <kvmath/profile/point_list_p.h>
#include <kvmath/profile/profile.h>
#include <kvmath/segments/line_geometry.h>

#include <limits>
#include <vector>

namespace KvMath {
namespace {

constexpr float kUnset = std::numeric_limits<float>::quiet_NaN();

/// Height at x of the line through a and b, which differ in x; NaN where the pair is too wide or x too far
/// off.
float heightOnPair(KvPointXY a, KvPointXY b, float x, float tolerance) {
    if (a.x > b.x)
        std::swap(a, b);
    const float spacing = b.x - a.x;
    float distance = 0.0F;
    if (x < a.x)
        distance = a.x - x;
    else if (x > b.x)
        distance = x - b.x;
    if (!(spacing <= tolerance && distance <= tolerance))  // a NaN tolerance fails
        return kUnset;
    const double x0 = static_cast<double>(a.x);
    const double y0 = static_cast<double>(a.y);
    const double dx = static_cast<double>(b.x) - x0;
    const double dy = static_cast<double>(b.y) - y0;
    return static_cast<float>(y0 + dy * (static_cast<double>(x) - x0) / dx);
}

}  // namespace

float KvProfile::calcY(float x, float tolerance, int* index) const {
    const int n = Internal::countOf(points);
    if (n == 0)
        return kUnset;
    const auto p = points.constBegin();
    if (n == 1)
        return std::abs(p[0].x - x) <= tolerance ? p[0].y : kUnset;

    int next = 0;  // the first point behind x
    for (; next < n; ++next) {
        if (p[next].x == x)
            return p[next].y;
        if (p[next].x > x)
            break;
    }
    if (index != nullptr)
        *index = next - 1;
    const int first = next == 0 ? 0 : std::min(next, n - 1) - 1;
    const KvPointXY a(p[first]);
    const KvPointXY b(p[first + 1]);
    if (a.x == b.x) {
        const double mean = (static_cast<double>(a.y) + static_cast<double>(b.y)) / 2.0;
        return std::abs(a.x - x) <= tolerance ? static_cast<float>(mean) : kUnset;
    }
    return heightOnPair(a, b, x, tolerance);
}

float KvProfile::calcCorrelation() const {
    return Internal::correlation(points.constBegin(), points.constEnd());
}

int KvProfile::interpolate(float step, float xFrom, float xTo, _KvInterpolantType_ type) {
    removeDuplicates();
    sort(KvSortAscending, KvSortNone);
    const KvInterpolant interpolant(*this, type);
    return interpolant.generatePointCloud(*this, step, xFrom, xTo);
}

KvProfile KvProfile::derivative() const {
    KvProfile slopes;
    slopes.points = Internal::pointListOfSize(Internal::countOf(points) - 1);
    auto p = points.constBegin();
    for (KvPointXY& slope : slopes.points) {
        slope.x = p[0].x;
        slope.y = (p[1].y - p[0].y) / (p[1].x - p[0].x);
        ++p;
    }
    return slopes;
}

bool KvProfile::calcLine(KvLine& line) const { return line.calcFromPointCloud(*this); }

bool KvProfile::calcCircle(KvCircle& circle, float* error) const {
    return circle.calcFromPointCloud(*this, error);
}

void KvProfile::fitByLine(LineABC& line) const {
    std::vector<KvVector2D<double>> wide;
    wide.reserve(static_cast<size_t>(points.size()));
    for (const KvPointXY& p : points)
        wide.emplace_back(static_cast<double>(p.x), static_cast<double>(p.y));
    lsd(wide.data(), Internal::countOf(points), line);
}

void KvProfile::calcDistance(const KvProfile& other, KvProfile& dest, int window, int count,
                             bool truncate) const {
    if (points.isEmpty() || other.points.isEmpty() || window < 1)
        return;
    const int n = std::max(0, std::min({count, Internal::countOf(points), Internal::countOf(other.points),
                                        Internal::countOf(dest.points)}));
    const auto out = dest.points.begin();
    const auto a = points.constBegin();
    const auto b = other.points.constBegin();
    for (int i = 0; i < n; ++i)
        out[i].y = a[i].y - b[i].y;
    for (int start = 0; n - start >= window; start += window) {
        double sum = 0;
        for (int i = start; i < start + window; ++i)
            sum += static_cast<double>(out[i].y);
        const float mean = static_cast<float>(std::abs(sum / window));
        for (int i = start; i < start + window; ++i)
            out[i].y = mean;
    }
    if (truncate)
        Internal::truncateTo(dest.points, n);
}

}  // namespace KvMath
