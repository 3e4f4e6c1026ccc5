#pragma once
// From the segments of a good part to a template.

#include "kvmeasure/matcher.h"

namespace KvMeasure {

/// How far a part may differ from the taught one.
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
    QList<int> segments;
    QStringList names;
};

/// Reads "1,3,4" or "left=1, floor=3, right=4". Throws Failure.
ChosenLines parseLines(const QString& text, int segments);

/// The longest `count` segments, in scan order.
ChosenLines longestLines(const Segments& segments, int count);

/// Sets the template lines and their constraints: the length of each line, the inclination of the first, the
/// turn from each line to the next with its sense, and the distance from its end to the start of the next,
/// both straight and square to the line.
void buildConstraints(const Segments& segments, const ChosenLines& chosen, const TeachTolerances& tolerances,
                      TemplateFile& file);

}  // namespace KvMeasure
