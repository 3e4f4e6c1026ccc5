#pragma once
// The simulated scanner and its calibration run as options and as a JSON file beside the raw record.

#include "kvmeasure/arguments.h"

#include "simulator/triangulation_scanner.h"

namespace KvMeasure {

using Simulator::CalibrationRecipe;

std::vector<Option> recipeOptions();  ///< one for each number of a recipe, and --target

/// A recipe from options. Throws Failure for what is no number; legality is left to the simulator.
CalibrationRecipe readRecipe(const Arguments& arguments);

QByteArray truthText(const CalibrationRecipe& recipe);

/// Throws Failure for what is no truth file or holds an illegal scanner.
CalibrationRecipe loadTruth(const QString& path);

/// Ranges and steps that a table is in.
struct TableUnits {
    double zRange = 0, xRange = 0;  ///< mm
    double zStep = 0, xStep = 0;    ///< thousandths of a mm
};

/// --truth, --z-range, --x-range, and where `hasSteps` --z-step and --x-step.
std::vector<Option> unitOptions(bool hasSteps);

/// From the truth file, where one is named, and from the options, which take precedence. Throws Failure when
/// a range is missing.
TableUnits readUnits(const Arguments& arguments);

}  // namespace KvMeasure
