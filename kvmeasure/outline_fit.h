#pragma once
// Lines of an outline, joined where they run on, and fitted to the outermost points of the edge.
//
// A rolled coin touches what sticks out, so that lines through the points it touches lie outside the edge by
// about twice its roughness. The fit takes one point per step along the edge, as an eye would.

#include "kvmeasure/matcher.h"
#include "kvmeasure/scan_grid.h"

namespace KvMeasure {

struct OutlineLine {
    KvMath::LinePP line;
    int points = 0;  ///< that it was fitted to; 0: not fitted
    double rms = 0;  ///< of their distances, mm; NaN: not fitted
};

/// Places are (x, scan), mm.
struct Outline {
    QList<OutlineLine> lines;  ///< in walking order, clockwise seen with x to the right and the scan upwards
    QList<Vector> edgePoints;  ///< that the coin rolled around
    QList<Vector> hull;        ///< in walking order
    int objectPoints = 0;      ///< above the level
};

/// Joins neighbours whose ends are at most `join` apart while they turn by less than `degrees`, also in all.
/// The line that the first one became part of stays the first.
void mergeLines(QList<OutlineLine>& lines, double degrees, double join);

/// Fits every line to the outermost edge points within `window` of it, one per step, without those that are
/// farther off than 2.5 standard deviations (told from the median) and a step. Corners, where ends are at
/// most `join` apart, move to where the fitted lines meet. A line with fewer than five points stays.
void fitLines(Outline& outline, const Steps& steps, double window, double join);

/// Angle inside the outline where line i meets the next one (the first follows the last), degrees in
/// (0, 360); NaN for the only line and for one without direction.
double innerAngle(const QList<OutlineLine>& lines, int i);

}  // namespace KvMeasure
