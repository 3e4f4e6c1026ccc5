#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/print.h"
#include "kvmeasure/scan_commands.h"
#include "kvmeasure/scan_grid.h"

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

struct Command {
    const char* name;
    const char* summary;
    int (*run)(const QStringList& words);
};

constexpr Command commands[] = {
    {"info", "what a scan holds: form, counts, ranges, distances of points", runScanInfo},
    {"convert", "between profile records, cloud records, PLY, XYZ and CSV grids", runScanConvert},
    {"slice", "cuts a cloud into profiles at equal distances", runScanSlice},
    {"section", "a profile along x, along the scan, or between two points", runScanSection},
    {"grid", "heights in a regular grid, as CSV and as a picture", runScanGrid},
    {"plane", "fits a plane, removes what lies above or below it, levels the scan", runScanPlane},
    {"outline", "the outline of an object as straight lines, with angles and a picture", runScanOutline},
};

QString overview() {
    QString text = "kvmeasure scan COMMAND FILE ... [options]\nWorks on 3D scans: stacks of profiles, and "
                   "clouds of points.\n\n"
                   "Commands\n";
    for (const Command& command : commands)
        text += QString("  %1  %2\n").arg(command.name, -10).arg(command.summary);
    return text + "\nScans are told apart by their content: records (0x05 and 0x85 profiles, 0x02 lines with "
                  "--scan-step,\n"
                  "0x03 and 0x04 clouds), PLY (ascii and binary), XYZ text, CSV grids, and raw 16-bit height "
                  "maps with a\n"
                  "description (see --map). Axes, mm: x along the laser line, height, and scan, the position "
                  "along the\n"
                  "scan.\n\n"
                  "Examples\n"
                  "  kvmeasure scan info plate.kvs\n"
                  "  kvmeasure scan outline plate.kvs --svg outline.svg\n"
                  "  kvmeasure scan convert plate.kvs plate.ply\n"
                  "  kvmeasure scan COMMAND --help\n";
}

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

QString range(float from, float to) { return mm(double(from)) + " .. " + mm(double(to)); }

QJsonArray jsonRange(float from, float to) { return {jsonNumber(double(from)), jsonNumber(double(to))}; }

struct Survey {
    ScanSummary summary;
    bool hasProfiles = false;
    int profiles = 0;
    Steps steps;
    double mean = 0;  // of the heights
};

Survey survey(const QString& path, const ScanOptions& options) {
    Scan scan = loadScan(path, options);
    Survey survey;
    survey.summary = summarise(scan);
    try {
        const KvMath::KvProfileZSet stack = takeStack(scan, path);
        survey.hasProfiles = true;
        survey.profiles = stack.size();
        survey.steps = estimateSteps(stack);
        survey.mean = double(stack.calcAverageY());
    } catch (const Failure&) {
        double sum = 0;
        for (const KvMath::KvPointXYZ& p : scan.cloud.points)
            sum += double(p.y);
        survey.mean = sum / scan.cloud.points.size();
    }
    return survey;
}

QString surveyText(const QString& path, const Survey& survey) {
    const ScanSummary& s = survey.summary;
    Table table({"", "value"});
    table.add({"form", s.form});
    table.add({"profiles", survey.hasProfiles ? QString::number(survey.profiles) : "none, a cloud"});
    table.add({"points", QString::number(s.points)});
    table.add({"unset", QString::number(s.unset)});
    table.add({"x, mm", range(s.minX, s.maxX)});
    table.add({"scan, mm", range(s.minScan, s.maxScan)});
    table.add({"height, mm", range(s.minHeight, s.maxHeight)});
    table.add({"mean height, mm", mm(survey.mean)});
    if (survey.hasProfiles) {
        table.add({"distance along x, mm", mm(survey.steps.x)});
        table.add({"distance of profiles, mm", mm(survey.steps.scan)});
    }
    return path + '\n' + table.text() + '\n';
}

