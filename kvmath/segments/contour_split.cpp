// The recursive split of a contour, from left to right. Its cost is the search for the farthest point: one
// scan of the points per piece that is looked at, so that it is written for the vector unit. Where the scans
// come to many passes over the contour, boxes around its points tell most of them apart from the farthest
// without a look: a sawtooth of n points then takes about n log n, not the square. What stays a scan are tips
// that are equally far but for rounding: which of them is first is a matter of every one's last bit.

#include <kvmath/segments/contour_split_p.h>

#include <kvmath/segments/contour_boxes_p.h>
#include <kvmath/segments/double_pair_p.h>

#include <algorithm>
#include <cmath>

namespace KvMath::Internal {

namespace {

using Point = KvVector2D<double>;

constexpr int kBlock = 64;             // points whose distances share one look for a new maximum
constexpr int kScansBeforeBoxes = 32;  // passes over the contour
constexpr int kLeastBlock = 8;         // what is left at the end is a block of a multiple of so many

struct Farthest {
    int index = -1;
    double distance = -1;  // no distance is as small; NaN is never a maximum
};

/// Distance from the straight line through two points.
struct FromChord {
    FromChord(const Point& start, const Point& end) : origin(start) {
        const double dx = end.x - start.x;
        const double dy = end.y - start.y;
        length = std::sqrt(dx * dx + dy * dy);
        nx = -dy / length;
        ny = dx / length;
    }
    double operator()(const Point& p) const {
        return std::fabs(nx * (origin.x - p.x) + ny * (origin.y - p.y));
    }
    Point origin;
    double length, nx, ny;
};

/// Distance from the common end of a chord without length.
struct FromPoint {
    double operator()(const Point& p) const {
        const double dx = origin.x - p.x;
        const double dy = origin.y - p.y;
        return std::sqrt(dx * dx + dy * dy);
    }
    Point origin;
};

struct PlainLanes {};  // a point at a time

/// The greatest distance in a block, -1 when all are NaN.
template <class Lanes, class Distance>
KVMATH_INLINE_KERNEL double greatestInBlock(const Distance& distance, const Point* pts, int size) {
    double greatest = -1;
    for (int k = 0; k < size; ++k) {
        const double d = distance(pts[k]);
        greatest = d > greatest ? d : greatest;
    }
    return greatest;
}

/// As many points as a vector has lanes: lane by lane the greater of their distances and `greatest`.
template <class Lanes>
KVMATH_INLINE_KERNEL void takeFarther(const Point* pts, const Lanes& origin, const Lanes& normal,
                                      Lanes& greatest) {
    constexpr int kPoints = sizeof(Lanes) / sizeof(Point);
    Lanes first;
    Lanes second;
    load(pts, first);
    load(pts + kPoints, second);
    first = normal * (origin - first);
    second = normal * (origin - second);
    Lanes offsets;
    addWithin(first, second, offsets);
    takeGreaterMagnitudes(offsets, greatest);
}

// Several points at a time by the same expression. Lanes have maxima of their own, which meet at the end: a
// maximum is the same in any order.
template <class Lanes>
KVMATH_INLINE_KERNEL double greatestInBlock(const FromChord& chord, const Point* pts, int size) {
    constexpr int kLanes = sizeof(Lanes) / sizeof(double);
    Lanes origin;
    Lanes normal;
    Lanes greatest;
    spread(chord.origin.x, chord.origin.y, origin);
    spread(chord.nx, chord.ny, normal);
    spread(-1.0, -1.0, greatest);
    Lanes other = greatest;
    for (int k = 0; k < size; k += 2 * kLanes) {
        takeFarther(pts + k, origin, normal, greatest);
        takeFarther(pts + k + kLanes, origin, normal, other);
    }
    takeGreater(other, greatest);
    double all = greatest[0];
    for (int lane = 1; lane < kLanes; ++lane)
        all = std::max(all, greatest[lane]);
    return all;
}

/// First of the farthest points in from .. to - 1. Whole blocks are asked for their maximum only; where it
/// exceeds all before, the point is looked up after the scan.
template <class Lanes, class Distance>
KVMATH_INLINE_KERNEL void findFarthest(const Distance& distance, const Point* pts, int from, int to,
                                       Farthest& found) {
    int block = -1;
    int k = from;
    for (int size = 0; to - k >= kLeastBlock; k += size) {
        size = std::min(to - k, kBlock) / kLeastBlock * kLeastBlock;
        const double d = greatestInBlock<Lanes>(distance, pts + k, size);
        if (d > found.distance) {
            found.distance = d;
            block = k;
        }
    }
    for (; k < to; ++k) {
        const double d = distance(pts[k]);
        if (d > found.distance) {
            found = {k, d};
            block = -1;
        }
    }
    if (block >= 0) {
        const auto isFarthest = [&](const Point& p) { return distance(p) == found.distance; };
        found.index = static_cast<int>(std::find_if(pts + block, pts + to, isFarthest) - pts);
    }
}
KVMATH_FOR_AVX2 void findFarthestForAvx2(const FromChord& chord, const Point* pts, int from, int to,
                                         Farthest& found) {
    findFarthest<DoubleQuad>(chord, pts, from, to, found);
}

void findFarthestByLanes(const FromChord& chord, const Point* pts, int from, int to, Farthest& found) {
    if (hasAvx2())
        findFarthestForAvx2(chord, pts, from, to, found);
    else
        findFarthest<DoublePair>(chord, pts, from, to, found);
}

/// The same by boxes: the greatest distance first, then the first point that has it.
void findFarthestByBoxes(const ContourBoxes& boxes, const FromChord& chord, const Point* pts, int from,
                         int to, Farthest& found) {
    static_assert(kBlock == ContourBoxes::kBlock);
    const int first = (from + kBlock - 1) / kBlock, last = to / kBlock;
    findFarthestByLanes(chord, pts, from, first * kBlock, found);
    const ChordNormal normal{chord.origin, chord.nx, chord.ny};
    const double most = boxes.greatest(normal, first, last, found.distance, [&](int start) {
        Farthest inBlock;
        findFarthestByLanes(chord, pts, start, start + kBlock, inBlock);
        return inBlock.distance;
    });
    if (most > found.distance) {
        boxes.firstBlock(normal, first, last, most, [&](int start) {
            Farthest inBlock;
            findFarthestByLanes(chord, pts, start, start + kBlock, inBlock);
            if (inBlock.distance != most)
                return false;
            found = inBlock;
            return true;
        });
    }
    findFarthestByLanes(chord, pts, last * kBlock, to, found);
}

/// No distance between such points overflows, none is NaN.
bool areModest(const Point* pts, int n) {
    return std::all_of(pts, pts + n,
                       [](const Point& p) { return std::fabs(p.x) < 1e150 && std::fabs(p.y) < 1e150; });
}

/// Looks for farthest points in one contour.
class FarthestSearch {
public:
    FarthestSearch(const Point* pts, int n) : pts_(pts), n_(n), budget_(qint64(kScansBeforeBoxes) * n) {}

