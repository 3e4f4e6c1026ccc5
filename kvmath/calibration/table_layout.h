#pragma once
// Sizes and markers of the calibration tables.
//
// DTF: 648 row pointers, one per sensor column, each to 1000 cells, one per calibration step. A cell is the
// height of the laser line in that column in 1/32 sensor pixel; 0: no line found. Positions from 15616 on lie
// beyond the sensor: no look-up has a cell for them.
//
// TBL: the two coordinates of the profile plane for a place on the sensor, row-major, 648 columns. The full
// form has rows 0..999 for Z and 1000..1999 for X, row r of a half standing for sensor row r / 2, of which
// 0..975 lie on the sensor. The compact form has rows 0..511 for Z and 512..1023 for X, one per sensor row.
// A cell of 32768 is empty, any other value v is the coordinate v * range / 16384.

namespace KvMath {

constexpr int kSensorColumns = 648;      ///< of the image sensor
constexpr int kSensorRows = 488;         ///< of the image sensor
constexpr int kCalibrationSteps = 1000;  ///< of a record

constexpr int kPositionsPerRow = 32;                              ///< a position counts 1/32 pixel
constexpr int kSensorPositions = kSensorRows * kPositionsPerRow;  ///< 15616: the first one outside
constexpr int kLookUpCells = 16384;                               ///< cells of one look-up column

constexpr int kTableHalfRows = 1000;                      ///< rows of a half of the full table
constexpr int kTableRows = 2 * kTableHalfRows;            ///< 2000
constexpr int kTableSensorRows = 2 * kSensorRows;         ///< 976: rows of a half on the sensor
constexpr int kTableCells = kTableRows * kSensorColumns;  ///< 1,296,000

constexpr int kCompactHalfRows = 512;                         ///< rows of a half of the compact table
constexpr int kCompactRows = 2 * kCompactHalfRows;            ///< 1024
constexpr int kCompactCells = kCompactRows * kSensorColumns;  ///< 663,552

constexpr unsigned short kEmptyCell = 32768;  ///< no coordinate
constexpr double kUnitsPerRange = 16384.0;    ///< table units of one measuring range

}  // namespace KvMath
