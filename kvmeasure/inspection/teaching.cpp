// Constraints from lines of a good part: the length of each, the inclination of the first, and from each to
// the next the turn, the distance and the shift square to it. These fix a chain of lines wherever the part
// lies. Their number grows with the lines, not with the pairs of lines.
#include <kvmeasure/inspection/teaching.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>

#include <kvmath/tsearch/constraints.h>

#include <QtCore/QRegularExpression>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>

namespace KvMeasure {

using namespace KvMath;

namespace {

constexpr double kLargestAngle = 3.1415927410125732;  // the limit of angle bounds

Vector along(const LinePP& line) { return {line.p2.x - line.p1.x, line.p2.y - line.p1.y}; }

void add(TSTemplate& lines, TSConstraint* constraint) {
    std::unique_ptr<TSConstraint> owner(constraint);
    if (!lines.addConstraint(constraint))
        throw Error("teach: a constraint does not fit the template");
    static_cast<void>(owner.release());
}

void constrainLength(TSTemplate& lines, int line, const LinePP& segment, const TeachTolerances& tolerances) {
    const double nominal = length(segment.p1, segment.p2);
    const double band = std::max(tolerances.lengthMm, tolerances.lengthShare * nominal);
    add(lines, new TSCLength(line, std::max(0.0, nominal - band), nominal + band));
}

/// An inclination lives in (-180, 180] degrees and its bounds cannot run across the end, so a line that
/// points back along x goes without.
void constrainInclination(TSTemplate& lines, const LinePP& segment, const TeachTolerances& tolerances) {
    const Vector d = along(segment);
    const double nominal = std::atan2(d.y, d.x);
    const double band = tolerances.angleDegrees * kRadiansPerDegree;
    if (std::fabs(nominal) + band < kLargestAngle)
        add(lines, new TSCInclinationAngle(0, nominal - band, nominal + band));
}

/// The sense of a turn is asked for only where the band keeps it: nearly straight or nearly back, both occur.
void constrainRotation(TSTemplate& lines, int to, const LinePP& first, const LinePP& second,
                       const TeachTolerances& tolerances) {
    const Vector u = along(first);
    const Vector w = along(second);
    const double turn = std::atan2(u.x * w.y - u.y * w.x, u.x * w.x + u.y * w.y);
    const double band = tolerances.angleDegrees * kRadiansPerDegree;
    const double lower = std::fabs(turn) - band;
    const double upper = std::fabs(turn) + band;
    TSCRotationAngle::Direction sense = TSCRotationAngle::AnyDirection;
    if (lower > 0 && upper < kLargestAngle)
        sense = turn > 0 ? TSCRotationAngle::CounterClockwise : TSCRotationAngle::Clockwise;
    add(lines, new TSCRotationAngle(to - 1, to, std::max(0.0, lower), std::min(kLargestAngle, upper), sense));
}

double distanceBand(double distance, const TeachTolerances& tolerances) {
    constexpr double kLeastBandMm = 1.0;
    return tolerances.distanceMm > 0 ? tolerances.distanceMm
                                     : std::max(kLeastBandMm, tolerances.distanceShare * distance);
}

void constrainDistance(TSTemplate& lines, int to, const LinePP& first, const LinePP& second,
                       const TeachTolerances& tolerances) {
    const double nominal = length(first.p2, second.p1);
    const double band = distanceBand(nominal, tolerances);
    add(lines, new TSCEndPointDistance(to - 1, to, std::max(0.0, nominal - band), nominal + band));
}

/// A distance does not tell above from below; the way square to the line before does.
void constrainShift(TSTemplate& lines, int to, const LinePP& first, const LinePP& second,
                    const TeachTolerances& tolerances) {
    constexpr double kRightAngle = 90 * kRadiansPerDegree;
    const Vector d = along(first);
    const Vector way(second.p1.x - first.p2.x, second.p1.y - first.p2.y);
    const double nominal = (d.x * way.y - d.y * way.x) / length(first.p1, first.p2);
    const double band = distanceBand(length(first.p2, second.p1), tolerances);
    add(lines, new TSCEndPointShiftInDirection(to - 1, to, nominal - band, nominal + band, kRightAngle,
                                               /*isFromLineReference=*/true));
}

}  // namespace

ChosenLines parseLines(const QString& text, int segments) {
    static const QRegularExpression name("^[A-Za-z_][A-Za-z0-9_-]*$");
    ChosenLines chosen;
    if (segments == 0)
        throw Error("teach: no segments were found; lower \1minLineLength\2 or \1splitTolerance\2");
    for (const QString& part : text.split(',')) {
        const int equals = static_cast<int>(part.indexOf('='));
        const QString label = part.left(std::max(equals, 0)).trimmed();
        bool isNumber = false;
        const int segment = part.mid(equals + 1).trimmed().toInt(&isNumber);
        if (!isNumber || segment < 0 || segment >= segments)
            throw Error(filledIn("teach: \1lines\2: \"%1\" is no segment; expected numbers from 0 to %2, "
                                 "e.g. \"1,3\" or \"left=1, right=3\"",
                                 part.trimmed(), segments - 1));
        if (equals >= 0 && !name.match(label).hasMatch())
            throw Error(
                QString("teach: \1lines\2: \"%1\" is no name; expected letters, digits, - and _").arg(label));
        if (chosen.segments.contains(segment) || (equals >= 0 && chosen.names.contains(label)))
            throw Error(QString("teach: \1lines\2: \"%1\" is there twice").arg(part.trimmed()));
        chosen.names.append(equals >= 0 ? label : QString::number(chosen.segments.size()));
        chosen.segments.append(segment);
    }
    return chosen;
}

ChosenLines longestLines(const Segments& segments, int count) {
    if (count < 0 || count > segments.size())
        throw Error(filledIn("teach: \1longest\2 %1: only %2 segments were found; lower \1minLineLength\2 or "
                             "\1splitTolerance\2",
                             count, segments.size()));
    std::vector<int> order(static_cast<std::size_t>(segments.size()));
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
        return length(segments[a].p1, segments[a].p2) > length(segments[b].p1, segments[b].p2);
    });
    order.resize(static_cast<std::size_t>(count));
    std::sort(order.begin(), order.end());
    ChosenLines chosen;
    for (const int segment : order) {
        chosen.names.append(QString::number(chosen.segments.size()));
        chosen.segments.append(segment);
    }
    return chosen;
}

