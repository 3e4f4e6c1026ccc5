#pragma once
// The algebra of sensor rules: how they are found, combined and carried into another space.
//
// Plain arrays of double, never checked: a rule is nine numbers in the order of _KvORBIS_SensorCoordROT_, a
// point or vector three, a matrix nine, row-major, a plane (a, b, c, d) with a x + b y + c z + d = 0. An
// output may be one of the inputs. A frame without an inverse (parallel axes, collinear points) gives
// infinities, NaN or numbers that rounding decides.

#include <kvmath/base/vector2d.h>
#include <kvmath/wheel/sensor_coord.h>

namespace KvMath {

/// A rule from nine profile points and nine values: points and values 0 to 2 give X, 3 to 5 Y, 6 to 8 Z, each
/// by inverting the matrix of rows (1, x, y).
KVMATH_EXPORT void calcRule(const KvVector2D<double>* pts, const double* values,
                            _KvORBIS_SensorCoordROT_& rule);

/// The rule (a, b, c) for which a x + b y + c is value1, value2, value3 at p1, p2, p3: the matrix of rows
/// (x, y, 1) inverted, times the values.
KVMATH_EXPORT void determineLinear2dRule(const double p1[2], const double p2[2], const double p3[2],
                                         double value1, double value2, double value3, double rule[3]);
KVMATH_EXPORT double applyLinear2dRule(const double p[2], const double rule[3]);  ///< a x + b y + c

/// The rule as a frame: O its origin, M's columns the directions of profile x, profile y and their cross
/// product.
KVMATH_EXPORT void rule2matrix(const double* rule, double* M, double* O);
/// The frame (M, O) as a rule again; M's third column is dropped.
/// (1) Of what rule2matrix gives it makes the same rule, bit for bit.
KVMATH_EXPORT void matrix2rule(const double* M, const double* O, double* rule);

/// Moves a rule, in place, by the map p -> M p + t.
KVMATH_EXPORT void adjustRule(double* rule, const double* M, const double* t);
/// Expresses a rule, in place, in the frame of axes A (columns) and origin O.
/// (1) adjustRule with the same A and O undoes it, up to rounding.
KVMATH_EXPORT void changeRuleToNewAxis(double* rule, const double* A, const double* O);

/// The map p -> M p + t that carries ruleA's frame onto ruleB's.
/// (1) adjustRule with it makes ruleB of ruleA, up to rounding.
KVMATH_EXPORT void determineRuleConvertionA2B(const double* ruleA, const double* ruleB, double* M, double* t);
/// Carries `rule`, in place, from space B into space A; ruleA and ruleB are one physical reference in the
/// two.
KVMATH_EXPORT void changeRuleBToFirstSpace(const double* ruleA, const double* ruleB, double* rule);
/// The map for which a point p of frame A (origin O_A, axes M_A) is M p + t in frame B.
KVMATH_EXPORT void determineSpaceConvertionA2B(const double* O_A, const double* M_A, const double* O_B,
                                               const double* M_B, double* M, double* t);

/// The place P in space of the profile point p2: origin + (column of x) x + (column of y) y, in double.
KVMATH_EXPORT void plane2space(const double* rule, const double* p2, double* P);

/// The line two planes share: dir the normalised cross product of their normals, point as anyLinePoint.
KVMATH_EXPORT void planes2line(const double* plane1, const double* plane2, double* dir, double* point);
/// The point of both planes that is nearest to the origin, by the pseudo-inverse of their two normals.
KVMATH_EXPORT void anyLinePoint(const double* plane1, const double* plane2, double* point);

/// A unit normal from two tilts in degrees. Axis numbers are 1 to 3; the component of |axis1| is
/// m = 1 / sqrt(tan^2 A + 1 + tan^2 B), negative for a negative axis1, those of axis2 and axis3 are m tan A
/// and m tan B. Any axis number outside 1 to 3 leaves n as it was.
KVMATH_EXPORT void convertKorvanAngles2NormVector(double angleA, double angleB, int axis1, int axis2,
                                                  int axis3, double* n);

}  // namespace KvMath
