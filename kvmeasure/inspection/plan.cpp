// Reads a plan. JSON knows one kind of number, the library's loader wants doubles and whole numbers apart:
// the keys that are known are converted before it sees them. Where it refuses a document it does not say why,
// so that the entry at which it stopped is looked at again. Every fault names the place in the document.
#include <kvmeasure/inspection/plan.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/regular_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/inspection/plan_fault_p.h>
#include <kvmeasure/inspection/plan_reader_p.h>
#include <kvmeasure/inspection/plan_settings_p.h>
#include <kvmeasure/inspection/plan_tools_p.h>

#include <kvmath/tsearch/template_document.h>

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QMetaType>
#include <QtCore/QVariant>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMeasure {

namespace {

/// Results are joined by name, which takes the product of these two. Both hold what a thousand statements of
/// "kvmeasure teach" make.
constexpr int kMostMeasurements = 2000;
constexpr int kMostMeans = 1000;

/// All that a document of kvmeasure may hold beside the keys of tools.
const QStringList documentKeys{"fileVersion",  "userVersion", "name",      "template",
                               "measurements", "search",      "lineNames", "means",
                               "tolerances",   "evaluation",  "ends"};

/// Keys of constraints and measurements whose values are real numbers.
const QStringList realKeys{"lowerBound", "upperBound", "directionAngle",
                           "position",   "directionX", "directionY"};

using Internal::isNumber;
using Internal::kSearchKeys;
using Internal::SearchKey;

/// Checks a document that JSON has delivered and makes its numbers what the library expects.
class DocumentReader : public Internal::PlanReader {
public:
    using PlanReader::PlanReader;

