// Boxes are halved at the median of their longer side (J. L. Bentley, Comm. ACM 18 (1975) 509-517). So the
// tree is balanced and needs no pointers: the children of node i are 2 i + 1 and 2 i + 2. A slab is made when
// a search first asks for it; two looks for the farthest place give its direction, which need not be the
// longest. Built in n log n.
#include <kvmath/contours/plane_tree_p.h>

namespace KvMath::Internal {
namespace {

constexpr double kLeastLength = 1e-140;  // squares of shorter ones lose digits

}  // namespace

int lowestPoint(const QList<PlanePoint>& points) {
    int lowest = -1;
    PlanePoint least;
    for (int i = 0; i < points.size(); ++i) {
        const PlanePoint& p = points.at(i);
        if (std::isnan(p.x) || std::isnan(p.y))
            continue;
        if (lowest < 0 || p.y < least.y || (p.y == least.y && p.x < least.x)) {
            lowest = i;
            least = p;
        }
    }
    return lowest;
}

std::vector<PlaneTree::Place> PlaneTree::finitePlaces(const QList<PlanePoint>& points) {
    std::vector<Place> places;
    places.reserve(static_cast<size_t>(points.size()));
    for (int i = 0; i < points.size(); ++i) {
        const PlanePoint& p = points.at(i);
        if (std::isfinite(p.x) && std::isfinite(p.y))
            places.push_back({p, i});
    }
    return places;
}

PlaneTree::PlaneTree(std::vector<Place> places) : places_(std::move(places)) {
    // Each place once: the first index stands for all.
    std::sort(places_.begin(), places_.end(), [](const Place& a, const Place& b) {
        if (a.p.x != b.p.x)
            return a.p.x < b.p.x;
        return a.p.y != b.p.y ? a.p.y < b.p.y : a.index < b.index;
    });
    places_.erase(std::unique(places_.begin(), places_.end(),
                              [](const Place& a, const Place& b) { return isSamePlace(a.p, b.p); }),
                  places_.end());
    if (places_.empty())
        return;
    size_t leaves = 1;
    while (leaves * kPlacesPerLeaf < places_.size())
        leaves *= 2;
    nodes_.resize(2 * leaves - 1);
    slabs_.resize(nodes_.size());
    build(0, 0, static_cast<int>(places_.size()));
}

void PlaneTree::build(int node, int first, int last) {
    const auto from = places_.begin() + first;
    const auto to = places_.begin() + last;
    constexpr double kFar = std::numeric_limits<double>::infinity();
    Node box{kFar, -kFar, kFar, -kFar, first, last};
    for (auto place = from; place != to; ++place) {
        box.minX = std::min(box.minX, place->p.x);
        box.maxX = std::max(box.maxX, place->p.x);
        box.minY = std::min(box.minY, place->p.y);
        box.maxY = std::max(box.maxY, place->p.y);
    }
    nodes_[static_cast<size_t>(node)] = box;
    if (isLeaf(node))
        return;
    const int middle = first + (last - first) / 2;
    if (box.maxX - box.minX > box.maxY - box.minY)
        std::nth_element(from, places_.begin() + middle, to,
                         [](const Place& a, const Place& b) { return a.p.x < b.p.x; });
    else
        std::nth_element(from, places_.begin() + middle, to,
                         [](const Place& a, const Place& b) { return a.p.y < b.p.y; });
    build(firstChild(node), first, middle);
    build(secondChild(node), middle, last);
}

PlanePoint PlaneTree::farthestFrom(const PlanePoint& from, int i) const {
    PlanePoint farthest = from;
    double most = 0;
    for (int k = node(i).first; k < node(i).last; ++k) {
        const PlanePoint q(place(k).p.x - from.x, place(k).p.y - from.y);
        const double squared = q.x * q.x + q.y * q.y;
        if (squared > most) {
            most = squared;
            farthest = place(k).p;
        }
    }
    return farthest;
}

/// Along the longest way that two looks find. Where the lengths leave the range of numbers, and for a single
/// place, it is NaN or nothing, and refuses nothing.
PlaneTree::Slab PlaneTree::slabOf(int i) const {
    Slab slab;
    slab.isKnown = true;
    slab.origin = farthestFrom(place(node(i).first).p, i);
    const PlanePoint other = farthestFrom(slab.origin, i);
    const PlanePoint way(other.x - slab.origin.x, other.y - slab.origin.y);
    const double length = std::sqrt(way.x * way.x + way.y * way.y);
    constexpr double kUnset = std::numeric_limits<double>::quiet_NaN();
    slab.along =
        length > kLeastLength ? PlanePoint(way.x / length, way.y / length) : PlanePoint(kUnset, kUnset);
    const SlabView axes{slab.along, 0, 0, 0, 0};
    for (int k = node(i).first; k < node(i).last; ++k) {
        const PlanePoint q = axes.inAxes({place(k).p.x - slab.origin.x, place(k).p.y - slab.origin.y});
        slab.start = std::min(slab.start, q.x);
        slab.end = std::max(slab.end, q.x);
        slab.right = std::min(slab.right, q.y);
        slab.left = std::max(slab.left, q.y);
    }
    return slab;
}

/// Through the two ends of the slab and the place farthest from the line between them. False when the places
/// lie on no arc: the ring is then hardly thinner than the slab, or they reach around too far.
bool PlaneTree::makeRing(int i, Ring& ring) const {
    const Slab& slab = slabs_[static_cast<size_t>(i)];
    const double length = slab.end - slab.start;
    const SlabView axes{slab.along, 0, 0, 0, 0};
    PlanePoint top;
    for (int k = node(i).first; k < node(i).last; ++k) {
        const PlanePoint q = axes.inAxes({place(k).p.x - slab.origin.x, place(k).p.y - slab.origin.y});
        if (std::fabs(q.y) > std::fabs(top.y))
            top = q;
    }
    // Centre in the axes of the slab, whose ends are (0, 0) and (end, 0).
    const double x = slab.end / 2;
    const double y = (top.x * (top.x - slab.end) + top.y * top.y) / (2 * top.y);
    const PlanePoint& u = slab.along;
    ring.centre = {slab.origin.x + x * u.x - y * u.y, slab.origin.y + x * u.y + y * u.x};
    const double side = y > 0 ? -1 : 1;
    const PlanePoint middle(-side * u.y, side * u.x);
    ring.innerRadius = std::numeric_limits<double>::infinity();
    double most = -1, least = 1;
    for (int k = node(i).first; k < node(i).last; ++k) {
        const PlanePoint q(place(k).p.x - ring.centre.x, place(k).p.y - ring.centre.y);
        const double radius = std::sqrt(q.x * q.x + q.y * q.y);
        const PlanePoint way(q.x / radius, q.y / radius);
        if (!(way.x * middle.x + way.y * middle.y > 0.1))
            return false;
        ring.innerRadius = std::min(ring.innerRadius, radius);
        ring.outerRadius = std::max(ring.outerRadius, radius);
        const double sine = middle.x * way.y - middle.y * way.x;
        if (sine < least) {
            least = sine;
            ring.one = way;
        }
        if (sine > most) {
            most = sine;
            ring.two = way;
        }
    }
    return length > 0 && ring.outerRadius - ring.innerRadius < (slab.left - slab.right) / 4;
}

}  // namespace KvMath::Internal
