#pragma once
// The points of a scan that lie on the edge of the object.

#include <kvmath/base/global.h>
#include <kvmath/base/vector2d.h>

#include <QtCore/QList>

namespace KvMath {

class KvProfileZSet;

/// Appends to `points` the edge points of a stack whose profiles hold (position along the scan, position
/// along the line), mm, in the order of the line, and returns true.
///
/// Each profile is cut into runs where the second coordinate rises by Lmax or more from one point to the next
/// (a fall never cuts, a NaN does); runs whose ends are not more than Lmin apart are left out, and so is a
/// last point that stands alone. The two ends of a run are edge points (a run of one point gives it twice). A
/// point between them is one unless runs of both neighbouring profiles pass it: the first and the last
/// profile have one neighbour only, so all points of their runs are edge points. Traces at level 1.
KVMATH_EXPORT bool getEdgePoints(const KvProfileZSet& stack, double Lmax, double Lmin,
                                 QList<KvVector2D<double>>& points);

}  // namespace KvMath
