// A groove from its gap under the hull, of this project's own making: robust lines through lands and flanks.
// The rims are where these meet, on a wall without points halfway between two columns. Depth is square to the
// lid, which joins the rims. Uncertainties: of each line, moved along the other. Some passes over the points.

#include <kvmeasure/inspection/kinds/groove.h>
#include <kvmeasure/inspection/kinds/groove_gaps_p.h>
#include <kvmeasure/inspection/kinds/order_noise.h>
#include <kvmeasure/profiles/fit_start_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

using namespace Internal;
using Points = std::vector<Vector>;
constexpr std::size_t kFewestPoints = 7;
constexpr int kFewestOfLine = 3;
constexpr double kLeastSine = 0.17;  // 10 degrees: lines that are nearer to each other are one

/// One side of a groove, towards the left or the right.
struct Side {
    LineFit land, flank;
    std::size_t last = 0;  ///< last point of the land
    Vector rim;
    double uRim = 0;  ///< standard uncertainty of the rim along the lid without that of the lines, mm
    bool hasFlank = false;
};

double sine(const LineFit& a, const LineFit& b) {
    return std::fabs(a.along.x * b.along.y - a.along.y * b.along.x);
}

/// One groove, from the gap to its values.
class Groove {
public:
    Groove(const Points& points, const GrooveGap& gap, std::size_t first, std::size_t end)
        : points_(points), gap_(gap), first_(first), end_(end) {}

    GrooveResult measure(const GrooveSettings& settings, const ResidualNoise& known);

private:
    QString findSide(Side& side, int step) const;
    void findRim(Side& side, int step) const;
    void findBottom(GrooveBottom wanted);
    bool hasFlanks(std::size_t deepest, double most);
    void addBottomLines(ResidualNoise& noise) const;
    void widthAndDepth(GrooveResult& result) const;
    void meetingOfFlanks(GrooveResult& result, UncertaintySum& depth) const;
    void area(GrooveResult& result) const;
    double uLid(const Vector& at, double& degrees) const;
    /// Unit, from the left rim to the right one.
    Vector lidDirection() const {
        const double size = length(left_.rim, right_.rim);
        return {(right_.rim.x - left_.rim.x) / size, (right_.rim.y - left_.rim.y) / size};
    }
    double depthOf(const Vector& p) const { return below(p, left_.rim, right_.rim); }

    const Points& points_;
    const GrooveGap gap_;
    const std::size_t first_, end_;
    Side left_, right_;
    LineFit floor_, leftV_, rightV_;
    GrooveBottom form_ = GrooveBottom::Lowest;
    Vector lowest_;
    bool lacksBottom_ = false;  ///< points beside the lowest are missing
    NoiseModel noise_;
};

