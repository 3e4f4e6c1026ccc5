// A raw record goes through one buffer, a table is read in place and written in pieces. The byte orders are
// those of the file, whatever the machine's.

#include <kvmath/calibration/table_io.h>

#include "rows_p.h"

#include <kvmath/core/record_io_p.h>

#include <QtCore/QFile>
#include <QtCore/QtEndian>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>

namespace KvMath {

namespace {

constexpr qint64 kCellBytes = 2;
constexpr qint64 kParameterBytes = 8;
constexpr qint64 kColumnBytes = kCalibrationSteps * kCellBytes;
constexpr qint64 kPositionBytes = kSensorColumns * kColumnBytes;
constexpr qint64 kPieceCells = 32768;
constexpr qint64 kRawBytes = kPositionBytes + kCalibrationSteps * kParameterBytes;

static_assert(kRawBytes == 1'304'000 && kTableCells * kCellBytes == 2'592'000);

using Buffer = std::unique_ptr<char[]>;

Buffer makeBuffer(qint64 size) { return Buffer(new (std::nothrow) char[static_cast<std::size_t>(size)]); }

/// Reads up to `size` bytes and returns how many were there.
qint64 readUpTo(QIODevice& device, char* data, qint64 size) {
    return std::max<qint64>(device.read(data, size), 0);
}

/// Little-endian cells to `cells`; behind the `size` bytes that exist, and in a cut cell, `missing`.
void takeCells(const char* bytes, qint64 size, unsigned short* cells, qint64 count, unsigned short missing) {
    const auto complete = static_cast<qsizetype>(std::clamp<qint64>(size / kCellBytes, 0, count));
    qFromLittleEndian<quint16>(bytes, complete, cells);
    std::fill(cells + complete, cells + count, missing);
}

void takeParameters(const char* bytes, qint64 size, double* parameters) {
    const auto complete =
        static_cast<qsizetype>(std::clamp<qint64>(size / kParameterBytes, 0, kCalibrationSteps));
    qFromBigEndian<quint64>(bytes, complete, parameters);
    std::fill(parameters + complete, parameters + kCalibrationSteps, 0.0);
}

/// In pieces that stay in the cache.
bool writeCells(QFile& file, const unsigned short* cells, qint64 count, char* piece) {
    while (count > 0) {
        const auto now = static_cast<qsizetype>(std::min(count, kPieceCells));
        qToLittleEndian<quint16>(cells, now, piece);
        if (!Internal::writeBytes(file, piece, now * kCellBytes))
            return false;
        cells += now;
        count -= now;
    }
    return true;
}

/// True once the file is open, by design: one that could not be written completely is gone again.
bool saveThrough(const QString& path, const std::function<bool(QFile&)>& write) {
    bool isOpen = false;
    Internal::writeFile(path, QIODevice::WriteOnly | QIODevice::Truncate, [&](QFile& file) {
        isOpen = true;
        return write(file);
    });
    return isOpen;
}

}  // namespace

bool saveRawCbrDataToFile(unsigned short** positions, const double* parameters, QString path) {
    if (parameters == nullptr || !Internal::hasColumns(positions))
        return false;
    const Buffer buffer = makeBuffer(kRawBytes);
    if (buffer == nullptr)
        return false;
    for (int c = 0; c < kSensorColumns; ++c)
        qToLittleEndian<quint16>(positions[c], kCalibrationSteps, buffer.get() + c * kColumnBytes);
    qToBigEndian<quint64>(parameters, kCalibrationSteps, buffer.get() + kPositionBytes);  // by design
    return saveThrough(path,
                       [&](QFile& file) { return Internal::writeBytes(file, buffer.get(), kRawBytes); });
}

bool loadRawCbrDataFromFile(unsigned short** positions, double* parameters, QString path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && loadRawCbrData(positions, parameters, file);
}

bool loadRawCbrData(unsigned short** positions, double* parameters, QIODevice& device) {
    if (parameters == nullptr || !Internal::hasColumns(positions) || !device.isReadable())
        return false;
    const Buffer buffer = makeBuffer(kRawBytes);
    if (buffer == nullptr)
        return false;
    const qint64 size = readUpTo(device, buffer.get(), kRawBytes);
    for (int c = 0; c < kSensorColumns; ++c) {
        const qint64 start = c * kColumnBytes;
        takeCells(buffer.get() + start, size - start, positions[c], kCalibrationSteps, 0);
    }
    takeParameters(buffer.get() + kPositionBytes, size - kPositionBytes, parameters);
    return true;
}

bool saveTableToFile(const unsigned short* tbl, QString path) {
    return saveTableToFile(tbl, kTableCells, path);
}

bool saveTableToFile(const unsigned short* table, int count, QString path) {
    if (table == nullptr)
        return false;
    const Buffer piece = makeBuffer(kPieceCells * kCellBytes);
    if (piece == nullptr)
        return false;
    return saveThrough(path, [&](QFile& file) { return writeCells(file, table, count, piece.get()); });
}

bool loadTableFromFile(unsigned short* tbl, QString path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && loadTable(tbl, kTableCells, file);
}

bool loadTable(unsigned short* table, int count, QIODevice& device) {
    if (table == nullptr || count < 1 || !device.isReadable())
        return false;
    const qint64 size = readUpTo(device, reinterpret_cast<char*>(table), count * kCellBytes);
    takeCells(reinterpret_cast<const char*>(table), size, table, count, kEmptyCell);  // in place
    return true;
}

}  // namespace KvMath
