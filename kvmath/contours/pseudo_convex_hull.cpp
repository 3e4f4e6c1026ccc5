// The next point of the outline is the least of a total order (turn from the way back, distance, index) among
// the places that are not part of it and whose segment crosses nothing. The tree of the places refuses boxes
// out of reach or behind the best place so far, and boxes without a free place; each of its boxes also knows
// the box around the segments that start in it, so that only segments nearby are tested for crossing.

#include <kvmath/contours/hull.h>
#include <kvmath/contours/plane_tree_p.h>
#include <kvmath/core/trace_p.h>

#include <QtCore/QString>

namespace KvMath {
namespace {

using Internal::PlanePoint;
using Internal::PlaneTree;

constexpr int kTraceLevel = 1;
constexpr double kFar = std::numeric_limits<double>::infinity();
constexpr double kBehind = 1e-12;  // radians; what lies straight behind is a full turn away
constexpr double kLoose = 1e-9;    // radians by which the tests of boxes stand back

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

/// Grows from 0 to 4 with the counter-clockwise angle from 0 to 2 pi; 4 for none.
double turnOf(double cosine, double sine) {
    if (cosine > 0 && std::fabs(sine) < kBehind)
        return 4;
    const double sum = std::fabs(cosine) + std::fabs(sine);
    if (sine >= 0)
        return cosine >= 0 ? sine / sum : 1 - cosine / sum;
    return cosine < 0 ? 2 - sine / sum : 3 + cosine / sum;
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

    int nextAfter(int at, int back) const {
        Candidate last;
        while (true) {
            const Candidate best = sharpest(at, back, last);
            if (best.place < 0 || !isCrossing(at, best.place))
                return best.place;
            last = best;
        }
    }

    /// The first free candidate behind `last` in order; `last` without a place: the first of all.
    Candidate sharpest(int at, int back, const Candidate& last) const {
        const PlanePoint from = point(at);
        PlanePoint backwards = difference(point(back), from);
        const double length = std::sqrt(dot(backwards, backwards));
        backwards = {backwards.x / length, backwards.y / length};
        const PlanePoint leftOfBack(-backwards.y, backwards.x);
        const double squaredReach = reach_ * reach_;
        Candidate best;
        PlanePoint rightOfBest;
        // Given the greatest products with both, and a length in the order of the distance.
        const auto isBehind = [&](double withLeft, double withRight, double size) {
            const bool isBefore = withLeft < -kLoose * size;
            const bool isBeyond = withRight < -kLoose * size;
            return best.turn <= 2 ? isBefore || isBeyond : isBefore && isBeyond;
        };
        const auto isUseless = [&](int node) {
            if (free_[static_cast<size_t>(node)] == 0)
                return true;
            const Internal::BoxView box = tree_.view(node, from);
            if (box.squaredNearest() > squaredReach)
                return true;
            return best.place >= 0 && isBehind(box.support(leftOfBack), box.support(rightOfBest), box.size());
        };
        tree_.search(from, isUseless, [&](int place) {
            if (isFree_[static_cast<size_t>(place)] == 0)
                return;
            const PlanePoint way = difference(point(place), from);
            if (best.place >= 0 &&
                isBehind(dot(way, leftOfBack), dot(way, rightOfBest), std::fabs(way.x) + std::fabs(way.y)))
                return;
            const double d = std::sqrt(dot(way, way));
            if (!(d > 0 && d <= reach_ && d < kFar))
                return;
            const PlanePoint to(way.x / d, way.y / d);
            const Candidate candidate{place, tree_.place(place).index,
                                      turnOf(dot(backwards, to), cross(backwards, to)), d};
            if (last.place >= 0 && !last.isBefore(candidate))
                return;
            if (best.place < 0 || candidate.isBefore(best)) {
                best = candidate;
                rightOfBest = {to.y, -to.x};
            }
        });
        return best;
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
    std::vector<int> free_;      ///< per node: places that are not part of the outline
    std::vector<Box> segments_;  ///< per node: around the segments that start in it
    std::vector<char> isFree_;   ///< per place
    std::vector<int> next_;      ///< per place: the end of the segment that starts there; -1: none
};

void trace(const char* text, int count, const char* reason) {
    if (Internal::traceEnabled(kTraceLevel))
        Internal::trace(kTraceLevel, QString::fromLatin1(text).arg(count) + QLatin1String(reason));
}

}  // namespace

QList<KvVector2D<double>> getPseudoConvexHull(const QList<KvVector2D<double>>& points, double Rmax,
                                              int maxPointsNumber) {
    if (Internal::traceEnabled(kTraceLevel))
        Internal::trace(
            kTraceLevel,
            QStringLiteral("Contours::getPseudoConvexHull(points(count=%1), Rmax=%2, maxPointsNumber=%3)")
                .arg(points.size())
                .arg(Rmax)
                .arg(maxPointsNumber));
    if (points.size() < 3) {
        trace("Contours::getPseudoConvexHull returning points(count=%1)", points.size(),
              " <points.size <= 2>");
        return points;
    }
    QList<KvVector2D<double>> hull;
    const int first = Internal::lowestPoint(points);
    if (first >= 0)
        hull = Outline(points, Rmax).walk(points.at(first), maxPointsNumber);
    trace("Contours::getPseudoConvexHull retuning res(count=%1)", hull.size(),
          " <ok>");  // published spelling
    return hull;
}

}  // namespace KvMath
