// A groove from its gap under the hull, of this project's own making: robust lines through lands and flanks.
// The rims are where these meet, on a wall without points halfway between two columns. Depth is square to the
// lid, which joins the rims. Uncertainties: of each line, moved along the other. Some passes over the points.

#include <kvmeasure/inspection/kinds/groove.h>
#include <kvmeasure/inspection/kinds/groove_bottom_p.h>
#include <kvmeasure/inspection/kinds/groove_gaps_p.h>
#include <kvmeasure/inspection/kinds/point_spacing.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

using namespace Internal;
using Points = std::vector<Vector>;
constexpr std::size_t kFewestPoints = 7;

/// One groove, from the gap to its values.
class Groove {
public:
    Groove(const Points& points, const GrooveGap& gap, std::size_t first, std::size_t end)
        : points_(points), gap_(gap), first_(first), end_(end) {}

    GrooveResult measure(const GrooveSettings& settings, const ResidualNoise& known);

private:
    void addBottomLines(ResidualNoise& noise) const;
    void widthAndDepth(GrooveResult& result) const;
    void meetingOfFlanks(GrooveResult& result, UncertaintySum& depth) const;
    void moveToArc(GrooveSide& side) const;
    void addRimOnArc(const GrooveSide& side, UncertaintySum& width) const;
    void lowestOfArc(GrooveResult& result, UncertaintySum& depth) const;
    void floorOrLowest(GrooveResult& result, UncertaintySum& depth) const;
    static double uOfArc(const ArcUncertainty& u, double x, double z, double radius);
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
    GrooveSide left_, right_;
    BottomFit bottom_;
    NoiseModel noise_;
};

void Groove::addBottomLines(ResidualNoise& noise) const {
    const auto add = [&](const LineFit& line) {
        if (line.isFound() && line.isInHeight)
            noise.add(line.residuals, /*parameters=*/2);
    };
    add(left_.land);
    add(right_.land);
    if (bottom_.form == GrooveBottom::Flat)
        add(bottom_.floor);
    if (bottom_.form == GrooveBottom::V) {
        add(bottom_.left);
        add(bottom_.right);
    }
    if (bottom_.form == GrooveBottom::Round)
        noise.add(bottom_.arc.residuals, /*parameters=*/3);
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
    result.bottom = meetingPoint(bottom_.left, bottom_.right);
    const Vector lid = lidDirection();
    UncertaintySum x;
    UncertaintySum z;
    const LineFit* lines[] = {&bottom_.left, &bottom_.right};
    for (int i = 0; i < 2; ++i) {
        const LineFit& moved = *lines[i];
        const LineFit& other = *lines[1 - i];
        const LineUncertainty u = lineUncertainty(moved, noise_);
        const double move =
            u.at(moved.placeOf(result.bottom)) / absoluteSine(moved, other);  // along the other
        x.add(move * other.along.x, u.degreesOfFreedom);
        z.add(move * other.along.y, u.degreesOfFreedom);
        depth.add(move * (other.along.x * lid.y - other.along.y * lid.x), u.degreesOfFreedom);
    }
    result.x.u = x.u();
    result.x.degreesOfFreedom = x.degreesOfFreedom();
    result.z.u = z.u();
    result.z.degreesOfFreedom = z.degreesOfFreedom();
}

/// A groove that is one arc meets its land in a rim that no straight flank leads to.
void Groove::moveToArc(GrooveSide& side) const {
    const FittedCircle& circle = bottom_.arc.circle;
    const double across = side.land.distanceOf(circle.centre);
    const double half = std::sqrt(circle.radius * circle.radius - across * across);
    const double middle = side.land.placeOf(circle.centre);
    if (!(half > 0) || !side.hasFlank)
        return;
    const double place = side.land.placeOf(side.rim);
    side.rim = side.land.pointAt(place < middle ? middle - half : middle + half);
    side.isOnArc = true;
}

double Groove::uOfArc(const ArcUncertainty& u, double x, double z, double radius) {
    const double slopes[] = {x, z, radius};
    double variance = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t k = 0; k < 3; ++k)
            variance += slopes[i] * u.covariance[i][k] * slopes[k];
    }
    return u.reason.isEmpty() ? std::sqrt(std::max(variance, 0.0)) : std::numeric_limits<double>::quiet_NaN();
}

void Groove::addRimOnArc(const GrooveSide& side, UncertaintySum& width) const {
    const FittedCircle& circle = bottom_.arc.circle;
    const Vector out((side.rim.x - circle.centre.x) / circle.radius,
                     (side.rim.y - circle.centre.y) / circle.radius);
    const double crossing = std::fabs(out.x * side.land.along.x + out.y * side.land.along.y);
    const ArcUncertainty arc = arcUncertainty(bottom_.arc, noise_);
    width.add(uOfArc(arc, out.x, out.y, 1) / crossing, arc.degreesOfFreedom);
    const LineUncertainty land = lineUncertainty(side.land, noise_);
    width.add(land.at(side.land.placeOf(side.rim)) / crossing * std::sqrt(1 - crossing * crossing),
              land.degreesOfFreedom);
}

