// Each piece is fitted from sums about its middle point, in one pass over its points, then again
// between breaks that the fitted lines place: the points that change sides are added to the sums or taken out
// of them. Then each vertex is looked at once, from both sides.

#include <kvmeasure/profiles/line_refit.h>

#include <kvmeasure/profiles/line_sums_p.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace KvMeasure {

using namespace Internal;
using KvMath::LinePP;

namespace {

constexpr int kFewestPoints = 3;

/// A line through a point, with the place of any measured point on it.
struct FittedLine {
    Vector at, along;  // along: unit vector from start to end
    bool isInHeight = false;

    Vector nearest(const Vector& p) const {
        const Vector d(p.x - at.x, p.y - at.y);
        const double t = isInHeight ? d.x / along.x : d.x * along.x + d.y * along.y;
        return {at.x + t * along.x, at.y + t * along.y};
    }
    bool isFinite() const { return std::isfinite(at.x + at.y + along.x + along.y); }
};

double distance(const Vector& p, const Vector& q) { return std::hypot(q.x - p.x, q.y - p.y); }

FittedLine lineThrough(const LinePP& line, double size) {
    return {line.p1, {(line.p2.x - line.p1.x) / size, (line.p2.y - line.p1.y) / size}};
}

/// The direction in which the points lie, of a piece that runs along `rough`.
Vector fittedDirection(double sxx, double sxy, double syy, const Vector& rough, bool isInHeight) {
    Vector along(1, sxy / sxx);
    if (!isInHeight) {
        const double angle = std::atan2(2 * sxy, sxx - syy) / 2;
        along = Vector(std::cos(angle), std::sin(angle));
    }
    const double size = std::hypot(along.x, along.y);
    const double sign = along.x * rough.x + along.y * rough.y < 0 ? -1 : 1;
    return {sign * along.x / size, sign * along.y / size};
}

/// The line of the sums; `rough` where they have none.
FittedLine lineOf(const LineSums& sums, const FittedLine& rough) {
    constexpr double kSteepest = 1.7320508075688772;  // 60 degrees
    FittedLine fit;
    fit.at = sums.mean();
    fit.isInHeight = std::fabs(rough.along.y) < kSteepest * std::fabs(rough.along.x);
    fit.along =
        fittedDirection(sums.squaresX(), sums.product(), sums.squaresY(), rough.along, fit.isInHeight);
    return fit.isFinite() ? fit : rough;
}

/// Where two lines meet; not finite for parallel ones.
Vector meetingPoint(const FittedLine& first, const FittedLine& second) {
    const double sine = first.along.x * second.along.y - first.along.y * second.along.x;
    const Vector d(second.at.x - first.at.x, second.at.y - first.at.y);
    const double t = (d.x * second.along.y - d.y * second.along.x) / sine;
    return {first.at.x + t * first.along.x, first.at.y + t * first.along.y};
}

/// The point distance along a line near one end of its piece.
double pitchAt(const ProfilePieces& found, const Piece& piece, const FittedLine& line, bool atStart) {
    constexpr int kMost = 8;
    const int count = std::min(kMost, piece.to - piece.from);
    const int first = atStart ? piece.from : piece.to - count;
    std::array<double, kMost> steps{};
    Vector place = line.nearest(found.point(piece, first));
    for (int i = 0; i < count; ++i) {
        const Vector next = line.nearest(found.point(piece, first + i + 1));
        steps[std::size_t(i)] = distance(place, next);
        place = next;
    }
    const auto middle = steps.begin() + count / 2;
    std::nth_element(steps.begin(), middle, steps.begin() + count);
    return *middle;
}

/// Lines and ends of all pieces.
class Measured {
public:
    explicit Measured(const ProfilePieces& found) : found_(found) {
        const std::size_t count = found.pieces.size();
        rough_.reserve(count);
        sums_.reserve(count);
        ranges_.reserve(count);
        support_.resize(count);
        breaks_.reserve(count);
        lengths_.reserve(count);
        for (const Piece& piece : found.pieces) {
            lengths_.push_back(distance(piece.line.p1, piece.line.p2));
            rough_.push_back(lineThrough(piece.line, lengths_.back()));
            breaks_.push_back(piece.to);
        }
        lines_ = rough_;
        for (std::size_t i = 0; i < count; ++i) {
            const Piece& piece = found.pieces[i];
            sums_.emplace_back(
                found.point(piece, (piece.from + piece.to) / 2));  // flat surfaces stay exactly flat
            ranges_.emplace_back(piece.from + 1, piece.to);
            if (piece.ownPoints() >= kFewestPoints) {
                sums_[i].add(point(piece, piece.from + 1), point(piece, piece.to));
                lines_[i] = lineOf(sums_[i], rough_[i]);
            }
        }
        moveBreaks();
        setEnds();
    }

