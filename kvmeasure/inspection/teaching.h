#pragma once
// From the segments of a good part to a template.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/matching.h>

namespace KvMeasure {

/// How far a part may differ from the taught one. All are >= 0.
struct TeachTolerances {
    double lengthMm = 0;          ///< of each line; with lengthShare whichever is greater
    double lengthShare = 0.2;     ///< of the line's own length
    double angleDegrees = 5;      ///< of the first line's inclination and of the turn from line to line
    double distanceMm = 0;        ///< from the end of a line to the start of the next; or distanceShare
    double distanceShare = 0.2;   ///< of that distance, at least 1 mm
    bool anyInclination = false;  ///< the part may be turned by any angle
};

/// Chosen segments with the names of the template lines.
struct ChosenLines {
    QList<int> segments;  ///< per template line the number of its segment, from 0; each once
    QStringList names;    ///< per template line its name, its number where it has none
};

/// Reads "1,3,4" or "left=1, floor=3, right=4", numbers among so many segments. Throws Error with parameter()
/// "lines" for empty text, what is no such number, a name of other signs than letters, digits, - and _, a
/// segment or name that is there twice; with "minLineLength" where there are no segments.
KVMEASURE_EXPORT ChosenLines parseLines(const QString& text, int segments);

/// The longest `count` segments, in scan order; of equal ones the first. Throws Error with parameter()
/// "longest" when there are fewer, or for a negative count.
KVMEASURE_EXPORT ChosenLines longestLines(const Segments& segments, int count);

/// The chosen lines, by their number, that end where the view ends: within three pitches of the first or last
/// point. How long these are depends on where the part lies. None for a profile of fewer than two points.
KVMEASURE_EXPORT QList<int> linesCutByView(const KvMath::KvProfile& profile, const Segments& segments,
                                           const ChosenLines& chosen);

/// Sets the template lines and their constraints: the length of each line, the inclination of the first, the
/// turn from each line to the next with its sense, and the distance from its end to the start of the next,
/// both straight and square to the line. A first line that points back along x gets no inclination, whose
/// bounds cannot run across 180 degrees. Lines and names that `plan` had are replaced, all else stays.
/// The chosen segments must be there and have a length.
KVMEASURE_EXPORT void buildConstraints(const Segments& segments, const ChosenLines& chosen,
                                       const TeachTolerances& tolerances, InspectionPlan& plan);

}  // namespace KvMeasure
