#pragma once
// The binary records of clouds and profiles: what they begin with and how large their parts are. All numbers
// are little-endian; coordinates are float, mm.

namespace KvMath {

/// The first byte of a record.
enum RecordMarker : unsigned char {
    kPlaneCloudRecord = 0x02,     ///< points of x, y
    kSpaceCloudRecord = 0x03,     ///< points of x, y, z
    kColourCloudRecord = 0x04,    ///< points of x, y, z and a colour
    kProfileRecord = 0x05,        ///< a profile with its z: points of x, y
    kTaggedProfileRecord = 0x85,  ///< the same with time stamps and tags
};

/// Sizes of a record: marker, count of points, further head, points.
struct RecordLayout {
    RecordMarker marker;  ///< its first byte
    int countBytes;       ///< of the count, which follows the marker
    int headBytes;        ///< of all before the points, marker and count included
    int pointBytes;       ///< of a point

    /// A point has three coordinates.
    constexpr bool isInSpace() const { return marker == kSpaceCloudRecord || marker == kColourCloudRecord; }
};

/// All layouts, by marker.
constexpr RecordLayout kRecordLayouts[] = {
    {kPlaneCloudRecord, 2, 3, 8}, {kSpaceCloudRecord, 4, 5, 12},    {kColourCloudRecord, 4, 5, 16},
    {kProfileRecord, 2, 7, 8},    {kTaggedProfileRecord, 2, 27, 8},
};

/// The layout of the record that begins with this byte; null where none does.
constexpr const RecordLayout* recordLayout(unsigned char marker) {
    for (const RecordLayout& layout : kRecordLayouts) {
        if (layout.marker == marker)
            return &layout;
    }
    return nullptr;
}

}  // namespace KvMath
