#pragma once
// Walls: steps of height between two neighbouring points, where the scanner sees nothing in between.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>

#include <vector>

namespace KvMeasure {

/// Which share, 0 to 1, of the rise from point `behind - 1` to point `behind` is a wall: what the steeper of
/// the slopes before and behind does not explain. Where the points are one and a half times as far apart as
/// their neighbours, also the share of the way that a flank of that slope leaves. A wall lies anywhere
/// between its points. 1 beside an end of the points or where x stands still, 0 without a rise.
/// `noise` is the standard deviation of the heights: slopes beside that two standard deviations explain are
/// none.
KVMEASURE_EXPORT double wallShare(const std::vector<Vector>& points, std::size_t behind, double noise = 0);

}  // namespace KvMeasure
