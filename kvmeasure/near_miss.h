#pragma once
// Why a template was not found.

#include "kvmeasure/matcher.h"

namespace KvMeasure {

/// The assignment that came farthest: as many template lines as can be assigned, and the constraints that
/// refuse the next one; among several the one with the fewest of them, then the first. For a template that is
/// not found in the segments.
QString nearMiss(Segments& segments, const TemplateFile& file, bool allowReversed);

}  // namespace KvMeasure
