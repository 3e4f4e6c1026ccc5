#include "kvmeasure/plot.h"

#include "kvmeasure/plot_canvas.h"

#include <QtCore/QSet>

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
constexpr double labelSize = 13;
constexpr double pi = 3.141592653589793;

// Colours that stay apart for colour-blind eyes.
const char* const lineColours[] = {"#0072B2", "#D55E00", "#009E73", "#CC79A7", "#E69F00", "#56B4E9"};
const QString measureColour = "#5B21B6";
const QString pointColour = "#8A94A0";
const QString beforeColour = "#F0A35E";
const QString badColour = "#C1121F";

QString lineColour(int line) { return lineColours[line % 6]; }
QString stroke(const QString& colour, double width, const QString& more = QString()) {
    return QString("stroke=\"%1\" stroke-width=\"%2\" %3").arg(colour).arg(width).arg(more);
}
Vector middle(const Vector& a, const Vector& b) { return {(a.x + b.x) / 2, (a.y + b.y) / 2}; }

/// One picture in the making.
class Painter {
public:
    explicit Painter(const Picture& picture);
    QByteArray paint();

private:
    Rect dataRange() const;
    void drawAxes();
    void drawTicks(bool alongX);
    void drawPoints(const QList<KvPointXY>& points, const QString& colour);
    void drawSegments();
    void drawLines();
    void drawCurve();
    void drawMark(const Mark& mark);
    void drawDistance(const Mark& mark, const QString& colour, Vector& anchor);
    void drawAngle(const Mark& mark, const QString& colour, Vector& anchor);
    void drawPointMark(const Mark& mark, const QString& colour, Vector& anchor);
    void drawLabel(const Vector& anchor, const QString& text, const QString& colour, double preferred,
                   bool isFilled);
    void drawHeader();
    void drawPanel();
    bool isInside(const Mark& mark) const;

    const Picture& picture_;
    Projection view_;
    Canvas canvas_;
    LabelPlacer placer_;
};

Painter::Painter(const Picture& picture)
    : picture_(picture), view_(fitProjection(dataRange(), left, top, areaWidth)), placer_(view_.area) {}

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

void Painter::drawTicks(bool alongX) {
    const Rect& area = view_.area;
    const double scale = alongX ? view_.scaleX : view_.scaleY;
    const double extent = (alongX ? area.width() : area.height()) / scale;
    const double first = alongX ? view_.origin.x : view_.origin.y;
    constexpr double ticksWanted = 10;
    const double power = std::pow(10.0, std::floor(std::log10(extent / ticksWanted)));
    double step = power;
    for (const double factor : {2.0, 5.0, 10.0}) {
        if (extent / step > ticksWanted)
            step = power * factor;
    }
    const int decimals = std::max(0, static_cast<int>(-std::floor(std::log10(step) + 1e-9)));
    const double start = std::ceil(first / step);
    for (int i = 0; i < 2 * ticksWanted; ++i) {
        const double value = (start + i) * step;
        if (value > first + extent)
            break;
        const QString text = QString::number(value == 0 ? 0.0 : value, 'f', std::min(decimals, 9));
        if (alongX) {
            const double x = view_.toPixel({value, 0}).x;
            canvas_.line({x, area.top}, {x, area.bottom}, stroke("#E8EAED", 1));
            canvas_.line({x, area.bottom}, {x, area.bottom + 5}, stroke("#333", 1));
            canvas_.text({x, area.bottom + 20}, text, "text-anchor=\"middle\" fill=\"#333\"");
        } else {
            const double y = view_.toPixel({0, value}).y;
            canvas_.line({area.left, y}, {area.right, y}, stroke("#E8EAED", 1));
            canvas_.line({area.left - 5, y}, {area.left, y}, stroke("#333", 1));
            canvas_.text({area.left - 9, y + 4.5}, text, "text-anchor=\"end\" fill=\"#333\"");
        }
    }
}

void Painter::drawAxes() {
    const Rect& area = view_.area;
    drawTicks(true);
    drawTicks(false);
    canvas_.rect(area, "fill=\"none\" " + stroke("#333", 1));
    const double factor = view_.scaleY / view_.scaleX;
    const QString scale = factor > 1.5
                              ? QString("heights drawn %1 times larger than widths").arg(std::round(factor))
                              : QString("equal scale");
    const double x = (area.left + area.right) / 2;
    canvas_.text({x, area.bottom + 42}, "x, mm", "text-anchor=\"middle\" fill=\"#333\"");
    canvas_.text({area.right, area.bottom + 42}, scale, "text-anchor=\"end\" fill=\"#666\" font-size=\"12\"");
    const double y = (area.top + area.bottom) / 2;
    canvas_.raw(QString("<text transform=\"translate(22,%1) rotate(-90)\" text-anchor=\"middle\" "
                        "fill=\"#333\">height, mm</text>")
                    .arg(y, 0, 'f', 1));
}