/// Fits land and flank beside the gap; `step` leads from the bottom to the land. A reason, or nothing.
QString Groove::findSide(Side& side, int step) const {
    QString outside("a rim of the groove lies outside the region");
    // Lines of the first round say where points belong, and need but some of them.
    constexpr int kRounds = 2;
    const auto landFrom = [&](std::size_t at, int round) {
        return fitLine(thinned(points_, step < 0 ? first_ : at, step < 0 ? at + 1 : end_,
                               round < kRounds ? kEnoughForRough : points_.size()));
    };
    // The hull runs over the noise of the land: look for its end high up the wall, then from its own line.
    constexpr double kRoughShare = 0.35;
    const std::size_t stop = step < 0 ? first_ : end_ - 1;
    side.last = landEnd(points_, gap_.deepest, stop, kRoughShare * gap_.depth,
                        DepthBelow(points_[gap_.from], points_[gap_.to]));
    side.land = landFrom(side.last, /*round=*/0);
    if (!(side.land.points >= kFewestOfLine))
        return outside;
    constexpr double kLandShare = 0.1, kFlankShare = 0.5, kDeviations = 4;
    for (int round = 1; round <= kRounds; ++round) {
        const LineFit land = side.land;
        const auto depth = [&](const Vector& p) { return -land.distanceOf(p); };
        const double whole = depth(points_[gap_.deepest]);
        const double least = std::max(kLandShare * whole, kDeviations * land.deviation);
        side.last = landEnd(points_, gap_.deepest, stop, least, depth);
        side.flank = fitFlank(points_, {stop, gap_.deepest}, {side.last, gap_.deepest},
                              DepthBelow(land.pointAt(0), land.pointAt(1)), least, kFlankShare * whole,
                              side.hasFlank ? &side.flank : nullptr, round < kRounds);
        side.hasFlank = side.flank.isFound();
        if (side.hasFlank && sine(side.land, side.flank) < kLeastSine)
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
    return {};
}

void Groove::findRim(Side& side, int step) const {
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
    side.uRim = std::fabs(along) / std::sqrt(12.0);
}

/// Fits what the bottom rests on.
void Groove::findBottom(GrooveBottom wanted) {
    double most = 0, deep = 0, whole = 0;
    const DepthBelow depthOf(left_.rim, right_.rim);
    std::vector<double> depths;  // from the last point of the left land to the first of the right one
    for (std::size_t i = left_.last; i <= right_.last; ++i)
        depths.push_back(depthOf(points_[i]));
    for (std::size_t i = 1; i + 1 < depths.size(); ++i) {
        if (depths[i] > most) {
            most = depths[i];
            lowest_ = points_[left_.last + i];
        }
    }
    constexpr double kDeepShare = 0.8;
    const double five = depthOfFive(points_, left_.last + 1, right_.last, left_.rim, right_.rim);
    const double typical = five > 0 ? five : most;
    for (std::size_t i = 0; i + 1 < depths.size(); ++i) {
        const double along = std::fabs(points_[left_.last + i + 1].x - points_[left_.last + i].x);
        whole += along;
        deep += std::min(depths[i], depths[i + 1]) > kDeepShare * typical ? along : 0;
    }
    std::size_t deepest = left_.last;
    while (deepest < right_.last && depths[deepest - left_.last] < most)
        ++deepest;
    constexpr double kWide = 1.5, kFlatShare = 0.45, kVShare = 1.0 / 3;
    const auto step = [&](std::size_t i) { return std::fabs(points_[i].x - points_[i - 1].x); };
    lacksBottom_ = deepest > 0 && deepest + 1 < points_.size() &&
                   std::max(step(deepest), step(deepest + 1)) > kWide * medianStep(points_);
    form_ = wanted;
    if (wanted == GrooveBottom::V || (wanted == GrooveBottom::Automatic && deep < kVShare * whole))
        form_ = hasFlanks(deepest, most) ? GrooveBottom::V : GrooveBottom::Automatic;
    if (form_ == GrooveBottom::V || wanted == GrooveBottom::V)
        return;  // one that is wanted and is none is refused by measure()
    const double noise = std::max(left_.land.deviation, right_.land.deviation);
    floor_ = fitLine(between(points_, left_.last, right_.last, left_.rim, right_.rim,
                             kDeepShare * typical - 2 * noise, most));
    const bool isFlat = floor_.isFound() && floor_.deviation <= 2 * noise + 1e-6 * most;  // rounding
    if (wanted == GrooveBottom::Automatic)
        form_ = deep >= kFlatShare * whole && isFlat ? GrooveBottom::Flat : GrooveBottom::Lowest;
    if (wanted == GrooveBottom::Flat && !floor_.isFound())
        form_ = GrooveBottom::Automatic;  // refused by measure()
}

/// Fits the two flanks of a V; false where there are none.
bool Groove::hasFlanks(std::size_t deepest, double most) {
    constexpr double kLeast = 0.1, kGreatest = 0.9;
    const DepthBelow depthOf(left_.rim, right_.rim);
    const auto flank = [&](const Side& side) {
        return fitFlank(points_, {side.last, deepest}, {side.last, deepest}, depthOf, kLeast * most,
                        kGreatest * most, side.hasFlank ? &side.flank : nullptr);
    };
    leftV_ = flank(left_);
    rightV_ = flank(right_);
    return leftV_.isFound() && rightV_.isFound() && leftV_.points >= kFewestOfLine &&
           rightV_.points >= kFewestOfLine && sine(leftV_, rightV_) > kLeastSine;
}

void Groove::addBottomLines(ResidualNoise& noise) const {
    const auto add = [&](const LineFit& line) {
        if (line.isFound() && line.isInHeight)
            noise.add(line.residuals, /*parameters=*/2);
    };
    add(left_.land);
    add(right_.land);
    if (form_ == GrooveBottom::Flat)
        add(floor_);
    if (form_ == GrooveBottom::V) {
        add(leftV_);
        add(rightV_);
    }
}

/// Standard uncertainty of the lid, square to it, at a place.
double Groove::uLid(const Vector& at, double& degrees) const {
    const double size = length(left_.rim, right_.rim);
    const double share = ((at.x - left_.rim.x) * (right_.rim.x - left_.rim.x) +
                          (at.y - left_.rim.y) * (right_.rim.y - left_.rim.y)) /
                         (size * size);
    const LineUncertainty left = lineUncertainty(left_.land, noise_);
    const LineUncertainty right = lineUncertainty(right_.land, noise_);
    UncertaintySum sum;
    sum.add((1 - share) * left.at(left_.land.placeOf(left_.rim)), left.degreesOfFreedom);
    sum.add(share * right.at(right_.land.placeOf(right_.rim)), right.degreesOfFreedom);
    degrees = sum.degreesOfFreedom();
    return sum.u();
}

void Groove::meetingOfFlanks(GrooveResult& result, UncertaintySum& depth) const {
    result.bottom = meetingPoint(leftV_, rightV_);
    const Vector lid = lidDirection();
    UncertaintySum x;
    UncertaintySum z;
    const LineFit* lines[] = {&leftV_, &rightV_};
    for (int i = 0; i < 2; ++i) {
        const LineFit& moved = *lines[i];
        const LineFit& other = *lines[1 - i];
        const LineUncertainty u = lineUncertainty(moved, noise_);
        const double move = u.at(moved.placeOf(result.bottom)) / sine(moved, other);  // along the other
        x.add(move * other.along.x, u.degreesOfFreedom);
        z.add(move * other.along.y, u.degreesOfFreedom);
        depth.add(move * (other.along.x * lid.y - other.along.y * lid.x), u.degreesOfFreedom);
    }
    result.x.u = x.u();
    result.x.degreesOfFreedom = x.degreesOfFreedom();
    result.z.u = z.u();
    result.z.degreesOfFreedom = z.degreesOfFreedom();
}

void Groove::widthAndDepth(GrooveResult& result) const {
    result.width.value = length(left_.rim, right_.rim);
    UncertaintySum width;
    for (const Side* side : {&left_, &right_}) {
        width.add(side->uRim, std::numeric_limits<double>::infinity());
        if (!side->hasFlank)
            continue;
        const double crossing = sine(side->land, side->flank);
        for (const LineFit* line : {&side->land, &side->flank}) {
            const LineUncertainty u = lineUncertainty(*line, noise_);
            const double move = u.at(line->placeOf(side->rim)) / crossing;
            const double cosine = line == &side->flank ? 1 : std::sqrt(1 - crossing * crossing);
            width.add(move * cosine, u.degreesOfFreedom);
        }
    }
    result.width.u = width.u();
    result.width.degreesOfFreedom = width.degreesOfFreedom();
    UncertaintySum depth;
    if (form_ == GrooveBottom::V) {
        meetingOfFlanks(result, depth);
    } else {
        const bool isFlat = form_ == GrooveBottom::Flat;
        const Vector lid = middle(left_.rim, right_.rim);
        const Vector down(lidDirection().y, -lidDirection().x);
        const double way = floor_.distanceOf(lid) / (down.x * floor_.along.y - down.y * floor_.along.x);
        const Vector floor(lid.x + way * down.x, lid.y + way * down.y);
        const double place = floor_.placeOf(floor);
        result.isLowest = !isFlat;
        result.lacksBottom = !isFlat && lacksBottom_;
        result.bottom = isFlat ? floor : lowest_;
        const LineUncertainty u = lineUncertainty(floor_, noise_);
        depth.add(isFlat ? u.at(place) : noise_.deviation, u.degreesOfFreedom);
        // Square under the middle of the rims; of a lowest point x is anywhere between its neighbours.
        double degrees = 0;
        const double ofRims = std::hypot(uLid(left_.rim, degrees), uLid(right_.rim, degrees));
        UncertaintySum x;
        x.add(width.u() / 2, width.degreesOfFreedom());
        // Walls lie off independently over all widths, at whole columns alike, with twice the variance.
        constexpr double kMore = 0.14;
        x.add(std::sqrt(kMore * left_.uRim * right_.uRim), std::numeric_limits<double>::infinity());
        x.add(ofRims / result.width.value * depthOf(result.bottom), degrees);
        result.x.u = isFlat ? x.u() : std::numeric_limits<double>::quiet_NaN();
        result.x.degreesOfFreedom = x.degreesOfFreedom();
        result.z.u = depth.u();
        result.z.degreesOfFreedom = u.degreesOfFreedom;
    }
    double degrees = 0;
    const double lid = uLid(result.bottom, degrees);
    depth.add(lid, degrees);
    result.depth.value = depthOf(result.bottom);
    result.depth.u = depth.u();
    result.depth.degreesOfFreedom = depth.degreesOfFreedom();
    result.x.value = result.bottom.x;
    result.z.value = result.bottom.y;
    const Vector normal(lidDirection().y, -lidDirection().x);
    result.underLid = Vector(result.bottom.x - result.depth.value * normal.x,
                             result.bottom.y - result.depth.value * normal.y);
}

/// Trapezoids between the points from rim to rim. A flank begins on the lid, a wall without points at the
/// depth of the first point behind it.
void Groove::area(GrooveResult& result) const {
    const Vector lid = lidDirection();
    const auto place = [&](const Vector& p) {
        return (p.x - left_.rim.x) * lid.x + (p.y - left_.rim.y) * lid.y;
    };
    const DepthBelow depthOf(left_.rim, right_.rim);
    std::vector<std::pair<double, double>> outline;  // place along the lid and depth
    outline.reserve(points_.size() + 2);
    for (std::size_t i = left_.last + 1; i < right_.last; ++i) {
        const double at = place(points_[i]);
        if (at > 0 && at < result.width.value)
            outline.emplace_back(at, depthOf(points_[i]));
    }
    if (outline.empty())
        return;
    outline.insert(outline.begin(), {0, left_.hasFlank ? 0 : outline.front().second});
    outline.emplace_back(result.width.value, right_.hasFlank ? 0 : outline.back().second);
    double sum = 0;
    double squares = 0;
    for (std::size_t i = 1; i < outline.size(); ++i) {
        const double step = outline[i].first - outline[i - 1].first;
        sum += step * (outline[i].second + outline[i - 1].second) / 2;
        squares += step * step;
    }
    double degrees = 0;
    UncertaintySum u;
    const double ofLid = uLid(middle(left_.rim, right_.rim), degrees);
    u.add(result.width.value * ofLid, degrees);
    u.add(noise_.deviation * std::sqrt(squares * noise_.correlationTime), noise_.points);
    const double walls = std::hypot(left_.uRim, right_.uRim);
    u.add(walls * result.depth.value, std::numeric_limits<double>::infinity());
    result.area.value = sum;
    result.area.u = u.u();
    result.area.degreesOfFreedom = u.degreesOfFreedom();
}

GrooveResult Groove::measure(const GrooveSettings& settings, const ResidualNoise& known) {
    GrooveResult result;
    result.reason = findSide(left_, -1);
    if (result.reason.isEmpty())
        result.reason = findSide(right_, 1);
    if (!result.reason.isEmpty())
        return result;
    findBottom(settings.bottom);
    ResidualNoise noise = known;
    addBottomLines(noise);
    noise_ = noise.model();
    constexpr double kLeastDeviations = 5;
    const double deviation = std::max(left_.land.deviation, right_.land.deviation);
    if (form_ == GrooveBottom::Automatic) {
        result.reason = settings.bottom == GrooveBottom::V ? QString("the groove has no two straight flanks")
                                                           : QString("the groove has no floor");
        return result;
    }
    widthAndDepth(result);
    area(result);
    result.leftRim = left_.rim;
    result.rightRim = right_.rim;
    result.noise = noise_;
    result.isShort = noise_.isShort(std::min(left_.land.points, right_.land.points));
    if (!std::isfinite(result.width.value + result.depth.value + result.area.value + result.x.value))
        result.reason = "the points give no finite groove";
    else if (!(result.depth.value > kLeastDeviations * deviation && result.depth.value > settings.leastDepth))
        result.reason = "no groove is deeper than the limit or the noise";
    else if (!(result.width.value > settings.leastWidth))
        result.reason = "no groove is wider than the limit";
    return result;
}

}  // namespace

