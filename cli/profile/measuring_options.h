#pragma once
// What the runs over profiles share: the options that say how they are measured and reported.

#include "cli/arguments.h"

#include <kvmeasure/report/match_report.h>

namespace KvMeasure {

/// --uncertainty, for the usage of a command.
std::vector<Option> uncertaintyOptions();

/// --stats and --report, for the usage of a command.
std::vector<Option> statisticsOptions();

constexpr int kMostJobs = 256;           ///< that --jobs takes
constexpr int kProfilesOfOneJob = 1000;  ///< beyond these the jobs are as many as there are cores

/// What --all, --svg and --uncertainty say; without the reason why a template is not found. Throws Error.
PartSettings settingsOf(const Arguments& arguments);

/// The form of what is printed: `jsonForm` for --json and --jsonl. Throws Error where two forms are asked
/// for.
MatchReport::Form reportForm(const Arguments& arguments, MatchReport::Form jsonForm);

/// Measures a profile, which keeps what the filter steps leave of it. Where one of them cannot be applied,
/// all values have that reason. Throws Error where the search is given up.
MeasuredPart measureInPlace(PartMeasurement& part, KvMath::KvProfile& profile, KvMath::KvProfile& second);

}  // namespace KvMeasure
