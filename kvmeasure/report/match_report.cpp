// Rows go out as they come, those of a table in pieces whose columns keep their widths. Memory holds
// statistics, and all values only where they are asked for.
#include <kvmeasure/report/match_report.h>
#include <kvmeasure/report/match_report_p.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/report/csv_row.h>

#include <QtCore/QJsonDocument>
#include <QtCore/QLocale>

#include <algorithm>

namespace KvMeasure {

namespace {

/// Heads of the columns: "depth mm" in a table, "depth_mm" in CSV.
QStringList rowHead(const InspectionPlan& plan, bool hasAll, QChar joint) {
    QStringList head{"profile", QString("z") + joint + "mm"};
    if (hasAll)
        head.append("assignment");
    for (const ValueName& value : valueNames(plan)) {
        const QString unit = value.unit.isEmpty() ? QString() : joint + value.unit;
        head << value.name + unit << value.name + joint + 'U' + unit;
    }
    return head << "verdict"
                << "note";
}

/// A row of the table for a single profile, without the column that a plan without a template has no use for.
QStringList detailRow(const InspectionPlan& plan, QStringList row) {
    constexpr int kAssignment = 1;
    if (!plan.hasTemplate())
        row.removeAt(kAssignment);
    return row;
}

QString decisionText(Decision decision) {
    return decision == Decision::Guarded
               ? QString("decision: guarded acceptance, values are good at least U inside their limits")
               : QString("decision: simple acceptance");
}

}  // namespace

MatchReport::MatchReport(Form form, const InspectionPlan& plan, bool allAssignments, bool keepValues,
                         Output output)
    : form_(form), plan_(plan), hasAll_(allAssignments), keepsValues_(keepValues), output_(std::move(output)),
      details_(detailRow(plan, {"file", "assignment", "name", "value", "U", "unit", "valid", "nominal",
                                "deviation", "verdict", "note"})),
      rows_(rowHead(plan, allAssignments, ' ')) {
    for (const ValueName& value : valueNames(plan)) {
        Series series;
        series.name = value.name;
        series.unit = value.unit;
        series.hasTolerance = plan.tolerances.contains(value.name);
        series.tolerance = plan.tolerances.value(value.name);
        indicesOf_[value.name].append(static_cast<int>(series_.size()));
        series_.append(series);
    }
}

/// The values in the order of the columns, null where there is none.
std::vector<const Value*> MatchReport::inOrder(const Evaluation& evaluation) const {
    const auto count = std::size_t(series_.size());
    std::vector<const Value*> ordered(count, nullptr);
    const auto isInPlace = [this, &evaluation](int i) {
        return evaluation.values[i].name == series_[i].name;
    };
    int inPlace = 0;  // as the measurements of a template give them
    while (inPlace < qMin(series_.size(), evaluation.values.size()) && isInPlace(inPlace)) {
        const Value& value = evaluation.values[inPlace];
        ordered[std::size_t(inPlace)] = value.isValid ? &value : nullptr;
        ++inPlace;
    }
    if (inPlace == evaluation.values.size())
        return ordered;
    ordered.assign(count, nullptr);
    QMap<QString, int> seen;  // documents of other programs may give two results one name
    for (const Value& value : evaluation.values) {
        const QList<int> indices = indicesOf_.value(value.name);
        const int k = seen[value.name]++;
        if (k < indices.size() && value.isValid)
            ordered[std::size_t(indices[k])] = &value;
    }
    return ordered;
}

void MatchReport::count(const MatchedProfile& profile) {
    ++profiles_;
    found_ += profile.found > 0 ? 1 : 0;
    const std::vector<const Value*> values = inOrder(profile.best);
    for (int i = 0; i < series_.size(); ++i) {
        const Value* value = values[std::size_t(i)];
        Series& series = series_[i];
        if (value != nullptr) {
            series.statistics.add(value->value, value->isGood());
            series.freeEdges.add(value->freeEdges, true);
        }
        if (keepsValues_)
            series.values.push_back(value != nullptr ? value->value : std::nan(""));
    }
    if (keepsValues_)
        z_.push_back(profile.z);
    if (givesStatistics_)
        names_.append(profile.name);
}

/// A row per result, for a single profile.
void MatchReport::addDetails(const MatchedProfile& profile) {
    reason_ = profile.reason.isEmpty() ? QString() : '\n' + profile.reason + '\n';
    const auto addPlain = [&](const QString& label, const QString& text, const QString& verdict) {
        details_.add(detailRow(plan_, {profile.name, label, text, "", "", "", "", "", "", verdict, ""}));
    };
    if (profile.found == 0) {
        addPlain("", "(not found)", "NOT FOUND");
        for (const Value& value : profile.best.values)
            addDetail(profile.name, "", value);
    }
    for (const Assignment& assignment : profile.assignments) {
        if (assignment.evaluation.values.isEmpty())
            addPlain(assignment.label, "(no measurements)", "found");
        for (const Value& value : assignment.evaluation.values)
            addDetail(profile.name, assignment.label, value);
    }
}

void MatchReport::addDetail(const QString& name, const QString& label, const Value& value) {
    const bool hasNominal = value.hasTolerance && value.tolerance.hasNominal;
    QString judged;
    if (value.hasTolerance)
        judged = value.isGood() ? "good" : "OUT";
    QStringList notes{value.reason, value.notes()};
    if (value.hasTolerance && !hasNominal)
        notes.append(value.tolerance.text());
    notes.removeAll(QString());
    details_.add(detailRow(
        plan_, {name, label, value.name, value.isValid ? mm(value.value) : "-",
                value.isValid ? number(value.expandedU()) : "-", value.unit, value.isValid ? "yes" : "no",
                hasNominal ? mm(value.tolerance.nominal) : "",
                hasNominal && value.isValid ? mm(value.deviation()) : "", judged, notes.join("; ")}));
}

/// A number of a row; what is missing is a dash in a table and nothing in CSV.
QString MatchReport::number(double value, bool isExact) const {
    constexpr int kDigits = 10;
    static const QString dash = "-";
    if (!std::isfinite(value))
        return form_ == Text ? dash : QString();
    return form_ == Text
               ? mm(value)
               : QString::number(value, 'g', isExact ? int(QLocale::FloatingPointShortest) : kDigits);
}

/// The cells of a row of CSV.
QStringList MatchReport::cells(const MatchedProfile& profile, const QString& label,
                               const Evaluation& evaluation) const {
    QStringList row{profile.name, number(profile.z)};
    if (hasAll_)
        row.append(label);
    for (const Value* value : inOrder(evaluation)) {
        row.append(number(value != nullptr ? value->value : std::nan(""), form_ == Part));
        row.append(number(value != nullptr ? value->expandedU() : std::nan("")));
    }
    row.append(verdictText(evaluation, profile.found > 0));
    row.append(remarks(evaluation));
    return row;
}

/// The same cells of the table, most of which are numbers.
void MatchReport::addRow(const MatchedProfile& profile, const QString& label, const Evaluation& evaluation) {
    static const QString dash = "-";
    const auto add = [this](double value) {
        if (std::isfinite(value))
            rows_.addMm(value);
        else
            rows_.addCell(dash);
    };
    rows_.startRow();
    rows_.addCell(profile.name);
    add(profile.z);
    if (hasAll_)
        rows_.addCell(label);
    for (const Value* value : inOrder(evaluation)) {
        add(value != nullptr ? value->value : std::nan(""));
        add(value != nullptr ? value->expandedU() : std::nan(""));
    }
    rows_.addCell(verdictText(evaluation, profile.found > 0));
    rows_.addCell(remarks(evaluation));
}

PartHead MatchReport::partHead() const {
    PartHead head;
    head.columns = csvRow(rowHead(plan_, hasAll_, '_')).toUtf8();
    const int first = hasAll_ ? 3 : 2;
    for (int i = 0; i < static_cast<int>(series_.size()); ++i) {
        PartValue value;
        value.name = series_[i].name;
        value.unit = series_[i].unit;
        value.column = first + 2 * i;
        if (series_[i].hasTolerance)
            value.limits = {series_[i].tolerance.least(), series_[i].tolerance.greatest()};
        head.values.append(value);
    }
    return head;
}

QString MatchReport::partRows(const MatchedProfile& profile, const QString& remark) const {
    QString rows;
    const auto addRow = [&](const QString& label, const Evaluation& evaluation) {
        QStringList row = cells(profile, label, evaluation);
        QString& note = row.last();
        for (const QString& more : {profile.reason, remark}) {
            if (!note.contains(more))
                note += (note.isEmpty() ? "" : "; ") + more;
        }
        rows += csvRow(row);
    };
    for (const Assignment& assignment : profile.assignments)
        addRow(assignment.label, assignment.evaluation);
    if (profile.assignments.isEmpty())
        addRow("", profile.best);
    return rows;
}

void MatchReport::addRows(const MatchedProfile& profile) {
    QString csv = profiles_ == 1 && form_ == Csv ? csvRow(rowHead(plan_, hasAll_, '_')) : QString();
    const auto take = [&](const QString& label, const Evaluation& evaluation) {
        if (form_ == Csv)
            csv += csvRow(cells(profile, label, evaluation));
        else
            addRow(profile, label, evaluation);
    };
    for (const Assignment& assignment : profile.assignments)
        take(assignment.label, assignment.evaluation);
    if (profile.assignments.isEmpty())
        take("", profile.best);
    if (form_ == Csv)
        output_(csv);
    else if (profiles_ > 1 && rows_.size() > kRowsAtOnce)
        output_(rows_.takeText());
}

void MatchReport::add(const MatchedProfile& profile) {
    count(profile);
    if (isJson())
        return addJson(profile);
    if (profiles_ == 1 && form_ == Text)
        addDetails(profile);
    addRows(profile);
}

/// Name, unit and the statistics of one measurement.
QStringList MatchReport::figures(const Series& series) const {
    const Statistics& s = series.statistics;
    const double none = std::nan("");
    constexpr double kLeast = 5e-5;  // below the last decimal of tables
    const double added = series.freeEdges.mean;
    return {series.name,
            series.unit,
            QString::number(s.count),
            series.hasTolerance ? QString::number(s.outside) : number(none),
            number(s.count > 0 ? s.minimum : none),
            number(s.count > 0 ? s.maximum : none),
            number(s.count > 0 ? s.mean : none),
            number(s.deviation()),
            number(std::fabs(added) >= kLeast ? added : none)};
}

QString MatchReport::statisticsText() const {
    QString text = plan_.hasTemplate() ? filledIn("\nfound in %1 of %2 profiles\n", found_, profiles_)
                                       : filledIn("\n%1 profiles\n", profiles_);
    if (plan_.decision != Decision::Simple)
        text += decisionText(plan_.decision) + '\n';
    Table table({"name", "unit", "count", "out", "minimum", "maximum", "mean", "std dev", "free edges"});
    for (const Series& series : series_)
        table.add(figures(series));
    if (!series_.isEmpty())
        text += table.text();
    return givesStatistics_ ? text + '\n' + seriesTable(valueSeries()) : text;
}

/// Comments below the rows.
QString MatchReport::statisticsCsv() const {
    QString text = plan_.hasTemplate() ? filledIn("# found in %1 of %2 profiles\n", found_, profiles_)
                                       : filledIn("# %1 profiles\n", profiles_);
    if (plan_.decision != Decision::Simple)
        text += "# " + decisionText(plan_.decision) + '\n';
    text += "# name,unit,count,out,minimum,maximum,mean,standard_deviation,free_edges\n";
    for (const Series& series : series_)
        text += "# " + csvRow(figures(series));
    if (givesStatistics_) {
        for (const QStringList& row : seriesRows(valueSeries()))
            text += "# " + csvRow(row);
    }
    return text;
}

void MatchReport::finish() {
    if (isJson() ? writesLines_ : profiles_ == 0)
        return;
    if (isJson()) {
        const QString tail = QString::fromUtf8(QJsonDocument(summaryJson()).toJson());
        output_((profiles_ == 0 ? "{\"profiles\": [" : "\n") +
                ("],\n" + tail.mid(tail.indexOf('{') + 1).trimmed()) + '\n');
    } else if (form_ == Csv) {
        output_(statisticsCsv());
    } else {
        output_(profiles_ > 1 ? rows_.takeText() + statisticsText()
                              : details_.text() + ruleText() + reason_ +
                                    (givesStatistics_ ? '\n' + seriesTable(valueSeries()) : QString()));
    }
}

/// The values of all profiles, with their limits.
QList<ValueSeries> MatchReport::valueSeries() const {
    QList<ValueSeries> all;
    for (const Series& series : series_) {
        ValueSeries one;
        one.name = series.name;
        one.unit = series.unit;
        if (series.hasTolerance)
            one.limits = {series.tolerance.least(), series.tolerance.greatest()};
        for (std::size_t i = 0; i < series.values.size(); ++i) {
            if (std::isnan(series.values[i])) {
                ++one.missing;
                continue;
            }
            one.values.push_back(series.values[i]);
            one.sources.append(names_.value(static_cast<int>(i)));
        }
        all.append(one);
    }
    return all;
}

/// Below the table of a single profile: how it was judged, where that is not the usual way.
QString MatchReport::ruleText() const {
    return plan_.decision == Decision::Simple ? QString() : '\n' + decisionText(plan_.decision) + '\n';
}

Trend MatchReport::trend() const {
    Trend trend;
    trend.title =
        plan_.name.isEmpty() ? QString("Results along the scan") : plan_.name + ": results along the scan";
    if (plan_.hasTemplate())
        trend.subtitle = filledIn("template found in %1 of %2 profiles", found_, profiles_);
    trend.z = z_;
    trend.series = series_;
    return trend;
}

}  // namespace KvMeasure
