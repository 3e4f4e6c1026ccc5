#pragma once
// Measurements as text: "depth = distance floor right : 12.1 +- 0.05; angle left wall".

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/matching.h>

namespace KvMeasure {

/// Adds what `text` asks for, statements in the grammar of measureHelp: to plan.measurements and plan.means
/// what measures lines of the template, to plan.tools what measures regions. A word that is a kind of both
/// means regions where the name after it is one of plan.regions. Template lines are named as in
/// plan.lineNames or by number. Angles are degrees here and radians in KvMath. Returns the tolerances by
/// result name. Text without a statement adds nothing. Throws Error with parameter() "measure" that quotes
/// the statement and says what was expected, also where two results, parts of means among them, would have
/// one name, and for more than 1000 statements; the statements before it have then been added.
KVMEASURE_EXPORT QMap<QString, WrittenTolerance> addMeasurements(const QString& text, InspectionPlan& plan);

/// A measurement of a template as it would be written, without its tolerance.
struct MeasurementStatement {
    QString text;        ///< e.g. "depth = distance floor left"
    QStringList values;  ///< the names of what it delivers
};

/// The measurements of plan.measurements and plan.means, in the order of measurementNames(). addMeasurements
/// makes the same ones of them, their numbers to ten digits, but for two forms that no statement has: a type
/// of a host, which stands with its type name, and a mean of others than the two shifts of a distance, "mean
/// of A and B".
KVMEASURE_EXPORT QList<MeasurementStatement> measurementStatements(const InspectionPlan& plan);

/// Sets plan.tolerances as they were written. Where one takes its nominal value from the taught part, that is
/// the value of this name among `taught`; throws Error with parameter() "measure" where there is none, the
/// plan then unchanged.
KVMEASURE_EXPORT void settleTolerances(const QMap<QString, WrittenTolerance>& written,
                                       const QList<Value>& taught, InspectionPlan& plan);

/// The grammar with an example of each kind, for help texts.
KVMEASURE_EXPORT QString measureHelp();

}  // namespace KvMeasure
