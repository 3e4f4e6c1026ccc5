#include "kvmeasure/outline_fit.h"

#include <kvmath/tsearch/line_geometry.h>

#include <algorithm>
#include <cmath>

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

/// The leftmost (outer) point within the window for each step along the line, in the line's frame. The ends
/// belong to the corners and are left out.
std::vector<Vector> outermost(const QList<Vector>& edgePoints, const Frame& frame, double bin,
                              double window) {
    constexpr double shareOfCorner = 0.05;
    constexpr double mostBins = 1e6;
    const double bins = std::min(mostBins, std::ceil(frame.length / bin));
    std::vector<Vector> best(std::size_t(bins) + 1, Vector(0, -window));
    for (const Vector& point : edgePoints) {
        const Vector p = frame.toLine(point);
        const double share = p.x / frame.length;
        if (!(share > shareOfCorner && share < 1 - shareOfCorner && std::fabs(p.y) < window))
            continue;
        Vector& old = best[std::size_t(share * bins)];
        if (p.y > old.y)
            old = p;
    }
    best.erase(std::remove_if(best.begin(), best.end(), [window](const Vector& p) { return p.y <= -window; }),
               best.end());
    return best;
}

double distance(const LineABC& line, const Vector& p) { return line.a * p.x + line.b * p.y + line.c; }

/// Least squares without outliers; points within `least` of the line are none. False for too few points.
bool fitRobustly(std::vector<Vector> points, double least, LineABC& fit, OutlineLine& result) {
    constexpr int rounds = 12;
    constexpr std::size_t fewest = 5;
    constexpr double deviations = 2.5;
    constexpr double sigmaPerMedian = 1.4826;  // of the absolute deviations of a normal distribution
    const std::vector<Vector> all = points;
    for (int round = 0; round < rounds && points.size() >= fewest; ++round) {
        KvMath::lsd(points.data(), int(points.size()), fit);
        std::vector<double> distances;
        distances.reserve(points.size());
        for (const Vector& p : points)
            distances.push_back(std::fabs(distance(fit, p)));
        const auto middle = distances.begin() + std::ptrdiff_t(distances.size() / 2);
        std::nth_element(distances.begin(), middle, distances.end());
        const double limit = std::max(least, deviations * sigmaPerMedian * *middle);
        std::vector<Vector> kept;
        for (const Vector& p : all) {
            if (std::fabs(distance(fit, p)) <= limit)
                kept.push_back(p);
        }
        if (kept.size() == points.size())
            break;
        points.swap(kept);
    }
    if (points.size() < fewest)
        return false;
    KvMath::lsd(points.data(), int(points.size()), fit);
    double squares = 0;
    for (const Vector& p : points)
        squares += distance(fit, p) * distance(fit, p);
    result.points = int(points.size());
    result.rms = std::sqrt(squares / double(points.size()));
    return std::isfinite(result.rms);
}

void fitLine(OutlineLine& line, const QList<Vector>& edgePoints, const Steps& steps, double window) {
    if (!(length(line.line.p1, line.line.p2) > 0))
        return;
    for (int pass = 0; pass < 2; ++pass) {  // the second one with the window about the fitted line
        const Frame frame(line.line);
        const double bin = std::fabs(frame.along.x) * steps.x + std::fabs(frame.along.y) * steps.scan;
        const double across = std::fabs(frame.along.y) * steps.x + std::fabs(frame.along.x) * steps.scan;
        LineABC fit;
        if (!fitRobustly(outermost(edgePoints, frame, bin, window), across, fit, line))
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
    constexpr double parallel = 0.02;  // sine; such lines meet far from where they should
    LineABC first;
    LineABC second;
    KvMath::LinePP2LineABC(line.line, first);
    KvMath::LinePP2LineABC(next.line, second);
    if (!(std::fabs(first.a * second.b - first.b * second.a) > parallel))
        return;
    Vector corner;
    KvMath::linesIntersection(first, second, corner);
    if (!(length(corner, line.line.p2) <= join && length(corner, next.line.p1) <= join))
        return;
    line.line.p2 = corner;
    next.line.p1 = corner;
}

}  // namespace

double innerAngle(const QList<OutlineLine>& lines, int i) {
    const LinePP& line = lines[i].line;
    const LinePP& next = lines[(i + 1) % lines.size()].line;
    if (lines.size() < 2 || length(line.p1, line.p2) == 0 || length(next.p1, next.p2) == 0)
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
            merged.append({line, 0, std::nan("")});
            first = line;
        }
        before = line;
        if (at == 0)
            placeOfFirst = static_cast<int>(merged.size()) - 1;
    }
    std::rotate(merged.begin(), merged.begin() + placeOfFirst, merged.end());
    lines.swap(merged);
}

void fitLines(Outline& outline, const Steps& steps, double window, double join) {
    const QList<OutlineLine> before = outline.lines;
    for (OutlineLine& line : outline.lines)
        fitLine(line, outline.edgePoints, steps, window);
    for (int i = 0; i < before.size() && before.size() > 1; ++i) {
        const int next = (i + 1) % static_cast<int>(before.size());
        if (length(before[i].line.p2, before[next].line.p1) <= join)
            joinCorner(outline.lines[i], outline.lines[next], join);
    }
}

}  // namespace KvMeasure
