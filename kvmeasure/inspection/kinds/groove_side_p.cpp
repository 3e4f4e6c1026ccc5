// Robust lines through the land and the flank on one side of a groove, each found from the other in two
// rounds. The first round takes some of the points.
#include <kvmeasure/inspection/kinds/groove_side_p.h>

#include <kvmeasure/inspection/kinds/fitted_value.h>
#include <kvmeasure/profiles/fit_start_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure::Internal {

namespace {

constexpr double kOffLand = 4;  // standard deviations of the land
/// A point between the land and a wall is of the wall; several are of a round edge.
constexpr std::size_t kOfEdge = 2;

}  // namespace

double bendOf(const LineFit& line) {
    const std::vector<double>& r = line.residuals;
    const std::size_t third = r.size() / 3;
    if (third == 0)
        return 0;
    double middle = 0, others = 0, steps = 0;
    for (std::size_t i = 0; i < r.size(); ++i) {
        const bool isMiddle = i >= third && i < r.size() - third;
        (isMiddle ? middle : others) += r[i];
        steps += i == 0 ? 0 : (r[i] - r[i - 1]) * (r[i] - r[i - 1]);
    }
    const double ofMiddle = double(r.size() - 2 * third), ofOthers = double(2 * third);
    const double noise = std::sqrt(steps / double(2 * (r.size() - 1)));
    const double bend = (middle / ofMiddle - others / ofOthers) / std::sqrt(1 / ofMiddle + 1 / ofOthers);
    return noise > 0 ? bend / noise : 0;
}

bool GrooveSides::findWall(GrooveSide& side, const LineFit& land, int step, double least) const {
    double most = 0;
    for (std::size_t i = side.last; i != gap_.deepest;) {
        const std::size_t next = step < 0 ? i + 1 : i - 1;
        const double rise = land.distanceOf(points_[i]) - land.distanceOf(points_[next]);
        if (rise > most) {
            most = rise;
            side.wall = i;
        }
        i = next;
    }
    return most > 0 && most >= least;
}

QString GrooveSides::fit(GrooveSide& side, int step) const {
    QString outside("a rim of the groove lies outside the region");
    // Lines of the first round say where points belong, and need but some of them.
    constexpr int kRounds = 2;
    const auto landFrom = [&](std::size_t at, int round) {
        return fitLine(thinned(points_, step < 0 ? first_ : at, step < 0 ? at + 1 : end_,
                               round < kRounds ? kEnoughForRough : points_.size()));
    };
    // The hull runs over the noise of the land: look for its end high up the wall, then from its own line.
    constexpr double kRoughShare = 0.12;
    const std::size_t stop = step < 0 ? first_ : end_ - 1;
    side.last = landEnd(points_, gap_.deepest, stop, kRoughShare * gap_.depth,
                        DepthBelow(points_[gap_.from], points_[gap_.to]));
    side.land = landFrom(side.last, /*round=*/0);
    if (!(side.land.points >= kFewestOfLine))
        return outside;
    constexpr double kLandShare = 0.1, kFlankShare = 0.5, kWallShare = 0.9;
    for (int round = 1; round <= kRounds; ++round) {
        const LineFit land = side.land;
        const auto depth = [&](const Vector& p) { return -land.distanceOf(p); };
        const double whole = depth(points_[gap_.deepest]);
        const double least = std::max(kLandShare * whole, kOffLand * land.deviation);
        side.last = landEnd(points_, gap_.deepest, stop, least, depth);
        const bool hadFlank = side.hasFlank;
        const auto flankTo = [&](double most) {
            return fitFlank(points_, {stop, gap_.deepest}, {side.last, gap_.deepest},
                            DepthBelow(land.pointAt(0), land.pointAt(1)), least, most,
                            hadFlank ? &side.flank : nullptr, round < kRounds);
        };
        const std::size_t off =
            landEnd(points_, gap_.deepest, stop, kOffLand * land.deviation + kRounding * whole, depth);
        side.hasFlank = false;
        const auto isRoundTo = [&](std::size_t end) {
            return std::max(off, end) - std::min(off, end) >= kOfEdge;
        };
        if (!findWall(side, land, step, kFlankShare * whole) || !isRoundTo(side.wall)) {
            side.wall = side.last;
            side.flank = flankTo(kFlankShare * whole);
            side.hasFlank = side.flank.isFound();
            if (side.hasFlank && absoluteSine(side.land, side.flank) < kLeastSine)
                return outside;
            if (!side.hasFlank) {  // a wall of few points: down to the noise of the bottom
                side.flank = flankTo(std::min(kWallShare * whole, whole - 2 * kOffLand * land.deviation));
                side.hasFlank = side.flank.isFound() && absoluteSine(side.land, side.flank) >= kLeastSine;
            }
            if (!side.hasFlank && !isRoundTo(side.last))
                side.wall = off;
        }
        findRim(side, step);
        // The land again, without what belongs to the flank or a round edge.
        const double rim = land.placeOf(side.rim);
        std::size_t at = off;
        while (at != stop && (land.placeOf(points_[at]) > rim) == (step < 0))
            at = step < 0 ? at - 1 : at + 1;
        side.land = landFrom(at, round);
        if (!(side.land.points >= kFewestOfLine))
            return outside;
    }
    findRim(side, step);
    straighten(side, step);
    return side.hasFlank || side.wall != gap_.deepest
               ? QString()
               : QString("no groove is deeper than the limit or the noise");
}

