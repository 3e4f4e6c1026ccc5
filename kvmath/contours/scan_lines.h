#pragma once
// From a scan to the straight segments of the object's outline.
//
// What both forms do: points that are not above minimumLevel are removed from every profile; the rest is seen
// from above, as (position along the scan, position along the line) in single precision; with simplification
// only the edge points enter (getEdgePoints with Lmax, Lmin), else all; a coin of radius Rmax is rolled
// around them (getCoinHull); the points it touches, in walking order, become segments (findTemplate without a
// template: contourGap = maxDistanceBetweenPoints, splitTolerance = maxWidth, minLineLength =
// minimumLineLength, corners never cut). One outline is found: that of the object with the lowest position
// along the line. docs/contours.md says how to choose the values; all are in mm.
//
// Empty list: no points, no outline, no segment longer than minimumLineLength, or an outline that does not
// close. maxPointsNumber has no effect: an outline cut off would be wrong.

#include <kvmath/base/global.h>
#include <kvmath/segments/line_types.h>

#include <QtCore/QList>

#include <tarn/tarn.h>

namespace KvMath {

class KvProfile;
class KvProfileZSet;

/// The outline of a stack, profile i standing at i * zStep (zStep not 0; finite). Changes the stack: low
/// points removed, points mapped; ranges and the profiles' z stay. Points with an x or y that is not finite
/// are removed or do no harm. Writes no traces of its own, also none for an empty stack.
KVMATH_EXPORT QList<LinePP> convertProfilesZ2Lines(KvProfileZSet& stack, double zStep, double minimumLevel,
                                                   double Rmax, double maxWidth, double Lmax, double Lmin,
                                                   int maxPointsNumber, double maxDistanceBetweenPoints,
                                                   double minimumLineLength, bool simplification);

/// The outline of a scanner cloud: z is the height, x runs along the line, y along the scan. Points with a
/// coordinate that is not finite are left out; the others belong to the step k = floor((y - y0) / zStep +
/// 0.5), y0 being the smallest y, and within a step they are sorted by x, stably. The outline is in (k *
/// zStep, x). Steps without points have no profile, and the profiles on both sides of such a gap are no
/// neighbours.
///
/// refineIterations: passes of the line search that fit lines and move corners (below 0 as 0). Then the end
/// of a segment and the start of the next one (the first follows the last), where they are at most
/// maxDistanceBetweenPoints apart, move to the intersection of the two lines, if that is as near to both and
/// the lines are not parallel (sine of the angle between them above 1e-6).
///
/// Outputs, skipped when null, else replaced: `stack` the profiles of the steps, mapped, with z = y0 + k *
/// zStep; `outlinePoints` the points that entered the hull; `hullPoints` the outline in walking order.
///
/// Empty list also for a zStep that is not finite and > 0, or so small that the cloud spans 2^53 steps or
/// more. Traces at levels 1 and 2.
KVMATH_EXPORT QList<LinePP> convertProfilesZ2Lines(const PointCloud& cloud, double zStep, double minimumLevel,
                                                   double Rmax, double maxWidth, double Lmax, double Lmin,
                                                   int maxPointsNumber, double maxDistanceBetweenPoints,
                                                   double minimumLineLength, bool simplification,
                                                   int refineIterations, KvProfileZSet* stack = nullptr,
                                                   KvProfile* outlinePoints = nullptr,
                                                   KvProfile* hullPoints = nullptr);

}  // namespace KvMath
