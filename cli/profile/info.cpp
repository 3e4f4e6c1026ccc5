// info: one pass over the records or lines of each file, with counts and ranges. Damage ends a file, and what
// stands before it is reported.
#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/parameters.h"
#include "cli/profile/text_options.h"
#include "cli/terminal_progress.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/regular_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/profiles/profile_file.h>
#include <kvmeasure/profiles/text_taken.h>
#include <kvmeasure/report/table.h>
#include <kvmeasure/scans/scan_file.h>

#include <cmath>
#include <limits>

namespace KvMeasure {

using KvMath::KvPointXYZ;

namespace {

const Usage usage = withTextOptions(
    {"info",
     "FILE...",
     "Says what files of points hold: the kinds of records, counts, ranges, and the first damaged place.",
     {},
     "Files are told apart by their content: binary records (0x02 XY, 0x03 XYZ, 0x04 XYZRGB, 0x05 profile "
     "with z,\n"
     "0x85 profile with tags; several may follow one another), CSV with semicolons and decimal commas, and "
     "other\n"
     "text. Of a text it says what was taken: separator, decimal mark, columns, units, unset values, and "
     "lines "
     "without\n"
     "points. Damage gives exit code 2. Scans in other forms (PLY, CSV grids, height maps) are named as "
     "such;\n"
     "\"kvmeasure scan info\" reads them.\n\n"
     "Examples\n"
     "  kvmeasure info row_0100.csv\n"
     "  kvmeasure info --json recording.bin\n"});

/// One record, or one profile of a text.
struct Section {
    QString kind;
    qint64 offset = 0;
    qint64 line = 0;  // of a text
    qint64 points = 0, unset = 0;
    Span x, y, z;

