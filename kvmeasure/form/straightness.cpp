// The narrowest zone has an edge of the convex hull on one line and a vertex on the other; along z likewise,
// with the vertex above or below the edge. Hull by A. M. Andrew (Inform. Process. Lett. 9 (1979) 216-219),
// then rotating calipers: n log n, of the few points that hull_candidates_p.h leaves. All products are of
// differences in long double; those of least squares, which take all points, are in double, in sums over
// few points, which long double adds up.

#include <kvmeasure/form/straightness.h>

#include <kvmeasure/base/double_pair_p.h>
#include <kvmeasure/form/contact_search_p.h>
#include <kvmeasure/form/hull_candidates_p.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace KvMeasure {

namespace {

using Internal::DoublePair;
using Internal::pairOf;
using Internal::Real;

struct Place {
    Real x = 0, y = 0;
};

/// The points about the first, and their hull.
class LineZones {
public:
    explicit LineZones(const std::vector<Vector>& points) : points_(points), origin_(points.front()) {}
    void findHull();
    bool isOnePoint() const { return hull_.size() < 2; }
    LineZone narrowest() const;
    LineZone narrowestAlongZ() const;
    LineZone leastSquares(double& deviation) const;

private:
    Place place(int i) const {
        const Vector& p = points_[static_cast<std::size_t>(i)];
        return {Real(p.x) - Real(origin_.x), Real(p.y) - Real(origin_.y)};
    }
    Real turn(int a, int b, int c) const {
        const Place p = place(a), q = place(b), r = place(c);
        return (q.x - p.x) * (r.y - p.y) - (q.y - p.y) * (r.x - p.x);
    }
    int at(std::size_t i) const { return hull_[i < hull_.size() ? i : i - hull_.size()]; }
    std::vector<int> chain(const std::vector<int>& order) const;
    LineZone zoneAlong(Real dx, Real dy) const;
    LineZone touching(int a, int b, int opposite) const;
    template <class Values>
    std::array<Real, 2> sum(const Values& values) const;