/// The point of the arc that is farthest from the lid.
void Groove::lowestOfArc(GrooveResult& result, UncertaintySum& depth) const {
    const FittedCircle& circle = bottom_.arc.circle;
    const Vector down(lidDirection().y, -lidDirection().x);
    result.bottom =
        Vector(circle.centre.x + circle.radius * down.x, circle.centre.y + circle.radius * down.y);
    const ArcUncertainty u = arcUncertainty(bottom_.arc, noise_);
    depth.add(uOfArc(u, down.x, down.y, 1), u.degreesOfFreedom);
    double degrees = 0;
    const double turn = std::hypot(uLid(left_.rim, degrees), uLid(right_.rim, degrees)) / result.width.value;
    result.x.u = std::hypot(uOfArc(u, 1, 0, down.x), turn * circle.radius);
    result.z.u = uOfArc(u, 0, 1, down.y);
    result.x.degreesOfFreedom = result.z.degreesOfFreedom = u.degreesOfFreedom;
}

/// The floor under the middle of the lid, or the lowest point.
void Groove::floorOrLowest(GrooveResult& result, UncertaintySum& depth) const {
    const bool isFlat = bottom_.form == GrooveBottom::Flat;
    const Vector lid = middle(left_.rim, right_.rim);
    const Vector down(lidDirection().y, -lidDirection().x);
    const LineFit& line = bottom_.floor;
    const double way = line.distanceOf(lid) / (down.x * line.along.y - down.y * line.along.x);
    // Under the middle of the lid, or where the floor is nearest to that.
    const double place =
        std::clamp(line.placeOf({lid.x + way * down.x, lid.y + way * down.y}), line.from, line.to);
    const Vector floor = line.pointAt(place);
    result.isLowest = !isFlat;
    result.lacksBottom = !isFlat && bottom_.lacksPoints;
    result.bottom = isFlat ? floor : bottom_.lowest;
    const LineUncertainty u = lineUncertainty(line, noise_);
    depth.add(isFlat ? u.at(place) : noise_.deviation, u.degreesOfFreedom);
    // The slope leads on from the lowest point, to anywhere before its neighbour.
    constexpr double kOfNoise = 3;
    const double unseenDepth =
        std::max(bottom_.toNeighbour - kOfNoise * noise_.deviation, 0.0) / std::sqrt(3.0);
    if (!isFlat)
        depth.add(unseenDepth, std::numeric_limits<double>::infinity());
    // Square under the middle of the rims; of a lowest point x is anywhere between its neighbours.
    double degrees = 0;
    const double ofRims = std::hypot(uLid(left_.rim, degrees), uLid(right_.rim, degrees));
    UncertaintySum x;
    x.add(result.width.u / 2, result.width.degreesOfFreedom);
    // Walls lie off independently over all widths, at whole columns alike, with twice the variance.
    constexpr double kMore = 0.14;
    x.add(std::sqrt(kMore * left_.uRim * right_.uRim), std::numeric_limits<double>::infinity());
    x.add(ofRims / result.width.value * depthOf(result.bottom), degrees);
    result.x.u = isFlat ? x.u() : std::numeric_limits<double>::quiet_NaN();
    result.x.degreesOfFreedom = x.degreesOfFreedom();
    result.z.u = depth.u();
    result.z.degreesOfFreedom = u.degreesOfFreedom;
}

