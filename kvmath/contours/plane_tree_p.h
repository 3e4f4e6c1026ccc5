#pragma once
// Places in a plane, searched near first by questions that can refuse whole boxes.

#include <kvmath/base/vector2d.h>

#include <QtCore/QList>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <unordered_map>
#include <vector>

namespace KvMath::Internal {

using PlanePoint = KvVector2D<double>;

inline bool isSamePlace(const PlanePoint& a, const PlanePoint& b) { return a.x == b.x && a.y == b.y; }

/// Index of the lowest point, the leftmost of equally low ones, the first of repeated ones. Points with a NaN
/// do not count; -1 when there is no other.
int lowestPoint(const QList<PlanePoint>& points);

/// Bounds of a box seen from a place. Differences are rounded as those of the points in the box are, and
/// rounding keeps order: the least square is never above that of a point in the box, computed alike.
struct BoxView {
    double left, right, below, above;
    double squaredNearest() const {
        const double x = std::max({left, -right, 0.0});
        const double y = std::max({below, -above, 0.0});
        return x * x + y * y;
    }
    double squaredFarthest() const {
        const double x = std::max(-left, right);
        const double y = std::max(-below, above);
        return x * x + y * y;
    }
    /// At least the distance of any place in the box.
    double size() const { return std::max(-left, right) + std::max(-below, above); }
    /// Greatest product of `v` with a place in the box.
    double support(const PlanePoint& v) const {
        return (v.x < 0 ? left : right) * v.x + (v.y < 0 ? below : above) * v.y;
    }
};

/// A box with one side along the places in it, in its own axes, seen from a place. It is thin where the
/// places lie on a line or a gentle curve, whatever its direction, and there tells what the upright box
/// cannot.
struct SlabView {
    PlanePoint along;  ///< unit vector; the other axis is this one turned to the left
    double start, end, right, left;

    /// The components of `v` in the axes of the slab.
    PlanePoint inAxes(const PlanePoint& v) const {
        return {v.x * along.x + v.y * along.y, along.x * v.y - along.y * v.x};
    }
    /// Greatest product of `v` with a place in the slab. NaN when the slab is not known.
    double support(const PlanePoint& v) const {
        const PlanePoint own = inAxes(v);
        return (own.x < 0 ? start : end) * own.x + (own.y < 0 ? right : left) * own.y;
    }
};

/// A sector of a ring around the places of a box, thin where they lie on an arc of any curvature. Seen as the
/// way from its centre to a place.
struct RingView {
    double innerRadius, outerRadius;
    PlanePoint toward;  ///< from the centre to the place it is seen from
    PlanePoint one,
        two;  ///< unit vectors: the sector opens from `one` counter-clockwise to `two`, less than half a turn

    /// Least square of a distance from the place to one in the sector.
    double squaredNearest() const {
        const double squared = toward.x * toward.x + toward.y * toward.y;
        const bool isInside =
            one.x * toward.y - one.y * toward.x >= 0 && toward.x * two.y - toward.y * two.x >= 0;
        const double along =
            isInside ? std::sqrt(squared)
                     : std::max(one.x * toward.x + one.y * toward.y, two.x * toward.x + two.y * toward.y);
        const double radius = std::min(std::max(along, innerRadius), outerRadius);
        return squared + radius * (radius - 2 * along);
    }
};

/// Balanced k-d tree (Bentley 1975) over the finite points, repeated ones once, under their lowest index.
/// Built in n log n; memory in proportion to the points.
class PlaneTree {
public:
    struct Place {
        PlanePoint p;
        int index;  ///< of the point in the list
    };
    struct Node {
        double minX, maxX, minY, maxY;
        int first, last;  ///< places first ... last - 1
    };

    explicit PlaneTree(const QList<PlanePoint>& points) : PlaneTree(finitePlaces(points)) {}
    explicit PlaneTree(std::vector<Place> places);
    static std::vector<Place> finitePlaces(const QList<PlanePoint>& points);

