#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/console.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/calibration/table.h>
#include <kvmeasure/report/calibration_facts.h>
#include <kvmeasure/report/table.h>

#include <QtCore/QJsonArray>

#include <algorithm>
#include <limits>

namespace KvMeasure {

namespace {

const Usage usage{
    "calibrate info",
    "FILE...",
    "What raw records and tables hold.",
    {{"--z-range", "MM", "show Z of tables in mm"}, {"--x-range", "MM", "show X of tables in mm"}},
    "Without ranges, values of tables are in table units, 16384 of which make the range.\n\nExamples\n"
    "  kvmeasure calibrate info flat.raw\n"
    "  kvmeasure calibrate info scanner.tbl --z-range 100 --x-range 140 --json\n"};

/// False where one cannot be read, which is said when its turn comes.
bool holdOnlyRaw(const QStringList& paths) {
    try {
        return std::all_of(paths.begin(), paths.end(), [](const QString& path) {
            return CalibrationFile(path).form() == CalibrationForm::Raw;
        });
    } catch (const Error&) {
        return false;
    }
}

}  // namespace

int runCalibrateInfo(const QStringList& words) {
    constexpr double kAny = std::numeric_limits<double>::max();
    const Arguments arguments(usage, words, 1, kAnyNumber);
    constexpr double kSmallest = 1e-6;  // mm
    const double zRange = arguments.number("--z-range", KvMath::kUnitsPerRange, kSmallest, kAny);
    const double xRange = arguments.number("--x-range", KvMath::kUnitsPerRange, kSmallest, kAny);
    if ((arguments.has("--z-range") || arguments.has("--x-range")) && holdOnlyRaw(arguments.operands()))
        throw Error("calibrate info: --z-range and --x-range are of tables; raw records have none");
    QJsonArray json;
    const int code = forEachFile(arguments.operands(), [&](const QString& path) {
        CalibrationFile file(path);
        const CalibrationForm form = file.form();
        CalibrationFacts facts;
        if (form == CalibrationForm::Raw) {
            facts = factsOf(file.readRaw());
        } else {
            PixelTable table = file.readTable();
            facts = factsOf(table, zRange, xRange, arguments.has("--z-range"));
        }
        facts.json["file"] = path;
        json.append(facts.json);
        Table table({"", "value"});
        for (const QStringList& row : facts.rows)
            table.add(row);
        if (!arguments.isJson())
            print(printable(path) + ": " + formName(form) + '\n' + table.text() + '\n');
    });
    if (arguments.isJson())
        printJson({{"files", json}});
    return code;
}

}  // namespace KvMeasure
