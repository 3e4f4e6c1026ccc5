#pragma once
// Look-ups from a line position to a coordinate, for every sensor column. Layout and markers: table_layout.h.
//
// A look-up is 648 row pointers, one per column, each to 16384 cells indexed by the position in 1/32 pixel.
// Only columns firstColumn..lastColumn and positions 1..15615 are filled, and only inside the measured area:
//   - within a step, from the first to the last column in which its line was found; columns between two found
//     ones lie on the straight line between them;
//   - within a column, between neighbouring positions that come from steps at most eight apart with no step
//     without any line between them, so that lost columns leave no holes.
// Everything else is empty, and so are values below 0, above 32767 or not a number. Of several steps at one
// position the last one counts. A position from 15616 on is no cell, but bridged to like any other.
//
// Coordinates of step s and column c, in the unit of the ranges:
//     z = params[s] if params[0] and params[1] differ, else s * step / 1000
//     x = (c - firstColumn) * step / 1000
// with steps in thousandths of that unit. A raw record tells nothing about x across the line: the form above
// is true for a scanner of constant scale, see docs/calibration.md.
//
// Cost: the steps times the columns, plus the cells, for any data; 30 kilobytes of work storage. False, with
// nothing written: a null pointer or row (`params` is not used and may be null in convert_Pxl2X), a column
// window that is empty or not within 0..647, a range or used step that is not finite and > 0, no memory.
// False, with the look-ups emptied: no step has a line in two columns of the window.

#include <kvmath/base/global.h>

namespace KvMath {

/// Z of every position. The value of a cell is trunc(z * 16384 / zRange); a bridged column c between c1 and
/// c2 has the position p1 + trunc((c - c1) * (p2 - p1) / (c2 - c1)). Between the positions of two steps z
/// grows evenly, and is truncated as well: all cells are half a unit low on average.
KVMATH_EXPORT bool convert_Pxl2Z(unsigned short** dtf, const double* params, double zRange, double stepSize,
                                 int firstColumn, int lastColumn, unsigned short** lookUp);

/// X of the same cells, trunc(x * 16384 / xRange): one value per column.
KVMATH_EXPORT bool convert_Pxl2X(unsigned short** dtf, const double* params, double xRange, double stepSize,
                                 int firstColumn, int lastColumn, unsigned short** lookUp);

/// Z and X of every position from the surface of triangles over the lines: each step's line has a vertex in
/// every column, bridged ones at their real position, and neighbouring columns of neighbouring steps span two
/// triangles. Barycentric in each; as look-up columns are sides of the triangles, this is linear between the
/// steps. Values are rounded to the nearest unit, which leaves no bias.
KVMATH_EXPORT bool convert_Triangles2PxlWithTemplate(unsigned short** dtf, const double* params,
                                                     double zRange, double xRange, double zStep, double xStep,
                                                     int firstColumn, int lastColumn,
                                                     unsigned short** lookUpZ, unsigned short** lookUpX);

}  // namespace KvMath
