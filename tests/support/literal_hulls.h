#pragma once
// Both hulls as literal walks that look at every point in every step.

#include <kvmath/base/vector2d.h>

#include <QtCore/QList>

#include <algorithm>
#include <cmath>
#include <vector>

namespace TestSupport {

using HullPoint = KvMath::KvVector2D<double>;
using HullPoints = QList<HullPoint>;

inline bool isSame(const HullPoint& a, const HullPoint& b) { return a.x == b.x && a.y == b.y; }

inline int literalLowest(const HullPoints& points) {
    int lowest = -1;
    for (int i = 0; i < points.size(); ++i) {
        const auto [x, y] = points.at(i);
        const HullPoint& least = points.at(std::max(0, lowest));
        if (!std::isnan(x) && !std::isnan(y) && (lowest < 0 || y < least.y || (y == least.y && x < least.x)))
            lowest = i;
    }
    return lowest;
}

/// 0 to 4, ascending with the angle.
inline double literalTurn(double cosine, double sine) {
    const double sum = std::fabs(cosine) + std::fabs(sine);
    if (sine >= 0)
        return cosine >= 0 ? sine / sum : 1 - cosine / sum;
    return cosine < 0 ? 2 - sine / sum : 3 + cosine / sum;
}

inline bool literalCoinHull(const HullPoints& points, double R, QList<int>& indices) {
    indices.clear();
    if (points.isEmpty())
        return true;
    indices.append(std::max(0, literalLowest(points)));
    HullPoint u(0, -1), left(NAN, NAN);
    while (points.size() > 1) {
        const HullPoint at = points.at(indices.last());
        int best = -1;
        double bestTurn = 0, bestD = 0;
        HullPoint bestU;
        for (int j = 0; j < points.size(); ++j) {
            const double dx = points.at(j).x - at.x, dy = points.at(j).y - at.y,
                         d = std::sqrt(dx * dx + dy * dy);
            if (!(d > 0 && d <= 2 * R))
                continue;
            const double x = dx / d, y = dy / d, c = d / (2 * R), s = std::sqrt(std::max(0.0, 1 - c * c));
            const HullPoint v(x * c + y * s, y * c - x * s);
            const double cosine = u.x * v.x + u.y * v.y, sine = u.x * v.y - u.y * v.x;
            const double turn = cosine > 0 && std::fabs(sine) < 1e-12 ? (isSame(points.at(j), left) ? 4 : 0)
                                                                      : literalTurn(cosine, sine);
            if (!std::isnan(turn) && (best < 0 || turn < bestTurn || (turn == bestTurn && d < bestD))) {
                best = j, bestTurn = turn, bestD = d;
                bestU = {-x * c + y * s, -x * s - y * c};
            }
        }
        indices.append(best < 0 ? indices.first() : best);
        if (best < 0)
            return true;
        if (indices.size() > 2 && isSame(points.at(best), points.at(indices.at(1))) &&
            isSame(at, points.at(indices.first()))) {
            indices.removeLast();
            return true;
        }
        if (indices.size() > 2 * points.size())
            return false;
        left = at, u = bestU;
    }
    return true;
}

inline bool literalCrossing(const HullPoint& a, const HullPoint& b, const HullPoint& c, const HullPoint& d) {
    const auto side = [](const HullPoint& p, const HullPoint& q, const HullPoint& r) {
        return (q.x - p.x) * (r.y - p.y) - (q.y - p.y) * (r.x - p.x);
    };
    const auto apart = [](double s, double t) { return (s > 0 && t < 0) || (s < 0 && t > 0); };
    const auto overlap = [](double a1, double a2, double b1, double b2) {
        return std::min(a1, a2) <= std::max(b1, b2) && std::min(b1, b2) <= std::max(a1, a2);
    };
    return overlap(a.x, b.x, c.x, d.x) && overlap(a.y, b.y, c.y, d.y) &&
           apart(side(a, b, c), side(a, b, d)) && apart(side(c, d, a), side(c, d, b));
}

inline HullPoints literalPseudoHull(const HullPoints& points, double reach, int limit) {
    const int first = literalLowest(points);
    if (points.size() < 3 || first < 0)
        return points.size() < 3 ? points : HullPoints();
    HullPoints hull{points.at(first)};
    struct Choice {
        double turn, d;
        HullPoint p;
    };
    while (limit < 1 || hull.size() < limit) {
        const HullPoint at = hull.last();
        const bool isSecond = hull.size() == 1;
        const HullPoint from = hull.at(std::max(0, static_cast<int>(hull.size()) - 2)),
                        way(from.x - at.x, from.y - at.y);
        const double length = std::sqrt(way.x * way.x + way.y * way.y);
        std::vector<Choice> choices;
        for (const HullPoint& p : points) {
            const double dx = p.x - at.x, dy = p.y - at.y, d = std::sqrt(dx * dx + dy * dy);
            const bool isListed = std::any_of(hull.begin() + (hull.size() > 2 ? 1 : 0), hull.end(),
                                              [&](const HullPoint& q) { return isSame(p, q); });
            if (isListed || !(d > 0 && std::isfinite(d) && (isSecond || d <= reach)))
                continue;
            const double x = dx / d, y = dy / d, bx = way.x / length, by = way.y / length;
            const double turn = std::nearbyint(std::ldexp(literalTurn(bx * x + by * y, bx * y - by * x), 38));
            choices.push_back({isSecond ? -x : turn == 0 ? std::ldexp(4.0, 38) : turn, d, p});
        }
        std::stable_sort(choices.begin(), choices.end(), [](const Choice& a, const Choice& b) {
            return a.turn != b.turn ? a.turn < b.turn : a.d < b.d;
        });
        choices.resize(std::min<size_t>(choices.size(), 256), {});
        const auto next = std::find_if(choices.begin(), choices.end(), [&](const Choice& choice) {
            for (int i = 0; i + 1 < hull.size(); ++i)
                if (literalCrossing(at, choice.p, hull.at(i), hull.at(i + 1)))
                    return false;
            return true;
        });
        if (next == choices.end() || isSame(next->p, hull.first()))
            break;
        hull.append(next->p);
    }
    return hull;
}

}  // namespace TestSupport
