#pragma once
// Frames from the planes of a reference body, and the rigid map between two measurements of it. Plain arrays
// of double: points and vectors of three, matrices of nine, row-major, planes (a, b, c, d) with a x + b y + c
// z + d = 0; mm and radians, tilts in degrees.

#include <kvmath/base/global.h>

namespace KvMath {

/// A measured plane as the instruments give it, and as an equation.
struct PlaneInfo {
    double angleA = 0;    ///< tilt towards axis2, degrees, see convertKorvanAngles2NormVector
    double angleB = 0;    ///< tilt towards axis3, degrees
    double distance = 0;  ///< where the plane meets axis |axis1|, mm
    int axis1 = 3;        ///< axis that the plane crosses, 1 to 3 or -1 to -3: the sign is that of the normal
    int axis2 = 1;        ///< axis of angleA, 1 to 3
    int axis3 = 2;        ///< axis of angleB, 1 to 3
    double plane[4] = {};  ///< a, b, c, d of the equation, (a, b, c) of unit length; zero when not valid
    bool valid = false;    ///< whether `plane` holds the equation
};

/// Fills `plane` and `valid` of each of `count` planes. Not valid, with `plane` zero: an axis number that is
/// none, or anything not finite.
KVMATH_EXPORT void convertKorvanPlanes2planes(PlaneInfo* planes, int count);

/// The common point of three planes. False, `point` untouched, when the determinant of their unit normals is
/// below 1e-12 in magnitude or anything is not finite.
KVMATH_EXPORT bool intersectPlanes(const double* plane1, const double* plane2, const double* plane3,
                                   double* point);
/// The middle of the shortest connection of two lines (a point and a direction of any length each). False,
/// `point` untouched, for lines parallel within 1e-6 rad, zero directions or anything not finite.
KVMATH_EXPORT bool lines3dIntersection(const double* p1, const double* dir1, const double* p2,
                                       const double* dir2, double* point);
KVMATH_EXPORT void middlePointOf6Points(const double* points, double* middle);  ///< the mean of six points

/// Axis, of unit length, and angle in [0, pi] of a rotation matrix. The identity gives (0, 0, 1) and 0.
KVMATH_EXPORT void getAxisAndAngleByRotationMatrix(const double* M, double* axis, double& angle);
/// The rotation about an axis of any length (Rodrigues' formula). A zero axis gives the identity.
/// (1) With the axis and angle that getAxisAndAngleByRotationMatrix finds in a rotation it is that rotation,
/// to 1e-9 in every element, near no turn and half a turn, too.
KVMATH_EXPORT void getRotationMatrixByAxisAndAngle(const double* axis, double angle, double* M);

/// The rigid map p -> M p + t that carries `count` measured points onto the reference points with the least
/// sum of squared distances (W. Kabsch, Acta Cryst. A 32 (1976) 922-923): a proper rotation always. False,
/// outputs untouched: null pointers, fewer than three points, points on a line, anything not finite,
/// distances whose fourth powers are no doubles.
/// (1) Reference points that are the measured ones turned and moved give that motion back, also where all of
/// them lie in a plane.
KVMATH_EXPORT bool getAdjustmentData(const double* measured, const double* reference, int count, double* M,
                                     double* t);
/// The rigid map of getAdjustmentData from planes: the rotation from the unit normals, then t by least
/// squares from the offsets. Pairs whose planes are not both valid are left out. False, outputs untouched:
/// null pointers, no three independent normals.
/// (1) Planes that were turned and moved give that motion back, whatever stands in pairs that are not valid.
KVMATH_EXPORT bool getAdjustmentDataPlanesMethod(const PlaneInfo* measured, const PlaneInfo* reference,
                                                 int count, double* M, double* t);

/// The frame of a body from rows of seven planes: columns 0 to 5 are three pairs of opposite faces, column 6
/// the upper plane. Planes that are not valid yet are converted in place first; a row with one that stays so,
/// or whose three middle planes do not meet in a point, is left out. Origin: the mean of the meeting points.
/// Third axis (M's third column): the mean of the upper normals, turned to the side of the first. First axis:
/// from the first meeting point to the last, made square to it. Second: third x first. False, outputs
/// untouched: null pointers, fewer than two good rows, or no direction from first to last.
KVMATH_EXPORT bool getBogieReferenceFrame(PlaneInfo (*planes)[7], int rows, double* M, double* origin);

}  // namespace KvMath
