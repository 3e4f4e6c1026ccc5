// Tables and raw records in memory. The number of bytes tells the form of a file, since none of them has a
// head. The library writes into a file in memory, whose bytes then go through OutputFile, so that a full disk
// leaves no half table. An empty cell has no value: interpolation to one gives NaN.
#include <kvmeasure/calibration/table.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/regular_file.h>

#include <kvmath/calibration/table_io.h>

#include <QtCore/QFile>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <functional>
#include <sys/mman.h>

namespace KvMeasure {

namespace {

constexpr qint64 kRawBytes = 1'304'000;
constexpr qint64 kFullBytes = qint64{KvMath::kTableCells} * 2;
constexpr qint64 kCompactBytes = qint64{KvMath::kCompactCells} * 2;

qint64 bytesOf(CalibrationForm form) {
    if (form == CalibrationForm::Raw)
        return kRawBytes;
    return form == CalibrationForm::FullTable ? kFullBytes : kCompactBytes;
}

CalibrationForm formOf(qint64 bytes, const QString& path) {
    for (const CalibrationForm form :
         {CalibrationForm::Raw, CalibrationForm::FullTable, CalibrationForm::CompactTable}) {
        if (bytes == bytesOf(form))
            return form;
    }
    throw Error(
        filledIn("%1: is no calibration file: it has %2 bytes; a raw record has 1304000, a full table "
                 "2592000, a compact table 1327104",
                 path, bytes))
        .inFile(path);
}

RawRecord emptyRecord() {
    RawRecord record;
    record.positions.resize(std::size_t{KvMath::kSensorColumns} * KvMath::kCalibrationSteps);
    record.parameters.resize(KvMath::kCalibrationSteps);
    return record;
}

[[noreturn]] void failReading(const QString& path) {
    throw Error(QString("%1: cannot be read; is it locked or its disk gone?").arg(path)).inFile(path);
}

/// The library writes over the file that it is given, and does not tell of a full disk. So it writes one in
/// memory, which leaves nothing behind.
void saveThrough(const QString& path, CalibrationForm form,
                 const std::function<bool(const QString& path)>& save) {
    OutputFile out(path);
    const int descriptor = ::memfd_create("kvmeasure", MFD_CLOEXEC);
    QFile memory;
    if (descriptor < 0 || !memory.open(descriptor, QIODevice::ReadWrite, QFileDevice::AutoCloseHandle))
        throw Error(QString("%1: cannot be written: %2").arg(path, qt_error_string(errno))).inFile(path);
    const bool isSaved = save(QString("/proc/self/fd/%1").arg(descriptor));
    const QByteArray content = memory.readAll();
    if (!isSaved || content.size() != bytesOf(form)) {
        out.write(QByteArray(static_cast<int>(bytesOf(form)), '\0'));  // fails with the system's reason
        throw Error(path + ": cannot be written: there is too little memory, or /proc is missing")
            .inFile(path);
    }
    out.write(content);
    out.commit();
}

}  // namespace

QString formName(CalibrationForm form) {
    if (form == CalibrationForm::Raw)
        return "raw record";
    return form == CalibrationForm::FullTable ? "full table" : "compact table";
}

PixelTable::PixelTable(CalibrationForm form)
    : form_(form), cells_(static_cast<std::size_t>(bytesOf(form) / 2), KvMath::kEmptyCell) {}

std::size_t PixelTable::first(Half half) const {
    return half == Half::Z ? 0 : static_cast<std::size_t>(halfRows()) * kColumns;
}

unsigned short* PixelTable::cells(Half half) { return cells_.data() + first(half); }

unsigned short PixelTable::cell(Half half, int row, int column) const {
    return cells_[first(half) + static_cast<std::size_t>(row) * kColumns + static_cast<std::size_t>(column)];
}

double PixelTable::value(Half half, int row, int column, double range) const {
    const unsigned short units = cell(half, row, column);
    return units == KvMath::kEmptyCell ? std::nan("") : units * range / KvMath::kUnitsPerRange;
}

double PixelTable::valueAt(Half half, double sensorRow, int column, double range) const {
    const double place = sensorRow * rowsPerPixel();
    const int row = static_cast<int>(place);
    const double part = place - row;
    const double here = value(half, row, column, range);
    if (part == 0)
        return here;
    return here + (value(half, row + 1, column, range) - here) * part;
}

int PixelTable::filled(Half half) const {
    const auto begin = cells_.begin() + static_cast<std::ptrdiff_t>(first(half));
    const auto end = begin + static_cast<std::ptrdiff_t>(cells_.size() / 2);
    return static_cast<int>(end - begin - std::count(begin, end, KvMath::kEmptyCell));
}

CalibrationFile::CalibrationFile(const QString& path)
    : path_(path), file_(openedFile(path)), form_(formOf(file_->size(), path)) {}

RawRecord CalibrationFile::readRaw() {
    if (form_ != CalibrationForm::Raw)
        throw Error(QString("%1: is a %2; expected a raw record").arg(path_, formName(form_))).inFile(path_);
    RawRecord record = emptyRecord();
    if (!KvMath::loadRawCbrData(record.columns().data(), record.parameters.data(), *file_) ||
        file_->pos() != kRawBytes)
        failReading(path_);
    return record;
}

PixelTable CalibrationFile::readTable() {
    if (form_ == CalibrationForm::Raw)
        throw Error(QString("%1: is a raw record; expected a table").arg(path_)).inFile(path_);
    PixelTable table(form_);
    const auto cells = static_cast<int>(bytesOf(form_) / 2);
    if (!KvMath::loadTable(table.cells(), cells, *file_) || file_->pos() != bytesOf(form_))
        failReading(path_);
    return table;
}

RawRecord loadRaw(const QString& path) { return CalibrationFile(path).readRaw(); }

PixelTable loadTable(const QString& path) { return CalibrationFile(path).readTable(); }

void saveRaw(RawRecord& record, const QString& path) {
    saveThrough(path, CalibrationForm::Raw, [&record](const QString& temporary) {
        return KvMath::saveRawCbrDataToFile(record.columns().data(), record.parameters.data(), temporary);
    });
}

void saveTable(PixelTable& table, const QString& path) {
    saveThrough(path, table.form(), [&table](const QString& temporary) {
        return table.isFull() ? KvMath::saveTableToFile(table.cells(), temporary)
                              : KvMath::saveTableToFile(table.cells(), KvMath::kCompactCells, temporary);
    });
}

}  // namespace KvMeasure
