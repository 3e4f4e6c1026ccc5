#pragma once
// Why a template was not found.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/matching.h>

namespace KvMeasure {

/// The assignment that comes nearest to a template that is not found.
struct NearMiss {
    QString text;                     ///< segments and reasons in one line
    QStringList reasons;              ///< the constraints that refuse it, or why there is none to show
    KvMath::TSLinesIndecies indices;  ///< of the template lines that have a segment
    bool isNearest = false;           ///< every line has one; otherwise how far the search got
};

/// What is missing in segments that do not hold the template. "nearest": the complete assignment that the
/// fewest constraints refuse, three at most, then by the least, in widths of what they allow. Where there is
/// none, "got farthest": the assignment of as many template lines as can be had, and what refuses the last.
/// No assignment, only a reason: for a template without lines or of more lines than there are segments, and
/// where nothing was found before the search was given up. Of segments that hold the template it means
/// nothing. The segments stay as they are. Each search ends after a million judgements of a constraint; the
/// first then counts as having found none, the second names the farthest so far.
KVMEASURE_EXPORT NearMiss nearMiss(Segments& segments, const InspectionPlan& plan, bool allowReversed);

}  // namespace KvMeasure
