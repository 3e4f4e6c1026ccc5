#pragma once
// Points that may be corners of a convex hull.

#include <kvmeasure/base/plane_geometry.h>

#include <vector>

namespace KvMeasure::Internal {

/// Indices of these finite points, of which there is one at least, in ascending order, but for those that lie
/// inside a polygon of others beyond any rounding: all corners of the hull are among them, and all points on
/// its edges.
std::vector<int> hullCandidates(const std::vector<Vector>& points);

}  // namespace KvMeasure::Internal
