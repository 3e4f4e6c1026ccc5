#pragma once
// Statistics of the values in a part file.

#include <kvmeasure/base/global.h>
#include <kvmeasure/report/series_report.h>

#include <QtCore/QJsonArray>
#include <QtCore/QString>

namespace KvMeasure {

/// The values of a complete part file with their limits, by columns; of several assignments the best one
/// counts. Sources and lines stay empty: memory holds 8 bytes for each value. Throws Error with file() for
/// what is no complete part, and with line() for a value that is no number.
KVMEASURE_EXPORT QList<ValueSeries> readPartValues(const QString& path);

/// Count, mean, deviation, extremes and percentiles (see percentile()) of each, then the table of
/// seriesTable().
KVMEASURE_EXPORT QString partStatisticsText(const QList<ValueSeries>& series);

/// The same as an object for each: "name", "unit", "count", "missing", "mean", "standardDeviation",
/// "minimum", "maximum", "percentiles" (by their per cents), with limits "limits", "outside", "cp", "cpk",
/// "pp", "ppk"; null for what does not exist, with "reason" where there is no value.
KVMEASURE_EXPORT QJsonArray partStatisticsJson(const QList<ValueSeries>& series);

}  // namespace KvMeasure
