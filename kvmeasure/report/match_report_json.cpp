// The JSON of a report: one object for each profile, and the summary behind them.

#include <kvmeasure/report/json.h>
#include <kvmeasure/report/match_report.h>
#include <kvmeasure/report/match_report_p.h>

#include <QtCore/QJsonDocument>

namespace KvMeasure {

namespace {

QJsonObject assignmentJson(const MatchedProfile& profile, const Assignment& assignment,
                           const QStringList& names) {
    QJsonArray lines;
    for (int i = 0; i < assignment.indices.count(); ++i) {
        int segment = 0;
        assignment.indices.getLineIndex(i, segment);
        const KvMath::LinePP line = assignedLine(profile.lines, assignment.indices, i);
        lines.append(QJsonObject{{"line", i},
                                 {"name", names.value(i)},
                                 {"segment", segment},
                                 {"reversed", assignment.indices.isReversed(i)},
                                 {"start", jsonPoint(line.p1)},
                                 {"end", jsonPoint(line.p2)}});
    }
    return {{"lines", lines},
            {"totalLength", jsonNumber(totalLength(profile.segments, assignment.indices))},
            {"measurements", jsonValues(assignment.evaluation.values)},
            {"verdict", verdictText(assignment.evaluation, true)},
            {"good", assignment.evaluation.isGood()}};
}

}  // namespace

QByteArray MatchReport::json(const MatchedProfile& profile) const {
    QJsonObject object{{"file", profile.name},
                       {"z", jsonNumber(profile.z)},
                       {"points", profile.points},
                       {"unset", profile.unset},
                       {"found", profile.found > 0}};
    if (form_ == JsonValues) {
        object["reason"] = profile.reason;
        object["measurements"] = jsonValues(profile.best.values);
        object["verdict"] = verdictText(profile.best, profile.found > 0);
        object["good"] = profile.isGood();
    } else {
        QJsonArray assignments;
        for (const Assignment& assignment : profile.assignments)
            assignments.append(assignmentJson(profile, assignment, plan_.lineNames));
        object["assignmentsFound"] = profile.found;
        object["segments"] = jsonSegments(profile.segments);
        object["assignments"] = assignments;
    }
    return QJsonDocument(object)
        .toJson(writesLines_ ? QJsonDocument::Compact : QJsonDocument::Indented)
        .trimmed();
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
