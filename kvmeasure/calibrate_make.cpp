#include "kvmeasure/arguments.h"
#include "kvmeasure/calibration_build.h"
#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/output_file.h"
#include "kvmeasure/print.h"
#include "kvmeasure/progress.h"

#include <limits>

namespace KvMeasure {

namespace {

Usage simulateUsage() {
    Usage usage{"calibrate simulate", "OUT",
                "Makes the raw record of a simulated scanner; the truth goes to OUT.truth.json.",
                recipeOptions(),
                "The scanner looks at the middle of its range, under --angle to the laser plane; the target "
                "moves through\n"
                "the range in 1000 steps. A second record is of the same scanner and target, with other "
                "draws, half a\n"
                "step higher.\n\nExamples\n"
                "  kvmeasure calibrate simulate flat.raw --noise 0.05 --second again.raw\n"
                "  kvmeasure calibrate simulate teeth.raw --target toothed --noise 0.05 --seed 2\n"
                "  kvmeasure calibrate simulate dusty.raw --missing 0.05 --missing-columns 12 --tilt 2.3\n"};
    usage.options.insert(usage.options.begin(), {"--second", "FILE", "write a second record"});
    return usage;
}

RawRecord simulated(const CalibrationRecipe& recipe) {
    QString error;
    auto record = Simulator::simulateCalibration(recipe, &error);
    if (!record)
        throw Failure{"calibrate simulate: " + error};
    return *record;
}

QString truthPath(const QString& path) { return path + ".truth.json"; }

void saveSimulated(RawRecord& record, const CalibrationRecipe& recipe, const QString& path) {
    saveRaw(record, path);
    writeOutputFile(truthPath(path), truthText(recipe));
}

int foundIn(const RawRecord& record) {
    int found = 0;
    for (const unsigned short position : record.positions)
        found += position != 0 ? 1 : 0;
    return found;
}

Usage buildUsage() {
    Usage usage{
        "calibrate build",
        "RAW TABLE",
        "Makes a table from the raw record of a flat target.",
        {{"--builder",
          "NAME",
          "triangles (rounded to nearest) or steps (truncated) (triangles)",
          {"triangles", "steps"}},
         {"--compact", "", "a compact table, one row per sensor row; else two"},
         {"--columns", "FIRST,LAST", "sensor columns to use (0,647)"},
         {"--teeth", "RAW", "record of a toothed target, which tells X"},
         {"--tooth-pitch", "MM", "of that target"},
         {"--tooth-height", "MM", "of that target"}},
        "A record of a flat target tells nothing about X: without --teeth, X grows by --x-step from column "
        "to column\n"
        "at every distance. With it, X is right up to the tooth that is taken as the middle.\n\nExamples\n"
        "  kvmeasure calibrate build flat.raw scanner.tbl --z-range 100 --x-range 140 --x-step 185\n"
        "  kvmeasure calibrate build flat.raw scanner.tbl --truth flat.raw.truth.json --teeth teeth.raw "
        "--tooth-pitch 10 --tooth-height 5\n"};
    return with(usage, unitOptions(true));
}

BuildPlan readPlan(const Arguments& arguments) {
    BuildPlan plan;
    plan.units = readUnits(arguments);
    plan.isCompact = arguments.has("--compact");
    plan.byTriangles = arguments.choice("--builder") == 0;
    arguments.wholePair("--columns", plan.firstColumn, plan.lastColumn, 0, KvMath::kSensorColumns - 1);
    if (plan.lastColumn <= plan.firstColumn)
        throw Failure{"calibrate build: the first of --columns must be left of the last"};
    return plan;
}

Teeth readTeeth(const Arguments& arguments) {
    constexpr double any = std::numeric_limits<double>::max();
    const Teeth teeth{arguments.number("--tooth-pitch", 0, 0, any),
                      arguments.number("--tooth-height", 0, 0, any)};
    if (!(teeth.pitch > 0 && teeth.height > 0))
        throw Failure{"calibrate build: --teeth needs --tooth-pitch MM and --tooth-height MM of the target"};
    return teeth;
}

}  // namespace

int runCalibrateSimulate(const QStringList& words) {
    const Arguments arguments(simulateUsage(), words, 1, 1);
    const QString path = arguments.operand(0);
    const QString secondPath = arguments.text("--second");
    QStringList outputs{path, truthPath(path)};
    if (arguments.has("--second"))
        outputs << secondPath << truthPath(secondPath);
    refuseOverwriting(outputs, {});
    CalibrationRecipe recipe = readRecipe(arguments);
    RawRecord record = simulated(recipe);
    saveSimulated(record, recipe, path);
    if (arguments.has("--second")) {
        ++recipe.seed;
        recipe.zFirst += recipe.zStep / 2;
        RawRecord second = simulated(recipe);
        saveSimulated(second, recipe, secondPath);
    }
    const int found = foundIn(record);
    if (arguments.isJson())
        printJson({{"file", path},
                   {"truth", truthPath(path)},
                   {"found", found},
                   {"cells", int(record.positions.size())}});
    else
        print(QString("%1: raw record, %2 of the positions found; truth in %1.truth.json\n")
                  .arg(path, percent(found, static_cast<double>(record.positions.size()))));
    return Done;
}

int runCalibrateBuild(const QStringList& words) {
    const Arguments arguments(buildUsage(), words, 2, 2);
    const BuildPlan plan = readPlan(arguments);
    const QString out = arguments.operand(1);
    refuseOverwriting({out}, {arguments.operand(0), arguments.text("--teeth"), arguments.text("--truth")});
    if (!arguments.has("--teeth") && (arguments.has("--tooth-pitch") || arguments.has("--tooth-height")))
        throw Failure{"calibrate build: --tooth-pitch and --tooth-height go with --teeth RAW"};
    RawRecord record = loadRaw(arguments.operand(0));
    Progress progress("building, part", arguments.has("--teeth") ? 3 : 2);
    PixelTable table = buildTable(record, plan);
    progress.show(1);
    QString text;
    QJsonObject json{{"file", out},
                     {"form", formName(table.form())},
                     {"builder", plan.byTriangles ? "triangles" : "steps"}};
    if (arguments.has("--teeth")) {
        const RawRecord toothed = loadRaw(arguments.text("--teeth"));
        const TeethFit fit = buildXFromTeeth(table, toothed, plan.units, readTeeth(arguments));
        progress.show(2);
        text = QString("X from %1 places on flanks in %2 steps, which fit within RMS %3 mm\n")
                   .arg(fit.places)
                   .arg(fit.steps)
                   .arg(mm(fit.residual));
        json["teeth"] = QJsonObject{{"steps", fit.steps}, {"places", fit.places}, {"residual", fit.residual}};
    }
    saveTable(table, out);
    progress.clear();
    json["filledZ"] = table.filled(Half::Z);
    json["filledX"] = table.filled(Half::X);
    if (arguments.isJson())
        printJson(json);
    else
        print(QString("%1: %2, %3 cells with Z, %4 with X\n")
                  .arg(out, formName(table.form()))
                  .arg(table.filled(Half::Z))
                  .arg(table.filled(Half::X)) +
              text);
    return Done;
}

}  // namespace KvMeasure
