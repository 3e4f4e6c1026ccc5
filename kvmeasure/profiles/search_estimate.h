#pragma once
// Search parameters that suit a profile.

#include <kvmath/profile/profile.h>
#include <kvmath/segments/find_params.h>
#include <kvmeasure/base/global.h>

namespace KvMeasure {

/// Search parameters from the spacing of the points (median distance of neighbours), the noise of the heights
/// (median of second differences, of normal noise; of points two and four places apart where these show more
/// than 1.3 times as much, as smoothed lines do, in 50 places and a quarter of the line between corners) and
/// the diagonal of the profile, mm:
///  - contourGap: 20 spacings or 12 standard deviations of the noise, whichever is greater;
///  - splitTolerance: the greatest of 9 standard deviations, a spacing, and 0.5 % of the diagonal;
///  - minLineLength: the greater of 10 spacings and 2 % of the diagonal, at most a quarter of it;
///  - refineIterations 3, cornerTolerance 0.5, no reversed segments.
///
/// The points are in scan order and finite. Fewer than two points: all lengths are 0.
KVMEASURE_EXPORT KvMath::TSFindTemplateParams estimateSearch(const KvMath::KvProfile& profile);

}  // namespace KvMeasure
