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

}  // namespace

bool curvesDown(const LineFit& line) {
    constexpr double kDeviations = 4;
    const std::vector<double>& r = line.residuals;
    const std::size_t third = r.size() / 3;
    if (third == 0)
        return false;
    double middle = 0, others = 0, steps = 0;
    for (std::size_t i = 0; i < r.size(); ++i) {
        const bool isMiddle = i >= third && i < r.size() - third;
        (isMiddle ? middle : others) += r[i];
        steps += i == 0 ? 0 : (r[i] - r[i - 1]) * (r[i] - r[i - 1]);
    }
    const double ofMiddle = double(r.size() - 2 * third), ofOthers = double(2 * third);
    const double noise = std::sqrt(steps / double(2 * (r.size() - 1)));
    return middle / ofMiddle - others / ofOthers <
           -kDeviations * noise * std::sqrt(1 / ofMiddle + 1 / ofOthers);
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
        const auto flankTo = [&](double most) {
            return fitFlank(points_, {stop, gap_.deepest}, {side.last, gap_.deepest},
                            DepthBelow(land.pointAt(0), land.pointAt(1)), least, most,
                            side.hasFlank ? &side.flank : nullptr, round < kRounds);
        };
        side.flank = flankTo(kFlankShare * whole);
        side.hasFlank = side.flank.isFound();
        if (side.hasFlank && sineBetween(side.land, side.flank) < kLeastSine)
            return outside;
        if (!side.hasFlank) {  // a wall of few points: down to the noise of the bottom
            side.flank = flankTo(std::min(kWallShare * whole, whole - 2 * kOffLand * land.deviation));
            side.hasFlank = side.flank.isFound() && sineBetween(side.land, side.flank) >= kLeastSine;
        }
        if (!side.hasFlank)  // what lies off the land is on the wall
            side.last =
                landEnd(points_, gap_.deepest, stop, kOffLand * land.deviation + kRounding * whole, depth);
        if (side.hasFlank && sineBetween(side.land, side.flank) < kLeastSine)
            return outside;
        findRim(side, step);
        // The land again, without what belongs to the flank.
        const double rim = land.placeOf(side.rim);
        const bool leadsRight = land.placeOf(points_[gap_.deepest]) > rim;
        std::size_t at = side.last;
        while (side.hasFlank && at != stop && (land.placeOf(points_[at]) > rim) == leadsRight)
            at = step < 0 ? at - 1 : at + 1;
        side.land = landFrom(at, round);
        if (!(side.land.points >= kFewestOfLine))
            return outside;
    }
    findRim(side, step);
    straighten(side, step);
    return {};
}

/// A flank that curves towards the bottom leads past the rim: it is fitted again, nearer to the rim, for as
/// long as it does.
void GrooveSides::straighten(GrooveSide& side, int step) const {
    constexpr double kShorter = 0.6, kFirst = 0.5, kLeastShare = 0.1;
    constexpr int kFewest = 8;
    const std::size_t stop = step < 0 ? first_ : end_ - 1;
    const DepthBelow depth(side.land.pointAt(0), side.land.pointAt(1));
    const double whole = depth(points_[gap_.deepest]);
    const double least = std::max(kLeastShare * whole, kOffLand * side.land.deviation);
    for (double most = kFirst * kShorter * whole; side.hasFlank && curvesDown(side.flank) && most > 2 * least;
         most *= kShorter) {
        const LineFit nearer = fitFlank(points_, {stop, gap_.deepest}, {side.last, gap_.deepest}, depth,
                                        least, most, &side.flank);
        if (!nearer.isFound() || nearer.points < kFewest || sineBetween(side.land, nearer) < kLeastSine)
            return;
        side.flank = nearer;
        findRim(side, step);
    }
}

void GrooveSides::findRim(GrooveSide& side, int step) const {
    if (side.hasFlank) {
        side.rim = meetingPoint(side.land, side.flank);
        return;
    }
    // Anywhere between the two points; a scanner's columns are places in x, however the land is inclined.
    const Vector& last = points_[side.last];
    const Vector& next = points_[step < 0 ? side.last + 1 : side.last - 1];
    const double ofLast = side.land.placeOf(last);
    const double along = (next.x - last.x) / side.land.along.x;
    side.rim = side.land.pointAt(ofLast + along / 2);
    // On a gentle slope points count as land that lie on it already.
    const double rise = side.land.distanceOf(last) - side.land.distanceOf(next);
    const double down = rise > 0 ? kOffLand * side.land.deviation / rise : 0;
    side.uRim = std::fabs(along) * std::hypot(1 / std::sqrt(12.0), down / std::sqrt(3.0));
}

}  // namespace KvMeasure::Internal
