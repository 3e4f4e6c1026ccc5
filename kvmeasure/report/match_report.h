#pragma once
// What a match gives: one row per profile and the statistics of each measurement, as text, JSON or CSV.
//
//     MatchReport report(MatchReport::Csv, plan, false, false, [](const QString& text) { write(text); });
//     for (const MatchedProfile& profile : profiles)
//         report.add(profile);
//     report.finish();

#include <kvmeasure/base/global.h>
#include <kvmeasure/drawing/trend_picture.h>
#include <kvmeasure/inspection/part_measurement.h>
#include <kvmeasure/report/part_summary.h>
#include <kvmeasure/report/series_report.h>
#include <kvmeasure/report/table.h>

#include <functional>

namespace KvMeasure {

/// What became of one profile. Its reason is shown where it is the only one.
struct MatchedProfile : MeasuredPart {
    QString name;     ///< of the profile, for the first column
    double z = 0;     ///< scan position, mm; NaN where there is none
    int points = 0;   ///< measured points
    int unset = 0;    ///< points that were left out
    QByteArray json;  ///< what MatchReport::json gives for it, where that was made beforehand
};

/// Writes rows as they come, so that memory holds a thousand of them at most, and the values of the trend
/// where they are wanted.
class KVMEASURE_EXPORT MatchReport {
public:
    /// How results are written: a table, one JSON document, comma-separated values with the statistics as
    /// comments below, one JSON document with the values of each profile alone, or rows of a part file, which
    /// add() does not write.
    enum Form { Text, Json, Csv, JsonValues, Part };

    /// Takes the text of a report piece by piece.
    using Output = std::function<void(const QString& text)>;

    /// The plan must outlive the report. `allAssignments`: a row for each of them. `keepValues`: for
    /// trend(); 8 bytes for each value and profile. `output` must not be empty; what it throws passes
    /// through.
    MatchReport(Form form, const InspectionPlan& plan, bool allAssignments, bool keepValues, Output output);
    /// finish() adds the statistics of each value, as SeriesReport gives them; 8 bytes for each value and
    /// profile. Call it before the first profile.
    void setGivesStatistics(bool gives) {
        givesStatistics_ = gives;
        keepsValues_ = keepsValues_ || gives;
    }
    /// A JSON report becomes JSON lines: the object of each profile on a line of its own, and nothing after
    /// the last. Call it before the first profile; it has no effect on other forms.
    void setWritesLines(bool writes) { writesLines_ = writes; }
    /// The object of a profile in a JSON report, by far the most of its work: several threads may call it and
    /// put it into their profiles. As a line where lines are written, without its end.
    QByteArray json(const MatchedProfile& profile) const;
    /// Of the form Part: columns and values of a part file, without command, version and plan.
    PartHead partHead() const;
    /// Of the form Part: the rows of a profile, values with all their digits; its reason and the remark stand
    /// in the last column, too. Several threads may call it.
    QString partRows(const MatchedProfile& profile, const QString& remark) const;
    /// Counts a profile and writes its rows, or holds them back.
    void add(const MatchedProfile& profile);
    /// Writes what was held back and the statistics; to be called once, after the last profile. A single
    /// profile as text is a table with a row per value. Without profiles: nothing, or a JSON document without
    /// profiles.
    void finish();
    /// The next profile will be followed by output.
    bool isAboutToWrite() const { return form_ != Text || rows_.size() >= kRowsAtOnce; }
    /// The next profile may be the only one, which says why the template is not in it.
    bool showsReason() const { return form_ == Text && profiles_ == 0; }
    /// The statistics of all profiles so far, and with keepValues their values, for drawTrend.
    Trend trend() const;

private:
    static constexpr int kRowsAtOnce = 1000;

    bool isJson() const { return form_ == Json || form_ == JsonValues; }
    void addDetail(const QString& name, const QString& label, const Value& value);
    void count(const MatchedProfile& profile);
    void addDetails(const MatchedProfile& profile);
    void addRows(const MatchedProfile& profile);
    void addJson(const MatchedProfile& profile);
    QStringList cells(const MatchedProfile& profile, const QString& label,
                      const Evaluation& evaluation) const;
    void addRow(const MatchedProfile& profile, const QString& label, const Evaluation& evaluation);
    QString number(double value, bool isExact = false) const;
    std::vector<const Value*> inOrder(const Evaluation& evaluation) const;
    QStringList figures(const Series& series) const;
    QString ruleText() const;
    QString statisticsText() const;
    QString statisticsCsv() const;
    QJsonObject summaryJson() const;
    QList<ValueSeries> valueSeries() const;

    Form form_;
    const InspectionPlan& plan_;
    bool hasAll_, keepsValues_, givesStatistics_ = false, writesLines_ = false;
    Output output_;
    int profiles_ = 0, found_ = 0;
    QString reason_;
    std::vector<double> z_;
    QStringList names_;                    ///< of the profiles, for the statistics
    QList<Series> series_;                 ///< in the order of the template
    QMap<QString, QList<int>> indicesOf_;  ///< columns of a name
    Table details_;
    Table rows_;
};

}  // namespace KvMeasure
