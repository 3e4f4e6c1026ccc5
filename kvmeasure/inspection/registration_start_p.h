#pragma once
// Where a registration may start from.

#include <kvmeasure/inspection/registration.h>

namespace KvMeasure::Internal {

/// As the part lies, first; then the shifts, with and without a turn, at which the heights of both agree
/// best. Neither list is empty, and all points are finite.
std::vector<RigidMotion> registrationStarts(const std::vector<Vector>& points,
                                            const std::vector<Vector>& master);

}  // namespace KvMeasure::Internal
