// Distances with arrows and extension lines, angles with their arc, points with a cross, each with a label.
// The arc of an angle is worked out in mm and drawn point by point, since heights may be drawn larger than
// widths. A mark whose place lies outside the picture is not drawn.
#include <kvmeasure/drawing/dimensions_p.h>

#include <kvmeasure/base/filled_in.h>

#include <algorithm>
#include <cmath>
#include <tuple>

namespace KvMeasure {

namespace {

constexpr double kPi = 3.141592653589793;

bool isInside(const Projection& view, const Mark& mark) {
    const Vector& place = mark.kind == Mark::Angle ? mark.vertex : mark.first;
    return view.area.holds(view.toPixel(place)) &&
           (mark.kind != Mark::Distance || view.area.holds(view.toPixel(mark.second)));
}

void drawDistance(Drawing& drawing, const Mark& mark, const QString& colour, Vector& anchor) {
    Vector a = drawing.view.toPixel(mark.first);
    Vector b = drawing.view.toPixel(mark.second);
    const double size = length(a, b);
    if (mark.hasOrigin) {
        const Vector origin = drawing.view.toPixel(mark.origin);
        drawing.canvas.line(b, origin, stroke(colour, 1, "stroke-dasharray=\"5 4\""));
        drawing.placer.coverLine(b, origin);
    } else if (size > 1) {
        // Beside the line it measures, with extension lines.
        constexpr double kOffset = 22;
        const double side = b.x >= a.x ? 1 : -1;
        const Vector normal(-(b.y - a.y) / size * side, (b.x - a.x) / size * side);
        const Vector shift(normal.x * kOffset, normal.y * kOffset);
        drawing.canvas.line(a, {a.x + shift.x * 1.25, a.y + shift.y * 1.25}, stroke(colour, 0.9));
        drawing.canvas.line(b, {b.x + shift.x * 1.25, b.y + shift.y * 1.25}, stroke(colour, 0.9));
        a = {a.x + shift.x, a.y + shift.y};
        b = {b.x + shift.x, b.y + shift.y};
    }
    drawing.canvas.line(a, b, stroke(colour, 1.8));
    drawing.canvas.arrowHead(a, b, colour);
    drawing.canvas.arrowHead(b, a, colour);
    drawing.placer.coverLine(a, b);
    anchor = middle(a, b);
}

/// Distance in mm from a place (pixels) to the frame of the picture, in a direction in mm.
double reach(const Projection& view, const Vector& from, double angle) {
    const Vector step(std::cos(angle) * view.scaleX, -std::sin(angle) * view.scaleY);
    double reached = 1e300;
    for (const auto& [part, low, high] :
         {std::tuple(step.x, from.x - view.area.left, view.area.right - from.x),
          {step.y, from.y - view.area.top, view.area.bottom - from.y}}) {
        if (std::fabs(part) > 0)
            reached = std::min(reached, (part > 0 ? high : low) / std::fabs(part));
    }
    return reached;
}

void drawAngle(Drawing& drawing, const Mark& mark, const QString& colour, Vector& anchor) {
    constexpr double kRadiusPixels = 46;
    constexpr int kPieces = 48;
    constexpr double kArmShare = 1.35;
    const Vector vertex = drawing.view.toPixel(mark.vertex);
    const double from = std::atan2(mark.first.y - mark.vertex.y, mark.first.x - mark.vertex.x);
    const double wanted = kRadiusPixels / std::sqrt(drawing.view.scaleX * drawing.view.scaleY);
    double room = wanted;
    for (int i = 0; i <= kPieces; ++i)
        room = std::min(room, reach(drawing.view, vertex, from + mark.angle * i / kPieces) / kArmShare);
    const double radius = std::max(wanted / 3, room);  // inside the picture where that is seen
    const auto at = [&](double angle, double scale) {
        return drawing.view.toPixel({mark.vertex.x + scale * radius * std::cos(angle),
                                     mark.vertex.y + scale * radius * std::sin(angle)});
    };
    QList<Vector> arc;
    for (int i = 0; i <= kPieces; ++i)
        arc.append(at(from + mark.angle * i / kPieces, 1));
    for (const double arm : {from, from + mark.angle})
        drawing.canvas.line(vertex, at(arm, kArmShare), stroke(colour, 1, "stroke-dasharray=\"5 4\""));
    drawing.canvas.polyline(arc, stroke(colour, 1.8));
    drawing.canvas.arrowHead(arc.last(), arc[kPieces - 4], colour);
    for (const Vector& point : arc)
        drawing.placer.cover(point);
    anchor = arc[kPieces / 2];
}

void drawPointMark(Drawing& drawing, const Mark& mark, const QString& colour, Vector& anchor) {
    constexpr double kArm = 9;
    anchor = drawing.view.toPixel(mark.first);
    drawing.canvas.circle(anchor, 4.5, QString("fill=\"white\" fill-opacity=\"0.8\" ") + stroke(colour, 1.8));
    drawing.canvas.line({anchor.x - kArm, anchor.y}, {anchor.x + kArm, anchor.y}, stroke(colour, 1.2));
    drawing.canvas.line({anchor.x, anchor.y - kArm}, {anchor.x, anchor.y + kArm}, stroke(colour, 1.2));
}

}  // namespace

QString stroke(const QString& colour, double width, const QString& more) {
    return filledIn("stroke=\"%1\" stroke-width=\"%2\" %3", colour, width, more);
}

void drawLabel(Drawing& drawing, const Vector& anchor, const QString& text, const QString& colour,
               double preferred, bool isFilled) {
    constexpr double kHeight = 20;
    constexpr double kLabelSize = 13;
    const double width = textWidth(text, kLabelSize) + 12;
    const Rect box = drawing.placer.place(anchor, width, kHeight, preferred);
    const Vector centre((box.left + box.right) / 2, (box.top + box.bottom) / 2);
    const Vector nearest(std::min(std::max(anchor.x, box.left), box.right),
                         std::min(std::max(anchor.y, box.top), box.bottom));
    if (length(nearest, anchor) > 12)
        drawing.canvas.line(anchor, nearest, stroke(colour, 0.9, "stroke-dasharray=\"1.5 2.5\""));
    drawing.canvas.rect(box,
                        QString("rx=\"4\" fill=\"%1\" fill-opacity=\"%2\" stroke=\"%3\" stroke-width=\"1\"")
                            .arg(isFilled ? colour : QString("white"), isFilled ? "1" : "0.94", colour));
    drawing.canvas.text({centre.x, centre.y + 4.7}, text,
                        filledIn("text-anchor=\"middle\" font-weight=\"bold\" fill=\"%1\" font-size=\"%2\"",
                                 isFilled ? QString("white") : colour, kLabelSize));
}

void drawMark(Drawing& drawing, const Mark& measured) {
    Mark mark = measured;
    if (mark.kind == Mark::Angle && !isInside(drawing.view, mark)) {
        mark.vertex = mark.nearVertex;
        mark.first = mark.nearFirst;
    }
    if (!isInside(drawing.view, mark))
        return;  // its value still stands in the panel
    const QString colour = mark.isGood ? measureColour : badColour;
    Vector anchor;
    double preferred = -kPi / 2;
    if (mark.kind == Mark::Distance) {
        drawDistance(drawing, mark, colour, anchor);
        const bool isUpright =
            std::fabs(mark.second.y - mark.first.y) > std::fabs(mark.second.x - mark.first.x);
        preferred = isUpright ? 0 : kPi / 2;
    } else if (mark.kind == Mark::Angle) {
        drawAngle(drawing, mark, colour, anchor);
        const Vector vertex = drawing.view.toPixel(mark.vertex);
        preferred = std::atan2(anchor.y - vertex.y, anchor.x - vertex.x);
    } else {
        drawPointMark(drawing, mark, colour, anchor);
    }
    drawLabel(drawing, anchor, mark.label, colour, preferred, false);
}

}  // namespace KvMeasure
