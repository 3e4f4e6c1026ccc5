// strip: width, height and place of what rises between two edges. One pass finds the runs of high points, one
// more over the chosen run its height and edges.

#include <kvmeasure/inspection/kinds/strip.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/inspection/kinds/average.h>
#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/groove_gaps_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/kinds/wall.h>
#include <kvmeasure/inspection/tool_input.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

using namespace Internal;

namespace {

constexpr double kMiddlePercent = 50;

/// A run of points, both ends included.
struct Run {
    std::size_t from, to;
};

class Strips {
public:
    Strips(const std::vector<Vector>& points, const LineFit& base, const NoiseModel& noise,
           const StripSettings& settings)
        : points_(points), base_(base), noise_(noise), settings_(settings) {
        const PointSpacing spacing = spacingOf(points);
        pitch_ = spacing.medianStep;
        widest_ = std::isnan(settings.widestGap) ? spacing.widestStep : settings.widestGap;
        constexpr double kDeviations = 5;  // noise is no strip
        least_ = std::isfinite(noise.deviation)
                     ? std::max(settings.leastHeight, kDeviations * noise.deviation)
                     : settings.leastHeight;
    }
    StripResult measure() const;

private:
    struct Edge {
        Vector at;
        double place = 0;  ///< along the base
        double u = 0;
        double degrees = std::numeric_limits<double>::infinity();
        double perHeight = 0;   ///< mm along the base that it moves where the half height does by 1 mm
        double voidBeside = 0;  ///< width of the void that it lies at; 0: none
        bool isFree = false;
    };

    bool hasBase() const { return base_.isFound(); }
    double heightOf(std::size_t i) const { return hasBase() ? base_.distanceOf(points_[i]) : 0; }
    double placeOf(const Vector& p) const { return hasBase() ? base_.placeOf(p) : p.x; }
    bool isVoid(std::size_t behind) const {
        return std::fabs(points_[behind].x - points_[behind - 1].x) > widest_;
    }
    std::vector<Run> runs() const;
    Edge edge(const Run& run, double half, bool isFirst) const;
    Edge crossing(std::size_t behind, double half) const;
    bool crossFlank(std::size_t behind, double half, bool isFirst, Edge& edge) const;
    void giveEdges(const Edge& one, const Edge& other, double height, int pointsOfTop,
                   StripResult& result) const;
    Edge freeEdge(const Run& run, bool isFirst) const;
    double topOf(const Run& run, int& points) const;
    bool isAmbiguous(const Edge& left, const Edge& right) const;

