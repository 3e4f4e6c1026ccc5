// The recursive split of a contour, from left to right. Its cost is the search for the farthest point: one
// scan of the points per piece that is looked at, so that it is written for the vector unit.

#include <kvmath/segments/contour_split_p.h>

#include <kvmath/segments/double_pair_p.h>

#include <algorithm>
#include <cmath>

namespace KvMath::Internal {

namespace {

using Point = KvVector2D<double>;

constexpr int kBlock = 64;  // points whose distances share one look for a new maximum

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

/// The greatest distance in a block, -1 when all are NaN.
template <class Distance>
double greatestInBlock(const Distance& distance, const Point* pts) {
    double greatest = -1;
    for (int k = 0; k < kBlock; ++k) {
        const double d = distance(pts[k]);
        greatest = d > greatest ? d : greatest;
    }
    return greatest;
}

// Two points at a time by the same expression. Lanes have maxima of their own, which meet at the end: a
// maximum is the same in any order.
double greatestInBlock(const FromChord& chord, const Point* pts) {
    const DoublePair origin = pairOf(chord.origin);
    const DoublePair normal{chord.nx, chord.ny};
    DoublePair greatest[2] = {{-1, -1}, {-1, -1}};
    for (int k = 0; k < kBlock; k += 4) {
        for (int half = 0; half < 2; ++half) {
            const DoublePair first = normal * (origin - pairOf(pts[k + 2 * half]));
            const DoublePair second = normal * (origin - pairOf(pts[k + 2 * half + 1]));
            const DoublePair offsets = DoublePair{first[0], second[0]} + DoublePair{first[1], second[1]};
            greatest[half] = greater(magnitudes(offsets), greatest[half]);
        }
    }
    const DoublePair both = greater(greatest[0], greatest[1]);
    return std::max(both[0], both[1]);
}

/// First of the farthest points in from .. to - 1. Whole blocks are asked for their maximum only; where it
/// exceeds all before, the point is looked up after the scan.
template <class Distance>
Farthest farthestPoint(const Distance& distance, const Point* pts, int from, int to) {
    Farthest found;
    int block = -1;
    int k = from;
    for (; to - k >= kBlock; k += kBlock) {
        const double d = greatestInBlock(distance, pts + k);
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
        found.index = static_cast<int>(std::find_if(pts + block, pts + block + kBlock, isFarthest) - pts);
    }
    return found;
}

Farthest farthestFromChord(const Point* pts, int i, int j) {
    const FromChord chord(pts[i], pts[j]);
    if (chord.length == 0)
        return farthestPoint(FromPoint{pts[i]}, pts, i + 1, j);
    return farthestPoint(chord, pts, i + 1, j);
}

/// No distance between such points overflows, none is NaN.
bool areModest(const Point* pts, int n) {
    return std::all_of(pts, pts + n,
                       [](const Point& p) { return std::fabs(p.x) < 1e150 && std::fabs(p.y) < 1e150; });
}

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
    while (!pending.empty()) {
        const Farthest found = farthestFromChord(pts, breaks.back(), pending.back());
        if (found.index < 0 || tolerance > found.distance) {
            breaks.push_back(pending.back());
            pending.pop_back();
        } else {
            pending.push_back(found.index);
        }
    }
}

}  // namespace KvMath::Internal
