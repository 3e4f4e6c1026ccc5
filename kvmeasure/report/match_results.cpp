// JSON is read whole by Qt. CSV is told by its heading: values stand between "z_mm" and "verdict", expanded
// uncertainties behind their values. Memory goes with the values that there are, not with names times
// profiles.

#include <kvmeasure/report/match_results.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/profiles/data_table.h>

#include <QtCore/QHash>
#include <QtCore/QJsonDocument>

#include <cmath>

namespace KvMeasure {

namespace {

constexpr qint64 kLargestJson = qint64(256) << 20;  // bytes; Qt holds the document in several times as many

/// The series of a name, made where it is new.
class SeriesByName {
public:
    explicit SeriesByName(MatchResults& results) : results_(results) {}
    ValueSeries& operator[](const QString& name) {
        const auto found = indexOf_.constFind(name);
        if (found != indexOf_.constEnd())
            return results_.series[*found];
        indexOf_.insert(name, static_cast<int>(results_.series.size()));
        ValueSeries series;
        series.name = name;
        results_.series.append(series);
        return results_.series.last();
    }

private:
    MatchResults& results_;
    QHash<QString, int> indexOf_;
};

double limitOf(const QJsonValue& limit, double absent) {
    return limit.isDouble() ? limit.toDouble() : absent;
}

void takeValue(const QJsonObject& value, const QString& profile, const QString& path, SeriesByName& series) {
    const QString name = value["name"].toString();
    if (name.isEmpty())
        throw Error(filledIn("%1: a value of \"%2\" has no name: is this JSON of \"kvmeasure match\"?", path,
                             profile))
            .inFile(path);
    ValueSeries& one = series[name];
    const QString unit = value["unit"].toString();
    const bool isFirst = one.values.empty() && one.missing == 0;
    if (!isFirst && unit != one.unit)
        throw Error(filledIn("%1: \"%2\" has unit \"%3\" in \"%4\", and \"%5\" before", path, name, unit,
                             profile, one.unit))
            .inFile(path);
    one.unit = unit;
    const Limits none;
    const Limits limits{limitOf(value["min"], none.lower), limitOf(value["max"], none.upper)};
    if (isFirst)
        one.limits = limits;
    else if (limits.lower != one.limits.lower || limits.upper != one.limits.upper)
        throw Error(filledIn("%1: \"%2\" has another tolerance in \"%3\" than before", path, name, profile))
            .inFile(path);
    if (!value["value"].isDouble()) {
        ++one.missing;
        return;
    }
    one.values.push_back(value["value"].toDouble());
    one.sources.append(profile);
}

/// Objects whose numbers are values: sections of wheels and rails, wheels of a pass. What no object has a
/// number for is no value.
MatchResults numbersOf(const QJsonArray& objects) {
    MatchResults results;
    SeriesByName series(results);
    for (const QJsonValue& entry : objects) {
        const QJsonObject object = entry.toObject();
        const QString source = object["file"].toString();
        for (auto member = object.begin(); member != object.end(); ++member) {
            if (!member.value().isDouble())
                continue;
            ValueSeries& one = series[member.key()];
            one.values.push_back(member.value().toDouble());
            one.sources.append(source);
        }
    }
    results.profiles = static_cast<int>(objects.size());
    return results;
}

MatchResults profilesOf(const QJsonArray& profiles, const QString& path) {
    MatchResults results;
    SeriesByName series(results);
    for (const QJsonValue& entry : profiles) {
        const QJsonObject profile = entry.toObject();
        const QJsonArray assignments = profile["assignments"].toArray();
        const QJsonArray values = profile.contains("measurements")
                                      ? profile["measurements"].toArray()
                                      : assignments.at(0).toObject()["measurements"].toArray();
        for (const QJsonValue& value : values)
            takeValue(value.toObject(), profile["file"].toString(), path, series);
    }
    results.profiles = static_cast<int>(profiles.size());
    return results;
}

MatchResults readJson(QIODevice& device, const QString& path) {
    const QByteArray bytes = device.read(qMin(device.bytesAvailable(), kLargestJson + 1));
    if (bytes.size() > kLargestJson)
        throw Error(filledIn("%1: is larger than 256 MB; write the results with --csv", path)).inFile(path);
    QJsonParseError fault;
    const QJsonObject document = QJsonDocument::fromJson(bytes, &fault).object();
    if (fault.error != QJsonParseError::NoError)
        throw Error(filledIn("%1: is no JSON: %2", path, fault.errorString())).inFile(path);
    QString key;
    for (const char* name : {"profiles", "sections", "wheels"}) {
        if (key.isEmpty() && document[QLatin1String(name)].isArray())
            key = name;
    }
    if (key.isEmpty())
        throw Error(
            filledIn("%1: has no \"profiles\", \"sections\" or \"wheels\": is this JSON of \"kvmeasure "
                     "match\", \"measure\", \"wheels\" or \"rails\"?",
                     path))
            .inFile(path);
    const QJsonArray array = document[key].toArray();
    MatchResults results = key == "profiles" ? profilesOf(array, path) : numbersOf(array);
    for (ValueSeries& one : results.series)  // a profile in which the template is not found has no values
        one.missing = results.profiles - static_cast<int>(one.values.size());
    return results;
}

/// "depth" and "mm" of "depth_mm", as the report joins them.
void nameOf(const QString& heading, ValueSeries& series) {
    series.name = heading;
    for (const char* unit : {"mm", "um", "deg", "mm2"}) {
        if (heading.endsWith(QString("_") + unit)) {
            series.name.chop(static_cast<int>(qstrlen(unit)) + 1);
            series.unit = unit;
        }
    }
}

MatchResults readCsv(QFile& file, const QString& path) {
    MatchResults results;
    const DataTable table = readDataTable(file, path, [&](const QList<Heading>& headings) {
        TableColumns columns;
        const int count = static_cast<int>(headings.size());
        int verdict = 0;
        while (verdict < count && headings[verdict].text != "verdict")
            ++verdict;
        if (verdict == count || count < 3 || headings[0].text != "profile" || headings[1].text != "z_mm")
            throw Error("is no output of \"kvmeasure match\" or \"measure\" (profile, z_mm, ..., verdict); "
                        "name a column with --column");
        columns.words.append(0);
        const bool hasAssignments = headings[2].text == "assignment";
        if (hasAssignments)
            columns.words.append(2);
        for (int i = hasAssignments ? 3 : 2; i < verdict; ++i) {
            ValueSeries series;
            nameOf(headings[i].text, series);
            if (!results.series.isEmpty() && series.name == results.series.last().name + "_U")
                continue;
            columns.numbers.append(i);
            results.series.append(series);
        }
        return columns;
    });
    const auto isCounted = [&table](std::size_t row) {
        const QString label = table.words.size() > 1 ? table.words[1][static_cast<int>(row)] : QString();
        return label.isEmpty() || label == "best";
    };
    for (std::size_t row = 0; row < table.lines.size(); ++row)
        results.profiles += isCounted(row) ? 1 : 0;
    for (int k = 0; k < static_cast<int>(results.series.size()); ++k) {
        ValueSeries& series = results.series[k];
        for (std::size_t row = 0; row < table.lines.size(); ++row) {
            const double value = table.numbers[static_cast<std::size_t>(k)][row];
            if (!isCounted(row))
                continue;
            if (std::isnan(value)) {
                ++series.missing;
                continue;
            }
            series.values.push_back(value);
            series.lines.push_back(table.lines[row]);
            series.sources.append(table.words[0][static_cast<int>(row)]);
        }
    }
    return results;
}

}  // namespace

const ValueSeries& MatchResults::named(const QString& name) const {
    QStringList names;
    for (const ValueSeries& one : series) {
        if (one.name == name)
            return one;
        names.append(one.name);
    }
    throw Error(filledIn("there is no value \"%1\"; there are %2%3", name, names.join(", "),
                         suggestion(name, names)));
}

bool holdsJson(QFile& file) {
    constexpr qint64 kStart = 64;
    return file.peek(kStart).trimmed().startsWith('{');
}

MatchResults readMatchResults(QFile& file, const QString& path) {
    return holdsJson(file) ? readJson(file, path) : readCsv(file, path);
}

}  // namespace KvMeasure
