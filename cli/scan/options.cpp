#include "kvmeasure/scan_options.h"

#include "kvmeasure/failure.h"
#include "kvmeasure/scan_forms.h"

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

/// Ends are inside.
struct Range {
    double from = -farthest, to = farthest;
    bool holds(float value) const { return double(value) >= from && double(value) <= to; }
};

}  // namespace

QStringList axesOrders() { return {"x,height,scan", "x,scan,height"}; }

Usage withScanOptions(const Usage& usage) {
    return with(
        usage,
        {{"--map", "FILE", "description of a raw 16-bit height map (FILE.meta.csv or meta.csv beside it)"},
         {"--axes", "ORDER", "of XYZ, PLY and cloud points: x,height,scan or x,scan,height (x,height,scan)",
          axesOrders()},
         {"--scan-step", "MM", "distance of the profiles, in place of the positions in the file"},
         {"--scan-start", "MM", "position of the first one, with --scan-step (0)"}});
}

bool isHeightLast(const Arguments& arguments, const QString& option) { return arguments.choice(option) == 1; }

ScanOptions readScanOptions(const Arguments& arguments) {
    constexpr double finest = 1e-6;
    ScanOptions options;
    options.map = arguments.text("--map");
    options.heightLast = isHeightLast(arguments, "--axes");
    options.step = arguments.number("--scan-step", std::nan(""), finest, farthest);
    options.start = arguments.number("--scan-start", 0, -farthest, farthest);
    if (arguments.has("--scan-start") && !arguments.has("--scan-step"))
        throw Failure{"--scan-start goes with --scan-step MM"};
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
        throw Failure{QString("%1: no point lies within the limits").arg(arguments.operand(0))};
}

Scan takeScan(const Arguments& arguments) {
    Scan scan = loadScan(arguments.operand(0), readScanOptions(arguments));
    applyLimits(arguments, scan);
    return scan;
}

QStringList scanInputs(const Arguments& arguments) {
    QStringList inputs = arguments.operands();
    if (arguments.has("--map"))
        return inputs << arguments.text("--map");
    for (const QString& path : arguments.operands())
        inputs << findMapDescription(path);
    return inputs;
}

}  // namespace KvMeasure
