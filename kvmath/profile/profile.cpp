// Container, range, searches, bounds and order of a profile. Everything is one pass, but for the sort.

#include <kvmath/profile/profile.h>

#include <kvmath/base/count_p.h>
#include <kvmath/core/stable_sort_p.h>
#include <kvmath/profile/point_list_p.h>

#include <QtCore/QHash>
#include <QtCore/QVector>

#include <cstring>
#include <limits>

namespace KvMath {
namespace {

constexpr float kUnset = std::numeric_limits<float>::quiet_NaN();

template <class T>
void store(T* output, T value) {
    if (output != nullptr)
        *output = value;
}

struct Extremes {
    float minX, maxX, minY, maxY;
    int indices[4];  ///< of minX, maxX, minY, maxY
};

/// The profile is not empty.
Extremes extremesOf(const QList<KvPointXY>& points) {
    const auto p = points.constBegin();
    Extremes e{p[0].x, p[0].x, p[0].y, p[0].y, {0, 0, 0, 0}};
    const auto extend = [](float value, int index, float& low, float& high, int* lowAndHigh) {
        if (value < low) {
            low = value;
            lowAndHigh[0] = index;
        } else if (value > high) {
            high = value;
            lowAndHigh[1] = index;
        }
    };
    for (int i = 1; i < points.size(); ++i) {
        extend(p[i].x, i, e.minX, e.maxX, e.indices);
        extend(p[i].y, i, e.minY, e.maxY, e.indices + 2);
    }
    return e;
}

/// Set of coordinates, open addressing, at most half full. The mixing is seeded per process, so that no file
/// can be made to collide.
class SeenCoordinates {
public:
    explicit SeenCoordinates(int count) : seed_(static_cast<quint32>(qGlobalQHashSeed())) {
        size_t size = 16;
        while (size < 2 * static_cast<size_t>(count))
            size *= 2;
        slots_.fill(kFree, static_cast<int>(size));
    }

    /// False when the value was there before; NaN is never there.
    bool insert(float value) {
        if (std::isnan(value))
            return true;
        const float key = value == 0.0F ? 0.0F : value;  // both zeros are one value
        quint32 bits = 0;
        std::memcpy(&bits, &key, sizeof bits);
        const quint32 mask = static_cast<quint32>(slots_.size()) - 1;
        quint32* table = slots_.data();
        quint32 slot = mixed(bits ^ seed_) & mask;
        while (table[slot] != kFree) {
            if (table[slot] == bits)
                return false;
            slot = (slot + 1) & mask;
        }
        table[slot] = bits;
        return true;
    }

private:
    static constexpr quint32 kFree = 0xFFFFFFFFU;  ///< a NaN, hence no key

    static quint32 mixed(quint32 h) {  // finaliser of MurmurHash3 (Appleby, public domain)
        h = (h ^ (h >> 16)) * 0x85EBCA6BU;
        h = (h ^ (h >> 13)) * 0xC2B2AE35U;
        return h ^ (h >> 16);
    }

