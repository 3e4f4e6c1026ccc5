#pragma once
// A profile with two tags, as recordings of several sources keep it.

#include <kvmath/profile/profile.h>

namespace KvMath {

/// Head block of the record. The reserved bytes have no meaning here: they are read, kept and written.
struct KvProfileSDBlock {
    qint32 tag = 0;                  ///< number that the host gives its source
    unsigned char reserved[8] = {};  ///< bytes of the record without a meaning here
};

/// A profile with two tags. Assignment appends: see operator=. An element of a list is therefore replaced by
/// removing and inserting it.
class KVMATH_EXPORT KvProfileSD : public KvProfile {
public:
    KvProfileSDBlock blockA;  ///< first head block of the record
    KvProfileSDBlock blockB;  ///< second head block of the record

    KvProfileSD();                    ///< empty, both blocks 0
    KvProfileSD(int tagA, int tagB);  ///< empty, with these tags; reserved bytes 0
    /// With these tags and the points of copyFromXYPointsBuffer; reserved bytes 0.
    KvProfileSD(int tagA, int tagB, const float* buffer, unsigned short count);
    /// Copies points and range; both blocks 0. A conversion, on purpose.
    KvProfileSD(const KvProfile& profile);
    KvProfileSD(const KvProfileSD& other);  ///< copies points, range and both blocks

    /// Appends the other's points after the own ones, by design, and takes its two tags; range and reserved
    /// bytes stay. Assigned to itself it so doubles its points.
    KvProfileSD& operator=(const KvProfileSD& other);
    KvProfileSD& operator=(const KvProfile& other);  ///< appends the points, by design; nothing else changes

    /// Writes one record at the device's position: marker 0x85, 16-bit count, both blocks, points, all
    /// little-endian. Long profiles as in KvProfileZ. False on the first short write.
    bool writeToFile(QFile& file) const;
    /// Writes the record into a file: with `append` after what `path` holds, otherwise over it. False if it
    /// cannot be opened or written completely; what the file held before `append` then stays.
    bool writeToFile(QString path, bool append) const;

    /// Reads one record at the device's position, with the results of KvProfileZ::readFromFile. A block is
    /// overwritten as soon as it was read, also when the record then fails.
    int readFromFile(QFile& file, bool acceptPartial = false);
    /// Reads the first record of a file. -1 also if it cannot be opened; the profile is then left alone.
    int readFromFile(QString path);
};

}  // namespace KvMath