    int nodes() const { return static_cast<int>(nodes_.size()); }
    const Node& node(int i) const { return nodes_[static_cast<size_t>(i)]; }
    const Place& place(int i) const { return places_[static_cast<size_t>(i)]; }
    bool isLeaf(int i) const { return node(i).last - node(i).first <= kPlacesPerLeaf; }
    /// Children of a node that is no leaf; the first holds the earlier places.
    static int firstChild(int i) { return 2 * i + 1; }
    static int secondChild(int i) { return 2 * i + 2; }
    int childWith(int i, int place) const {
        return place < node(firstChild(i)).last ? firstChild(i) : secondChild(i);
    }

    BoxView view(int i, const PlanePoint& from) const {
        const Node& box = node(i);
        return {box.minX - from.x, box.maxX - from.x, box.minY - from.y, box.maxY - from.y};
    }

    SlabView slab(int i, const PlanePoint& from) const {
        Slab& box = slabs_[static_cast<size_t>(i)];
        if (!box.isKnown)
            box = slabOf(i);
        const SlabView axes{box.along, 0, 0, 0, 0};
        const PlanePoint origin = axes.inAxes({box.origin.x - from.x, box.origin.y - from.y});
        return {box.along, origin.x + box.start, origin.x + box.end, origin.y + box.right,
                origin.y + box.left};
    }

    /// Seen from `from` + `beyond`. False while the ring of a node is not worth its making, or where the
    /// places lie on no arc. Places on an arc are asked for again and again by a coin that nearly fits it.
    bool ring(int i, const PlanePoint& from, const PlanePoint& beyond, RingView& view) const {
        Slab& box = slabs_[static_cast<size_t>(i)];
        if (!box.isKnown || box.asked > kAskedForRing)
            return false;
        if (box.asked < kAskedForRing) {
            ++box.asked;
            return false;
        }
        auto [place, isNew] = rings_.try_emplace(i);
        Ring& ring = place->second;
        if (isNew && !makeRing(i, ring)) {
            rings_.erase(place);
            ++box.asked;
            return false;
        }
        view = {ring.innerRadius,
                ring.outerRadius,
                {from.x - ring.centre.x + beyond.x, from.y - ring.centre.y + beyond.y},
                ring.one,
                ring.two};
        return true;
    }

    /// Calls visit(place) for the places of all leaves whose boxes, and those around them, reject(node) lets
    /// pass; the nearer of two boxes first, so that a question that narrows with its answers narrows soon.
    template <class Reject, class Visit>
    void search(const PlanePoint& from, Reject reject, Visit visit) const {
        if (places_.empty())
            return;
        std::array<int, kDeepest> open;
        size_t count = 0;
        open[count++] = 0;
        while (count > 0) {
            const int i = open[--count];
            if (reject(i))
                continue;
            if (isLeaf(i)) {
                for (int place = node(i).first; place < node(i).last; ++place)
                    visit(place);
                continue;
            }
            const bool swapped =
                view(firstChild(i), from).squaredNearest() <= view(secondChild(i), from).squaredNearest();
            open[count++] = swapped ? secondChild(i) : firstChild(i);
            open[count++] = swapped ? firstChild(i) : secondChild(i);
        }
    }

private:
    static constexpr int kPlacesPerLeaf = 8;
    static constexpr size_t kDeepest = 64;  // a path of 2^31 places is half as long

    static constexpr int kAskedForRing = 32;

    struct Slab {
        bool isKnown = false;
        int asked =
            0;  ///< how often the slab did not tell enough, to kAskedForRing; one more: there is no ring
        PlanePoint origin, along;
        double start = 0, end = 0, right = 0, left = 0;  ///< from the origin
    };

    struct Ring {
        PlanePoint centre, one, two;
        double innerRadius = 0, outerRadius = 0;
    };

    void build(int node, int first, int last);
    PlanePoint farthestFrom(const PlanePoint& from, int node) const;
    Slab slabOf(int node) const;
    bool makeRing(int node, Ring& ring) const;

    std::vector<Place> places_;
    std::vector<Node> nodes_;
    mutable std::vector<Slab> slabs_;  ///< made when first asked for: most boxes never are
    mutable std::unordered_map<int, Ring> rings_;
};

}  // namespace KvMath::Internal
