// The flanks say where the bottom is: their lines, led on, are deeper than a floor between them, by its x and
// not by its noise. A few passes over the points of the groove.
#include <kvmeasure/inspection/kinds/groove_bottom_p.h>

#include <kvmeasure/inspection/kinds/groove_gaps_p.h>
#include <kvmeasure/inspection/kinds/point_spacing.h>

#include <algorithm>
#include <limits>

namespace KvMeasure::Internal {

namespace {

using Points = std::vector<Vector>;
constexpr double kDeepShare = 0.8;
constexpr double kWallShare = 0.9;

/// Where a flank leads, over x.
class FlankDepth {
public:
    /// `along`: of any length; `inside`: a point in the groove.
    FlankDepth(const Vector& on, const Vector& along, const DepthBelow& depthOf, const Vector& inside)
        : on_(on), depth_(depthOf(on)),
          slope_((depthOf({on.x + along.x, on.y + along.y}) - depth_) / along.x),
          normal_(-along.y / std::hypot(along.x, along.y), along.x / std::hypot(along.x, along.y)) {
        if (distance(inside) < 0)
            normal_ = {-normal_.x, -normal_.y};
    }
    double at(double x) const { return depth_ + (x - on_.x) * slope_; }
    /// Of a point, positive inside the groove.
    double distance(const Vector& p) const { return (p.x - on_.x) * normal_.x + (p.y - on_.y) * normal_.y; }

private:
    Vector on_;
    double depth_, slope_;
    Vector normal_;
};

class Bottom {
public:
    Bottom(const Points& points, const GrooveSide& left, const GrooveSide& right)
        : points_(points), left_(left), right_(right), depthOf_(left.rim, right.rim),
          noise_(std::max(left.land.deviation, right.land.deviation)) {}

    BottomFit fit(GrooveBottom wanted);

private:
    void findDeepest();
    void fitFlanks(bool isRough);
    bool isV() const;
    FlankDepth flank(const LineFit& line, const GrooveSide& side, int step) const;
    Points offFlanks() const;
    double deepShare() const;
    bool fitRound(const Points& bottom);

