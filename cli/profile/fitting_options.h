#pragma once
// The options of teach and match that say which lines are measured.

#include "cli/arguments.h"

#include <kvmeasure/profiles/line_refit.h>

namespace KvMeasure {

std::vector<Option> fittingOptions();

/// What the options leave unsaid stays. Throws Error.
void applyFittingOptions(const Arguments& arguments, LineFitting& fitting);

}  // namespace KvMeasure
