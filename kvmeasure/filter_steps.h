#pragma once
// Filters as text: "median 5; trim-y 0 120".

#include <kvmath/profile/profile.h>

#include <QtCore/QString>
#include <QtCore/QVector>

namespace KvMeasure {

struct StepKind;

/// One step with its numbers, those left out at their defaults.
struct FilterStep {
    const StepKind* kind = nullptr;
    QString text;  ///< as written, for tables and errors
    QVector<double> numbers;
};

/// Reads steps parted by semicolons. Throws Failure that names the number of the step (from 1), the word, and
/// what is expected there.
QList<FilterStep> parseSteps(const QString& text);

/// Applies one step; `number`, from 1, is for errors. Throws Failure when the step cannot be done.
void applyStep(const FilterStep& step, int number, KvMath::KvProfile& profile);

/// Every step with its parameters and their units.
QString stepsHelp();

}  // namespace KvMeasure
