#pragma once
// What lies beyond the ends of the lines of a match, held against the taught part: a line that is cut short,
// and a piece that is lost between two lines, make values that look good and are not.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/matching.h>

namespace KvMeasure {

/// For each template line of the assignment `indices`, whose segments are those of `found`, what lies beyond
/// its start and beyond its end: "free" where the surface ends, "straight" for a piece that serves no
/// template line and runs on within 20 degrees, "bend" for any other such piece, or the end of the template
/// line that it meets, e.g. "right.start". `names` are those of the template lines. Empty for a line without
/// a segment.
KVMEASURE_EXPORT QList<QStringList>
lineEnds(const ProfilePieces& found, const KvMath::TSLinesIndecies& indices, const QStringList& names);

/// For each template line the sentences that say where its ends are not as taught. Without taught ends
/// (plan.ends empty) only what can be told from the match is said: a line that runs on straight, and a piece
/// too short for a segment between two lines of the template.
KVMEASURE_EXPORT QList<QStringList>
endWarnings(const ProfilePieces& found, const KvMath::TSLinesIndecies& indices, const InspectionPlan& plan);

}  // namespace KvMeasure
