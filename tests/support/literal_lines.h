#pragma once
// Line extraction as its description reads, one step after the other: the oracle of the tests and the
// yardstick of the benchmarks. Every distance, fit and list is formed anew.

#include <kvmath/segments/line_geometry.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace TestSupport::Literal {

using namespace KvMath;

using Point = KvVector2D<double>;
using Points = std::vector<Point>;

inline double dot(const Point& p, const Point& q) { return p.x * q.x + p.y * q.y; }
inline Point minus(const Point& p, const Point& q) { return {p.x - q.x, p.y - q.y}; }
inline double squared(const Point& p, const Point& q) { return dot(minus(p, q), minus(p, q)); }
inline double distance(const Point& p, const Point& q) { return std::sqrt(squared(p, q)); }

inline std::vector<Points> contours(const Points& pts, double gap) {
    std::vector<Points> result;
    if (pts.empty())
        return result;
    result.push_back({pts[0]});
    size_t current = 0;
    for (size_t i = 1; i < pts.size(); ++i) {
        const Point p = pts[i];
        if (distance(p, pts[i - 1]) < gap) {
            result[current].push_back(p);
            continue;
        }
        size_t found = result.size();
        double best = gap;
        for (size_t c = 0; c < result.size(); ++c) {
            const double e = distance(p, result[c].back());
            if (best >= e) {
                best = e;
                found = c;
            }
        }
        if (found == result.size())
            result.push_back({});
        result[found].push_back(p);
        current = found;
    }
    return result;
}

inline std::vector<int> split(const Points& pts, double tolerance) {
    std::vector<int> breaks{0, static_cast<int>(pts.size()) - 1};
    for (size_t at = 0; at + 1 < breaks.size();) {
        const int i = breaks[at];
        const int j = breaks[at + 1];
        const Point a = pts[static_cast<size_t>(i)];
        const Point b = pts[static_cast<size_t>(j)];
        int found = -1;
        double farthest = -1;
        for (int k = i + 1; k < j; ++k) {
            const Point p = pts[static_cast<size_t>(k)];
            const double d = distance(a, b) == 0 ? distance(a, p) : dist({a, b}, p);
            if (d > farthest) {
                farthest = d;
                found = k;
            }
        }
        if (found < 0 || tolerance > farthest)
            ++at;
        else
            breaks.insert(breaks.begin() + static_cast<long>(at) + 1, found);
    }
    return breaks;
}

inline Point foot(const LineABC& l, const Point& q) {
    Point p;
    nearestLinePointToPoint(l, q, p);
    return p;
}

/// lsd with both residual sums formed.
inline LineABC leastSquares(const Point* pts, int n) {
    double sx = 0, sy = 0, sxx = 0, sxy = 0, syy = 0;
    for (int i = 0; i < n; ++i) {
        sx += pts[i].x;
        sy += pts[i].y;
        sxx += pts[i].x * pts[i].x;
        sxy += pts[i].x * pts[i].y;
        syy += pts[i].y * pts[i].y;
    }
    const Point m(sx / n, sy / n);
    const double u = sxx / n - m.x * m.x, v = sxy / n - m.x * m.y, w = syy / n - m.y * m.y;
    const double theta = 0.5 * std::atan(2 * v / (u - w));
    LineABC candidates[2];
    double residuals[2] = {0, 0};
    for (int k = 0; k < 2; ++k) {
        LineABC& l = candidates[k];
        l.a = std::cos(k == 0 ? theta : theta + 1.5707963705062866);
        l.b = std::sin(k == 0 ? theta : theta + 1.5707963705062866);
        l.c = -(l.a * m.x + l.b * m.y);
        for (int i = 0; i < n; ++i) {
            const double r = l.a * pts[i].x + l.b * pts[i].y + l.c;
            residuals[k] += r * r;
        }
    }
    return residuals[1] > residuals[0] ? candidates[0] : candidates[1];
}

inline LineABC fit(const Points& pts, int from, int to) {
    return leastSquares(&pts[static_cast<size_t>(from)], to - from + 1);
}

