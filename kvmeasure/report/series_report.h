#pragma once
// The statistics of a series of values as text and as JSON; what is missing says why.

#include <kvmeasure/base/global.h>
#include <kvmeasure/report/table.h>
#include <kvmeasure/statistics/capability.h>
#include <kvmeasure/statistics/control_chart.h>

#include <QtCore/QList>
#include <QtCore/QStringList>

#include <limits>
#include <vector>

namespace KvMeasure {

/// Values in the order of their making, with where they come from.
struct ValueSeries {
    QString name;                ///< of the value, or of the column
    QString unit;                ///< empty for none
    std::vector<double> values;  ///< finite
    std::vector<qint64> lines;   ///< of the file, from 1, one per value; empty: not known
    QStringList sources;         ///< names of the profiles, one per value; empty: not known
    int missing = 0;             ///< places without a value
    Limits limits;               ///< of the characteristic; both infinite: none
};

/// How a series is evaluated.
struct SeriesSettings {
    int subgroup = 1;                                             ///< values made together, see capability()
    double reference = std::numeric_limits<double>::quiet_NaN();  ///< true value of a part that was read
                                                                  ///< again and again: Cg, Cgk; NaN: none
};

/// Statistics of one series: rows "what, value" and the keys of "kvmeasure stats". Every value that is not
/// there is null and has a sentence under "reasons". The series must outlive it.
class KVMEASURE_EXPORT SeriesReport {
public:
    /// Evaluates the series; one without values has reasons alone.
    explicit SeriesReport(const ValueSeries& series, const SeriesSettings& settings = {});

    QJsonObject json() const;                             ///< with "name", "unit", "limits" and "reasons"
    QString text();                                       ///< the rows, and a line for each reason
    const ControlChart& chart() const { return chart_; }  ///< of the values

private:
    void add(const char* key, const QString& what, double value, const QString& reason = QString());
    void add(const char* key, const QString& what, const Estimate& estimate, const QString& reason);
    void addSummary();
    void addTests();
    void addCapability(const SeriesSettings& settings);
    void addGauge(double reference);
    void addChart();
    QString placeOf(int index) const;

    const ValueSeries& series_;
    Facts facts_;
    QJsonObject reasons_;
    ControlChart chart_;
};

/// The statistics of several series: the heading, then a row for each; "-" for what has no value.
KVMEASURE_EXPORT QList<QStringList> seriesRows(const QList<ValueSeries>& series);

/// The same as a table, with the reasons below.
KVMEASURE_EXPORT QString seriesTable(const QList<ValueSeries>& series);

/// The same as JSON: the object of SeriesReport for each, in order.
KVMEASURE_EXPORT QJsonArray seriesJson(const QList<ValueSeries>& series);

}  // namespace KvMeasure
