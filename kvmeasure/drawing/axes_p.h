#pragma once
// What pictures of profiles and of scans share: the ticks of their axes, and points by the thousand.

#include <kvmeasure/drawing/dimensions_p.h>

namespace KvMeasure {

/// The ticks of an axis of so many pixels, `most` at the most: as many as have numbers that stand clear of
/// each other, side by side or one above the other.
Ticks ticksApart(double from, double to, double pixels, int most, bool areSideBySide);

/// The same view with its area moved to the right where the numbers of the upright axis need more room, so
/// that they keep clear of the axis title.
Projection withRoomForNumbers(Projection view);

/// Grid lines, ticks and numbers of one axis of the area; fewer where the numbers are long.
void drawTicks(Canvas& canvas, const Projection& view, bool alongX);

/// Frame, ticks and names of the axes of a scan seen from above: x and scan, mm.
void drawScanAxes(Canvas& canvas, const Projection& view);

/// The range of points, mm, with room around: widths of 0.56 and heights of `halfHeight` of the extent on
/// either side of the middle. Points that are not finite are left out; without points 1 mm about the origin.
Rect rangeWithRoom(const QList<KvMath::KvPointXY>& points, double halfHeight);

/// Points (mm) as dots of `size` pixels, at most one per square of pixels; the square grows until the dots
/// are few enough for a viewer.
void drawDots(Drawing& drawing, const QList<Vector>& points, const QString& colour, int size);

}  // namespace KvMeasure