    Farthest operator()(int i, int j) {
        const FromChord chord(pts_[i], pts_[j]);
        Farthest found;
        if (chord.length == 0) {
            findFarthest<PlainLanes>(FromPoint{pts_[i]}, pts_, i + 1, j, found);
            return found;
        }
        const bool isLong = j - i > kLong;
        if (isLong && budget_ > 0 && (budget_ -= j - i) <= 0 && areModest(pts_, n_))
            boxes_ = ContourBoxes(pts_, n_);
        if (isLong && !boxes_.isEmpty())
            findFarthestByBoxes(boxes_, chord, pts_, i + 1, j, found);
        else
            findFarthestByLanes(chord, pts_, i + 1, j, found);
        return found;
    }

private:
    static constexpr int kLong = 8 * ContourBoxes::kBlock;  // points that are sooner scanned

    const Point* pts_;
    int n_;
    qint64 budget_;  ///< of points that are scanned before boxes are made
    ContourBoxes boxes_;
};

}  // namespace

void splitAtDeviations(const Point* pts, int n, double tolerance, ContourPieces& pieces) {
    std::vector<int>& breaks = pieces.breaks;
    breaks.clear();
    if (!(tolerance > 0) && areModest(pts, n)) {
        // Every distance is at least such a tolerance: each point becomes a break, in whatever order.
        for (int k = 0; k < n; ++k)
            breaks.push_back(k);
        return;
    }
    std::vector<int>& pending = pieces.otherBreaks;
    pending.assign(1, n - 1);
    breaks.push_back(0);
    FarthestSearch farthestFromChord(pts, n);
    while (!pending.empty()) {
        const Farthest found = farthestFromChord(breaks.back(), pending.back());
        if (found.index < 0 || tolerance > found.distance) {
            breaks.push_back(pending.back());
            pending.pop_back();
        } else {
            pending.push_back(found.index);
        }
    }
}

}  // namespace KvMath::Internal