    const std::vector<Vector>& points_;
    const LineFit& base_;
    const NoiseModel& noise_;
    const StripSettings& settings_;
    double pitch_ = 0, widest_ = 0, least_ = 0;
};

/// Runs of points that are high enough, parted at voids; from the left to the right.
std::vector<Run> Strips::runs() const {
    std::vector<Run> found;
    bool isIn = false;
    for (std::size_t i = 0; i < points_.size(); ++i) {
        const bool isHigh = !hasBase() || heightOf(i) >= least_;
        if (isHigh && isIn && !isVoid(i))
            found.back().to = i;
        else if (isHigh)
            found.push_back({i, i});
        isIn = isHigh;
    }
    if (points_.front().x > points_.back().x)
        std::reverse(found.begin(), found.end());
    return found;
}

/// Between two points: a wall lies anywhere, on a flank the noise moves it.
Strips::Edge Strips::crossing(std::size_t behind, double half) const {
    Edge edge;
    const Vector& before = points_[behind - 1];
    const Vector& after = points_[behind];
    const double low = heightOf(behind - 1);
    const double rise = heightOf(behind) - low;
    const double share = (half - low) / rise;
    edge.at = Vector(before.x + share * (after.x - before.x), before.y + share * (after.y - before.y));
    edge.place = placeOf(edge.at);
    const double way = std::fabs(placeOf(after) - placeOf(before));
    const double wall = wallShare(points_, behind, std::isfinite(noise_.deviation) ? noise_.deviation : 0);
    const double ofNoise = noise_.deviation / std::fabs(rise) * way * (1 - wall);
    edge.u = std::hypot(wall * way / kRootOf12, ofNoise);
    edge.degrees = wall < 1 ? noise_.lengths(noise_.points) : edge.degrees;
    return edge;
}

/// A flank is crossed where the line through its points near half of the height is: the first point beyond
/// would be one that noise has raised. False: fewer than five, as on a wall.
bool Strips::crossFlank(std::size_t behind, double half, bool isFirst, Edge& edge) const {
    constexpr double kLeastShare = 0.2;  // of half of the height
    constexpr double kMostShare = 0.6;
    constexpr double kDeviations = 6;
    constexpr int kFewest = 5;
    const double reach = std::clamp(std::isfinite(noise_.deviation) ? kDeviations * noise_.deviation : 0.0,
                                    kLeastShare * half, kMostShare * half);
    std::size_t from = behind - 1;
    std::size_t to = behind;
    while (from > 0 && !isVoid(from) && std::fabs(heightOf(from) - half) <= reach)
        --from;
    while (to + 1 < points_.size() && !isVoid(to + 1) && std::fabs(heightOf(to) - half) <= reach)
        ++to;
    constexpr std::size_t kMore = 4;  // which noise may have stopped at
    for (std::size_t k = 0; k < kMore; ++k) {
        from -= from > 0 && !isVoid(from) ? 1 : 0;
        to += to + 1 < points_.size() && !isVoid(to + 1) ? 1 : 0;
    }
    const LineFit flank = fitFlank(points_, {from, to}, {from, to}, {base_.pointAt(0), base_.pointAt(1)},
                                   -half - reach, reach - half);
    if (!flank.isFound() || !flank.isInHeight || flank.points < kFewest)
        return false;
    const double sine = base_.along.x * flank.along.y - base_.along.y * flank.along.x;
    const double cosine = base_.along.x * flank.along.x + base_.along.y * flank.along.y;
    constexpr double kFlattest = 0.05;  // 3 degrees
    const bool rises = (points_.back().x > points_.front().x) == isFirst;
    if (!(std::fabs(sine) > kFlattest) || (sine > 0) != rises)
        return false;
    const double way = (half - base_.distanceOf(flank.centre)) / sine;
    if (way < flank.from - pitch_ || way > flank.to + pitch_)
        return false;
    const LineUncertainty u = lineUncertainty(flank, noise_);
    edge.at = flank.pointAt(way);
    edge.place = placeOf(edge.at);
    edge.u = u.at(way) / std::fabs(sine);
    edge.degrees = u.degreesOfFreedom;
    edge.perHeight = std::fabs(cosine / sine);
    return true;
}

Strips::Edge Strips::freeEdge(const Run& run, bool isFirst) const {
    Edge edge;
    const Vector& end = points_[isFirst ? run.from : run.to];
    const Vector& other = points_[isFirst ? run.to : run.from];
    const double way = settings_.movesFreeEdges ? pitch_ / 2 : 0;
    const double sign = end.x < other.x || (end.x == other.x && isFirst) ? -1 : 1;
    edge.at = end;
    edge.place = placeOf(Vector(end.x + sign * way, end.y));
    edge.at.x += sign * way;
    edge.u = deviationOfEnd(
        {points_.begin() + std::ptrdiff_t(run.from), points_.begin() + std::ptrdiff_t(run.to + 1)});
    edge.isFree = true;
    return edge;
}

/// Where the profile passes `half` beside an end of the run, or the end itself where it is as high. The
/// crossing may lie within the run, whose first points are those above the least height.
Strips::Edge Strips::edge(const Run& run, double half, bool isFirst) const {
    const std::size_t end = isFirst ? run.from : run.to;
    const bool isAtEnd = isFirst ? run.from == 0 : run.to + 1 == points_.size();
    const std::size_t beyond = isFirst ? run.from : run.to + 1;
    const bool isOpen = isAtEnd || isVoid(beyond);
    if (!hasBase() || (isOpen && heightOf(end) >= half)) {
        Edge open = freeEdge(run, isFirst);
        open.voidBeside = isAtEnd ? 0 : std::fabs(points_[beyond].x - points_[beyond - 1].x);
        return open;
    }
    const std::size_t wanted = std::min<std::size_t>(3, run.to - run.from + 1);  // one may be noise
    std::size_t i = end;
    std::size_t inRow = heightOf(i) >= half ? 1 : 0;
    while (i != (isFirst ? run.to : run.from) && inRow < wanted) {
        i = isFirst ? i + 1 : i - 1;
        inRow = heightOf(i) >= half ? inRow + 1 : 0;
    }
    const std::size_t back = std::max<std::size_t>(inRow, 1) - 1;
    const std::size_t behind =
        isFirst ? std::max<std::size_t>(i - back, 1) : std::min(i + back + 1, points_.size() - 1);
    Edge flank;
    return half > 0 && crossFlank(behind, half, isFirst, flank) ? flank : crossing(behind, half);
}

/// The void beside an edge may be missing points: it is hardly wider, or points are missing elsewhere, too.
bool Strips::isAmbiguous(const Edge& left, const Edge& right) const {
    constexpr double kWide = 1.5;
    constexpr double kTimes = 2;
    int wide = 0, voids = 0;
    for (std::size_t i = 1; i < points_.size(); ++i)
        wide += std::fabs(points_[i].x - points_[i - 1].x) > kWide * pitch_ ? 1 : 0;
    bool isNarrow = false;
    for (const double beside : {left.voidBeside, right.voidBeside}) {
        voids += beside > 0 ? 1 : 0;
        isNarrow = isNarrow || (beside > 0 && beside < kTimes * widest_);
    }
    return std::isnan(settings_.widestGap) && voids > 0 && (isNarrow || wide > voids);
}

/// The median height of the points higher than eight tenths of the height, which is first taken from those
/// above half of the highest.
double Strips::topOf(const Run& run, int& points) const {
    std::vector<double> heights(run.to - run.from + 1);
    for (std::size_t i = run.from; i <= run.to; ++i)
        heights[i - run.from] = heightOf(i);
    constexpr double kHighPercent = 90;
    double height = percentileOf(heights, kHighPercent);
    for (const double share : {0.5, 0.8}) {
        std::vector<double> high;
        high.reserve(heights.size());
        std::copy_if(heights.begin(), heights.end(), std::back_inserter(high),
                     [least = share * height](double value) { return value >= least; });
        points = static_cast<int>(high.size());
        if (points > 0)
            height = percentileOf(high, kMiddlePercent);
    }
    return height;
}

StripResult Strips::measure() const {
    StripResult result;
    std::vector<Run> found = runs();
    const auto widthOf = [&](const Run& run) {
        return std::fabs(placeOf(points_[run.to]) - placeOf(points_[run.from])) + pitch_;
    };
    found.erase(std::remove_if(found.begin(), found.end(),
                               [&](const Run& run) { return widthOf(run) < settings_.leastWidth; }),
                found.end());
    const int count = static_cast<int>(found.size());
    int chosen = settings_.number > 0 ? settings_.number - 1 : count + settings_.number;
    if (settings_.number == 0) {
        const auto widest = std::max_element(
            found.begin(), found.end(), [&](const Run& a, const Run& b) { return widthOf(a) < widthOf(b); });
        chosen = static_cast<int>(widest - found.begin());
    }
    if (chosen < 0 || chosen >= count) {
        result.reason = count == 0 ? QString("no strip: nothing is high and wide enough")
                                   : QString("no strip has that number: the region holds %1").arg(count);
        return result;
    }
    const Run& run = found[std::size_t(chosen)];
    result.points = static_cast<int>(run.to - run.from + 1);
    constexpr double kWidestInSteps = 10;
    for (std::size_t i = run.from + 1; i <= run.to; ++i)
        result.bridged = std::max(result.bridged, std::fabs(points_[i].x - points_[i - 1].x));
    result.bridged = result.bridged > kWidestInSteps * pitch_ ? result.bridged : 0;
    int pointsOfTop = 0;
    const double height = topOf(run, pointsOfTop);
    giveEdges(edge(run, height / 2, /*isFirst=*/true), edge(run, height / 2, /*isFirst=*/false), height,
              pointsOfTop, result);
    return result;
}

/// All values from both edges and the top.
void Strips::giveEdges(const Edge& one, const Edge& other, double height, int pointsOfTop,
                       StripResult& result) const {
    const Edge& left = one.at.x <= other.at.x ? one : other;
    const Edge& right = one.at.x <= other.at.x ? other : one;
    const Vector centre = middle(left.at, right.at);
    const bool isFitted = hasBase() && base_.points > 0;
    const LineUncertainty line = lineUncertainty(base_, noise_);
    const double ofTop = hasBase() ? OrderNoise(pointsOfTop, 0, noise_).percentile(kMiddlePercent) : 0;
    if (hasBase()) {
        UncertaintySum u;
        u.add(ofTop, noise_.points);
        if (isFitted)
            u.add(line.at(base_.placeOf(centre)), line.degreesOfFreedom);
        result.height = {height, u.u(), u.degreesOfFreedom(), {}};
    } else {
        result.height = refused("there is no base to measure a height from");
    }
    // Half of the height is half way from the base in the middle up to the top, then along the base.
    const auto armOf = [&](const Edge& edge) {
        return edge.perHeight > 0 ? edge.perHeight * (edge.place - base_.placeOf(centre) / 2) : 0;
    };
    const auto withLevel = [&](UncertaintySum u, double perHeight, double arm) {
        if (perHeight > 0)
            u.add(perHeight * ofTop / 2, noise_.points);
        if (perHeight > 0 && isFitted) {
            u.add(perHeight * line.offset / 2, line.degreesOfFreedom);
            u.add(arm * line.direction, line.degreesOfFreedom);
        }
        return u;
    };
    const auto place = [&](const Edge& edge, FittedValue& value) {
        UncertaintySum u;
        u.add(edge.u, edge.degrees);
        u = withLevel(u, edge.perHeight, armOf(edge));
        value = {edge.at.x, u.u(), u.degreesOfFreedom(), {}};
    };
    place(left, result.left);
    place(right, result.right);
    UncertaintySum width;
    width.add(left.u, left.degrees);
    width.add(right.u, right.degrees);
    width = withLevel(width, left.perHeight + right.perHeight, armOf(left) + armOf(right));
    result.width = {std::fabs(right.place - left.place), width.u(), width.degreesOfFreedom(), {}};
    result.leftEdge = left.at;
    result.rightEdge = right.at;
    result.isAmbiguous = isAmbiguous(left, right);
    result.freeEdges = int(left.isFree) + int(right.isFree);
    result.moved = settings_.movesFreeEdges ? pitch_ / 2 * result.freeEdges : 0;
}

}  // namespace

