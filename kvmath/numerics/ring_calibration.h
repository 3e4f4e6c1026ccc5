#pragma once
// Calibration of a rotating distance sensor from readings inside rings of known radius, mm and radians.

#include <kvmath/base/global.h>

namespace KvMath {

/// Parameters of a sensor from the two-harmonics coefficients h of one ring (see fitTwoHarmonics) and its
/// radius R. With rho = o3, o4 as a vector: rho = 2 sqrt(R hypot(h3, h4)) along atan k, k = (1 - 4 h3 R /
/// rho^2) / (4 h4 R / rho^2); o2 = (h2 - k h1) R / (k h2 + h1); o1 = R - h0 - (o2^2 + rho^2 / 2) / (2 R) is
/// the zero offset of the reading. False, outputs untouched, when rho is 0; no other division is guarded.
KVMATH_EXPORT bool calcCalibrationParameters(const double* h, double R, double& o1, double& o2, double& o3,
                                             double& o4);

/// Parameters of a sensor of known rho, from the coefficients h of one ring and its radius R; note the order
/// of the arguments. With r = rho / R: o3 = (h2 - r h1) / (r^2 +
/// 1), o2 = r o3 + h1, o1 = R - h0 - ((o3^2 + o2^2) / 2 + rho^2) / (2 R). Always true; no division is
/// guarded.
KVMATH_EXPORT bool calcCalibrationParametersWithFixedRho(const double* h, double R, double& o1, double rho,
                                                         double& o2, double& o3);

/// Sensor offset e and zero offset c that explain the readings t1 (count1) of a ring of radius R1 and t2
/// (count2) of one of radius R2, whose centres are free, by fminsearch from the given e and c with steps of
/// 0.1. `iterations` is the limit of evaluations going in and their number coming out. Returns whether it
/// converged to tol; e and c are written either way. A count below 1 leaves that ring out.
KVMATH_EXPORT bool calcCalibrationParametersWithTwoRings(const double* phi1, const double* t1, int count1,
                                                         const double* phi2, const double* t2, int count2,
                                                         double R1, double R2, double tol, int& iterations,
                                                         double& e, double& c);

/// Place of a reading t at angle phi, radians: at the distance sqrt((t + c)^2 + e^2) from the axis, in the
/// direction phi.
KVMATH_EXPORT void mapTPhi2XY(double phi, double t, double c, double e, double& x, double& y);

}  // namespace KvMath