/// A flank that curves towards the bottom leads past the rim: it is fitted again, nearer to the rim, for as
/// long as it does; one that curves at a round edge, farther from it.
void GrooveSides::straighten(GrooveSide& side, int step) const {
    constexpr double kShorter = 0.6, kFirst = 0.5, kLeastShare = 0.1, kMost = 0.9, kBend = 4;
    constexpr int kFewest = 8;
    const std::size_t stop = step < 0 ? first_ : end_ - 1;
    const DepthBelow depth(side.land.pointAt(0), side.land.pointAt(1));
    const double whole = depth(points_[gap_.deepest]);
    const double least = std::max(kLeastShare * whole, kOffLand * side.land.deviation);
    const auto fitAgain = [&](double from, double to, int fewest) {
        const LineFit line =
            fitFlank(points_, {stop, gap_.deepest}, {side.last, gap_.deepest}, depth, from, to, &side.flank);
        if (!line.isFound() || line.points < fewest || absoluteSine(side.land, line) < kLeastSine)
            return false;
        side.flank = line;
        findRim(side, step);
        return true;
    };
    for (double most = kFirst * kShorter * whole;
         side.hasFlank && bendOf(side.flank) < -kBend && most > 2 * least; most *= kShorter) {
        if (!fitAgain(least, most, kFewest))
            return;
    }
    if (!side.hasFlank)
        return;
    // Of a round edge the lower half of the flank leads to a rim further inside.
    const GrooveSide before = side;
    const double lowest = std::min(kMost * whole, whole - 2 * kOffLand * side.land.deviation);
    if (!fitAgain(std::max(kFirst * whole, least), lowest, kFewestOfLine)) {
        constexpr double kSteep = 0.7;  // sine
        if (side.flank.points >= kFewest || absoluteSine(side.land, side.flank) < kSteep)
            return;
        const auto ofLand = [&](const Vector& p) { return -side.land.distanceOf(p); };
        const std::size_t off = landEnd(points_, gap_.deepest, stop, kOffLand * side.land.deviation, ofLand);
        if (std::max(off, side.last) - std::min(off, side.last) >= kOfEdge)
            takeSteepest(side, step);
        return;
    }
    const auto uRim = [&](const GrooveSide& of) {
        const double place = of.flank.placeOf(of.rim);
        return of.land.deviation * of.flank.along.x *
               std::sqrt(1.0 / of.flank.points + place * place / of.flank.spread) /
               absoluteSine(of.land, of.flank);
    };
    const double inwards = (side.land.placeOf(side.rim) - side.land.placeOf(before.rim)) * -step;
    if (!(inwards > kBend * std::hypot(uRim(before), uRim(side)) + kRounding * whole))
        side = before;
}

/// A wall of few points below a round edge: through the two with the greatest step.
void GrooveSides::takeSteepest(GrooveSide& side, int step) const {
    if (!findWall(side, side.land, step, 0))
        return;
    const Vector& a = points_[side.wall];
    const Vector& b = points_[step < 0 ? side.wall + 1 : side.wall - 1];
    LineFit wall;
    wall.centre = a;
    wall.along = Vector((b.x - a.x) / length(a, b), (b.y - a.y) / length(a, b));
    const Vector rim = meetingPoint(side.land, wall);
    if (!(std::isfinite(rim.x) && std::isfinite(rim.y) && absoluteSine(side.land, wall) >= kLeastSine))
        return;
    side.rim = rim;
    side.uRim = std::fabs(b.x - a.x) / std::sqrt(12.0);
    side.hasFlank = false;
}

void GrooveSides::findRim(GrooveSide& side, int step) const {
    if (side.hasFlank) {
        side.rim = meetingPoint(side.land, side.flank);
        side.uRim = 0;
        return;
    }
    // Anywhere between the two points; a scanner's columns are places in x, however the land is inclined.
    const Vector& last = points_[side.wall];
    if (side.wall == gap_.deepest) {  // no wall is left
        side.rim = side.land.pointAt(side.land.placeOf(last));
        return;
    }
    const Vector& next = points_[step < 0 ? side.wall + 1 : side.wall - 1];
    const double ofLast = side.land.placeOf(last);
    const double along = (next.x - last.x) / side.land.along.x;
    side.rim = side.land.pointAt(ofLast + along / 2);
    // On a gentle slope points count as land that lie on it already.
    const double rise = side.land.distanceOf(last) - side.land.distanceOf(next);
    const double down = rise > 0 ? kOffLand * side.land.deviation / rise : 0;
    side.uRim = std::fabs(along) * std::hypot(1 / std::sqrt(12.0), down / std::sqrt(3.0));
}

}  // namespace KvMeasure::Internal
