#pragma once
// Little-endian fields and points of the binary records.

#include <kvmath/core/point.h>

#include <QtCore/QFile>
#include <QtCore/QList>
#include <QtCore/QtEndian>

#include <cstring>

namespace KvMath::Internal {

/// Puts the device back where it stood at construction, unless the record turned out to be complete.
class PositionGuard {
public:
    explicit PositionGuard(QFile& file) : file_(file), position_(file.pos()) {}
    ~PositionGuard() {
        if (!released_)
            file_.seek(position_);
    }
    PositionGuard(const PositionGuard&) = delete;
    PositionGuard& operator=(const PositionGuard&) = delete;
    void release() { released_ = true; }

private:
    QFile& file_;
    qint64 position_;
    bool released_ = false;
};

bool writeBytes(QFile& file, const void* data, qint64 size);  ///< true when all were written
bool readBytes(QFile& file, void* data, qint64 size);         ///< true when all were there

/// One number of 1, 2, 4 or 8 bytes.
template <class Value>
bool writeField(QFile& file, Value value) {
    const Value stored = qToLittleEndian(value);
    return writeBytes(file, &stored, sizeof stored);
}

/// One number of 1, 2, 4 or 8 bytes; `value` is untouched when they are not there.
template <class Value>
bool readField(QFile& file, Value& value) {
    Value stored;
    if (!readBytes(file, &stored, sizeof stored))
        return false;
    value = qFromLittleEndian(stored);
    return true;
}

/// Writes the first `count` points without header, as x, y (, z (, rgb)). For all three point types.
template <class Point>
bool writePoints(QFile& file, const QList<Point>& points, int count);

/// Appends up to `count` points as writePoints leaves them, as far as complete ones exist, and returns their
/// number. Reads in blocks: a count reserves no memory, and the result is that of field by field reading.
/// When points are missing the device stands at its end.
template <class Point>
quint32 readPoints(QFile& file, QList<Point>& points, quint32 count);

}  // namespace KvMath::Internal
