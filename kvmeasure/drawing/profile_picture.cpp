#include "kvmeasure/plot.h"

#include "kvmeasure/plot_axes.h"
#include "kvmeasure/plot_marks.h"

#include <cmath>

namespace KvMeasure {

using KvMath::KvPointXY;
using KvMath::LinePP;

namespace {

constexpr double left = 84;    // pixels; room for the height axis
constexpr double top = 84;     // title and legend
constexpr double bottom = 64;  // x axis
constexpr double areaWidth = 900;
constexpr double panelWidth = 330;
constexpr double margin = 24;
constexpr double upwards = -1.5707963267948966;  // the side of a label, pixels

// Colours that stay apart for colour-blind eyes.
const char* const lineColours[] = {"#0072B2", "#D55E00", "#009E73", "#CC79A7", "#E69F00", "#56B4E9"};
const QString pointColour = "#8A94A0";
const QString beforeColour = "#F0A35E";

QString lineColour(int line) { return lineColours[line % 6]; }

/// One picture in the making.
class Painter {
public:
    explicit Painter(const Picture& picture);
    QByteArray paint();

private:
    Rect dataRange() const;
    void drawAxes();
    void drawPoints(const QList<KvPointXY>& points, const QString& colour);
    void drawSegments();
    void drawLines();
    void drawCurve();
    void drawHeader();
    void drawPanel();

