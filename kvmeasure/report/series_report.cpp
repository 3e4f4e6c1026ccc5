// What a series of values says, in the order of the report: summary, tests, capability where there are
// limits, a gauge where there is a reference, run chart. Text and JSON come from the same calls.

#include <kvmeasure/report/series_report.h>

#include <kvmeasure/base/filled_in.h>

#include <cmath>

namespace KvMeasure {

namespace {

const char* const kTooFew = "there are too few values, or all are equal";

bool hasLimits(const ValueSeries& series) {
    return std::isfinite(series.limits.lower) || std::isfinite(series.limits.upper);
}

QString shortNumber(double value) {
    constexpr int kDigits = 6;
    return std::isfinite(value) ? QString::number(value, 'g', kDigits) : QString("-");
}

}  // namespace

SeriesReport::SeriesReport(const ValueSeries& series, const SeriesSettings& settings)
    : series_(series), chart_(controlChart(series.values)) {
    addSummary();
    addTests();
    if (hasLimits(series))
        addCapability(settings);
    if (!std::isnan(settings.reference))
        addGauge(settings.reference);
    addChart();
}

void SeriesReport::add(const char* key, const QString& what, double value, const QString& reason) {
    constexpr int kDigits = 10;
    facts_.add(key, what, std::isfinite(value) ? QString::number(value, 'g', kDigits) : "-",
               jsonNumber(value));
    if (!std::isfinite(value))
        reasons_[key] = reason.isEmpty() ? QString(kTooFew) : reason;
}

void SeriesReport::add(const char* key, const QString& what, const Estimate& estimate,
                       const QString& reason) {
    constexpr int kDigits = 5;
    add(key, what, estimate.value, reason);
    facts_.json[QString(key) + "Confidence"] =
        QJsonArray{jsonNumber(estimate.low), jsonNumber(estimate.high)};
    if (std::isfinite(estimate.value))
        facts_.add("", what + ", 95 %",
                   filledIn("%1 .. %2", QString::number(estimate.low, 'g', kDigits),
                            QString::number(estimate.high, 'g', kDigits)),
                   QJsonValue());
}

void SeriesReport::addSummary() {
    const SampleSummary summary = summarize(series_.values);
    const QString none = "there is no value";
    add("count", "values", summary.count);
    add("missing", "empty cells", series_.missing);
    add("mean", "mean", summary.mean, none);
    add("standardDeviation", "standard deviation", summary.standardDeviation, "fewer than two values");
    add("minimum", "least", summary.minimum, none);
    add("median", "median", summary.median, none);
    add("maximum", "greatest", summary.maximum, none);
    add("autocorrelation", "correlation of neighbours", summary.autocorrelation);
}

/// "line 7", or the profile.
QString SeriesReport::placeOf(int index) const {
    const auto i = static_cast<std::size_t>(index);
    return i < series_.lines.size() ? filledIn("line %1", series_.lines[i])
                                    : series_.sources.value(index, filledIn("value %1", index + 1));
}

void SeriesReport::addTests() {
    const QString few = "fewer than 8 values, or all are equal";
    const NormalityTest normality = testNormality(series_.values);
    add("normality", "Anderson-Darling", normality.statistic, few);
    add("normalityProbability", "probability of normal values", normality.probability, few);
    const OutlierTest outlier = testOutlier(series_.values);
    if (outlier.index < 0)
        return;
    const auto i = static_cast<std::size_t>(outlier.index);
    const double value = series_.values[i];
    QJsonObject json{{"found", outlier.isOutlier()},
                     {"value", value},
                     {"statistic", outlier.statistic},
                     {"critical", jsonNumber(outlier.critical)}};
    if (i < series_.lines.size())
        json["line"] = static_cast<double>(series_.lines[i]);
    if (outlier.index < static_cast<int>(series_.sources.size()))
        json["file"] = series_.sources[outlier.index];
    facts_.json["outlier"] = json;
    facts_.add("", "outlier (Grubbs, 5 %)",
               outlier.isOutlier() ? filledIn("%1 in %2", value, placeOf(outlier.index)) : QString("none"),
               QJsonValue());
}

void SeriesReport::addCapability(const SeriesSettings& settings) {
    const Limits& limits = series_.limits;
    const Capability found = capability(series_.values, limits, settings.subgroup);
    const bool isOneSided = !std::isfinite(limits.upper - limits.lower);
    const QString reason = found.reason;
    const QString bothReason = !reason.isEmpty() ? reason : isOneSided ? "needs both limits" : "";
    const QString equal = reason.isEmpty() ? "neighbours are equal: the deviation within is 0" : reason;
    add("deviationWithin", "deviation within", found.deviationWithin, "fewer than two values");
    add("cp", "Cp", found.cp, bothReason.isEmpty() ? equal : bothReason);
    add("cpk", "Cpk", found.cpk, equal);
    add("pp", "Pp", found.pp, bothReason);
    add("ppk", "Ppk", found.ppk, reason);
    const QString percentiles = !reason.isEmpty() ? reason : found.percentilesReason;
    add("ppByPercentiles", "Pp by percentiles", found.ppByPercentiles,
        percentiles.isEmpty() ? bothReason : percentiles);
    add("ppkByPercentiles", "Ppk by percentiles", found.ppkByPercentiles, percentiles);
    add("shareOutside", "expected share outside", found.shareOutside, reason);
    add("outside", "values outside", found.outside);
}

void SeriesReport::addGauge(double reference) {
    const GaugeCapability gauge = gaugeCapability(series_.values, reference, series_.limits);
    add("bias", "bias", gauge.bias);
    add("cg", "Cg", gauge.cg, gauge.reason);
    add("cgk", "Cgk", gauge.cgk, gauge.reason);
    facts_.json["biased"] = gauge.isBiased;
    facts_.add("", "bias beyond chance (95 %)", gauge.isBiased ? "yes" : "no", QJsonValue());
}

void SeriesReport::addChart() {
    QJsonArray list;
    for (const ChartSignal& signal : chart_.findings) {
        const auto i = static_cast<std::size_t>(signal.index);
        QJsonObject json{{"index", signal.index}, {"rule", signal.rule}};
        if (i < series_.lines.size())
            json["line"] = static_cast<double>(series_.lines[i]);
        list.append(json);
    }
    facts_.json["controlLimits"] = QJsonArray{jsonNumber(chart_.lower), jsonNumber(chart_.upper)};
    facts_.json["signals"] = list;
    facts_.add("", "signals of the run chart",
               chart_.findings.empty()
                   ? QString("none")
                   : filledIn("%1; the first: %2, %3", chart_.findings.size(), chart_.findings.front().rule,
                              placeOf(chart_.findings.front().index)),
               QJsonValue());
}

QJsonObject SeriesReport::json() const {
    QJsonObject object = facts_.json;
    object["name"] = series_.name;
    object["unit"] = series_.unit;
    if (hasLimits(series_))
        object["limits"] = QJsonArray{jsonNumber(series_.limits.lower), jsonNumber(series_.limits.upper)};
    object["reasons"] = reasons_;
    return object;
}

QString SeriesReport::text() {
    QString text = facts_.table.text();
    for (auto it = reasons_.constBegin(); it != reasons_.constEnd(); ++it)
        text += filledIn("%1: %2\n", it.key(), it.value().toString());
    return text;
}

QList<QStringList> seriesRows(const QList<ValueSeries>& series) {
    QList<QStringList> rows{{"name", "unit", "count", "mean", "std dev", "from", "to", "Cp", "Cpk", "Pp",
                             "Ppk", "out", "expected out"}};
    for (const ValueSeries& one : series) {
        const SampleSummary summary = summarize(one.values);
        const Capability found = capability(one.values, one.limits);
        const bool isLimited = hasLimits(one);
        rows.append({one.name, one.unit, QString::number(summary.count), shortNumber(summary.mean),
                     shortNumber(summary.standardDeviation), shortNumber(one.limits.lower),
                     shortNumber(one.limits.upper), shortNumber(found.cp), shortNumber(found.cpk),
                     shortNumber(found.pp.value), shortNumber(found.ppk.value),
                     isLimited ? QString::number(found.outside) : QString("-"),
                     shortNumber(found.shareOutside)});
    }
    return rows;
}

QString seriesTable(const QList<ValueSeries>& series) {
    const QList<QStringList> rows = seriesRows(series);
    Table table(rows.first());
    for (const QStringList& row : rows.mid(1))
        table.add(row);
    QString reasons;
    QStringList without;
    for (const ValueSeries& one : series) {
        const QString reason = capability(one.values, one.limits).reason;
        if (!hasLimits(one))
            without.append(printable(one.name));
        else if (!reason.isEmpty())
            reasons += filledIn("%1: no capability: %2\n", printable(one.name), reason);
    }
    if (!without.isEmpty())
        reasons += filledIn("%1: no capability without a tolerance\n", without.join(", "));
    return table.text() + reasons;
}

QJsonArray seriesJson(const QList<ValueSeries>& series) {
    QJsonArray array;
    for (const ValueSeries& one : series)
        array.append(SeriesReport(one).json());
    return array;
}

}  // namespace KvMeasure
