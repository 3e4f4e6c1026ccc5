#pragma once
// From the plane of a scanner to the common space of a measuring post: a profile point (x, y) in mm becomes a
// point (X, Y, Z) in mm. What is appended to a cloud leaves its old points in front and its cached range as
// it was. Nothing is checked: unset or infinite numbers go through the sums.

#include <kvmath/base/vector2d.h>
#include <kvmath/core/point_cloud.h>
#include <kvmath/profile/profile.h>

namespace KvMath {

/// The rule of a sensor: origin + (column of x) x + (column of y) y. Nine doubles without padding, in the
/// order of the arrays `rule` of rule_algebra.h: &rule.originX is such an array.
struct _KvORBIS_SensorCoordROT_ {
    double originX;  ///< X of the profile point (0, 0), mm
    double originY;  ///< Y of the profile point (0, 0), mm
    double originZ;  ///< Z of the profile point (0, 0), mm
    double xFromX;   ///< growth of X per mm of profile x
    double xFromY;   ///< growth of X per mm of profile y
    double yFromX;   ///< growth of Y per mm of profile x
    double yFromY;   ///< growth of Y per mm of profile y
    double zFromX;   ///< growth of Z per mm of profile x
    double zFromY;   ///< growth of Z per mm of profile y
};

/// A sensor placed by its origin, mm, and three angles; their unit is that of the function that takes it.
struct _KvORBIS_SensorCoord_ {
    float x;       ///< X of the origin, mm
    float y;       ///< Y of the origin, mm
    float z;       ///< Z of the origin, mm
    float angleA;  ///< A of the sums in ORBIS_XYtoXYZ
    float angleB;  ///< B of the sums in ORBIS_XYtoXYZ
    float angleC;  ///< C of the sums in ORBIS_XYtoXYZ
};

/// Appends every point by the rule; sums in double, stored as float.
KVMATH_EXPORT void ORBIS_XYtoXYZ(const KvProfile& profile, KvPointCloud<KvPointXYZ>& cloud,
                                 const _KvORBIS_SensorCoordROT_& rule);

/// Appends every point by the angles, in degrees; all in float. With s, c the sines and cosines:
///   X = (sA cB cC + sC sB) x + X0 + cA y cB
///   Y = (sA sB cC - sC cB) x + Y0 + cA y sB
///   Z = cA x cC + Z0 - sA y
/// Deliberately not a full rotation: the x term of Z has no part of B, the terms of y none of C. With all
/// angles 0, (x, y) becomes (X0 + y, Y0, Z0 + x).
KVMATH_EXPORT void ORBIS_XYtoXYZ(const KvProfile& profile, KvPointCloud<KvPointXYZ>& cloud,
                                 const _KvORBIS_SensorCoord_& sensor);

/// Appends every point by the angles in RADIANS, with the sums of the form in degrees, for the index-th
/// profile, taken every `step` mm, of a body that rolls along X on a circle of `radius` mm: with s = index
/// step and theta = -(step / radius index), X grows by radius cos theta - s and Z by radius sin theta. At
/// index 0 that is (radius, 0, 0), not nothing. A radius of 0 gives infinities or NaN.
KVMATH_EXPORT void ORBIS_XYtoXYZ(const KvProfile& profile, KvPointCloud<KvPointXYZ>& cloud,
                                 const _KvORBIS_SensorCoord_& sensor, float radius, float step, int index);

/// One point by the rule, overwriting `out`; sums in double, stored as float.
KVMATH_EXPORT void ORBIS_XYtoXYZ(const KvVector2D<double>& point, KvPointXYZ& out,
                                 const _KvORBIS_SensorCoordROT_& rule);

/// The rule that carries the first three profile points exactly onto the first three places in space
/// (Cramer's rule). Always true: collinear profile points give fields that are infinite, NaN or decided by
/// rounding, fewer than three points in either cloud nine NaN.
KVMATH_EXPORT bool ORBIS_calcCoord(KvPointCloud<KvPointXY> pts2d, KvPointCloud<KvPointXYZ> pts3d,
                                   _KvORBIS_SensorCoordROT_& rule);
/// The rule of ORBIS_calcCoord as nine doubles, in the order of the structure.
KVMATH_EXPORT bool ORBIS_calcCoordinatesFrom3p(KvPointCloud<KvPointXY> pts2d, KvPointCloud<KvPointXYZ> pts3d,
                                               double rule[9]);

}  // namespace KvMath