    const Picture& picture_;
    Drawing drawing_;
    const Projection& view_;
    Canvas& canvas_;
};

Painter::Painter(const Picture& picture)
    : picture_(picture), drawing_(fitProjection(dataRange(), left, top, areaWidth)), view_(drawing_.view),
      canvas_(drawing_.canvas) {}

/// Points, segments, and what was measured near them, with room around. Empty: 1 mm about the origin.
Rect Painter::dataRange() const {
    Rect range{1e300, 1e300, -1e300, -1e300};
    const auto add = [&range](double x, double y) {
        range = {std::min(range.left, x), std::min(range.top, y), std::max(range.right, x),
                 std::max(range.bottom, y)};
    };
    for (const KvPointXY& point : picture_.profile.points + picture_.before) {
        if (std::isfinite(point.x) && std::isfinite(point.y))
            add(double(point.x), double(point.y));
    }
    if (range.left > range.right)
        range = {-1, -1, 1, 1};
    const double width = std::max({range.width(), range.height() / 10, 1e-3});
    const double height = std::max({range.height(), width / 1000, 1e-3});
    const Vector centre((range.left + range.right) / 2, (range.top + range.bottom) / 2);
    constexpr double half = 0.56;        // of the extent on either side
    constexpr double halfHeight = 0.66;  // labels stand above and below
    return {centre.x - half * width, centre.y - halfHeight * height, centre.x + half * width,
            centre.y + halfHeight * height};
}

void Painter::drawAxes() {
    const Rect& area = view_.area;
    drawTicks(canvas_, view_, /*alongX=*/true);
    drawTicks(canvas_, view_, /*alongX=*/false);
    canvas_.rect(area, "fill=\"none\" " + stroke("#333", 1));
    const double factor = view_.scaleY / view_.scaleX;
    const QString scale = factor > 1.5
                              ? QString("heights drawn %1 times larger than widths").arg(std::round(factor))
                              : QString("equal scale");
    const double x = (area.left + area.right) / 2;
    canvas_.text({x, area.bottom + 42}, picture_.along + ", mm", "text-anchor=\"middle\" fill=\"#333\"");
    canvas_.text({area.right, area.bottom + 42}, scale, "text-anchor=\"end\" fill=\"#666\" font-size=\"12\"");
    const double y = (area.top + area.bottom) / 2;
    canvas_.raw(QString("<text transform=\"translate(22,%1) rotate(-90)\" text-anchor=\"middle\" "
                        "fill=\"#333\">%2, mm</text>")
                    .arg(y, 0, 'f', 1)
                    .arg(picture_.upward));
}

void Painter::drawPoints(const QList<KvPointXY>& points, const QString& colour) {
    QList<Vector> places;
    places.reserve(points.size());
    for (const KvPointXY& point : points)
        places.append({double(point.x), double(point.y)});
    drawDots(drawing_, places, colour, picture_.before.isEmpty() || colour == beforeColour ? 3 : 2);
}

void Painter::drawSegments() {
    for (int i = 0; i < picture_.segments.size(); ++i) {
        const Vector a = view_.toPixel(picture_.segments[i].p1);
        const Vector b = view_.toPixel(picture_.segments[i].p2);
        const QString colour = picture_.numberSegments ? lineColour(i) : QString("#30363D");
        canvas_.line(a, b, stroke(colour, picture_.numberSegments ? 3.2 : 1.4, "stroke-linecap=\"round\""));
        canvas_.circle(a, 2.6, QString("fill=\"%1\"").arg(colour));
        canvas_.circle(b, 2.6, QString("fill=\"%1\"").arg(colour));
        drawing_.placer.coverLine(a, b);
    }
    for (int i = 0; picture_.numberSegments && i < picture_.segments.size(); ++i) {
        const LinePP& s = picture_.segments[i];
        drawLabel(drawing_, view_.toPixel(middle(s.p1, s.p2)), QString::number(i), lineColour(i), upwards,
                  true);
    }
}

void Painter::drawLines() {
    for (int i = 0; i < picture_.lines.size(); ++i) {
        const Vector a = view_.toPixel(picture_.lines[i].line.p1);
        const Vector b = view_.toPixel(picture_.lines[i].line.p2);
        canvas_.line(a, b, stroke(lineColour(i), 4.5, "stroke-linecap=\"round\""));
        drawing_.placer.coverLine(a, b);
    }
}

void Painter::drawCurve() {
    QList<Vector> places;
    for (const Vector& place : picture_.curve)
        places.append(view_.toPixel(place));
    if (!places.isEmpty())
        canvas_.polyline(places, stroke(lineColour(1), 1.8));
}

void Painter::drawHeader() {
    canvas_.text({left, 32}, picture_.title, "font-size=\"20\" font-weight=\"bold\" fill=\"#111\"");
    canvas_.text({left, 54}, picture_.subtitle, "fill=\"#555\"");
    double x = left;
    const auto entry = [&](const QString& text, const QString& colour, double width) {
        canvas_.line({x, 70}, {x + 22, 70}, stroke(colour, width, "stroke-linecap=\"round\""));
        canvas_.text({x + 29, 74}, text, "fill=\"#333\" font-size=\"12\"");
        x += 29 + textWidth(text, 12) + 22;
    };
    if (!picture_.before.isEmpty()) {
        entry("before", beforeColour, 4.5);
        entry("after", lineColour(0), 4.5);
        return;
    }
    canvas_.raw(QString("<path d=\"M%1 70h0m8 0h0m8 0h0\" stroke=\"#8A94A0\" stroke-width=\"3.4\" "
                        "stroke-linecap=\"round\"/>")
                    .arg(x + 3));
    entry("measured points", "none", 0);
    if (!picture_.segments.isEmpty() && !picture_.numberSegments)
        entry("segments found", "#30363D", 1.4);
    if (!picture_.lines.isEmpty())
        entry("template lines", lineColour(0), 4.5);
    if (!picture_.curve.isEmpty())
        entry("fitted", lineColour(1), 1.8);
    if (!picture_.evaluation.marks.isEmpty())
        entry("measured", measureColour, 1.8);
}

void Painter::drawPanel() {
    const double x = view_.area.right + margin;
    double y = view_.area.top + 14;
    canvas_.text({x, y}, "Results", "font-size=\"15\" font-weight=\"bold\" fill=\"#111\"");
    for (const Value& value : picture_.evaluation.values) {
        if (y > view_.area.bottom - 44) {
            canvas_.text({x, y + 22}, "... more in the table", "fill=\"#666\"");
            return;
        }
        y += 24;
        const QString colour = value.isGood() ? "#111" : badColour;
        const QString number =
            value.isValid ? QString::number(value.value, 'f', value.unit == "deg" ? 2 : 3) : "not measured";
        canvas_.text({x, y}, value.name, QString("fill=\"%1\"").arg(colour));
        canvas_.text({x + panelWidth - 42 - margin, y}, number,
                     QString("text-anchor=\"end\" font-weight=\"bold\" fill=\"%1\"").arg(colour));
        canvas_.text({x + panelWidth - 36 - margin, y}, value.unit, "fill=\"#555\"");
        if (!value.hasTolerance)
            continue;
        y += 17;
        const QString verdict = value.isGood() ? QString("good") : QString("OUT OF TOLERANCE");
        canvas_.text(
            {x + 10, y},
            QString("%1 %2%3 %4%5: %6")
                .arg(value.tolerance.nominal)
                .arg(value.tolerance.upper < 0 ? "" : "+")
                .arg(value.tolerance.upper)
                .arg(value.tolerance.lower > 0 ? "+" : "")
                .arg(value.tolerance.lower)
                .arg(verdict),
            QString("font-size=\"12\" fill=\"%1\"").arg(value.isGood() ? QString("#1B7F3B") : badColour));
    }
}

QByteArray Painter::paint() {
    drawAxes();
    drawHeader();
    canvas_.raw(QString("<clipPath id=\"area\"><rect x=\"%1\" y=\"%2\" width=\"%3\" "
                        "height=\"%4\"/></clipPath><g clip-path=\"url(#area)\">")
                    .arg(view_.area.left)
                    .arg(view_.area.top)
                    .arg(view_.area.width())
                    .arg(view_.area.height()));
    drawPoints(picture_.before, beforeColour);
    drawPoints(picture_.profile.points, picture_.before.isEmpty() ? pointColour : lineColour(0));
    drawSegments();
    drawLines();
    drawCurve();
    for (const Mark& mark : picture_.evaluation.marks)
        drawMark(drawing_, mark);
    for (int i = 0; i < picture_.lines.size(); ++i) {
        const LinePP& line = picture_.lines[i].line;
        drawLabel(drawing_, view_.toPixel(middle(line.p1, line.p2)), picture_.lines[i].label, lineColour(i),
                  upwards, true);
    }
    canvas_.raw("</g>");
    const bool hasPanel = !picture_.evaluation.values.isEmpty();
    if (hasPanel)
        drawPanel();
    return canvas_.document(view_.area.right + (hasPanel ? panelWidth : 0) + margin,
                            view_.area.bottom + bottom);
}

}  // namespace

QByteArray drawPicture(const Picture& picture) { return Painter(picture).paint(); }

}  // namespace KvMeasure
