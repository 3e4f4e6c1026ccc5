#include "kvmeasure/wheel_picture.h"

#include "kvmeasure/plot_axes.h"
#include "kvmeasure/plot_marks.h"

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double left = 84, top = 88, bottom = 60, right = 24;  // pixels around the area
constexpr double areaWidth = 960;
constexpr double thinLine = 1, arrowLine = 1.6;
const Rect shown{-8, -16, 142, 64};  // mm; the top is the larger depth, as the wheel stands on the rail
const QString steel = "#E4E9EF";
const QString pointColour = "#1F4E79";
const QString heightColour = "#B4471B", thicknessColour = "#0B7A53", positionColour = "#5B21B6";

class Painter {
public:
    explicit Painter(const WheelPicture& picture)
        : picture_(picture), drawing_(fitProjection(shown, left, top, areaWidth)), view_(drawing_.view),
          canvas_(drawing_.canvas) {}

    QByteArray paint() {
        drawAxes();
        canvas_.raw(
            QString("<clipPath id=\"area\"><rect x=\"%1\" y=\"%2\" width=\"%3\" height=\"%4\"/></clipPath>"
                    "<g clip-path=\"url(#area)\">")
                .arg(view_.area.left)
                .arg(view_.area.top)
                .arg(view_.area.width())
                .arg(view_.area.height()));
        drawSteel();
        drawPoints();
        drawHeight();
        drawThickness();
        drawPosition();
        drawPlaces();
        canvas_.raw("</g>");
        drawHeader();
        return canvas_.document(view_.area.right + right, view_.area.bottom + bottom);
    }

private:
    static bool isKnown(double value) { return std::isfinite(value); }

    /// The first place marked at this depth, NaN if none.
    double placeAt(double depth) const {
        constexpr double near = 0.01;
        for (int i = 1; i < picture_.places.points.size(); ++i) {
            const KvMath::KvPointXY& p = picture_.places.points.at(i);
            if (std::fabs(static_cast<double>(p.y) - depth) < near)
                return static_cast<double>(p.x);
        }
        return std::nan("");
    }

    void drawAxes() {
        drawTicks(canvas_, view_, true);
        drawTicks(canvas_, view_, false);
        canvas_.rect(view_.area, "fill=\"none\" " + stroke("#333", thinLine));
        canvas_.text({(view_.area.left + view_.area.right) / 2, view_.area.bottom + 44},
                     "lateral position from the flange back, mm", "text-anchor=\"middle\" fill=\"#333\"");
        const double y = (view_.area.top + view_.area.bottom) / 2;
        canvas_.text({24, y}, "depth below the flange tip, mm",
                     QString("text-anchor=\"middle\" fill=\"#333\" transform=\"rotate(-90 24 %1)\"").arg(y));
    }

    void drawSteel() {
        if (picture_.profile.points.isEmpty())
            return;
        const double high = shown.bottom;
        QString places;
        const auto add = [&](double x, double y) {
            const Vector at = view_.toPixel({x, std::min(y, high)});
            places += QString("%1,%2 ").arg(at.x, 0, 'f', 1).arg(at.y, 0, 'f', 1);
        };
        const QList<KvMath::KvPointXY>& points = picture_.profile.points;
        add(static_cast<double>(points.first().x), high);
        for (const KvMath::KvPointXY& point : points)
            add(static_cast<double>(point.x), static_cast<double>(point.y));
        add(static_cast<double>(points.last().x), high);
        canvas_.raw(QString("<polygon points=\"%1\" fill=\"%2\"/>").arg(places, steel));
    }

    void drawPoints() {
        QList<Vector> points;
        for (const KvMath::KvPointXY& point : picture_.profile.points)
            points.append(Vector(static_cast<double>(point.x), static_cast<double>(point.y)));
        drawDots(drawing_, points, pointColour, 3);
    }

    void thin(const Vector& a, const Vector& b, const QString& colour) {
        canvas_.line(view_.toPixel(a), view_.toPixel(b),
                     stroke(colour, thinLine, "stroke-dasharray=\"5 4\""));
    }

    /// A dimension line, mm, with its text beside its middle.
    void dimension(const Vector& a, const Vector& b, const QString& text, const QString& colour,
                   const Vector& at) {
        const Vector p = view_.toPixel(a), q = view_.toPixel(b);
        canvas_.line(p, q, stroke(colour, arrowLine));
        canvas_.arrowHead(p, q, colour);
        canvas_.arrowHead(q, p, colour);
        constexpr double height = 22, size = 14;
        const double width = textWidth(text, size) + 10;
        const Vector centre = view_.toPixel(at);
        canvas_.rect(
            {centre.x - width / 2, centre.y - height / 2, centre.x + width / 2, centre.y + height / 2},
            QString("rx=\"4\" fill=\"white\" ") + stroke(colour, thinLine));
        canvas_.text(
            {centre.x, centre.y + size / 3}, text,
            QString("text-anchor=\"middle\" font-weight=\"bold\" font-size=\"14\" fill=\"%1\"").arg(colour));
    }

