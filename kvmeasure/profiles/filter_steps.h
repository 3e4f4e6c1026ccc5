#pragma once
// Filters as text: "median 5; trim-y 0 120".

#include <kvmath/profile/profile.h>
#include <kvmeasure/base/global.h>

#include <QtCore/QString>
#include <QtCore/QVector>

namespace KvMeasure {

struct StepKind;

/// One step with its numbers, those left out at their defaults.
struct FilterStep {
    const StepKind* kind = nullptr;  ///< the library's
    QString text;                    ///< as written, for tables and errors
    QVector<double> numbers;         ///< in the units of stepsHelp; NaN: left out, or "-" for no limit
};

/// Reads steps parted by semicolons, one at least and 100 at most; empty ones are passed over. Throws Error
/// with parameter() "steps" that names the number of the step (from 1), the word, and what is expected there:
/// for an unknown filter, a number out of its range, one too many or too few, limits in the wrong order.
KVMEASURE_EXPORT QList<FilterStep> parseSteps(const QString& text);

/// Applies a step of parseSteps; `number`, from 1, is for errors. A profile without points stays as it is.
/// Throws Error with parameter() "steps" when "resample" has fewer than two points at different x, bounds in
/// the wrong order or more than a million samples; the points may then be sorted and without duplicates.
KVMEASURE_EXPORT void applyStep(const FilterStep& step, int number, KvMath::KvProfile& profile);

/// Every step with its parameters and their units, a line each, for help texts.
KVMEASURE_EXPORT QString stepsHelp();

}  // namespace KvMeasure
