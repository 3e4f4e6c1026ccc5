#pragma once
// One scanner line of a scan.

#include <kvmath/profile/profile.h>

namespace KvMath {

/// One scanner line of a scan: a profile and its place along the motion axis.
class KVMATH_EXPORT KvProfileZ : public KvProfile {
public:
    float z;  ///< place along the scan, mm; NaN when not known

    KvProfileZ();                  ///< empty, z NaN
    explicit KvProfileZ(float z);  ///< empty, at place z, mm
    /// At place z, mm, with the points of copyFromXYPointsBuffer.
    KvProfileZ(float z, const float* buffer, unsigned short count);
    KvProfileZ(const KvProfileZ& other);             ///< copies points, range and z
    KvProfileZ& operator=(const KvProfileZ& other);  ///< takes over points, range and z
    KvProfileZ& operator=(const KvProfile& other);   ///< takes over points and range; z stays

    void clear();  ///< removes all points; range and z become NaN

    /// Writes one record at the device's position: marker 0x05, 16-bit count, z, points, all little-endian.
    /// Of more than 65,535 points the first size mod 65,536 are written, as many as the count says, so that
    /// the next record can be found. False on the first short write.
    bool writeToFile(QFile& file) const;
    /// Makes `path` a file of this one record. False if it cannot be opened or written completely; a regular
    /// file that was opened is then removed.
    bool writeToFile(QString path) const;

    /// Clears, then reads one record at the device's position. Returns the number of points. -1 and the
    /// position back where it was: another marker, a cut header, or too few points, of which the complete
    /// ones stay here. With acceptPartial too few points are no failure: their number, the device at its end.
    /// The range stays NaN.
    int readFromFile(QFile& file, bool acceptPartial = false);
    /// Reads the first record of a file. -1 also if it cannot be opened; the profile is then left alone.
    int readFromFile(QString path);
};

}  // namespace KvMath