inline bool overruns(const Points& pts, const std::vector<int>& breaks, size_t k, const LineABC& l1,
                     const LineABC& l2, const Point& v) {
    const auto at = [&](size_t b) { return pts[static_cast<size_t>(breaks[b])]; };
    const Point d1 = minus(foot(l1, at(k - 1)), foot(l1, at(k)));
    const Point d2 = minus(foot(l2, at(k + 1)), foot(l2, at(k)));
    const Point vb = minus(v, at(k));
    return dot(vb, d1) >= dot(d1, d1) || dot(vb, d2) >= dot(d2, d2);
}

inline Points fitVertices(const Points& pts, std::vector<int>& breaks) {
    std::vector<LineABC> lines;
    for (size_t k = 0; k + 1 < breaks.size(); ++k)
        lines.push_back(fit(pts, breaks[k], breaks[k + 1]));
    Points vertices(1);
    for (size_t k = 1; k + 1 < breaks.size();) {
        Point v;
        linesIntersection(lines[k - 1], lines[k], v);
        if (overruns(pts, breaks, k, lines[k - 1], lines[k], v)) {
            breaks.erase(breaks.begin() + static_cast<long>(k));
            lines.erase(lines.begin() + static_cast<long>(k));
            lines[k - 1] = fit(pts, breaks[k - 1], breaks[k]);
            continue;
        }
        vertices.push_back(v);
        ++k;
    }
    vertices[0] = foot(lines.front(), pts.front());
    vertices.push_back(foot(lines.back(), pts.back()));
    return vertices;
}

inline void moveBreaks(const Points& pts, const Points& v, std::vector<int>& breaks) {
    for (size_t k = 0; k + 2 < breaks.size(); ++k) {
        LineABC l1, l2;
        LinePP2LineABC({v[k], v[k + 1]}, l1);
        LinePP2LineABC({v[k + 1], v[k + 2]}, l2);
        const auto side = [&](int p) {
            const double s = dot({l1.a - l2.a, l1.b - l2.b}, minus(v[k + 1], pts[static_cast<size_t>(p)]));
            return s > 0 ? 1 : (s < 0 ? -1 : 0);
        };
        const int s = side(breaks[k]);
        int& b = breaks[k + 1];
        if (side(b) == s) {
            while (b + 1 <= breaks[k + 2] - 1 && side(b + 1) == s)
                ++b;
        } else {
            while (b - 1 >= breaks[k] + 1 && side(b - 1) != s)
                --b;
        }
    }
}

inline void cutCorners(const Points& pts, double cornerTolerance, std::vector<int>& breaks, Points& v) {
    for (size_t k = 0; k + 2 < v.size(); ++k) {
        LineABC l1, l2;
        LinePP2LineABC({v[k], v[k + 1]}, l1);
        LinePP2LineABC({v[k + 1], v[k + 2]}, l2);
        const auto at = [&](size_t b) { return pts[static_cast<size_t>(breaks[b])]; };
        const Point f1 = foot(l1, at(k + 1));
        const Point f2 = foot(l2, at(k + 1));
        const double offset = std::max(squared(v[k + 1], f1), squared(v[k + 1], f2));
        const double piece = std::min(squared(f1, foot(l1, at(k))), squared(foot(l2, at(k + 2)), f2));
        if (!(offset > cornerTolerance * cornerTolerance * piece))
            continue;
        breaks.insert(breaks.begin() + static_cast<long>(k) + 1, breaks[k + 1]);
        v[k + 1] = f1;
        v.insert(v.begin() + static_cast<long>(k) + 2, f2);
        ++k;
    }
}

inline std::pair<std::vector<int>, Points> pieces(const Points& pts, double tolerance, int iterations,
                                                  double cornerTolerance) {
    if (pts.empty())
        return {};
    if (pts.size() == 1)
        return {{0}, {}};
    std::vector<int> breaks = split(pts, tolerance);
    Points vertices;
    for (int b : breaks)
        vertices.push_back(pts[static_cast<size_t>(b)]);
    for (int pass = 1; pass <= iterations; ++pass) {
        vertices = fitVertices(pts, breaks);
        if (pass < iterations)
            moveBreaks(pts, vertices, breaks);
    }
    cutCorners(pts, cornerTolerance, breaks, vertices);
    return {breaks, vertices};
}

}  // namespace TestSupport::Literal
