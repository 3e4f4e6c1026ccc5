#pragma once
// Files of a scanner's calibration: raw records and pixel tables, told apart by their sizes.

#include <kvmath/calibration/table_layout.h>

#include "simulator/triangulation_scanner.h"

#include <QtCore/QString>

namespace KvMeasure {

enum class CalibrationForm { Raw, FullTable, CompactTable };

/// "raw record", "full table", "compact table".
QString formName(CalibrationForm form);

/// By its size. Throws Failure for what is no regular file or has another size.
CalibrationForm calibrationForm(const QString& path);

using RawRecord = Simulator::CalibrationRecord;

enum class Half { Z, X };

/// A table in memory.
class PixelTable {
public:
    explicit PixelTable(CalibrationForm form);

    CalibrationForm form() const { return form_; }
    bool isFull() const { return form_ == CalibrationForm::FullTable; }
    int rows() const { return isFull() ? KvMath::kTableSensorRows : KvMath::kSensorRows; }  ///< on the sensor
    double rowsPerPixel() const { return isFull() ? 2.0 : 1.0; }

    unsigned short* cells(Half half = Half::Z);  ///< the first row of a half
    unsigned short cell(Half half, int row, int column) const;
    double value(Half half, int row, int column, double range) const;  ///< NaN for an empty cell
    /// At a sensor row, linear between the rows of the table; NaN where a cell that is needed is empty.
    double valueAt(Half half, double sensorRow, int column, double range) const;
    int filled(Half half) const;  ///< cells that are not empty, of all rows

    static constexpr int columns = KvMath::kSensorColumns;

private:
    int halfRows() const { return isFull() ? KvMath::kTableHalfRows : KvMath::kCompactHalfRows; }
    std::size_t first(Half half) const;

    CalibrationForm form_;
    std::vector<unsigned short> cells_;
};

/// These throw Failure for files of another form or that cannot be read.
RawRecord loadRaw(const QString& path);
PixelTable loadTable(const QString& path);

/// These replace a file as a whole or not at all; throw Failure.
void saveRaw(RawRecord& record, const QString& path);
void saveTable(PixelTable& table, const QString& path);

}  // namespace KvMeasure
