// calibrate check: a table against the true mapping, or against a second record. One result in text, JSON and
// tables; the page has nothing of its own to compute.
#include "cli/arguments.h"
#include "cli/calibrate/truth.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/pictures.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/error_map_picture.h>
#include <kvmeasure/report/error_map_report.h>
#include <kvmeasure/report/html_page.h>
#include <kvmeasure/report/page_file.h>
#include <kvmeasure/report/table.h>

#include <QtCore/QDateTime>
#include <QtCore/QFileInfo>

#include <limits>
#include <memory>

namespace KvMeasure {

namespace {

constexpr double kMicrometres = 1000;  // per mm

Usage makeUsage() {
    return with(
        {"calibrate check",
         "TABLE",
         "Compares a table with the true mapping of a simulated scanner, or with a second record of a "
         "flat target.",
         {{"--against", "RAW", "second record; its z are compared with those of the table"},
          {"--limit", "UM", "largest RMS of Z that is good; exit code 1 beyond it"},
          {"--svg", "PICTURE", "draw the error maps"},
          {"--report", "PAGE", "write a page with verdict, figures and error maps"}},
         "Against the truth every cell inside the area that the target has covered is compared. The "
         "mean deviation is\n"
         "taken out of X, as records have no origin there. The expected RMS of Z is what the table's "
         "units and the\n"
         "steps of 1/32 pixel leave, and the simulated noise. A flat second record tells nothing "
         "about X.\nThe last table shows the filled cell nearest to the middle of each region.\n\nExamples\n"
         "  kvmeasure calibrate check scanner.tbl --truth flat.raw.truth.json --svg errors.svg\n"
         "  kvmeasure calibrate check scanner.tbl --against again.raw --z-range 100 --x-range 140 "
         "--limit 20\n"},
        unitOptions(false));
}

QString tableText(const QStringList& head, const QList<QStringList>& rows) {
    Table table(head);
    for (const QStringList& row : rows)
        table.add(row);
    return rows.isEmpty() ? QString() : table.text();
}

QString mapText(const ErrorMap& map) { return tableText(errorMapHead(map), errorMapRows(map)); }

/// A comparison as text, as JSON, and what its page has.
struct Result {
    QString text;
    QJsonObject json;
    QList<ErrorMap> maps;
    QList<CellSample> samples;
    QString coverage, expected, shift;  ///< in words; empty: none
};

Result againstTruth(const PixelTable& table, const TableUnits& units, const CalibrationRecipe& truth) {
    const TruthReport report = compareWithTruth(table, units, truthOf(truth));
    const Coverage& c = report.coverage;
    const ErrorMap& x = report.maps[1];
    Result result;
    result.maps = report.maps;
    result.samples = report.samples;
    result.coverage = filledIn("cells inside the measured area filled: %1 (%2 of %3), outside: %4",
                               percent(c.insideFilled, c.inside), c.insideFilled, c.inside, c.outsideFilled);
    result.expected =
        filledIn("Z expected: RMS %1 um where values are rounded, %2 um where they are truncated",
                 micrometres(report.expectedRounded), micrometres(report.expectedTruncated));
    result.shift = QString("X: the mean deviation %1 mm is taken out; 1 mm of the table is %2 mm")
                       .arg(mm(x.offset), fixed(x.slope, 5));
    result.text = result.coverage + '\n' + result.expected + '\n' + mapText(report.maps[0]) + result.shift +
                  '\n' + mapText(x) + tableText(cellSampleHead(), cellSampleRows(report.samples));
    result.json = {{"inside", c.inside},
                   {"insideFilled", c.insideFilled},
                   {"border", c.border},
                   {"borderFilled", c.borderFilled},
                   {"outside", c.outside},
                   {"outsideFilled", c.outsideFilled},
                   {"expectedRounded", report.expectedRounded},
                   {"expectedTruncated", report.expectedTruncated},
                   {"z", errorMapJson(report.maps[0])},
                   {"x", errorMapJson(x)},
                   {"samples", cellSamplesJson(report.samples)}};
    return result;
}

Result againstRecord(const PixelTable& table, const TableUnits& units, const QString& path) {
    const RecordReport report = compareWithRecord(table, units, loadRaw(path));
    Result result;
    result.maps = {report.map};
    result.coverage = filledIn("positions of %1 with Z in the table: %2 (%3 of %4)", printable(path),
                               percent(report.covered, report.found), report.covered, report.found);
    result.text = result.coverage + '\n' + mapText(report.map);
    result.json = {{"found", report.found}, {"covered", report.covered}, {"z", errorMapJson(report.map)}};
    return result;
}

/// Adds what the limit of the RMS of Z says: "good", null with a "reason" where that cannot be said. Returns
/// the exit code.
int judge(const Arguments& arguments, double limit, Result& result) {
    const ErrorStatistics& z = result.maps[0].all;
    const bool isGood = z.rms * kMicrometres <= limit;
    if (z.count == 0) {
        result.json["good"] = QJsonValue();
        result.json["reason"] = "no cell can be compared";
        result.text += "NOT MEASURED: no cell can be compared\n";
        return NotMet;
    }
    if (!arguments.has("--limit")) {
        result.json["good"] = QJsonValue();
        result.json["reason"] = "no limit was given";
        return Done;
    }
    result.json["good"] = isGood;
    if (!isGood)
        result.text += QString("the RMS of Z is beyond %1 um\n").arg(limit);
    return isGood ? Done : NotMet;
}

void setVerdict(const Result& result, const QString& limit, HtmlPage& page) {
    const QString rms = "RMS of Z " + micrometres(result.maps[0].all.rms) + " um";
    const QJsonValue good = result.json["good"];
    if (result.maps[0].all.count == 0)
        page.setVerdict(HtmlPage::Bad, "NOT MEASURED: no cell can be compared");
    else if (good.isNull())
        page.setVerdict(HtmlPage::NotJudged, "COMPLETE: " + rms + "; no limit was given");
    else if (good.toBool())
        page.setVerdict(HtmlPage::Good, "GOOD: " + rms + ", limit " + limit + " um");
    else
        page.setVerdict(HtmlPage::Bad, "OUT: " + rms + ", limit " + limit + " um");
}

QByteArray pageOf(const Arguments& arguments, const Result& result, const QString& form,
                  const QByteArray& maps) {
    const QString path = arguments.operand(0);
    HtmlPage page("Check of " + QFileInfo(path).fileName());
    setVerdict(result, arguments.text("--limit"), page);
    page.addFact("made", QDateTime::currentDateTime().toString("yyyy-MM-dd HH:mm:ss"));
    page.addFact("table", path + ", " + form);
    page.addFact("against", arguments.text(arguments.has("--against") ? "--against" : "--truth"));
    for (const QString& line : {result.coverage, result.expected})
        page.addText(line);
    for (const ErrorMap& map : result.maps) {
        const bool isZ = map.half == Half::Z;
        if (!isZ)
            page.addText(result.shift);
        page.addTable(isZ ? "Deviations of Z, um" : "Deviations of X, um", errorMapHead(map),
                      errorMapRows(map));
    }
    page.addPicture("Deviations over the sensor", maps);
    if (!result.samples.isEmpty())
        page.addTable("The filled cell nearest to the middle of each region", cellSampleHead(),
                      cellSampleRows(result.samples));
    page.setResults(result.json);
    return page.html();
}

/// The page of --report, refused before anything is computed.
std::unique_ptr<PageFile> openReport(const Arguments& arguments) {
    return arguments.has("--report") ? std::make_unique<PageFile>(arguments.text("--report")) : nullptr;
}

}  // namespace

int runCalibrateCheck(const QStringList& words) {
    const Arguments arguments(makeUsage(), words, 1, 1);
    const QString picture = arguments.text("--svg");
    refuseOverwriting({picture, arguments.text("--report")},
                      {arguments.operand(0), arguments.text("--truth"), arguments.text("--against")});
    if (!arguments.has("--truth") && !arguments.has("--against"))
        throw Error("calibrate check: against what? Name --truth FILE or --against RAW");
    const double limit = arguments.number("--limit", 0, 0, std::numeric_limits<double>::max());
    const std::unique_ptr<PageFile> report = openReport(arguments);
    const std::optional<CalibrationRecipe> truth = readTruth(arguments);
    const TableUnits units = readUnits(arguments, truth);
    const QString path = arguments.operand(0);
    const PixelTable table = loadTable(path);
    Result result = arguments.has("--against") ? againstRecord(table, units, arguments.text("--against"))
                                               : againstTruth(table, units, *truth);
    const auto draw = [&] {
        return drawErrorMaps(
            QFileInfo(path).fileName(),
            QFileInfo(arguments.text(arguments.has("--against") ? "--against" : "--truth")).fileName(),
            result.maps);
    };
    if (arguments.has("--svg"))
        writePicture(picture, draw);
    result.json["file"] = path;
    const int code = judge(arguments, limit, result);
    if (arguments.isJson())
        printJson(result.json);
    else
        print(QString("%1: %2\n").arg(printable(path), formName(table.form())) + result.text);
    if (report)
        report->write(pageOf(arguments, result, formName(table.form()), draw()));
    return code;
}

}  // namespace KvMeasure
