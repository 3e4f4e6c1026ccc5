#pragma once
// From a profile and a template to values: segments, assignments, results and what to draw of them.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/plan.h>
#include <kvmeasure/profiles/line_pieces.h>

#include <kvmath/tsearch/lines_indices.h>

#include <limits>

namespace KvMeasure {

/// Every assignment that findTemplate returns for these segments, in its order; none without segments and for
/// a template without lines. A template with too few constraints has more of them than any memory holds, so
/// the search is given up after 100,000 assignments, 20 million examined segments or 100 million judgements
/// of a constraint, about a second: it then throws Error, which is of no file.
KVMEASURE_EXPORT QList<KvMath::TSLinesIndecies>
findAssignments(const Segments& segments, const KvMath::TSTemplate& lines, bool allowReversed);

/// Sum of the lengths of the assigned segments, mm, all of which must be assigned; 0 of no template lines.
/// The best of several assignments is the one with the greatest.
KVMEASURE_EXPORT double totalLength(const Segments& segments, const KvMath::TSLinesIndecies& indices);

/// The segment of a template line, turned where it is assigned reversed. From (0, 0) to (0, 0) for a line
/// that the template has not or that is not assigned.
KVMEASURE_EXPORT KvMath::LinePP assignedLine(const Segments& segments, const KvMath::TSLinesIndecies& indices,
                                             int line);

/// One value of a measurement: a row of the table.
struct KVMEASURE_EXPORT Value {
    QString name;          ///< of the result; of a point with ".x" or ".y"
    double value = 0;      ///< mm or degrees; meaningless when not valid
    QString unit;          ///< "mm", "deg", "mm2", or empty for a ratio
    QString note;          ///< e.g. the sense of a rotation
    QString warning;       ///< why the value may mislead; empty: nothing is known against it
    QString aboutU;        ///< the part of `warning`, at its end, that is about the uncertainty
    QString reason;        ///< why there is no value; empty when valid
    double freeEdges = 0;  ///< mm or degrees, what the compensation of free edges added
    double u = std::numeric_limits<double>::quiet_NaN();  ///< one standard uncertainty of the value, in its
                                                          ///< unit; NaN: not known
    double degreesOfFreedom = std::numeric_limits<double>::infinity();  ///< of `u`
    double propagatedU = std::numeric_limits<double>::quiet_NaN();  ///< where `u` is from simulated noise:
                                                                    ///< what propagation gave
    double statedU = 0;                    ///< the part of `u` that the plan states, see StatedUncertainty
    Decision decision = Decision::Simple;  ///< how it is judged
    bool isValid = false;                  ///< false: it cannot be had here, e.g. where parallel lines meet
    bool hasTolerance = false;             ///< `tolerance` is one
    Tolerance tolerance;                   ///< of the value; means nothing without hasTolerance

    double deviation() const { return value - tolerance.nominal; }  ///< from the nominal value
    QString notes() const;  ///< warning, note and what free edges added, in one line for tables; may be empty
    bool isGood() const;    ///< valid and, where there is a tolerance, within it, its ends included, as far
                            ///< inside as the decision asks for
    bool isWithin() const;  ///< valid and, where there is a tolerance, within it by simple acceptance
    QString verdict() const;  ///< "good", "OUT" or "NOT MEASURED"; empty for a valid value without tolerance
    double expandedU() const { return 2 * u; }  ///< U, for a coverage of about 95 %; NaN: not known
};

/// Something to draw where it was measured. Coordinates are those of the profile, mm.
struct Mark {
    /// What is drawn: a point, a distance between two points, an angle between two arms.
    enum Kind { Point, Distance, Angle };

    Kind kind = Point;       ///< says which of the members below mean something
    Vector first;            ///< the point; start of the distance; end of the angle's first arm
    Vector second;           ///< end of the distance
    Vector vertex;           ///< of the angle
    Vector origin;           ///< of a distance: the place it stands for, joined to its second by a thin line
    bool hasOrigin = false;  ///< `origin` is set
    Vector nearVertex;   ///< of an angle: a vertex at the end of its first line, for one too far to be seen
    Vector nearFirst;    ///< end of the first arm from there
    QString name;        ///< of the value; a point, which has two, has none
    QString label;       ///< text beside the mark
    bool isGood = true;  ///< of the value
    double angle = 0;    ///< radians, from the first arm to the left; negative: to the right
};

/// What a template measures on a profile.
struct KVMEASURE_EXPORT Evaluation {
    QList<Value> values;  ///< in the order of the measurements, a mean in the place of its first part
    QList<Mark> marks;    ///< of the valid values
    bool isGood() const;  ///< every value is; true without values
};

/// Runs the measurements on an assignment of these segments. A value that cannot be had is not valid. The
/// measurements in `plan` keep their results; nothing else of it changes. Marks take longer than values:
/// leave them out where nothing is drawn.
KVMEASURE_EXPORT Evaluation evaluate(Segments segments, KvMath::TSLinesIndecies indices, InspectionPlan& plan,
                                     bool givesMarks = true);

}  // namespace KvMeasure
