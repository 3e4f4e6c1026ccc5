// The nominal section is filled in the colour of wear and the worn one painted over it in steel: what is left
// of the first is the area lost.

#include <kvmeasure/drawing/wear_picture.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/drawing/axes_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kLeft = 84, kTop = 92, kRight = 24, kBottom = 60;  // pixels around the area
constexpr double kAreaWidth = 900;
const QString kSteel = "#E4E9EF", kWornLine = "#1F4E79", kNominalLine = "#333", kLost = "#F2A7A0";

/// The points that are drawn: finite, at most some 1500.
std::vector<Vector> drawn(const std::vector<Vector>& points) {
    constexpr std::size_t kMost = 1500;
    const std::size_t each = points.size() / kMost + 1;
    std::vector<Vector> kept;
    kept.reserve(points.size() / each + 2);
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (isFinite(points[i]) && (i % each == 0 || i + 1 == points.size()))
            kept.push_back(points[i]);
    }
    return kept;
}

/// The height down to which both sections are known, mm.
double commonBottom(const WearPicture& picture) {
    double bottom = -1e300;
    for (const auto* points : {&picture.nominal, &picture.worn}) {
        double least = 1e300;
        for (const Vector& p : *points)
            least = isFinite(p) ? std::min(least, p.y) : least;
        bottom = least < 1e300 ? std::max(bottom, least) : bottom;
    }
    return bottom;
}

Rect rangeOf(const WearPicture& picture) {
    Rect range{1e300, 1e300, -1e300, -1e300};
    for (const auto* points : {&picture.nominal, &picture.worn}) {
        for (const Vector& p : *points) {
            if (!isFinite(p))
                continue;
            range = {std::min(range.left, p.x), std::min(range.top, p.y), std::max(range.right, p.x),
                     std::max(range.bottom, p.y)};
        }
    }
    if (!(range.left <= range.right))
        return {-1, -1, 1, 1};
    const double room = 0.06 * std::max({range.width(), range.height(), 1e-6});
    return {range.left - room, range.top - room, range.right + room, range.bottom + 2 * room};
}

QString pathOf(const Projection& view, const std::vector<Vector>& points, bool isClosed) {
    QString text;
    const auto add = [&](const Vector& at) {
        text += QString::number(at.x, 'f', 1) + ',' + QString::number(at.y, 'f', 1) + ' ';
    };
    for (const Vector& p : points)
        add(view.toPixel(p));
    if (isClosed && !points.empty()) {
        add({view.toPixel(points.back()).x, view.area.bottom});
        add({view.toPixel(points.front()).x, view.area.bottom});
    }
    return text.trimmed();
}

void drawSections(Drawing& drawing, const WearPicture& picture) {
    const std::vector<Vector> nominal = drawn(picture.nominal), worn = drawn(picture.worn);
    const Projection& view = drawing.view;
    const auto fill = [&](const std::vector<Vector>& points, const QString& colour) {
        drawing.canvas.raw(
            filledIn("<polygon points=\"%1\" fill=\"%2\"/>", pathOf(view, points, true), colour));
    };
    const auto line = [&](const std::vector<Vector>& points, const QString& style) {
        drawing.canvas.raw(
            filledIn("<polyline points=\"%1\" fill=\"none\" %2/>", pathOf(view, points, false), style));
    };
    const Rect& area = view.area;
    const double bottom = std::clamp(view.toPixel({0, commonBottom(picture)}).y, area.top, area.bottom);
    drawing.canvas.raw(filledIn("<clipPath id=\"known\"><rect x=\"%1\" y=\"%2\" width=\"%3\" height=\"%4\"/>"
                                "</clipPath><g clip-path=\"url(#known)\">",
                                area.left, area.top, area.width(), bottom - area.top));
    if (!nominal.empty())
        fill(nominal, kLost);
    if (!worn.empty())
        fill(worn, kSteel);
    drawing.canvas.raw("</g>");
    if (!nominal.empty())
        line(nominal, stroke(kNominalLine, 1.4, "stroke-dasharray=\"6 4\""));
    if (!worn.empty())
        line(worn, stroke(kWornLine, 2));
}

void drawMarks(Drawing& drawing, const WearPicture& picture) {
    constexpr double kUpwards = -1.5707963267948966;
    for (const WearPictureMark& mark : picture.marks) {
        if (!isFinite(mark.from) || !isFinite(mark.to))
            continue;
        const Vector a = drawing.view.toPixel(mark.from), b = drawing.view.toPixel(mark.to);
        drawing.canvas.line(a, b, stroke(badColour, 2.4));
        drawing.canvas.circle(a, 3, QString("fill=\"%1\"").arg(badColour));
        drawing.canvas.circle(b, 3, QString("fill=\"%1\"").arg(badColour));
        drawLabel(drawing, a, mark.text, badColour, kUpwards, true);
    }
}

void drawLegend(Canvas& canvas, double right, const WearPicture& picture) {
    const double y = 34;
    double x = right - 250;
    if (!picture.nominal.empty()) {
        canvas.line({x, y - 5}, {x + 30, y - 5}, stroke(kNominalLine, 1.4, "stroke-dasharray=\"6 4\""));
        canvas.text({x + 36, y}, "nominal", "fill=\"#333\"");
    }
    x += 110;
    canvas.line({x, y - 5}, {x + 30, y - 5}, stroke(kWornLine, 2));
    canvas.text({x + 36, y}, picture.nominal.empty() ? "measured" : "worn", "fill=\"#333\"");
}

}  // namespace

QByteArray drawWear(const WearPicture& picture) {
    Drawing drawing(withRoomForNumbers(fitProjection(rangeOf(picture), kLeft, kTop, kAreaWidth)));
    const Rect area = drawing.view.area;
    Canvas& canvas = drawing.canvas;
    canvas.raw(
        filledIn("<clipPath id=\"area\"><rect x=\"%1\" y=\"%2\" width=\"%3\" height=\"%4\"/></clipPath>"
                 "<g clip-path=\"url(#area)\">",
                 area.left, area.top, area.width(), area.height()));
    drawSections(drawing, picture);
    canvas.raw("</g>");
    drawTicks(canvas, drawing.view, true);
    drawTicks(canvas, drawing.view, false);
    canvas.rect(area, "fill=\"none\" " + stroke("#333", 1));
    drawMarks(drawing, picture);
    canvas.text({(area.left + area.right) / 2, area.bottom + 44}, "across the section, mm",
                "text-anchor=\"middle\" fill=\"#333\"");
    const double middle = (area.top + area.bottom) / 2;
    canvas.text({24, middle}, "height, mm",
                QString("text-anchor=\"middle\" fill=\"#333\" transform=\"rotate(-90 24 %1)\"").arg(middle));
    canvas.text({kLeft, 34}, picture.title, "font-size=\"20\" font-weight=\"bold\" fill=\"#111\"");
    canvas.text({kLeft, 58}, picture.subtitle, "fill=\"#555\"");
    drawLegend(canvas, area.right, picture);
    return canvas.document(area.right + kRight, area.bottom + kBottom);
}

}  // namespace KvMeasure
