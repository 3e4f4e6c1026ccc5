#pragma once
// Counts of a cloud's points per band of height.

#include <kvmath/core/point_cloud.h>

#include <QtCore/QMap>
#include <QtCore/QString>

namespace KvMath {

/// Level histogram of y. Its one surprise: `bins` holds two kinds of keys in one map. Levels (mm) are entered
/// with count 0; counts go under the index of their band, not under its level. Both are the same only for a
/// lowest level of 0 and bands 1 mm high. Deliberate; all consumers see the keys of both kinds in ascending
/// order.
template <class T>
class KVMATH_EXPORT KvLevelHistogram {
public:
    QMap<float, int> bins;  ///< level, mm, or band index -> count

    /// Enters the levels minY + i * binWidth up to the first one at or above maxY, then counts
    /// every point under the key (y - minY) / binWidth, truncated toward zero; single precision. The cloud's
    /// cached range is used as it stands, stale or not (ends exchanged by a band or more make no level); when
    /// minY or maxY is NaN, calcRange runs first. Points without a finite y, or whose band is no int, are
    /// skipped. Returns the number of entries. Empty map and 0 when binWidth (mm) is not > 0, the range is
    /// not finite, or more than 2^22 levels are asked for.
    int calcFromPointCloud(KvPointCloud<T>& cloud, float binWidth);

    /// Mean position of the counts, the entries numbered from 1 in key order: a position, not a key. NaN when
    /// there is no entry or all counts sum up to 0.
    float calcMassCenter() const;

    int count() const;  ///< number of entries
    void clear();       ///< no entries

    /// Writes a line "key;count" with "\r\n" per entry, in key order, a key with as few of 6 to 9 significant
    /// digits as read back to the same float. Truncates `path`; false if it cannot be opened or written
    /// completely.
    bool writeToCSV(QString path) const;
};

extern template class KvLevelHistogram<KvPointXY>;
extern template class KvLevelHistogram<KvPointXYZ>;
extern template class KvLevelHistogram<KvPointXYZRGB>;

}  // namespace KvMath
