#pragma once
// What "match" prints: one row per profile and the statistics of each measurement, as text, JSON or CSV.

#include "kvmeasure/print.h"
#include "kvmeasure/trend.h"

namespace KvMeasure {

/// One way in which the template fits a profile.
struct Assignment {
    QString label;  ///< "best" or its number
    KvMath::TSLinesIndecies indices;
    Evaluation evaluation;
};

/// What became of one profile.
struct MatchedProfile {
    QString name;
    double z = 0;  ///< scan position, mm; NaN where there is none
    int points = 0, unset = 0;
    Segments segments;
    int found = 0;                  ///< assignments
    QString reason;                 ///< why there is none, where that is shown
    QList<Assignment> assignments;  ///< those to be reported
    Evaluation best;                ///< of the longest; empty when the template was not found

    bool isGood() const { return found > 0 && best.isGood(); }
};

/// Prints rows as they come, so that memory holds a thousand of them at most, and the values of the trend
/// where they are wanted.
class MatchReport {
public:
    enum Form { Text, Json, Csv };

    /// The template must outlive the report. `allAssignments`: a row for each of them. `keepValues`: for
    /// trend().
    MatchReport(Form form, const TemplateFile& file, bool allAssignments, bool keepValues);
    void add(const MatchedProfile& profile);
    void finish();
    /// The next profile will be followed by rows on standard output.
    bool isAboutToPrint() const { return form_ != Text || rows_.size() >= rowsAtOnce; }
    /// The next profile may be the only one, which says why the template is not in it.
    bool showsReason() const { return form_ == Text && profiles_ == 0; }
    Trend trend() const;

private:
    static constexpr int rowsAtOnce = 1000;

    void count(const MatchedProfile& profile);
    void addDetails(const MatchedProfile& profile);
    void addRows(const MatchedProfile& profile);
    void addJson(const MatchedProfile& profile);
    QStringList cells(const MatchedProfile& profile, const QString& label,
                      const Evaluation& evaluation) const;
    QString number(double value) const;
    QList<const Value*> inOrder(const Evaluation& evaluation) const;
    QStringList figures(const Series& series) const;
    QString statisticsText() const;
    QString statisticsCsv() const;
    QJsonObject summaryJson() const;

    Form form_;
    const TemplateFile& file_;
    bool hasAll_, keepsValues_;
    int profiles_ = 0, found_ = 0;
    QString reason_;
    std::vector<double> z_;
    QList<Series> series_;                 ///< in the order of the template
    QMap<QString, QList<int>> indicesOf_;  ///< columns of a name
    Table details_{
        {"file", "assignment", "name", "value", "unit", "valid", "nominal", "deviation", "verdict", "note"}};
    Table rows_;
};

}  // namespace KvMeasure
