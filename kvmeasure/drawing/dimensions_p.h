#pragma once
// What was measured, drawn into a picture where it was measured.

#include <kvmeasure/drawing/canvas_p.h>

namespace KvMeasure {

const QString measureColour = "#5B21B6";
const QString badColour = "#C1121F";

/// A picture in the making.
struct Drawing {
    explicit Drawing(const Projection& projection) : view(projection), placer(projection.area) {}

    Projection view;
    Canvas canvas;
    LabelPlacer placer;
};

QString stroke(const QString& colour, double width, const QString& more = QString());

/// A box with text at a free place near `anchor` (pixels), the preferred direction (radians, pixels) first.
void drawLabel(Drawing& drawing, const Vector& anchor, const QString& text, const QString& colour,
               double preferred, bool isFilled);

/// A mark with its label. One outside the area is left out; an angle whose vertex is outside goes to the end
/// of its first line.
void drawMark(Drawing& drawing, const Mark& mark);

}  // namespace KvMeasure
