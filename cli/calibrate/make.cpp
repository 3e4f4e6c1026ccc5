// calibrate simulate and build. A record from which no table can come, or only a mostly empty one, is refused
// before it is built, with what the record shows.
#include "cli/arguments.h"
#include "cli/calibrate/truth.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/terminal_progress.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/calibration/build.h>
#include <kvmeasure/calibration/clean.h>
#include <kvmeasure/calibration/survey.h>
#include <kvmeasure/report/json.h>

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
        throw Error("calibrate simulate: " + error);
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
         {"--keep-strays", "", "builds from every position, reflections too"},
         {"--teeth", "RAW", "record of a toothed target, which tells X"},
         {"--tooth-pitch", "MM", "of that target"},
         {"--tooth-height", "MM", "of that target"}},
        "A record of a flat target tells nothing about X: without --teeth, X grows by --x-step from column "
        "to column\n"
        "at every distance. With --teeth, no record tells which tooth is the middle one, nor the sign: X "
        "grows "
        "with the\n"
        "column, and a scanner whose X runs the other way needs range - X.\n"
        "Positions far from the median of their neighbours are reflections and are left out. The output "
        "tells "
        "how many,\n"
        "and which steps the table cannot hold. Exit code 1: a tenth of the positions or more lie in such "
        "steps. Beyond a half\n"
        "no table is written.\n\nExamples\n"
        "  kvmeasure calibrate build flat.raw scanner.tbl --z-range 100 --x-range 140 --x-step 185\n"
        "  kvmeasure calibrate build flat.raw scanner.tbl --truth flat.raw.truth.json --teeth teeth.raw "
        "--tooth-pitch 10 --tooth-height 5\n"};
    return with(usage, unitOptions(true));
}

BuildPlan readPlan(const Arguments& arguments) {
    BuildPlan plan;
    plan.units = readUnits(arguments, readTruth(arguments));
    plan.isCompact = arguments.has("--compact");
    plan.keepsStrays = arguments.has("--keep-strays");
    plan.byTriangles = arguments.choice("--builder") == 0;
    arguments.wholePair("--columns", plan.firstColumn, plan.lastColumn, 0, KvMath::kSensorColumns - 1);
    if (plan.lastColumn <= plan.firstColumn)
        throw Error("calibrate build: the first of --columns must be left of the last");
    return plan;
}

Teeth readTeeth(const Arguments& arguments) {
    constexpr double kAny = std::numeric_limits<double>::max();
    const Teeth teeth{arguments.number("--tooth-pitch", 0, 0, kAny),
                      arguments.number("--tooth-height", 0, 0, kAny)};
    if (!(teeth.pitch > 0 && teeth.height > 0))
        throw Error("calibrate build: --teeth needs --tooth-pitch MM and --tooth-height MM of the target");
    return teeth;
}

constexpr double kMostOutside = 0.1;  // of the positions, for exit code 0

/// What a table was built from.
struct BuildReport {
    CleanReport cleaned;
    StepSurvey steps;
};

/// Throws Error for a record that would give a table mostly empty, or that is none of a flat target.
void requireLines(const QString& path, const BuildPlan& plan, const BuildReport& report) {
    const QString why = plan.keepsStrays ? QString() : whyNotFlat(report.cleaned);
    if (!why.isEmpty())
        throw Error(filledIn("%1: %2 --keep-strays builds from all of them", path, why));
    if (report.steps.isMostlyOutside())
        throw Error(filledIn("%1: the table would be mostly empty: %2", path,
                             report.steps.sentences(plan.units.zRange).join("; ")));
}

QString pixels(double value) { return QString::number(value, 'g', 3); }

/// Lines about the record; nothing for one without faults.
QString buildText(const BuildPlan& plan, const BuildReport& report) {
    const CleanReport& c = report.cleaned;
    QString text;
    if (c.dropped() > 0)
        text = filledIn("left out: %1 of %2 positions (%3), %4 more than %5 pixels from the median of their "
                        "neighbours (the record scatters by %6 pixels), %7 nearly without neighbours\n",
                        c.dropped(), c.found, percent(c.dropped(), c.found), c.strays, pixels(c.limit),
                        pixels(c.scatter), c.alone);
    for (const QString& sentence : report.steps.sentences(plan.units.zRange))
        text += sentence + '\n';
    return text;
}

void addJson(const BuildPlan& plan, const BuildReport& report, QJsonObject& json) {
    const CleanReport& c = report.cleaned;
    if (!plan.keepsStrays)
        json["leftOut"] = QJsonObject{{"of", c.found},
                                      {"strays", c.strays},
                                      {"alone", c.alone},
                                      {"limit", c.limit},
                                      {"scatter", c.scatter}};
    const auto list = [](const QList<StepRange>& ranges) {
        QJsonArray array;
        for (const StepRange& range : ranges)
            array.append(QJsonArray{range.first, range.last});
        return array;
    };
    json["stepsBelow"] = list(report.steps.below);
    json["stepsBeyond"] = list(report.steps.beyond);
    json["stepsEmpty"] = list(report.steps.empty);
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
                  .arg(printable(path), percent(found, static_cast<double>(record.positions.size()))));
    return Done;
}

int runCalibrateBuild(const QStringList& words) {
    const Arguments arguments(buildUsage(), words, 2, 2);
    const BuildPlan plan = readPlan(arguments);
    const QString out = arguments.operand(1);
    refuseOverwriting({out}, {arguments.operand(0), arguments.text("--teeth"), arguments.text("--truth")});
    arguments.requireWith({"--tooth-pitch", "--tooth-height"}, "--teeth");
    RawRecord record = loadRaw(arguments.operand(0));
    TerminalProgress progress("building, part", arguments.has("--teeth") ? 4 : 3);
    BuildReport report;
    if (!plan.keepsStrays)
        report.cleaned = dropReflections(record);
    report.steps = surveySteps(record, plan);
    requireLines(arguments.operand(0), plan, report);
    progress.show(1);
    PixelTable table = buildTable(record, plan);
    if (table.filled(Half::Z) == 0)
        throw Error(QString("%1: gives a table without any cell; see \"kvmeasure calibrate info\"")
                        .arg(arguments.operand(0)));
    progress.show(2);
    QJsonObject json{{"file", out},
                     {"form", formName(table.form())},
                     {"builder", plan.byTriangles ? "triangles" : "steps"}};
    QString text = buildText(plan, report);
    addJson(plan, report, json);
    if (arguments.has("--teeth")) {
        const RawRecord toothed = loadRaw(arguments.text("--teeth"));
        const TeethFit fit = buildXFromTeeth(table, toothed, plan.units, readTeeth(arguments));
        progress.show(3);
        text += filledIn("X from %1 places on flanks in %2 steps, which fit within RMS %3 mm\n", fit.places,
                         fit.steps, mm(fit.residual));
        json["teeth"] = QJsonObject{{"steps", fit.steps}, {"places", fit.places}, {"residual", fit.residual}};
    }
    saveTable(table, out);
    progress.clear();
    json["filledZ"] = table.filled(Half::Z);
    json["filledX"] = table.filled(Half::X);
    if (arguments.isJson())
        printJson(json);
    else
        print(filledIn("%1: %2, %3 cells with Z, %4 with X\n", printable(out), formName(table.form()),
                       table.filled(Half::Z), table.filled(Half::X)) +
              text);
    return report.steps.outside < kMostOutside * report.steps.found ? Done : NotMet;
}

}  // namespace KvMeasure
