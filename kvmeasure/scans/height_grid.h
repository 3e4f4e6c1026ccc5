#pragma once
// Grids of heights of a scan, with cells about its own points.

#include <kvmath/core/matrix_cloud.h>
#include <kvmath/profile/profile_zset.h>
#include <kvmeasure/base/global.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace KvMeasure {

/// Distances of neighbouring points, mm, both > 0.
struct Steps {
    double x = 0;     ///< along the laser line
    double scan = 0;  ///< between profiles
};

/// The usual distances in a stack, mm: the mean of those within a tenth of their median. Along x the first
/// million distances count, between profiles all; distances of 0 and those that are not finite do not. Where
/// one of the two is not known (one profile, or one point in each), the other serves for both. 1 mm each when
/// neither is known, as in an empty stack.
KVMEASURE_EXPORT Steps estimateSteps(const KvMath::KvProfileZSet& stack);

/// Mean heights in cells of steps.x by steps.scan mm, both > 0. The point of the least x lies in the middle
/// of the first column, that of the least position in the middle of the first row, so that measured columns
/// and profiles lie in the middle of cells. Cells without points are NaN. `path` names the scan in messages.
/// Throws Error in that file for an empty stack, steps that are not finite and > 0, and more than 2^24 cells.
KVMEASURE_EXPORT KvMath::KvMatrixCloud makeGrid(const KvMath::KvProfileZSet& stack, const Steps& steps,
                                                const QString& path);

/// The x in the middle of a column, mm; a column beyond the grid continues its steps. NaN where the origin or
/// the step of the grid is.
KVMEASURE_EXPORT double cellX(const KvMath::KvMatrixCloud& grid, int column);

/// The position along the scan in the middle of a row, mm, otherwise as cellX.
KVMEASURE_EXPORT double cellScan(const KvMath::KvMatrixCloud& grid, int row);

/// The number of cells that have a height; 0 for a grid without cells.
KVMEASURE_EXPORT int filledCells(const KvMath::KvMatrixCloud& grid);

/// A text that loadScan reads: the first line is "scan_mm/x_mm" and the x of the columns; then a line per row
/// with its position and the heights, mm with nine digits, empty where a cell is NaN. A grid without cells
/// gives the first line alone.
KVMEASURE_EXPORT QByteArray gridCsv(const KvMath::KvMatrixCloud& grid);

}  // namespace KvMeasure
