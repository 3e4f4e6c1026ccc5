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

#include <kvmeasure/base/output_file.h>
#include <kvmeasure/inspection/expression.h>

namespace KvMeasure {

namespace {

const Usage own{
    "match",
    "PROFILE...",
    "Finds a template in profiles, or in each profile of a scan, and evaluates its measurements.",
    {{"--template", "FILE", "template made by \"kvmeasure teach\", or a plan (required)"},
     {"--all", "", "every assignment that meets the constraints, not only the best"},
     {"--trend", "PICTURE", "draw each measurement along the scan"},
     {"--svg", "PICTURE",
      "draw; with several profiles one picture each, the profile's name put into PICTURE"},
     {"--csv", "", "print CSV, one row per profile; statistics are comments below it"},
     {"--jobs", "N", "cores that measure (all for more than 1000 profiles, else one)"}},
    "The best assignment is the one with the greatest total length of its lines. A single profile is "
    "printed "
    "with a\n"
    "row for each value. Several profiles have a row each, and the statistics of each measurement over the "
    "best\n"
    "assignments follow. Exit code 1: the template is not found, or a value is missing or out of "
    "tolerance.\n"
    "Where a single profile does not hold the template, the output names the nearest assignment and the "
    "constraints\n"
    "that refuse it; where more than three do, it says how far the search got. --svg draws it dashed.\n\n"
    "--files-from measures thousands of files in one run: CSV with a row per profile, and a row per file "
    "that "
    "cannot be\n"
    "read. The exit code is then 2, and the file is complete all the same. \"kvmeasure merge\" joins such "
    "files.\n\n"
    "Examples\n"
    "  kvmeasure match part.csv --template groove.json --svg part.svg\n"
    "  kvmeasure match rows/*.csv --template groove.json --json > results.json\n"
    "  kvmeasure match stack.bin --template groove.json --trend trend.svg --csv > depth.csv\n"
    "  kvmeasure match stack.bin --template groove.json --report groove.html\n"
    "  find archive -name '*.kvs' | sort | kvmeasure match --files-from - --template groove.json --out "
    "part.csv\n"
    "  kvmeasure match part.csv --template groove.json --region \"R = x 2..8 at floor\" "
    "--measure \"top = max in R\"\n\n" +
        measureHelp()};

const Usage usage = withTextOptions(withScanForms(
    with(with(with(with(with(with(with(with(own, batchOptions()), batchOutOptions()), planOptions()),
                             fittingOptions()),
                        uncertaintyOptions()),
                   statisticsOptions()),
              storeOptions()),
         handOverOptions())));

InspectionPlan templateOf(const Arguments& arguments) {
    InspectionPlan plan = readPlan(arguments.text("--template"));
    addPlanOptions(arguments, plan);
    applyFittingOptions(arguments, plan.fitting);
    return plan;
}

}  // namespace

int runMatch(const QStringList& words) {
    const Arguments arguments(usage, words);
    const bool isOfList = isBatch(
        arguments, {"--svg", "--trend", "--csv", "--report", "--jsonl", "--aqdef", "--qif", "--mqtt"});
    if (!isOfList)
        arguments.requireOperands(kAnyNumber);
    arguments.requireWith({"--out"}, "--files-from");
    arguments.required("--template", "make one with \"kvmeasure teach\"");
    if (isOfList)
        return measureList(usage, arguments, templateOf(arguments));
    refuseOverwritingScans(
        arguments, {arguments.text("--svg"), arguments.text("--trend"), arguments.text("--report")},
        arguments.operands() + QStringList{arguments.text("--template"), arguments.text("--master")});
    return measureParts(arguments, templateOf(arguments), MatchReport::Json);
}

}  // namespace KvMeasure
