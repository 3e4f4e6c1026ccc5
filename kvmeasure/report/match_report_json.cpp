// The JSON of a report: one object for each profile, and the summary behind them.

#include <kvmeasure/report/json.h>
#include <kvmeasure/report/json_text_p.h>
#include <kvmeasure/report/match_report.h>
#include <kvmeasure/report/match_report_p.h>

namespace KvMeasure {

namespace {

// Members stand in the order of their names.

void writeAssignment(JsonText& json, const MatchedProfile& profile, const Assignment& assignment,
                     const QStringList& names) {
    json.beginObject();
    json.add("good", assignment.evaluation.isGood());
    json.key("lines");
    json.beginArray();
    for (int i = 0; i < assignment.indices.count(); ++i) {
        int segment = 0;
        assignment.indices.getLineIndex(i, segment);
        const KvMath::LinePP line = assignedLine(profile.lines, assignment.indices, i);
        json.beginObject();
        json.add("end", line.p2);
        json.add("line", i);
        json.add("name", names.value(i));
        json.add("reversed", assignment.indices.isReversed(i));
        json.add("segment", segment);
        json.add("start", line.p1);
        json.endObject();
    }
    json.endArray();
    writeValues(json, "measurements", assignment.evaluation.values);
    json.add("totalLength", totalLength(profile.segments, assignment.indices));
    json.add("verdict", verdictText(assignment.evaluation, true));
    json.endObject();
}

}  // namespace

QByteArray MatchReport::json(const MatchedProfile& profile) const {
    const bool hasAssignments = form_ != JsonValues;
    JsonText json(writesLines_ ? JsonText::Compact : JsonText::Indented);
    json.beginObject();
    if (hasAssignments) {
        json.key("assignments");
        json.beginArray();
        for (const Assignment& assignment : profile.assignments)
            writeAssignment(json, profile, assignment, plan_.lineNames);
        json.endArray();
        json.add("assignmentsFound", profile.found);
    }
    json.add("file", profile.name);
    json.add("found", profile.found > 0);
    if (!hasAssignments) {
        json.add("good", profile.isGood());
        writeValues(json, "measurements", profile.best.values);
    }
    json.add("points", profile.points);
    if (!hasAssignments)
        json.add("reason", profile.reason);
    else
        writeSegments(json, "segments", profile.segments);
    json.add("unset", profile.unset);
    if (!hasAssignments)
        json.add("verdict", verdictText(profile.best, profile.found > 0));
    json.add("z", profile.z);
    json.endObject();
    return json.text();
}

/// Objects one by one, so that the whole is one document whose profiles need not be held.
void MatchReport::addJson(const MatchedProfile& profile) {
    const QString object = QString::fromUtf8(profile.json.isEmpty() ? json(profile) : profile.json);
    output_(writesLines_ ? object + '\n' : (profiles_ == 1 ? "{\"profiles\": [\n" : ",\n") + object);
}

QJsonObject MatchReport::summaryJson() const {
    QJsonArray summary;
    for (const Series& series : series_) {
        const Statistics& s = series.statistics;
        summary.append(
            QJsonObject{{"name", series.name},
                        {"unit", series.unit},
                        {"count", s.count},
                        {"outOfTolerance", series.hasTolerance ? QJsonValue(s.outside) : QJsonValue()},
                        {"minimum", jsonNumber(s.minimum)},
                        {"maximum", jsonNumber(s.maximum)},
                        {"mean", s.count > 0 ? jsonNumber(s.mean) : QJsonValue()},
                        {"standardDeviation", jsonNumber(s.deviation())},
                        {"freeEdges", jsonNumber(series.freeEdges.mean)}});
    }
    QJsonObject object{{form_ == JsonValues ? "plan" : "template", plan_.name},
                       {"found", found_},
                       {"profileCount", profiles_},
                       {"summary", summary}};
    if (givesStatistics_)
        object["statistics"] = seriesJson(valueSeries());
    if (plan_.decision != Decision::Simple)
        object["decision"] = decisionWords().value(static_cast<int>(plan_.decision));
    return object;
}

}  // namespace KvMeasure