    /// Constraints or measurements with their real numbers as doubles.
    QVariantList withDoubles(const QVariant& value, const QString& where) const {
        QVariantList entries = list(value, where);
        for (int i = 0; i < entries.size(); ++i) {
            const QString place = filledIn("%1[%2]", where, i);
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
            fail(where,
                 filledIn("%1 results are named \"%2\"; give them different names", names.count(name), name));
    }

    bool hasTools(const QVariantMap& document) const;
    void refuseUnknown(const QVariantMap& document) const;
    void readTemplate(QVariantMap document, InspectionPlan& plan) const;
    void readSearch(const QVariantMap& document, InspectionPlan& plan) const;
    void readLineNames(const QVariantMap& document, InspectionPlan& plan) const;
    void readMeans(const QVariantMap& document, InspectionPlan& plan) const;
    Tolerance readTolerance(const QVariantMap& entry, const QString& where) const;
    void readTolerances(const QVariantMap& document, InspectionPlan& plan) const;
    void readEvaluation(const QVariantMap& document, InspectionPlan& plan) const;
    void readEnds(const QVariantMap& document, InspectionPlan& plan) const;
};

bool DocumentReader::hasTools(const QVariantMap& document) const {
    const QStringList keys = Internal::toolKeys() + Internal::settingKeys();
    return std::any_of(keys.begin(), keys.end(), [&](const QString& key) { return document.contains(key); });
}

/// Template documents of other programs may hold keys of their own.
void DocumentReader::refuseUnknown(const QVariantMap& document) const {
    const bool isForeign = document.contains("template") && !hasTools(document) &&
                           document.value("userVersion").toString() != Internal::kOwnVersion;
    if (!isForeign)
        refuseOthers(document, documentKeys + Internal::toolKeys() + Internal::settingKeys(), "plan");
}

/// The library's document.
void DocumentReader::readTemplate(QVariantMap document, InspectionPlan& plan) const {
    QVariantMap lines = map(document.value("template"), "template");
    lines["constraints"] = withDoubles(lines.value("constraints"), "template.constraints");
    const double number = this->number(lines, "numOfLines", "template");
    if (!(number >= 0 && number <= kMostTemplateLines) || number != std::floor(number))
        fail("template",
             QString("\"numOfLines\" must be a whole number from 0 to %1").arg(kMostTemplateLines));
    lines["numOfLines"] = static_cast<int>(number);
    document["template"] = lines;
    const QVariantList measurements = withDoubles(document.value("measurements"), "measurements");
    document["measurements"] = measurements;

    QString fileVersion;
    QString userVersion;
    if (!KvMath::loadTemplate(document, plan.lines, plan.measurements, fileVersion, userVersion, plan.name)) {
        const int got = static_cast<int>(plan.lines.getAllConstraints().size());
        const QVariantList constraints = lines["constraints"].toList();
        if (got < constraints.size())
            fail(filledIn("template.constraints[%1]", got),
                 Internal::constraintFault(constraints[got].toMap(), lines["numOfLines"].toInt()));
        const auto taken = static_cast<int>(plan.measurements.getAllMeasurements().size());
        fail(filledIn("measurements[%1]", taken),
             Internal::measurementFault(measurements.value(taken).toMap()));
    }
    for (int i = 0; i < measurements.size(); ++i) {
        const QString foreign =
            Internal::foreignLine(measurements[i].toMap(), plan.lines.getTemplateLinesNumber());
        if (!foreign.isEmpty())
            fail(filledIn("measurements[%1]", i), foreign);
    }
    if (plan.measurements.getAllMeasurements().size() > kMostMeasurements)
        fail("measurements", QString("more than %1").arg(kMostMeasurements));
}

void DocumentReader::readSearch(const QVariantMap& document, InspectionPlan& plan) const {
    plan.hasSearch = document.contains("search");
    if (!plan.hasSearch)
        return;
    const QVariantMap search = map(document["search"], "search");
    QStringList known{"refineIterations", "allowReversed"};
    for (const SearchKey& entry : kSearchKeys) {
        known.append(entry.key);
        plan.search.*entry.field = number(search, entry.key, "search");
        if (!(plan.search.*entry.field >= 0))
            fail("search", QString("\"%1\" must not be negative").arg(entry.key));
    }
    refuseOthers(search, known, "search");
    constexpr double kMostPasses = 1000;
    const double passes = number(search, "refineIterations", "search");
    if (!(passes >= 0 && passes <= kMostPasses) || passes != std::floor(passes))
        fail("search", QString("\"refineIterations\" must be a whole number from 0 to %1").arg(kMostPasses));
    plan.search.refineIterations = static_cast<int>(passes);
    if (search.value("allowReversed").userType() != QMetaType::Bool)
        fail("search", "expected true or false under \"allowReversed\"");
    plan.search.allowReversed = search["allowReversed"].toBool();
}

/// Names of template lines; a line without one, or with an empty one, has its number.
void DocumentReader::readLineNames(const QVariantMap& document, InspectionPlan& plan) const {
    const int lines = plan.lines.getTemplateLinesNumber();
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
        if (plan.lineNames.contains(name))
            fail(where, filledIn("\"%1\" is line %2 already", name, plan.lineNames.indexOf(name)));
        plan.lineNames.append(name);
    }
}

void DocumentReader::readMeans(const QVariantMap& document, InspectionPlan& plan) const {
    if (!document.contains("means"))
        return;
    const QVariantList means = list(document["means"], "means");
    if (means.size() > kMostMeans)
        fail("means", QString("more than %1").arg(kMostMeans));
    QStringList known;
    for (const ValueName& value : valueNames(plan))
        known.append(value.name);
    QStringList names = known;
    for (const QVariant& entry : means) {
        const QVariantMap read = map(entry, "means");
        refuseOthers(read, {"name", "first", "second"}, "means");
        const Mean mean{read["name"].toString(), read["first"].toString(), read["second"].toString()};
        for (const QString& part : {mean.first, mean.second}) {
            if (!known.contains(part))
                fail("means", QString("\"%1\" is the mean of \"%2\", which no measurement has as a result")
                                  .arg(mean.name, part));
            requireOne(known, part, "means");
        }
        names.append(mean.name);
        requireOne(names, mean.name, "means");
        plan.means.append(mean);
    }
}

/// Deviations from a nominal value, or one limit or two.
Tolerance DocumentReader::readTolerance(const QVariantMap& entry, const QString& where) const {
    constexpr double kNoLimit = std::numeric_limits<double>::infinity();
    refuseOthers(entry, {"nominal", "lower", "upper", "min", "max"}, where);
    if (!entry.contains("min") && !entry.contains("max")) {
        const Tolerance tolerance{number(entry, "nominal", where), number(entry, "lower", where),
                                  number(entry, "upper", where)};
        if (tolerance.lower > tolerance.upper)
            fail(where, "\"lower\" is greater than \"upper\"; both are deviations from the nominal value");
        return tolerance;
    }
    for (const char* key : {"nominal", "lower", "upper"}) {
        if (entry.contains(key))
            fail(where,
                 QString("\"%1\" stands beside a limit, \"min\" or \"max\"; keep one of them").arg(key));
    }
    const Tolerance limits{0, entry.contains("min") ? number(entry, "min", where) : -kNoLimit,
                           entry.contains("max") ? number(entry, "max", where) : kNoLimit,
                           /*hasNominal=*/false};
    if (limits.lower > limits.upper)
        fail(where, "\"min\" is greater than \"max\"");
    return limits;
}

void DocumentReader::readTolerances(const QVariantMap& document, InspectionPlan& plan) const {
    if (!document.contains("tolerances"))
        return;
    QStringList known;
    for (const ValueName& value : valueNames(plan))
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
        plan.tolerances[it.key()] = readTolerance(entry, where);
    }
}

