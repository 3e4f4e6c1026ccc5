// Values of a store sorted into series by name, unit and limits. A series keeps its values for the
// statistics, and of the worst and of the latest ones only as many as are shown. Linear in the values.
#include <kvmeasure/report/stored_series.h>

#include <kvmeasure/report/csv_row.h>
#include <kvmeasure/report/json.h>

#include <QtCore/QLocale>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

/// Distance from the nearer limit, negative beyond it.
double marginOf(const StoredValue& value) {
    return std::min(value.value - value.limits.lower, value.limits.upper - value.value);
}

bool hasLimits(const StoredValue& value) {
    return std::isfinite(value.limits.lower) || std::isfinite(value.limits.upper);
}

QJsonObject jsonOf(const StoredValue& value) {
    return {{"run", static_cast<double>(value.run)},
            {"part", static_cast<double>(value.part)},
            {"stored", value.stored},
            {"profile", value.profile},
            {"serial", value.serial},
            {"z", jsonNumber(value.z)},
            {"value", jsonNumber(value.value)},
            {"U", jsonNumber(value.expandedU)},
            {"verdict", value.verdict},
            {"reason", value.reason}};
}

QString exact(double value) {
    return std::isfinite(value) ? QString::number(value, 'g', QLocale::FloatingPointShortest) : QString();
}

}  // namespace

StoredSeries::Series& StoredSeries::seriesOf(const StoredValue& value) {
    const QString key =
        QStringList{value.name, value.unit, exact(value.limits.lower), exact(value.limits.upper)}.join(
            QChar(0));
    const auto found = indexOf_.constFind(key);
    if (found != indexOf_.constEnd())
        return series_[*found];
    indexOf_.insert(key, static_cast<int>(series_.size()));
    Series series;
    series.values.name = value.name;
    series.values.unit = value.unit;
    series.values.limits = value.limits;
    series_.append(series);
    return series_.last();
}

void StoredSeries::take(const StoredValue& value) {
    if (value.name.isNull())
        return;
    Series& series = seriesOf(value);
    ++series.taken;
    series.trend.push_back(value);
    if (series.trend.size() > static_cast<std::size_t>(trend_))
        series.trend.pop_front();
    if (std::isnan(value.value)) {
        ++series.values.missing;
        return;
    }
    series.values.values.push_back(value.value);
    if (!hasLimits(value))
        return;
    const auto place = std::upper_bound(
        series.worst.begin(), series.worst.end(), value,
        [](const StoredValue& one, const StoredValue& other) { return marginOf(one) < marginOf(other); });
    if (place == series.worst.end() && series.worst.size() == kMostWorst)
        return;
    series.worst.insert(place, value);
    if (series.worst.size() > kMostWorst)
        series.worst.pop_back();
}

QJsonArray StoredSeries::json() const {
    QJsonArray all;
    for (const Series& series : series_) {
        QJsonArray worst;
        QJsonArray trend;
        for (const StoredValue& value : series.worst)
            worst.append(jsonOf(value));
        for (const StoredValue& value : series.trend)
            trend.append(jsonOf(value));
        QJsonObject object{{"name", series.values.name},
                           {"unit", series.values.unit},
                           {"statistics", SeriesReport(series.values).json()},
                           {"worst", worst},
                           {"trend", trend},
                           {"trendLeftOut", static_cast<double>(series.taken - trend.size())}};
        if (worst.isEmpty())
            object["worstReason"] =
                series.values.values.empty() ? "there is no value" : "the value has no tolerance";
        all.append(object);
    }
    return all;
}

QString StoredSeries::text() const {
    QList<ValueSeries> values;
    Table worst({"worst of", "unit", "value", "U", "verdict", "run", "stored", "profile", "serial"});
    for (const Series& series : series_) {
        values.append(series.values);
        for (const StoredValue& value : series.worst)
            worst.add({value.name, value.unit, mm(value.value),
                       std::isnan(value.expandedU) ? "-" : mm(value.expandedU), value.verdict,
                       QString::number(value.run), value.stored, value.profile, value.serial});
    }
    return seriesTable(values) + (worst.size() > 1 ? '\n' + worst.text() : QString());
}

QString storedValueHead() {
    return "profile,serial,run,part,stored,station,operator,z_mm,name,unit,value,U,nominal,min,max,verdict,"
           "reason\n";
}

QString storedValueRow(const StoredValue& value) {
    return csvRow({value.profile, value.serial, QString::number(value.run), QString::number(value.part),
                   value.stored, value.station, value.operatorName, exact(value.z), value.name, value.unit,
                   exact(value.value), exact(value.expandedU), exact(value.nominal),
                   exact(value.limits.lower), exact(value.limits.upper), value.verdict, value.reason});
}

}  // namespace KvMeasure
