#pragma once
// Files of a scanner's calibration: raw records and pixel tables, told apart by their sizes.
//
// Sizes and markers of both: kvmath/calibration/table_layout.h.

#include <kvmath/calibration/raw_record.h>
#include <kvmeasure/base/global.h>

#include <QtCore/QFile>
#include <QtCore/QString>

#include <memory>

namespace KvMeasure {

/// What a calibration file holds.
enum class CalibrationForm { Raw, FullTable, CompactTable };

/// "raw record", "full table", "compact table".
KVMEASURE_EXPORT QString formName(CalibrationForm form);

/// Positions of the laser line, 1/32 pixel, and the z of the steps, mm.
using RawRecord = KvMath::CalibrationRecord;

/// The two coordinates of a table.
enum class Half { Z, X };

/// A pixel table in memory: Z and X for places of the sensor. It owns its cells. Rows and columns are not
/// checked: 0 <= row < rows(), 0 <= column < columns.
class KVMEASURE_EXPORT PixelTable {
public:
    /// A table of this form, FullTable or CompactTable, all of its cells empty.
    explicit PixelTable(CalibrationForm form);

    CalibrationForm form() const { return form_; }                       ///< as it was made
    bool isFull() const { return form_ == CalibrationForm::FullTable; }  ///< with two rows per sensor row
    /// Table rows of a half that lie on the sensor: 976 or 488.
    int rows() const { return isFull() ? KvMath::kTableSensorRows : KvMath::kSensorRows; }
    double rowsPerPixel() const { return isFull() ? 2.0 : 1.0; }  ///< table rows for each sensor row

    /// The cells of a half, row by row, 648 to each, 1000 or 512 rows. Valid as long as the table.
    unsigned short* cells(Half half = Half::Z);
    /// A cell in table units; kEmptyCell: no coordinate.
    unsigned short cell(Half half, int row, int column) const;
    /// The coordinate of a cell, mm, for a range in mm; NaN for an empty cell.
    double value(Half half, int row, int column, double range) const;
    /// The coordinate at a sensor row, 0 <= sensorRow < 488 (not checked), mm, linear between the rows of the
    /// table; NaN where a cell that is needed is empty.
    double valueAt(Half half, double sensorRow, int column, double range) const;
    /// The number of cells of a half that are not empty, those beyond the sensor included.
    int filled(Half half) const;

    static constexpr int kColumns = KvMath::kSensorColumns;  ///< 648

private:
    int halfRows() const { return isFull() ? KvMath::kTableHalfRows : KvMath::kCompactHalfRows; }
    std::size_t first(Half half) const;

    CalibrationForm form_;
    std::vector<unsigned short> cells_;
};

/// A calibration file that is open. It is read once, as what it holds.
class KVMEASURE_EXPORT CalibrationFile {
public:
    /// Opens a file; its form is told by its size: 1,304,000, 2,592,000 or 1,327,104 bytes. Throws Error in
    /// that file for what is no regular file, cannot be opened or has another size.
    explicit CalibrationFile(const QString& path);

    CalibrationForm form() const { return form_; }  ///< what it holds
    /// Reads a raw record. Throws Error in that file for another form and for what cannot be read. What the
    /// numbers are is not looked at.
    RawRecord readRaw();
    PixelTable readTable();  ///< reads a table of either form; throws Error as readRaw

private:
    QString path_;
    std::shared_ptr<QFile> file_;
    CalibrationForm form_;
};

KVMEASURE_EXPORT RawRecord loadRaw(const QString& path);     ///< opens and reads a raw record
KVMEASURE_EXPORT PixelTable loadTable(const QString& path);  ///< opens and reads a table

/// Writes a record of 648,000 positions and 1,000 parameters, which stays as it is. Replaces a file as a
/// whole or not at all. Throws Error in that file when it cannot be written.
KVMEASURE_EXPORT void saveRaw(RawRecord& record, const QString& path);

/// Writes a table, which stays as it is, otherwise as saveRaw.
KVMEASURE_EXPORT void saveTable(PixelTable& table, const QString& path);

}  // namespace KvMeasure
