#include "kvmeasure/template_file.h"

#include "kvmeasure/arguments.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/profile_file.h"

#include <kvmath/tsearch/template_document.h>

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QMetaType>
#include <QtCore/QSet>
#include <QtCore/QVariant>

#include <cmath>

namespace KvMeasure {

namespace {

/// One search parameter under the key "search".
struct SearchKey {
    const char* key;
    double KvMath::TSFindTemplateParams::*field;
};

constexpr SearchKey searchKeys[] = {
    {"contourGap", &KvMath::TSFindTemplateParams::contourGap},
    {"splitTolerance", &KvMath::TSFindTemplateParams::splitTolerance},
    {"minLineLength", &KvMath::TSFindTemplateParams::minLineLength},
    {"cornerTolerance", &KvMath::TSFindTemplateParams::cornerTolerance},
};

/// Results are joined by name, which takes the product of these two. Both hold what a thousand statements of
/// "kvmeasure teach" make.
constexpr int mostMeasurements = 2000;
constexpr int mostMeans = 1000;

/// Keys of constraints and measurements whose values are real numbers.
const QStringList realKeys{"lowerBound", "upperBound", "directionAngle",
                           "position",   "directionX", "directionY"};

bool isNumber(const QVariant& value) {
    return value.userType() == QMetaType::Double || value.userType() == QMetaType::LongLong ||
           value.userType() == QMetaType::ULongLong || value.userType() == QMetaType::Int;
}

/// Checks a document that JSON has delivered and makes its numbers what the library expects.
class DocumentReader {
public:
    explicit DocumentReader(const QString& path) : path_(path) {}

    [[noreturn]] void fail(const QString& where, const QString& text) const {
        throw Failure{QString("%1: %2: %3").arg(path_, where, text)};
    }

    double number(const QVariantMap& map, const QString& key, const QString& where) const {
        const QVariant value = map.value(key);
        if (!isNumber(value))
            fail(where, QString("expected a number under \"%1\"").arg(key));
        return value.toDouble();
    }

    QVariantMap map(const QVariant& value, const QString& where) const {
        if (value.userType() != QMetaType::QVariantMap)
            fail(where, "expected an object { ... }");
        return value.toMap();
    }

    QVariantList list(const QVariant& value, const QString& where) const {
        if (value.userType() != QMetaType::QVariantList)
            fail(where, "expected a list [ ... ]");
        return value.toList();
    }

    /// Constraints or measurements with their real numbers as doubles.
    QVariantList withDoubles(const QVariant& value, const QString& where) const {
        QVariantList entries = list(value, where);
        for (int i = 0; i < entries.size(); ++i) {
            const QString place = QString("%1[%2]").arg(where).arg(i);
            QVariantMap entry = map(entries[i], place);
            for (const QString& key : realKeys) {
                if (!entry.contains(key) || entry[key].toString() == "undefined")
                    continue;
                entry[key] = number(entry, key, place);
            }
            entries[i] = entry;
        }
        return entries;
    }

    /// A tolerance or a mean must mean one value. Documents of other programs may have equal names otherwise.
    void requireOne(const QStringList& names, const QString& name, const QString& where) const {
        if (names.count(name) > 1)
            fail(where, QString("%1 results are named \"%2\"; give them different names")
                            .arg(names.count(name))
                            .arg(name));
    }

