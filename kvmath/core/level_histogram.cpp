// One pass over the points. Bands that have a level are counted in an array of levels and entered afterwards,
// in key order; only points outside a stale range are counted in the map itself.
#include <kvmath/core/level_histogram.h>

#include <kvmath/base/count_p.h>
#include <kvmath/core/record_io_p.h>

#include <QtCore/QFile>
#include <QtCore/QVector>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMath {
namespace {

constexpr int kMaxLevels = 1 << 22;
constexpr float kIntEnd = 2147483648.0F;  // first float beyond int

bool isKnown(float low, float high) { return !std::isnan(low) && !std::isnan(high); }

// Number of levels over the range, 0 for one whose ends are exchanged (possible when it is stale); -1 when it
// is not finite or too large.
int levelCount(float minY, float maxY, float binWidth) {
    if (!std::isfinite(minY) || !std::isfinite(maxY))
        return -1;
    const float bands = std::ceil((maxY - minY) / binWidth);
    return bands < static_cast<float>(kMaxLevels) ? static_cast<int>(std::max(bands, -1.0F)) + 1 : -1;
}

QByteArray keyText(float key) {
    QString text;
    for (int digits = 6; digits <= 9; ++digits) {
        text = QString::number(static_cast<double>(key), 'g', digits);
        if (text.toFloat() == key)
            break;
    }
    return text.toLatin1();
}

}  // namespace

template <class T>
int KvLevelHistogram<T>::calcFromPointCloud(KvPointCloud<T>& cloud, float binWidth) {
    bins.clear();
    if (!isKnown(cloud.minY, cloud.maxY))
        cloud.calcRange();
    const float minY = cloud.minY;
    if (!(binWidth > 0.0F))
        return 0;
    const int levels = levelCount(minY, cloud.maxY, binWidth);
    if (levels < 0)
        return 0;
    for (int i = 0; i < levels; ++i)
        bins.insert(bins.constEnd(), minY + static_cast<float>(i) * binWidth, 0);

    // By design the key is the band's index, not its level: unless minY is 0 and binWidth is 1, the map then
    // holds the zero levels beside the keys that carry the counts.
    QVector<int> counts(levels, 0);
    for (const T& p : qAsConst(cloud.points)) {
        const float band = (p.y - minY) / binWidth;
        if (!std::isfinite(p.y) || !(band >= -kIntEnd && band < kIntEnd))
            continue;
        const int index = static_cast<int>(band);
        if (index >= 0 && index < levels)
            ++counts[index];
        else
            ++bins[static_cast<float>(index)];
    }
    for (int i = 0; i < levels; ++i) {
        if (counts[i] > 0)
            bins[static_cast<float>(i)] += counts[i];
    }
    return Internal::countOf(bins);
}

template <class T>
float KvLevelHistogram<T>::calcMassCenter() const {
    // Unsigned, so that counts entered by the host wrap instead of overflowing.
    quint64 weighted = 0;
    quint64 total = 0;
    quint64 position = 0;
    for (const int count : bins) {
        const auto weight = static_cast<quint64>(static_cast<qint64>(count));
        weighted += ++position * weight;
        total += weight;
    }
    if (total == 0)
        return std::numeric_limits<float>::quiet_NaN();
    return static_cast<float>(static_cast<double>(static_cast<qint64>(weighted)) /
                              static_cast<double>(static_cast<qint64>(total)));
}

template <class T>
int KvLevelHistogram<T>::count() const {
    return Internal::countOf(bins);
}

template <class T>
void KvLevelHistogram<T>::clear() {
    bins.clear();
}

template <class T>
bool KvLevelHistogram<T>::writeToCSV(QString path) const {
    const auto write = [this](QFile& file) {
        for (auto entry = bins.constBegin(); entry != bins.constEnd(); ++entry) {
            const QByteArray line = keyText(entry.key()) + ';' + QByteArray::number(entry.value()) + "\r\n";
            if (!Internal::writeBytes(file, line.constData(), line.size()))
                return false;
        }
        return true;
    };
    return Internal::writeFile(path, QIODevice::ReadWrite | QIODevice::Truncate, write);
}

template class KvLevelHistogram<KvPointXY>;
template class KvLevelHistogram<KvPointXYZ>;
template class KvLevelHistogram<KvPointXYZRGB>;

}  // namespace KvMath
