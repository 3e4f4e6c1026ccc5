#pragma once
// A part against the master of its plan, as values.

#include <kvmeasure/inspection/matching.h>

namespace KvMeasure::Internal {

/// What the master gives, in the order of the tables; nothing without one.
QList<ValueName> masterNames(const InspectionPlan& plan);

/// Compares a prepared profile with the master of the plan, which has one. Values have tolerances by their
/// names; `noise` is the standard deviation of a point, mm, NaN where it is not known. Throws as compare().
Evaluation masterValues(const KvMath::KvProfile& profile, const InspectionPlan& plan, double noise);

}  // namespace KvMeasure::Internal
