#pragma once

#include <kvmeasure/inspection/matching.h>

namespace KvMeasure {

/// "good", or what is not; "found" where nothing has a tolerance.
QString verdictText(const Evaluation& evaluation, bool isFound);

}  // namespace KvMeasure
