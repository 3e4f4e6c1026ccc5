#pragma once
// Least-squares line of a stretch of points, from sums that can be continued when the stretch grows at its
// end.

#include <kvmath/segments/line_types.h>

namespace KvMath::Internal {

/// Sums over points in index order, zero over none.
struct MomentSums {
    double x = 0, y = 0, xx = 0, yy = 0, xy = 0;
};

/// Points first .. last - 1 of a run, to be added to `sums`.
struct PointRange {
    const KvVector2D<double>* first;
    const KvVector2D<double>* last;
};

void addPoints(MomentSums& sums, PointRange range);

/// addPoints for two stretches at once: the same sums in less time.
void addPoints(MomentSums& sums1, PointRange range1, MomentSums& sums2, PointRange range2);

/// The line that lsd gives for these points, whose sums are known. At least one point.
LineABC fitLine(const MomentSums& sums, PointRange range);

}  // namespace KvMath::Internal
