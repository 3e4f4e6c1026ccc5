#pragma once
// Circles by least squares of the geometric distances.

#include <kvmath/base/global.h>
#include <kvmath/base/vector2d.h>

namespace KvMath {

/// Circle of least sum of squared distances to n points, by fminsearch from the algebraic fit of KvCircle (of
/// collinear points: from the centre of mass and the mean distance to it). Returns whether it converged to
/// tol within maxIter evaluations; centre and radius are written either way. n < 1: false, outputs untouched.
KVMATH_EXPORT bool circleFitting(const KvVector2D<double>* pts, int n, KvVector2D<double>& centre,
                                 double& radius, double tol, int maxIter);

/// Centre of the circle of known radius R with the least sum of squared distances to n points, found and
/// answered as in circleFitting.
KVMATH_EXPORT bool circleFittingWithKnownR(const KvVector2D<double>* pts, int n, double R,
                                           KvVector2D<double>& centre, double tol, int maxIter);

}  // namespace KvMath
