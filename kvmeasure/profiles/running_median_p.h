#pragma once
// The running median of heights.

#include <kvmath/profile/profile.h>

namespace KvMeasure::Internal {

/// Distances of neighbours in x above this many pitches are gaps. The pitch is the median of those distances.
constexpr double kMedianGapPitches = 5;

/// Each height becomes the median of the heights in the window of points, an odd number, that has its point
/// in the middle. Windows follow the order of the points and cross no gap: at the ends and beside gaps they
/// shrink to the widest that still has the point in the middle, so that an end keeps its height. Points with
/// an unset coordinate stay and take no part. x stays. A window of more points than the profile has does
/// nothing. n log window steps.
void runningMedian(KvMath::KvProfile& profile, int window);

}  // namespace KvMeasure::Internal
