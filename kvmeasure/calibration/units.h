#pragma once
// Units of calibration tables.

namespace KvMeasure {

/// Ranges and steps that a table is in. A cell counts a 16384th of the range.
struct TableUnits {
    double zRange = 0;   ///< mm, > 0; a table holds z from 0 to twice that
    double xRange = 0;   ///< mm, > 0; likewise
    double zStep = 0;    ///< thousandths of a mm, > 0 where a record has no z of its own
    double xStep = 0;    ///< of columns, thousandths of a mm, > 0
    double zOffset = 0;  ///< z of the table less that of records, mm
};

}  // namespace KvMeasure
