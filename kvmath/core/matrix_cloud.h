#pragma once
// Regular grids of heights, and their division into regions of steady height.

#include <kvmath/core/point_cloud.h>

#include <QtCore/QMap>
#include <QtCore/QVector>

namespace KvMath {

/// Regular grid of heights. Rows run along z (the scan), columns along x (the scanner line). Cell (r, c)
/// covers [originX + c * stepX, + stepX) x [originZ + r * stepZ, + stepZ); its height, mm, belongs to its
/// middle. NaN is an empty cell. The members are public; where a host leaves them inconsistent (heights
/// shorter than rows * columns, steps not > 0), what cannot be answered is NaN or nothing, never a fault.
class KVMATH_EXPORT KvMatrixCloud {
public:
    int rows;                ///< number of rows, along z
    int columns;             ///< number of columns, along x
    float originX;           ///< x of the lower corner of cell (0, 0), mm; NaN when not set
    float originZ;           ///< z of the lower corner of cell (0, 0), mm; NaN when not set
    float stepX;             ///< width of a cell along x, mm, > 0; NaN when not set
    float stepZ;             ///< width of a cell along z, mm, > 0; NaN when not set
    QVector<float> heights;  ///< mm, row by row

    KvMatrixCloud();  ///< no cells, origin and steps NaN

    void clear();  ///< removes all cells; origin and steps become NaN
    /// Makes rows * columns empty cells; origin and steps stay. False, nothing changed, for a negative number
    /// and for more than 2^24 cells.
    bool resize(int rowCount, int columnCount);

    float height(int row, int column) const;       ///< height of a cell, mm; NaN when empty or outside
    void setHeight(int row, int column, float y);  ///< sets the height of a cell, mm; ignored outside

    /// Height at (x, z), mm, bilinear between the middles of the four cells around it; on a middle it is the
    /// cell's height itself. NaN when a cell that carries weight is empty, and beyond the outermost middles.
    float sample(float x, float z) const;

    /// Replaces the cloud by the middles of the cells that are not empty, row by row; its range stays NaN,
    /// its zIndexBuilt false. Returns their number.
    int toPointCloud(KvPointCloud<KvPointXYZ>& cloud) const;
};

/// A grid with the histogram of its heights and its regions.
class KVMATH_EXPORT KvMatrixWithHistos : public KvMatrixCloud {
public:
    QVector<int> regions;  ///< per cell, row by row: 1, 2, ... or 0 for none; of the last segment()
    QMap<float, int>
        bins;  ///< lower bound of a band of heights -> its cells; bands without cells have no entry

    /// Copies the grid; without regions and bins until segment() runs.
    explicit KvMatrixWithHistos(const KvMatrixCloud& matrix = KvMatrixCloud());

    /// Counts the finite heights in bands of `binWidth` mm from the lowest one up. Bands fuller than the
    /// nearest bands of another count on both sides are the seeds: a region is all that is reached from a
    /// cell of such a band over the four sides of cells, with steps of height <= maxStep mm. Regions of fewer
    /// than minCells cells are dropped, the others numbered in the order of their first cell. Returns their
    /// number. 0, no regions and no bins: binWidth not finite or not > 0, maxStep not > 0, no finite height,
    /// more than 2^22 bands, or heights that are not rows * columns. Linear.
    int segment(float binWidth, float maxStep, int minCells);
};

}  // namespace KvMath
