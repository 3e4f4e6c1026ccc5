#include <kvmeasure/report/error_map_report.h>

#include <kvmeasure/base/text.h>
#include <kvmeasure/report/json.h>

#include <cmath>

namespace KvMeasure {

namespace {

QJsonObject statisticsJson(const ErrorStatistics& s) {
    return {{"cells", s.count},      {"mean", s.mean},
            {"rms", s.rms},          {"percentile95", s.percentile95},
            {"worst", s.worst},      {"worstColumn", s.worstColumn},
            {"worstRow", s.worstRow}};
}

QStringList statisticsRow(const QString& name, const ErrorStatistics& s) {
    if (s.count == 0)
        return {name, "0", "-", "-", "-", "-", "-", "-"};
    return {name,
            QString::number(s.count),
            micrometres(s.mean),
            micrometres(s.rms),
            micrometres(s.percentile95),
            micrometres(s.worst),
            QString::number(s.worstColumn),
            QString::number(s.worstRow)};
}

}  // namespace

QString micrometres(double value) {
    constexpr double kMicrometres = 1000;  // per mm
    return fixed(value * kMicrometres, 2);
}

QStringList errorMapHead(const ErrorMap& map) {
    return {map.half == Half::Z ? "Z, um" : "X, um",
            "cells",
            "mean",
            "RMS",
            "95 % within",
            "worst",
            "at column",
            "row"};
}

QList<QStringList> errorMapRows(const ErrorMap& map) {
    static const char* const across[] = {"left", "middle", "right"};
    static const char* const down[] = {"upper", "middle", "lower"};
    QList<QStringList> rows{statisticsRow("all", map.all)};
    for (int i = 0; i < kRegionsAcross * kRegionsAcross; ++i)
        rows.append(statisticsRow(QString("%1 %2").arg(down[i / kRegionsAcross], across[i % kRegionsAcross]),
                                  map.regions[static_cast<std::size_t>(i)]));
    return rows;
}

QJsonObject errorMapJson(const ErrorMap& map) {
    QJsonArray regions;
    for (const ErrorStatistics& region : map.regions)
        regions.append(statisticsJson(region));
    QJsonObject object = statisticsJson(map.all);
    object["regions"] = regions;
    if (map.half == Half::X) {
        object["offset"] = map.offset;
        object["slope"] = map.slope;
    }
    return object;
}

QStringList cellSampleHead() { return {"cell at column", "row", "Z mm", "true", "X mm", "true"}; }

QList<QStringList> cellSampleRows(const QList<CellSample>& samples) {
    constexpr int kPlaces = 3;
    const auto value = [](double of) { return std::isnan(of) ? QString("-") : fixed(of, kPlaces); };
    QList<QStringList> rows;
    rows.reserve(samples.size());
    for (const CellSample& s : samples)
        rows.append({QString::number(s.column), QString::number(s.sensorRow), value(s.z), value(s.trueZ),
                     value(s.x), value(s.trueX)});
    return rows;
}

QJsonArray cellSamplesJson(const QList<CellSample>& samples) {
    QJsonArray array;
    for (const CellSample& s : samples)
        array.append(QJsonObject{{"column", s.column},
                                 {"row", s.sensorRow},
                                 {"z", jsonNumber(s.z)},
                                 {"trueZ", jsonNumber(s.trueZ)},
                                 {"x", jsonNumber(s.x)},
                                 {"trueX", jsonNumber(s.trueX)}});
    return array;
}

}  // namespace KvMeasure
