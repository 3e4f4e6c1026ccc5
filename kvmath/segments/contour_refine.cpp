// Refinement of the corners of a contour. A pass costs one fit of every piece whose breaks moved, and no
// allocation after the first. A dropped corner continues the sums of the piece before it: they run on in
// index order, so the merged piece is fitted as from its first point.

#include <kvmath/segments/contour_split_p.h>

#include <kvmath/segments/line_geometry.h>

#include <algorithm>
#include <cmath>

namespace KvMath::Internal {

namespace {

using Point = KvVector2D<double>;
using Fit = ContourPieces::Fit;

Point minus(const Point& p, const Point& q) { return {p.x - q.x, p.y - q.y}; }
double dot(const Point& p, const Point& q) { return p.x * q.x + p.y * q.y; }
double squaredDistance(const Point& p, const Point& q) {
    const Point d = minus(p, q);
    return dot(d, d);
}

Point foot(const LineABC& line, const Point& q) {
    Point p;
    nearestLinePointToPoint(line, q, p);
    return p;
}

LineABC lineThrough(const Point& p, const Point& q) {
    LineABC line;
    LinePP2LineABC(LinePP(p, q), line);
    return line;
}

/// Takes the bounds over and returns the points whose sums are missing: the whole piece, or what was added
/// behind it.
PointRange rebound(Fit& fit, int from, int to, const Point* pts) {
    if (fit.from != from || fit.to > to) {
        fit.sums = MomentSums();
        fit.to = from - 1;
    }
    const PointRange missing{pts + fit.to + 1, pts + to + 1};
    fit.from = from;
    fit.to = to;
    return missing;
}

void updateLine(Fit& fit, const Point* pts) {
    fit.line = fitLine(fit.sums, {pts + fit.from, pts + fit.to + 1});
}

/// Fits a line to every piece; unchanged pieces keep theirs. Two at a time, for the speed of addPoints.
void fitPieces(const Point* pts, const std::vector<int>& breaks, std::vector<Fit>& fits) {
    fits.resize(breaks.size() - 1);
    Fit* waiting = nullptr;
    PointRange waitingPoints{nullptr, nullptr};
    for (size_t k = 0; k < fits.size(); ++k) {
        Fit& fit = fits[k];
        if (fit.from == breaks[k] && fit.to == breaks[k + 1])
            continue;
        const PointRange points = rebound(fit, breaks[k], breaks[k + 1], pts);
        if (waiting == nullptr) {
            waiting = &fit;
            waitingPoints = points;
            continue;
        }
        addPoints(waiting->sums, waitingPoints, fit.sums, points);
        updateLine(*waiting, pts);
        updateLine(fit, pts);
        waiting = nullptr;
    }
    if (waiting != nullptr) {
        addPoints(waiting->sums, waitingPoints);
        updateLine(*waiting, pts);
    }
}

/// True when v, where both lines meet, lies beyond the far end of one of the two pieces. NaN does not.
bool isOverrun(const Point* pts, const Fit& before, const Fit& after, const Point& v) {
    const Point& corner = pts[after.from];
    const Point d1 = minus(foot(before.line, pts[before.from]), foot(before.line, corner));
    const Point d2 = minus(foot(after.line, pts[after.to]), foot(after.line, corner));
    const Point offset = minus(v, corner);
    return dot(offset, d1) >= dot(d1, d1) || dot(offset, d2) >= dot(d2, d2);
}

/// Vertices where neighbouring lines meet. A corner beyond its pieces is dropped with its break, and the walk
/// goes on from the merged piece; vertices before it stay. Breaks, fits and vertices are compacted while
/// reading ahead.
void intersectPieces(const Point* pts, int n, ContourPieces& pieces) {
    std::vector<Fit>& fits = pieces.fits;
    std::vector<Point>& vertices = pieces.vertices;
    vertices.assign(1, Point());
    size_t last = 0;  // the piece that the walk has reached
    for (size_t k = 1; k < fits.size(); ++k) {
        Point v;
        linesIntersection(fits[last].line, fits[k].line, v);
        if (isOverrun(pts, fits[last], fits[k], v)) {
            addPoints(fits[last].sums, rebound(fits[last], fits[last].from, fits[k].to, pts));
            updateLine(fits[last], pts);
            continue;
        }
        vertices.push_back(v);
        ++last;
        if (last != k)
            fits[last] = fits[k];
        pieces.breaks[last] = fits[last].from;
    }
    fits.resize(last + 1);
    pieces.breaks.resize(last + 2);
    pieces.breaks.back() = n - 1;
    vertices.front() = foot(fits.front().line, pts[0]);
    vertices.push_back(foot(fits.back().line, pts[n - 1]));
}

/// Moves each interior break to where the points change over the bisector of its corner.
void moveBreaks(const Point* pts, ContourPieces& pieces) {
    std::vector<int>& breaks = pieces.breaks;
    for (size_t k = 0; k + 2 < breaks.size(); ++k) {
        const Point& corner = pieces.vertices[k + 1];
        const LineABC before = lineThrough(pieces.vertices[k], corner);
        const LineABC after = lineThrough(corner, pieces.vertices[k + 2]);
        const Point normal(before.a - after.a, before.b - after.b);
        const auto side = [&](int index) {
            const double offset = dot(normal, minus(corner, pts[index]));
            return static_cast<int>(offset > 0) - static_cast<int>(offset < 0);
        };
        const int startSide = side(breaks[k]);
        int& at = breaks[k + 1];
        if (side(at) == startSide) {
            while (at < breaks[k + 2] - 1 && side(at + 1) == startSide)
                ++at;
        } else {
            while (at > breaks[k] + 1 && side(at - 1) != startSide)
                --at;
        }
    }
}

/// Finds that a sequence of break lists repeats itself, remembering one list at a time (Brent, 1980).
class RepetitionWatch {
public:
    explicit RepetitionWatch(std::vector<int>& memory) : seen_(memory) { seen_.clear(); }

