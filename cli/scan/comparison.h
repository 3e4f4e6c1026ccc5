#pragma once
// The comparison of scans, a part of the command "compare".

#include "cli/arguments.h"

namespace KvMeasure {

/// True where "compare" is asked to compare scans: with a plane as --master, where --map or --axes is given,
/// and where both files are scans of more than one profile and --record chooses none.
bool areScans(const Arguments& arguments);

/// Compares the first operand with --master, or with a plane, and reports. The exit code.
int runScanComparison(const Arguments& arguments);

}  // namespace KvMeasure
