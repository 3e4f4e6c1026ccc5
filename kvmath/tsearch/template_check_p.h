#pragma once
// Check callback of the template search.

#include <kvmath/segments/line_types.h>

namespace KvMath::Internal {

/// TSTemplate::check; `templ` is the TSTemplate.
bool templateCheck(LinePP* lines, int* assignment, int level, void* templ);

}  // namespace KvMath::Internal
