#pragma once
// Corners of an outline, made sharp or smooth within a rectangle. Millimetres.
//
// `lines` is an outline in walking order; the first line follows the last. The rectangle is closed and given
// by two opposite corners in any order. Both functions want exactly one line that comes in (start outside,
// end inside) and one that leaves, and all lines between them inside; a line that passes through or touches
// it with both ends outside is one too many. Otherwise, and for a corner with a NaN, they return false and
// change nothing.

#include <kvmath/base/global.h>
#include <kvmath/base/vector2d.h>
#include <kvmath/segments/line_types.h>

#include <QtCore/QList>

namespace KvMath {

/// Extends the two lines to their intersection and removes the lines between. False also when the
/// intersection is not inside, or the lines are parallel (sine of the angle between them not above 1e-6).
/// When the outline's end lies between the two, the result begins with the line that leaves.
KVMATH_EXPORT bool makeOneIntersectionInRectangle(QList<LinePP>& lines, KvVector2D<double> corner1,
                                                  KvVector2D<double> corner2);

/// Cuts the two lines at the border and joins the cuts by a smooth path through the ends of the lines inside
/// (interpolateTrajectory), in pointsPerPiece segments (below 1: one) per pair of neighbouring ends. The
/// inner points of the path are rounded to single precision; it begins and ends exactly on the border. Order
/// as in makeOneIntersectionInRectangle, the path between the two lines. False also when all ends coincide or
/// the path has more than 2^24 points.
KVMATH_EXPORT bool makePolynomInRectangle(QList<LinePP>& lines, KvVector2D<double> corner1,
                                          KvVector2D<double> corner2, int pointsPerPiece);

}  // namespace KvMath
