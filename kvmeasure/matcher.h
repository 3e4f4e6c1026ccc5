#pragma once
// From a profile and a template to values: segments, assignments, results and what to draw of them.

#include "kvmeasure/template_file.h"

#include <kvmath/profile/profile.h>
#include <kvmath/tsearch/lines_indices.h>

namespace KvMeasure {

using Vector = KvMath::KvVector2D<double>;
using Segments = QList<KvMath::LinePP>;

double length(const Vector& from, const Vector& to);

/// Degrees from x to the left, in (-180, 180].
double direction(const KvMath::LinePP& line);

/// The segments of a profile longer than the minimum, in scan order.
Segments extractSegments(const KvMath::KvProfile& profile, const KvMath::TSFindTemplateParams& params);

/// Every assignment that findTemplate returns for these segments, in its order. A template with too few
/// constraints has more of them than any memory holds, so the search is given up with a Failure after 100,000
/// assignments, 20 million examined segments or 100 million judgements of a constraint, about a second.
QList<KvMath::TSLinesIndecies> findAssignments(Segments& segments, const KvMath::TSTemplate& lines,
                                               bool allowReversed);

double totalLength(const Segments& segments, const KvMath::TSLinesIndecies& indices);

/// The segment of a template line from start to end as assigned.
KvMath::LinePP assignedLine(const Segments& segments, const KvMath::TSLinesIndecies& indices, int line);

/// One value of a measurement: a row of the table.
struct Value {
    QString name;
    double value = 0;  ///< mm or degrees; meaningless when not valid
    QString unit;      ///< "mm" or "deg"
    QString note;      ///< e.g. the sense of a rotation
    bool isValid = false;
    bool hasTolerance = false;
    Tolerance tolerance;

    double deviation() const { return value - tolerance.nominal; }
    bool isGood() const;  ///< valid and, where there is a tolerance, within it
};

/// Something to draw where it was measured.
struct Mark {
    enum Kind { Point, Distance, Angle } kind = Point;
    Vector first, second, vertex;  ///< a point is its first; a distance runs from first to second; an angle
                                   ///< starts at the arm from vertex to first
    Vector origin;  ///< of a distance: the place it stands for, joined to its second by a thin line
    bool hasOrigin = false;
    Vector nearVertex, nearFirst;  ///< of an angle: the same arms at the end of its first line, for a vertex
                                   ///< too far away to be seen
    QString name;                  ///< of the value; a point, which has two, has none
    QString label;
    bool isGood = true;
    double angle = 0;  ///< radians, from the first arm to the left; negative: to the right
};

struct Evaluation {
    QList<Value> values;
    QList<Mark> marks;
    bool isGood() const;
};

/// Runs the measurements on an assignment.
Evaluation evaluate(Segments& segments, KvMath::TSLinesIndecies indices, TemplateFile& file);

}  // namespace KvMeasure
