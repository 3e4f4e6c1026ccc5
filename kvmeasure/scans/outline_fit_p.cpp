// The lines of an outline, fitted to the outermost point of each column or of each profile, whichever the
// line crosses more of: points further inside say nothing of the edge. Least squares within 2.5 robust
// deviations, repeated until no point changes sides. The edge lies half a point distance further out.
// Then corners are joined, and lines dropped that only cut a corner off: the triangle beyond them is full of
// points. A few passes over the points for each line.
#include <kvmeasure/scans/outline_fit_p.h>

#include <kvmath/segments/line_geometry.h>

#include <algorithm>
#include <cmath>
#include <map>

namespace KvMeasure {

using KvMath::LineABC;
using KvMath::LinePP;

namespace {

double turnBetween(const LinePP& from, const LinePP& to) {
    return std::remainder(direction(to) - direction(from), 360.0);
}

/// The sharpest corner's line behind it: joining may begin there without tearing a straight edge.
int lineBehindSharpestCorner(const QList<OutlineLine>& lines) {
    int start = 0;
    double sharpest = -1;
    for (int i = 0; i < lines.size(); ++i) {
        const int next = (i + 1) % static_cast<int>(lines.size());
        const double turn = std::fabs(turnBetween(lines[i].line, lines[next].line));
        if (turn > sharpest) {
            sharpest = turn;
            start = next;
        }
    }
    return start;
}

/// Places along a line (0 at its start) and to its left.
struct Frame {
    Vector origin;
    Vector along;  // unit vector
    double length = 0;

