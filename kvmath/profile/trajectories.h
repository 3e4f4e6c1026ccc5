#pragma once
// Smooth paths through points, as cubic Bezier pieces, and smoothing of profiles by a kernel.

#include <kvmath/base/global.h>
#include <kvmath/base/vector2d.h>

#include <QtCore/QList>

namespace KvMath {

class KvProfile;

/// One cubic Bezier piece: p0 and p3 are its ends, p1 and p2 its control points.
struct CubicBezierCurve {
    KvVector2D<double> p0;  ///< start
    KvVector2D<double> p1;  ///< control point of the start: the piece leaves towards it
    KvVector2D<double> p2;  ///< control point of the end: the piece arrives from it
    KvVector2D<double> p3;  ///< end
};

/// n - 1 pieces through n points with continuous first and second derivative; second derivative 0 at both
/// ends. Nothing divides by a distance, so repeated points are harmless. Two points: a straight piece. Fewer:
/// false, no pieces.
KVMATH_EXPORT bool interpolateTrajectory(const QList<KvVector2D<double>>& points,
                                         QList<CubicBezierCurve>& curves);

/// Closed form of interpolateTrajectory: one more piece leads back to the first point, smooth there too. A
/// last point equal to the first is dropped. Fewer than two points: false, no pieces.
KVMATH_EXPORT bool interpolateTrajectoryPeriodic(const QList<KvVector2D<double>>& points,
                                                 QList<CubicBezierCurve>& curves);

/// Replaces the profile by pointsPerPiece places of every piece at equal parameter steps, and the end of the
/// last piece. Returns the number of points; 0 with the profile empty for no pieces, pointsPerPiece < 1 or
/// more than 2^24 points.
KVMATH_EXPORT int cubicBezierSpline2KvProfile(const QList<CubicBezierCurve>& curves, int pointsPerPiece,
                                              KvProfile& profile);

/// Every y becomes sum kernel[j + half] * y[i + j] / sum kernel over the neighbours j = -half..half that
/// exist and have numbers, taken from the old values; x stays. half < 0: nothing. A point whose kernel sum is
/// 0 stays.
KVMATH_EXPORT void filterProfile(KvProfile& profile, const double* kernel, int half);

}  // namespace KvMath

Q_DECLARE_TYPEINFO(KvMath::CubicBezierCurve, Q_MOVABLE_TYPE);
