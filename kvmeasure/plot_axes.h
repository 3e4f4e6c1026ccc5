#pragma once
// What pictures of profiles and of scans share: the ticks of their axes, and points by the thousand.

#include "kvmeasure/plot_marks.h"

namespace KvMeasure {

/// Grid lines, ticks and numbers of one axis of the area.
void drawTicks(Canvas& canvas, const Projection& view, bool alongX);

/// Points (mm) as dots of `size` pixels, at most one per square of pixels; the square grows until the dots
/// are few enough for a viewer.
void drawDots(Drawing& drawing, const QList<Vector>& points, const QString& colour, int size);

}  // namespace KvMeasure
