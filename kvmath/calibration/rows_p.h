#pragma once
// The row pointers of a DTF or of a look-up, and what its positions are.

#include <kvmath/calibration/table_layout.h>

#include <algorithm>

namespace KvMath::Internal {

template <class Cell>
bool hasColumns(Cell* const* rows) {
    return rows != nullptr &&
           std::all_of(rows, rows + kSensorColumns, [](const Cell* row) { return row != nullptr; });
}

/// A line was found, if beyond the sensor.
inline bool isFound(unsigned short position) { return position != 0; }

/// A position on the sensor; one comparison, as 0 wraps around.
inline bool isOnSensor(unsigned short position) {
    return static_cast<unsigned short>(position - 1) < kSensorPositions - 1;
}

}  // namespace KvMath::Internal