    explicit Frame(const LinePP& line) : origin(line.p1), length(KvMeasure::length(line.p1, line.p2)) {
        along = {(line.p2.x - line.p1.x) / length, (line.p2.y - line.p1.y) / length};
    }
    Vector toLine(const Vector& p) const {
        const Vector d(p.x - origin.x, p.y - origin.y);
        return {d.x * along.x + d.y * along.y, d.y * along.x - d.x * along.y};
    }
    Vector fromLine(const Vector& p) const {
        return {origin.x + p.x * along.x - p.y * along.y, origin.y + p.x * along.y + p.y * along.x};
    }
};

/// Whether a line in this direction crosses more columns of points than profiles.
bool crossesColumns(const Frame& frame, const Steps& steps) {
    return std::fabs(frame.along.x) * steps.scan >= std::fabs(frame.along.y) * steps.x;
}

/// The leftmost (outer) point within the window of each column of points, or of each profile where the line
/// crosses more of them, in the line's frame. The ends belong to the corners and are left out.
std::vector<Vector> outermost(const QList<Vector>& points, const Frame& frame, const Steps& steps,
                              double window) {
    const bool byColumn = crossesColumns(frame, steps);
    std::map<double, Vector> best;  // by the number of the column or profile
    for (const Vector& point : points) {
        const Vector p = frame.toLine(point);
        if (!(p.x > 0 && p.x < frame.length && std::fabs(p.y) < window))
            continue;
        const double number = byColumn ? std::round((point.x - points[0].x) / steps.x)
                                       : std::round((point.y - points[0].y) / steps.scan);
        const auto [found, isNew] = best.try_emplace(number, p);
        if (!isNew && p.y > found->second.y)
            found->second = p;
    }
    constexpr double kCorner = 0.05;
    std::vector<Vector> kept;
    for (const auto& [number, p] : best) {
        const double share = p.x / frame.length;
        if (share > kCorner && share < 1 - kCorner)
            kept.push_back(p);
    }
    return kept;
}

double lengthOf(const LinePP& line) { return length(line.p1, line.p2); }

double distance(const LineABC& line, const Vector& p) { return line.a * p.x + line.b * p.y + line.c; }

/// Least squares without outliers; points within `least` of the line are none. False for too few points.
bool fitRobustly(std::vector<Vector> points, double least, LineABC& fit, OutlineLine& result) {
    constexpr int kRounds = 12;
    constexpr std::size_t kFewest = 5;
    constexpr double kDeviations = 2.5;
    constexpr double kSigmaPerMedian = 1.4826;  // of the absolute deviations of a normal distribution
    const std::vector<Vector> all = points;
    for (int round = 0; round < kRounds && points.size() >= kFewest; ++round) {
        KvMath::lsd(points.data(), int(points.size()), fit);
        std::vector<double> distances;
        distances.reserve(points.size());
        for (const Vector& p : points)
            distances.push_back(std::fabs(distance(fit, p)));
        const auto middle = distances.begin() + std::ptrdiff_t(distances.size() / 2);
        std::nth_element(distances.begin(), middle, distances.end());
        const double limit = std::max(least, kDeviations * kSigmaPerMedian * *middle);
        std::vector<Vector> kept;
        for (const Vector& p : all) {
            if (std::fabs(distance(fit, p)) <= limit)
                kept.push_back(p);
        }
        if (kept.size() == points.size())
            break;
        points.swap(kept);
    }
    if (points.size() < kFewest)
        return false;
    KvMath::lsd(points.data(), int(points.size()), fit);
    double squares = 0;
    for (const Vector& p : points)
        squares += distance(fit, p) * distance(fit, p);
    result.points = int(points.size());
    result.rms = std::sqrt(squares / double(points.size()));
    return std::isfinite(result.rms);
}

/// The outermost point of a column lies anywhere from the edge to one profile inside, along the scan; that of
/// a profile, anywhere to one column inside, along x.
void moveToEdge(OutlineLine& line, const Steps& steps) {
    const Frame frame(line.line);
    line.freeEdge = (crossesColumns(frame, steps) ? std::fabs(frame.along.x) * steps.scan
                                                  : std::fabs(frame.along.y) * steps.x) /
                    2;
    line.line = LinePP(frame.fromLine({0, line.freeEdge}), frame.fromLine({frame.length, line.freeEdge}));
}

void fitLine(OutlineLine& line, const Outline& outline, const QList<Vector>& objectPoints, const Steps& steps,
             double window) {
    if (!(lengthOf(line.line) > 0))
        return;
    for (int pass = 0; pass < 2; ++pass) {  // the second one with the window about the fitted line
        const Frame frame(line.line);
        const double across = std::fabs(frame.along.y) * steps.x + std::fabs(frame.along.x) * steps.scan;
        const QList<Vector>& points = crossesColumns(frame, steps) ? objectPoints : outline.edgePoints;
        LineABC fit;
        if (!fitRobustly(outermost(points, frame, steps, window), across, fit, line))
            return;
        Vector start;
        Vector end;
        KvMath::nearestLinePointToPoint(fit, {0, 0}, start);
        KvMath::nearestLinePointToPoint(fit, {frame.length, 0}, end);
        line.line = LinePP(frame.fromLine(start), frame.fromLine(end));
    }
}

/// Moves ends that stood together to where the lines meet now.
void joinCorner(OutlineLine& line, OutlineLine& next, double join) {
    constexpr double kParallel = 0.02;  // sine; such lines meet far from where they should
    LineABC first;
    LineABC second;
    KvMath::LinePP2LineABC(line.line, first);
    KvMath::LinePP2LineABC(next.line, second);
    if (!(std::fabs(first.a * second.b - first.b * second.a) > kParallel))
        return;
    Vector corner;
    KvMath::linesIntersection(first, second, corner);
    if (!(std::max(length(corner, line.line.p2), length(corner, next.line.p1)) <= join))
        return;
    line.line.p2 = corner;
    next.line.p1 = corner;
}

/// How many points lie in the triangle between a line and a corner.
int pointsBetween(const LinePP& line, const Vector& corner, const QList<Vector>& points) {
    const Vector corners[] = {line.p1, corner, line.p2};
    const auto side = [](const Vector& a, const Vector& b, const Vector& p) {
        return (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x);
    };
    const double turn = side(line.p1, corner, line.p2);
    const auto isInside = [&](const Vector& p) {
        for (int i = 0; i < 3; ++i) {
            if (!(side(corners[i], corners[(i + 1) % 3], p) * turn > 0))
                return false;
        }
        return true;
    };
    return static_cast<int>(std::count_if(points.begin(), points.end(), isInside));
}

/// Whether a line only cuts a corner off, in which its neighbours meet: the triangle between them is full of
/// points where the corner points out, and empty where it points in, which the coin does not reach, or too
/// small to tell. In that beyond a straight bevel there are none, beyond a side of an arc a third at most.
bool cutsCorner(const LinePP& before, const LinePP& line, const LinePP& behind, const QList<Vector>& points,
                const Steps& steps, double join, Vector& corner) {
    constexpr double kParallel = 0.02, kMayLack = 0.4, kMayAlwaysLack = 2;
    LineABC first, second;
    if (!(std::min({lengthOf(before), lengthOf(line), lengthOf(behind)}) > 0))
        return false;
    KvMath::LinePP2LineABC(before, first);
    KvMath::LinePP2LineABC(behind, second);
    if (!(std::fabs(first.a * second.b - first.b * second.a) > kParallel))
        return false;
    KvMath::linesIntersection(first, second, corner);
    const Vector place = Frame(line).toLine(corner);
    const bool isBetween =
        Frame(before).toLine(corner).x > 0 && Frame(behind).toLine(corner).x < Frame(behind).length;
    if (!(place.y != 0 && isBetween && std::max(length(corner, line.p1), length(corner, line.p2)) <= join))
        return false;
    const double most = std::fabs(place.y) * lengthOf(line) / 2 / (steps.x * steps.scan);
    const int found = pointsBetween(line, corner, points);
    return (place.y > 0 ? most - found : found) <= kMayAlwaysLack + kMayLack * most;
}

void dropCutCorners(QList<OutlineLine>& lines, const QList<Vector>& points, const Steps& steps, double join) {
    constexpr int kFewest = 3;
    for (int i = 0; i < lines.size() && lines.size() > kFewest;) {
        const int count = static_cast<int>(lines.size());
        OutlineLine &before = lines[(i + count - 1) % count], &behind = lines[(i + 1) % count];
        Vector corner;
        if (!cutsCorner(before.line, lines[i].line, behind.line, points, steps, join, corner)) {
            ++i;
            continue;
        }
        before.line.p2 = corner;
        behind.line.p1 = corner;
        lines.removeAt(i);
        i = std::max(i - 1, 0);
    }
}

}  // namespace

double innerAngle(const QList<OutlineLine>& lines, int i) {
    const LinePP& line = lines[i].line;
    const LinePP& next = lines[(i + 1) % lines.size()].line;
    if (lines.size() < 2 || std::min(lengthOf(line), lengthOf(next)) == 0)
        return std::nan("");
    // Clockwise: the object is on the right, and a turn to the right narrows its corner.
    return 180 + turnBetween(line, next);
}

void mergeLines(QList<OutlineLine>& lines, double degrees, double join) {
    const int start = lines.isEmpty() ? 0 : lineBehindSharpestCorner(lines);
    QList<OutlineLine> merged;
    LinePP first;   // of the present group
    LinePP before;  // the line added last
    int placeOfFirst = 0;
    for (int k = 0; k < lines.size(); ++k) {
        const int at = (start + k) % static_cast<int>(lines.size());
        const LinePP& line = lines[at].line;
        const bool goesOn = k > 0 && length(before.p2, line.p1) <= join &&
                            std::fabs(turnBetween(before, line)) < degrees &&
                            std::fabs(turnBetween(first, line)) < degrees;
        if (goesOn) {
            merged.last().line.p2 = line.p2;
        } else {
            merged.append({line, 0, std::nan(""), 0});
            first = line;
        }
        before = line;
        if (at == 0)
            placeOfFirst = static_cast<int>(merged.size()) - 1;
    }
    std::rotate(merged.begin(), merged.begin() + placeOfFirst, merged.end());
    lines.swap(merged);
}

void fitLines(Outline& outline, const QList<Vector>& objectPoints, const Steps& steps, double window,
              double join, bool compensatesEdges) {
    const QList<OutlineLine> before = outline.lines;
    for (OutlineLine& line : outline.lines) {
        fitLine(line, outline, objectPoints, steps, window);
        if (compensatesEdges && line.points > 0)
            moveToEdge(line, steps);
    }
    for (int i = 0; i < before.size(); ++i) {  // a single line is parallel to itself: no corner
        const int next = (i + 1) % static_cast<int>(before.size());
        if (length(before[i].line.p2, before[next].line.p1) <= join)
            joinCorner(outline.lines[i], outline.lines[next], join);
    }
    dropCutCorners(outline.lines, objectPoints, steps, join);
}

}  // namespace KvMeasure
