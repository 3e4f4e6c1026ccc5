// Both heads are polylines. The running surface touches each at its highest point square to itself, which is
// found again as the surface tilts; the rails are then turned so that it lies level. Cost: a few passes over
// the points.

#include <kvmeasure/wheels/track_gauge.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/wheels/rail_head_p.h>
#include <kvmeasure/wheels/section_surface_p.h>

#include <algorithm>

namespace KvMeasure {

using namespace Internal;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// The point of a head that a line of this slope touches from above.
Vector touched(const RailSection& rail, double slope) {
    return *std::max_element(rail.points.begin(), rail.points.end(), [&](const Vector& a, const Vector& b) {
        return a.y - slope * a.x < b.y - slope * b.x;
    });
}

double slopeOfSurface(const RailSection& left, const RailSection& right) {
    double slope = 0;
    for (int i = 0; i < 5; ++i) {
        const Vector a = touched(left, slope), b = touched(right, slope);
        if (!(b.x > a.x))
            return kNaN;
        slope = (b.y - a.y) / (b.x - a.x);
    }
    return slope;
}

std::vector<Vector> turnedLevel(const std::vector<Vector>& points, double slope) {
    const double scale = 1 / std::hypot(1, slope);
    std::vector<Vector> result;
    result.reserve(points.size());
    for (const Vector& p : points)
        result.emplace_back(scale * (p.x + slope * p.y), scale * (p.y - slope * p.x));
    return result;
}

/// The top of a head that a section shows in part lies beyond its end, where the head still rises.
bool endsBeforeTop(const std::vector<Vector>& points) {
    constexpr double kReach = 5, kRise = 0.25;  // mm; a crown of radius 300 rises so 12 mm beside its top
    const RailHead head(points);
    const Vector& top = points[head.top];
    if (head.top != 0 && head.top + 1 != points.size())
        return false;
    return std::all_of(points.begin(), points.end(), [&](const Vector& p) {
        return std::fabs(p.x - top.x) < kReach || p.y < top.y - kRise;
    });
}

/// The innermost place of a head within the depth, `direction` pointing to the other rail.
RailPlace faceOf(const std::vector<Vector>& points, int direction, double depth) {
    const RailHead head(points);
    RailPlace face = head.side(direction, head.height() - depth);
    if (!face.reason.isEmpty())
        return face;
    const auto count = static_cast<int>(points.size());
    for (int i = static_cast<int>(head.top); i >= 0 && i < count; i += direction) {
        const Vector& p = points[static_cast<std::size_t>(i)];
        if (p.y < head.height() - depth)
            break;
        if (direction * (p.x - face.at.x) > 0)
            face.at = p;
    }
    return face;
}

QString turnText(const RailSection& rail) {
    const QString text = rail.turn.text();
    return text.isEmpty() ? QString("as it stands") : text;
}

QString whyNoPair(const RailSection& left, const RailSection& right, bool hasOneFrame) {
    constexpr double kNearest = 300, kFarthest = 3000;
    if (!left.isRail() || left.points.empty())
        return "the left rail: " + (left.reason.isEmpty() ? QString("has no points") : left.reason);
    if (!right.isRail() || right.points.empty())
        return "the right rail: " + (right.reason.isEmpty() ? QString("has no points") : right.reason);
    if (hasOneFrame && left.turn.text() != right.turn.text())
        return filledIn(
            "the left rail was put upright otherwise (%1) than the right one (%2): these sections have "
            "no common frame",
            turnText(left), turnText(right));
    const double apart = touched(right, 0).x - touched(left, 0).x;
    if (apart < -kNearest)
        return "the left rail stands to the right of the other one: exchange them";
    if (apart < kNearest || apart > kFarthest)
        return filledIn("the heads stand %1 apart: these sections have no common frame; --rail-origin gives "
                        "the places of rails that have frames of their own",
                        shortMm(apart));
    return {};
}

}  // namespace