    void readSearch(const QVariantMap& document, TemplateFile& file) const;
    void readLineNames(const QVariantMap& document, TemplateFile& file) const;
    void readMeans(const QVariantMap& document, TemplateFile& file) const;
    void readTolerances(const QVariantMap& document, TemplateFile& file) const;

private:
    QString path_;
};

void DocumentReader::readSearch(const QVariantMap& document, TemplateFile& file) const {
    file.hasSearch = document.contains("search");
    if (!file.hasSearch)
        return;
    const QVariantMap search = map(document["search"], "search");
    QStringList known{"refineIterations", "allowReversed"};
    for (const SearchKey& entry : searchKeys) {
        known.append(entry.key);
        file.search.*entry.field = number(search, entry.key, "search");
        if (!(file.search.*entry.field >= 0))
            fail("search", QString("\"%1\" must not be negative").arg(entry.key));
    }
    for (const QString& key : search.keys()) {
        if (!known.contains(key))
            fail("search", QString("unknown key \"%1\"%2").arg(key, suggestion(key, known)));
    }
    constexpr double mostPasses = 1000;
    const double passes = number(search, "refineIterations", "search");
    if (!(passes >= 0 && passes <= mostPasses) || passes != std::floor(passes))
        fail("search", QString("\"refineIterations\" must be a whole number from 0 to %1").arg(mostPasses));
    file.search.refineIterations = static_cast<int>(passes);
    if (search.value("allowReversed").userType() != QMetaType::Bool)
        fail("search", "expected true or false under \"allowReversed\"");
    file.search.allowReversed = search["allowReversed"].toBool();
}

/// Names of template lines; a line without one, or with an empty one, has its number.
void DocumentReader::readLineNames(const QVariantMap& document, TemplateFile& file) const {
    const int lines = file.lines.getTemplateLinesNumber();
    const bool hasNames = document.contains("lineNames");
    const QVariantList names = hasNames ? list(document["lineNames"], "lineNames") : QVariantList();
    if (hasNames && names.size() != lines)
        fail("lineNames", QString("expected %1 names, one per template line").arg(lines));
    for (int i = 0; i < lines; ++i) {
        const QVariant given = names.value(i);
        const QString name = given.toString().isEmpty() ? QString::number(i) : given.toString();
        const QString where = QString("lineNames[%1]").arg(i);
        if (hasNames && given.userType() != QMetaType::QString && !isNumber(given))
            fail(where, "expected a text");
        if (file.lineNames.contains(name))
            fail(where, QString("\"%1\" is line %2 already").arg(name).arg(file.lineNames.indexOf(name)));
        file.lineNames.append(name);
    }
}

void DocumentReader::readMeans(const QVariantMap& document, TemplateFile& file) const {
    if (!document.contains("means"))
        return;
    const QVariantList means = list(document["means"], "means");
    if (means.size() > mostMeans)
        fail("means", QString("more than %1").arg(mostMeans));
    QStringList known;
    for (const ValueName& value : valueNames(file))
        known.append(value.name);
    QStringList names = known;
    for (const QVariant& entry : means) {
        const QVariantMap read = map(entry, "means");
        const Mean mean{read["name"].toString(), read["first"].toString(), read["second"].toString()};
        for (const QString& part : {mean.first, mean.second}) {
            if (!known.contains(part))
                fail("means", QString("\"%1\" is the mean of \"%2\", which no measurement has as a result")
                                  .arg(mean.name, part));
            requireOne(known, part, "means");
        }
        names.append(mean.name);
        requireOne(names, mean.name, "means");
        file.means.append(mean);
    }
}

void DocumentReader::readTolerances(const QVariantMap& document, TemplateFile& file) const {
    if (!document.contains("tolerances"))
        return;
    QStringList known;
    for (const ValueName& value : valueNames(file))
        known.append(value.name);
    const QVariantMap tolerances = map(document["tolerances"], "tolerances");
    for (auto it = tolerances.begin(); it != tolerances.end(); ++it) {
        const QString where = QString("tolerances: \"%1\"").arg(it.key());
        if (!known.contains(it.key()))
            fail(where,
                 QString("no measurement has a result of this name; known: %1%2")
                     .arg(known.isEmpty() ? QString("none") : known.join(", "), suggestion(it.key(), known)));
        requireOne(known, it.key(), where);
        const QVariantMap entry = map(it.value(), where);
        const Tolerance tolerance{number(entry, "nominal", where), number(entry, "lower", where),
                                  number(entry, "upper", where)};
        if (tolerance.lower > tolerance.upper)
            fail(where, "\"lower\" is greater than \"upper\"; both are deviations from the nominal value");
        file.tolerances[it.key()] = tolerance;
    }
}

QByteArray readBounded(const QString& path) {
    constexpr qint64 largest = 4 << 20;
    QFile file(path);
    openRegularFile(file);
    if (file.size() > largest)
        throw Failure{
            QString("%1: has %2 bytes; a template has at most %3").arg(path).arg(file.size()).arg(largest)};
    return file.read(largest);
}

QVariantMap parseJson(const QString& path, const QByteArray& text) {
    QJsonParseError error{};
    const QJsonDocument json = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError) {
        const QByteArray before = text.left(error.offset);
        throw Failure{QString("%1: line %2, column %3: %4; expected a template in JSON")
                          .arg(path)
                          .arg(before.count('\n') + 1)
                          .arg(before.size() - before.lastIndexOf('\n'))
                          .arg(error.errorString())};
    }
    if (!json.isObject())
        throw Failure{
            QString("%1: expected a JSON object { ... } as written by \"kvmeasure teach\"").arg(path)};
    return json.toVariant().toMap();
}

}  // namespace