    /// One line per segment, without what is added at free edges.
    Segments segments() const {
        Segments lines;
        lines.reserve(static_cast<int>(found_.pieceOf.size()));
        for (const int piece : found_.pieceOf)
            lines.append(ends_[std::size_t(piece)]);
        return lines;
    }

    /// The fits of all pieces, and what their ends rest on.
    void describe(EdgeLines& lines) const {
        lines.support = support_;
        lines.fits.reserve(lines_.size());
        for (std::size_t i = 0; i < lines_.size(); ++i)
            lines.fits.push_back(fitOf(i));
    }

    /// Moves the free edges of such lines; false where there is none.
    bool moveFreeEdges(Segments& lines) const {
        bool isMoved = false;
        for (int i = 0; i < static_cast<int>(found_.pieceOf.size()); ++i) {
            const int piece = found_.pieceOf[std::size_t(i)];
            if (found_.pieces[std::size_t(piece)].ownPoints() < 1)
                continue;
            for (const bool atStart : {true, false}) {
                if (found_.neighbour(piece, atStart ? -1 : 1) != nullptr)
                    continue;
                Vector& end = atStart ? lines[i].p1 : lines[i].p2;
                end = beyondEdge(piece, atStart, end);
                isMoved = true;
            }
        }
        return isMoved;
    }

private:
    FittedPiece fitOf(std::size_t i) const {
        const FittedLine& line = lines_[i];
        const LineSums& sums = sums_[i];
        FittedPiece fit;
        fit.centre = line.at;
        fit.along = line.along;
        if (sums.count() < kFewestPoints)
            return fit;
        const double c = line.along.x;
        const double s = line.along.y;
        const double xx = sums.squaresX();
        const double xy = sums.product();
        const double yy = sums.squaresY();
        fit.isInHeight = line.isInHeight;
        fit.from = ranges_[i].first;
        fit.to = ranges_[i].second;
        fit.spread = c * c * xx + 2 * c * s * xy + s * s * yy;
        const double across = s * s * xx - 2 * c * s * xy + c * c * yy;
        fit.squares = std::max(0.0, line.isInHeight ? across / (c * c) : across);
        return fit;
    }

    const Vector* point(const Piece& piece, int number) const {
        return found_.contours[std::size_t(piece.contour)].begin() + number;
    }

    /// Fits a piece to its points from `first` to before `end`, both near where they were.
    void refit(std::size_t i, int first, int end) {
        const Piece& piece = found_.pieces[i];
        LineSums& sums = sums_[i];
        const auto move = [&](int from, int to) {  // points that join, or leave where `to` is before
            if (from < to)
                sums.add(point(piece, from), point(piece, to));
            else
                sums.take(point(piece, to), point(piece, from));
        };
        move(first, piece.from + 1);
        move(piece.to, end);
        ranges_[i] = {first, end};
        lines_[i] = sums.count() >= kFewestPoints ? lineOf(sums, rough_[i]) : rough_[i];
    }

    bool hasOwnPoints(int piece, int step) const {
        const Piece* beyond = found_.neighbour(piece, step);
        return beyond != nullptr && beyond->ownPoints() > 0;
    }

    /// Where the lines of a piece and the next one meet; not finite where that is none of their corner.
    Vector cornerBehind(int i) const {
        const LinePP& before = found_.pieces[std::size_t(i)].line;
        const double size = std::min(lengths_[std::size_t(i)], lengths_[std::size_t(i) + 1]);
        const Vector corner = meetingPoint(lines_[std::size_t(i)], lines_[std::size_t(i) + 1]);
        return distance(corner, before.p2) <= size / 2 ? corner : Vector(std::nan(""), std::nan(""));
    }

    /// 1 or -1 where x grows or falls along the line of a piece; 0 where it is upright.
    int runsAlongX(int i) const {
        constexpr double kUpright = 0.035;  // 88 degrees
        const double x = lines_[std::size_t(i)].along.x;
        return std::fabs(x) < kUpright ? 0 : x < 0 ? -1 : 1;
    }