TrackGauge trackGauge(const RailSection& left, const RailSection& right, const TrackGaugeOptions& options) {
    if (!(options.depth > 0 && std::isfinite(options.depth)))
        throw Error(filledIn("\1depth\2 must be above 0, not %1", options.depth));
    TrackGauge result;
    result.gauge.key = "gauge";
    result.gauge.name = "track gauge";
    result.gauge.unit = "mm";
    result.gauge.reason = whyNoPair(left, right, !options.isLevel);
    if (!result.gauge.reason.isEmpty())
        return result;
    result.slope = options.isLevel ? 0 : slopeOfSurface(left, right);
    const std::vector<Vector> onLeft = turnedLevel(left.points, result.slope),
                              onRight = turnedLevel(right.points, result.slope);
    if (endsBeforeTop(onLeft) || endsBeforeTop(onRight)) {
        result.gauge.reason =
            filledIn("the %1 rail: its top is not seen: the section ends where it still rises",
                     endsBeforeTop(onLeft) ? "left" : "right");
        return result;
    }
    const RailPlace a = faceOf(onLeft, 1, options.depth), b = faceOf(onRight, -1, options.depth);
    if (!a.reason.isEmpty() || !b.reason.isEmpty()) {
        result.gauge.reason =
            a.reason.isEmpty() ? "the right rail: " + b.reason : "the left rail: " + a.reason;
        return result;
    }
    result.gauge.value = b.at.x - a.at.x;
    const double back = -result.slope;
    result.leftFace = turnedLevel({a.at}, back).front();
    result.rightFace = turnedLevel({b.at}, back).front();
    return result;
}

void addUncertainty(const RailSection& left, const RailSection& right, const TrackGaugeOptions& options,
                    TrackGauge& gauge) {
    gauge.gauge.uncertainty = {kNaN, kMissingValue};
    if (!gauge.gauge.isKnown())
        return;
    SectionSurface surfaces[] = {{left.points, SectionSurface::Square},
                                 {right.points, SectionSurface::Square}};
    ResidualNoise both;
    for (const SectionSurface& surface : surfaces)
        both.add(surface.residuals());
    const NoiseModel pooled = both.model();
    quint64 seed = 0;
    for (SectionSurface& surface : surfaces) {
        const QString reason = surface.startNoise(pooled, ++seed);
        gauge.gauge.uncertainty.reason = "the noise of the sections is not known: " + reason;
        if (!reason.isEmpty())
            return;
    }
    const auto measured = [&](const std::vector<Vector>& a, const std::vector<Vector>& b) {
        RailSection drawnLeft, drawnRight;
        drawnLeft.points = a;
        drawnRight.points = b;
        return std::vector<double>{trackGauge(drawnLeft, drawnRight, options).gauge.value};
    };
    SimulatedScatter scatter(measured(surfaces[0].dense(), surfaces[1].dense()));
    for (int run = 0; run < SimulatedScatter::kRuns; ++run)
        scatter.add(measured(surfaces[0].drawn(), surfaces[1].drawn()));
    gauge.gauge.uncertainty = scatter.of(0, gauge.gauge.value);
}

RailSection placedRail(const RailSection& rail, double origin, bool isLeft) {
    RailSection placed = rail;
    if (isLeft)
        placed.points = mirrored(rail.points);
    for (Vector& p : placed.points)
        p.x += isLeft ? -origin : origin;
    if (isLeft && rail.top >= 0)
        placed.top = static_cast<int>(rail.points.size()) - 1 - rail.top;
    return placed;
}

std::pair<GaugeProfile, GaugeProfile> partedRails(const GaugeProfile& track) {
    constexpr double kLeast = 200;  // mm; a head is at most 100 wide
    std::vector<double> laterals;
    laterals.reserve(track.points.size());
    for (const Vector& p : track.points)
        laterals.push_back(p.x);
    std::sort(laterals.begin(), laterals.end());
    double widest = 0, middle = kNaN;
    for (std::size_t i = 1; i < laterals.size(); ++i) {
        if (laterals[i] - laterals[i - 1] > widest) {
            widest = laterals[i] - laterals[i - 1];
            middle = (laterals[i] + laterals[i - 1]) / 2;
        }
    }
    std::pair<GaugeProfile, GaugeProfile> rails;
    if (!(widest >= kLeast))
        return rails;
    rails.first = rails.second = track;
    const auto keep = [&](GaugeProfile& rail, bool isLeft) {
        const auto isOther = [&](const Vector& p) { return (p.x < middle) != isLeft; };
        rail.points.erase(std::remove_if(rail.points.begin(), rail.points.end(), isOther), rail.points.end());
    };
    keep(rails.first, true);
    keep(rails.second, false);
    return rails;
}

}  // namespace KvMeasure