StripResult measureStrip(const std::vector<Vector>& points, const LineFit& base, const NoiseModel& noise,
                         const StripSettings& settings) {
    StripResult none;
    none.reason = "a strip needs two points";
    return points.size() < 2 ? none : Strips(points, base, noise, settings).measure();
}

namespace Internal {

namespace {

void measureStripTool(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const RegionPoints& region = input.region(tool.region("region"));
    if (region.isEmpty())
        return results.refuse(region.reason);
    StripSettings settings;
    settings.number = static_cast<int>(tool.number("number"));
    settings.leastHeight = tool.number("leastHeight");
    settings.leastWidth = tool.number("leastWidth");
    settings.widestGap = tool.number("gap");
    settings.movesFreeEdges = tool.choice("freeEdges") == 0;
    LineFit base;
    base.along = Vector(1, 0);
    if (!tool.region("base").isEmpty())
        base = input.line(tool.region("base"));
    else if (!std::isnan(tool.number("base")))
        base.centre = Vector(0, tool.number("base"));
    else
        base.reason = "there is no base";
    if (!tool.region("base").isEmpty() && !base.isFound())
        return results.refuse(base.reason);
    const NoiseModel& noise = input.pointNoise();
    const StripResult strip = measureStrip(region.points, base, noise, settings);
    if (!strip.reason.isEmpty())
        return results.refuse(strip.reason);
    give("width", strip.width, results);
    give("height", strip.height, results);
    give("left", strip.left, results);
    give("right", strip.right, results);
    if (strip.moved > 0)
        results.note("width", QString("%1 mm more for free edges").arg(strip.moved, 0, 'f', 3));
    if (strip.bridged > 0)
        results.warn(filledIn("a void of %1 mm in it counts as missing points", strip.bridged));
    if (strip.isAmbiguous)
        results.warnOfU("an edge lies at a void that may be missing points; \"gap\" says how wide these are");
    warnOfNoise(noise.reason, noise.isShort(double(strip.points)), results);
    results.markDistance(strip.leftEdge, strip.rightEdge, "width");
}

constexpr double kMost = 1e6;

ToolField baseField() {
    ToolField field{"base", "on", ToolField::RegionOrNumber, "base under it", /*isRequired=*/false};
    field.isLine = true;
    return field;
}

}  // namespace

const ToolKind stripTool{
    "strip",
    "the widest strip, or the n-th, over a base; without one, between voids",
    {regionField("region", "in", "region"), baseField(),
     numberField("number", "number", "which strip: 1 is the first from the left, -1 from the right", 0, -1000,
                 1000, ""),
     numberField("leastHeight", "higher", "lower points are of the base", StripSettings().leastHeight, 1e-6,
                 kMost, "mm"),
     numberField("leastWidth", "wider", "narrower ones are none", 0, 0, kMost, "mm"),
     numberField("gap", "gap", "widest step within a strip", std::numeric_limits<double>::quiet_NaN(), 0,
                 kMost, "mm"),
     choiceField("freeEdges", "edges",
                 "edges at a void: half a point distance beyond the last point, or on it",
                 {"moved", "seen"})},
    {{"width", "mm", "from edge to edge along the base"},
     {"height", "mm", "of its top over the base"},
     {"left", "mm", "x of the left edge"},
     {"right", "mm", "x of the right edge"}},
    measureStripTool};

}  // namespace Internal

}  // namespace KvMeasure
