#pragma once
// From line positions to profiles by a full table.

#include <kvmath/base/global.h>

namespace KvMath {

class KvProfile;

/// Appends to each of the 1000 profiles, one per calibration step s, 648 points (x, z), one per column c in
/// order, in the unit of the ranges; what the profiles hold stays, their cached range becomes stale. With
/// v = dtf[c][s], q = v >> 5, rem = v & 31 and T a half of the table:
///     row = 2 * q + (rem >> 1),  f = rem & 1
///     z = (T[row][c] + (T[row + 1][c] - T[row][c]) * f * 0.5) * zRange / 16384, and x likewise.
/// Deliberate: row is not v >> 4. The table holds position v at half row 2 * q + rem / 16, while half row 2 *
/// q + rem / 2 is read: true at whole pixels, up to 13.6 half rows further down just before the next one. An
/// empty table cell counts as the number 32768, which gives twice the range. An empty position reads row 0,
/// and so does one whose row + 1 is above 999; other positions beyond the sensor read the row that the
/// formula gives them, where a built table is empty. Null tables, DTF rows or profiles: nothing.
KVMATH_EXPORT void calcProfsFromDtf(const unsigned short* tbl, unsigned short** dtf, double zRange,
                                    double xRange, KvProfile* profiles);

}  // namespace KvMath
