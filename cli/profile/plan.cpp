// plan show, check and schema. check goes through a plan as a measurement does, and says of each step what it
// leaves; only a filter step that cannot be applied ends it.
#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/parameters.h"
#include "cli/profile/options.h"
#include "cli/profile/text_options.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/inspection/expression.h>
#include <kvmeasure/inspection/part_measurement.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/table.h>

namespace KvMeasure {

namespace {

const Usage showUsage{
    "plan show",
    "PLAN",
    "Prints a plan in the words of the command line.",
    {},
    "Each line of the table is one part of the plan. What stands behind \"region\", \"anchor\" "
    "and \"tool\" is what\n"
    "--region, --anchor and --measure of \"kvmeasure measure\" take.\n\n"
    "Examples\n"
    "  kvmeasure plan show plan.json\n"};

const Usage checkUsage = withTextOptions({"plan check",
                                          "PLAN PROFILE",
                                          "Says what each step of a plan does to a profile: points behind "
                                          "each filter step, points of each region, values.",
                                          {},
                                          "Exit code 1: a step cannot be applied, a region has no points, "
                                          "the template is not found, a value cannot be "
                                          "had or is\n"
                                          "out of tolerance.\n\n"
                                          "Examples\n"
                                          "  kvmeasure plan check plan.json part.csv\n"});

const Usage schemaUsage{"plan schema",
                        "",
                        "Prints the JSON schema of plans, for editors and for programs that write plans.",
                        {},
                        "It is installed, too: share/kvmeasure/plan.schema.json. What no schema can say, as "
                        "that a region of a tool is\n"
                        "there, tell \"plan show\" and all commands that read plans.\n\n"
                        "Examples\n"
                        "  kvmeasure plan schema > plan.schema.json\n"};

/// What a plan has beside steps, places and measurements.
void addSettings(const InspectionPlan& plan, QList<QPair<QString, QString>>& parts) {
    if (plan.master)
        parts.append({"master", plan.master->text()});
    for (const ValueName& value : valueNames(plan)) {
        const bool isOfMaster = plan.master && value.name.startsWith(plan.master->name + '.');
        if (isOfMaster && plan.tolerances.contains(value.name))
            parts.append({"limits", value.name + " : " + plan.tolerances[value.name].text()});
    }
    if (plan.hasSearch)
        parts.append({"search", searchWords(plan.search)});
    if (plan.hasTemplate() || plan.fitting.isRaw || !plan.fitting.compensatesEdges)
        parts.append({"lines", QString(plan.fitting.isRaw              ? "raw: as the search leaves them"
                                       : plan.fitting.compensatesEdges ? "fitted anew, free edges compensated"
                                                                       : "fitted anew, edges as seen")});
    if (plan.decision != Decision::Simple)
        parts.append({"decision", decisionWords().value(static_cast<int>(plan.decision))});
    QStringList stated;
    for (auto it = plan.calibration.ofUnit.begin(); it != plan.calibration.ofUnit.end(); ++it)
        stated.append(filledIn("%1 %2", it.value(), it.key()));
    for (auto it = plan.calibration.ofValue.begin(); it != plan.calibration.ofValue.end(); ++it)
        stated.append(filledIn("%1 %2", it.key(), it.value()));
    if (!stated.isEmpty())
        parts.append({"calibration", "u " + stated.join(", ")});
}

/// What the parts of a plan are called, and their words.
QList<QPair<QString, QString>> partsOf(const InspectionPlan& plan) {
    QList<QPair<QString, QString>> parts;
    if (!plan.name.isEmpty())
        parts.append({"name", plan.name});
    for (const FilterStep& step : plan.filter)
        parts.append({"filter", step.text});
    if (plan.hasTemplate())
        parts.append({"template", filledIn("lines %1; %2 constraints", plan.lineNames.join(", "),
                                           static_cast<int>(plan.lines.getAllConstraints().size()))});
    for (const MeasurementStatement& statement : measurementStatements(plan)) {
        QStringList limits;
        for (const QString& value : statement.values) {
            const auto tolerance = plan.tolerances.constFind(value);
            if (tolerance != plan.tolerances.constEnd())
                limits.append((statement.values.size() > 1 ? value + ' ' : QString()) + tolerance->text());
        }
        parts.append(
            {"measurement", statement.text + (limits.isEmpty() ? QString() : " : " + limits.join(", "))});
    }
    for (const Region& region : plan.regions)
        parts.append({"region", region.text()});
    for (const Anchor& anchor : plan.anchors)
        parts.append({"anchor", anchor.text()});
    for (const Tool& tool : plan.tools) {
        QStringList limits;
        for (const ToolValue& value : tool.kind->values) {
            const auto tolerance = plan.tolerances.constFind(tool.valueName(value));
            if (tolerance != plan.tolerances.constEnd())
                limits.append((value.ending + QString(" ") + tolerance->text()).trimmed());
        }
        parts.append({"tool", tool.text() + (limits.isEmpty() ? QString() : " : " + limits.join(", "))});
    }
    addSettings(plan, parts);
    return parts;
}

/// Rows "step, what, result", and whether each could be done.
struct Checked {
    Table table{{"step", "what", "result"}};
    QJsonArray json;
    bool isGood = true;