void Groove::widthAndDepth(GrooveResult& result) const {
    result.width.value = length(left_.rim, right_.rim);
    UncertaintySum width;
    for (const GrooveSide* side : {&left_, &right_}) {
        width.add(side->uRim, std::numeric_limits<double>::infinity());
        if (!side->hasFlank)
            continue;
        if (side->isOnArc) {
            addRimOnArc(*side, width);
            continue;
        }
        const double crossing = absoluteSine(side->land, side->flank);
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
    if (bottom_.form == GrooveBottom::V) {
        meetingOfFlanks(result, depth);
    } else if (bottom_.form == GrooveBottom::Round) {
        lowestOfArc(result, depth);
    } else {
        floorOrLowest(result, depth);
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

/// A point of a groove's outline.
struct OutlinePoint {
    double along, depth;  ///< place along the lid from the left rim, below the lid, mm
    double x;             ///< in the profile, mm
};

/// Standard uncertainty of an area under points, where some are missing: between the chord over a gap and
/// what the slopes on either side lead to, but no more than the chord's own triangle, mm^2.
double uOfGaps(const std::vector<OutlinePoint>& outline, double medianStep) {
    constexpr double kWide = 2.5;
    const auto step = [&](std::size_t i) { return outline[i].along - outline[i - 1].along; };
    const auto rise = [&](std::size_t i) { return outline[i].depth - outline[i - 1].depth; };
    double squares = 0;
    for (std::size_t i = 2; i + 1 < outline.size(); ++i) {
        if (!(std::fabs(outline[i].x - outline[i - 1].x) > kWide * medianStep))
            continue;
        const double turn = std::fabs(rise(i + 1) / step(i + 1) - rise(i - 1) / step(i - 1));
        const double most =
            std::fabs(step(i)) * std::min(std::fabs(step(i)) * turn / 4, std::fabs(rise(i))) / 2;
        squares += std::isfinite(most) ? most * most / 3 : 0;
    }
    return std::sqrt(squares);
}

/// Trapezoids between the points from rim to rim. A wall without points is upright for the scanner.
void Groove::area(GrooveResult& result) const {
    const Vector lid = lidDirection();
    const auto place = [&](const Vector& p) {
        return (p.x - left_.rim.x) * lid.x + (p.y - left_.rim.y) * lid.y;
    };
    constexpr double kSurelyInside = 0.1;
    const DepthBelow depthOf(left_.rim, right_.rim);
    std::vector<OutlinePoint> outline;
    outline.reserve(points_.size() + 2);
    const std::size_t from = left_.hasFlank ? left_.last : left_.wall;
    const std::size_t to = right_.hasFlank ? right_.last : right_.wall;
    for (std::size_t i = from + 1; i < to; ++i) {
        const double at = place(points_[i]);
        const double depth = depthOf(points_[i]);
        if ((at > 0 && at < result.width.value) || depth > kSurelyInside * result.depth.value)
            outline.push_back({at, depth, points_[i].x});
    }
    if (outline.empty())
        return;
    const auto foot = [&](const Vector& rim, double depth) {
        const double way = depth / depthOf({rim.x, rim.y - 1});
        return OutlinePoint{place({rim.x, rim.y - way}), depth, rim.x};
    };
    if (!left_.hasFlank)
        outline.insert(outline.begin(), foot(left_.rim, outline.front().depth));
    outline.insert(outline.begin(), {0, 0, left_.rim.x});
    if (!right_.hasFlank)
        outline.push_back(foot(right_.rim, outline.back().depth));
    outline.push_back({result.width.value, 0, right_.rim.x});
    if (bottom_.form == GrooveBottom::V) {  // seen or not
        const OutlinePoint root{place(result.bottom), result.depth.value, result.bottom.x};
        const auto behind = std::find_if(outline.begin(), outline.end(),
                                         [&](const auto& point) { return point.along > root.along; });
        if (behind != outline.begin() && behind != outline.end())
            outline.insert(behind, root);
    }
    double sum = 0;
    double squares = 0;
    for (std::size_t i = 1; i < outline.size(); ++i) {
        const double step = outline[i].along - outline[i - 1].along;
        sum += step * (outline[i].depth + outline[i - 1].depth) / 2;
        squares += step * step;
    }
    double degrees = 0;
    UncertaintySum u;
    const double ofLid = uLid(middle(left_.rim, right_.rim), degrees);
    u.add(result.width.value * ofLid, degrees);
    u.add(noise_.deviation * std::sqrt(squares * noise_.correlationTime), noise_.points);
    u.add(uOfGaps(outline, medianStep(points_)), std::numeric_limits<double>::infinity());
    const double walls = std::hypot(left_.uRim, right_.uRim);
    u.add(walls * result.depth.value, std::numeric_limits<double>::infinity());
    result.area.value = sum;
    result.area.u = u.u();
    result.area.degreesOfFreedom = u.degreesOfFreedom();
}

GrooveResult Groove::measure(const GrooveSettings& settings, const ResidualNoise& known) {
    GrooveResult result;
    const GrooveSides sides(points_, gap_, first_, end_);
    result.reason = sides.fit(left_, -1);
    if (result.reason.isEmpty())
        result.reason = sides.fit(right_, 1);
    if (!result.reason.isEmpty())
        return result;
    bottom_ = fitBottom(points_, left_, right_, settings.bottom);
    if (bottom_.form == GrooveBottom::Round && bottom_.isWholeArc) {
        moveToArc(left_);
        moveToArc(right_);
    }
    ResidualNoise noise = known;
    addBottomLines(noise);
    noise_ = noise.model();
    constexpr double kLeastDeviations = 5;
    const double deviation = std::max(left_.land.deviation, right_.land.deviation);
    if (bottom_.form == GrooveBottom::Automatic) {
        result.reason = settings.bottom == GrooveBottom::V ? QString("the groove has no two straight flanks")
                        : settings.bottom == GrooveBottom::Round ? QString("the groove has no round bottom")
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
