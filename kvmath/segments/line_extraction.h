#pragma once
// From a run of points to straight segments: contours first, then the breaks and vertices of each.
//
// Points are finite or not as they come; no value of any argument crashes. Arrays are made with new[] and
// belong to the caller: each contours[k], then contours and sizes; breaks and vertices.

#include <kvmath/base/global.h>
#include <kvmath/base/vector2d.h>

namespace KvMath {

/// Groups points that lie close together, in order of arrival. A point nearer than `gap` (mm) to the previous
/// point joins its contour. Any other point joins the contour whose last point is nearest and at most `gap`
/// away (the later contour of equally near ones), else it opens a new contour. So the pieces of an
/// interrupted surface are joined. gap 0 joins coincident points only; a negative or NaN gap, and any NaN
/// point, joins nothing. n < 1 or null points: null arrays and 0 contours. Linear but where thousands of
/// contours end within one gap of each other, at worst n^2.
KVMATH_EXPORT void profile2contours(const KvVector2D<double>* pts, int n, double gap,
                                    KvVector2D<double>**& contours, int& nContours, int*& sizes);

/// Straight pieces of one contour: piece k runs from vertices[k] to vertices[k + 1].
/// - tolerance, mm: a piece is split at its farthest point (the first of equals) when that deviates from
///   the chord by at least this; NaN splits everywhere. Where both ends coincide the distance from them
///   takes its place. NaN distances never split.
/// - iterations: passes that fit a line to every piece, intersect neighbouring lines, drop corners beyond
///   their pieces and move the breaks to the bisectors. 0 or less: vertices are the points at the breaks.
/// - cornerTolerance >= 0, a ratio to the shorter neighbouring piece: a vertex farther than that from the
///   feet of its measured point is replaced by two. Its square is used, so that 1e300 never cuts, nor NaN.
/// breaks are point indices, one per vertex, ascending; a cut corner has its break twice.
/// The passes stop early where their breaks repeat, with the same result. Should they never repeat, at most
/// 4096 + 2^31 / n passes are made.
/// The split takes about n log n steps, n^2 for a saw of teeth that all deviate (65,535 points: seconds).
/// n < 1 or null points: nothing (null, 0, null). n = 1: the single break 0 and no vertices (null).
KVMATH_EXPORT void contour2lines(const KvVector2D<double>* pts, int n, double tolerance, int iterations,
                                 double cornerTolerance, int*& breaks, int& nBreaks,
                                 KvVector2D<double>*& vertices);

}  // namespace KvMath
