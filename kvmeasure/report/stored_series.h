#pragma once
// What a store says of each value: statistics, the worst, the trend.

#include <kvmeasure/base/global.h>
#include <kvmeasure/report/results_store.h>

#include <QtCore/QHash>
#include <QtCore/QJsonArray>

#include <deque>

namespace KvMeasure {

/// The values of a store by name, unit and tolerance: values whose tolerance was changed are another series.
///
///     StoredSeries series;
///     store.forEachValue(query, [&](const StoredValue& value) { series.take(value); });
///     print(series.text());
class KVMEASURE_EXPORT StoredSeries {
public:
    static constexpr int kMostWorst = 10;     ///< values that are named as the worst
    static constexpr int kUsualTrend = 1000;  ///< values of a trend

    /// `trend`: so many of the newest values of each series are kept for its trend. Memory: 8 bytes for each
    /// value, and those of the trend.
    explicit StoredSeries(int trend = kUsualTrend) : trend_(trend) {}

    void take(const StoredValue& value);  ///< adds a value, or counts a part without values
    /// An object for each series, in the order of the first values: "name", "unit", "statistics" (that of
    /// SeriesReport), "worst" (nearest to a limit or farthest beyond it, worst first; "worstReason" where
    /// there is none), "trend" (oldest first) and "trendLeftOut". A value has "run", "part", "stored",
    /// "profile", "serial", "z", "value", "U", "verdict", "reason".
    QJsonArray json() const;
    QString text() const;  ///< statistics as a table with its reasons, then the worst values

private:
    struct Series {
        ValueSeries values;
        std::vector<StoredValue> worst;  ///< by their margin
        std::deque<StoredValue> trend;
        qint64 taken = 0;
    };

    Series& seriesOf(const StoredValue& value);

    int trend_;
    QList<Series> series_;
    QHash<QString, int> indexOf_;
};

/// Names of the columns of CSV, with their line end.
KVMEASURE_EXPORT QString storedValueHead();

/// A stored value as a row of CSV, with all digits; empty where there is no number.
KVMEASURE_EXPORT QString storedValueRow(const StoredValue& value);

}  // namespace KvMeasure
