// A profile with what was found and measured on it, a panel of values to the right and residuals below. The
// range is that of the points and of all marks of tools. Layers are drawn from the points upwards, clipped to
// the area; each label keeps off what was drawn before it.
#include <kvmeasure/drawing/profile_picture.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/drawing/axes_p.h>
#include <kvmeasure/drawing/dimensions_p.h>
#include <kvmeasure/drawing/residuals_p.h>

#include <cmath>

namespace KvMeasure {

using KvMath::KvPointXY;
using KvMath::LinePP;

namespace {

constexpr double kLeft = 84;    // pixels; room for the height axis
constexpr double kTop = 84;     // title and legend
constexpr double kBottom = 64;  // x axis
constexpr double kAreaWidth = 900;
constexpr double kPanelWidth = 330;
constexpr double kMargin = 24;
constexpr double kUpwards = -1.5707963267948966;  // the side of a label, pixels

// Colours that stay apart for colour-blind eyes.
const char* const lineColours[] = {"#0072B2", "#D55E00", "#009E73", "#CC79A7", "#E69F00", "#56B4E9"};
const QString pointColour = "#8A94A0";
const QString beforeColour = "#F0A35E";

const QString dashes = "stroke-dasharray=\"12 7\"";  // of lines that a constraint refuses

QString lineColour(int line) { return lineColours[line % 6]; }

/// The text in lines of at most this width, pixels; a word that is longer is shortened.
QStringList wrapped(const QString& text, double width, double size) {
    QStringList lines;
    const int most = static_cast<int>(width / textWidth("m", size));
    for (QString word : text.split(' ', Qt::SkipEmptyParts)) {
        if (word.size() > most)
            word = word.left(most - 3) + "...";
        if (lines.isEmpty() || lines.last().size() + 1 + word.size() > most)
            lines.append(word);
        else
            lines.last() += ' ' + word;
    }
    return lines;
}

/// The view with room for the numbers of its own axis and of that of the residuals.
Projection withRoom(const Projection& fitted, const Residuals& residuals) {
    Projection view = withRoomForNumbers(fitted);
    if (residuals.points.isEmpty())
        return view;
    const Rect below = withRoomForNumbers(residualView(residuals, view)).area;
    view.area.left = below.left;
    view.area.right = below.right;
    return view;
}

/// Where tools mark points and distances: these may lie beside the points, as an edge beyond the last one. Of
/// a template marks lie at its lines.
QList<KvMath::KvPointXY> markedPoints(const Picture& picture) {
    QList<KvMath::KvPointXY> points;
    if (!picture.segments.isEmpty())
        return points;
    for (const Mark& mark : picture.evaluation.marks) {
        if (mark.kind == Mark::Angle)
            continue;
        points.append({float(mark.first.x), float(mark.first.y)});
        if (mark.kind == Mark::Distance)
            points.append({float(mark.second.x), float(mark.second.y)});
    }
    return points;
}

/// One picture in the making.
class Painter {
public:
    explicit Painter(const Picture& picture);
    QByteArray paint();

private:
    void drawAxes();
    void drawPoints(const QList<KvPointXY>& points, const QString& colour);
    void drawSegments();
    void drawLines();
    void drawCurve();
    void drawHeader();
    void drawPanel();
    void drawMissing(double x, double y);
    double drawBelow();

    const Picture& picture_;
    Drawing drawing_;
    const Projection& view_;
    Canvas& canvas_;
};

Painter::Painter(const Picture& picture)
    : picture_(picture),
      drawing_(withRoom(
          fitProjection(rangeWithRoom(picture.profile.points + picture.before + markedPoints(picture), 0.66),
                        kLeft, kTop, kAreaWidth),
          picture.residuals)),
      view_(drawing_.view), canvas_(drawing_.canvas) {}

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
    canvas_.raw(filledIn("<text transform=\"translate(22,%1) rotate(-90)\" text-anchor=\"middle\" "
                         "fill=\"#333\">%2, mm</text>",
                         QString::number(y, 'f', 1), picture_.upward));
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
        drawLabel(drawing_, view_.toPixel(middle(s.p1, s.p2)), QString::number(i), lineColour(i), kUpwards,
                  true);
    }
}