    /// The search parts the points of two pieces by their noise, too. Here the point that is nearest to the
    /// corner along x parts them, where both run the same way along it, and they are fitted again: noise of
    /// heights does not move points along x.
    void moveBreaks() {
        const auto count = static_cast<int>(lines_.size());
        for (int i = 0; i < count; ++i) {
            const Piece& piece = found_.pieces[std::size_t(i)];
            if (!hasOwnPoints(i, 1) || !(runsAlongX(i) * runsAlongX(i + 1) > 0))
                continue;
            const double x = cornerBehind(i).x;
            const auto isNearer = [&](int a, int b) {
                return std::fabs(found_.point(piece, a).x - x) < std::fabs(found_.point(piece, b).x - x);
            };
            int& at = breaks_[std::size_t(i)];
            while (at - 1 > piece.from + kFewestPoints && isNearer(at - 1, at))
                --at;
            while (at + 1 < found_.pieces[std::size_t(i) + 1].to - kFewestPoints && isNearer(at + 1, at))
                ++at;
        }
        for (int i = 0; i < count; ++i) {
            const Piece& piece = found_.pieces[std::size_t(i)];
            const int from = found_.neighbour(i, -1) != nullptr ? breaks_[std::size_t(i) - 1] : piece.from;
            const int to = breaks_[std::size_t(i)];
            if (piece.ownPoints() >= kFewestPoints && (from != piece.from || to != piece.to))
                refit(std::size_t(i), from + 1, to);
        }
    }

    void setEnds() {
        const auto count = static_cast<int>(lines_.size());
        ends_.reserve(lines_.size());
        for (const Piece& piece : found_.pieces)
            ends_.push_back(piece.line);
        for (int i = 0; i < count; ++i) {
            if (found_.pieces[std::size_t(i)].ownPoints() < 1)
                continue;
            if (!hasOwnPoints(i, -1))
                setEdge(i, /*atStart=*/true);
            if (hasOwnPoints(i, 1))
                setCorner(i);
            else
                setEdge(i, /*atStart=*/false);
        }
        for (int i = 0; i < count; ++i) {
            if (found_.pieces[std::size_t(i)].ownPoints() < 1)
                bridge(i);
        }
    }

    /// The ends that meet between a piece and the next one.
    void setCorner(int i) {
        const Vector corner = cornerBehind(i);
        const auto own = std::size_t(i);
        Vector& end = ends_[own].p2;
        Vector& start = ends_[own + 1].p1;
        const bool isNone = std::isnan(corner.x);
        end = isNone ? lines_[own].nearest(end) : corner;
        start = isNone ? lines_[own + 1].nearest(start) : corner;
        support_[own][1] = {i, isNone ? -1 : i + 1};
        support_[own + 1][0] = {i + 1, isNone ? -1 : i};
    }

    void setEdge(int i, bool atStart) {
        const Piece& piece = found_.pieces[std::size_t(i)];
        Vector& end = atStart ? ends_[std::size_t(i)].p1 : ends_[std::size_t(i)].p2;
        end = lines_[std::size_t(i)].nearest(found_.point(piece, atStart ? piece.from : piece.to));
        support_[std::size_t(i)][atStart ? 0 : 1].piece = i;
    }

    /// The surface ends half a point distance beyond its last point.
    Vector beyondEdge(int i, bool atStart, const Vector& end) const {
        const FittedLine& line = lines_[std::size_t(i)];
        const double half =
            (atStart ? -1 : 1) * pitchAt(found_, found_.pieces[std::size_t(i)], line, atStart) / 2;
        return {end.x + half * line.along.x, end.y + half * line.along.y};
    }

    /// A piece without points of its own runs from its neighbour's end to the next one's start.
    void bridge(int i) {
        const auto own = std::size_t(i);
        if (hasOwnPoints(i, -1)) {
            ends_[own].p1 = ends_[own - 1].p2;
            support_[own][0] = support_[own - 1][1];
        }
        if (hasOwnPoints(i, 1)) {
            ends_[own].p2 = ends_[own + 1].p1;
            support_[own][1] = support_[own + 1][0];
        }
    }

    const ProfilePieces& found_;
    std::vector<FittedLine> rough_, lines_;    ///< along the pieces; fitted
    std::vector<LineSums> sums_;               ///< over the points of each piece
    std::vector<std::pair<int, int>> ranges_;  ///< of these points: the first, and the one behind the last
    std::vector<std::array<EndSupport, 2>> support_;
    std::vector<double> lengths_;  ///< mm, of the pieces
    std::vector<LinePP> ends_;
    std::vector<int> breaks_;  ///< the point that each piece shares with the next one
};

}  // namespace

Segments measuredLines(const ProfilePieces& found, const LineFitting& fitting) {
    if (fitting.isRaw)
        return found.segments;
    return edgeLines(found, fitting).lines;
}

EdgeLines edgeLines(const ProfilePieces& found, const LineFitting& fitting) {
    if (fitting.isRaw)
        return {found.segments, found.segments, false, {}, {}};
    const Measured measured(found);
    EdgeLines lines;
    lines.asSeen = measured.segments();
    lines.lines = lines.asSeen;
    lines.isMoved = fitting.compensatesEdges && measured.moveFreeEdges(lines.lines);
    measured.describe(lines);
    return lines;
}

}  // namespace KvMeasure
