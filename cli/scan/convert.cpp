#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/output_file.h"
#include "kvmeasure/print.h"
#include "kvmeasure/scan_options.h"
#include "kvmeasure/scan_summary.h"
#include "kvmeasure/scan_writer.h"

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
    QStringList inputs = scanInputs(arguments);
    inputs.removeAt(1);
    refuseOverwriting({arguments.operand(1)}, inputs);
    isHeightLast(arguments, "--out-axes");  // before the work, not behind it
    parseScanForm(arguments.text("--format"), QString());
}

void report(const Arguments& arguments, const Scan& scan, const QString& form) {
    ScanSummary summary = summarise(scan);
    summary.form = form;
    const QString path = arguments.operand(1);
    if (!arguments.isJson()) {
        print(QString("%1: from %2\n").arg(path, summary.line()));
        return;
    }
    QJsonObject object = summary.json();
    object["file"] = path;
    printJson(object);
}

void write(const Arguments& arguments, Scan& scan) {
    const QString path = arguments.operand(1);
    writeScan(path, parseScanForm(arguments.text("--format"), path), isHeightLast(arguments, "--out-axes"),
              scan);
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
    constexpr double finest = 1e-6;
    const Arguments arguments(sliceUsage, words, 2, 2);
    checkOutput(arguments);
    arguments.required("--step", "it is the distance of the profiles");
    const double step = arguments.number("--step", 0, finest, farthest);
    const QString path = arguments.operand(0);
    Scan scan = loadScan(path, readScanOptions(arguments));
    Cloud cloud;
    takeCloud(scan, cloud);
    Scan sliced;
    sliced.isStack = true;
    sliced.unset = scan.unset;
    if (sliced.stack.calcFromPointCloud(cloud, static_cast<float>(step)) == 0 ||
        sliced.stack.size() > mostProfiles)
        throw Failure{QString("%1: --step %2 gives more than a million profiles; take a larger one")
                          .arg(path)
                          .arg(step)};
    sliced.countPoints();
    if (sliced.points == 0)
        throw Failure{
            QString("%1: lies at one position along the scan; there is nothing to slice").arg(path)};
    write(arguments, sliced);
    report(arguments, sliced, scan.form);
    return Done;
}

}  // namespace KvMeasure
