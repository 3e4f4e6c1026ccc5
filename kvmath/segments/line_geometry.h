#pragma once
// Segments, infinite lines and the least-squares fit, double precision, millimetres.
//
// Quotients are not guarded: a segment of length zero gives infinities or NaN, a pair of parallel lines these
// or, where rounding tells their directions apart, a far point.

#include <kvmath/base/global.h>
#include <kvmath/segments/line_types.h>

namespace KvMath {

/// The line through a segment: (a, b) is its direction turned by +90 degrees, of unit length.
/// Length zero: not finite.
KVMATH_EXPORT void LinePP2LineABC(const LinePP& segment, LineABC& line);

/// Least-squares line through n points (orthogonal distances): the direction from the central second moments,
/// the better of the two stationary ones; equal residuals take the second. A horizontal run gives a =
/// -4.37e-8, because the second angle lies a single-precision half pi from the first. n < 1, null points, a
/// single point, a NaN point or moments without a preferred direction: NaN. Where only rounding gives three
/// or more coincident points a direction, the line through them has that.
KVMATH_EXPORT void lsd(const KvVector2D<double>* pts, int n, LineABC& line);

/// Intersection of two lines. Parallel lines: infinite, NaN, or a far point that rounding decides.
KVMATH_EXPORT void linesIntersection(const LineABC& l1, const LineABC& l2, KvVector2D<double>& p);

/// Foot of the perpendicular from q; (a, b) need not be of unit length. a = b = 0: NaN.
KVMATH_EXPORT void nearestLinePointToPoint(const LineABC& l, const KvVector2D<double>& q,
                                           KvVector2D<double>& p);

/// Distance from q to the infinite line through s, mm, never negative.
/// (1) dist(s, q) == distWithDir(s, q, nullptr)   (2) zero at both end points of s, up to rounding at the
/// second. Length zero: NaN or infinite.
KVMATH_EXPORT double dist(const LinePP& s, KvVector2D<double> q);

/// Distance of dist with the side of q: `side` (may be null) receives -1 when q lies to the left of the
/// directed segment, +1 to the right, 0 on the line or when the distance is NaN.
KVMATH_EXPORT double distWithDir(const LinePP& s, KvVector2D<double> q, int* side);

}  // namespace KvMath
