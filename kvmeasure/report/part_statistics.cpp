// The rows of a part are read again, one after another; values are kept in double, 8 bytes each, and sorted
// for the percentiles: n log n. Cells hold all digits, so that the results are those of one run. Mean,
// deviation and percentiles are those of statistics/sample.h, capability that of statistics/capability.h (ISO
// 22514-2).

#include <kvmeasure/report/part_statistics.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/regular_file.h>
#include <kvmeasure/report/csv_row.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/part_summary.h>
#include <kvmeasure/statistics/capability.h>
#include <kvmeasure/statistics/sample.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

const struct {
    const char* name;
    double share;
} kPercentiles[] = {{"0.135", 0.00135}, {"5", 0.05}, {"50", 0.5}, {"95", 0.95}, {"99.865", 0.99865}};

QString numberText(double value) {
    constexpr int kDigits = 10;
    return std::isfinite(value) ? QString::number(value, 'g', kDigits) : QString("-");
}

/// Sorted, so that each percentile finds its values in order.
std::vector<double> percentilesOf(const ValueSeries& series) {
    std::vector<double> sorted = series.values;
    std::sort(sorted.begin(), sorted.end());
    std::vector<double> found;
    found.reserve(std::size(kPercentiles));
    for (const auto& percentileOf : kPercentiles)
        found.push_back(percentile(sorted, percentileOf.share));
    return found;
}

void takeRow(const QList<QByteArray>& fields, const QList<PartValue>& values, const QString& place,
             QList<ValueSeries>& series) {
    for (int i = 0; i < static_cast<int>(values.size()); ++i) {
        const QByteArray field = fields.value(values[i].column);
        bool isNumber = false;
        const double value = field.toDouble(&isNumber);
        if (!isNumber && !field.isEmpty() && field != "-")
            throw Error(filledIn("%1: \"%2\" is no number", place, QString::fromUtf8(field)));
        if (isNumber && std::isfinite(value))
            series[i].values.push_back(value);
        else
            ++series[i].missing;
    }
}

}  // namespace

QList<ValueSeries> readPartValues(const QString& path) {
    constexpr qint64 kLongest = 1 << 24;
    const std::shared_ptr<QFile> file = openedFile(path);
    const PartSummary summary = readPartSummary(*file, path);
    QList<ValueSeries> series;
    for (const PartValue& value : summary.head.values) {
        ValueSeries one;
        one.name = value.name;
        one.unit = value.unit;
        one.limits = value.limits;
        series.append(one);
    }
    const int assignment = static_cast<int>(csvFields(summary.head.columns).indexOf("assignment"));
    for (qint64 row = 0; row < summary.totals.rows; ++row) {
        const QList<QByteArray> fields = csvFields(file->readLine(kLongest));
        const QByteArray label = assignment < 0 ? QByteArray() : fields.value(assignment);
        if (!label.isEmpty() && label != "best")
            continue;
        try {
            takeRow(fields, summary.head.values, filledIn("%1: line %2", path, row + 2), series);
        } catch (Error& error) {
            throw error.inFile(path).atLine(row + 2);
        }
    }
    return series;
}

QString partStatisticsText(const QList<ValueSeries>& series) {
    QStringList head{"name", "unit", "count", "missing", "mean", "std dev", "minimum"};
    for (const auto& percentileOf : kPercentiles)
        head.append(QString(percentileOf.name) + " %");
    Table table(head << "maximum");
    for (const ValueSeries& one : series) {
        const SampleSummary summary = summarize(one.values);
        QStringList row{one.name,
                        one.unit,
                        QString::number(summary.count),
                        QString::number(one.missing),
                        numberText(summary.mean),
                        numberText(summary.standardDeviation),
                        numberText(summary.minimum)};
        for (const double value : percentilesOf(one))
            row.append(numberText(value));
        table.add(row << numberText(summary.maximum));
    }
    return table.text() + '\n' + seriesTable(series);
}

QJsonArray partStatisticsJson(const QList<ValueSeries>& series) {
    QJsonArray array;
    for (const ValueSeries& one : series) {
        const SampleSummary summary = summarize(one.values);
        QJsonObject json{{"name", one.name},
                         {"unit", one.unit},
                         {"count", summary.count},
                         {"missing", one.missing},
                         {"mean", jsonNumber(summary.mean)},
                         {"standardDeviation", jsonNumber(summary.standardDeviation)},
                         {"minimum", jsonNumber(summary.minimum)},
                         {"maximum", jsonNumber(summary.maximum)}};
        if (summary.count == 0)
            json["reason"] = "there is no value";
        QJsonObject percentiles;
        const std::vector<double> found = percentilesOf(one);
        for (std::size_t i = 0; i < found.size(); ++i)
            percentiles[kPercentiles[i].name] = jsonNumber(found[i]);
        json["percentiles"] = percentiles;
        if (std::isfinite(one.limits.lower) || std::isfinite(one.limits.upper)) {
            const Capability capable = capability(one.values, one.limits);
            json["limits"] = QJsonArray{jsonNumber(one.limits.lower), jsonNumber(one.limits.upper)};
            json["outside"] = capable.outside;
            json["cp"] = jsonNumber(capable.cp);
            json["cpk"] = jsonNumber(capable.cpk);
            json["pp"] = jsonNumber(capable.pp.value);
            json["ppk"] = jsonNumber(capable.ppk.value);
        }
        array.append(json);
    }
    return array;
}

}  // namespace KvMeasure
