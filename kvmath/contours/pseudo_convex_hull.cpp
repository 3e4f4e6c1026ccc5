// The next point of the outline is the least of a total order (turn from the way back, distance, index) among
// the places that are not part of it and whose segment crosses nothing. The tree of the places refuses boxes
// out of reach or behind the best places so far, and boxes without a free place; each of its boxes also knows
// the box around the segments that start in it, so that only segments nearby are tested for crossing.

#include <kvmath/base/count_p.h>
#include <kvmath/base/trace_p.h>
#include <kvmath/contours/hull.h>
#include <kvmath/contours/plane_tree_p.h>

#include <QtCore/QString>

namespace KvMath {
namespace {

using Internal::PlanePoint;
using Internal::PlaneTree;

constexpr int kTraceLevel = 1;
constexpr double kFar = std::numeric_limits<double>::infinity();
constexpr double kFullTurn = 4;   // turns are counted in quarters,
constexpr double kRound = 24576;  // compared in steps of 2^-38: the last digit of sums with this is one step
constexpr double kHalfStep = 1.0 / (qint64(1) << 39);
constexpr double kLoose = 1e-13;           // radians by which the tests of boxes stand back
constexpr double kNotFarther = 1 + 1e-14;  // of squares whose roots may be equal
constexpr size_t kMostTries = 256;

double cross(const PlanePoint& a, const PlanePoint& b) { return a.x * b.y - a.y * b.x; }
double dot(const PlanePoint& a, const PlanePoint& b) { return a.x * b.x + a.y * b.y; }
PlanePoint difference(const PlanePoint& a, const PlanePoint& b) { return {a.x - b.x, a.y - b.y}; }

/// > 0 when c lies to the left of the way from a to b.
double side(const PlanePoint& a, const PlanePoint& b, const PlanePoint& c) {
    return cross(difference(b, a), difference(c, a));
}

bool areApart(double a, double b) { return (a > 0 && b < 0) || (a < 0 && b > 0); }

/// Whether the segments cross inside both; touching ends and common stretches do not count.
bool cross(const PlanePoint& a, const PlanePoint& b, const PlanePoint& c, const PlanePoint& d) {
    return areApart(side(a, b, c), side(a, b, d)) && areApart(side(c, d, a), side(c, d, b));
}

/// Grows from 0 to 4 with the counter-clockwise angle from 0 to 2 pi; 4 for none. Rounded, so that points on
/// one straight line are at the same turn, whatever the last digits of their coordinates.
double turnOf(double cosine, double sine) {
    const double sum = std::fabs(cosine) + std::fabs(sine);
    double turn = 0;
    if (sine >= 0)
        turn = cosine >= 0 ? sine / sum : 1 - cosine / sum;
    else
        turn = cosine < 0 ? 2 - sine / sum : 3 + cosine / sum;
    turn = (turn + kRound) - kRound;
    return turn > 0 ? turn : kFullTurn;
}

/// A direction (cosine, sine) at this turn, between 0.7 and 1 long.
PlanePoint directionAt(double turn) {
    if (turn < 2)
        return {1 - turn, turn < 1 ? turn : 2 - turn};
    return {turn - 3, turn < 3 ? 2 - turn : turn - 4};
}

struct Box {
    double minX = kFar, maxX = -kFar, minY = kFar, maxY = -kFar;

    void take(const PlanePoint& p) {
        minX = std::min(minX, p.x);
        maxX = std::max(maxX, p.x);
        minY = std::min(minY, p.y);
        maxY = std::max(maxY, p.y);
    }
    bool meets(const Box& other) const {
        return minX <= other.maxX && other.minX <= maxX && minY <= other.maxY && other.minY <= maxY;
    }
};

Box boxOf(const PlanePoint& a, const PlanePoint& b) {
    Box box;
    box.take(a);
    box.take(b);
    return box;
}

struct Candidate {
    int place = -1;
    int index = -1;
    double turn = 0, distance = 0;

    bool isBefore(const Candidate& other) const {
        if (turn != other.turn)
            return turn < other.turn;
        return distance != other.distance ? distance < other.distance : index < other.index;
    }
};

/// What lies behind a turn, up to straight behind, which is a full turn, on either side of it.
class Behind {
public:
    Behind() = default;
    Behind(double turn, const PlanePoint& backwards, const PlanePoint& left)
        : isWide_(turn <= 2 + kHalfStep), rightOfTurn_(rightOf(directionAt(turn), backwards, left)),
          leftOfBack_(rightOf(directionAt(2 + kHalfStep), backwards, left)) {}