    /// Distance to an earlier equal list; 0: none known.
    int period(const std::vector<int>& breaks) {
        ++age_;
        if (breaks == seen_)
            return age_;
        if (age_ == reach_) {
            seen_ = breaks;
            reach_ *= 2;
            age_ = 0;
        }
        return 0;
    }

private:
    std::vector<int>& seen_;
    int age_ = 0;
    int reach_ = 1;
};

}  // namespace

// A pass depends on the points and on the breaks at its start alone. So where the breaks repeat, whole
// periods of the passes to come can be left out.
void refineCorners(const Point* pts, int n, int iterations, ContourPieces& pieces) {
    std::fill(pieces.fits.begin(), pieces.fits.end(), Fit());
    RepetitionWatch watch(pieces.otherBreaks);
    const qint64 longest = 4096 + (1LL << 31) / n;
    bool repeats = false;
    int after = iterations - 1;  // passes after this one
    for (qint64 pass = 1;; ++pass) {
        const int period = repeats ? 0 : watch.period(pieces.breaks);
        if (period > 0) {
            after %= period;
            repeats = true;
        }
        fitPieces(pts, pieces.breaks, pieces.fits);
        intersectPieces(pts, n, pieces);
        if (after == 0 || (pass >= longest && !repeats))
            return;
        moveBreaks(pts, pieces);
        --after;
    }
}

// The squares on both sides are part of the result: a tolerance of 1e300 becomes infinite and never cuts, not
// even against a piece without length, where the product is NaN.
void cutSharpCorners(const Point* pts, double cornerTolerance, ContourPieces& pieces) {
    const std::vector<int>& breaks = pieces.breaks;
    const std::vector<Point>& vertices = pieces.vertices;
    if (vertices.size() < 3)
        return;
    std::vector<int>& newBreaks = pieces.otherBreaks;
    std::vector<Point>& newVertices = pieces.otherVertices;
    newBreaks.assign(1, breaks.front());
    newVertices.assign(1, vertices.front());
    for (size_t k = 1; k + 1 < vertices.size(); ++k) {
        const Point& corner = vertices[k];
        const Point& measured = pts[breaks[k]];
        const LineABC before = lineThrough(newVertices.back(), corner);
        const LineABC after = lineThrough(corner, vertices[k + 1]);
        const Point f1 = foot(before, measured);
        const Point f2 = foot(after, measured);
        const Point g1 = foot(before, pts[newBreaks.back()]);
        const Point h2 = foot(after, pts[breaks[k + 1]]);
        const double offset = std::max(squaredDistance(corner, f1), squaredDistance(corner, f2));
        const double piece = std::min(squaredDistance(f1, g1), squaredDistance(h2, f2));
        const bool cut = offset > cornerTolerance * cornerTolerance * piece;
        newBreaks.push_back(breaks[k]);
        newVertices.push_back(cut ? f1 : corner);
        if (cut) {
            newBreaks.push_back(breaks[k]);
            newVertices.push_back(f2);
        }
    }
    newBreaks.push_back(breaks.back());
    newVertices.push_back(vertices.back());
    pieces.breaks.swap(newBreaks);
    pieces.vertices.swap(newVertices);
}

void extractPieces(const Point* pts, int n, double tolerance, int iterations, double cornerTolerance,
                   ContourPieces& pieces) {
    splitAtDeviations(pts, n, tolerance, pieces);
    if (iterations > 0) {
        refineCorners(pts, n, iterations, pieces);
    } else {
        pieces.vertices.clear();
        for (const int index : pieces.breaks)
            pieces.vertices.push_back(pts[index]);
    }
    cutSharpCorners(pts, cornerTolerance, pieces);
}

}  // namespace KvMath::Internal
