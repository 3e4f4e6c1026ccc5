// Counts and ranges come from one pass over the points; distances of neighbours need profiles, so points
// without any (a cloud in no order) have none.

#include "cli/commands.h"
#include "cli/console.h"
#include "cli/parameters.h"
#include "cli/scan/options.h"
#include "cli/scan/summary.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/table.h>
#include <kvmeasure/scans/height_grid.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

const Usage infoUsage =
    withScanOptions({"scan info",
                     "SCAN...",
                     "Says what scans hold: form, counts, ranges, distances of neighbouring points.",
                     {},
                     "Unset are the points without numbers; they are left out. A file that is cut or damaged "
                     "gives exit code 2.\n\n"
                     "Examples\n"
                     "  kvmeasure scan info plate.kvs\n"
                     "  kvmeasure scan info heights.bin --map meta.csv --json\n"});

struct Survey {
    ScanSummary summary;
    bool hasProfiles = false;
    int profiles = 0;
    Steps steps;
    double mean = 0;  // of the heights
    QString warning;  // of the scan
};

Survey survey(const QString& path, const ScanOptions& options) {
    Scan scan = loadScan(path, options);
    Survey survey;
    survey.warning = withParameters(scan.doubt, optionOf);
    if (!survey.warning.isEmpty())
        complain(survey.warning);
    survey.summary = summarise(scan);
    try {
        const KvMath::KvProfileZSet stack = takeStack(scan, path);
        survey.hasProfiles = true;
        survey.profiles = stack.size();
        survey.steps = estimateSteps(stack);
        survey.mean = double(stack.calcAverageY());
    } catch (const Error&) {
        double sum = 0;
        for (const KvMath::KvPointXYZ& p : scan.cloud.points)
            sum += double(p.y);
        survey.mean = sum / static_cast<double>(scan.cloud.points.size());
    }
    return survey;
}

Facts facts(const QString& path, const Survey& survey) {
    const ScanSummary& s = survey.summary;
    Facts facts;
    facts.json = s.json();
    facts.json["file"] = path;
    if (!survey.warning.isEmpty())
        facts.json["warning"] = survey.warning;
    facts.add("form", "form", s.form, s.form);
    if (survey.hasProfiles)
        facts.add("profiles", "profiles", survey.profiles);
    else
        facts.add("", "profiles", "none, a cloud", QJsonValue());
    facts.add("points", "points", QString::number(s.points), s.points);
    facts.add("unset", "unset", QString::number(s.unset), s.unset);
    facts.add("x", "x, mm", s.x);
    facts.add("scan", "scan, mm", s.scan);
    facts.add("height", "height, mm", s.height);
    facts.add("meanHeight", "mean height, mm", mm(survey.mean), jsonNumber(survey.mean));
    if (survey.hasProfiles) {
        const auto add = [&facts](const char* key, const char* label, double step, double from, double to) {
            const bool isKnown = from < to;  // otherwise there is one place, and no distance
            facts.add(key, label, isKnown ? mm(step) : QString("-"),
                      isKnown ? jsonNumber(step) : QJsonValue());
        };
        add("stepX", "distance along x, mm", survey.steps.x, s.x.from, s.x.to);
        add("stepScan", "distance of profiles, mm", survey.steps.scan, s.scan.from, s.scan.to);
    }
    return facts;
}

}  // namespace

ScanSummary summarise(const Scan& scan) {
    ScanSummary summary;
    summary.form = scan.form;
    summary.isStack = scan.isStack;
    summary.profiles = scan.stack.size();
    summary.points = scan.points;
    summary.unset = scan.unset;
    Scan::forEachPoint(scan, [&summary](float x, float place, float height) {
        summary.x.add(double(x));
        summary.scan.add(double(place));
        summary.height.add(double(height));
    });
    return summary;
}

QString ScanSummary::line() const {
    QString text = form + ", ";
    if (isStack)
        text += QString("%1 profiles, ").arg(profiles);
    return text +
           filledIn("%1 points; x %2, scan %3, height %4 mm", points, x.text(), scan.text(), height.text());
}

QJsonObject ScanSummary::json() const {
    QJsonObject object{{"form", form},  {"points", points},    {"unset", unset},
                       {"x", x.json()}, {"scan", scan.json()}, {"height", height.json()}};
    if (isStack)
        object["profiles"] = profiles;
    return object;
}

int runScanInfo(const QStringList& words) {
    const Arguments arguments(infoUsage, words, 1, kAnyNumber);
    const ScanOptions options = readScanOptions(arguments);
    QJsonArray files;
    const int code = forEachFile(arguments.operands(), [&](const QString& path) {
        Facts found = facts(path, survey(path, options));
        if (arguments.isJson())
            files.append(found.json);
        else
            print(printable(path) + '\n' + found.table.text() + '\n');
    });
    if (arguments.isJson())
        printJson({{"files", files}});
    return code;
}

}  // namespace KvMeasure
