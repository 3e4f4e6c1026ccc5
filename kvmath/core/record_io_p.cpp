// Points go between file and list in blocks that stay in the cache; many small records share a read or write
// of 256 kilobytes. The list gets its final length before it is filled, as far as the rest of the file can
// hold the points that a record promises.
#include <kvmath/core/record_io_p.h>

#include <kvmath/core/list_of_size_p.h>

#include <QtCore/QFileInfo>

#include <algorithm>
#include <type_traits>

namespace KvMath::Internal {
namespace {

constexpr int kPieceBytes = 1 << 18;
constexpr int kBlockPoints = 4096;  // at most 64 kilobytes: stays in the cache until it is filled in

template <class Point>
constexpr int storedSize() {
    return std::is_same_v<Point, KvPointXY> ? 8 : (std::is_same_v<Point, KvPointXYZ> ? 12 : 16);
}

template <class Point>
void store(const Point& point, char* bytes) {
    qToLittleEndian(point.x, bytes);
    qToLittleEndian(point.y, bytes + 4);
    if constexpr (!std::is_same_v<Point, KvPointXY>)
        qToLittleEndian(point.z, bytes + 8);
    if constexpr (std::is_same_v<Point, KvPointXYZRGB>)
        qToLittleEndian(point.rgb, bytes + 12);
}

template <class Point>
void load(const char* bytes, Point& point) {
    point.x = qFromLittleEndian<float>(bytes);
    point.y = qFromLittleEndian<float>(bytes + 4);
    if constexpr (!std::is_same_v<Point, KvPointXY>)
        point.z = qFromLittleEndian<float>(bytes + 8);
    if constexpr (std::is_same_v<Point, KvPointXYZRGB>)
        point.rgb = qFromLittleEndian<quint32>(bytes + 12);
}

/// How many of `count` points the rest of a file can hold; one block where that is not known beforehand.
template <class Point>
int pointsToExpect(const QFile& file, quint32 count) {
    if (count <= kBlockPoints || file.isSequential())
        return static_cast<int>(std::min<quint32>(count, kBlockPoints));
    const qint64 bytes = std::max<qint64>(file.size() - file.pos(), 0);
    return static_cast<int>(std::min({bytes / storedSize<Point>(), qint64(count)}));
}

template <class Point>
int pointsToExpect(const RecordReader& /*source*/, quint32 count) {
    return static_cast<int>(std::min<quint32>(count, kBlockPoints));
}

bool holdsMoreThan(const QFile& file, qint64 bytes) { return file.size() - file.pos() > bytes; }
bool holdsMoreThan(const RecordReader& /*source*/, qint64 /*bytes*/) { return false; }

/// Stores points from `filled` on, in the places that the list has already, then behind them.
template <class Point>
void storePoints(QList<Point>& points, int filled, const char* bytes, int count) {
    constexpr int kSize = storedSize<Point>();
    const int inPlace = static_cast<int>(std::min<qint64>(count, points.size() - filled));
    const auto place = points.begin() + filled;
    for (int i = 0; i < inPlace; ++i)
        load(bytes + i * kSize, place[i]);
    for (int i = inPlace; i < count; ++i) {
        Point point;
        load(bytes + i * kSize, point);
        points.append(point);
    }
}

}  // namespace

bool writeFile(const QString& path, QIODevice::OpenMode mode, const std::function<bool(QFile& file)>& write) {
    QFile file(path);
    if (!file.open(mode))
        return false;
    const qint64 before = file.size();
    if (write(file) && file.flush())
        return true;
    const QFileInfo info(path);
    if (!info.isFile())  // devices and pipes keep their names
        return false;
    file.close();  // drops what could not be written
    QFile::resize(path, before);
    if (before == 0 && !info.isSymLink())
        QFile::remove(path);
    return false;
}

qint64 RecordWriter::write(const char* data, qint64 size) {
    if (pending_.size() + size > kPieceBytes && !flush())
        return -1;
    if (pending_.capacity() < kPieceBytes)
        pending_.reserve(kPieceBytes);
    pending_.append(data, static_cast<int>(size));
    return size;
}

bool RecordWriter::flush() {
    const bool written = writeBytes(file_, pending_.constData(), pending_.size());
    pending_.resize(0);
    return written;
}

qint64 RecordReader::read(char* data, qint64 size) {
    if (used_ == size_) {
        if (block_.isEmpty())
            block_ = QByteArray(kPieceBytes, Qt::Uninitialized);
        used_ = 0;
        size_ = std::max<qint64>(file_.read(block_.data(), kPieceBytes), 0);
    }
    const qint64 part = std::min(size, size_ - used_);
    std::memcpy(data, block_.constData() + used_, static_cast<std::size_t>(part));
    used_ += part;
    return part;
}

template <class Target, class Point>
bool writePoints(Target& target, const QList<Point>& points, qint64 count) {
    constexpr int kSize = storedSize<Point>();
    count = std::min<qint64>(count, points.size());
    QByteArray block(static_cast<int>(std::clamp<qint64>(count, 0, kBlockPoints)) * kSize, Qt::Uninitialized);
    auto point = points.constBegin();
    for (qint64 done = 0; done < count;) {
        const int part = static_cast<int>(std::min<qint64>(kBlockPoints, count - done));
        char* bytes = block.data();
        for (int i = 0; i < part; ++i, ++point)
            store(*point, bytes + i * kSize);
        if (!writeBytes(target, bytes, qint64(part) * kSize))
            return false;
        done += part;
    }
    return true;
}

template <class Source, class Point>
quint32 readPoints(Source& source, QList<Point>& points, quint32 count) {
    constexpr int kSize = storedSize<Point>();
    const quint32 most = std::min(count, kMostPoints);
    if (count > most && holdsMoreThan(source, qint64{kMostPoints} * kSize)) {
        points.clear();
        return 0;
    }
    points = listOfSize(pointsToExpect<Point>(source, most), Point());
    QByteArray block(static_cast<int>(std::min<quint32>(most, kBlockPoints)) * kSize, Qt::Uninitialized);
    int filled = 0;
    for (quint32 left = most; left > 0;) {
        const qint64 part = std::min<quint32>(kBlockPoints, left);
        char* bytes = block.data();
        const int complete = static_cast<int>(readUpTo(source, bytes, part * kSize) / kSize);
        storePoints(points, filled, bytes, complete);
        filled += complete;
        left -= static_cast<quint32>(complete);
        if (complete < part)
            break;
    }
    points.erase(points.begin() + filled, points.end());
    return static_cast<quint32>(filled);
}

template bool writePoints(QFile&, const QList<KvPointXY>&, qint64);
template bool writePoints(RecordWriter&, const QList<KvPointXY>&, qint64);
template bool writePoints(QFile&, const QList<KvPointXYZ>&, qint64);
template bool writePoints(QFile&, const QList<KvPointXYZRGB>&, qint64);
template quint32 readPoints(QFile&, QList<KvPointXY>&, quint32);
template quint32 readPoints(RecordReader&, QList<KvPointXY>&, quint32);
template quint32 readPoints(QFile&, QList<KvPointXYZ>&, quint32);
template quint32 readPoints(QFile&, QList<KvPointXYZRGB>&, quint32);

}  // namespace KvMath::Internal