QJsonObject surveyJson(const QString& path, const Survey& survey) {
    QJsonObject object = survey.summary.json();
    object["file"] = path;
    object["meanHeight"] = jsonNumber(survey.mean);
    if (survey.hasProfiles) {
        object["profiles"] = survey.profiles;
        object["stepX"] = jsonNumber(survey.steps.x);
        object["stepScan"] = jsonNumber(survey.steps.scan);
    }
    return object;
}

}  // namespace

ScanSummary summarise(const Scan& scan) {
    ScanSummary summary;
    summary.form = scan.form;
    summary.isStack = scan.isStack;
    summary.profiles = scan.stack.size();
    summary.points = scan.points;
    summary.unset = scan.unset;
    const float infinity = std::numeric_limits<float>::infinity();
    summary.minX = summary.minHeight = summary.minScan = infinity;
    summary.maxX = summary.maxHeight = summary.maxScan = -infinity;
    const auto extend = [&summary](float x, float height, float scanPosition) {
        summary.minX = std::min(summary.minX, x);
        summary.maxX = std::max(summary.maxX, x);
        summary.minHeight = std::min(summary.minHeight, height);
        summary.maxHeight = std::max(summary.maxHeight, height);
        summary.minScan = std::min(summary.minScan, scanPosition);
        summary.maxScan = std::max(summary.maxScan, scanPosition);
    };
    for (const KvMath::KvProfileZ& profile : scan.stack.profiles) {
        for (const KvMath::KvPointXY& p : profile.points)
            extend(p.x, p.y, profile.z);
    }
    for (const KvMath::KvPointXYZ& p : scan.cloud.points)
        extend(p.x, p.y, p.z);
    return summary;
}

QString ScanSummary::line() const {
    QString text = form + ", ";
    if (isStack)
        text += QString("%1 profiles, ").arg(profiles);
    return text + QString("%1 points; x %2, scan %3, height %4 mm")
                      .arg(points)
                      .arg(range(minX, maxX), range(minScan, maxScan), range(minHeight, maxHeight));
}

QJsonObject ScanSummary::json() const {
    QJsonObject object{{"form", form},
                       {"points", points},
                       {"unset", unset},
                       {"x", jsonRange(minX, maxX)},
                       {"scan", jsonRange(minScan, maxScan)},
                       {"height", jsonRange(minHeight, maxHeight)}};
    if (isStack)
        object["profiles"] = profiles;
    return object;
}

bool askedForHelp(const Usage& usage, const QStringList& words) {
    if (!words.contains("--help"))
        return false;
    print(helpText(usage));
    return true;
}

int runScanInfo(const QStringList& words) {
    if (askedForHelp(infoUsage, words))
        return Done;
    const Arguments arguments(infoUsage, words);
    arguments.requireOperands(std::numeric_limits<int>::max());
    const ScanOptions options = readScanOptions(arguments);
    QJsonArray files;
    int code = Done;
    for (const QString& path : arguments.operands()) {
        try {
            const Survey found = survey(path, options);
            if (arguments.has("--json"))
                files.append(surveyJson(path, found));
            else
                print(surveyText(path, found));
        } catch (const Failure& failure) {
            std::fprintf(stderr, "kvmeasure: %s\n", failure.text.toUtf8().constData());
            code = Refused;
        }
    }
    if (arguments.has("--json"))
        printJson({{"files", files}});
    return code;
}

int runScan(const QStringList& words) {
    const QString name = words.value(0);
    if (name.isEmpty())
        throw Failure{"scan: which command? See \"kvmeasure scan --help\""};
    if (name == "--help" || name == "-h") {
        print(overview());
        return Done;
    }
    QStringList names{"--help"};
    for (const Command& command : commands) {
        names.append(command.name);
        if (name == command.name)
            return command.run(words.mid(1));
    }
    throw Failure{QString("scan: unknown command \"%1\"%2 (see \"kvmeasure scan --help\")")
                      .arg(name, suggestion(name, names))};
}

}  // namespace KvMeasure
