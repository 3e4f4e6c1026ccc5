#pragma once
// Which points lie in which balls of a grid, for grids that are not many more cells than points.

#include <kvmath/core/cell_edges_p.h>
#include <kvmath/core/point.h>

#include <QtCore/QList>

#include <vector>

namespace KvMath::Internal {

/// The points of every ball, ball by ball in scan order: x, y, z. A ball of diameter `cell` lies around the
/// middle of each cell, half a cell above its lower edges. Points are dealt into the lists by counting; their
/// distances are those of KvPointXYZ::calcDistance bit for bit.
class BallLists {
public:
    BallLists(const QList<KvPointXYZ>& points, const CellEdges& x, const CellEdges& y, const CellEdges& z,
              float cell);

    /// Visits the balls in scan order and takes the points of those with too few left. Returns the number
    /// taken.
    int thinOut(int minCount, std::vector<bool>& gone) const;

private:
    std::vector<int> first_;   ///< per ball, and the end after the last
    std::vector<int> points_;  ///< indices, ball by ball
};

}  // namespace KvMath::Internal
