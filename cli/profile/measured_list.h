#pragma once
// The run over all profiles of the files of a list.

#include "cli/arguments.h"

#include <kvmeasure/inspection/plan.h>

namespace KvMeasure {

/// Measures every profile of every file of --files-from and writes the part file --out. `usage` is that of
/// the arguments. Returns the exit code. Throws Error.
int measureList(const Usage& usage, const Arguments& arguments, const InspectionPlan& plan);

}  // namespace KvMeasure