    quint32 seed_;
    QVector<quint32> slots_;
};

}  // namespace

KvProfile::KvProfile() = default;
KvProfile::KvProfile(const KvProfile& other) = default;
KvProfile::KvProfile(const float* buffer, unsigned short count) { copyFromXYPointsBuffer(buffer, count); }
KvProfile& KvProfile::operator=(const KvProfile& other) = default;

void KvProfile::copyFromXYPointsBuffer(const float* buffer, unsigned short count) {
    if (buffer == nullptr || count == 0)
        return;
    // A list of its own first: the buffer may lie in this profile.
    QList<KvPointXY> added = Internal::pointListOfSize(count);
    const auto to = added.begin();
    for (int i = 0; i < count; ++i) {  // by coordinate and by index, so that several are copied at a time
        to[i].x = buffer[2 * i];
        to[i].y = buffer[2 * i + 1];
    }
    if (points.isEmpty())
        points.swap(added);
    else
        points.append(added);
}

bool KvProfile::calcRange() {
    if (points.isEmpty())
        return false;
    KvPointCloud<KvPointXY>::calcRange();
    return true;
}

bool KvProfile::calcRange(float* minXOut, float* minYOut, float* maxXOut, float* maxYOut,
                          int* indices) const {
    if (points.isEmpty())
        return false;
    const Extremes e = extremesOf(points);
    store(minXOut, e.minX);
    store(minYOut, e.minY);
    store(maxXOut, e.maxX);
    store(maxYOut, e.maxY);
    if (indices != nullptr)
        std::copy(std::begin(e.indices), std::end(e.indices), indices);
    return true;
}

bool KvProfile::calcRange(QRectF& rect, int* indices) const {
    float left = 0;
    float right = 0;
    float low = 0;
    float high = 0;
    if (!calcRange(&left, &low, &right, &high, indices))
        return false;
    // By design top is the greater y: the height is negative. A fresh rectangle, since the setters keep the
    // far side by a difference.
    rect = QRectF();
    rect.setLeft(static_cast<double>(left));
    rect.setBottom(static_cast<double>(low));
    rect.setRight(static_cast<double>(right));
    rect.setTop(static_cast<double>(high));
    return true;
}

float KvProfile::calcCenterX() {
    KvPointXY centre;
    return calcCenterPoint(centre) ? centre.x : kUnset;
}

float KvProfile::calcCenterY() {
    KvPointXY centre;
    return calcCenterPoint(centre) ? centre.y : kUnset;
}

int KvProfile::findNearestToX(float x, bool fromEnd) const {
    const auto p = points.constBegin();
    if (fromEnd) {
        for (int i = Internal::countOf(points) - 1; i >= 0; --i) {
            if (p[i].x <= x)
                return i;
        }
        return -1;
    }
    for (int i = 0; i < points.size(); ++i) {
        if (p[i].x >= x)
            return i;
    }
    return -1;
}

bool KvProfile::findNearestToX(float x, KvPointXY& out, bool fromEnd) const {
    const int index = findNearestToX(x, fromEnd);
    if (index < 0)
        return false;
    out = KvPointXY(points.at(index));
    return true;
}

int KvProfile::findZeros(float* out) const {
    int count = 0;
    const auto p = points.constBegin();
    for (int i = 1; i < points.size(); ++i) {
        // By design an exact 0 is no crossing, and none follows it.
        const bool changes = (p[i].y > 0.0F && p[i - 1].y < 0.0F) || (p[i].y < 0.0F && p[i - 1].y > 0.0F);
        if (!changes)
            continue;
        if (out != nullptr)
            out[count] = p[i].x;
        ++count;
    }
    return count;
}

void KvProfile::sortByY(KvSortOrder order) {
    Internal::sortStretches(
        points.begin(), points.end(), [](const KvPointXY& p) { return p.y; }, order == KvSortAscending);
}

int KvProfile::trim(float xmin, float ymin, float xmax, float ymax) {
    return Internal::keepIf(points, [=](const KvPointXY& p) {
        return !(p.x < xmin || p.x > xmax || p.y < ymin || p.y > ymax);  // false for NaN: no limit
    });
}

int KvProfile::trim(QRectF r) {
    return trim(static_cast<float>(r.x()), static_cast<float>(r.y()), static_cast<float>(r.x() + r.width()),
                static_cast<float>(r.y() + r.height()));
}

int KvProfile::trimX(float xmin, float xmax) { return trim(xmin, kUnset, xmax, kUnset); }
int KvProfile::trimY(float ymin, float ymax) { return trim(kUnset, ymin, kUnset, ymax); }
int KvProfile::trimLower(float ymin) { return trim(kUnset, ymin, kUnset, kUnset); }
int KvProfile::trimUpper(float ymax) { return trim(kUnset, kUnset, kUnset, ymax); }

int KvProfile::removeDuplicates() {
    const auto notAscending = [](const KvPointXY& a, const KvPointXY& b) { return !(a.x < b.x); };
    if (std::adjacent_find(points.constBegin(), points.constEnd(), notAscending) == points.constEnd())
        return 0;
    SeenCoordinates seen(Internal::countOf(points));
    QList<KvPointXY> kept = points;  // shares the points until the first is written
    auto target = kept.begin();
    for (const KvPointXY& p : qAsConst(points)) {
        if (seen.insert(p.x))
            *target++ = p;
    }
    const int removed = static_cast<int>(kept.end() - target);
    Internal::truncateTo(kept, Internal::countOf(kept) - removed);
    points.swap(kept);
    return removed;
}

}  // namespace KvMath
