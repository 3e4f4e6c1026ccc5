#include "cli/commands.h"
#include "cli/exit_code.h"
#include "cli/pictures.h"
#include "cli/scan/summary.h"
#include "cli/simulate/recipe.h"
#include "cli/terminal_progress.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/drawing/scan_picture.h>
#include <kvmeasure/scans/height_grid.h>
#include <kvmeasure/scans/scan_writer.h>

#include "simulator/scan_simulator.h"

#include <limits>

namespace KvMeasure {

namespace {

Usage makeUsage() {
    return withShapes(
        {"simulate scan",
         "",
         "Makes a 3D scan of an object with a known outline, and writes the true values beside it.",
         {{"--out", "FILE", "scan to write, form by its suffix; the truth goes to FILE.truth.csv (required)"},
          {"--shape", "NAME", "see below (grooved-plate)"},
          {"--dimensions", "\"N=V, ...\"", "dimensions of the shape, e.g. \"width=40, length=30\""},
          {"--columns", "N", "points of a profile (320)"},
          {"--rows", "N", "profiles (280)"},
          {"--from", "MM", "first column (-32)"},
          {"--to", "MM", "last column (32)"},
          {"--row-step", "MM", "distance of the profiles (0.2)"},
          {"--rotate", "DEG", "turns the object, seen from above (0)"},
          {"--noise", "MM", "standard deviation of the heights (0)"},
          {"--dropouts", "N", "gaps without points (0)"},
          {"--strays", "N", "single low points anywhere (0)"},
          {"--seed", "N", "of the random draws; the same seed makes the same scan (1)"},
          {"--svg", "PICTURE", "draw the scan from above"}},
         "Examples\n"
         "  kvmeasure simulate scan --noise 0.02 --rotate 2 --out plate.kvs\n"
         "  kvmeasure simulate scan --shape tray --strays 40 --out tray.ply --svg tray.svg\n"},
        Simulator::scanShapeNames(), Simulator::scanShapeDimensions);
}

Simulator::ScanRecipe readRecipe(const Arguments& arguments) {
    constexpr double kAny = std::numeric_limits<double>::max();
    constexpr int kAnyCount = std::numeric_limits<int>::max();
    Simulator::ScanRecipe recipe;
    recipe.shape = chooseShape(arguments, Simulator::scanShapeNames(), recipe.shape);
    recipe.dimensions = readDimensions(arguments.text("--dimensions"), recipe.shape,
                                       Simulator::scanShapeDimensions(recipe.shape));
    recipe.columns = arguments.integer("--columns", recipe.columns, 0, kAnyCount);
    recipe.rows = arguments.integer("--rows", recipe.rows, 0, kAnyCount);
    recipe.xFrom = arguments.number("--from", recipe.xFrom, -kAny, kAny);
    recipe.xTo = arguments.number("--to", recipe.xTo, -kAny, kAny);
    recipe.rowStep = arguments.number("--row-step", recipe.rowStep, -kAny, kAny);
    recipe.rotation = arguments.number("--rotate", recipe.rotation, -kAny, kAny);
    recipe.noise = arguments.number("--noise", recipe.noise, -kAny, kAny);
    recipe.dropouts = arguments.integer("--dropouts", recipe.dropouts, 0, kAnyCount);
    recipe.strays = arguments.integer("--strays", recipe.strays, 0, kAnyCount);
    recipe.seed = static_cast<std::uint64_t>(arguments.integer("--seed", 1, 0, kAnyCount));
    return recipe;
}

}  // namespace

int runSimulateScan(const QStringList& words) {
    const Arguments arguments(makeUsage(), words, 0, 0);
    const QString path = arguments.required("--out", "it names the scan to write");
    const QString truth = path + ".truth.csv";
    refuseOverwriting({path, truth, arguments.text("--svg")}, {});
    const Simulator::ScanRecipe recipe = readRecipe(arguments);
    QString error;
    const auto simulated = Simulator::simulateScan(recipe, &error);
    if (!simulated)
        throw Error("simulate scan: " + error);
    Scan scan;
    scan.isStack = true;
    scan.form = recipe.shape;
    scan.stack = simulated->stack;
    scan.countPoints();
    if (scan.points == 0)
        throw Error("simulate scan: nothing of the object is in view");
    writeScan(path, parseScanForm(QString(), path), /*heightLast=*/false, scan, terminalProgress());
    writeOutputFile(truth, Simulator::truthCsv(*simulated));
    if (arguments.has("--svg")) {
        writePicture(arguments.text("--svg"), [&] {
            ScanPicture picture;
            picture.title = "Simulated " + recipe.shape;
            picture.grid = makeGrid(scan.stack, estimateSteps(scan.stack), path);
            return drawScan(picture);
        });
    }
    reportTruth(arguments.isJson(), path, summarise(scan).line(), scan.points, recipe.shape,
                simulated->values);
    return Done;
}

}  // namespace KvMeasure
