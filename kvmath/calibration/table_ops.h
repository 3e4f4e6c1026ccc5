#pragma once
// Cutting, mirroring and shifting of calibration tables in place. Layout and markers: table_layout.h. A null
// table, or a DTF with a null row, makes every operation here do nothing.

#include <kvmath/base/global.h>

namespace KvMath {

/// What cutTBL empties, sensor pixels; x is the column 0..647, y the sensor row 0..487, y grows downwards.
/// Every int is legal. Slopes are real quotients, height 1 on width 3 is a third of a pixel per column, and a
/// cell on the line itself is decided without rounding.
struct CutDiagonalParamsCBR {
    int bottomLeftWidth;   ///< of the corner cut where y > x * height / width + 488 - height; 0: no cut
    int bottomLeftHeight;  ///< of that corner
    /// Of the corner cut where y > -x * height / width + (488 - height) + 648 * height / width; 0: no cut.
    int bottomRightWidth;
    int bottomRightHeight;  ///< of that corner
    int topLeftWidth;       ///< of the corner cut where x * (-height / width) + height > y; 0: no cut
    int topLeftHeight;      ///< of that corner
    /// Of the corner cut where x * height / width + height - 648 * height / width > y; 0: no cut.
    int topRightWidth;
    int topRightHeight;  ///< of that corner
    int rightMargin;     ///< cuts x > 648 - rightMargin, so 0 and 1 cut nothing
    int leftMargin;      ///< cuts x < leftMargin
    int bottomMargin;    ///< cuts y > 488 - bottomMargin, so 0 and 1 cut nothing
    int topMargin;       ///< cuts y < topMargin
};

/// Empties the cells of the full table, in rows 0..975 of both halves, for which any condition of `params`
/// holds; y is the row halved. One pass over the table.
KVMATH_EXPORT void cutTBL(unsigned short* tbl, CutDiagonalParamsCBR params);

/// Turns the sensor upside down: every non-zero position v of the 648 x 1000 becomes 15616 - v, or 0 where
/// that is not positive.
KVMATH_EXPORT void zMirrorDTF(unsigned short** dtf);

/// Reverses the order of rows 0..976 of the Z half and of rows 1000..1976 of the X half of the full table;
/// the values stay. Twice is the identity. Deliberately 977 rows, one more than the sensor has: row 976,
/// empty in a built table, changes places with row 0.
KVMATH_EXPORT void zMirrorTBL(unsigned short* tbl, bool mirrorZ, bool mirrorX);

/// Moves a compact table: cell (r, c) of each half of `destination` becomes cell (rowShift + r, columnShift +
/// c) of the same half of `source`, or empty where that lies outside. Mind the order of the shifts. Every int
/// is legal. The tables may be the same one, but must not overlap otherwise. Always true.
KVMATH_EXPORT bool convert625to625d(const unsigned short* source, unsigned short* destination,
                                    int columnShift, int rowShift);

}  // namespace KvMath
