// Statements of "measure" are split at semicolons; the first word of each chooses the kind, which reads the
// rest. The plan grows statement by statement; each claims the names of its results, so that none occurs
// twice. Nominal values that are to be taught are settled when the values are known.
#include <kvmeasure/inspection/expression.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/inspection/measurement_kind_p.h>
#include <kvmeasure/inspection/result_order_p.h>
#include <kvmeasure/inspection/statement_p.h>
#include <kvmeasure/inspection/template_kind_p.h>
#include <kvmeasure/inspection/tolerance.h>

namespace KvMeasure {

using namespace Internal;

namespace {

QStringList namesOfRegions(const InspectionPlan& plan) {
    QStringList names;
    for (const Region& region : plan.regions)
        names.append(region.name);
    return names;
}

/// Where a word is a kind of both, the first name behind it decides: a region is meant before a line.
bool meansRegions(const Statement& statement, const KindsOfWord& kinds, const QString& word) {
    if (kinds.tool == nullptr || kinds.ofLines == nullptr)
        return kinds.tool != nullptr;
    const InspectionPlan& plan = statement.plan();
    const QStringList regions = namesOfRegions(plan);
    if (regions.isEmpty() || plan.lineNames.isEmpty())
        return plan.lineNames.isEmpty();
    const QString first = statement.next();
    if (!regions.contains(first) && !statement.isLine(first))
        statement.fail(filledIn("\"%1\" behind \"%2\" is neither a region (%3) nor a template line (%4)%5",
                                first, word, regions.join(", "), plan.lineNames.join(", "),
                                suggestion(first, regions + plan.lineNames)));
    return regions.contains(first);
}

/// Adds a tool, and its tolerances.
void readTool(const QString& text, Statement& statement, QMap<QString, WrittenTolerance>& tolerances) {
    const WrittenTool written = parseTool(text);
    QList<ValueName> results;
    for (const ToolValue& value : written.tool.kind->values)
        results.append({written.tool.valueName(value), value.unit});
    statement.claim(results);
    statement.plan().tools.append(written.tool);
    for (const auto& [name, tolerance] : written.tolerances)
        tolerances[name] = tolerance;
}

/// Adds what the statement asks for, and its tolerance.
void read(const QString& text, Statement& statement, QMap<QString, WrittenTolerance>& tolerances) {
    const QString word = statement.take("a kind of measurement");
    const KindsOfWord kinds = kindsOf(word);
    if (kinds.ofLines == nullptr && kinds.tool == nullptr)
        statement.fail(filledIn("\"%1\" is no kind of measurement; expected %2%3", word,
                                kindWords().join(", "), suggestion(word, kindWords(), otherKindWords())));
    if (meansRegions(statement, kinds, word))
        return readTool(text, statement, tolerances);
    if (statement.plan().lineNames.isEmpty())
        statement.fail(filledIn("\"%1\" measures lines of a template, and there is none", word));
    kinds.ofLines->read(statement);
    if (!statement.atEnd())
        statement.fail(QString("unexpected \"%1\"").arg(statement.take("the end")));
    if (!statement.hasTolerance())
        return;
    WrittenTolerance written;
    QString problem = kinds.ofLines->whyNoTolerance();
    if (problem.isEmpty())
        problem = parseTolerance(statement.tolerance(), written);
    if (!problem.isEmpty())
        statement.fail(problem);
    tolerances[statement.name()] = written;
}

/// The names of all results of a plan, parts of means among them.
QSet<QString> resultsOf(const InspectionPlan& plan) {
    QSet<QString> names;
    for (const ValueName& value : valueNames(plan))
        names.insert(value.name);
    for (const Mean& mean : plan.means) {
        names.insert(mean.first);
        names.insert(mean.second);
    }
    return names;
}

/// The usage and, in a column beside it, the help; below it where the usage is too wide.
QString helpLines(const MeasurementKind& kind) {
    constexpr int kColumn = 30;
    QString text = "  " + kind.usage();
    text = text.size() < kColumn ? text.leftJustified(kColumn) : text + '\n' + QString(kColumn, ' ');
    return text + kind.help().replace('\n', '\n' + QString(kColumn, ' ')) + '\n';
}

}  // namespace

QMap<QString, WrittenTolerance> addMeasurements(const QString& text, InspectionPlan& plan) {
    constexpr int kMostStatements = 1000;
    QMap<QString, WrittenTolerance> tolerances;
    QSet<QString> taken = resultsOf(plan);
    QString statements = text;
    const QStringList parts = statements.replace('\n', ';').split(';');
    if (parts.size() > kMostStatements)
        throw Error(QString("\1measure\2 has more than %1 statements").arg(kMostStatements));
    for (const QString& part : parts) {
        if (part.trimmed().isEmpty())
            continue;
        Statement statement(part, plan, taken);
        read(part, statement, tolerances);
    }
    return tolerances;
}

void settleTolerances(const QMap<QString, WrittenTolerance>& written, const QList<Value>& taught,
                      InspectionPlan& plan) {
    QMap<QString, Tolerance> settled = plan.tolerances;
    for (auto it = written.begin(); it != written.end(); ++it) {
        Tolerance tolerance = it->tolerance;
        bool isKnown = !it->takesTaughtNominal;
        for (const Value& value : taught) {
            if (isKnown || value.name != it.key() || !value.isValid)
                continue;
            tolerance.nominal = value.value;
            isKnown = true;
        }
        if (!isKnown)
            throw Error(
                filledIn("\1measure\2: there is no taught value of \"%1\" to be the nominal value; give "
                         "one before the deviations",
                         withoutMarks(it.key())));
        settled[it.key()] = tolerance;
    }
    plan.tolerances = settled;
}

namespace {

KvMath::TSMeasurement* measurementOf(const InspectionPlan& plan, const QString& value) {
    for (KvMath::TSMeasurement* measurement : plan.measurements.getAllMeasurements()) {
        for (const ValueName& name : valueNames(*measurement)) {
            if (name.name == value)
                return measurement;
        }
    }
    return nullptr;
}

/// Of a mean whose first value this measurement delivers.
MeasurementStatement statementOf(const InspectionPlan& plan, const Mean& mean, KvMath::TSMeasurement& first) {
    int from = 0;
    int to = 0;
    KvMath::TSMeasurement* const second = measurementOf(plan, mean.second);
    const LineNames lines(plan.lineNames);
    if (second == nullptr || !areShiftsOfDistance(first, *second, from, to))
        return {filledIn("%1 = mean of %2 and %3", mean.name, mean.first, mean.second), {mean.name}};
    return {filledIn("%1 = distance %2 %3", mean.name, lines(from), lines(to)), {mean.name}};
}

/// Points deliver their name with endings, ends of far lines their name with words.
QString commonName(const QList<ValueName>& values) {
    QString name;
    for (const ValueName& value : values) {
        if (name.isEmpty() || value.name.size() < name.size())
            name = value.name;
    }
    return name.endsWith(".x") && values.size() > 1 ? name.chopped(2) : name;
}

}  // namespace

QList<MeasurementStatement> measurementStatements(const InspectionPlan& plan) {
    QList<MeasurementStatement> statements;
    for (KvMath::TSMeasurement* measurement : plan.measurements.getAllMeasurements()) {
        const QList<ValueName> values = valueNames(*measurement);
        QStringList names;
        for (const ValueName& value : values) {
            for (const Mean& mean : plan.means) {
                if (mean.first == value.name)
                    statements.append(statementOf(plan, mean, *measurement));
            }
            if (!isPartOfMean(plan, value.name))
                names.append(value.name);
        }
        if (names.isEmpty() && !values.isEmpty())
            continue;
        const TemplateKind& kind = templateKind(*measurement);
        const QString words =
            (kind.word() + ' ' + kind.parameters(*measurement, LineNames(plan.lineNames))).trimmed();
        const QString name = commonName(values);
        statements.append({name.isEmpty() ? words : name + " = " + words, names});
    }
    return statements;
}

QString measureHelp() {
    QString text = "Measurements: [NAME =] KIND ... [: TOLERANCE], separated by semicolons\n"
                   "Of lines of a template\n"
                   "  LINE is a template line: its name, or its number from 0 in the order of \1lines\2.\n"
                   "  PLACE is an end of a line: LINE.start or LINE.end.\n";
    for (const MeasurementKind* kind : measurementKinds())
        text += helpLines(*kind);
    text += "Of regions (NAME = is needed; a word of both means regions where the name behind it is one)\n";
    return text + toolHelp() + toleranceHelp() +
           "  Where a kind has several values the tolerance names one: \": width 5 +- 0.1, height max 3\".\n";
}

}  // namespace KvMeasure
