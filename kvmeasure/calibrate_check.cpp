#include "kvmeasure/arguments.h"
#include "kvmeasure/calibration_check.h"
#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/output_file.h"
#include "kvmeasure/print.h"

#include <QtCore/QFileInfo>

#include <limits>

namespace KvMeasure {

namespace {

constexpr double micrometres = 1000;  // per mm

Usage makeUsage() {
    return with(
        {"calibrate check",
         "TABLE",
         "Compares a table with the true mapping of a simulated scanner, or with a second record of a "
         "flat target.",
         {{"--against", "RAW", "second record; its z are compared with those of the table"},
          {"--limit", "UM", "largest RMS of Z that is good; exit code 1 beyond it"},
          {"--svg", "FILE", "draw the error maps"}},
         "Against the truth every cell inside the area that the target has covered is compared. The "
         "mean deviation is\n"
         "taken out of X, as records have no origin there. The expected RMS of Z is what the table's "
         "units and the\n"
         "steps of 1/32 pixel leave, and the simulated noise. A flat second record tells nothing "
         "about X.\n\nExamples\n"
         "  kvmeasure calibrate check scanner.tbl --truth flat.raw.truth.json --svg errors.svg\n"
         "  kvmeasure calibrate check scanner.tbl --against again.raw --z-range 100 --x-range 140 "
         "--limit 20\n"},
        unitOptions(false));
}

QJsonObject statisticsJson(const ErrorStatistics& s) {
    return {{"cells", s.count},      {"mean", s.mean},
            {"rms", s.rms},          {"percentile95", s.percentile95},
            {"worst", s.worst},      {"worstColumn", s.worstColumn},
            {"worstRow", s.worstRow}};
}

QJsonObject mapJson(const ErrorMap& map) {
    QJsonArray regions;
    for (const ErrorStatistics& region : map.regions)
        regions.append(statisticsJson(region));
    QJsonObject object = statisticsJson(map.all);
    object["regions"] = regions;
    if (map.half == Half::X) {
        object["offset"] = map.offset;
        object["slope"] = map.slope;
    }
    return object;
}

QString um(double value) { return fixed(value * micrometres, 2); }

/// One row for the whole sensor, and one for each of its regions.
QString mapTable(const ErrorMap& map) {
    static const char* const across[] = {"left", "middle", "right"};
    static const char* const down[] = {"upper", "middle", "lower"};
    Table table({map.half == Half::Z ? "Z, um" : "X, um", "cells", "mean", "RMS", "95 % within", "worst",
                 "at column", "row"});
    const auto add = [&table](const QString& name, const ErrorStatistics& s) {
        if (s.count > 0)
            table.add({name, QString::number(s.count), um(s.mean), um(s.rms), um(s.percentile95), um(s.worst),
                       QString::number(s.worstColumn), QString::number(s.worstRow)});
        else
            table.add({name, "0", "-", "-", "-", "-", "-", "-"});
    };
    add("all", map.all);
    for (int i = 0; i < regionsAcross * regionsAcross; ++i)
        add(QString("%1 %2").arg(down[i / regionsAcross], across[i % regionsAcross]),
            map.regions[static_cast<std::size_t>(i)]);
    return table.text();
}

/// Text, JSON and maps of a comparison.
struct Result {
    QString text;
    QJsonObject json;
    QList<ErrorMap> maps;
};

Result againstTruth(const PixelTable& table, const TableUnits& units, const QString& path) {
    const TruthReport report = compareWithTruth(table, units, loadTruth(path));
    const Coverage& c = report.coverage;
    const ErrorMap& x = report.maps[1];
    Result result;
    result.maps = report.maps;
    result.text = QString("cells inside the measured area filled: %1 (%2 of %3), outside: %4\n"
                          "Z expected: RMS %5 um where values are rounded, %6 um where they are truncated\n")
                      .arg(percent(c.insideFilled, c.inside))
                      .arg(c.insideFilled)
                      .arg(c.inside)
                      .arg(c.outsideFilled)
                      .arg(um(report.expectedRounded), um(report.expectedTruncated)) +
                  mapTable(report.maps[0]) +
                  QString("X: the mean deviation %1 mm is taken out; 1 mm of the table is %2 mm\n")
                      .arg(mm(x.offset), fixed(x.slope, 5)) +
                  mapTable(x);
    result.json = {{"inside", c.inside},
                   {"insideFilled", c.insideFilled},
                   {"border", c.border},
                   {"borderFilled", c.borderFilled},
                   {"outside", c.outside},
                   {"outsideFilled", c.outsideFilled},
                   {"expectedRounded", report.expectedRounded},
                   {"expectedTruncated", report.expectedTruncated},
                   {"z", mapJson(report.maps[0])},
                   {"x", mapJson(x)}};
    return result;
}

Result againstRecord(const PixelTable& table, const TableUnits& units, const QString& path) {
    const RecordReport report = compareWithRecord(table, units, loadRaw(path));
    Result result;
    result.maps = {report.map};
    result.text = QString("positions of %1 with Z in the table: %2 (%3 of %4)\n")
                      .arg(path, percent(report.covered, report.found))
                      .arg(report.covered)
                      .arg(report.found) +
                  mapTable(report.map);
    result.json = {{"found", report.found}, {"covered", report.covered}, {"z", mapJson(report.map)}};
    return result;
}

}  // namespace

int runCalibrateCheck(const QStringList& words) {
    const Arguments arguments(makeUsage(), words, 1, 1);
    const QString picture = arguments.text("--svg");
    refuseOverwriting({picture},
                      {arguments.operand(0), arguments.text("--truth"), arguments.text("--against")});
    if (!arguments.has("--truth") && !arguments.has("--against"))
        throw Failure{"calibrate check: against what? Name --truth FILE or --against RAW"};
    const double limit = arguments.number("--limit", 0, 0, std::numeric_limits<double>::max());
    const TableUnits units = readUnits(arguments);
    const QString path = arguments.operand(0);
    const PixelTable table = loadTable(path);
    Result result = arguments.has("--against") ? againstRecord(table, units, arguments.text("--against"))
                                               : againstTruth(table, units, arguments.text("--truth"));
    const double rms = result.maps[0].all.rms;
    const bool isGood =
        !arguments.has("--limit") || (result.maps[0].all.count > 0 && rms * micrometres <= limit);
    if (arguments.has("--svg"))
        writeOutputFile(
            picture,
            drawErrorMaps(
                QFileInfo(path).fileName(),
                QFileInfo(arguments.text(arguments.has("--against") ? "--against" : "--truth")).fileName(),
                result.maps));
    result.json["file"] = path;
    result.json["good"] = isGood;
    if (!isGood)
        result.text += QString("the RMS of Z is beyond %1 um\n").arg(limit);
    if (arguments.isJson())
        printJson(result.json);
    else
        print(QString("%1: %2\n").arg(path, formName(table.form())) + result.text);
    return isGood ? Done : NotMet;
}

}  // namespace KvMeasure
