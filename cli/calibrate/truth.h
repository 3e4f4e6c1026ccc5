#pragma once
// The simulated scanner and its calibration run as options and as a JSON file beside the raw record.

#include "cli/arguments.h"

#include <kvmeasure/calibration/check.h>

#include "simulator/triangulation_scanner.h"

#include <optional>

namespace KvMeasure {

using Simulator::CalibrationRecipe;

std::vector<Option> recipeOptions();  ///< one for each number of a recipe, and --target

/// A recipe from options. Throws Error for what is no number; legality is left to the simulator.
CalibrationRecipe readRecipe(const Arguments& arguments);

QByteArray truthText(const CalibrationRecipe& recipe);

/// What a table is compared with.
CalibrationTruth truthOf(const CalibrationRecipe& recipe);

/// --truth, --z-range, --x-range, --z-offset, and where `hasSteps` --z-step and --x-step.
std::vector<Option> unitOptions(bool hasSteps);

/// The recipe in the file that --truth names; nothing where it is not given. Throws Error for what is no
/// truth file or holds an illegal scanner.
std::optional<CalibrationRecipe> readTruth(const Arguments& arguments);

/// From the truth, where there is one, and from the options, which take precedence. Throws Error when a range
/// is missing.
TableUnits readUnits(const Arguments& arguments, const std::optional<CalibrationRecipe>& truth);

}  // namespace KvMeasure
