#include "cli/scan/course.h"

#include "cli/scan/options.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kFinest = 1e-6;  // mm

void requireFewPoints(const QString& path, double length, double spacing) {
    if (!(length / spacing < kMostSectionPoints) && !std::isnan(spacing))
        throw Error(
            filledIn("%1: a section of %2 mm has too many points %3 mm apart; take a larger --spacing", path,
                     length, spacing));
}

}  // namespace

std::vector<Option> courseOptions() {
    return {{"--at-scan", "MM", "along x, at this position along the scan"},
            {"--at-x", "MM", "along the scan, at this x"},
            {"--from", "X,SCAN", "with --to: along the straight line between two places"},
            {"--to", "X,SCAN", "see --from"},
            {"--spacing", "MM", "distance of the points (as measured; along --from the scan's smaller one)"}};
}

bool hasCourse(const Arguments& arguments) {
    const std::vector<Option> options = courseOptions();
    return std::any_of(options.begin(), options.end(),
                       [&](const Option& option) { return arguments.has(option.name); });
}

Course readCourse(const Arguments& arguments) {
    const bool hasScan = arguments.has("--at-scan");
    const bool hasX = arguments.has("--at-x");
    const bool hasLine = arguments.has("--from") && arguments.has("--to");
    if (int(hasScan) + int(hasX) + int(hasLine) != 1 || (arguments.has("--from") != arguments.has("--to")))
        throw Error("say where the section runs: --at-scan MM, --at-x MM, or --from X,SCAN with --to X,SCAN");
    if (hasScan)
        return Course::AtScan;
    return hasX ? Course::AtX : Course::Between;
}

QString nameOf(Course course) {
    if (course == Course::Between)
        return "distance";
    return course == Course::AtScan ? "x" : "scan";
}

ScanSurface surfaceOf(const KvMath::KvProfileZSet& stack, const Steps& steps) {
    constexpr double kApart = 2.5;
    return {stack, kApart * steps.x, kApart * steps.scan};
}

Section takeSection(const Arguments& arguments, Course course, const ScanSurface& surface,
                    const Steps& steps) {
    const QString path = arguments.operand(0);
    double spacing = arguments.number("--spacing", std::nan(""), kFinest, kFarthest);
    const double lengthOfScan = surface.rows().back().scan - surface.rows().front().scan;
    Section section;
    if (course == Course::AtScan) {
        requireFewPoints(path, surface.lastX() - surface.firstX(), spacing);
        section = sectionAtScan(surface, arguments.number("--at-scan", 0, -kFarthest, kFarthest), spacing);
    } else if (course == Course::AtX) {
        requireFewPoints(path, lengthOfScan, spacing);
        section = sectionAtX(surface, arguments.number("--at-x", 0, -kFarthest, kFarthest), spacing);
    } else {
        ScanPlace from, to;
        arguments.pair("--from", from.x, from.scan);
        arguments.pair("--to", to.x, to.scan);
        spacing = std::isnan(spacing) ? std::min(steps.x, steps.scan) : spacing;
        requireFewPoints(path, std::hypot(to.x - from.x, to.scan - from.scan), spacing);
        section = sectionBetween(surface, from, to, spacing);
    }
    if (section.profile.points.isEmpty())
        throw Error(QString("%1: there are no heights along this section").arg(path));
    return section;
}

}  // namespace KvMeasure
