#pragma once

#include <kvmeasure/drawing/canvas_p.h>

namespace KvMeasure {

/// Ticks and names of an area over the sensor: its columns across, so many rows of that name downward.
void drawSensorAxes(Canvas& canvas, const Rect& area, int rows, const QString& name);

}  // namespace KvMeasure
