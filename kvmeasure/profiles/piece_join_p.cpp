// The search splits a contour at the point that is farthest from its chord. On a floor that is parallel to
// the chord the noise says which point that is, and the passes over the lines move the corner along the floor
// but do not always drop it. So the pieces are joined again (T. Pavlidis, S. L. Horowitz, IEEE Transactions
// on Computers C-23 (1974) 860-870: split and merge).
//
// A true corner is told by the point at it alone. Looks at all points of two pieces are counted: a contour
// made to be joined piece by piece would take a time that grows with the square of its points.

#include <kvmeasure/profiles/piece_join_p.h>

#include <kvmeasure/profiles/line_sums_p.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace KvMeasure::Internal {

using KvMath::LinePP;

namespace {

constexpr double kApart = std::numeric_limits<double>::infinity();

/// Neighbouring pieces that are one surface.
struct Run {
    Piece* first;
    Piece* end;
    LinePP line;                ///< from vertex to vertex
    double deviation = kApart;  ///< of the points of the shorter of this run and the next one, mm

    int from() const { return first->from; }
    int to() const { return end[-1].to; }
    int ownPoints() const { return to() - from() - 1; }
    bool isJoined() const { return end - first > 1; }
};

double distance(const Vector& p, const LinePP& line) {
    const double dx = line.p2.x - line.p1.x;
    const double dy = line.p2.y - line.p1.y;
    return std::fabs(dx * (p.y - line.p1.y) - dy * (p.x - line.p1.x)) / std::hypot(dx, dy);
}

Vector footOf(const Vector& p, const Vector& at, const Vector& along) {
    const double t = (p.x - at.x) * along.x + (p.y - at.y) * along.y;
    return {at.x + t * along.x, at.y + t * along.y};
}

/// Where two lines meet; not finite for parallel ones.
Vector meetingPoint(const LinePP& first, const LinePP& second) {
    const Vector a(first.p2.x - first.p1.x, first.p2.y - first.p1.y);
    const Vector b(second.p2.x - second.p1.x, second.p2.y - second.p1.y);
    const double t =
        ((second.p1.x - first.p1.x) * b.y - (second.p1.y - first.p1.y) * b.x) / (a.x * b.y - a.y * b.x);
    return {first.p1.x + t * a.x, first.p1.y + t * a.y};
}

/// The pieces of one contour.
class ContourJoiner {
public:
    ContourJoiner(const ContourPoints& points, const JoinLimits& limits, Piece* first, Piece* last)
        : points_(points), limits_(limits), first_(first), last_(last),
          looks_(kLooks * std::int64_t(points.size())) {}

    /// The end of the pieces that are left, from the first on.
    Piece* join() {
        if (!mayJoin())
            return last_;
        for (Piece* piece = first_; piece != last_; ++piece) {
            if (piece->to > piece->from)
                runs_.push_back({piece, piece + 1, piece->line});
        }
        for (std::size_t i = 0; i < runs_.size(); ++i)
            runs_[i].deviation = deviationBehind(i);
        while (joinNearest()) {
        }
        return written();
    }

private:
    static constexpr int kLooks = 64;  ///< at each point of the contour, on average

    /// Whether the contour goes on in about the same direction.
    bool goesOn(int from, int by, int to) const {
        const Vector& a = points_[from];
        const Vector& b = points_[by];
        const Vector& c = points_[to];
        return (b.x - a.x) * (c.x - b.x) + (b.y - a.y) * (c.y - b.y) > 0;
    }

    bool isNear(int number, const LinePP& line) const {
        return distance(points_[number], line) < limits_.tolerance;
    }

    /// Most profiles have nothing to join.
    bool mayJoin() const {
        const Piece* before = nullptr;
        for (const Piece* piece = first_; piece != last_; ++piece) {
            if (piece->to <= piece->from)
                continue;
            if (before != nullptr && isNear(piece->from, {before->line.p1, piece->line.p2}))
                return true;
            before = piece;
        }
        return false;
    }

    /// How far the shorter of two runs lies off the line of the longer one; kApart where they are not one.
    double deviationBehind(std::size_t i) {
        if (i + 1 >= runs_.size())
            return kApart;
        const Run& run = runs_[i];
        const Run& next = runs_[i + 1];
        const LinePP both(run.line.p1, next.line.p2);
        if (run.to() != next.from() || !goesOn(run.from(), run.to(), next.to()) || !isNear(run.to(), both))
            return kApart;
        for (int number = run.from() + 1; number < next.to(); ++number) {
            if (!isNear(number, both) || --looks_ < 0)
                return kApart;
        }
        return run.ownPoints() < next.ownPoints() ? rootMeanSquare(run, run.from(), next.line)
                                                  : rootMeanSquare(next, next.to(), run.line);
    }

