#pragma once
// A profile with two tags, as recordings of several sources keep it.

#include <kvmath/profile/profile.h>

namespace KvMath {

/// Head block of the record. The reserved bytes have no meaning here: they are read, kept and written.
struct KvProfileSDBlock {
    qint32 tag = 0;
    unsigned char reserved[8] = {};
};

/// Assignment appends: see operator=. An element of a list is therefore replaced by removing and inserting
/// it.
class KVMATH_EXPORT KvProfileSD : public KvProfile {
public:
    KvProfileSDBlock blockA, blockB;

    KvProfileSD();                    ///< empty, both blocks 0
    KvProfileSD(int tagA, int tagB);  ///< empty, reserved bytes 0
    KvProfileSD(int tagA, int tagB, const float* buffer,
                unsigned short count);      ///< see copyFromXYPointsBuffer
    KvProfileSD(const KvProfile& profile);  ///< points and range; both blocks 0. A conversion, on purpose.
    KvProfileSD(const KvProfileSD& other);  ///< points, range and both blocks

    /// Appends the other's points behind the own ones, by design, and takes its two tags; range and reserved
    /// bytes stay. Assigned to itself it so doubles its points.
    KvProfileSD& operator=(const KvProfileSD& other);
    KvProfileSD& operator=(const KvProfile& other);  ///< appends the points, by design; nothing else changes

    /// Writes one record at the device's position: marker 0x85, 16-bit count, both blocks, points, all
    /// little-endian. Long profiles as in KvProfileZ. False on the first short write.
    bool writeToFile(QFile& file) const;
    /// `append`: behind what `path` holds; otherwise `path` is truncated first. False if it cannot be opened
    /// or written completely.
    bool writeToFile(QString path, bool append) const;

    /// As KvProfileZ. A block is overwritten as soon as it was read, also when the record then fails.
    int readFromFile(QFile& file, bool acceptPartial = false);
    int readFromFile(QString path);  ///< -1 if it cannot be opened; the profile is then left alone
};

}  // namespace KvMath
