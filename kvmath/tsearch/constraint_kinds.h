#pragma once
// The kinds of constraints that template documents can hold, and what each of them measures.

#include <kvmath/tsearch/constraint.h>

#include <QtCore/QStringList>

namespace KvMath {

/// What a constraint measures on an assignment and compares: a value with its bounds, and for some kinds a
/// demand beside them, such as the sense of a turn.
struct TSConstraintReading {
    /// Unit of the value and its bounds; a ratio has none.
    enum Unit : int { Millimetre = 0, Radian = 1, Ratio = 2 };

    QString quantity;          ///< what is measured, such as "endpoint distance"
    int from = 0;              ///< template line
    int to = -1;               ///< second template line; -1 where the constraint reads only one
    double value = -1e100;     ///< NaN where it needs the direction of a segment of length zero
    double lower = -1e100;     ///< smallest value that passes, as check compares it; -1e100 is no bound
    double upper = -1e100;     ///< greatest value that passes, as check compares it; -1e100 is no bound
    Unit unit = Millimetre;    ///< of value and bounds
    bool isSatisfied = false;  ///< what check returns
    QString note;              ///< what belongs after the value: "to the right"; mostly empty
    QString boundsNote;        ///< what belongs after the bounds: "to the left"; empty when the demand is met
    QString fault;             ///< why check refuses, where the bounds do not tell; mostly empty
    double missedBy = 0;       ///< how far the demand beside the bounds is from being met, in `unit`; 0: met
};

/// Type names of the kinds, in a fixed order.
KVMATH_EXPORT QStringList constraintTypes();

/// A constraint of this type as its default constructor makes it; the caller owns it. Null: unknown type.
KVMATH_EXPORT TSConstraint* newConstraint(const QString& type);

/// Reads what `constraint` measures on an assignment. Value, bounds and verdict are those of its check.
/// False, and `reading` unchanged, where there is nothing to measure (a null pointer, a negative line index
/// or code), and for a class that is not one of the kinds.
KVMATH_EXPORT bool readConstraint(const TSConstraint& constraint, const LinePP* lines, const int* assignment,
                                  TSConstraintReading& reading);

}  // namespace KvMath
