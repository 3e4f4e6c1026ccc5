#include <kvmath/profile/profile_z.h>

#include <kvmath/profile/profile_record_p.h>

#include <limits>

namespace KvMath {
namespace {

constexpr float kUnset = std::numeric_limits<float>::quiet_NaN();

}  // namespace

KvProfileZ::KvProfileZ() : z(kUnset) {}
KvProfileZ::KvProfileZ(float place) : z(place) {}
KvProfileZ::KvProfileZ(float place, const float* buffer, unsigned short count)
    : KvProfile(buffer, count), z(place) {}
KvProfileZ::KvProfileZ(const KvProfileZ& other) = default;
KvProfileZ& KvProfileZ::operator=(const KvProfileZ& other) = default;

KvProfileZ& KvProfileZ::operator=(const KvProfile& other) {
    KvProfile::operator=(other);
    return *this;
}

void KvProfileZ::clear() {
    KvProfile::clear();
    z = kUnset;
}

bool KvProfileZ::writeToFile(QFile& file) const { return Internal::writeRecord(file, *this); }

bool KvProfileZ::writeToFile(QString path) const {
    return Internal::writeFile(path, QIODevice::ReadWrite | QIODevice::Truncate,
                               [this](QFile& file) { return writeToFile(file); });
}

int KvProfileZ::readFromFile(QFile& file, bool acceptPartial) {
    Internal::PositionGuard position(file);
    clear();
    quint16 count = 0;
    if (!Internal::readRecordHead(file, count, z))
        return -1;
    return Internal::readRecordPoints(file, points, count, acceptPartial, position);
}

int KvProfileZ::readFromFile(QString path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? readFromFile(file, /*acceptPartial=*/false) : -1;
}

}  // namespace KvMath
