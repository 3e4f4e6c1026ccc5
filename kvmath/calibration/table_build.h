#pragma once
// Tables from a raw calibration record. Layout and markers: table_layout.h; coordinates, units, what is
// filled and when arguments are refused: pixel_lookup.h.
//
// A cell of table row r is the look-up cell of that row's own position: 16 * r in the full table, 32 * r in
// the compact one. Column limits that are out of order (first < 1, last >= 648 or first >= last) are replaced
// by the lowest and the highest column from 1 to 647 in which any step has a line, or 0 and 0 where there is
// none, and written back. In a full table only columns inside both the window and the limits are filled, so
// never column 0, and limits that are still out of order are a failure. A compact table holds the columns of
// the window; the limits are only told.
//
// Every builder refuses a record with a gap: a step below 500 without any line right after a step with one.
// On false the table is untouched, and for a gap the limits too. Cost: one pass over the record, and the
// cells; 30 kilobytes of work storage.

#include <kvmath/base/global.h>

namespace KvMath {

class KvProfile;

/// Rows 1000..1999 of the full table, by convert_Pxl2X.
KVMATH_EXPORT bool calc_X(unsigned short** dtf, const double* params, double xRange, double xStep,
                          int firstColumn, int lastColumn, int& firstLimit, int& lastLimit,
                          unsigned short* tbl);

/// Rows 0..999 of the full table, by convert_Pxl2Z.
KVMATH_EXPORT bool calc_Z(unsigned short** dtf, const double* params, double zRange, double zStep,
                          int firstColumn, int lastColumn, int& firstLimit, int& lastLimit,
                          unsigned short* tbl);

/// The compact table, by convert_Pxl2Z and convert_Pxl2X.
KVMATH_EXPORT bool calc_XandZ(unsigned short** dtf, const double* params, double zRange, double xRange,
                              double zStep, double xStep, int firstColumn, int lastColumn, int& firstLimit,
                              int& lastLimit, unsigned short* compactTbl);

/// The compact table, by convert_Triangles2PxlWithTemplate.
KVMATH_EXPORT bool calc_XandZ_Triangles(unsigned short** dtf, const double* params, double zRange,
                                        double xRange, double zStep, double xStep, int firstColumn,
                                        int lastColumn, int& firstLimit, int& lastLimit,
                                        unsigned short* compactTbl);

/// How fast the coordinates of a full table change down the sensor, in the unit of the ranges per sensor row:
/// 976 x 648 values each, row-major. Central difference over two half rows on either side, one-sided in the
/// first and last two rows; NaN where a cell that is needed is empty. A null output is skipped. False,
/// outputs untouched: null table, a range that is not finite and > 0.
KVMATH_EXPORT bool gradientXandZtables(const unsigned short* tbl, double zRange, double xRange,
                                       double* gradientZ, double* gradientX);

/// Scores the exposure of a profile from 0 to 1: the share of the 648 columns that gave a point (at most 1),
/// times the share of pairs of neighbouring points with |dy| <= maxJump, mm. A point with an unset coordinate
/// is no point and in no pair; without any pair the score is 0. True when score >= minScore (NaN: false).
KVMATH_EXPORT bool checkExposure(const KvProfile& profile, float maxJump, double minScore, double& score);

}  // namespace KvMath
