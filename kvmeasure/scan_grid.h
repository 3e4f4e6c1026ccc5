#pragma once
// Grids of heights of a scan, with cells about its own points.

#include <kvmath/core/matrix_cloud.h>
#include <kvmath/profile/profile_zset.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace KvMeasure {

/// Distances of neighbouring points, mm, both > 0.
struct Steps {
    double x = 0;     ///< along the laser line
    double scan = 0;  ///< between profiles
};

/// The usual distances in a stack: the mean of those near their median. Where there is but one profile, or
/// one point in each, the other distance serves for both, and 1 mm when there is none.
Steps estimateSteps(const KvMath::KvProfileZSet& stack);

/// Grid with the first point of the range in the middle of its first cell, so that measured columns and
/// profiles lie in the middle of cells. Throws Failure when it would have too many cells.
KvMath::KvMatrixCloud makeGrid(const KvMath::KvProfileZSet& stack, const Steps& steps, const QString& path);

/// Places of the middles of cells, mm.
double cellX(const KvMath::KvMatrixCloud& grid, int column);
double cellScan(const KvMath::KvMatrixCloud& grid, int row);

int filledCells(const KvMath::KvMatrixCloud& grid);

/// First line "scan_mm/x_mm" and the x of the columns; then per row its scan position and the heights, empty
/// where there is none.
QByteArray gridCsv(const KvMath::KvMatrixCloud& grid);

}  // namespace KvMeasure