    /// Whether all is there of which `support` gives the greatest products with directions.
    template <class Support>
    bool holds(Support support, double size) const {
        const bool isBeyond = support(rightOfTurn_) < -kLoose * size;
        return isWide_ == isBeyond ? isBeyond : support(leftOfBack_) < -kLoose * size;
    }

private:
    static PlanePoint rightOf(const PlanePoint& way, const PlanePoint& backwards, const PlanePoint& left) {
        return {way.x * backwards.y + way.y * left.y, -(way.x * backwards.x + way.y * left.x)};
    }

    bool isWide_ = true;  ///< half a turn or more
    PlanePoint rightOfTurn_, leftOfBack_;
};

class Outline {
public:
    Outline(const QList<PlanePoint>& points, double reach)
        : tree_(points), reach_(reach), free_(static_cast<size_t>(tree_.nodes())),
          segments_(static_cast<size_t>(tree_.nodes())), isFree_(free_.empty() ? 0 : places(), 1),
          next_(isFree_.size(), -1) {
        for (int i = 0; i < tree_.nodes(); ++i)
            free_[static_cast<size_t>(i)] = tree_.node(i).last - tree_.node(i).first;
    }

    QList<PlanePoint> walk(const PlanePoint& start, int limit) {
        QList<PlanePoint> hull{start};
        const int first = placeAt(start);
        if (first < 0 || limit == 1)
            return hull;
        setFree(first, false);
        int back = first;
        int at = second(start);
        for (int size = 1; at >= 0 && at != first; ++size) {
            hull.append(point(at));
            if (size + 1 == limit)
                break;
            setFree(at, false);
            join(back, at);
            if (size + 1 == 3)
                setFree(first, true);
            const int next = nextAfter(at, back);
            back = at;
            at = next;
        }
        return hull;
    }

private:
    size_t places() const { return static_cast<size_t>(tree_.node(0).last); }
    const PlanePoint& point(int place) const { return tree_.place(place).p; }

    /// Place at these coordinates; -1 when they are not finite.
    int placeAt(const PlanePoint& p) const {
        int found = -1;
        tree_.search(
            p, [&](int node) { return found >= 0 || tree_.view(node, p).squaredNearest() > 0; },
            [&](int place) {
                if (Internal::isSamePlace(point(place), p))
                    found = place;
            });
        return found;
    }

    /// The place seen from the first one at the smallest angle: the lowest place has none below it.
    int second(const PlanePoint& start) const {
        Candidate best;
        tree_.search(
            start, [](int) { return false; },
            [&](int place) {
                const PlanePoint way = difference(point(place), start);
                const double d = std::sqrt(dot(way, way));
                if (!(d > 0 && d < kFar))
                    return;
                Candidate candidate{place, tree_.place(place).index, -way.x / d, d};
                if (best.place < 0 || candidate.isBefore(best))
                    best = candidate;
            });
        return best.place;
    }

    int nextAfter(int at, int back) {
        size_t tried = 0;
        for (size_t count = 1; count <= kMostTries; count *= 16) {
            findFirst(count, viewOf(at, back));
            for (; tried < candidates_.size(); ++tried)
                if (!isCrossing(at, candidates_[tried].place))
                    return candidates_[tried].place;
            if (tried < count)
                break;
        }
        return -1;
    }

    struct View {
        PlanePoint from, backwards, left;
    };

    View viewOf(int at, int back) const {
        const PlanePoint way = difference(point(back), point(at));
        const double length = std::sqrt(dot(way, way));
        const PlanePoint backwards(way.x / length, way.y / length);
        return {point(at), backwards, {-backwards.y, backwards.x}};
    }

    /// Without a place when it is listed or out of reach.
    Candidate candidateAt(int place, const View& view) const {
        const PlanePoint way = difference(point(place), view.from);
        const double d = std::sqrt(dot(way, way));
        if (isFree_[static_cast<size_t>(place)] == 0 || !(d > 0 && d <= reach_ && d < kFar))
            return {};
        const PlanePoint to(way.x / d, way.y / d);
        return {place, tree_.place(place).index, turnOf(dot(view.backwards, to), cross(view.backwards, to)),
                d};
    }

    bool isEmpty(int node, const View& view) const {
        return free_[static_cast<size_t>(node)] == 0 ||
               tree_.view(node, view.from).squaredNearest() > reach_ * reach_ * kNotFarther;
    }

