#include <kvmath/core/record_io_p.h>

#include <kvmath/core/list_of_size_p.h>

#include <QtCore/QByteArray>

#include <algorithm>
#include <type_traits>

namespace KvMath::Internal {
namespace {

constexpr int kBlockPoints = 16384;  // a quarter of a megabyte of the largest point

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

/// Points of 8 bytes lie in the list itself: added as a block and filled in place. Larger ones are allocated
/// one by one anyway.
template <class Point>
void appendStored(QList<Point>& points, const char* bytes, int count) {
    constexpr int kSize = storedSize<Point>();
    if constexpr (std::is_same_v<Point, KvPointXY>) {
        QList<Point> added = listOfSize(count, Point(0.0F, 0.0F));
        for (Point& point : added) {
            load(bytes, point);
            bytes += kSize;
        }
        if (points.isEmpty())
            points.swap(added);
        else
            points.append(added);
    } else {
        Point point;
        for (int i = 0; i < count; ++i) {
            load(bytes + i * kSize, point);
            points.append(point);
        }
    }
}

/// A pipe may deliver in pieces: reads until `size` bytes are there or nothing more comes.
qint64 readUpTo(QFile& file, char* data, qint64 size) {
    qint64 total = 0;
    while (total < size) {
        const qint64 got = file.read(data + total, size - total);
        if (got <= 0)
            break;
        total += got;
    }
    return total;
}

}  // namespace

bool writeBytes(QFile& file, const void* data, qint64 size) {
    return file.write(static_cast<const char*>(data), size) == size;
}

bool readBytes(QFile& file, void* data, qint64 size) {
    return readUpTo(file, static_cast<char*>(data), size) == size;
}

template <class Point>
bool writePoints(QFile& file, const QList<Point>& points, int count) {
    constexpr int kSize = storedSize<Point>();
    count = std::min(count, points.size());
    QByteArray block(std::clamp(count, 0, kBlockPoints) * kSize, Qt::Uninitialized);
    for (int done = 0; done < count;) {
        const int part = std::min(kBlockPoints, count - done);
        char* bytes = block.data();
        const auto first = points.constBegin() + done;
        for (int i = 0; i < part; ++i)
            store(first[i], bytes + i * kSize);
        if (!writeBytes(file, bytes, qint64(part) * kSize))
            return false;
        done += part;
    }
    return true;
}

template <class Point>
quint32 readPoints(QFile& file, QList<Point>& points, quint32 count) {
    constexpr int kSize = storedSize<Point>();
    QByteArray block(static_cast<int>(std::min<quint32>(count, kBlockPoints)) * kSize, Qt::Uninitialized);
    for (quint32 done = 0; done < count;) {
        const qint64 part = std::min<quint32>(kBlockPoints, count - done);
        char* bytes = block.data();
        const int complete = static_cast<int>(readUpTo(file, bytes, part * kSize) / kSize);
        appendStored(points, bytes, complete);
        done += static_cast<quint32>(complete);
        if (complete < part)
            return done;
    }
    return count;
}

template bool writePoints(QFile&, const QList<KvPointXY>&, int);
template bool writePoints(QFile&, const QList<KvPointXYZ>&, int);
template bool writePoints(QFile&, const QList<KvPointXYZRGB>&, int);
template quint32 readPoints(QFile&, QList<KvPointXY>&, quint32);
template quint32 readPoints(QFile&, QList<KvPointXYZ>&, quint32);
template quint32 readPoints(QFile&, QList<KvPointXYZRGB>&, quint32);

}  // namespace KvMath::Internal
