#include "kvmeasure/arguments.h"
#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/print.h"
#include "kvmeasure/profile_file.h"
#include "kvmeasure/progress.h"
#include "kvmeasure/scan_file.h"

#include <cmath>
#include <limits>

namespace KvMeasure {

using KvMath::KvPointXYZ;

namespace {

const Usage usage{
    "info",
    "FILE...",
    "Says what files of points hold: the kinds of records, counts, ranges, and the first damaged place.",
    {{"--columns", "X,Y", "columns of CSV files, from 1 (1,2)"}},
    "Files are told apart by their content: binary records (0x02 XY, 0x03 XYZ, 0x04 XYZRGB, 0x05 profile "
    "with z,\n"
    "0x85 profile with tags; several may follow one another), CSV with semicolons and decimal commas, and "
    "CSV with\n"
    "commas or tabs, decimal points and an optional header line. Damage gives exit code 2. Scans in other "
    "forms (PLY, CSV\n"
    "grids, height maps) are named as such; \"kvmeasure scan info\" reads them.\n\n"
    "Examples\n"
    "  kvmeasure info row_0100.csv\n"
    "  kvmeasure info --json recording.bin\n"};

/// One record, a whole CSV file, or all records of a kind.
struct Section {
    QString kind;
    qint64 offset = 0;
    qint64 records = 1, points = 0, unset = 0;
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
    QList<Section> sections;  // the first records
    QMap<QString, qint64> totals;
    qint64 records = 0;
    QString damage;
    bool isScan = false;
};

constexpr int mostListed = 1000;

void surveyRecords(PointFile& file, Survey& survey) {
    Progress progress(file.path(), file.size());
    RecordHead head;
    while (file.nextHead(head)) {
        Section section;
        section.kind = recordName(head.marker);
        section.offset = head.offset;
        if (head.marker == 0x05)
            section.z.add(double(head.z));
        file.forEachPoint([&](const KvPointXYZ& point) { section.add(point, recordHasZ(head.marker)); });
        progress.show(file.position());
        ++survey.records;
        survey.totals[section.kind] += section.points;
        if (survey.sections.size() < mostListed)
            survey.sections.append(section);
    }
}

void surveyRows(PointFile& file, Survey& survey) {
    Progress progress(file.path(), file.size());
    survey.sections.append(Section());
    Section& section = survey.sections.last();
    section.kind = "points";
    KvMath::KvPointXY point;
    while (file.nextRow(point)) {
        section.add(KvPointXYZ(point.x, point.y, std::numeric_limits<float>::quiet_NaN()), false);
        progress.show(file.position());
    }
    survey.totals["points"] = section.points;
}

Survey surveyFile(const QString& path, const QString& columns) {
    Survey survey;
    survey.isScan = looksLikeScan(path);
    if (survey.isScan && !isRecordFile(path)) {
        survey.form = "3D scan";
        return survey;
    }
    PointFile file(path);
    file.setColumns(columns);
    survey.form = formName(file.form());
    try {
        if (file.form() == FileForm::Records)
            surveyRecords(file, survey);
        else
            surveyRows(file, survey);
    } catch (const Failure& failure) {
        survey.damage = failure.text;
        if (survey.records == 0 && !survey.sections.isEmpty() && survey.sections.first().points == 0)
            survey.sections.clear();
    }
    return survey;
}

QString surveyText(const QString& path, const Survey& survey) {
    QString text = QString("%1: %2").arg(path, survey.form);
    if (survey.isScan)
        text += QString("; for its profiles and ranges: kvmeasure scan info %1").arg(path);
    if (survey.sections.isEmpty())
        return text + "\n\n";
    if (survey.records > 0)
        text += QString(", %1 record(s)").arg(survey.records);
    Table table({"offset", "kind", "points", "unset", "x mm", "y mm", "z mm"});
    constexpr int mostRows = 20;
    for (const Section& section : survey.sections.mid(0, mostRows))
        table.add({QString::number(section.offset), section.kind, QString::number(section.points),
                   QString::number(section.unset), section.x.text(), section.y.text(), section.z.text()});
    text += '\n' + table.text();
    if (survey.records <= mostRows)
        return text + '\n';
    text += QString("... and %1 more records; points by kind:").arg(survey.records - mostRows);
    for (auto it = survey.totals.begin(); it != survey.totals.end(); ++it)
        text += QString(" %1 in records of \"%2\"").arg(it.value()).arg(it.key());
    return text + "\n\n";
}

QJsonObject surveyJson(const QString& path, const Survey& survey) {
    QJsonArray sections;
    for (const Section& section : survey.sections)
        sections.append(QJsonObject{{"offset", section.offset},
                                    {"kind", section.kind},
                                    {"points", section.points},
                                    {"unset", section.unset},
                                    {"x", section.x.json()},
                                    {"y", section.y.json()},
                                    {"z", section.z.json()}});
    QJsonObject object{
        {"file", path}, {"form", survey.form}, {"scan", survey.isScan}, {"sections", sections}};
    if (survey.records > survey.sections.size())
        object["sectionsLeftOut"] = survey.records - survey.sections.size();
    if (!survey.damage.isEmpty())
        object["damage"] = survey.damage;
    return object;
}

}  // namespace

int runInfo(const QStringList& words) {
    const Arguments arguments(usage, words, 1, anyNumber);
    QJsonArray files;
    const int code = forEachFile(arguments.operands(), [&](const QString& path) {
        const Survey survey = surveyFile(path, arguments.text("--columns"));
        if (arguments.isJson())
            files.append(surveyJson(path, survey));
        else if (survey.damage.isEmpty() || !survey.sections.isEmpty())
            print(surveyText(path, survey));
        if (!survey.damage.isEmpty())
            throw Failure{survey.damage};
    });
    if (arguments.isJson())
        printJson({{"files", files}});
    return code;
}

}  // namespace KvMeasure