    void drawHeight() {
        const double height = picture_.values.value[0];
        if (!isKnown(height))
            return;
        const double tread = static_cast<double>(placeX(height));
        const double tip = static_cast<double>(picture_.places.points.first().x);
        thin({tip, 0}, {tread + 5, 0}, heightColour);
        dimension({tread, 0}, {tread, height}, QString("flange height %1").arg(height, 0, 'f', 2),
                  heightColour, {tread + 18, height / 2});
        canvas_.text(view_.toPixel({tread + 1, height + 4.5}),
                     QString("tread point, %1 mm from the back").arg(tread),
                     QString("fill=\"%1\"").arg(heightColour));
    }

    /// Lateral position of the tread point: the mark at the depth of the flange height.
    double placeX(double height) const {
        const double x = placeAt(height);
        return isKnown(x) ? x : 0;
    }

    void drawThickness() {
        const double thickness = picture_.values.value[9];
        if (!isKnown(thickness) || picture_.places.points.size() < 4)
            return;
        constexpr double line = -8;
        const KvMath::KvPointXY &outer = picture_.places.points.at(1), &inner = picture_.places.points.at(3);
        const double a = static_cast<double>(outer.x), b = static_cast<double>(inner.x);
        thin({a, static_cast<double>(outer.y)}, {a, line - 2}, thicknessColour);
        thin({b, static_cast<double>(inner.y)}, {b, line - 2}, thicknessColour);
        dimension({a, line}, {b, line}, QString("flange thickness %1").arg(thickness, 0, 'f', 2),
                  thicknessColour, {b + 17, line});
        note({a, static_cast<double>(outer.y)}, QString("%1 deep").arg(static_cast<double>(outer.y)),
             {b + 8, 2.4});
        note({b, static_cast<double>(inner.y)},
             QString("%1 above the tread")
                 .arg(picture_.values.value[0] - static_cast<double>(inner.y), 0, 'f', 0),
             {b + 9, static_cast<double>(inner.y) - 5});
    }

    /// Words beside a place, with a line to it.
    void note(const Vector& place, const QString& text, const Vector& at) {
        const Vector p = view_.toPixel(place), q = view_.toPixel(at);
        canvas_.line(p, {q.x - 3, q.y - 4},
                     stroke(thicknessColour, thinLine, "stroke-dasharray=\"1.5 2.5\""));
        canvas_.text(q, text, QString("fill=\"%1\"").arg(thicknessColour));
    }

    void drawPosition() {
        const double position = picture_.values.value[1];
        if (!isKnown(position) || picture_.places.points.isEmpty())
            return;
        constexpr double line = 44;
        const double depth = static_cast<double>(picture_.places.points.last().y);
        thin({0, depth}, {0, line + 2}, positionColour);
        thin({position, depth}, {position, line + 2}, positionColour);
        dimension({0, line}, {position, line},
                  QString("position at depth %1: %2").arg(depth).arg(position, 0, 'f', 2), positionColour,
                  {position + 22, line});
    }

    void drawPlaces() {
        for (const KvMath::KvPointXY& place : picture_.places.points) {
            const Vector at = view_.toPixel({static_cast<double>(place.x), static_cast<double>(place.y)});
            canvas_.circle(at, 5, "fill=\"white\" fill-opacity=\"0.7\" " + stroke("#B00020", 2));
        }
    }

    void drawHeader() {
        canvas_.text({left, 34}, picture_.title, "font-size=\"20\" font-weight=\"bold\" fill=\"#111\"");
        canvas_.text({left, 56}, picture_.subtitle, "fill=\"#555\"");
        const double deviation = picture_.values.value[8];
        QString facts = QString("tip radius %1").arg(static_cast<double>(picture_.radius), 0, 'f', 2);
        if (isKnown(picture_.values.value[0]))
            facts +=
                QString(", running diameter %1")
                    .arg(2 * (static_cast<double>(picture_.radius) - picture_.values.value[0]), 0, 'f', 2);
        if (isKnown(deviation))
            facts += QString(", height against nominal %1%2 mm")
                         .arg(deviation < 0 ? "" : "+")
                         .arg(deviation, 0, 'f', 2);
        canvas_.text({left, 76}, facts, "fill=\"#111\"");
    }

    const WheelPicture& picture_;
    Drawing drawing_;
    const Projection& view_;
    Canvas& canvas_;
};

}  // namespace

QByteArray drawWheel(const WheelPicture& picture) { return Painter(picture).paint(); }

}  // namespace KvMeasure
