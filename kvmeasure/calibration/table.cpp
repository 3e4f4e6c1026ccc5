#include "kvmeasure/calibration_file.h"

#include "kvmeasure/failure.h"
#include "kvmeasure/output_file.h"
#include "kvmeasure/profile_file.h"

#include <kvmath/calibration/table_io.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryFile>
#include <QtCore/QtEndian>

#include <algorithm>
#include <cmath>
#include <functional>

namespace KvMeasure {

namespace {

constexpr qint64 rawBytes = 1'304'000;
constexpr qint64 fullBytes = qint64{KvMath::kTableCells} * 2;
constexpr qint64 compactBytes = qint64{KvMath::kCompactCells} * 2;

qint64 bytesOf(CalibrationForm form) {
    if (form == CalibrationForm::Raw)
        return rawBytes;
    return form == CalibrationForm::FullTable ? fullBytes : compactBytes;
}

RawRecord emptyRecord() {
    RawRecord record;
    record.positions.resize(std::size_t{KvMath::kSensorColumns} * KvMath::kCalibrationSteps);
    record.parameters.resize(KvMath::kCalibrationSteps);
    return record;
}

[[noreturn]] void failReading(const QString& path) {
    throw Failure{QString("%1: cannot be read; is it locked or its disk gone?").arg(path)};
}

/// The library writes over the file that it is given, and does not tell of a full disk. So it writes a
/// temporary one, whose size shows whether all of it arrived.
void saveThrough(const QString& path, CalibrationForm form,
                 const std::function<bool(const QString& path)>& save) {
    OutputFile out(path);
    QTemporaryFile temporary(path + ".XXXXXX");
    if (!temporary.open())
        throw Failure{QString("%1: cannot be written: %2").arg(path, temporary.errorString())};
    if (!save(temporary.fileName()) || QFileInfo(temporary.fileName()).size() != bytesOf(form)) {
        out.write(QByteArray(static_cast<int>(bytesOf(form)), '\0'));  // fails with the system's reason
        throw Failure{QString("%1: was not written, though the disk takes it now; try again").arg(path)};
    }
    out.write(temporary.readAll());
    out.commit();
}

}  // namespace

QString formName(CalibrationForm form) {
    if (form == CalibrationForm::Raw)
        return "raw record";
    return form == CalibrationForm::FullTable ? "full table" : "compact table";
}

CalibrationForm calibrationForm(const QString& path) {
    QFile file(path);
    openRegularFile(file);
    for (const CalibrationForm form :
         {CalibrationForm::Raw, CalibrationForm::FullTable, CalibrationForm::CompactTable}) {
        if (file.size() == bytesOf(form))
            return form;
    }
    throw Failure{
        QString("%1: is no calibration file: it has %2 bytes; a raw record has 1304000, a full table "
                "2592000, a compact table 1327104")
            .arg(path)
            .arg(file.size())};
}

PixelTable::PixelTable(CalibrationForm form)
    : form_(form), cells_(static_cast<std::size_t>(bytesOf(form) / 2), KvMath::kEmptyCell) {}

std::size_t PixelTable::first(Half half) const {
    return half == Half::Z ? 0 : static_cast<std::size_t>(halfRows()) * columns;
}

unsigned short* PixelTable::cells(Half half) { return cells_.data() + first(half); }

unsigned short PixelTable::cell(Half half, int row, int column) const {
    return cells_[first(half) + static_cast<std::size_t>(row) * columns + static_cast<std::size_t>(column)];
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

RawRecord loadRaw(const QString& path) {
    const CalibrationForm form = calibrationForm(path);
    if (form != CalibrationForm::Raw)
        throw Failure{QString("%1: is a %2; expected a raw record").arg(path, formName(form))};
    RawRecord record = emptyRecord();
    if (!KvMath::loadRawCbrDataFromFile(record.columns().data(), record.parameters.data(), path))
        failReading(path);
    return record;
}

PixelTable loadTable(const QString& path) {
    const CalibrationForm form = calibrationForm(path);
    if (form == CalibrationForm::Raw)
        throw Failure{QString("%1: is a raw record; expected a table").arg(path)};
    PixelTable table(form);
    if (table.isFull()) {
        if (!KvMath::loadTableFromFile(table.cells(), path))
            failReading(path);
        return table;
    }
    QFile file(path);
    const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.read(compactBytes) : QByteArray();
    if (bytes.size() != compactBytes)
        failReading(path);
    qFromLittleEndian<quint16>(bytes.constData(), KvMath::kCompactCells, table.cells());
    return table;
}

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
