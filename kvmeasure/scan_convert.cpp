#include "kvmeasure/failure.h"
#include "kvmeasure/print.h"
#include "kvmeasure/scan_commands.h"
#include "kvmeasure/scan_writer.h"

#include <cmath>

namespace KvMeasure {

namespace {

const std::vector<Option> outputOptions = {
    {"--format", "NAME",
     "stack, cloud, xyz, grid, ply or ply-ascii (by the suffix: .ply .xyz .txt .csv, else stack)"},
    {"--out-axes", "ORDER", "of the points written, as --axes (x,height,scan)"},
};

Usage withOutput(Usage usage) {
    usage.options.insert(usage.options.begin(), outputOptions.begin(), outputOptions.end());
    return withScanOptions(usage);
}

const Usage convertUsage =
    withOutput(withLimits({"scan convert",
                           "SCAN OUT",
                           "Writes a scan in another form, the whole of it or what lies within limits.",
                           {},
                           "Forms: stack (profile records), cloud (XYZ record), ply (binary), ply-ascii, xyz "
                           "(text), grid (CSV of mean\n"
                           "heights at the scan's own distances). Most viewers take y or z as upward: "
                           "--out-axes x,scan,height gives the\n"
                           "height as z.\n\n"
                           "Examples\n"
                           "  kvmeasure scan convert plate.kvs plate.ply --out-axes x,scan,height\n"
                           "  kvmeasure scan convert heights.bin --map meta.csv plate.kvs\n"
                           "  kvmeasure scan convert plate.ply part.xyz --x -10,10 --height 70,80\n"}));

const Usage sliceUsage = withOutput(
    {"scan slice",
     "SCAN OUT",
     "Cuts a scan into profiles at equal distances along the scan; a point goes to the nearer profile.",
     {{"--step", "MM", "distance of the profiles (required)"}},
     "The first profile lies at the lowest position. Of a point half-way between two, the upper one is "
     "taken.\n\n"
     "Examples\n"
     "  kvmeasure scan slice cloud.ply stack.kvs --step 0.5\n"});

void requireTwoOperands(const Arguments& arguments) {
    arguments.requireOperands(2);
    if (arguments.operands().size() != 2)
        throw Failure{"scan: name the file to write behind the scan"};
    refuseOverwriting(arguments, arguments.operands()[1], arguments.operands()[0]);
}

void report(const Arguments& arguments, const Scan& scan, const QString& form) {
    ScanSummary summary = summarise(scan);
    summary.form = form;
    const QString path = arguments.operands()[1];
    if (!arguments.has("--json")) {
        print(QString("%1: from %2\n").arg(path, summary.line()));
        return;
    }
    QJsonObject object = summary.json();
    object["file"] = path;
    printJson(object);
}

void write(const Arguments& arguments, Scan& scan) {
    const QString path = arguments.operands()[1];
    writeScan(path, parseScanForm(arguments.text("--format"), path),
              parseAxes(arguments.text("--out-axes"), false), scan);
}

}  // namespace

int runScanConvert(const QStringList& words) {
    if (askedForHelp(convertUsage, words))
        return Done;
    const Arguments arguments(convertUsage, words);
    requireTwoOperands(arguments);
    parseScanForm(arguments.text("--format"), QString());  // before the work, not behind it
    const QString path = arguments.operands()[0];
    Scan scan = loadScan(path, readScanOptions(arguments));
    if (hasLimits(arguments))
        applyLimits(readLimits(arguments), path, scan);
    write(arguments, scan);
    report(arguments, scan, scan.form);
    return Done;
}

int runScanSlice(const QStringList& words) {
    constexpr double finest = 1e-6;
    if (askedForHelp(sliceUsage, words))
        return Done;
    const Arguments arguments(sliceUsage, words);
    requireTwoOperands(arguments);
    parseScanForm(arguments.text("--format"), QString());
    const double step = arguments.number("--step", std::nan(""), finest, farthest);
    if (std::isnan(step))
        throw Failure{"scan slice: --step MM is missing; it is the distance of the profiles"};
    const QString path = arguments.operands()[0];
    Scan scan = loadScan(path, readScanOptions(arguments));
    Cloud cloud;
    takeCloud(scan, cloud);
    Scan sliced;
    sliced.isStack = true;
    sliced.unset = scan.unset;
    if (sliced.stack.calcFromPointCloud(cloud, static_cast<float>(step)) == 0)
        throw Failure{QString("%1: --step %2 gives more than a million profiles; take a larger one")
                          .arg(path)
                          .arg(step)};
    for (const KvMath::KvProfileZ& profile : sliced.stack.profiles)
        sliced.points += profile.points.size();
    if (sliced.points == 0)
        throw Failure{
            QString("%1: lies at one position along the scan; there is nothing to slice").arg(path)};
    write(arguments, sliced);
    report(arguments, sliced, scan.form);
    return Done;
}

}  // namespace KvMeasure
