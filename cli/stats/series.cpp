// "kvmeasure stats TABLE".

#include "cli/commands.h"
#include "cli/console.h"
#include "cli/pictures.h"
#include "cli/range_words.h"
#include "cli/stats/tables.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/regular_file.h>
#include <kvmeasure/drawing/series_picture.h>
#include <kvmeasure/inspection/plan.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/match_results.h>
#include <kvmeasure/report/series_report.h>

#include <QtCore/QFileInfo>

#include <cmath>
#include <optional>

namespace KvMeasure {

namespace {

const Usage& usage() {
    static const Usage kAll = with(
        {"stats series",
         "TABLE",
         "Mean, deviation, capability and run chart of a column of a table. \"series\" may be left out.",
         {{"--column", "NAME",
           "column of the values, by name or by number from 1; without it: every value of "
           "\"kvmeasure match\" or \"measure\""},
          {"--limits", "L..U", "limits of the characteristic; \"L..\" or \"..U\" for one alone"},
          {"--template", "FILE", "take the limits from the tolerances of this template or plan"},
          {"--by", "NAME", "each station, part, ... by itself: a column, or a field of --group-by"},
          {"--subgroup", "N", "values made together, for the deviation within (1: moving ranges)"},
          {"--reference", "VALUE", "true value of the part that was read again and again: Cg, Cgk"},
          {"--svg", "PICTURE", "draw run chart and histogram"}},
         "TABLE is text with a heading, or the JSON of \"kvmeasure match\" or \"measure\", which has its "
         "tolerances, or of\n"
         "\"wheels\" or \"rails parameters\".\n"
         "cp and cpk take the deviation within (mean range / d2), pp and ppk that of all values, with 95 % "
         "limits; the\n"
         "forms by percentiles (ISO 22514-2) need 1000 values. The test for a normal distribution is that of "
         "Anderson and\n"
         "Darling, that for an outlier Grubbs' at 5 %. Empty cells are left out and counted.\n\n"
         "Examples\n"
         "  kvmeasure stats depths.csv --column depth --limits 4.9..5.1 --svg depths.svg\n"
         "  kvmeasure match parts/*.csv --template groove.json --json > results.json; kvmeasure stats "
         "results.json\n"
         "  kvmeasure stats results.json --column depth --group-by \"{station}_{part}\" --by station\n"
         "  kvmeasure stats readings.csv --column value --limits 4.9..5.1 --reference 5.003 --json\n"},
        groupingOptions());
    return kAll;
}

/// Limits of a value by the plan; unchanged where it has no tolerance.
void takeTolerance(const InspectionPlan& plan, const QString& name, Limits& limits) {
    if (plan.tolerances.contains(name))
        limits = {plan.tolerances[name].least(), plan.tolerances[name].greatest()};
}

/// Limits by the options; none where the file is to give them. Read before the file, so that a wrong option
/// is refused first.
std::optional<Limits> readLimits(const Arguments& arguments) {
    if (!arguments.has("--limits"))
        return std::nullopt;
    const NumberRange range = parseRange(arguments.text("--limits"), "--limits", /*mayBeOpen=*/true);
    return Limits{range.from, range.to};
}

void takeLimits(const Arguments& arguments, const std::optional<Limits>& given, ValueSeries& series) {
    if (given)
        series.limits = *given;
    else if (arguments.has("--template"))
        takeTolerance(readPlan(arguments.text("--template")), series.name, series.limits);
}

void draw(const Arguments& arguments, const ValueSeries& taken, const ControlChart& chart) {
    if (!arguments.has("--svg"))
        return;
    const SampleSummary summary = summarize(taken.values);
    SeriesPicture picture;
    picture.title = QFileInfo(arguments.operand(0)).completeBaseName() + ", " + arguments.text("--column");
    picture.subtitle =
        filledIn("%1 values, mean %2, standard deviation %3", summary.count,
                 QString::number(summary.mean, 'g', 8), QString::number(summary.standardDeviation, 'g', 5));
    picture.upward = arguments.text("--column") + (taken.unit.isEmpty() ? "" : ", " + taken.unit);
    picture.values = taken.values;
    picture.limits = taken.limits;
    picture.chart = chart;
    writePicture(arguments.text("--svg"), [&] { return drawSeries(picture); });
}

/// A row or an object for each series.
void printAll(const Arguments& arguments, const QList<ValueSeries>& series, QJsonObject json,
              const QString& heading) {
    if (arguments.isJson()) {
        json["file"] = arguments.operand(0);
        json["statistics"] = seriesJson(series);
        printJson(json);
    } else {
        print(printable(arguments.operand(0)) + heading + '\n' + seriesTable(series));
    }
}

/// Every value of a report.
int runOnResults(const Arguments& arguments) {
    for (const char* option :
         {"--limits", "--by", "--group-by", "--group-table", "--names", "--subgroup", "--reference", "--svg"})
        arguments.requireWith({option}, "--column");
    const std::shared_ptr<QFile> file = openedFile(arguments.operand(0));
    MatchResults results = readMatchResults(*file, arguments.operand(0));
    if (arguments.has("--template")) {
        const InspectionPlan plan = readPlan(arguments.text("--template"));
        for (ValueSeries& series : results.series)
            takeTolerance(plan, series.name, series.limits);
    }
    printAll(arguments, results.series, {{"profileCount", results.profiles}},
             filledIn(": %1 profiles", results.profiles));
    return Done;
}

int runByWord(const Arguments& arguments, const QString& column, const std::optional<Limits>& limits) {
    for (const char* option : {"--svg", "--reference", "--subgroup"}) {
        if (arguments.has(option))
            throw Error(filledIn("stats: %1 goes with one series, --by makes several", option));
    }
    const QString word = arguments.text("--by");
    NamedValues taken = takeValues(arguments, column, {word});
    takeLimits(arguments, limits, taken);
    printAll(arguments, partedByWord(taken), {{"column", column}, {"by", word}},
             filledIn(": column %1 by %2", printable(column), printable(word)));
    return Done;
}

}  // namespace

int runStatsSeries(const QStringList& words) {
    const Arguments arguments(usage(), words, 1, 1);
    refuseOverwriting({arguments.text("--svg")},
                      arguments.operands() +
                          QStringList{arguments.text("--template"), arguments.text("--group-table")});
    if (arguments.has("--limits") && arguments.has("--template"))
        throw Error("stats: --limits and --template both give limits; give one of them");
    if (!arguments.has("--column"))
        return runOnResults(arguments);
    const QString column = arguments.text("--column");
    const std::optional<Limits> limits = readLimits(arguments);
    if (arguments.has("--by"))
        return runByWord(arguments, column, limits);
    arguments.requireWith({"--group-by", "--group-table", "--names"}, "--by");
    constexpr int kLargestSubgroup = 1000;
    constexpr double kMost = 1e300;
    SeriesSettings settings;
    settings.subgroup = arguments.integer("--subgroup", 1, 1, kLargestSubgroup);
    settings.reference = arguments.number("--reference", settings.reference, -kMost, kMost);
    NamedValues taken = takeValues(arguments, column, {});
    takeLimits(arguments, limits, taken);
    SeriesReport report(taken, settings);
    draw(arguments, taken, report.chart());
    if (arguments.isJson()) {
        QJsonObject json = report.json();
        json["file"] = arguments.operand(0);
        json["column"] = column;
        printJson(json);
        return Done;
    }
    print(filledIn("%1: column %2%3\n", printable(arguments.operand(0)), printable(column),
                   taken.unit.isEmpty() ? "" : ", " + printable(taken.unit)) +
          report.text());
    return Done;
}

}  // namespace KvMeasure
