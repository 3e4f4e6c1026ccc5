#pragma once
// Circles by least squares of the geometric distances.

#include <kvmath/core/global.h>
#include <kvmath/core/vector2d.h>

namespace KvMath {

/// Circle of least sum of squared distances to n points, by fminsearch from the algebraic fit of KvCircle (of
/// collinear points: from the centre of mass and the mean distance to it). Returns whether it converged to
/// tol within maxIter evaluations; centre and radius are written either way. n < 1: false, outputs untouched.
KVMATH_EXPORT bool circleFitting(const KvVector2D<double>* pts, int n, KvVector2D<double>& centre,
                                 double& radius, double tol, int maxIter);

/// The same for a known radius R.
KVMATH_EXPORT bool circleFittingWithKnownR(const KvVector2D<double>* pts, int n, double R,
                                           KvVector2D<double>& centre, double tol, int maxIter);

}  // namespace KvMath
