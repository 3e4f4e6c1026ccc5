#include "kvmeasure/match_report.h"

#include <QtCore/QJsonDocument>

namespace KvMeasure {

namespace {

/// Heads of the columns: "depth mm" in a table, "depth_mm" in CSV.
QStringList rowHead(const TemplateFile& file, bool hasAll, QChar joint) {
    QStringList head{"profile", QString("z") + joint + "mm"};
    if (hasAll)
        head.append("assignment");
    for (const ValueName& value : valueNames(file))
        head.append(value.name + joint + value.unit);
    return head << "verdict";
}

/// "good", or what is not; "found" where nothing has a tolerance.
QString verdict(const Evaluation& evaluation, bool isFound) {
    QStringList invalid;
    QStringList outside;
    bool isJudged = false;
    for (const Value& value : evaluation.values) {
        isJudged = isJudged || value.hasTolerance;
        if (!value.isValid)
            invalid.append(value.name);
        else if (!value.isGood())
            outside.append(value.name);
    }
    QStringList parts;
    if (!isFound)
        parts.append("NOT FOUND");
    if (!outside.isEmpty())
        parts.append("OUT: " + outside.join(", "));
    if (!invalid.isEmpty())
        parts.append("NOT MEASURED: " + invalid.join(", "));
    if (parts.isEmpty())
        return isJudged ? "good" : "found";
    return parts.join("; ");
}

QString csvLine(QStringList fields) {
    for (QString& field : fields) {
        field.replace('\n', ' ');
        if (field.contains(',') || field.contains('"'))
            field = '"' + field.replace('"', "\"\"") + '"';
    }
    return fields.join(',') + '\n';
}

QJsonObject assignmentJson(const Segments& segments, const Assignment& assignment, const QStringList& names) {
    QJsonArray lines;
    for (int i = 0; i < assignment.indices.count(); ++i) {
        int segment = 0;
        bool isReversed = false;
        assignment.indices.getLineIndex(i, segment);
        assignment.indices.getLineOrientation(i, isReversed);
        const KvMath::LinePP line = assignedLine(segments, assignment.indices, i);
        lines.append(QJsonObject{{"line", i},
                                 {"name", names.value(i)},
                                 {"segment", segment},
                                 {"reversed", isReversed},
                                 {"start", jsonPoint(line.p1)},
                                 {"end", jsonPoint(line.p2)}});
    }
    return {{"lines", lines},
            {"totalLength", jsonNumber(totalLength(segments, assignment.indices))},
            {"measurements", jsonValues(assignment.evaluation.values)},
            {"verdict", verdict(assignment.evaluation, true)},
            {"good", assignment.evaluation.isGood()}};
}

}  // namespace

MatchReport::MatchReport(Form form, const TemplateFile& file, bool allAssignments, bool keepValues)
    : form_(form), file_(file), hasAll_(allAssignments), keepsValues_(keepValues),
      rows_(rowHead(file, allAssignments, ' ')) {
    for (const ValueName& value : valueNames(file)) {
        Series series;
        series.name = value.name;
        series.unit = value.unit;
        series.hasTolerance = file.tolerances.contains(value.name);
        series.tolerance = file.tolerances.value(value.name);
        indicesOf_[value.name].append(static_cast<int>(series_.size()));
        series_.append(series);
    }
}

/// The values in the order of the columns, null where there is none.
QList<const Value*> MatchReport::inOrder(const Evaluation& evaluation) const {
    QList<const Value*> ordered;
    for (int i = 0; i < series_.size(); ++i)
        ordered.append(nullptr);
    QMap<QString, int> seen;  // documents of other programs may give two results one name
    for (const Value& value : evaluation.values) {
        const QList<int> indices = indicesOf_.value(value.name);
        const int k = seen[value.name]++;
        if (k < indices.size() && value.isValid)
            ordered[indices[k]] = &value;
    }
    return ordered;
}

void MatchReport::count(const MatchedProfile& profile) {
    ++profiles_;
    found_ += profile.found > 0 ? 1 : 0;
    const QList<const Value*> values = inOrder(profile.best);
    for (int i = 0; i < values.size(); ++i) {
        if (values[i] != nullptr)
            series_[i].statistics.add(values[i]->value, values[i]->isGood());
        if (keepsValues_)
            series_[i].values.push_back(values[i] != nullptr ? values[i]->value : std::nan(""));
    }
    if (keepsValues_)
        z_.push_back(profile.z);
}

/// A row per result, for a single profile.
void MatchReport::addDetails(const MatchedProfile& profile) {
    reason_ = profile.reason.isEmpty() ? QString() : '\n' + profile.reason + '\n';
    if (profile.found == 0)
        details_.add({profile.name, "", "(not found)", "", "", "", "", "", "NOT FOUND", ""});
    for (const Assignment& assignment : profile.assignments) {
        if (assignment.evaluation.values.isEmpty())
            details_.add(
                {profile.name, assignment.label, "(no measurements)", "", "", "", "", "", "found", ""});
        for (const Value& value : assignment.evaluation.values) {
            QString judged;
            if (value.hasTolerance)
                judged = value.isGood() ? "good" : "OUT";
            details_.add({profile.name, assignment.label, value.name, value.isValid ? mm(value.value) : "-",
                          value.unit, value.isValid ? "yes" : "no",
                          value.hasTolerance ? mm(value.tolerance.nominal) : "",
                          value.hasTolerance && value.isValid ? mm(value.deviation()) : "", judged,
                          value.note});
        }
    }
}

/// A number of a row; what is missing is a dash in a table and nothing in CSV.
QString MatchReport::number(double value) const {
    constexpr int digits = 10;
    if (!std::isfinite(value))
        return form_ == Text ? "-" : "";
    return form_ == Text ? mm(value) : QString::number(value, 'g', digits);
}

QStringList MatchReport::cells(const MatchedProfile& profile, const QString& label,
                               const Evaluation& evaluation) const {
    QStringList row{profile.name, number(profile.z)};
    if (hasAll_)
        row.append(label);
    for (const Value* value : inOrder(evaluation))
        row.append(number(value != nullptr ? value->value : std::nan("")));
    return row << verdict(evaluation, profile.found > 0);
}

void MatchReport::addRows(const MatchedProfile& profile) {
    QList<QStringList> rows;
    for (const Assignment& assignment : profile.assignments)
        rows.append(cells(profile, assignment.label, assignment.evaluation));
    if (rows.isEmpty())
        rows.append(cells(profile, "", profile.best));
    if (form_ == Csv) {
        QString text = profiles_ == 1 ? csvLine(rowHead(file_, hasAll_, '_')) : QString();
        for (const QStringList& row : rows)
            text += csvLine(row);
        print(text);
        return;
    }
    for (const QStringList& row : rows)
        rows_.add(row);
    if (profiles_ > 1 && rows_.size() > rowsAtOnce)
        print(rows_.takeText());
}

/// Objects one by one, so that the whole is one document whose profiles need not be held.
void MatchReport::addJson(const MatchedProfile& profile) {
    QJsonArray assignments;
    for (const Assignment& assignment : profile.assignments)
        assignments.append(assignmentJson(profile.segments, assignment, file_.lineNames));
    const QJsonObject object{{"file", profile.name},
                             {"z", jsonNumber(profile.z)},
                             {"points", profile.points},
                             {"unset", profile.unset},
                             {"found", profile.found > 0},
                             {"assignmentsFound", profile.found},
                             {"segments", jsonSegments(profile.segments)},
                             {"assignments", assignments}};
    print((profiles_ == 1 ? "{\"profiles\": [\n" : ",\n") +
          QString::fromUtf8(QJsonDocument(object).toJson()).trimmed());
}

void MatchReport::add(const MatchedProfile& profile) {
    count(profile);
    if (form_ == Json)
        return addJson(profile);
    if (profiles_ == 1 && form_ == Text)
        addDetails(profile);
    addRows(profile);
}

/// Name, unit and the statistics of one measurement.
QStringList MatchReport::figures(const Series& series) const {
    const Statistics& s = series.statistics;
    const double none = std::nan("");
    return {series.name,
            series.unit,
            QString::number(s.count),
            series.hasTolerance ? QString::number(s.outside) : number(none),
            number(s.count > 0 ? s.minimum : none),
            number(s.count > 0 ? s.maximum : none),
            number(s.count > 0 ? s.mean : none),
            number(s.deviation())};
}

QString MatchReport::statisticsText() const {
    QString text = QString("\nfound in %1 of %2 profiles\n").arg(found_).arg(profiles_);
    Table table({"name", "unit", "count", "out", "minimum", "maximum", "mean", "std dev"});
    for (const Series& series : series_)
        table.add(figures(series));
    return series_.isEmpty() ? text : text + table.text();
}

/// Comments below the rows.
QString MatchReport::statisticsCsv() const {
    QString text = QString("# found in %1 of %2 profiles\n").arg(found_).arg(profiles_);
    text += "# name,unit,count,out,minimum,maximum,mean,standard_deviation\n";
    for (const Series& series : series_)
        text += "# " + csvLine(figures(series));
    return text;
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
                        {"standardDeviation", jsonNumber(s.deviation())}});
    }
    return {{"template", file_.name}, {"found", found_}, {"profileCount", profiles_}, {"summary", summary}};
}

void MatchReport::finish() {
    if (profiles_ == 0 && form_ != Json)
        return;
    if (form_ == Json) {
        const QString tail = QString::fromUtf8(QJsonDocument(summaryJson()).toJson());
        print((profiles_ == 0 ? "{\"profiles\": [" : "\n") +
              ("],\n" + tail.mid(tail.indexOf('{') + 1).trimmed()) + '\n');
    } else if (form_ == Csv) {
        print(statisticsCsv());
    } else {
        print(profiles_ > 1 ? rows_.takeText() + statisticsText() : details_.text() + reason_);
    }
}

Trend MatchReport::trend() const {
    Trend trend;
    trend.title =
        file_.name.isEmpty() ? QString("Results along the scan") : file_.name + ": results along the scan";
    trend.subtitle = QString("template found in %1 of %2 profiles").arg(found_).arg(profiles_);
    trend.z = z_;
    trend.series = series_;
    return trend;
}

}  // namespace KvMeasure
