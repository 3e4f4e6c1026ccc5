#pragma once
// Files of the raw calibration record and of tables. Layout and markers: table_layout.h.
//
// The functions write where they are told, over what is there. They report only whether the file could be
// opened (a null pointer and short memory count as not opened): after a save compare the size, 1,304,000
// bytes for a raw record and 2,592,000 for a full table, where a full disk must not pass unnoticed.

#include <kvmath/base/global.h>

#include <QtCore/QIODevice>
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

/// Reads that file from the present place of a device that is open. False, outputs untouched, when it is not
/// open for reading.
KVMATH_EXPORT bool loadRawCbrData(unsigned short** positions, double* parameters, QIODevice& device);

/// Writes the 2000 x 648 cells of a full table in row order, little-endian: 2,592,000 bytes.
KVMATH_EXPORT bool saveTableToFile(const unsigned short* tbl, QString path);

/// Writes the first `count` cells of any table, little-endian; a compact table has 663,552. A count below 1
/// leaves an empty file.
KVMATH_EXPORT bool saveTableToFile(const unsigned short* table, int count, QString path);

/// Reads a full table. A short file is no failure: cells that are not there, or not completely, become empty.
/// False, table untouched, when the file cannot be opened.
KVMATH_EXPORT bool loadTableFromFile(unsigned short* tbl, QString path);

/// Reads the first `count` cells of any table, as loadTableFromFile does, from the present place of a device
/// that is open. False, table untouched, when it is not open for reading, and for a count below 1.
KVMATH_EXPORT bool loadTable(unsigned short* table, int count, QIODevice& device);

}  // namespace KvMath
