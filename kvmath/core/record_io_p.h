#pragma once
// Little-endian fields and points of the binary records.

#include <kvmath/core/point.h>

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QIODevice>
#include <QtCore/QList>
#include <QtCore/QtEndian>

#include <cstring>
#include <functional>

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

/// Opens `path` in `mode`, lets `write` fill it, and flushes. When anything fails, nothing half-written stays
/// under the name: a regular file is cut back to what it held when it was opened, and removed if that is
/// nothing (a link only emptied). False then.
bool writeFile(const QString& path, QIODevice::OpenMode mode, const std::function<bool(QFile& file)>& write);

/// Records on their way into a file, written in large pieces: for stacks of many small records.
class RecordWriter {
public:
    explicit RecordWriter(QFile& file) : file_(file) {}
    qint64 write(const char* data, qint64 size);  ///< size, or less when the file takes no more
    bool flush();                                 ///< true when all were written

private:
    QFile& file_;
    QByteArray pending_;
};

/// Records on their way out of a file, read in large pieces. The file stands after what is asked for.
class RecordReader {
public:
    explicit RecordReader(QFile& file) : file_(file) {}
    qint64 read(char* data, qint64 size);  ///< 0 at the end

private:
    QFile& file_;
    QByteArray block_;
    qint64 used_ = 0;
    qint64 size_ = 0;
};

/// A pipe may deliver in pieces: reads until `size` bytes are there or nothing more comes.
template <class Source>
qint64 readUpTo(Source& source, char* data, qint64 size) {
    qint64 total = 0;
    while (total < size) {
        const qint64 got = source.read(data + total, size - total);
        if (got <= 0)
            break;
        total += got;
    }
    return total;
}

/// True when all bytes were there. `source`: a QFile or a RecordReader, here and below.
template <class Source>
bool readBytes(Source& source, void* data, qint64 size) {
    return readUpTo(source, static_cast<char*>(data), size) == size;
}

/// True when all bytes were written. `target`: a QFile or a RecordWriter, here and below.
template <class Target>
bool writeBytes(Target& target, const void* data, qint64 size) {
    return target.write(static_cast<const char*>(data), size) == size;
}

/// One number of 1, 2, 4 or 8 bytes.
template <class Target, class Value>
bool writeField(Target& target, Value value) {
    const Value stored = qToLittleEndian(value);
    return writeBytes(target, &stored, sizeof stored);
}

/// One number of 1, 2, 4 or 8 bytes; `value` is untouched when they are not there.
template <class Source, class Value>
bool readField(Source& source, Value& value) {
    Value stored;
    if (!readBytes(source, &stored, sizeof stored))
        return false;
    value = qFromLittleEndian(stored);
    return true;
}

/// Writes the first `count` points without header, as x, y (, z (, rgb)). For all three point types.
template <class Target, class Point>
bool writePoints(Target& target, const QList<Point>& points, qint64 count);

/// Most points that one record may have; their list takes 2.7 GB.
constexpr quint32 kMostPoints = 1U << 26;

/// Replaces the points by up to `count` as writePoints leaves them, as far as complete ones exist, and
/// returns their number. A count reserves no more memory than the file has bytes, and the result is that of
/// field by field reading. When points are missing the source stands at its end. Of a file
/// that holds more than kMostPoints for a record none are read, of a pipe no more than these.
template <class Source, class Point>
quint32 readPoints(Source& source, QList<Point>& points, quint32 count);

}  // namespace KvMath::Internal
