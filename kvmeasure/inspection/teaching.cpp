#include "kvmeasure/teaching.h"

#include "kvmeasure/arguments.h"
#include "kvmeasure/failure.h"

#include <kvmath/tsearch/constraints.h>

#include <QtCore/QRegularExpression>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>

namespace KvMeasure {

using namespace KvMath;

namespace {

constexpr double radiansPerDegree = 0.017453292519943295;
constexpr double largestAngle = 3.1415927410125732;  // the limit of angle bounds

Vector along(const LinePP& line) { return {line.p2.x - line.p1.x, line.p2.y - line.p1.y}; }

void add(TSTemplate& lines, TSConstraint* constraint) {
    std::unique_ptr<TSConstraint> owner(constraint);
    if (!lines.addConstraint(constraint))
        throw Failure{"teach: a constraint does not fit the template"};
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
    const double band = tolerances.angleDegrees * radiansPerDegree;
    if (std::fabs(nominal) + band < largestAngle)
        add(lines, new TSCInclinationAngle(0, nominal - band, nominal + band));
}

/// The sense of a turn is asked for only where the band keeps it: nearly straight or nearly back, both occur.
void constrainRotation(TSTemplate& lines, int to, const LinePP& first, const LinePP& second,
                       const TeachTolerances& tolerances) {
    const Vector u = along(first);
    const Vector w = along(second);
    const double turn = std::atan2(u.x * w.y - u.y * w.x, u.x * w.x + u.y * w.y);
    const double band = tolerances.angleDegrees * radiansPerDegree;
    const double lower = std::fabs(turn) - band;
    const double upper = std::fabs(turn) + band;
    TSCRotationAngle::Direction sense = TSCRotationAngle::AnyDirection;
    if (lower > 0 && upper < largestAngle)
        sense = turn > 0 ? TSCRotationAngle::CounterClockwise : TSCRotationAngle::Clockwise;
    add(lines, new TSCRotationAngle(to - 1, to, std::max(0.0, lower), std::min(largestAngle, upper), sense));
}

double distanceBand(double distance, const TeachTolerances& tolerances) {
    constexpr double leastBandMm = 1.0;
    return tolerances.distanceMm > 0 ? tolerances.distanceMm
                                     : std::max(leastBandMm, tolerances.distanceShare * distance);
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
    constexpr double rightAngle = 90 * radiansPerDegree;
    const Vector d = along(first);
    const Vector way(second.p1.x - first.p2.x, second.p1.y - first.p2.y);
    const double nominal = (d.x * way.y - d.y * way.x) / length(first.p1, first.p2);
    const double band = distanceBand(length(first.p2, second.p1), tolerances);
    add(lines, new TSCEndPointShiftInDirection(to - 1, to, nominal - band, nominal + band, rightAngle,
                                               /*isFromLineReference=*/true));
}

}  // namespace

ChosenLines parseLines(const QString& text, int segments) {
    static const QRegularExpression name("^[A-Za-z_][A-Za-z0-9_-]*$");
    ChosenLines chosen;
    if (segments == 0)
        throw Failure{"teach: no segments were found; lower --min-length or --split"};
    for (const QString& part : text.split(',')) {
        const int equals = static_cast<int>(part.indexOf('='));
        const QString label = part.left(std::max(equals, 0)).trimmed();
        bool isNumber = false;
        const int segment = part.mid(equals + 1).trimmed().toInt(&isNumber);
        if (!isNumber || segment < 0 || segment >= segments)
            throw Failure{
                QString(
                    "teach: --lines: \"%1\" is no segment; expected numbers from 0 to %2, e.g. \"1,3\" or "
                    "\"left=1, right=3\"")
                    .arg(part.trimmed())
                    .arg(segments - 1)};
        if (equals >= 0 && !name.match(label).hasMatch())
            throw Failure{
                QString("teach: --lines: \"%1\" is no name; expected letters, digits, - and _").arg(label)};
        if (chosen.segments.contains(segment) || (equals >= 0 && chosen.names.contains(label)))
            throw Failure{QString("teach: --lines: \"%1\" is there twice").arg(part.trimmed())};
        chosen.names.append(equals >= 0 ? label : QString::number(chosen.segments.size()));
        chosen.segments.append(segment);
    }
    return chosen;
}

ChosenLines longestLines(const Segments& segments, int count) {
    if (count > segments.size())
        throw Failure{
            QString("teach: --longest %1: only %2 segments were found; lower --min-length or --split")
                .arg(count)
                .arg(segments.size())};
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

void buildConstraints(const Segments& segments, const ChosenLines& chosen, const TeachTolerances& tolerances,
                      TemplateFile& file) {
    file.lines = TSTemplate(static_cast<int>(chosen.segments.size()));
    file.lineNames = chosen.names;
    for (int line = 0; line < chosen.segments.size(); ++line) {
        const LinePP& segment = segments[chosen.segments[line]];
        constrainLength(file.lines, line, segment, tolerances);
        if (line == 0 && !tolerances.anyInclination)
            constrainInclination(file.lines, segment, tolerances);
        if (line == 0)
            continue;
        const LinePP& before = segments[chosen.segments[line - 1]];
        constrainRotation(file.lines, line, before, segment, tolerances);
        constrainDistance(file.lines, line, before, segment, tolerances);
        constrainShift(file.lines, line, before, segment, tolerances);
    }
}

}  // namespace KvMeasure
