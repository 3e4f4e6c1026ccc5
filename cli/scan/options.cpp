#include "cli/scan/options.h"

#include "cli/console.h"
#include "cli/profile/text_options.h"
#include "cli/terminal_progress.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/scans/surface.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

/// Ends are inside, also where they were typed as "scan info" shows them.
struct Range {
    double from = -kFarthest, to = kFarthest;
    bool holds(float value) const {
        return double(value) >= from - shownRounding(from) && double(value) <= to + shownRounding(to);
    }
};

}  // namespace

QStringList axesOrders() { return {"x,height,scan", "x,scan,height"}; }

Usage withScanForms(const Usage& usage) {
    return with(
        usage,
        {{"--map", "FILE", "description of a raw 16-bit height map (FILE.meta.csv or meta.csv beside it)"},
         {"--axes", "ORDER", "of XYZ, PLY and cloud points: x,height,scan or x,scan,height (x,height,scan)",
          axesOrders()},
         {"--scan-step", "MM", "distance of the profiles, in place of the positions in the file"},
         {"--scan-start", "MM", "position of the first one, with --scan-step (0)"}});
}

Usage withScanOptions(const Usage& usage) {
    return with(withScanForms(usage),
                {{"--unit", "UNIT",
                  "points in text and PLY: nm, um, mm, cm, m, mil or inch; X,Y,Z where they differ (the "
                  "heading's, or mm)"},
                 {"--unset", "LIST",
                  "heights that stand for \"nothing measured\", e.g. -9999,0; \"none\" keeps all"}});
}

bool isHeightLast(const Arguments& arguments, const QString& option) { return arguments.choice(option) == 1; }

ScanOptions readScanOptions(const Arguments& arguments) {
    constexpr double kFinest = 1e-6;
    ScanOptions options;
    options.progress = terminalProgress();
    options.map = arguments.text("--map");
    options.heightLast = isHeightLast(arguments, "--axes");
    options.step = arguments.number("--scan-step", std::nan(""), kFinest, kFarthest);
    options.start = arguments.number("--scan-start", 0, -kFarthest, kFarthest);
    arguments.requireWith({"--scan-start"}, "--scan-step");
    options.units = readLengthUnits(arguments);
    options.unset = readUnset(arguments);
    return options;
}

Usage withLimits(const Usage& usage) {
    return with(usage, {{"--x", "A,B", "takes points with x from A to B mm only"},
                        {"--scan", "A,B", "likewise by the position along the scan, mm"},
                        {"--height", "A,B", "likewise by height, mm"}});
}

void applyLimits(const Arguments& arguments, Scan& scan) {
    Range x, along, height;
    arguments.pair("--x", x.from, x.to);
    arguments.pair("--scan", along.from, along.to);
    arguments.pair("--height", height.from, height.to);
    if (!arguments.has("--x") && !arguments.has("--scan") && !arguments.has("--height"))
        return;
    auto& profiles = scan.stack.profiles;
    const auto isOutside = [&along](const KvMath::KvProfileZ& profile) { return !along.holds(profile.z); };
    profiles.erase(std::remove_if(profiles.begin(), profiles.end(), isOutside), profiles.end());
    scan.keep([&](float pointX, float place, float pointHeight) {
        return x.holds(pointX) && along.holds(place) && height.holds(pointHeight);
    });
    if (scan.points == 0)
        throw Error(QString("%1: no point lies within the limits").arg(arguments.operand(0)));
}

void requireSetHeights(const Arguments& arguments, const Scan& scan) {
    if (!scan.doubt.isEmpty() && !arguments.has("--height"))
        throw Error(scan.doubt);
}

Scan takeScan(const Arguments& arguments) {
    Scan scan = loadScan(arguments.operand(0), readScanOptions(arguments));
    requireSetHeights(arguments, scan);
    applyLimits(arguments, scan);
    return scan;
}

/// A description is looked for only where an output has its name.
void refuseOverwritingScans(const Arguments& arguments, const QStringList& outputs, QStringList inputs) {
    QSet<QString> written;
    for (const QString& output : outputs)
        written.insert(placeOf(output));
    const QStringList scans = arguments.has("--map") ? QStringList() : inputs;
    inputs << arguments.text("--map");
    for (const QString& path : scans) {
        for (const QString& name : mapDescriptionNames(path)) {
            if (written.contains(placeOf(name)) && findMapDescription(path) == name)
                inputs << name;
        }
    }
    refuseOverwriting(outputs, inputs);
}

}  // namespace KvMeasure
