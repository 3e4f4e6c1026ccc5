#include "cli/profile/plan_options.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/inspection/expression.h>
#include <kvmeasure/profiles/profile_file.h>

#include <QtCore/QFileInfo>

namespace KvMeasure {

namespace {

constexpr Alignment kAlignments[] = {Alignment::Template, Alignment::Registration, Alignment::None};

Option repeatable(const char* name, const char* value, const char* help) {
    return {name, value, help, {}, true};
}

/// Texts of an option that may be repeated, each with several parts.
QStringList parts(const Arguments& arguments, const QString& option) {
    QStringList all;
    for (const QString& text : arguments.texts(option)) {
        for (const QString& part : QString(text).replace('\n', ';').split(';')) {
            if (!part.trimmed().isEmpty())
                all.append(part);
        }
    }
    return all;
}

/// A master from its file; alignment and band of one that the plan has may be changed.
void addMaster(const Arguments& arguments, InspectionPlan& plan) {
    if (arguments.has("--master")) {
        plan.master = PlanMaster();
        const QString path = arguments.text("--master");
        if (path != "-")  // the points of standard input stand in the plan
            plan.master->file = QFileInfo(path).absoluteFilePath();
        plan.master->profile = loadOnlyProfile(path, TextOptions()).profile;
    }
    if (!plan.master)
        return arguments.requireWith({"--align", "--band"}, "--master");
    if (arguments.has("--align"))
        plan.master->alignment = kAlignments[arguments.choice("--align")];
    arguments.pair("--band", plan.master->lower, plan.master->upper);
}

}  // namespace

std::vector<Option> planOptions() {
    return {
        repeatable("--filter", "STEPS",
                   "steps that each profile goes through first, see \"kvmeasure filter --help\""),
        repeatable("--region", "REGION", "\"R = x -6..6 z 0..10 at ANCHOR\": part of the profile, mm"),
        repeatable("--anchor", "ANCHOR", "\"A = max in R from X Z\": feature that regions move with"),
        repeatable("--measure", "TEXT", "what is measured: \"NAME = KIND ... : TOLERANCE; ...\", see below"),
        {"--master", "FILE",
         "profile that the part is compared with: NAME master, values .largest, .smallest, .shareOutside"},
        {"--align",
         "template|registration|none",
         "how the part is laid on the master (registration), see \"kvmeasure compare --help\"",
         {"template", "registration", "none"}},
        {"--band", "A,B", "deviations from the master that are allowed, mm"},
        {"--decision",
         "simple|guarded",
         "values are good within their limits, or only where they are U inside them (simple)",
         {"simple", "guarded"}}};
}

void addPlaces(const Arguments& arguments, InspectionPlan& plan) {
    addMaster(arguments, plan);
    if (arguments.has("--decision"))
        plan.decision = static_cast<Decision>(arguments.choice("--decision"));
    if (arguments.has("--filter"))
        plan.filter += parseSteps(arguments.texts("--filter").join("; "));
    for (const QString& text : parts(arguments, "--region"))
        plan.regions.append(parseRegion(text));
    for (const QString& text : parts(arguments, "--anchor"))
        plan.anchors.append(parseAnchor(text));
}

QString measureText(const Arguments& arguments) { return arguments.texts("--measure").join("; "); }

void addPlanOptions(const Arguments& arguments, InspectionPlan& plan) {
    addPlaces(arguments, plan);
    settleTolerances(addMeasurements(measureText(arguments), plan), {}, plan);
    requireSound(arguments.command(), plan);
}

void requireSound(const QString& command, const InspectionPlan& plan) {
    const QString fault = planFault(plan);
    if (!fault.isEmpty())
        throw Error(command + ": " + fault);
}

}  // namespace KvMeasure
