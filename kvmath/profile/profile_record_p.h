#pragma once
// What the records of profiles have in common: a 16-bit count in front and the points at the end.

#include <kvmath/core/record_io_p.h>
#include <kvmath/core/record_layout.h>
#include <kvmath/profile/profile_z.h>

#include <QtCore/QIODevice>

namespace KvMath::Internal {

/// What the count field of a list says; as many points are written.
inline quint16 storedCount(const QList<KvPointXY>& points) { return static_cast<quint16>(points.size()); }

/// The end of a record: replaces the points by its own. Their number, or -1 when some are missing and that is
/// not accepted. The guard is released on success.
inline int readRecordPoints(QFile& file, QList<KvPointXY>& points, quint16 count, bool acceptPartial,
                            PositionGuard& position) {
    const quint32 complete = readPoints(file, points, count);
    if (complete != count && !acceptPartial)
        return -1;
    position.release();
    return static_cast<int>(complete);
}

template <class Target>
bool writeRecord(Target& target, const KvProfileZ& profile) {
    const quint16 count = storedCount(profile.points);
    return writeField(target, static_cast<unsigned char>(kProfileRecord)) && writeField(target, count) &&
           writeField(target, profile.z) && writePoints(target, profile.points, count);
}

/// False when it is no record of a KvProfileZ.
template <class Source>
bool readRecordHead(Source& source, quint16& count, float& z) {
    unsigned char marker = 0;
    return readField(source, marker) && marker == kProfileRecord && readField(source, count) &&
           readField(source, z);
}

/// The whole record. False when it is none or incomplete.
inline bool readRecord(RecordReader& source, KvProfileZ& profile) {
    quint16 count = 0;
    profile.clear();
    return readRecordHead(source, count, profile.z) && readPoints(source, profile.points, count) == count;
}

/// The points and the range of a whole record of a plane cloud; z stays. False when it is none or incomplete.
inline bool readPlaneRecord(RecordReader& source, KvProfileZ& profile) {
    unsigned char marker = 0;
    quint16 count = 0;
    if (!readField(source, marker) || marker != kPlaneCloudRecord || !readField(source, count) ||
        readPoints(source, profile.points, count) != count)
        return false;
    profile.calcRange();
    return true;
}

}  // namespace KvMath::Internal