    void add(const char* step, const QString& what, const QString& result, bool isDone) {
        table.add({step, what, result});
        json.append(QJsonObject{{"step", step}, {"what", what}, {"result", result}, {"good", isDone}});
        isGood = isGood && isDone;
    }
};

/// False where a step cannot be applied.
bool checkFilter(const InspectionPlan& plan, KvMath::KvProfile& profile, Checked& checked) {
    for (int i = 0; i < static_cast<int>(plan.filter.size()); ++i) {
        const auto before = static_cast<int>(profile.points.size());
        try {
            applyStep(plan.filter[i], i + 1, profile);
        } catch (const Error& error) {
            checked.add("filter", plan.filter[i].text, error.text(optionOf), /*isDone=*/false);
            return false;
        }
        checked.add("filter", plan.filter[i].text,
                    filledIn("%1 of %2 points left", static_cast<int>(profile.points.size()), before), true);
    }
    return true;
}

void checkRegions(const InspectionPlan& plan, const KvMath::KvProfile& profile, const MeasuredPart& part,
                  Checked& checked) {
    QList<FoundLine> lines;
    for (int i = 0; i < part.bestIndices.count(); ++i)
        lines.append({plan.lineNames.value(i), assignedLine(part.lines, part.bestIndices, i)});
    ToolInput input(plan.regions, plan.anchors);
    input.load(profile, lines);
    for (const Region& region : plan.regions) {
        const RegionPoints& points = input.region(region.name);
        QString result = points.reason;
        if (!points.isEmpty())
            result = counted(static_cast<qint64>(points.points.size()), "point");
        if (!points.isEmpty() && !region.anchor.isEmpty())
            result += filledIn("; moved by %1 %2 mm, turned by %3 deg",
                               mm(points.found.place.x - points.taught.place.x),
                               mm(points.found.place.y - points.taught.place.y),
                               fixed((points.found.turn - points.taught.turn) * kDegreesPerRadian, 2));
        checked.add("region", region.text(), result, !points.isEmpty());
    }
}

void checkValues(const MeasuredPart& part, Checked& checked) {
    for (const Value& value : part.best.values) {
        QString result = value.isValid ? (mm(value.value) + ' ' + value.unit).trimmed() : value.reason;
        if (value.isValid && value.u >= 0)
            result += ", U " + mm(value.expandedU());
        QStringList rest{result, value.notes()};
        if (value.hasTolerance)
            rest.append(value.verdict() + ": " + value.tolerance.limits());
        rest.removeAll(QString());
        checked.add("value", value.name, rest.join("; "), value.isGood());
    }
}

}  // namespace

int runPlanShow(const QStringList& words) {
    const Arguments arguments(showUsage, words, 1, 1);
    Table table({"part", "words"});
    QJsonArray json;
    for (const auto& [part, text] : partsOf(readPlan(arguments.operand(0)))) {
        table.add({part, text});
        json.append(QJsonObject{{"part", part}, {"words", text}});
    }
    if (arguments.isJson())
        printJson({{"parts", json}});
    else
        print(table.text());
    return Done;
}

int runPlanSchema(const QStringList& words) {
    const Arguments arguments(schemaUsage, words, 0, 0);
    print(QString::fromUtf8(planSchema()));
    return Done;
}

int runPlanCheck(const QStringList& words) {
    const Arguments arguments(checkUsage, words, 2, 2);
    const InspectionPlan plan = readPlan(arguments.operand(0));
    LoadedProfile loaded = loadOnlyProfile(arguments.operand(1), readTextOptions(arguments));
    Checked checked;
    if (checkFilter(plan, loaded.profile, checked)) {
        PartMeasurement measurement(plan);
        const MeasuredPart part = measurement.measurePrepared(loaded.profile);
        if (plan.hasTemplate())
            checked.add("template", plan.lineNames.join(", "),
                        part.isFound() ? QString("found") : part.reason, part.isFound());
        checkRegions(plan, loaded.profile, part, checked);
        checkValues(part, checked);
    }
    if (arguments.isJson())
        printJson({{"file", loaded.name}, {"steps", checked.json}, {"good", checked.isGood}});
    else
        print(checked.table.text());
    return checked.isGood ? Done : NotMet;
}

}  // namespace KvMeasure
