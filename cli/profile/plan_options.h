#pragma once
// The options by which plans are written in words, of all commands that measure with plans.

#include "cli/arguments.h"

#include <kvmeasure/inspection/plan.h>

namespace KvMeasure {

/// --filter, --region, --anchor, --measure and what else adds to a plan, for the usage of a command.
std::vector<Option> planOptions();

/// Adds filter steps, regions, anchors, master and decision of these options to a plan. Throws Error.
void addPlaces(const Arguments& arguments, InspectionPlan& plan);

/// The text of all --measure.
QString measureText(const Arguments& arguments);

/// Adds all that these options say to a plan, whose values have no taught part to take nominal values from.
/// Throws Error, also where the parts of the plan do not go together.
void addPlanOptions(const Arguments& arguments, InspectionPlan& plan);

/// Throws Error with the command's name where the parts of a plan do not go together.
void requireSound(const QString& command, const InspectionPlan& plan);

}  // namespace KvMeasure
