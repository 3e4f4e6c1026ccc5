#pragma once
// The run over all profiles of the operands: read one after another, measured on several cores, reported in
// order.

#include "cli/arguments.h"

#include <kvmeasure/report/match_report.h>

namespace KvMeasure {

/// Measures every profile of every operand and prints the results as text, as JSON of this form, or as CSV.
/// Reads --all, --csv, --jobs, --report, --svg, --trend and the options of scans and texts, where the command
/// has them. Returns the exit code. Throws Error.
int measureParts(const Arguments& arguments, const InspectionPlan& plan, MatchReport::Form jsonForm);

}  // namespace KvMeasure
