// A rectangle of least area has a side on a hull edge (Freeman and Shapira 1975). Turning from edge to edge,
// the three other supporting points only move forward (rotating calipers, Toussaint 1983): linear in the
// hull.

#include <kvmath/profile/convex_hull_p.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMath::Internal {
namespace {

using Vector = KvVector2D<double>;

double dot(const Vector& a, const Vector& b) { return a.x * b.x + a.y * b.y; }
Vector difference(const Vector& a, const Vector& b) { return {a.x - b.x, a.y - b.y}; }
Vector turned(const Vector& a) { return {-a.y, a.x}; }

bool turnsLeft(const Vector& a, const Vector& b, const Vector& c) {
    return dot(turned(difference(b, a)), difference(c, a)) > 0.0;
}

/// Leaves out points that are not right of the way between their neighbours: never corners of the chain.
/// Noise turns left and right without a pattern, so that a branch at every point costs more than to go over
/// all of them without one, and over the half that stays again.
void thinOut(std::vector<Vector>& points) {
    constexpr size_t kFew = 32;
    for (bool isWorthwhile = true; isWorthwhile && points.size() > kFew;) {
        const size_t before = points.size();
        size_t kept = 1;
        Vector last = points.front();
        for (size_t i = 1; i + 1 < before; ++i) {
            const Vector p = points[i];
            points[kept] = p;
            kept += turnsLeft(last, p, points[i + 1]) ? 1 : 0;
            last = p;
        }
        points[kept++] = points.back();
        points.resize(kept);
        isWorthwhile = kept < before - before / 8;
    }
}

/// Corners with a left turn from the first place to the last of places in order.
template <class Iterator>
std::vector<Vector> chain(Iterator first, Iterator last) {
    std::vector<Vector> points(first, last);
    thinOut(points);
    std::vector<Vector> corners;
    for (const Vector& p : points) {
        while (corners.size() >= 2 && !turnsLeft(corners[corners.size() - 2], corners.back(), p))
            corners.pop_back();
        corners.push_back(p);
    }
    return corners;
}

/// Unit vector, turned by multiples of 90 degrees into 0 <= angle < 90: the box is the same.
Vector inFirstQuadrant(Vector v) {
    const double length = std::hypot(v.x, v.y);
    if (!(length > 0.0))
        return {1, 0};
    while (!(v.x > 0.0 && v.y >= 0.0))
        v = turned(v);
    return {v.x / length, v.y / length};
}

}  // namespace

std::vector<Vector> convexHull(std::vector<Vector> points) {
    const auto before = [](const Vector& a, const Vector& b) {
        return a.x < b.x || (a.x == b.x && a.y < b.y);
    };
    const auto isNotBefore = [&before](const Vector& a, const Vector& b) { return !before(a, b); };
    if (std::adjacent_find(points.begin(), points.end(), isNotBefore) != points.end()) {  // no scanner line
        std::sort(points.begin(), points.end(), before);
        points.erase(std::unique(points.begin(), points.end(), isNotBefore), points.end());
    }
    if (points.size() < 3)
        return points;
    std::vector<Vector> hull = chain(points.begin(), points.end());
    const std::vector<Vector> back = chain(points.rbegin(), points.rend());
    hull.insert(hull.end(), back.begin() + 1, back.end() - 1);
    return hull;
}

TurnedBox boxAround(const std::vector<Vector>& points, Vector along) {
    const Vector across = turned(along);
    TurnedBox box;
    box.along = along;
    box.minU = box.maxU = dot(points.front(), along);
    box.minV = box.maxV = dot(points.front(), across);
    for (const Vector& p : points) {
        const double u = dot(p, along);
        const double v = dot(p, across);
        box.minU = std::min(box.minU, u);
        box.maxU = std::max(box.maxU, u);
        box.minV = std::min(box.minV, v);
        box.maxV = std::max(box.maxV, v);
    }
    return box;
}

TurnedBox leastBox(const std::vector<Vector>& hull) {
    const size_t n = hull.size();
    if (n < 3)
        return boxAround(hull, inFirstQuadrant(difference(hull.back(), hull.front())));
    const auto at = [&hull, n](size_t i) -> const Vector& { return hull[i < n ? i : i - n]; };
    Vector best{1, 0};
    double bestArea = std::numeric_limits<double>::infinity();
    size_t right =
        1;  // farthest along the edge, across it, against it; they run ahead of the edge by less than n
    size_t top = 1;
    size_t left = 1;
    for (size_t i = 0; i < n; ++i) {
        const Vector edge = difference(at(i + 1), at(i));
        const double length = std::hypot(edge.x, edge.y);
        const Vector along{edge.x / length, edge.y / length};
        const Vector across = turned(along);
        const auto advance = [&at, n, i](size_t from, const Vector& direction) {
            while (from < i + n && dot(difference(at(from + 1), at(from)), direction) > 0.0)
                ++from;
            return from;
        };
        right = advance(std::max(right, i + 1), along);
        top = advance(std::max(top, right), across);
        left = advance(std::max(left, top), Vector{-along.x, -along.y});
        const double area =
            dot(difference(at(right), at(left)), along) * dot(difference(at(top), at(i)), across);
        if (area < bestArea) {
            bestArea = area;
            best = edge;
        }
    }
    return boxAround(hull, inFirstQuadrant(best));
}

}  // namespace KvMath::Internal
