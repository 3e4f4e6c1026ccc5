#pragma once
// The three point types. Coordinates are float millimetres; a coordinate of NaN is unset.

#include <kvmath/base/global.h>

namespace KvMath {

/// Point of a scanner line: x across the line, y the height, mm.
class KVMATH_EXPORT KvPointXY {
public:
    float x;  ///< across the scanner line, mm
    float y;  ///< height, mm

    KvPointXY();                                     ///< the null point: both NaN
    KvPointXY(float x0, float y0) : x(x0), y(y0) {}  ///< the point (x0, y0), mm

    /// Euclidean distance to `other`, mm, in single precision throughout; a NaN coordinate gives NaN.
    float calcDistance(KvPointXY other) const;
    /// Euclidean distance from a to b, as the member computes it.
    static float calcDistance(KvPointXY a, KvPointXY b);

    bool isNull() const;  ///< true when x or y is NaN
};

/// Point in space: x across the line, y the height, z along the scan, mm.
class KVMATH_EXPORT KvPointXYZ {
public:
    float x;  ///< across the scanner line, mm
    float y;  ///< height, mm
    float z;  ///< along the scan, mm

    KvPointXYZ();                                                      ///< all NaN
    KvPointXYZ(float x0, float y0, float z0) : x(x0), y(y0), z(z0) {}  ///< the point (x0, y0, z0), mm

    /// Euclidean distance to `other`, mm, in single precision throughout; NaN when any of the six coordinates
    /// is NaN, even where another one is infinite.
    float calcDistance(KvPointXYZ other) const;
    /// Euclidean distance from a to b, as the member computes it.
    static float calcDistance(KvPointXYZ a, KvPointXYZ b);
};

/// Point in space with a colour that the library carries and never interprets.
class KVMATH_EXPORT KvPointXYZRGB {
public:
    float x;           ///< across the scanner line, mm
    float y;           ///< height, mm
    float z;           ///< along the scan, mm
    unsigned int rgb;  ///< colour, in the host's own coding

    KvPointXYZRGB();  ///< coordinates NaN, rgb 0
    /// The point (x0, y0, z0), mm, with its colour.
    KvPointXYZRGB(float x0, float y0, float z0, unsigned int colour) : x(x0), y(y0), z(z0), rgb(colour) {}
};

}  // namespace KvMath

// Movable, not primitive: a default point is NaN, not zero bytes. It keeps two-float points in place in a
// QList.
Q_DECLARE_TYPEINFO(KvMath::KvPointXY, Q_MOVABLE_TYPE);
Q_DECLARE_TYPEINFO(KvMath::KvPointXYZ, Q_MOVABLE_TYPE);
Q_DECLARE_TYPEINFO(KvMath::KvPointXYZRGB, Q_MOVABLE_TYPE);
