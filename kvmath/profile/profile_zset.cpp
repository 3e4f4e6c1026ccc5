// The stack, its files, parts and clouds.

#include <kvmath/profile/profile_zset.h>

#include <kvmath/base/count_p.h>
#include <kvmath/core/box_p.h>
#include <kvmath/profile/point_list_p.h>
#include <kvmath/profile/profile_record_p.h>

#include <QtCore/QIODevice>
#include <QtCore/QVector>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace KvMath {
namespace {

constexpr float kUnset = std::numeric_limits<float>::quiet_NaN();
constexpr int kMaxPlanes = 1 << 20;

/// The planes of a slicing, not descending.
class Planes {
public:
    Planes(int count, float minZ, float step) : z_(count), step_(step), perStep_(1.0F / step) {
        for (int i = 0; i < count; ++i)
            z_[i] = static_cast<float>(i) * step + minZ;
    }

    float z(int i) const { return z_.at(i); }

    /// The plane that gets a point: of the first interval that holds it, the nearer plane. -1 outside.
    int nearest(float z) const {
        const int interval = intervalOf(z);
        if (interval < 0)
            return -1;
        return (z - z_.at(interval)) / step_ < 0.5F ? interval : interval + 1;
    }

private:
    /// The planes before the first one >= z lie below z, so the interval that ends there is the first to hold
    /// z. A quotient guesses it and is wrong by one at a plane; where rounding is coarse the search decides.
    int intervalOf(float z) const {
        const float* const planes = z_.constData();
        const int last = Internal::countOf(z_) - 2;
        if (last < 0 || !(z >= planes[0] && z <= planes[last + 1]))  // NaN too
            return -1;
        const float quotient = (z - planes[0]) * perStep_;
        const int guess = quotient < static_cast<float>(last) ? static_cast<int>(quotient) : last;
        if (z <= planes[guess + 1] && z > planes[guess])
            return guess;
        if (guess == 0 ? z <= planes[1] : z <= planes[guess] && z > planes[guess - 1])
            return std::max(guess - 1, 0);
        return static_cast<int>(std::lower_bound(planes + 1, planes + last + 1, z) - planes) - 1;
    }

    QVector<float> z_;
    float step_, perStep_;
};

/// Number of planes of a slicing, or -1 when it is refused.
int planeCount(const KvPointCloud<KvPointXYZ>& cloud, float step) {
    if (!(step > 0.0F) || !std::isfinite(step) || !std::isfinite(cloud.minZ) || !std::isfinite(cloud.maxZ))
        return -1;
    const float intervals = std::ceil(cloud.size_z() / step);
    if (!(intervals < static_cast<float>(kMaxPlanes)))
        return -1;
    return intervals >= 0.0F ? static_cast<int>(intervals) + 1 : 0;
}

}  // namespace

KvProfileZSet::KvProfileZSet()
    : minX(kUnset), maxX(kUnset), minY(kUnset), maxY(kUnset), minZ(kUnset), maxZ(kUnset), zStep(kUnset) {}

int KvProfileZSet::size() const { return Internal::countOf(profiles); }
bool KvProfileZSet::isEmpty() const { return profiles.isEmpty(); }
void KvProfileZSet::clear() { *this = KvProfileZSet(); }
void KvProfileZSet::append(const KvProfileZ& profile) { profiles.append(profile); }
KvProfileZ& KvProfileZSet::operator[](int i) { return profiles[i]; }
const KvProfileZ& KvProfileZSet::at(int i) const { return profiles.at(i); }

bool KvProfileZSet::writeToFile(QString path) const {
    const auto write = [this](QFile& file) {
        Internal::RecordWriter target(file);
        const auto writes = [&target](const KvProfileZ& profile) {
            return Internal::writeRecord(target, profile);
        };
        return std::all_of(profiles.constBegin(), profiles.constEnd(), writes) && target.flush();
    };
    return Internal::writeFile(path, QIODevice::ReadWrite | QIODevice::Truncate, write);
}

int KvProfileZSet::readFromFile(QString path) {
    clear();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    Internal::RecordReader source(file);
    KvProfileZ profile;
    while (Internal::readRecord(source, profile))
        profiles.append(profile);
    return size();
}

int KvProfileZSet::readFromFile(QString path, float z0, float step) {
    clear();
    zStep = step;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    Internal::RecordReader source(file);
    KvProfileZ profile(z0);
    for (; Internal::readPlaneRecord(source, profile); profile.z += step) {
        if (!profile.points.isEmpty())  // an empty record takes its place too, by design
            profiles.append(profile);
    }
    return size();
}

void KvProfileZSet::setZ(float z0, float step) {
    for (int i = 0; i < profiles.size(); ++i)
        profiles[i].z = z0 + static_cast<float>(i) * step;
    zStep = step;
}

int KvProfileZSet::getRange(float zmin, float zmax, KvProfileZSet& out) const {
    KvProfileZSet found;
    found.zStep = zStep;
    for (const KvProfileZ& profile : profiles)
        if (Internal::isWithin(profile.z, zmin, zmax))
            found.profiles.append(profile);
    out = found;
    return out.size();
}

int KvProfileZSet::toPointCloud(KvPointCloud<KvPointXYZ>& cloud, int first, int last) const {
    cloud.clear();
    cloud.zIndexBuilt = false;
    first = std::max(first, 0);
    last = std::min(last, size() - 1);
    qint64 count = 0;
    for (int i = first; i <= last; ++i)
        count += profiles.at(i).points.size();
    cloud.points.reserve(static_cast<int>(std::min<qint64>(count, 1 << 24)));
    for (int i = first; i <= last; ++i) {
        const KvProfileZ& profile = profiles.at(i);
        for (const KvPointXY& p : profile.points)
            cloud.points.append(KvPointXYZ(p.x, p.y, profile.z));
    }
    return Internal::countOf(cloud.points);
}

int KvProfileZSet::toPointCloud(KvPointCloud<KvPointXYZ>& cloud) const {
    return toPointCloud(cloud, 0, size() - 1);
}

int KvProfileZSet::calcFromPointCloud(KvPointCloud<KvPointXYZ>& cloud, float step) {
    if (std::isnan(cloud.minZ))
        cloud.calcRange();
    clear();
    const int count = planeCount(cloud, step);
    if (count < 0)
        return 0;
    zStep = step;
    const Planes planes(count, cloud.minZ, step);
    for (int i = 0; i < count; ++i)
        profiles.append(KvProfileZ(planes.z(i)));

    // Counted first, so that each profile is made in one piece and filled in place.
    std::vector<int> planeOf(static_cast<size_t>(cloud.points.size()));
    std::vector<int> sizes(static_cast<size_t>(count));
    int* plane = planeOf.data();
    for (const KvPointXYZ& p : qAsConst(cloud.points)) {
        *plane = planes.nearest(p.z);
        if (*plane >= 0)
            ++sizes[static_cast<size_t>(*plane)];
        ++plane;
    }
    std::vector<Internal::PointIterator> next;
    next.reserve(sizes.size());
    for (int i = 0; i < count; ++i) {
        QList<KvPointXY>& points = profiles[i].points;
        points = Internal::pointListOfSize(sizes[static_cast<size_t>(i)]);
        next.push_back(points.isEmpty() ? Internal::PointIterator() : points.begin());
    }
    plane = planeOf.data();
    for (const KvPointXYZ& p : qAsConst(cloud.points)) {
        if (const int i = *plane++; i >= 0) {
            Internal::PointIterator& place = next[static_cast<size_t>(i)];
            place->x = p.x;
            place->y = p.y;
            ++place;
        }
    }
    return size();
}

}  // namespace KvMath
