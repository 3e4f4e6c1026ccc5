#pragma once
// The options of all commands that read profiles from text.

#include "cli/arguments.h"

#include <kvmeasure/profiles/column_choice.h>

namespace KvMeasure {

/// Appends --columns, --unit, --pitch and --unset to the options of a command.
Usage withTextOptions(const Usage& usage);
TextOptions readTextOptions(const Arguments& arguments);  ///< throws Error

/// The values of --unit and --unset. Throw Error.
QList<LengthUnit> readLengthUnits(const Arguments& arguments);
UnsetValues readUnset(const Arguments& arguments);

}  // namespace KvMeasure