GrooveResult measureGroove(const Points& points, const GrooveSettings& settings, const ResidualNoise& known) {
    GrooveResult none;
    if (points.size() < kFewestPoints) {
        none.reason = "fewer than seven points for a groove";
        return none;
    }
    const Points sorted = inScanOrder(points);
    const std::vector<GrooveGap> gaps = gapsUnderHull(sorted);
    const int count = static_cast<int>(gaps.size());
    int chosen = settings.number > 0 ? settings.number - 1 : count + settings.number;
    if (settings.number == 0 && count > 0) {
        const auto deepest =
            std::max_element(gaps.begin(), gaps.end(),
                             [](const GrooveGap& a, const GrooveGap& b) { return a.depth < b.depth; });
        chosen = static_cast<int>(deepest - gaps.begin());
    }
    if (chosen < 0 || chosen >= count) {
        none.reason = count == 0 ? QString("no groove: nothing lies below the line over the points")
                                 : QString("no groove has that number: the region holds %1").arg(count);
        return none;
    }
    const auto at = std::size_t(chosen);
    // Between the neighbours, as far as the scan order is that of x.
    const std::size_t deepest = gaps[at].deepest;
    const std::size_t first = chosen == 0 ? 0 : std::min(gaps[at - 1].landBehind, deepest);
    const std::size_t end =
        chosen + 1 == count ? sorted.size() : std::max(gaps[at + 1].landBefore, deepest) + 1;
    return Groove(sorted, gaps[at], first, end).measure(settings, known);
}

}  // namespace KvMeasure
