#pragma once
// Ridges of a calibration object in a profile.

#include <kvmath/core/line.h>
#include <kvmath/profile/profile.h>

namespace KvMath {

/// Finds the ridges: the profile, sorted by x and freed of points that are not finite, is split into straight
/// pieces (contour2lines with `tolerance` mm, no passes); an apex lies between neighbouring pieces whose
/// fitted lines rise before and fall after, where these lines meet. `apexes` and `lines` are replaced: the
/// apexes by rising x and, two for each apex, the lines before and after it. Returns the number of apexes. A
/// negative, zero or NaN tolerance splits at every point.
KVMATH_EXPORT int ORBIS_detectApexes(KvProfile profile, KvProfile& apexes, QList<KvLine>& lines,
                                     float tolerance);

}  // namespace KvMath
