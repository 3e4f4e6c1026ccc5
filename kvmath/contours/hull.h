#pragma once
// Outlines around points of a plane that may be hollow, double precision, millimetres.
//
// Points are told apart by their coordinates: a repeated point stands in a hull under its first index.
// Points with a coordinate that is not finite take no part, except that an infinite one may be the lowest.

#include <kvmath/base/global.h>
#include <kvmath/base/vector2d.h>

#include <QtCore/QList>

namespace KvMath {

/// Rolls a coin of radius R, mm, counter-clockwise around the points, from the lowest one on (of equally low
/// ones the one of least x), and lists the indices of those it touches. Gaps up to 2R are bridged, notches
/// that the coin does not fit into are closed. The list ends with its first index; a point passed twice, as
/// on a thread of points, stands in it twice. From each point the coin turns to the point, at most 2R away,
/// that it meets first; of points met at once, the nearest. The walk is closed when it repeats its first
/// step. R infinite: the convex hull. Points farther than 2R from the walk are not part of it: outlines of
/// separate objects need separate calls.
///
/// True, with no index: no points. True with index 0 alone: one point. True with the first index twice: R not
/// > 0, NaN, or no other point within 2R. False, with the indices listed so far: more than 2n steps were
/// taken for n points without closing.
///
/// A tree of the points refuses the boxes that the coin cannot reach before what it has met: about
/// (n + h) log n for h indices, however the points lie together, on straight lines too. Only a hollow arc
/// larger than the coin by a share e of its radius, which the coin rolls along inside, takes 1 / sqrt(e)
/// boxes, at most all, in each step.
/// From a radius of 1e8 extents of the points on, those well inside do not enter the tree at all.
KVMATH_EXPORT bool getCoinHull(const QList<KvVector2D<double>>& points, double R, QList<int>& indices);

/// Outline by the sharpest turn to the outside: from the lowest point (of equally low ones that of least x)
/// to the point seen from it at the smallest angle, and then, counter-clockwise, to the point at most Rmax
/// away, mm, that is met first when the way back is turned counter-clockwise, unless the segment to it
/// crosses the outline so far. Turns are compared in steps of 2^-38 quarter turns: of points on one straight
/// line the nearest comes first. Ends at the first point, which is not repeated, where no point is left, the
/// first 256 all cross, or with maxPointsNumber points (< 1: no limit). The second point may be farther than
/// Rmax. Method: A. Moreira, M. Y. Santos, GRAPP 2007, with a radius in place of a number of neighbours.
///
/// Fewer than 3 points: returned unchanged. All in one place: that one. None without NaN: nothing. Rmax not
/// > 0 or NaN: the first two points. About n log n, on straight lines too. Traces at level 1.
KVMATH_EXPORT QList<KvVector2D<double>> getPseudoConvexHull(const QList<KvVector2D<double>>& points,
                                                            double Rmax, int maxPointsNumber);

}  // namespace KvMath
