#pragma once
// The run over all profiles of the operands: read one after another, measured on several cores, reported in
// order.

#include "cli/arguments.h"

#include <kvmeasure/report/match_report.h>

namespace KvMeasure {

/// --uncertainty, which measureParts reads, for the usage of a command.
std::vector<Option> uncertaintyOptions();

/// --stats and --report, which measureParts reads, for the usage of a command.
std::vector<Option> statisticsOptions();

constexpr int kMostJobs = 256;           ///< that --jobs takes
constexpr int kProfilesOfOneJob = 1000;  ///< beyond these the jobs are as many as there are cores

/// What --all, --svg and --uncertainty say; without the reason why a template is not found. Throws Error.
PartSettings settingsOf(const Arguments& arguments);

/// Measures a profile, which keeps what the filter steps leave of it. Where one of them cannot be applied,
/// all values have that reason. Throws Error where the search is given up.
MeasuredPart measureInPlace(PartMeasurement& part, KvMath::KvProfile& profile, KvMath::KvProfile& second);

/// Measures every profile of every operand and prints the results as text, as JSON of this form, or as CSV.
/// Reads --all, --csv, --jobs, --report, --svg, --trend and the options of scans and texts, where the command
/// has them. Returns the exit code. Throws Error.
int measureParts(const Arguments& arguments, const InspectionPlan& plan, MatchReport::Form jsonForm);

}  // namespace KvMeasure