/// At most one dot per square of pixels; the square grows until the dots are few enough for a viewer.
void Painter::drawPoints(const QList<KvPointXY>& points, const QString& colour) {
    constexpr int mostDots = 20'000;
    QList<Vector> dots;
    for (double square = 1; square < 100; square *= 2) {
        dots.clear();
        QSet<qint64> taken;
        for (const KvPointXY& point : points) {
            const Vector at = view_.toPixel({double(point.x), double(point.y)});
            if (!view_.area.holds(at))
                continue;
            const qint64 key = (qint64(at.y / square) << 32) + qint64(at.x / square);
            if (taken.contains(key))
                continue;
            taken.insert(key);
            dots.append(at);
            placer_.cover(at);
            if (dots.size() > mostDots)
                break;
        }
        if (dots.size() <= mostDots)
            break;
    }
    QString path;
    for (const Vector& dot : dots)
        path += QString("M%1 %2h0").arg(dot.x, 0, 'f', 1).arg(dot.y, 0, 'f', 1);
    canvas_.raw(QString("<path d=\"%1\" stroke=\"%2\" stroke-width=\"%3\" stroke-linecap=\"round\"/>")
                    .arg(path, colour)
                    .arg(picture_.before.isEmpty() || colour == beforeColour ? 3 : 2));
}

void Painter::drawSegments() {
    for (int i = 0; i < picture_.segments.size(); ++i) {
        const Vector a = view_.toPixel(picture_.segments[i].p1);
        const Vector b = view_.toPixel(picture_.segments[i].p2);
        const QString colour = picture_.numberSegments ? lineColour(i) : QString("#30363D");
        canvas_.line(a, b, stroke(colour, picture_.numberSegments ? 3.2 : 1.4, "stroke-linecap=\"round\""));
        canvas_.circle(a, 2.6, QString("fill=\"%1\"").arg(colour));
        canvas_.circle(b, 2.6, QString("fill=\"%1\"").arg(colour));
        placer_.coverLine(a, b);
    }
    for (int i = 0; picture_.numberSegments && i < picture_.segments.size(); ++i) {
        const LinePP& s = picture_.segments[i];
        drawLabel(view_.toPixel(middle(s.p1, s.p2)), QString::number(i), lineColour(i), -pi / 2, true);
    }
}

void Painter::drawLines() {
    for (int i = 0; i < picture_.lines.size(); ++i) {
        const Vector a = view_.toPixel(picture_.lines[i].line.p1);
        const Vector b = view_.toPixel(picture_.lines[i].line.p2);
        canvas_.line(a, b, stroke(lineColour(i), 4.5, "stroke-linecap=\"round\""));
        placer_.coverLine(a, b);
    }
}

void Painter::drawCurve() {
    QList<Vector> places;
    for (const Vector& place : picture_.curve)
        places.append(view_.toPixel(place));
    if (!places.isEmpty())
        canvas_.polyline(places, stroke(lineColour(1), 1.8));
}

void Painter::drawLabel(const Vector& anchor, const QString& text, const QString& colour, double preferred,
                        bool isFilled) {
    constexpr double height = 20;
    const double width = textWidth(text, labelSize) + 12;
    const Rect box = placer_.place(anchor, width, height, preferred);
    const Vector centre((box.left + box.right) / 2, (box.top + box.bottom) / 2);
    const Vector nearest(std::min(std::max(anchor.x, box.left), box.right),
                         std::min(std::max(anchor.y, box.top), box.bottom));
    if (length(nearest, anchor) > 12)
        canvas_.line(anchor, nearest, stroke(colour, 0.9, "stroke-dasharray=\"1.5 2.5\""));
    canvas_.rect(box, QString("rx=\"4\" fill=\"%1\" fill-opacity=\"%2\" stroke=\"%3\" stroke-width=\"1\"")
                          .arg(isFilled ? colour : QString("white"), isFilled ? "1" : "0.94", colour));
    canvas_.text({centre.x, centre.y + 4.7}, text,
                 QString("text-anchor=\"middle\" font-weight=\"bold\" fill=\"%1\" font-size=\"%2\"")
                     .arg(isFilled ? QString("white") : colour)
                     .arg(labelSize));
}

