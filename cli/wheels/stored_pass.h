#pragma once
// --store of "wheels pass" and "wheels parameters" on the recordings of a pass.

#include "cli/stored_parts.h"

#include <kvmeasure/report/pass_limits.h>
#include <kvmeasure/report/wheel_report.h>

namespace KvMeasure {

/// Adds a part for each wheel, with a distance or limits one for each wheelset, and one for each group of
/// wheelsets. Nothing where no store is open.
void addPass(StoredParts& store, const WheelPass& pass, const WheelColumns& columns,
             const PassLimits* limits);

}  // namespace KvMeasure