QList<ValueName> valueNames(KvMath::TSMeasurement& measurement) {
    QVariantMap stored;
    measurement.save(stored);
    QList<ValueName> names;
    const auto add = [&](const char* key, const QStringList& endings, const QString& unit) {
        for (const QVariant& info : stored[key].toList()) {
            for (const QString& ending : endings) {
                if (info.toMap()["isActive"].toBool())
                    names.append({info.toMap()["name"].toString() + ending, unit});
            }
        }
    };
    add("pointsInfos", {".x", ".y"}, "mm");
    add("linesInfos", {""}, "mm");
    add("anglesInfos", {""}, "deg");
    return names;
}

QList<ValueName> valueNames(const TemplateFile& file) {
    QList<ValueName> names;
    for (KvMath::TSMeasurement* measurement : file.measurements.getAllMeasurements())
        names += valueNames(*measurement);
    QSet<QString> parts;
    for (const Mean& mean : file.means) {
        names.append({mean.name, "mm"});
        parts << mean.first << mean.second;
    }
    QList<ValueName> shown;
    for (const ValueName& value : names) {
        if (!parts.contains(value.name))
            shown.append(value);
    }
    return shown;
}

TemplateFile readTemplateFile(const QString& path) {
    QVariantMap document = parseJson(path, readBounded(path));
    const DocumentReader reader(path);
    QVariantMap lines = reader.map(document.value("template"), "template");
    lines["constraints"] = reader.withDoubles(lines.value("constraints"), "template.constraints");
    const double number = reader.number(lines, "numOfLines", "template");
    if (!(number >= 0 && number <= mostTemplateLines) || number != std::floor(number))
        reader.fail("template",
                    QString("\"numOfLines\" must be a whole number from 0 to %1").arg(mostTemplateLines));
    lines["numOfLines"] = static_cast<int>(number);
    document["template"] = lines;
    document["measurements"] = reader.withDoubles(document.value("measurements"), "measurements");

    TemplateFile file;
    QString fileVersion;
    QString userVersion;
    if (!KvMath::loadTemplate(document, file.lines, file.measurements, fileVersion, userVersion, file.name)) {
        const int got = static_cast<int>(file.lines.getAllConstraints().size());
        const int wanted = static_cast<int>(lines["constraints"].toList().size());
        if (got < wanted)
            reader.fail(
                QString("template.constraints[%1]").arg(got),
                "has an unknown \"constraintType\", lacks a key, or names a line outside the template");
        reader.fail(QString("measurements[%1]").arg(file.measurements.getAllMeasurements().size()),
                    "has an unknown \"measurementType\" or lacks a key");
    }
    if (file.measurements.getAllMeasurements().size() > mostMeasurements)
        reader.fail("measurements", QString("more than %1").arg(mostMeasurements));
    reader.readSearch(document, file);
    reader.readLineNames(document, file);
    reader.readMeans(document, file);
    reader.readTolerances(document, file);
    return file;
}

QByteArray templateFileText(const TemplateFile& file) {
    QVariant document;
    if (!KvMath::saveTemplate(document, file.lines, file.measurements, "1.0", "kvmeasure", file.name))
        throw Failure{"the template cannot be saved"};
    QVariantMap search{{"refineIterations", file.search.refineIterations},
                       {"allowReversed", file.search.allowReversed}};
    for (const SearchKey& entry : searchKeys)
        search[entry.key] = file.search.*entry.field;
    QVariantList means;
    for (const Mean& mean : file.means)
        means.append(QVariantMap{{"name", mean.name}, {"first", mean.first}, {"second", mean.second}});
    QVariantMap tolerances;
    for (auto it = file.tolerances.begin(); it != file.tolerances.end(); ++it)
        tolerances[it.key()] =
            QVariantMap{{"nominal", it->nominal}, {"lower", it->lower}, {"upper", it->upper}};
    QVariantMap map = document.toMap();
    map["search"] = search;
    map["lineNames"] = file.lineNames;
    map["means"] = means;
    map["tolerances"] = tolerances;
    return QJsonDocument::fromVariant(map).toJson();
}

}  // namespace KvMeasure
