// Binary records and the headerless file of points.

#include <kvmath/base/count_p.h>
#include <kvmath/core/point_cloud.h>

#include <kvmath/core/record_io_p.h>
#include <kvmath/core/record_layout.h>

#include <QtCore/QIODevice>

#include <type_traits>

namespace KvMath {
namespace {

template <class T>
constexpr unsigned char kMarker = std::is_same_v<T, KvPointXY>    ? kPlaneCloudRecord
                                  : std::is_same_v<T, KvPointXYZ> ? kSpaceCloudRecord
                                                                  : kColourCloudRecord;

/// Width of the count field. That of the plane cloud holds the low 16 bits only, by design.
template <class T>
using StoredCount = std::conditional_t<std::is_same_v<T, KvPointXY>, quint16, quint32>;

/// False for a record that readFromFile would refuse. That of the plane cloud counts to 65535.
template <class T>
bool canBeReadAgain(const QList<T>& points) {
    return std::is_same_v<T, KvPointXY> || points.size() <= qint64{Internal::kMostPoints};
}

bool writeXYZ(QFile& file, const QList<KvPointXYZ>& points) {
    // A coloured point of colour zero has exactly the layout wanted here.
    constexpr int kBlock = 16384;
    QList<KvPointXYZRGB> block;
    for (const KvPointXYZ& point : points) {
        block.append(KvPointXYZRGB(point.x, point.y, point.z, 0));
        if (block.size() < kBlock)
            continue;
        if (!Internal::writePoints(file, block, kBlock))
            return false;
        block.clear();
    }
    return Internal::writePoints(file, block, block.size());
}

}  // namespace

template <class T>
bool KvPointCloudBase<T>::writeToFile(QFile& file) const {
    return canBeReadAgain(points) && Internal::writeField(file, kMarker<T>) &&
           Internal::writeField(file, static_cast<StoredCount<T>>(points.size())) &&
           Internal::writePoints(file, points, points.size());
}

template <class T>
bool KvPointCloudBase<T>::writeToFile(QString path) const {
    return canBeReadAgain(points) && Internal::writeFile(path, QIODevice::ReadWrite | QIODevice::Truncate,
                                                         [this](QFile& file) { return writeToFile(file); });
}

template <class T>
int KvPointCloudBase<T>::readFromFile(QFile& file) {
    clear();
    zIndexBuilt = false;
    Internal::PositionGuard position(file);
    unsigned char marker = 0;
    StoredCount<T> count = 0;
    if (!Internal::readField(file, marker) || marker != kMarker<T> || !Internal::readField(file, count))
        return -1;
    const quint32 complete = Internal::readPoints(file, points, count);
    calcRange();
    if (complete != count)
        return -1;  // the complete points stay, by design
    position.release();
    return Internal::countOf(points);
}

template <class T>
int KvPointCloudBase<T>::readFromFile(QString path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? readFromFile(file) : -1;
}

bool KvPointCloud<KvPointXY>::writeMarker(QFile& file, unsigned char marker) {
    return Internal::writeField(file, marker);
}

bool KvPointCloud<KvPointXY>::readMarker(QFile& file, unsigned char marker) {
    unsigned char found = 0;
    return Internal::readField(file, found) && found == marker;
}

bool KvPointCloud<KvPointXYZ>::compat_writeToXYZFile(QString path) const {
    const auto write = [this](QFile& file) { return writeXYZ(file, points); };
    return Internal::writeFile(path, QIODevice::ReadWrite | QIODevice::Truncate, write);
}

template bool KvPointCloudBase<KvPointXY>::writeToFile(QFile&) const;
template bool KvPointCloudBase<KvPointXYZ>::writeToFile(QFile&) const;
template bool KvPointCloudBase<KvPointXYZRGB>::writeToFile(QFile&) const;
template bool KvPointCloudBase<KvPointXY>::writeToFile(QString) const;
template bool KvPointCloudBase<KvPointXYZ>::writeToFile(QString) const;
template bool KvPointCloudBase<KvPointXYZRGB>::writeToFile(QString) const;
template int KvPointCloudBase<KvPointXY>::readFromFile(QFile&);
template int KvPointCloudBase<KvPointXYZ>::readFromFile(QFile&);
template int KvPointCloudBase<KvPointXYZRGB>::readFromFile(QFile&);
template int KvPointCloudBase<KvPointXY>::readFromFile(QString);
template int KvPointCloudBase<KvPointXYZ>::readFromFile(QString);
template int KvPointCloudBase<KvPointXYZRGB>::readFromFile(QString);

}  // namespace KvMath
