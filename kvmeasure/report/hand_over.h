#pragma once
// What files that are handed on to other systems say of a run, whatever their form.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/matching.h>

#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QString>

namespace KvMeasure {

/// A run whose results are handed on. Texts may hold anything: what a form cannot hold in one line becomes a
/// blank, what is longer than its field is cut.
struct HandedRun {
    QString plan;                  ///< its name; empty: not told
    QString planDigest;            ///< SHA-256 of its text, hexadecimal; empty: not told
    QString program;               ///< that measured, with its version
    QString station;               ///< where it was measured; empty: not told
    QString operatorName;          ///< who measured; empty: not told
    QDateTime started;             ///< when the run began
    QList<Value> characteristics;  ///< names, units and tolerances of all values, in their order
};

/// Names, units and tolerances of the values of a plan, in the order of its columns, none of them valid.
KVMEASURE_EXPORT QList<Value> characteristicsOf(const InspectionPlan& plan);

}  // namespace KvMeasure
