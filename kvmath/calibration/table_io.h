#pragma once
// Files of the raw calibration record and of tables. Layout and markers: table_layout.h.
//
// The functions write where they are told, over what is there. They report only whether the file could be
// opened (a null pointer counts as not opened): after a save compare the size, 1,304,000 bytes for a raw
// record and 2,592,000 for a full table, where a full disk must not pass unnoticed.

#include <kvmath/core/global.h>

#include <QtCore/QString>

namespace KvMath {

/// Writes the 648 x 1000 positions, column by column, little-endian, and then the 1000 parameters as
/// big-endian doubles: 1,304,000 bytes. Deliberately both byte orders. False when the file cannot be
/// opened. A later failure (a full disk) gives true, deliberately; the incomplete file is then removed, for
/// tables too.
KVMATH_EXPORT bool saveRawCbrDataToFile(unsigned short** positions, const double* parameters, QString path);

/// Reads that file. A short one is no failure: positions and parameters that are not there, or not
/// completely, become 0. What follows them is not read. False, outputs untouched, when the file cannot be
/// opened.
KVMATH_EXPORT bool loadRawCbrDataFromFile(unsigned short** positions, double* parameters, QString path);

/// Writes the 2000 x 648 cells of a full table in row order, little-endian: 2,592,000 bytes.
KVMATH_EXPORT bool saveTableToFile(const unsigned short* tbl, QString path);

/// Writes the first `count` cells in the same way; a compact table has 663,552. A count below 1 leaves an
/// empty file.
KVMATH_EXPORT bool saveTableToFile(const unsigned short* table, int count, QString path);

/// Reads a full table. A short file is no failure: cells that are not there, or not completely, become empty.
/// False, table untouched, when the file cannot be opened.
KVMATH_EXPORT bool loadTableFromFile(unsigned short* tbl, QString path);

}  // namespace KvMath
