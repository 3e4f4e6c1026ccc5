#pragma once

#include <kvmeasure/inspection/matching.h>

namespace KvMeasure {

/// "good", or what is not; "found" where nothing has a tolerance.
QString verdictText(const Evaluation& evaluation, bool isFound);

/// Why values are missing, and the warnings, each with the names of the values that it concerns.
QString remarks(const Evaluation& evaluation);

}  // namespace KvMeasure
