// Templates, plans, results and files of wheels: small contents in numbers that every machine holds alike.

#include <tests/workflow/golden_formats.h>

#include <kvmath/tsearch/constraints.h>
#include <kvmath/tsearch/measurement_list.h>
#include <kvmath/tsearch/measurements.h>
#include <kvmath/tsearch/template_document.h>
#include <kvmeasure/inspection/part_measurement.h>
#include <kvmeasure/profiles/profile_file.h>
#include <kvmeasure/report/aqdef_file.h>
#include <kvmeasure/report/match_results.h>
#include <kvmeasure/report/part_merge.h>
#include <kvmeasure/report/qif_file.h>
#include <kvmeasure/report/wheel_report.h>
#include <kvmeasure/wheels/gauge_file.h>
#include <kvmeasure/wheels/limits.h>

#include <QtCore/QDataStream>
#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>

#include <cmath>

namespace Golden {
namespace {

using namespace KvMath;
using namespace KvMeasure;

// ---- Templates and plans ----

struct Template {
    TSTemplate lines{3};
    TSMeasurementList measurements;

    /// Every kind of constraint and of measurement.
    static Template filled() {
        Template made;
        for (TSConstraint* constraint : std::initializer_list<TSConstraint*>{
                 new TSCLength(0, 1, 9), new TSCInclinationAngle(1, -1.6, kNone),
                 new TSCEndPointDistance(0, 1, 0, 2), new TSCEndPointDistanceWithCheck(1, 2, 0, 2),
                 new TSCRotationAngle(0, 2, 0.125, 3, TSCRotationAngle::Clockwise),
                 new TSCEndPointShiftInDirection(0, 2, -5, 5, 0.5, true)})
            made.lines.addConstraint(constraint);
        for (TSMeasurement* measurement : std::initializer_list<TSMeasurement*>{
                 new TSUMLength(0, "a"), new TSUMInclinationAngle(1, "b"), new TSUMRotationAngle(0, 1, "c"),
                 new TSUMAngleBetweenLines(1, 2, "d"), new TSUMLinePoint(2, 0.5, "e"),
                 new TSUMLinesIntersection(0, 2, "f"),
                 new TSUMPointBetween2Points(0, 1, true, false, 0.5, QString::fromUtf8("\xc3\xb6")),
                 new TSUMEndPointShiftInDirection(0, 1, true, false, 2, true, 0.5, "h"),
                 new TSUMFarLineInDirection({1, 0}, "i", "j", "k")})
            made.measurements.addMeasurement(measurement);
        return made;
    }
    static constexpr double kNone = -1e100;  ///< an unset bound
};

/// What a template says of segments that it fits, and of what is measured on them.
std::string templateFacts(const Template& read) {
    LinePP segments[] = {{{0, 0}, {4, 0}}, {{4, 0}, {4, -3}}, {{4, -3}, {1, -5}}};
    int codes[] = {0, 2, 4};
    std::string facts = text(read.lines.getTemplateLinesNumber(), " lines, fits ");
    for (int i = 0; i < 3; ++i)
        facts += read.lines.check(segments, codes, i) ? "+" : "-";
    for (TSConstraint* constraint : read.lines.getAllConstraints())
        facts += ", " + words(constraint->getType());
    for (TSMeasurement* measurement : read.measurements.getAllMeasurements())
        facts += ", " + words(measurement->getType()) + " " +
                 words(*measurement->getUniformResultsInfoAll().last().first);
    return facts;
}

void writeDocument(const QString& path) {
    const Template made = Template::filled();
    QVariant map;
    EXPECT_TRUE(saveTemplate(map, made.lines, made.measurements, "1", "2", "name"));
    put(path, QJsonDocument::fromVariant(map).toJson());
}
std::string documentFacts(const QString& path) {
    Template read;
    QString fileVersion, userVersion, name;
    EXPECT_TRUE(
        loadTemplateFromJson(bytesOf(path), read.lines, read.measurements, fileVersion, userVersion, name));
    return words(name + ' ' + fileVersion + ' ' + userVersion) + ": " + templateFacts(read);
}

void writeStream(const QString& path) {
    const Template made = Template::filled();
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    QDataStream stream(&file);
    EXPECT_TRUE(made.lines.save(stream) && made.measurements.save(stream));
}
std::string streamFacts(const QString& path) {
    Template read;
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    QDataStream stream(&file);
    EXPECT_TRUE(read.lines.load(stream) && read.measurements.load(stream) && file.atEnd());
    return templateFacts(read);
}

/// The newest plan, as it is written again: every part of a plan and every kind of tool is in it.
void writePlan(const QString& path) {
    const QString newest = KVMATH_SAMPLES "/formats/plan.1.json";
    put(path, planText(readPlan(newest), newest));
}
/// Counts, and values of the groove in samples/, to tenths: what is computed is not what is tested here.
std::string planFacts(const QString& path) {
    const InspectionPlan plan = readPlan(path);
    ProfileSource source(KVMATH_SAMPLES "/v-groove.csv", {});
    LoadedProfile loaded;
    source.next(loaded);
    const MeasuredPart part = PartMeasurement(plan).measure(loaded.profile, loaded.profile);
    std::string facts = text(words(plan.name), ": ", plan.lines.getTemplateLinesNumber(), " lines, ",
                             plan.filter.size(), " filter steps, ", plan.regions.size(), " regions, ",
                             plan.anchors.size(), " anchors, ", plan.tools.size(), " tools, ",
                             plan.tolerances.size(), " tolerances, ", part.best.values.size(), " values");
    for (const KvMeasure::Value& value : part.best.values)
        if (QStringList{"depth", "width", "top", "an", "gp", "th.mean"}.contains(value.name))
            facts += text("; ", words(value.name), " ", std::round(10 * value.value) / 10 + 0.0, " ",
                          words(value.unit));
    return facts;
}

// ---- Results ----

InspectionPlan resultPlan() {
    InspectionPlan plan;
    plan.name = "part \"17\"";
    plan.regions.append(parseRegion("R = all"));
    addTools("top = max in R : 5 +- 0.25; low = min in R : max 1", plan);
    return plan;
}

/// Two profiles: top 5.125 with U 0.25, and a missing one; low 0.5, and 1.5.
std::vector<MatchedProfile> resultProfiles(const InspectionPlan& plan) {
    std::vector<MatchedProfile> profiles;
    for (int i = 0; i < 2; ++i) {
        MatchedProfile profile;
        profile.name = i == 0 ? "a, first.csv" : "b.csv#1";
        profile.z = 0.5 * i;
        profile.points = 10 + i;
        profile.found = 1;
        for (const char* name : {"top", "low"}) {
            KvMeasure::Value value;
            value.name = name;
            value.unit = "mm";
            value.hasTolerance = true;
            value.tolerance = plan.tolerances[name];
            value.isValid = i == 0 || value.name == "low";
            value.value = value.name == "low" ? 0.5 + i : 5.125;
            value.reason = value.isValid ? "" : "no points";
            value.u = 0.125;
            profile.best.values.append(value);
        }
        profiles.push_back(profile);
    }
    return profiles;
}

template <MatchReport::Form form, bool writesLines = false>
void writeReport(const QString& path) {
    const InspectionPlan plan = resultPlan();
    QByteArray written;
    MatchReport report(form, plan, false, false, [&](const QString& more) { written += more.toUtf8(); });
    report.setWritesLines(writesLines);
    for (const MatchedProfile& profile : resultProfiles(plan))
        report.add(profile);
    report.finish();
    put(path, written);
}
std::string reportFacts(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    const MatchResults results = readMatchResults(file, path);
    std::string facts = text(results.profiles, " profiles");
    for (const ValueSeries& series : results.series) {
        facts += "; " + words(series.name) + ":";
        for (const double value : series.values)
            facts += text(" ", value);
        facts += text(" ", words(series.unit), ", ", series.missing, " missing, limits ", series.limits.lower,
                      " ", series.limits.upper);
    }
    return facts;
}

/// The newest part file as merging writes it.
void writePart(const QString& path) { mergeParts({KVMATH_SAMPLES "/formats/part.1.csv"}, path); }
std::string partFacts(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    const PartSummary read = readPartSummary(file, path);
    std::string facts =
        text(words(read.head.command), " ", words(read.head.version), ": ", read.totals.files, " files, ",
             read.totals.rows, " rows, ", read.totals.missed, " missed, ", read.totals.failed, " failed");
    for (const PartValue& value : read.head.values)
        facts += text("; ", words(value.name), " in ", words(value.unit), ", column ", value.column,
                      ", limits ", value.limits.lower, " ", value.limits.upper);
    return facts;
}

/// AQDEF has local times, QIF has UTC.
template <class File, Qt::TimeSpec clock>
void writeHandedOn(const QString& path) {
    const InspectionPlan plan = resultPlan();
    const QDateTime when(QDate(2026, 1, 31), QTime(12, 30, 15), clock);
    const HandedRun run{plan.name, "00ff", "kvmeasure 1", "station 1", "Ann", when, characteristicsOf(plan)};
    File file(path, run);
    for (const MatchedProfile& profile : resultProfiles(plan))
        file.add(storedPart(profile, plan), when);
    file.commit();
}
/// An identifier is another one in each document.
void writeQif(const QString& path) {
    writeHandedOn<QifFile, Qt::UTC>(path);
    const QRegularExpression identifier("<QPId>[^<]*</QPId>");
    put(path, QString::fromUtf8(bytesOf(path)).replace(identifier, "<QPId>0</QPId>").toUtf8());
}

/// A store holds times, so that two are never the same: it is read, added to and read again.
std::string storeFacts(const QString& path) {
    ResultsStore store(unpacked(path), ResultsStore::Access::Add);
    std::string facts;
    for (const RunRecord& run : store.runs())
        facts += text("run ", run.id, " of ", words(run.command), " ", words(run.version), ", ",
                      words(run.planName), ", ", words(run.station), ", ", words(run.operatorName), ": ",
                      run.parts, " parts, ", run.good, " good");
    store.forEachValue({}, [&](const StoredValue& value) {
        facts +=
            text("; ", words(value.profile), " ", words(value.name), " ", value.value, " ", words(value.unit),
                 " U ", value.expandedU, " ", words(value.verdict), words(value.reason));
    });
    const InspectionPlan plan = resultPlan();
    const qint64 run = store.beginRun({});
    EXPECT_EQ(store.addParts(run, {storedPart(resultProfiles(plan)[0], plan)}), 1);
    return facts;
}

// ---- Wheels ----

QList<WheelsetResult> wheelsets() {
    QList<WheelsetResult> made;
    made.append(WheelsetResult());
    made[0].z = 1234.5F;
    made[0].backToBack = 1360.25;
    WheelResult& left = made[0].wheels[Left];
    left.values.wheelType = 1;
    for (int i = 0; i < 11; ++i)
        left.values.value[i] = 28 + 0.25 * i;
    left.nominal = 28;
    left.circle.radius = 460.5F;
    left.defect = 0;
    made[0].wheels[Right].notes.append("not seen");
    return made;
}
void writeWheelRecords(const QString& path) { put(path, wheelRecords(wheelsets())); }
void writeWheelCsv(const QString& path) { put(path, wheelCsv(wheelsets(), {true, true, true})); }

std::string gaugeFacts(const QString& path) {
    const GaugeProfile read = readGaugeProfile(path);
    return text(words(objectName(read.object)), ", side ", words(read.side), ", ", read.points.size(),
                " points, first ", read.points.front().x, " ", read.points.front().y, ", last ",
                read.points.back().x, " ", read.points.back().y, " mm, ", read.header.size(), " fields, Sh ",
                read.number("Sh"), " mm");
}
std::string limitFacts(const QString& path) {
    std::string facts;
    for (const WheelLimit& limit : readWheelLimits(path))
        facts += text(words(limit.symbol), " ", limit.minimum, " ", limit.maximum, " for ",
                      limit.diameterFrom, " to ", limit.diameterTo, " mm ", words(limit.note), "; ");
    return facts;
}
std::string postFacts(const QString& path) {
    const PostSettings read(path);
    const KvLine level = read.line(1, "level");
    return text("1002 is scanner ", read.indexOf(1002), ", at least ", read.leastProfiles(),
                " profiles, level ", level.k, " ", level.b, " mm, backs ", read.referenceDistance(),
                " mm, rule of 3: ", read.rule(3).originX, " mm");
}

}  // namespace

std::vector<Format> resultFormats() {
    return {
        {writeDocument,
         documentFacts,
         {{"template.1.json",
           "name 1 2: 3 lines, fits +++, Length, Inclination angle, Endpoint distance, Endpoint distance "
           "w/c, Rotation angle, Endpoint shift in direction, Length a, Inclination angle b, Rotation angle "
           "c, Angle between lines d, Line point e, Lines intersection f, Point between two points \xc3\xb6, "
           "Endpoint shift in direction h, Far line in direction k"}}},
        {writeStream,
         streamFacts,
         {{"template.1.stream",
           "3 lines, fits +++, Length, Inclination angle, Endpoint distance, Endpoint distance w/c, Rotation "
           "angle, Endpoint shift in direction, Length a, Inclination angle b, Rotation angle c, Angle "
           "between lines d, Line point e, Lines intersection f, Point between two points \xc3\xb6, Endpoint "
           "shift in direction h, Far line in direction k"}}},
        {writePlan,
         planFacts,
         {{"plan.1.json",
           "V groove: 4 lines, 2 filter steps, 4 regions, 1 anchors, 28 tools, 2 tolerances, 109 values; "
           "depth 6 mm; width 12 mm; top 50 mm; an 0 deg; gp 14.1 mm; th.mean 0 mm"}}},
        {writeReport<MatchReport::JsonValues>,
         reportFacts,
         {{"results.1.json", "2 profiles; top: 5.125 mm, 1 missing, limits 4.75 5.25; low: 0.5 1.5 mm, 0 "
                             "missing, limits -inf 1"}}},
        {writeReport<MatchReport::Csv>,
         reportFacts,
         {{"results.1.csv",
           "2 profiles; top: 5.125 mm, 1 missing, limits -inf inf; top.at: mm, 2 missing, limits -inf inf; "
           "low: 0.5 1.5 mm, 0 missing, limits -inf inf; low.at: mm, 2 missing, limits -inf inf"}}},
        {writeReport<MatchReport::JsonValues, true>, sizeFacts, {{"results.1.jsonl", "1091 bytes, 2 lines"}}},
        {writePart,
         partFacts,
         {{"part.1.csv", "measure 2.1.0: 3 files, 3 rows, 1 missed, 1 failed; top in mm, column 2, limits "
                         "4.85 5.15; top.at in mm, column 4, limits -inf inf; low in mm, column 6, limits "
                         "-inf inf; low.at in mm, column 8, limits -inf inf"}}},
        {writeHandedOn<AqdefFile, Qt::LocalTime>, sizeFacts, {{"results.1.dfq", "1260 bytes, 77 lines"}}},
        {writeQif, sizeFacts, {{"results.1.qif", "9875 bytes, 146 lines"}}},
        {nullptr,
         storeFacts,
         {{"store.1.db.qz",
           "run 1 of measure 2.1.0, , station 1, Ann: 2 parts, 1 good; p1.csv top 5.1 mm U nan good; p1.csv "
           "top.at 0 mm U nan ; p1.csv low 0.25 mm U nan ; p1.csv low.at 2 mm U nan ; p2.csv top 5.2 mm U "
           "nan OUT; p2.csv top.at 0 mm U nan ; p2.csv low 0.25 mm U nan ; p2.csv low.at 2 mm U nan "}}},
        {writeWheelRecords, sizeFacts, {{"wheel-values.1.bin", "178 bytes, 0 lines"}}},
        {writeWheelCsv, sizeFacts, {{"wheels.1.csv", "407 bytes, 3 lines"}}},
        {nullptr,
         gaugeFacts,
         {{"gauge-keys.1.whl",
           "wheel, side left, 27 points, first 0 16.75, last 130 -0.25 mm, 13 fields, Sh 28.01 mm"}}},
        {nullptr,
         gaugeFacts,
         {{"gauge-blocks.1.prr",
           "rail, side , 19 points, first -34.5 21.6, last 37.5 21.6 mm, 4 fields, Sh nan mm"}}},
        {nullptr,
         limitFacts,
         {{"limits.1.csv", "Sh 26.25 36 for 840 to inf mm ; Sh 31.5 36 for 330 to 760 mm small wheels; Sd 22 "
                           "33 for 0 to inf mm ; qR 6.5 nan for 0 to inf mm ; "}}},
        {nullptr,
         postFacts,
         {{"post.1.ini", "1002 is scanner 2, at least 5 profiles, level 0.0175 340.05 mm, backs 1360 mm, "
                         "rule of 3: -200 mm"}}}};
}

}  // namespace Golden
