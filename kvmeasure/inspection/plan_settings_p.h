#pragma once
// Master, decision rule and stated uncertainties in a plan's document.

#include <kvmeasure/inspection/plan.h>
#include <kvmeasure/inspection/plan_reader_p.h>

namespace KvMeasure::Internal {

/// The units of which uncertainties are stated.
inline QStringList statedUnits() { return {"mm", "deg", "mm2"}; }

/// The keys that it reads and writes.
const QStringList& settingKeys();

/// Reads the master and the decision rule; the file of a master is looked for from the folder of the plan.
void readMasterAndDecision(const PlanReader& reader, const QVariantMap& document, InspectionPlan& plan);

/// Reads the stated uncertainties, of values that the plan has.
void readStatedUncertainty(const PlanReader& reader, const QVariantMap& document, InspectionPlan& plan);

/// Writes what of them the plan has. `path`: where the document goes, so that the master's file is named from
/// there; empty: it is named in full.
void writeSettings(const InspectionPlan& plan, const QString& path, QVariantMap& document);

}  // namespace KvMeasure::Internal