    void add(const KvPointXYZ& point, bool hasZ) {
        ++points;
        if (std::isnan(point.x) || std::isnan(point.y) || (hasZ && std::isnan(point.z)))
            ++unset;
        x.add(double(point.x));
        y.add(double(point.y));
        z.add(double(point.z));
    }
};

struct Survey {
    QString form;
    QString taken;  // how a text was taken
    QJsonObject takenJson;
    QList<Section> sections;  // the first records
    QMap<QString, qint64> totals;
    qint64 records = 0;
    QString damage;
    bool isScan = false;
};

constexpr int kMostListed = 1000;

void surveyRecords(PointFile& file, Survey& survey) {
    TerminalProgress progress(file.path(), file.size());
    RecordHead head;
    while (file.nextHead(head)) {
        Section section;
        section.kind = recordName(head.marker);
        section.offset = head.offset;
        if (head.marker == KvMath::kProfileRecord)
            section.z.add(double(head.z));
        file.forEachPoint([&](const KvPointXYZ& point) { section.add(point, recordHasZ(head.marker)); });
        progress.show(file.position());
        ++survey.records;
        survey.totals[section.kind] += section.points;
        if (survey.sections.size() < kMostListed)
            survey.sections.append(section);
    }
}

void surveyText(PointFile& file, const TextOptions& options, Survey& survey) {
    const TextProfiles text = file.readText(options);
    survey.form = formName(file.form());
    survey.taken = takenText(text, options);
    survey.takenJson = takenJson(text, options);
    for (const TextProfile& profile : text.profiles) {
        ++survey.records;
        survey.totals["points"] += profile.profile.points.size() + profile.unset;
        if (survey.sections.size() == kMostListed)
            continue;
        Section section;
        section.kind = "points";
        section.line = profile.line;
        for (const KvMath::KvPointXY& point : profile.profile.points)
            section.add(KvPointXYZ(point.x, point.y, std::numeric_limits<float>::quiet_NaN()), false);
        for (const float x : profile.unsetX) {
            if (profile.hasUnsetX)
                section.x.add(double(x));
        }
        section.points += profile.unset;
        section.unset = profile.unset;
        survey.sections.append(section);
    }
}

Survey surveyFile(const QString& path, const TextOptions& options) {
    Survey survey;
    const std::shared_ptr<QFile> opened = openedFile(path);
    survey.isScan = looksLikeScan(opened);
    if (survey.isScan && !holdsRecords(*opened)) {
        refuseTextOptions(options, path, "is a scan");
        survey.form = "3D scan";
        return survey;
    }
    PointFile file(opened, path);
    survey.form = formName(file.form());
    if (file.form() == FileForm::Records)
        refuseTextOptions(options, path, "holds binary records");
    try {
        if (file.form() == FileForm::Records)
            surveyRecords(file, survey);
        else
            surveyText(file, options, survey);
    } catch (const Error& error) {
        survey.damage = error.text(optionOf);
    }
    return survey;
}

QString surveyText(const QString& path, const Survey& survey) {
    QString text = QString("%1: %2").arg(printable(path), survey.form);
    if (survey.isScan)
        text += QString("; for its profiles and ranges: kvmeasure scan info %1").arg(printable(path));
    if (survey.sections.isEmpty())
        return text + "\n\n";
    const bool isText = !survey.taken.isEmpty();
    if (survey.records > (isText ? 1 : 0))
        text += filledIn(isText ? ", %1 profiles" : ", %1 record(s)", survey.records);
    if (isText)
        text += '\n' + survey.taken.chopped(1);
    Table table({isText ? "line" : "offset", "kind", "points", "unset", "x mm", "y mm", "z mm"});
    constexpr int kMostRows = 20;
    for (const Section& section : survey.sections.mid(0, kMostRows))
        table.add({QString::number(isText ? section.line : section.offset), section.kind,
                   QString::number(section.points), QString::number(section.unset), section.x.text(),
                   section.y.text(), section.z.text()});
    text += '\n' + table.text();
    if (survey.records <= kMostRows)
        return text + '\n';
    text += filledIn("... and %1 more %2; points by kind:", survey.records - kMostRows,
                     isText ? "profiles" : "records");
    for (auto it = survey.totals.begin(); it != survey.totals.end(); ++it)
        text += filledIn(isText ? " %1 \"%2\"" : " %1 in records of \"%2\"", it.value(), it.key());
    return text + "\n\n";
}

QJsonObject surveyJson(const QString& path, const Survey& survey) {
    QJsonArray sections;
    const bool isText = !survey.taken.isEmpty();
    for (const Section& section : survey.sections)
        sections.append(QJsonObject{{isText ? "line" : "offset", isText ? section.line : section.offset},
                                    {"kind", section.kind},
                                    {"points", section.points},
                                    {"unset", section.unset},
                                    {"x", section.x.json()},
                                    {"y", section.y.json()},
                                    {"z", section.z.json()}});
    QJsonObject object{
        {"file", path}, {"form", survey.form}, {"scan", survey.isScan}, {"sections", sections}};
    if (isText)
        object["text"] = survey.takenJson;
    if (survey.records > survey.sections.size())
        object["sectionsLeftOut"] = survey.records - survey.sections.size();
    if (!survey.damage.isEmpty())
        object["damage"] = survey.damage;
    return object;
}

}  // namespace

int runInfo(const QStringList& words) {
    const Arguments arguments(usage, words, 1, kAnyNumber);
    const TextOptions options = readTextOptions(arguments);
    QJsonArray files;
    const int code = forEachFile(arguments.operands(), [&](const QString& path) {
        const Survey survey = surveyFile(path, options);
        if (arguments.isJson())
            files.append(surveyJson(path, survey));
        else if (survey.damage.isEmpty() || !survey.sections.isEmpty())
            print(surveyText(path, survey));
        if (!survey.damage.isEmpty())
            throw Error(survey.damage);
    });
    if (arguments.isJson())
        printJson({{"files", files}});
    return code;
}

}  // namespace KvMeasure
