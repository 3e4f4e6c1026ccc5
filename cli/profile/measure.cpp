#include "cli/arguments.h"
#include "cli/batch.h"
#include "cli/commands.h"
#include "cli/profile/fitting_options.h"
#include "cli/profile/handed_results.h"
#include "cli/profile/measured_list.h"
#include "cli/profile/measured_parts.h"
#include "cli/profile/measuring_options.h"
#include "cli/profile/plan_options.h"
#include "cli/profile/text_options.h"
#include "cli/scan/options.h"
#include "cli/stored_parts.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/inspection/expression.h>

namespace KvMeasure {

namespace {

const Usage own{
    "measure",
    "PROFILE...",
    "Measures profiles, or each profile of a scan, with tools on regions. Needs no template.",
    {{"--plan", "FILE", "plan in JSON: filter steps, template, regions, anchors, tools, tolerances"},
     {"--second",
      "FILE",
      "profiles of another scanner in the same x and z, for regions \"R = second x -6..6\"",
      {},
      true},
     {"--out", "FILE",
      "write the plan, with all that is given here, as JSON; with --files-from the rows, as CSV"},
     {"--trend", "PICTURE", "draw each value along the scan"},
     {"--svg", "PICTURE",
      "draw; with several profiles one picture each, the profile's name put into PICTURE"},
     {"--csv", "", "print CSV, one row per profile; statistics are comments below it"},
     {"--jobs", "N", "cores that measure (all for more than 1000 profiles, else one)"}},
    "Sides that a region leaves out are open; without an anchor it is fixed in x and z. An anchor (max, min, "
    "left,\n"
    "right, centroid or line of a region, or a line of the plan's template) moves its regions by the place "
    "that it\n"
    "has minus the place behind \"from\", where it was taught (0 0 unless given), and turns them where it "
    "has a direction.\n\n" +
        measureHelp() +
        "\n"
        "--files-from measures thousands of files in one run: CSV with a row per profile, and a row per file "
        "that cannot be\n"
        "read. \"kvmeasure merge\" joins such files.\n\n"
        "U is the expanded uncertainty 2u from the noise of the profile. Exit code 1: a value that cannot be "
        "had or is\n"
        "out of tolerance.\n\n"
        "Examples\n"
        "  kvmeasure measure part.csv --region \"R = x -6..6\" --measure \"top = max in R : 5 +- 0.1\"\n"
        "  kvmeasure measure part.csv --region \"R = all\" --region \"S = x 2..8 at A\" --anchor \"A = max "
        "in R\" \\\n"
        "                    --measure \"side = mean in S\" --out plan.json\n"
        "  kvmeasure measure rows/*.csv --plan plan.json --json\n"};

const Usage usage = withTextOptions(
    withScanForms(with(with(with(with(with(with(with(own, batchOptions()), planOptions()), fittingOptions()),
                                      uncertaintyOptions()),
                                 statisticsOptions()),
                            storeOptions()),
                       handOverOptions())));

/// The plan of the file with what the words add to it.
InspectionPlan planOf(const Arguments& arguments) {
    InspectionPlan plan = arguments.has("--plan") ? readPlan(arguments.text("--plan")) : InspectionPlan();
    addPlanOptions(arguments, plan);
    applyFittingOptions(arguments, plan.fitting);
    if (!plan.hasTools() && !plan.hasTemplate())
        throw Error("measure: there is nothing to measure; give --measure, --master or a --plan with tools");
    return plan;
}

}  // namespace

int runMeasure(const QStringList& words) {
    const Arguments arguments(usage, words);
    if (isBatch(arguments, {"--svg", "--trend", "--csv", "--second", "--report", "--jsonl", "--aqdef",
                            "--qif", "--mqtt"}))
        return measureList(usage, arguments, planOf(arguments));
    arguments.requireOperands(kAnyNumber);
    const QString out = arguments.text("--out");
    refuseOverwritingScans(
        arguments, {arguments.text("--svg"), arguments.text("--trend"), arguments.text("--report"), out},
        arguments.operands() + arguments.texts("--second") +
            QStringList{arguments.text("--plan"), arguments.text("--master")});
    const InspectionPlan plan = planOf(arguments);
    if (plan.master)
        refuseOverwriting({out}, {plan.master->file});
    if (arguments.has("--out"))
        writeOutputFile(out, planText(plan, out));
    return measureParts(arguments, plan, MatchReport::JsonValues);
}

}  // namespace KvMeasure
