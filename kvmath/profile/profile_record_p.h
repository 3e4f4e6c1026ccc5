#pragma once
// What the records of profiles have in common: a 16-bit count in front and the points at the end.

#include <kvmath/core/record_io_p.h>

#include <QtCore/QIODevice>

namespace KvMath::Internal {

/// What the count field of a list says; as many points are written.
inline quint16 storedCount(const QList<KvPointXY>& points) { return static_cast<quint16>(points.size()); }

/// The end of a record: appends its points. Their number, or -1 when some are missing and that is not
/// accepted. The guard is released on success.
inline int readRecordPoints(QFile& file, QList<KvPointXY>& points, quint16 count, bool acceptPartial,
                            PositionGuard& position) {
    const quint32 complete = readPoints(file, points, count);
    if (complete != count && !acceptPartial)
        return -1;
    position.release();
    return static_cast<int>(complete);
}

}  // namespace KvMath::Internal
