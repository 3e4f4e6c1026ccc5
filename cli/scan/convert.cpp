#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/scan/options.h"
#include "cli/scan/summary.h"
#include "cli/terminal_progress.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/scans/scan_writer.h>

namespace KvMeasure {

namespace {

const std::vector<Option> outputOptions = {
    {"--format", "NAME",
     "stack, cloud, xyz, grid, ply or ply-ascii (by the suffix: .ply .xyz .txt .csv, else stack)",
     scanFormNames()},
    {"--out-axes", "ORDER", "of the points written, as --axes (x,height,scan)", axesOrders()},
};

Usage withOutput(const Usage& usage) { return withScanOptions(with(usage, outputOptions)); }

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

/// Of two operands: what must not be written over.
void checkOutput(const Arguments& arguments) {
    refuseOverwritingScans(arguments, {arguments.operand(1)}, {arguments.operand(0)});
    isHeightLast(arguments, "--out-axes");  // before the work, not behind it
    parseScanForm(arguments.text("--format"), QString());
}

void report(const Arguments& arguments, const Scan& scan, const QString& form) {
    ScanSummary summary = summarise(scan);
    summary.form = form;
    const QString path = arguments.operand(1);
    if (!arguments.isJson()) {
        print(QString("%1: from %2\n").arg(printable(path), summary.line()));
        return;
    }
    QJsonObject object = summary.json();
    object["file"] = path;
    printJson(object);
}

void write(const Arguments& arguments, Scan& scan) {
    const QString path = arguments.operand(1);
    writeScan(path, parseScanForm(arguments.text("--format"), path), isHeightLast(arguments, "--out-axes"),
              scan, terminalProgress());
}

}  // namespace

int runScanConvert(const QStringList& words) {
    const Arguments arguments(convertUsage, words, 2, 2);
    checkOutput(arguments);
    Scan scan = takeScan(arguments);
    write(arguments, scan);
    report(arguments, scan, scan.form);
    return Done;
}

int runScanSlice(const QStringList& words) {
    constexpr double kFinest = 1e-6;
    const Arguments arguments(sliceUsage, words, 2, 2);
    checkOutput(arguments);
    arguments.required("--step", "it is the distance of the profiles");
    const double step = arguments.number("--step", 0, kFinest, kFarthest);
    const QString path = arguments.operand(0);
    Scan scan = loadScan(path, readScanOptions(arguments));
    requireSetHeights(arguments, scan);
    Cloud cloud;
    takeCloud(scan, cloud);
    Scan sliced;
    sliced.isStack = true;
    sliced.unset = scan.unset;
    if (sliced.stack.calcFromPointCloud(cloud, static_cast<float>(step)) == 0 ||
        sliced.stack.size() > kMostProfiles)
        throw Error(
            filledIn("%1: --step %2 gives more than a million profiles; take a larger one", path, step));
    sliced.countPoints();
    if (sliced.points == 0)
        throw Error(QString("%1: lies at one position along the scan; there is nothing to slice").arg(path));
    write(arguments, sliced);
    report(arguments, sliced, scan.form);
    return Done;
}

}  // namespace KvMeasure
