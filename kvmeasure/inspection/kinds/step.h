#pragma once
// The height of one surface over another.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/kinds/fitted_value.h>

namespace KvMeasure {

/// Distance of the middle of a surface from a reference line, square to the line, mm, positive above it (left
/// of its direction). The middle is the centre of the line fitted to the surface. The uncertainty is that of
/// both lines at this place. Without either line: its reason.
KVMEASURE_EXPORT FittedValue measureStep(const LineFit& reference, const LineFit& surface,
                                         const NoiseModel& noise);

}  // namespace KvMeasure