/// Which lines are measured; absent in templates of others.
void DocumentReader::readEvaluation(const QVariantMap& document, InspectionPlan& plan) const {
    if (!document.contains("evaluation"))
        return;
    const QVariantMap evaluation = map(document["evaluation"], "evaluation");
    const QStringList known{"raw", "edgeCompensation"};
    for (auto it = evaluation.begin(); it != evaluation.end(); ++it) {
        if (!known.contains(it.key()))
            fail("evaluation", filledIn("unknown key \"%1\"%2", it.key(), suggestion(it.key(), known)));
        if (it.value().userType() != QMetaType::Bool)
            fail("evaluation", filledIn("expected true or false under \"%1\"", it.key()));
    }
    plan.fitting.isRaw = evaluation.value("raw", plan.fitting.isRaw).toBool();
    plan.fitting.compensatesEdges =
        evaluation.value("edgeCompensation", plan.fitting.compensatesEdges).toBool();
}

void DocumentReader::readEnds(const QVariantMap& document, InspectionPlan& plan) const {
    if (!document.contains("ends"))
        return;
    QStringList known{"free", "straight", "bend"};
    for (const QString& name : plan.lineNames)
        known << name + ".start" << name + ".end";
    const QVariantList lines = list(document["ends"], "ends");
    if (lines.size() != plan.lineNames.size())
        fail("ends", filledIn("expected %1 pairs, one per template line", plan.lineNames.size()));
    for (int i = 0; i < lines.size(); ++i) {
        const QString where = filledIn("ends[%1]", i);
        const QStringList pair = lines[i].toStringList();
        if (pair.size() != 2 || !known.contains(pair[0]) || !known.contains(pair[1]))
            fail(where, "expected two of \"free\", \"straight\", \"bend\" and ends of template lines such as "
                        "\"" +
                            plan.lineNames[i] + ".end\"");
        plan.ends.append(pair);
    }
}

QByteArray readBounded(const QString& path) {
    constexpr qint64 kLargest = 4 << 20;
    QFile file(path);
    openRegularFile(file);
    if (file.size() > kLargest)
        throw Error(filledIn("%1: has %2 bytes; a template has at most %3", path, file.size(), kLargest))
            .inFile(path);
    return file.read(qMin(file.size(), kLargest));  // no room for more than there is
}

QVariantMap parseJson(const QString& path, const QByteArray& text) {
    QJsonParseError error{};
    const QJsonDocument json = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError) {
        const QByteArray before = text.left(error.offset);
        throw Error(filledIn("%1: line %2, column %3: %4; expected a template in JSON", path,
                             before.count('\n') + 1, before.size() - before.lastIndexOf('\n'),
                             error.errorString()))
            .inFile(path)
            .atLine(before.count('\n') + 1);
    }
    if (!json.isObject())
        throw Error(QString("%1: expected a JSON object { ... } as written by \"kvmeasure teach\"").arg(path))
            .inFile(path);
    return json.toVariant().toMap();
}

}  // namespace

InspectionPlan readPlan(const QString& path) {
    const QVariantMap document = parseJson(path, readBounded(path));
    const DocumentReader reader(path);
    reader.refuseUnknown(document);
    InspectionPlan plan;
    if (document.contains("template") || !reader.hasTools(document))
        reader.readTemplate(document, plan);
    else if (document.contains("measurements"))
        reader.fail("measurements", "these measure lines of a template, and there is no \"template\"");
    else if (document.contains("name"))
        plan.name = reader.text(document, "name", "name");
    reader.readSearch(document, plan);
    reader.readLineNames(document, plan);
    reader.readMeans(document, plan);
    Internal::readMasterAndDecision(reader, document, plan);
    Internal::readTools(reader, document, plan);
    reader.readTolerances(document, plan);
    Internal::readStatedUncertainty(reader, document, plan);
    reader.readEvaluation(document, plan);
    reader.readEnds(document, plan);
    return plan;
}

}  // namespace KvMeasure
