#include <kvmath/profile/profile_sd.h>

#include <kvmath/profile/profile_record_p.h>

#include <cstring>

namespace KvMath {
namespace {

constexpr unsigned char kMarker = 0x85;
constexpr int kTagBytes = 4;
constexpr int kBlockBytes = 12;

bool writeBlock(QFile& file, const KvProfileSDBlock& block) {
    char bytes[kBlockBytes];
    qToLittleEndian(block.tag, bytes);
    std::memcpy(bytes + kTagBytes, block.reserved, sizeof block.reserved);
    return Internal::writeBytes(file, bytes, sizeof bytes);
}

bool readBlock(QFile& file, KvProfileSDBlock& block) {
    char bytes[kBlockBytes];
    if (!Internal::readBytes(file, bytes, sizeof bytes))
        return false;
    block.tag = qFromLittleEndian<qint32>(bytes);
    std::memcpy(block.reserved, bytes + kTagBytes, sizeof block.reserved);
    return true;
}

}  // namespace

KvProfileSD::KvProfileSD() = default;

KvProfileSD::KvProfileSD(int tagA, int tagB) {
    blockA.tag = tagA;
    blockB.tag = tagB;
}

KvProfileSD::KvProfileSD(int tagA, int tagB, const float* buffer, unsigned short count)
    : KvProfile(buffer, count) {
    blockA.tag = tagA;
    blockB.tag = tagB;
}

KvProfileSD::KvProfileSD(const KvProfile& profile) : KvProfile(profile) {}
KvProfileSD::KvProfileSD(const KvProfileSD& other) = default;

KvProfileSD& KvProfileSD::operator=(const KvProfileSD& other) {
    appendFromPointCloud(other);  // by design nothing is cleared first, not even for itself
    blockA.tag = other.blockA.tag;
    blockB.tag = other.blockB.tag;
    return *this;
}

KvProfileSD& KvProfileSD::operator=(const KvProfile& other) {
    appendFromPointCloud(other);  // by design
    return *this;
}

bool KvProfileSD::writeToFile(QFile& file) const {
    const quint16 count = Internal::storedCount(points);
    return writeMarker(file, kMarker) && Internal::writeField(file, count) && writeBlock(file, blockA) &&
           writeBlock(file, blockB) && Internal::writePoints(file, points, count);
}

bool KvProfileSD::writeToFile(QString path, bool append) const {
    return Internal::writeFile(
        path, append ? QIODevice::ReadWrite : QIODevice::ReadWrite | QIODevice::Truncate,
        [&](QFile& file) { return (!append || file.seek(file.size())) && writeToFile(file); });
}

int KvProfileSD::readFromFile(QFile& file, bool acceptPartial) {
    Internal::PositionGuard position(file);
    clear();
    quint16 count = 0;
    if (!readMarker(file, kMarker) || !Internal::readField(file, count) || !readBlock(file, blockA) ||
        !readBlock(file, blockB))
        return -1;
    return Internal::readRecordPoints(file, points, count, acceptPartial, position);
}

int KvProfileSD::readFromFile(QString path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? readFromFile(file, /*acceptPartial=*/false) : -1;
}

}  // namespace KvMath
