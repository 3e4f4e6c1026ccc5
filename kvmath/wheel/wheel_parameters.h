#pragma once
// The circle of a wheel from three scanners, and the values of its profile; all in the common space of the
// post (sensor_coord.h): X along the track, Y across it, Z up, mm.

#include <kvmath/core/circle.h>
#include <kvmath/profile/profile.h>

namespace KvMath {

#pragma pack(push, 1)
/// Values of a wheel profile, a packed record of 89 bytes: NaN is "not known". Never bind a reference to a
/// member. Index in `value`:
///   0  flange height: depth of the tread below the flange tip, at the lateral position 70 (tram: 60)
///   1  lateral position where the profile passes the depth 18 (tram: 14)
///   2, 3  thickness of the rim, see wheel_variants.h    4, 5  reference point of the rim
///   6  lateral position of the rim's face               7  running diameter
///   8  flange height less its nominal value
///   9  flange thickness: lateral way from the depth 2 to the depth flange height - 13 (tram: - 10)
///   10 not computed
struct _WheelProfileValues {
    unsigned char wheelType;  ///< 0 basic, 1 tram, 2 locomotive; the basic form does not write it
    double value[11];         ///< mm, by the index above
};
#pragma pack(pop)

/// Which point of each cloud ORBIS_calcWheel took.
struct debugWheelPosCalc {
    int indexA;  ///< index in the first cloud; -1 without a set Z
    int indexB;  ///< index in the second cloud; -1 without a set Z
    int indexC;  ///< index in the third cloud; -1 without a set Z
};

/// The wheel's circle in the plane of X and Z, through the lowest point of each scanner's cloud (the first of
/// equals): where that scanner's plane cuts the flange tip. `unused` has no effect. `debug`, optional,
/// receives the indices as soon as they are known. False, `wheel` untouched: fewer than 50 points in a cloud,
/// no set Z, or points on a line.
KVMATH_EXPORT bool ORBIS_calcWheel(const KvPointCloud<KvPointXYZ>& a, const KvPointCloud<KvPointXYZ>& b,
                                   const KvPointCloud<KvPointXYZ>& c, KvCircle& wheel, double unused,
                                   debugWheelPosCalc* debug);

/// Flange height, thickness and position of a wheel from its points and its circle.
///
/// The wheel profile: x = Y, y = largest radius - radius about the circle's centre, sorted by x, smallest x
/// and y 0. On it, in this order: the flange top, the point of least depth > 0; after it the pair of
/// neighbours that passes the depth 2 (its middle is the flank); after the flank the depth at x = 70, the
/// flange height (the mean of its two neighbours where they are at most 0.01 apart); after the top the
/// middle of the pair that passes flange height - 13, the flange thickness being the way there from the
/// flank; value[8] with a nominal 30 from 29 on, else 28; at last the position at 18. No search looks at
/// the last point. A step that finds nothing ends it: its value and later ones are NaN.
///
/// Values 0, 1, 8 and 9 are found so. 2, 3, 6, 7 and 10 become NaN; the byte and values 4 and 5 are left.
/// `profileOut`, optional, is replaced by the profile, `debugPoints`, optional, by the places found. Points
/// or radii that are not finite are left out. Fewer than 4 points: all NaN, of three `debugPoints` still gets
/// the flange top. Null `values`: nothing happens.
KVMATH_EXPORT void ORBIS_calcWheelParameters(const KvPointCloud<KvPointXYZ>& points, KvCircle wheel,
                                             _WheelProfileValues* values, KvProfile* profileOut,
                                             KvProfile* debugPoints);

}  // namespace KvMath
