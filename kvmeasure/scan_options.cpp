#include "kvmeasure/scan_options.h"

#include "kvmeasure/failure.h"
#include "kvmeasure/output_file.h"

#include <cmath>

namespace KvMeasure {

Usage withScanOptions(Usage usage) {
    usage.options.insert(
        usage.options.end(),
        {{"--map", "FILE", "description of a raw 16-bit height map (FILE.meta.csv or meta.csv beside it)"},
         {"--axes", "ORDER", "of XYZ, PLY and cloud points: x,height,scan or x,scan,height (x,height,scan)"},
         {"--scan-step", "MM", "distance of the profiles, in place of the positions in the file"},
         {"--scan-start", "MM", "position of the first one, with --scan-step (0)"},
         {"--json", "", "print JSON"}});
    return usage;
}

bool parseAxes(const QString& text, bool absent) {
    if (text.isEmpty())
        return absent;
    if (text == "x,height,scan")
        return false;
    if (text == "x,scan,height")
        return true;
    throw Failure{QString("the order of axes must be x,height,scan or x,scan,height, not \"%1\"").arg(text)};
}

ScanOptions readScanOptions(const Arguments& arguments) {
    constexpr double finest = 1e-6;
    ScanOptions options;
    options.map = arguments.text("--map");
    options.heightLast = parseAxes(arguments.text("--axes"), false);
    options.step = arguments.number("--scan-step", std::nan(""), finest, farthest);
    options.start = arguments.number("--scan-start", 0, -farthest, farthest);
    if (arguments.has("--scan-start") && !arguments.has("--scan-step"))
        throw Failure{"--scan-start goes with --scan-step MM"};
    return options;
}

void readPair(const Arguments& arguments, const QString& name, double& first, double& second) {
    if (!arguments.has(name))
        return;
    const QStringList words = arguments.text(name).replace(',', ' ').simplified().split(' ');
    double values[2] = {};
    if (words.size() != 2 || !parseNumber(words[0], values[0]) || !parseNumber(words[1], values[1]))
        throw Failure{
            QString("%1 needs two numbers, e.g. %1 -5,12.5, not \"%2\"").arg(name, arguments.text(name))};
    first = values[0];
    second = values[1];
}

Usage withLimits(Usage usage) {
    usage.options.insert(usage.options.begin(), {{"--x", "A,B", "takes points with x from A to B mm only"},
                                                 {"--scan", "A,B", "likewise by the position along the scan"},
                                                 {"--height", "A,B", "likewise by height"}});
    return usage;
}

bool hasLimits(const Arguments& arguments) {
    return arguments.has("--x") || arguments.has("--scan") || arguments.has("--height");
}

Limits readLimits(const Arguments& arguments) {
    Limits limits;
    readPair(arguments, "--x", limits.xFrom, limits.xTo);
    readPair(arguments, "--scan", limits.scanFrom, limits.scanTo);
    readPair(arguments, "--height", limits.heightFrom, limits.heightTo);
    return limits;
}

void applyLimits(const Limits& limits, const QString& path, Scan& scan) {
    KvMath::KvProfileZSet stack;
    qint64 left = 0;
    for (const KvMath::KvProfileZ& profile : scan.stack.profiles) {
        KvMath::KvProfileZ kept(profile.z);
        for (const KvMath::KvPointXY& p : profile.points) {
            if (limits.holds(double(p.x), double(profile.z), double(p.y)))
                kept.points.append(p);
        }
        left += kept.points.size();
        if (double(profile.z) >= limits.scanFrom && double(profile.z) <= limits.scanTo)
            stack.append(kept);
    }
    QList<KvMath::KvPointXYZ> points;
    for (const KvMath::KvPointXYZ& p : scan.cloud.points) {
        if (limits.holds(double(p.x), double(p.z), double(p.y)))
            points.append(p);
    }
    scan.stack.profiles.swap(stack.profiles);
    scan.cloud.points.swap(points);
    scan.points = left + scan.cloud.points.size();
    if (scan.points == 0)
        throw Failure{QString("%1: no point lies within the limits").arg(path)};
}

void refuseOverwriting(const Arguments& arguments, const QString& output, const QString& input) {
    for (const QString& path : {input, arguments.text("--map")}) {
        if (!output.isEmpty() && !path.isEmpty() && isSameFile(output, path))
            throw Failure{QString("%1: is read by this command; name another file to write").arg(output)};
    }
}

}  // namespace KvMeasure
