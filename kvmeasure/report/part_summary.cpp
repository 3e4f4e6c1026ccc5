// The last line of a part says what is in it: command, version, plan, values with limits, the digest of its
// list, counts. Opening a part reads its first and its last line, whatever its size. A size that does not
// agree with the counts shows that rows were changed.
#include <kvmeasure/report/part_summary.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/report/json.h>

#include <QtCore/QJsonDocument>

#include <cmath>

namespace KvMeasure {

namespace {

const char* const kMark = "# part ";

QJsonObject jsonOf(const PartValue& value) {
    QJsonObject json{{"name", value.name}, {"unit", value.unit}, {"column", value.column}};
    if (std::isfinite(value.limits.lower) || std::isfinite(value.limits.upper))
        json["limits"] = QJsonArray{jsonNumber(value.limits.lower), jsonNumber(value.limits.upper)};
    return json;
}

PartValue valueOf(const QJsonObject& json) {
    PartValue value;
    value.name = json["name"].toString();
    value.unit = json["unit"].toString();
    value.column = json["column"].toInt();
    const QJsonArray limits = json["limits"].toArray();
    value.limits.lower = limits.at(0).toDouble(value.limits.lower);
    value.limits.upper = limits.at(1).toDouble(value.limits.upper);
    return value;
}

/// A whole number of at least 0; -1 for anything else.
qint64 countOf(const QJsonValue& json) {
    constexpr double kMost = 9e15;  // all whole numbers below are exact
    const double value = json.toDouble(-1);
    return value >= 0 && value <= kMost && value == std::floor(value) ? static_cast<qint64>(value) : -1;
}

bool readTotals(const QJsonObject& json, PartTotals& totals) {
    const struct {
        const char* key;
        qint64& value;
    } counts[] = {{"files", totals.files},
                  {"rows", totals.rows},
                  {"missed", totals.missed},
                  {"failed", totals.failed},
                  {"bytes", totals.bytes}};
    for (const auto& count : counts) {
        count.value = countOf(json[count.key]);
        if (count.value < 0)
            return false;
    }
    return true;
}

bool readSummary(const QByteArray& line, PartSummary& summary) {
    if (!line.startsWith(kMark) || !line.endsWith('\n'))
        return false;
    const QJsonObject json = QJsonDocument::fromJson(line.mid(static_cast<int>(qstrlen(kMark)))).object();
    summary.head.command = json["command"].toString();
    summary.head.version = json["version"].toString();
    summary.head.plan = json["plan"].toString().toUtf8();
    const QJsonArray values = json["values"].toArray();
    for (const QJsonValue& value : values)
        summary.head.values.append(valueOf(value.toObject()));
    return readTotals(json, summary.totals) &&
           summary.list.read(json["list"].toString().toUtf8(), summary.totals.files);
}

/// The last line, of at most a megabyte.
QByteArray lastLine(QFile& file) {
    constexpr qint64 kLongest = 1 << 20;
    file.seek(qMax(qint64(0), file.size() - kLongest));
    const QByteArray end = file.read(kLongest);
    const int before = end.size() < 2 ? -1 : static_cast<int>(end.lastIndexOf('\n', end.size() - 2));
    return end.mid(before + 1);
}

}  // namespace

QString PartHead::difference(const PartHead& other) const {
    if (command != other.command)
        return filledIn("another command (\"%1\")", other.command);
    if (columns != other.columns)
        return "other columns";
    if (plan != other.plan)
        return "another plan or other options";
    return version == other.version ? QString() : filledIn("another version (%1)", other.version);
}

void PartTotals::add(const PartTotals& other) {
    files += other.files;
    rows += other.rows;
    missed += other.missed;
    failed += other.failed;
    bytes += other.bytes;
}

QByteArray PartSummary::line() const {
    QJsonArray values;
    for (const PartValue& value : head.values)
        values.append(jsonOf(value));
    const QJsonObject json{{"command", head.command},
                           {"version", head.version},
                           {"plan", QString::fromLatin1(head.plan)},
                           {"values", values},
                           {"list", QString::fromLatin1(list.text())},
                           {"files", static_cast<double>(totals.files)},
                           {"rows", static_cast<double>(totals.rows)},
                           {"missed", static_cast<double>(totals.missed)},
                           {"failed", static_cast<double>(totals.failed)},
                           {"bytes", static_cast<double>(totals.bytes)}};
    return kMark + QJsonDocument(json).toJson(QJsonDocument::Compact) + '\n';
}

PartSummary readPartSummary(QFile& file, const QString& path) {
    constexpr qint64 kLongest = 1 << 20;
    PartSummary summary;
    const QByteArray last = lastLine(file);
    const qint64 size = file.size();
    file.seek(0);
    summary.head.columns = file.readLine(kLongest);
    const bool isPart = readSummary(last, summary);
    if (!isPart || summary.head.columns.size() + summary.totals.bytes + last.size() != size)
        throw Error(filledIn("%1: is no complete part: \"kvmeasure match --files-from\" and the like write "
                             "these, with a last line \"# part ...\"%2",
                             path, isPart ? "; its rows were changed" : ""))
            .inFile(path);
    return summary;
}

}  // namespace KvMeasure
