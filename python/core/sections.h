#pragma once
// Sections of wheels and rails as arguments.

#include "python/core/arrays.h"

#include <kvmeasure/wheels/gauge_file.h>

namespace KvMathPython {

/// A section of a path, a GaugeProfile, or points (n, 2), mm, in the frame that the shape tells. Throws Error
/// as readGaugeProfile and pointsFrom do.
KvMeasure::GaugeProfile sectionFrom(const py::object& section, const char* parameter);

void bindSections(py::module_& module);  ///< GaugeProfile, SectionValues, wheel_values and the like

}  // namespace KvMathPython