    /// The first `count` candidates in their order.
    void findFirst(size_t count, const View& view) {
        const auto isBefore = [](const Candidate& a, const Candidate& b) { return a.isBefore(b); };
        candidates_.clear();
        Behind farBehind, behind;  // what is at a greater turn than the last of them; at no smaller one
        double squaredLast = 0;
        const auto isUseless = [&](int node) {
            if (isEmpty(node, view))
                return true;
            if (candidates_.size() < count)
                return false;
            const Internal::BoxView box = tree_.view(node, view.from);
            const bool isFarther = box.squaredNearest() > squaredLast * kNotFarther;
            const Behind& region = isFarther ? behind : farBehind;
            const double size = box.size();
            if (region.holds([&](const PlanePoint& v) { return box.support(v); }, size))
                return true;
            if (tree_.isLeaf(node))
                return false;
            const Internal::SlabView slab = tree_.slab(node, view.from);
            return region.holds([&](const PlanePoint& v) { return slab.support(v); }, size);
        };
        tree_.search(view.from, isUseless, [&](int place) {
            const PlanePoint way = difference(point(place), view.from);
            const bool isFull = candidates_.size() == count;
            if (isFull && farBehind.holds([&](const PlanePoint& v) { return dot(way, v); },
                                          std::fabs(way.x) + std::fabs(way.y)))
                return;
            const Candidate candidate = candidateAt(place, view);
            if (candidate.place < 0 || (isFull && !candidate.isBefore(candidates_.front())))
                return;
            if (isFull) {
                std::pop_heap(candidates_.begin(), candidates_.end(), isBefore);
                candidates_.pop_back();
            }
            candidates_.push_back(candidate);
            std::push_heap(candidates_.begin(), candidates_.end(), isBefore);
            const Candidate& last = candidates_.front();
            squaredLast = last.distance * last.distance;
            behind = Behind(last.turn - kHalfStep, view.backwards, view.left);
            farBehind = Behind(last.turn + kHalfStep, view.backwards, view.left);
        });
        std::sort_heap(candidates_.begin(), candidates_.end(), isBefore);
    }

    bool isCrossing(int from, int to) const {
        const PlanePoint a = point(from);
        const PlanePoint b = point(to);
        const Box box = boxOf(a, b);
        bool found = false;
        tree_.search(
            a, [&](int node) { return found || !segments_[static_cast<size_t>(node)].meets(box); },
            [&](int place) {
                const int end = next_[static_cast<size_t>(place)];
                if (end >= 0 && boxOf(point(place), point(end)).meets(box))
                    found = found || cross(a, b, point(place), point(end));
            });
        return found;
    }

    template <class Visit>
    void visitNodesAround(int place, Visit visit) {
        int node = 0;
        visit(static_cast<size_t>(node));
        while (!tree_.isLeaf(node)) {
            node = tree_.childWith(node, place);
            visit(static_cast<size_t>(node));
        }
    }

    void setFree(int place, bool isFree) {
        isFree_[static_cast<size_t>(place)] = isFree ? 1 : 0;
        visitNodesAround(place, [&](size_t node) { free_[node] += isFree ? 1 : -1; });
    }

    void join(int from, int to) {
        next_[static_cast<size_t>(from)] = to;
        visitNodesAround(from, [&](size_t node) {
            segments_[node].take(point(from));
            segments_[node].take(point(to));
        });
    }

    PlaneTree tree_;
    double reach_;
    std::vector<int> free_;              ///< per node: places that are not part of the outline
    std::vector<Box> segments_;          ///< per node: around the segments that start in it
    std::vector<char> isFree_;           ///< per place
    std::vector<Candidate> candidates_;  ///< a heap while they are looked for, the last in front
    std::vector<int> next_;              ///< per place: the end of the segment that starts there; -1: none
};

}  // namespace

QList<KvVector2D<double>> getPseudoConvexHull(const QList<KvVector2D<double>>& points, double Rmax,
                                              int maxPointsNumber) {
    Internal::trace(kTraceLevel,
                    "Contours::getPseudoConvexHull(points(count=%1), Rmax=%2, maxPointsNumber=%3)",
                    points.size(), Rmax, maxPointsNumber);
    if (points.size() < 3) {
        Internal::trace(kTraceLevel,
                        "Contours::getPseudoConvexHull returning points(count=%1) <points.size <= 2>",
                        points.size());
        return points;
    }
    QList<KvVector2D<double>> hull;
    const int first = Internal::lowestPoint(points);
    if (first >= 0)
        hull = Outline(points, Rmax).walk(points.at(first), maxPointsNumber);
    Internal::trace(kTraceLevel, "Contours::getPseudoConvexHull retuning res(count=%1) <ok>",
                    hull.size());  // published spelling
    return hull;
}

}  // namespace KvMath