void Painter::drawLines() {
    for (int i = 0; i < picture_.lines.size(); ++i) {
        const Vector a = view_.toPixel(picture_.lines[i].line.p1);
        const Vector b = view_.toPixel(picture_.lines[i].line.p2);
        canvas_.line(a, b,
                     stroke(lineColour(i), 4.5, picture_.isMissing ? dashes : "stroke-linecap=\"round\""));
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
    canvas_.text({view_.area.left, 32}, picture_.title,
                 "font-size=\"20\" font-weight=\"bold\" fill=\"#111\"");
    canvas_.text({view_.area.left, 54}, picture_.subtitle, "fill=\"#555\"");
    double x = view_.area.left;
    const auto entry = [&](const QString& text, const QString& colour, double width,
                           const QString& style = "stroke-linecap=\"round\"") {
        canvas_.line({x, 70}, {x + 22, 70}, stroke(colour, width, style));
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
    entry(picture_.points, "none", 0);
    if (!picture_.segments.isEmpty() && !picture_.numberSegments)
        entry("segments found", "#30363D", 1.4);
    if (!picture_.lines.isEmpty() && picture_.isMissing)
        entry(picture_.missingLines, lineColour(0), 4.5, "stroke-dasharray=\"9 4\"");
    else if (!picture_.lines.isEmpty())
        entry("template lines", lineColour(0), 4.5);
    if (!picture_.curve.isEmpty())
        entry("fitted", lineColour(1), 1.8);
    if (!picture_.evaluation.marks.isEmpty())
        entry("measured", measureColour, 1.8);
}

void Painter::drawPanel() {
    const double x = view_.area.right + kMargin;
    double y = view_.area.top + 14;
    canvas_.text({x, y}, "Results", "font-size=\"15\" font-weight=\"bold\" fill=\"#111\"");
    if (picture_.isMissing)
        drawMissing(x, y + 26);
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
        canvas_.text({x + kPanelWidth - 42 - kMargin, y}, number,
                     QString("text-anchor=\"end\" font-weight=\"bold\" fill=\"%1\"").arg(colour));
        canvas_.text({x + kPanelWidth - 36 - kMargin, y}, value.unit, "fill=\"#555\"");
        if (!value.hasTolerance)
            continue;
        y += 17;
        const QString verdict = value.isGood() ? QString("good") : QString("OUT OF TOLERANCE");
        canvas_.text(
            {x + 10, y}, filledIn("%1 %2: %3", value.tolerance.text(), value.unit, verdict),
            QString("font-size=\"12\" fill=\"%1\"").arg(value.isGood() ? QString("#1B7F3B") : badColour));
    }
}

void Painter::drawMissing(double x, double y) {
    constexpr double kSize = 12;
    constexpr double kLineHeight = 16;
    canvas_.text({x, y}, "NOT FOUND",
                 QString("font-size=\"15\" font-weight=\"bold\" fill=\"%1\"").arg(badColour));
    for (const QString& reason : picture_.reasons) {
        y += 7;
        for (const QString& line : wrapped(reason, kPanelWidth - kMargin, kSize)) {
            y += kLineHeight;
            const bool isFull = y > view_.area.bottom - kLineHeight;
            canvas_.text({x, y}, isFull ? QString("...") : line, "fill=\"#111\" font-size=\"12\"");
            if (isFull)
                return;
        }
    }
}

/// Draws what stands below the points, and gives the lower edge of the lowest area.
double Painter::drawBelow() {
    if (picture_.residuals.points.isEmpty())
        return view_.area.bottom;
    const Projection below = residualView(picture_.residuals, view_);
    canvas_.add(drawResiduals(picture_.residuals, below,
                              picture_.residuals.isOverAngle ? QString("angle about the centre, deg")
                                                             : picture_.along + ", mm"));
    return below.area.bottom;
}

QByteArray Painter::paint() {
    drawAxes();
    drawHeader();
    canvas_.raw(filledIn("<clipPath id=\"area\"><rect x=\"%1\" y=\"%2\" width=\"%3\" "
                         "height=\"%4\"/></clipPath><g clip-path=\"url(#area)\">",
                         view_.area.left, view_.area.top, view_.area.width(), view_.area.height()));
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
                  kUpwards, true);
    }
    canvas_.raw("</g>");
    const bool hasPanel = picture_.isMissing || !picture_.evaluation.values.isEmpty();
    if (hasPanel)
        drawPanel();
    return canvas_.document(view_.area.right + (hasPanel ? kPanelWidth : 0) + kMargin, drawBelow() + kBottom);
}

}  // namespace

QByteArray drawPicture(const Picture& picture) { return Painter(picture).paint(); }

}  // namespace KvMeasure