QList<int> linesCutByView(const KvProfile& profile, const Segments& segments, const ChosenLines& chosen) {
    constexpr double kNearPitches = 3;
    QList<int> cut;
    if (profile.points.size() < 2)
        return cut;
    const Vector first(double(profile.points.first().x), double(profile.points.first().y));
    const Vector last(double(profile.points.last().x), double(profile.points.last().y));
    const double pitch = std::fabs(last.x - first.x) / double(profile.points.size() - 1);
    for (int line = 0; line < chosen.segments.size(); ++line) {
        const LinePP& segment = segments[chosen.segments[line]];
        if (std::fabs(segment.p1.x - first.x) <= kNearPitches * pitch ||
            std::fabs(segment.p2.x - last.x) <= kNearPitches * pitch)
            cut.append(line);
    }
    return cut;
}

void buildConstraints(const Segments& segments, const ChosenLines& chosen, const TeachTolerances& tolerances,
                      InspectionPlan& plan) {
    plan.lines = TSTemplate(static_cast<int>(chosen.segments.size()));
    plan.lineNames = chosen.names;
    for (int line = 0; line < chosen.segments.size(); ++line) {
        const LinePP& segment = segments[chosen.segments[line]];
        constrainLength(plan.lines, line, segment, tolerances);
        if (line == 0 && !tolerances.anyInclination)
            constrainInclination(plan.lines, segment, tolerances);
        if (line == 0)
            continue;
        const LinePP& before = segments[chosen.segments[line - 1]];
        constrainRotation(plan.lines, line, before, segment, tolerances);
        constrainDistance(plan.lines, line, before, segment, tolerances);
        constrainShift(plan.lines, line, before, segment, tolerances);
    }
}

}  // namespace KvMeasure
