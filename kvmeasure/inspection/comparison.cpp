// Each point is compared with the nearest place of the master, so that the deviation is square to it; at a
// corner of the master with the corner. The noise of both profiles is in the deviations.

#include <kvmeasure/inspection/comparison.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/inspection/master_curve_p.h>
#include <kvmeasure/inspection/part_measurement.h>
#include <kvmeasure/inspection/teaching.h>
#include <kvmeasure/profiles/search_estimate.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

using KvMath::KvProfile;

namespace {

KvProfile finitePoints(const KvProfile& profile) {
    KvProfile finite;
    finite.points.reserve(profile.points.size());
    for (const KvMath::KvPointXY& point : profile.points) {
        if (isFinite(point))
            finite += point;
    }
    return finite;
}

std::vector<Vector> pointsOf(const KvProfile& profile) {
    std::vector<Vector> points;
    points.reserve(static_cast<std::size_t>(profile.points.size()));
    for (const KvMath::KvPointXY& point : profile.points)
        points.emplace_back(double(point.x), double(point.y));
    return points;
}

InspectionPlan taughtFrom(const KvProfile& master) {
    constexpr int kMost = 5;
    TeachTolerances tolerances;  // wide: how long lines are seen depends on where the part lies
    tolerances.lengthShare = tolerances.distanceShare = 0.5;
    tolerances.angleDegrees = 10;
    tolerances.anyInclination = true;
    InspectionPlan plan;
    plan.search = estimateSearch(master);
    const Segments segments = findPieces(master, plan.search).segments;
    buildConstraints(segments, longestLines(segments, std::min(kMost, static_cast<int>(segments.size()))),
                     tolerances, plan);
    plan.hasSearch = true;
    return plan;
}

/// The template's lines as found in a profile; none where it is not there, with the reason.
Segments linesOn(const KvProfile& profile, const InspectionPlan& plan, const QString& which,
                 QString& reason) {
    PartMeasurement measurement(plan);
    const MeasuredPart part = measurement.measure(profile);
    Segments lines;
    if (!part.isFound())
        reason = filledIn("the template is not in the %1: %2", which, part.reason);
    for (int i = 0; part.isFound() && i < plan.lines.getTemplateLinesNumber(); ++i)
        lines.append(assignedLine(part.lines, part.bestIndices, i));
    return lines;
}

Registration registerTemplate(const KvProfile& part, const KvProfile& master,
                              const ComparisonSettings& settings, QString& reason) {
    const InspectionPlan plan =
        settings.plan.lines.getTemplateLinesNumber() > 0 ? settings.plan : taughtFrom(master);
    if (plan.lines.getTemplateLinesNumber() < 1) {
        reason = "the master has no straight line to make a template of";
        return {};
    }
    const Segments wanted = linesOn(master, plan, "master", reason);
    const Segments lines = wanted.isEmpty() ? Segments() : linesOn(part, plan, "part", reason);
    return lines.isEmpty() ? Registration() : registerLines(lines, wanted);
}

/// The smoothed direction, except at corners, which it rounds.
Vector outwardAt(const Internal::NearestPlace& place) {
    constexpr double kAlike = 0.7;  // cosine
    const double cosine = place.normal.x * place.across.x + place.normal.y * place.across.y;
    return cosine > kAlike ? place.normal : place.across;
}

void summarise(const ComparisonSettings& settings, Comparison& result) {
    const auto n = static_cast<double>(result.deviations.size());
    double squares = 0;
    int outside = 0;
    for (std::size_t i = 0; i < result.deviations.size(); ++i) {
        const double value = result.deviations[i].value;
        const auto number = static_cast<int>(i);
        if (result.largest < 0 || value > result.deviations[std::size_t(result.largest)].value)
            result.largest = number;
        if (result.smallest < 0 || value < result.deviations[std::size_t(result.smallest)].value)
            result.smallest = number;
        result.mean += value / n;
        squares += value * value;
        outside += value < settings.lower || value > settings.upper ? 1 : 0;
    }
    result.rms = std::sqrt(squares / n);
    result.bandValue = 2 * std::fabs(result.deviations[std::size_t(result.worst())].value);
    if (settings.hasBand())
        result.shareOutside = outside / n;
}

}  // namespace

int Comparison::worst() const {
    if (largest < 0)
        return -1;
    const double above = deviations[std::size_t(largest)].value;
    const double below = deviations[std::size_t(smallest)].value;
    return std::fabs(below) > std::fabs(above) ? smallest : largest;
}

Comparison compare(const KvProfile& part, const KvProfile& master, const ComparisonSettings& settings) {
    if (!(settings.lower <= settings.upper))
        throw Error("\1band\2: its lower limit must not be above its upper one");
    Comparison result;
    const KvProfile measured = finitePoints(part);
    const KvProfile wanted = finitePoints(master);
    const std::vector<Vector> points = pointsOf(measured);
    const ProfilePieces pieces = findPieces(wanted, estimateSearch(wanted));
    std::vector<std::vector<Vector>> contours;
    for (const ContourPoints& contour : pieces.contours)
        contours.emplace_back(contour.begin(), contour.end());
    const Internal::MasterCurve curve(contours);
    if (points.size() < 2)
        result.reason = "the part has fewer than two points";
    else if (curve.isEmpty())
        result.reason = "the master has fewer than two points that belong together";
    else if (settings.alignment == Alignment::Registration)
        result.registration = registerPoints(points, contours, settings.registration);
    else if (settings.alignment == Alignment::Template)
        result.registration = registerTemplate(measured, wanted, settings, result.reason);
    if (!result.isValid())
        return result;
    std::size_t near = 0;
    for (const Vector& point : points) {
        const Vector moved = result.registration.motion.apply(point);
        const Internal::NearestPlace place = curve.nearest(moved, near);
        near = place.piece;
        if (place.isBeyond)
            ++result.beyond;
        else
            result.deviations.push_back({moved, place.place, outwardAt(place), place.distance});
    }
    if (result.deviations.empty())
        result.reason = "no point of the part lies over the master";
    else
        summarise(settings, result);
    return result;
}

}  // namespace KvMeasure
