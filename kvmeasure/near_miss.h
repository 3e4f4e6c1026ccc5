#pragma once
// Why a template was not found.

#include "kvmeasure/matcher.h"

namespace KvMeasure {

/// What is missing in segments that do not hold the template. "nearest": the complete assignment that the
/// fewest constraints refuse, three at most, then by the least, in widths of what they allow. Where there is
/// none, "got farthest": the assignment of as many template lines as can be had, and what refuses the last.
/// Each search ends after a million judgements of a constraint; the first then counts as having found none,
/// the second names the farthest so far.
QString nearMiss(Segments& segments, const TemplateFile& file, bool allowReversed);

}  // namespace KvMeasure
