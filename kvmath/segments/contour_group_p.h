#pragma once
// Which points of a profile belong together: the kernel of profile2contours, without its arrays.

#include <kvmath/segments/contour_ends_p.h>

#include <vector>

namespace KvMath::Internal {

/// Points from .. to - 1, all of one contour.
struct ContourRun {
    int from, to, contour;
};

/// The runs in order of arrival, as profile2contours documents the grouping; contours count from 0 in order
/// of their first run. Returns the number of contours. n >= 1. `storage` is work space.
int groupContours(const KvVector2D<double>* pts, int n, double gap, std::vector<ContourRun>& runs,
                  std::vector<ContourEnds::End>& storage);

}  // namespace KvMath::Internal