void Painter::drawDistance(const Mark& mark, const QString& colour, Vector& anchor) {
    Vector a = view_.toPixel(mark.first);
    Vector b = view_.toPixel(mark.second);
    const double size = length(a, b);
    if (mark.hasOrigin) {
        const Vector origin = view_.toPixel(mark.origin);
        canvas_.line(b, origin, stroke(colour, 1, "stroke-dasharray=\"5 4\""));
        placer_.coverLine(b, origin);
    } else if (size > 1) {
        // Beside the line it measures, with extension lines.
        constexpr double offset = 22;
        const double side = b.x >= a.x ? 1 : -1;
        const Vector normal(-(b.y - a.y) / size * side, (b.x - a.x) / size * side);
        const Vector shift(normal.x * offset, normal.y * offset);
        canvas_.line(a, {a.x + shift.x * 1.25, a.y + shift.y * 1.25}, stroke(colour, 0.9));
        canvas_.line(b, {b.x + shift.x * 1.25, b.y + shift.y * 1.25}, stroke(colour, 0.9));
        a = {a.x + shift.x, a.y + shift.y};
        b = {b.x + shift.x, b.y + shift.y};
    }
    canvas_.line(a, b, stroke(colour, 1.8));
    canvas_.arrowHead(a, b, colour);
    canvas_.arrowHead(b, a, colour);
    placer_.coverLine(a, b);
    anchor = middle(a, b);
}

void Painter::drawAngle(const Mark& mark, const QString& colour, Vector& anchor) {
    constexpr double radiusPixels = 46;
    constexpr int pieces = 48;
    const Vector vertex = view_.toPixel(mark.vertex);
    const double room = std::min(vertex.y - view_.area.top, view_.area.bottom - vertex.y) / view_.scaleY;
    const double wanted = radiusPixels / std::sqrt(view_.scaleX * view_.scaleY);
    const double radius =
        std::max(wanted / 2, std::min(wanted, room));  // inside the picture where that is seen
    const double from = std::atan2(mark.first.y - mark.vertex.y, mark.first.x - mark.vertex.x);
    const auto at = [&](double angle, double scale) {
        return view_.toPixel({mark.vertex.x + scale * radius * std::cos(angle),
                              mark.vertex.y + scale * radius * std::sin(angle)});
    };
    QList<Vector> arc;
    for (int i = 0; i <= pieces; ++i)
        arc.append(at(from + mark.angle * i / pieces, 1));
    for (const double arm : {from, from + mark.angle})
        canvas_.line(vertex, at(arm, 1.35), stroke(colour, 1, "stroke-dasharray=\"5 4\""));
    canvas_.polyline(arc, stroke(colour, 1.8));
    canvas_.arrowHead(arc.last(), arc[pieces - 4], colour);
    for (const Vector& point : arc)
        placer_.cover(point);
    anchor = arc[pieces / 2];
}

void Painter::drawPointMark(const Mark& mark, const QString& colour, Vector& anchor) {
    constexpr double arm = 9;
    anchor = view_.toPixel(mark.first);
    canvas_.circle(anchor, 4.5, QString("fill=\"white\" fill-opacity=\"0.8\" ") + stroke(colour, 1.8));
    canvas_.line({anchor.x - arm, anchor.y}, {anchor.x + arm, anchor.y}, stroke(colour, 1.2));
    canvas_.line({anchor.x, anchor.y - arm}, {anchor.x, anchor.y + arm}, stroke(colour, 1.2));
}

bool Painter::isInside(const Mark& mark) const {
    const Vector& place = mark.kind == Mark::Angle ? mark.vertex : mark.first;
    return view_.area.holds(view_.toPixel(place)) &&
           (mark.kind != Mark::Distance || view_.area.holds(view_.toPixel(mark.second)));
}

void Painter::drawMark(const Mark& mark) {
    if (!isInside(mark))
        return;  // its value still stands in the panel
    const QString colour = mark.isGood ? measureColour : badColour;
    Vector anchor;
    double preferred = -pi / 2;
    if (mark.kind == Mark::Distance) {
        drawDistance(mark, colour, anchor);
        const bool isUpright =
            std::fabs(mark.second.y - mark.first.y) > std::fabs(mark.second.x - mark.first.x);
        preferred = isUpright ? 0 : pi / 2;
    } else if (mark.kind == Mark::Angle) {
        drawAngle(mark, colour, anchor);
        const Vector vertex = view_.toPixel(mark.vertex);
        preferred = std::atan2(anchor.y - vertex.y, anchor.x - vertex.x);
    } else {
        drawPointMark(mark, colour, anchor);
    }
    drawLabel(anchor, mark.label, colour, preferred, false);
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
        drawMark(mark);
    for (int i = 0; i < picture_.lines.size(); ++i) {
        const LinePP& line = picture_.lines[i].line;
        drawLabel(view_.toPixel(middle(line.p1, line.p2)), picture_.lines[i].label, lineColour(i), -pi / 2,
                  true);
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
