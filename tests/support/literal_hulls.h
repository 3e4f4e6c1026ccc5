#pragma once
// Both hulls as literal walks that look at every point in every step.

#include <kvmath/core/vector2d.h>

#include <QtCore/QList>

#include <algorithm>
#include <cmath>
#include <vector>

namespace TestSupport {

using HullPoint = KvMath::KvVector2D<double>;

inline bool isSame(const HullPoint& a, const HullPoint& b) { return a.x == b.x && a.y == b.y; }

inline int literalLowest(const QList<HullPoint>& points) {
    int lowest = -1;
    for (int i = 0; i < points.size(); ++i) {
        const HullPoint& p = points.at(i);
        if (!std::isnan(p.x) && !std::isnan(p.y) &&
            (lowest < 0 || p.y < points.at(lowest).y ||
             (p.y == points.at(lowest).y && p.x < points.at(lowest).x)))
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

inline bool literalCoinHull(const QList<HullPoint>& points, double R, QList<int>& indices) {
    indices.clear();
    if (points.isEmpty())
        return true;
    const int first = std::max(0, literalLowest(points));
    indices.append(first);
    if (points.size() == 1)
        return true;
    HullPoint u(0, -1), left(NAN, NAN);
    for (int at = first;;) {
        int best = -1;
        double bestTurn = 0, bestD = 0;
        HullPoint bestU;
        for (int j = 0; j < points.size(); ++j) {
            const double dx = points.at(j).x - points.at(at).x, dy = points.at(j).y - points.at(at).y;
            const double d = std::sqrt(dx * dx + dy * dy);
            if (!(d > 0 && d <= 2 * R))
                continue;
            const double cx = dx / d, cy = dy / d, c = d / (2 * R), s = std::sqrt(std::max(0.0, 1 - c * c));
            const double vx = cx * c + cy * s, vy = cy * c - cx * s;
            const double cosine = u.x * vx + u.y * vy, sine = u.x * vy - u.y * vx;
            double turn = literalTurn(cosine, sine);
            if (cosine > 0 && std::fabs(sine) < 1e-12)
                turn = isSame(points.at(j), left) ? 4 : 0;
            if (!std::isnan(turn) && (best < 0 || turn < bestTurn || (turn == bestTurn && d < bestD))) {
                best = j, bestTurn = turn, bestD = d;
                bestU = {-cx * c + cy * s, -cx * s - cy * c};
            }
        }
        if (best < 0) {
            indices.append(first);
            return true;
        }
        left = points.at(at);
        u = bestU;
        at = best;
        indices.append(at);
        if (indices.size() > 2 && isSame(points.at(at), points.at(indices.at(1))) &&
            isSame(left, points.at(first))) {
            indices.removeLast();
            return true;
        }
        if (indices.size() > 2 * points.size())
            return false;
    }
}

inline double literalSide(const HullPoint& a, const HullPoint& b, const HullPoint& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

inline bool literalCrossing(const HullPoint& a, const HullPoint& b, const HullPoint& c, const HullPoint& d) {
    const auto apart = [](double s, double t) { return (s > 0 && t < 0) || (s < 0 && t > 0); };
    const auto overlap = [](double a1, double a2, double b1, double b2) {
        return std::min(a1, a2) <= std::max(b1, b2) && std::min(b1, b2) <= std::max(a1, a2);
    };
    return overlap(a.x, b.x, c.x, d.x) && overlap(a.y, b.y, c.y, d.y) &&
           apart(literalSide(a, b, c), literalSide(a, b, d)) &&
           apart(literalSide(c, d, a), literalSide(c, d, b));
}

inline QList<HullPoint> literalPseudoHull(const QList<HullPoint>& points, double reach, int limit) {
    if (points.size() < 3)
        return points;
    const int first = literalLowest(points);
    if (first < 0)
        return {};
    QList<HullPoint> hull{points.at(first)};
    struct Choice {
        double turn, distance;
        HullPoint p;
    };
    while (limit < 1 || hull.size() < limit) {
        const HullPoint at = hull.last();
        const bool isSecond = hull.size() == 1;
        HullPoint back(1, 0);
        if (!isSecond) {
            const HullPoint way(hull.at(hull.size() - 2).x - at.x, hull.at(hull.size() - 2).y - at.y);
            const double length = std::sqrt(way.x * way.x + way.y * way.y);
            back = {way.x / length, way.y / length};
        }
        std::vector<Choice> choices;
        for (const HullPoint& p : points) {
            const double dx = p.x - at.x, dy = p.y - at.y, d = std::sqrt(dx * dx + dy * dy);
            const bool isListed =
                std::any_of(hull.begin(), hull.end(), [&](const HullPoint& q) { return isSame(p, q); });
            if (!(d > 0 && std::isfinite(d) && (isSecond || d <= reach)) ||
                (isListed && !(hull.size() > 2 && isSame(p, hull.first()))))
                continue;
            const double x = dx / d, y = dy / d, cosine = back.x * x + back.y * y,
                         sine = back.x * y - back.y * x;
            const bool isBehind = cosine > 0 && std::fabs(sine) < 1e-12;
            choices.push_back({isSecond ? -x : isBehind ? 4 : literalTurn(cosine, sine), d, p});
        }
        std::stable_sort(choices.begin(), choices.end(), [](const Choice& a, const Choice& b) {
            return a.turn != b.turn ? a.turn < b.turn : a.distance < b.distance;
        });
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
