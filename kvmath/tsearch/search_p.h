#pragma once
// The enumeration behind templateSearch without what a result costs.

#include <kvmath/segments/line_types.h>

namespace KvMath::Internal {

/// Calls visit(codes, nTemplateLines, visitData) for every assignment that the check accepts, in the order of
/// templateSearch. None where that finds none for the numbers. Nothing is allocated for a few lines.
void forEachAssignment(LinePP* lines, int nLines, int nTemplateLines,
                       bool (*check)(LinePP*, int*, int, void*), void* checkData, bool allowReversed,
                       void (*visit)(const int*, int, void*), void* visitData);

}  // namespace KvMath::Internal