    const Points& points_;
    const GrooveSide &left_, &right_;
    const DepthBelow depthOf_;
    const double noise_;
    BottomFit result_;
    std::size_t deepest_ = 0;  ///< its number
    double most_ = 0;          ///< its depth
    double typical_ = 0;       ///< of the deepest five in a row
};

void Bottom::findDeepest() {
    deepest_ = left_.last;
    for (std::size_t i = left_.last + 1; i < right_.last; ++i) {
        const double depth = depthOf_(points_[i]);
        if (depth > most_) {
            most_ = depth;
            deepest_ = i;
        }
    }
    const double five = depthOfFive(points_, left_.last + 1, right_.last, left_.rim, right_.rim);
    typical_ = five > 0 ? five : most_;
    if (deepest_ == left_.last)
        return;
    result_.lowest = points_[deepest_];
    const auto step = [&](std::size_t i) { return std::fabs(points_[i].x - points_[i - 1].x); };
    const auto rise = [&](std::size_t i) { return std::fabs(points_[i].y - points_[i - 1].y); };
    constexpr double kWide = 1.5;
    result_.toNeighbour = std::min(rise(deepest_), rise(deepest_ + 1));
    result_.lacksPoints = std::max(step(deepest_), step(deepest_ + 1)) > kWide * medianStep(points_);
}

/// Share of the width that is seen to be deeper than eight tenths.
double Bottom::deepShare() const {
    constexpr double kWide = 2.5;
    const double widest = kWide * medianStep(points_);
    double deep = 0, whole = 0;
    for (std::size_t i = left_.last; i < right_.last; ++i) {
        const double along = std::fabs(points_[i + 1].x - points_[i].x);
        whole += along;
        const double least = std::min(depthOf_(points_[i]), depthOf_(points_[i + 1]));
        deep += least > kDeepShare * typical_ && along <= widest ? along : 0;
    }
    return deep / whole;
}

void Bottom::fitFlanks(bool isRough) {
    constexpr double kLeast = 0.1;
    const auto flank = [&](const GrooveSide& side) {
        return fitFlank(points_, {side.last, deepest_}, {side.last, deepest_}, depthOf_, kLeast * most_,
                        kWallShare * most_, side.hasFlank ? &side.flank : nullptr, isRough);
    };
    result_.left = flank(left_);
    result_.right = flank(right_);
}

bool Bottom::isV() const {
    const LineFit &left = result_.left, &right = result_.right;
    return left.isFound() && right.isFound() && left.points >= kFewestOfLine &&
           right.points >= kFewestOfLine && absoluteSine(left, right) > kLeastSine;
}

/// The line of a flank; of a wall with fewer points than a line needs, from the rim to its first deep point.
FlankDepth Bottom::flank(const LineFit& line, const GrooveSide& side, int step) const {
    const Vector inside = middle(left_.rim, right_.rim);
    if (line.isFound())
        return {line.centre, line.along, depthOf_, inside};
    const double deep = kWallShare * most_;
    std::size_t i = side.last;
    while (i != deepest_ && depthOf_(points_[i]) < deep)
        i = step > 0 ? i + 1 : i - 1;
    return {side.rim, {points_[i].x - side.rim.x, points_[i].y - side.rim.y}, depthOf_, inside};
}

/// The points where the flanks would lead deeper than the mean of these points lies. None where that is no
/// more than noise, nor without flanks.
Points Bottom::offFlanks() const {
    constexpr int kRounds = 4;
    constexpr double kDeviations = 5;  // of the mean
    if (!result_.left.isFound() && !result_.right.isFound())
        return {};
    const FlankDepth left = flank(result_.left, left_, 1);
    const FlankDepth right = flank(result_.right, right_, -1);
    const double noise = std::max({noise_, result_.left.deviation, result_.right.deviation});
    Points off;
    double level = typical_;
    for (int round = 0; round < kRounds; ++round) {
        const std::size_t before = off.size();
        off.clear();
        double sum = 0, distance = 0;
        for (std::size_t i = left_.last + 1; i < right_.last; ++i) {
            const Vector& p = points_[i];
            if (!(left.at(p.x) > level && right.at(p.x) > level))
                continue;
            off.push_back(p);
            sum += depthOf_(p);
            distance += std::min(left.distance(p), right.distance(p));
        }
        const double count = double(off.size());
        if (!(distance > kDeviations * noise * std::sqrt(count) + kRounding * typical_ * count))
            return {};
        if (off.size() == before)
            break;
        level = sum / count;
    }
    return off;
}

/// Fits a cup to the bottom; false where the points do not hold its lowest one, or hardly bend.
bool Bottom::fitRound(const Points& bottom) {
    constexpr double kArcShare = 0.1, kAlike = 1.2;
    constexpr int kFewest = 8;
    ArcFit& arc = result_.arc;
    arc = fitArc(bottom);
    if (!arc.isFound() || arc.points < kFewest)
        return false;
    const Vector& centre = arc.circle.centre;
    const double size = length(left_.rim, right_.rim);
    const Vector lid((right_.rim.x - left_.rim.x) / size, (right_.rim.y - left_.rim.y) / size);
    const auto place = [&](const Vector& p) { return (p.x - centre.x) * lid.x + (p.y - centre.y) * lid.y; };
    const ArcFit whole =
        fitArc(between(points_, left_.last, right_.last, left_.rim, right_.rim, kArcShare * most_, most_));
    if (whole.isFound() && whole.deviation <= kAlike * std::max(arc.deviation, noise_)) {
        arc = whole;
        result_.isWholeArc = true;
    }
    const bool isCup = depthOf_(centre) < depthOf_(result_.lowest);
    if (!isCup || !(place(arc.used.front()) < 0 && place(arc.used.back()) > 0))
        arc.reason = "the points do not hold the bottom of an arc";
    return arc.isFound() && !arc.isNearlyStraight;
}

BottomFit Bottom::fit(GrooveBottom wanted) {
    constexpr double kFlatShare = 0.45, kVShare = 1.0 / 3;
    findDeepest();
    fitFlanks(/*isRough=*/true);
    const Points off = offFlanks();
    const bool isOff = off.size() >= std::size_t(kFewestOfLine);
    const double share = deepShare();
    result_.form = wanted;
    if (wanted == GrooveBottom::V || (wanted == GrooveBottom::Automatic && share < kVShare && !isOff)) {
        fitFlanks(/*isRough=*/false);
        result_.form = isV() ? GrooveBottom::V : GrooveBottom::Automatic;
    }
    if (result_.form == GrooveBottom::V || wanted == GrooveBottom::V)
        return result_;
    const Points bottom = isOff ? off
                                : between(points_, left_.last, right_.last, left_.rim, right_.rim,
                                          kDeepShare * typical_ - 2 * noise_, most_);
    const double least = 2 * noise_ + kRounding * most_;
    result_.floor = fitLine(bottom);
    const bool hasFloor = result_.floor.isFound();
    if (wanted == GrooveBottom::Flat && !hasFloor)
        result_.form = GrooveBottom::Automatic;
    if (wanted == GrooveBottom::Flat || wanted == GrooveBottom::Lowest)
        return result_;
    // A floor may be dished a little.
    constexpr double kDished = 0.1, kBend = 4;
    const bool isFlat = hasFloor && result_.floor.deviation <= least && (isOff || share >= kFlatShare);
    const bool isRound =
        (!isFlat || bendOf(result_.floor) < -kBend) && fitRound(bottom) && result_.arc.deviation <= least &&
        (!isFlat || sagitta(result_.arc.circle.radius, result_.arc.span.span) > kDished * most_);
    if (wanted == GrooveBottom::Automatic)
        result_.form = isRound ? GrooveBottom::Round : isFlat ? GrooveBottom::Flat : GrooveBottom::Lowest;
    if (wanted == GrooveBottom::Round && !result_.arc.isFound())
        result_.form = GrooveBottom::Automatic;
    return result_;
}

}  // namespace

BottomFit fitBottom(const Points& points, const GrooveSide& left, const GrooveSide& right,
                    GrooveBottom wanted) {
    return Bottom(points, left, right).fit(wanted);
}

}  // namespace KvMeasure::Internal
