#pragma once
// Filter steps, regions, anchors and tools in a plan's document.

#include <kvmeasure/inspection/plan_reader_p.h>

namespace KvMeasure::Internal {

/// The keys that it reads and writes.
const QStringList& toolKeys();

/// Reads them into the plan, whose template is read already.
void readTools(const PlanReader& reader, const QVariantMap& document, InspectionPlan& plan);

/// Reads [FROM, TO] under a key, null for an open side.
void readSides(const PlanReader& reader, const QVariantMap& entry, const char* key, const QString& where,
               double& from, double& to);
/// The same as it is written.
QVariantList sidesList(double from, double to);

/// Writes those that the plan has.
void writeTools(const InspectionPlan& plan, QVariantMap& document);

}  // namespace KvMeasure::Internal