    const std::vector<Vector>& points_;
    Vector origin_;
    std::vector<int> hull_;           // counterclockwise; two for points on a line
    std::vector<int> lower_, upper_;  // from left to right
};

std::vector<int> LineZones::chain(const std::vector<int>& order) const {
    std::vector<int> kept;
    for (const int i : order) {
        while (kept.size() > 1 && turn(kept[kept.size() - 2], kept.back(), i) <= 0)
            kept.pop_back();
        kept.push_back(i);
    }
    return kept;
}

void LineZones::findHull() {
    std::vector<int> order = Internal::hullCandidates(points_);
    const auto point = [this](int i) -> const Vector& { return points_[static_cast<std::size_t>(i)]; };
    std::sort(order.begin(), order.end(), [&](int a, int b) {
        return point(a).x != point(b).x   ? point(a).x < point(b).x
               : point(a).y != point(b).y ? point(a).y < point(b).y
                                          : a < b;
    });
    order.erase(
        std::unique(order.begin(), order.end(),
                    [&](int a, int b) { return point(a).x == point(b).x && point(a).y == point(b).y; }),
        order.end());
    lower_ = chain(order);
    std::reverse(order.begin(), order.end());
    upper_ = chain(order);
    hull_ = lower_;
    if (order.size() > 1) {
        hull_.pop_back();
        hull_.insert(hull_.end(), upper_.begin(), upper_.end() - 1);
    }
    std::reverse(upper_.begin(), upper_.end());
}

/// The zone of all points with lines of that direction.
LineZone LineZones::zoneAlong(Real dx, Real dy) const {
    LineZone zone;
    const Real size = std::hypot(dx, dy);
    Real nx = -dy / size, ny = dx / size;
    if (ny < 0 || (ny == 0 && nx < 0)) {
        nx = -nx;
        ny = -ny;
    }
    Real from = std::numeric_limits<Real>::infinity(), to = -from;
    int lowest = 0, highest = 0;
    for (const int i : hull_) {
        const Place p = place(i);
        const Real product = p.x * nx + p.y * ny;
        if (product < from) {
            from = product;
            lowest = i;
        }
        if (product > to) {
            to = product;
            highest = i;
        }
    }
    zone.normal = {double(nx), double(ny)};
    zone.origin = origin_;
    zone.from = double(from);
    zone.to = double(to);
    zone.width = double(to - from);
    zone.height = double((to - from) / ny);
    zone.contacts = {std::min(lowest, highest), std::max(lowest, highest)};
    return zone;
}

/// The zone of an edge and of the point opposite to it; -1 for none.
LineZone LineZones::touching(int a, int b, int opposite) const {
    const Place p = place(a), q = place(b);
    LineZone zone = zoneAlong(q.x - p.x, q.y - p.y);
    zone.contacts = {a, b};
    if (opposite >= 0)
        zone.contacts.push_back(opposite);
    else
        zone.width = zone.height = 0;
    std::sort(zone.contacts.begin(), zone.contacts.end());
    zone.certificate = {zone.width, true, zone.contacts};
    return zone;
}

LineZone LineZones::narrowest() const {
    if (hull_.size() == 2)
        return touching(hull_[0], hull_[1], -1);
    std::size_t far = 1, bestEdge = 0, bestFar = 1;
    Real least = std::numeric_limits<Real>::infinity();
    for (std::size_t i = 0; i < hull_.size(); ++i) {
        const int a = at(i), b = at(i + 1);
        far = std::max(far, i + 1);
        Real product = turn(a, b, at(far));
        for (; far + 1 < i + hull_.size(); ++far) {
            const Real next = turn(a, b, at(far + 1));
            if (!(next > product))
                break;
            product = next;
        }
        const Place p = place(a), q = place(b);
        const Real width = product / std::hypot(q.x - p.x, q.y - p.y);
        if (width < least) {
            least = width;
            bestEdge = i;
            bestFar = far;
        }
    }
    const int a = at(bestEdge), b = at(bestEdge + 1), c = at(bestFar);
    LineZone zone = touching(a, b, c);
    zone.width = double(least);
    // The three contacts alone need the least height of their triangle. Where that is less, the proof is that
    // every edge was tried.
    const auto side = [this](int i, int k) {
        const Place p = place(i), q = place(k);
        return std::hypot(q.x - p.x, q.y - p.y);
    };
    const Real alone = turn(a, b, c) / std::max({side(a, b), side(b, c), side(c, a)});
    zone.certificate.lowerBound = zone.width;
    if (alone < least * (1 - 1e-15L))
        zone.certificate.points.clear();
    return zone;
}

/// Along z the width is convex in the slope, so that an edge with a vertex above or below it is the least.
LineZone LineZones::narrowestAlongZ() const {
    if (points_[static_cast<std::size_t>(lower_.front())].x ==
        points_[static_cast<std::size_t>(lower_.back())].x) {
        LineZone none;
        none.reason = "all points have the same x, so that no line has a zone along z";
        return none;
    }
    if (hull_.size() == 2)
        return touching(hull_[0], hull_[1], -1);
    // Where a vertex stands above another one, edges on both sides have its height, and not all of their
    // directions hold the other points as well.
    constexpr Real kSame = 1e-15L;
    Real greatest = -1;
    std::vector<std::array<int, 3>> contacts;
    const auto look = [&](int first, int second, int vertex, Real side) {
        const Place p = place(vertex), a = place(first), b = place(second);
        if (!(b.x > a.x) || p.x < a.x || p.x > b.x)
            return;
        const Real above = side * turn(first, second, vertex) / (b.x - a.x);
        if (above * (1 - kSame) > greatest)
            contacts.clear();
        if (above >= greatest * (1 - kSame))
            contacts.push_back({first, second, vertex});
        greatest = std::max(greatest, above);
    };
    const auto walk = [&](const std::vector<int>& edges, const std::vector<int>& vertices, Real side) {
        std::size_t edge = 0;
        for (const int v : vertices) {
            while (edge + 2 < edges.size() && place(edges[edge + 1]).x < place(v).x)
                ++edge;
            for (std::size_t i = edge; i < edge + 2 && i + 1 < edges.size(); ++i)
                look(edges[i], edges[i + 1], v, side);
        }
    };
    walk(lower_, upper_, 1);
    walk(upper_, lower_, -1);
    LineZone zone;
    for (const auto& [a, b, vertex] : contacts) {
        const LineZone found = touching(a, b, vertex);
        if (zone.contacts.empty() || found.height < zone.height)
            zone = found;
    }
    zone.height = double(greatest);
    zone.certificate.lowerBound = zone.height;
    return zone;
}

/// The sum of a pair of values over all points.
template <class Values>
std::array<Real, 2> LineZones::sum(const Values& values) const {
    constexpr std::size_t kBlock = 64;  // points, in two sums
    std::array<Real, 2> total{};
    for (std::size_t from = 0; from < points_.size(); from += kBlock) {
        const std::size_t to = std::min(points_.size(), from + kBlock);
        DoublePair even{}, odd{};
        for (std::size_t i = from; i + 1 < to; i += 2) {
            even += values(pairOf(points_[i]));
            odd += values(pairOf(points_[i + 1]));
        }
        if ((to - from) % 2 != 0)
            even += values(pairOf(points_[to - 1]));
        for (const std::size_t k : {0U, 1U})
            total[k] += Real(even[k]) + Real(odd[k]);
    }
    return total;
}

/// In units of the extent, a power of two, so that no square is out of range.
LineZone LineZones::leastSquares(double& deviation) const {
    Real extent = 0;
    for (const int i : hull_)
        extent = std::max({extent, std::fabs(place(i).x), std::fabs(place(i).y)});
    constexpr int kMostExponent = 1000;
    const int exponent = std::clamp(std::ilogb(extent), -kMostExponent, kMostExponent);
    const double scale = std::scalbn(1.0, -exponent);
    const DoublePair origin = pairOf(origin_) * scale;
    const auto count = Real(points_.size());
    const auto first = sum([&](const DoublePair& p) { return p * scale - origin; });
    const DoublePair mean{double(first[0] / count), double(first[1] / count)};
    const auto squares = sum([&](const DoublePair& p) {
        const DoublePair d = p * scale - origin - mean;
        return d * d;
    });
    const auto products = sum([&](const DoublePair& p) {
        const DoublePair d = p * scale - origin - mean;
        return DoublePair{d[0] * d[1], 0};
    });
    const Real angle = std::atan2(2 * products[0], squares[0] - squares[1]) / 2;
    const Real dx = std::cos(angle), dy = std::sin(angle);
    const DoublePair across{-double(dy), double(dx)};
    const auto distances = sum([&](const DoublePair& p) {
        const DoublePair d = (p * scale - origin - mean) * across;
        return DoublePair{(d[0] + d[1]) * (d[0] + d[1]), 0};
    });
    deviation = std::scalbn(double(std::sqrt(distances[0] / count)), exponent);
    return zoneAlong(dx, dy);
}

}  // namespace

Straightness straightness(const std::vector<Vector>& points) {
    Straightness result;
    result.count = static_cast<int>(points.size());
    const auto none = [&](const QString& reason) {
        for (LineZone* zone : {&result.minimumZone, &result.minimumZoneAlongZ, &result.leastSquares})
            zone->reason = reason;
        return result;
    };
    if (points.size() < 2)
        return none("fewer than two points");
    LineZones zones(points);
    zones.findHull();
    if (zones.isOnePoint())
        return none("all points lie in one place");
    result.minimumZone = zones.narrowest();
    result.minimumZoneAlongZ = zones.narrowestAlongZ();
    result.leastSquares = zones.leastSquares(result.deviation);
    return result;
}

}  // namespace KvMeasure
