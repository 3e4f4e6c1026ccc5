#pragma once
// Lines of an outline, joined where they run on, and fitted to the outermost points of the edge.
//
// A rolled coin touches what sticks out, so that lines through the points it touches lie outside the edge by
// about twice its roughness. The fit takes one point per column or profile, as an eye would.

#include <kvmeasure/scans/height_grid.h>
#include <kvmeasure/scans/outline_search.h>

namespace KvMeasure {

/// Joins neighbours whose ends are at most `join` apart while they turn by less than `degrees`, also in all.
/// The line that the first one became part of stays the first.
void mergeLines(QList<OutlineLine>& lines, double degrees, double join);

/// Fits every line to the outermost points within `window` of it, without those that are farther off than 2.5
/// standard deviations (told from the median) and a step: of each column of points, or of each profile where
/// the line crosses more profiles than columns. The ends of the line are left to the corners. Columns take
/// all points of the object, since the edge lacks runs that are too short to enter, where a side meets a
/// groove or a corner; profiles take those of the edge. Corners, where ends are at most `join` apart, move to
/// where the fitted lines meet. A line with fewer than five points stays.
/// Lines that only cut a corner off, with as many points of the object beyond them as within, are dropped
/// (the edge lacks runs that are too short to enter), and those across a corner that points in, without
/// points behind them, which the coin does not reach.
///
/// The outermost point lies anywhere from the edge to one step inside. With `compensatesEdges` a fitted line
/// moves outwards by the mean of that, half a step as seen square to the line: profiles are a step of scan
/// apart in a column, points a step of x in a profile.
void fitLines(Outline& outline, const QList<Vector>& objectPoints, const Steps& steps, double window,
              double join, bool compensatesEdges);

}  // namespace KvMeasure