    /// Distance of a run's own points from a line, of its outer point where it has none.
    double rootMeanSquare(const Run& run, int outer, const LinePP& line) const {
        if (run.ownPoints() < 1)
            return distance(points_[outer], line);
        double squares = 0;
        for (int number = run.from() + 1; number < run.to(); ++number) {
            const double d = distance(points_[number], line);
            squares += d * d;
        }
        return std::sqrt(squares / run.ownPoints());
    }

    /// Joins every pair that is nearer than the pairs beside it; false where there is none.
    bool joinNearest() {
        looks_ -= std::int64_t(runs_.size());
        std::size_t left = 0;
        double before = kApart;  // of the pair before
        changed_.clear();
        for (std::size_t i = 0; i < runs_.size(); ++i) {
            Run run = runs_[i];
            const double behind = i + 1 < runs_.size() ? runs_[i + 1].deviation : kApart;
            const bool joins = run.deviation < before && run.deviation <= behind;
            before = run.deviation;
            if (joins) {
                ++i;
                before = behind;
                run.end = runs_[i].end;
                run.line.p2 = runs_[i].line.p2;
                fit(run);
                changed_.push_back(left);
            }
            runs_[left++] = run;
        }
        runs_.erase(runs_.begin() + std::ptrdiff_t(left), runs_.end());
        for (const std::size_t i : changed_) {
            runs_[i].deviation = deviationBehind(i);
            if (i > 0)
                runs_[i - 1].deviation = deviationBehind(i - 1);
        }
        return !changed_.empty();
    }

    /// The line of least squares through a run's own points; that between its vertices where it has few.
    void fit(Run& run) {
        constexpr int kFewestPoints = 3;
        if (run.ownPoints() < kFewestPoints)
            return;
        looks_ -= run.ownPoints();
        LineSums sums(points_[(run.from() + run.to()) / 2]);
        sums.add(points_.begin() + run.from() + 1, points_.begin() + run.to());
        const double angle = std::atan2(2 * sums.product(), sums.squaresX() - sums.squaresY()) / 2;
        const Vector along(std::cos(angle), std::sin(angle));
        const LinePP line(footOf(run.line.p1, sums.mean(), along), footOf(run.line.p2, sums.mean(), along));
        if (std::isfinite(line.p1.x + line.p1.y + line.p2.x + line.p2.y))
            run.line = line;
    }

    /// The vertex between two runs is where their lines meet, unless a corner that is cut lies too far off.
    /// True where it is.
    bool moveCorner(Run& run, Run& next) {
        const Vector corner = meetingPoint(run.line, next.line);
        const Vector& end = points_[run.to()];
        const double size =
            std::min(std::hypot(run.line.p2.x - run.line.p1.x, run.line.p2.y - run.line.p1.y),
                     std::hypot(next.line.p2.x - next.line.p1.x, next.line.p2.y - next.line.p1.y));
        if (!(std::hypot(corner.x - end.x, corner.y - end.y) <= limits_.corner * size))
            return false;
        run.line.p2 = corner;
        next.line.p1 = corner;
        return true;
    }

    Piece* written() {
        std::vector<bool> meets(runs_.size());  // the run before it in one vertex
        for (std::size_t i = 1; i < runs_.size(); ++i) {
            Run& before = runs_[i - 1];
            Run& run = runs_[i];
            if ((!before.isJoined() && !run.isJoined()) || before.to() != run.from())
                continue;
            meets[i] = moveCorner(before, run);
            if (meets[i])
                continue;
            if (before.end == run.first) {
                before.line.p2 = run.line.p1 = run.first->line.p1;  // as the search left it
            } else {
                before.end->line.p1 = before.line.p2;
                run.first[-1].line.p2 = run.line.p1;
            }
        }
        Piece* to = first_;
        Piece* from = first_;
        for (std::size_t i = 0; i < runs_.size(); ++i) {
            const Run& run = runs_[i];
            if (!meets[i])
                to = std::copy(from, run.first, to);  // a cut corner
            Piece piece = *run.first;
            piece.to = run.to();
            piece.line = run.line;
            *to++ = piece;
            from = run.end;
        }
        return std::copy(from, last_, to);
    }

    const ContourPoints& points_;
    const JoinLimits limits_;
    Piece* const first_;
    Piece* const last_;
    std::int64_t looks_;
    std::vector<Run> runs_;
    std::vector<std::size_t> changed_;
};

}  // namespace

void joinPieces(const std::vector<ContourPoints>& contours, const JoinLimits& limits,
                std::vector<Piece>& pieces) {
    Piece* to = pieces.data();
    Piece* const end = to + pieces.size();
    for (Piece* first = to; first != end;) {
        Piece* last = first;
        while (last != end && last->contour == first->contour)
            ++last;
        Piece* const left = ContourJoiner(contours[std::size_t(first->contour)], limits, first, last).join();
        to = to == first ? left : std::copy(first, left, to);
        first = last;
    }
    pieces.erase(pieces.begin() + (to - pieces.data()), pieces.end());
}

}  // namespace KvMeasure::Internal
