// Geometry found in a profile: enclosing rectangle, cut points, windows of lines, parallel lines, top view.
// Points that are not finite take no part.

#include <kvmath/base/constants_p.h>
#include <kvmath/base/count_p.h>
#include <kvmath/core/line.h>
#include <kvmath/profile/convex_hull_p.h>
#include <kvmath/profile/point_list_p.h>
#include <kvmath/profile/profile.h>
#include <kvmath/segments/line_geometry.h>

namespace KvMath {
namespace {

using Vector = KvVector2D<double>;

std::vector<Vector> usablePoints(Internal::ConstPointIterator first, Internal::ConstPointIterator last) {
    std::vector<Vector> usable;
    usable.reserve(static_cast<size_t>(last - first));
    for (; first != last; ++first) {
        if (Internal::isFinite(*first))
            usable.emplace_back(static_cast<double>(first->x), static_cast<double>(first->y));
    }
    return usable;
}

KvPointXY narrowed(const Vector& p) { return {static_cast<float>(p.x), static_cast<float>(p.y)}; }

/// The rectangle of calcRect and its angle, degrees. False without usable points.
bool enclosingBox(const QList<KvPointXY>& points, float angle, Internal::TurnedBox& box, float& usedAngle) {
    const std::vector<Vector> hull =
        Internal::convexHull(usablePoints(points.constBegin(), points.constEnd()));
    if (hull.empty())
        return false;
    if (std::isfinite(angle)) {
        const double radians = static_cast<double>(angle) * Internal::kPi / 180.0;
        box = Internal::boxAround(hull, {std::cos(radians), std::sin(radians)});
        usedAngle = angle;
        return true;
    }
    box = Internal::leastBox(hull);
    const float degrees = static_cast<float>(std::atan2(box.along.y, box.along.x) * 180.0 / Internal::kPi);
    usedAngle = degrees < 90.0F ? degrees : 0.0F;
    return true;
}

double signedDistance(const LineABC& line, const Vector& p) { return line.a * p.x + line.b * p.y + line.c; }

/// Point of the line nearest to p; (a, b) is of unit length.
Vector footOf(const LineABC& line, const Vector& p) {
    const double distance = signedDistance(line, p);
    return {p.x - distance * line.a, p.y - distance * line.b};
}

}  // namespace

bool KvProfile::calcRect(KvPointCloud<KvPointXY>& corners, float* area, float angle) const {
    Internal::TurnedBox box;
    float usedAngle = 0.0F;
    if (!enclosingBox(points, angle, box, usedAngle))
        return false;
    corners.clear();
    for (const Vector& corner : {box.corner(box.minU, box.minV), box.corner(box.maxU, box.minV),
                                 box.corner(box.maxU, box.maxV), box.corner(box.minU, box.maxV)})
        corners.append(narrowed(corner), /*updateRange=*/true);
    if (area != nullptr)
        *area = static_cast<float>(box.area());
    return true;
}

bool KvProfile::calcRect(float* width, float* height, float* usedAngle, float angle) const {
    Internal::TurnedBox box;
    float used = 0.0F;
    if (!enclosingBox(points, angle, box, used))
        return false;
    if (width != nullptr)
        *width = static_cast<float>(box.maxU - box.minU);
    if (height != nullptr)
        *height = static_cast<float>(box.maxV - box.minV);
    if (usedAngle != nullptr)
        *usedAngle = used;
    return true;
}

bool KvProfile::calcCutPoint(const KvLine& line, KvPointXY& cut, bool fromEnd) const {
    const double k = static_cast<double>(line.k);
    const double b = static_cast<double>(line.b);
    if (!std::isfinite(k) || !std::isfinite(b))
        return false;
    Vector before;
    double heightBefore = 0.0;  // above the line; 0 only until the first usable point
    const int n = Internal::countOf(points);
    const auto in = points.constBegin();
    for (int i = 0; i < n; ++i) {
        const KvPointXY point(in[fromEnd ? n - 1 - i : i]);
        if (!Internal::isFinite(point))
            continue;
        const Vector p(static_cast<double>(point.x), static_cast<double>(point.y));
        const double height = p.y - (k * p.x + b);
        if (height == 0.0) {
            cut = point;
            return true;
        }
        if ((height > 0.0 && heightBefore < 0.0) || (height < 0.0 && heightBefore > 0.0)) {
            const double part = heightBefore / (heightBefore - height);
            cut = narrowed({before.x + (p.x - before.x) * part, before.y + (p.y - before.y) * part});
            return true;
        }
        before = p;
        heightBefore = height;
    }
    return false;
}

int KvProfile::makeCloudTopView(const KvPointCloud<KvPointXYZ>& cloud) {
    points = Internal::pointListOfSize(Internal::countOf(cloud.points));
    auto source = cloud.points.constBegin();
    for (KvPointXY& p : points) {
        p.x = source->x;
        p.y = source->z;
        ++source;
    }
    KvPointCloud<KvPointXY>::calcRange();
    return Internal::countOf(points);
}

int KvProfile::addLineSegments(QList<LinePP>& segments, int window, int step, double maxDeviation) const {
    if (window < 2 || step < 1)
        return 0;
    const std::vector<Vector> usable = usablePoints(points.constBegin(), points.constEnd());
    const size_t length = static_cast<size_t>(window);
    int added = 0;
    for (size_t start = 0; start + length <= usable.size(); start += static_cast<size_t>(step)) {
        const Vector* first = usable.data() + start;
        const Vector* last = first + length - 1;
        LineABC line;
        lsd(first, window, line);
        const bool straight = std::all_of(first, last + 1, [&line, maxDeviation](const Vector& p) {
            return std::abs(signedDistance(line, p)) <= maxDeviation;  // false for NaN
        });
        if (!straight)
            continue;
        segments.append(LinePP(footOf(line, *first), footOf(line, *last)));
        ++added;
    }
    return added;
}

void KvProfile::addParallelLine(KvProfile& dest, int first, int last, float offset) const {
    const int from = std::max(first, 0);
    const int to = std::min(last, Internal::countOf(points) - 1);
    if (from >= to)
        return;
    const std::vector<Vector> usable =
        usablePoints(points.constBegin() + from, points.constBegin() + (to + 1));
    if (usable.size() < 2)
        return;
    LineABC line;
    lsd(usable.data(), static_cast<int>(usable.size()), line);
    const bool upwards = line.b >= 0.0;  // a normal without y points to positive x
    const double shift = upwards ? static_cast<double>(offset) : -static_cast<double>(offset);
    for (const Vector& p : usable) {
        const Vector foot = footOf(line, p);
        dest.points.append(narrowed({foot.x + shift * line.a, foot.y + shift * line.b}));
    }
}

}  // namespace KvMath
