// The section of a wheel with its values as dimensions, in a fixed range, so that all wheels are drawn alike.
// What a value lacks is left out of the picture; notes and verdicts stand above it.
#include <kvmeasure/drawing/wheel_picture.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/drawing/axes_p.h>
#include <kvmeasure/drawing/dimensions_p.h>
#include <kvmeasure/wheels/post.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kLeft = 84, kTop = 88, kBottom = 60, kRight = 24;  // pixels around the area
constexpr double kNoteHeight = 20;
constexpr double kAreaWidth = 960;
constexpr double kThinLine = 1, kArrowLine = 1.6;
const Rect shown{-8, -16, 142, 64};  // mm; the top is the larger depth, as the wheel stands on the rail
const QString steel = "#E4E9EF";
const QString pointColour = "#1F4E79";
const QString heightColour = "#B4471B", steepnessColour = "#0B7A53", thicknessColour = "#5B21B6",
              searchColour = "#555";

class Painter {
public:
    explicit Painter(const WheelPicture& picture)
        : picture_(picture), limits_(limitLines(picture.verdicts)),
          drawing_(fitProjection(
              shown, kLeft, kTop + kNoteHeight * static_cast<double>(picture.notes.size() + limits_.size()),
              kAreaWidth)),
          view_(drawing_.view), canvas_(drawing_.canvas) {}

    QByteArray paint() {
        drawAxes();
        canvas_.raw(
            filledIn("<clipPath id=\"area\"><rect x=\"%1\" y=\"%2\" width=\"%3\" height=\"%4\"/></clipPath>"
                     "<g clip-path=\"url(#area)\">",
                     view_.area.left, view_.area.top, view_.area.width(), view_.area.height()));
        drawSteel();
        drawDefect();
        drawPoints();
        drawHeight();
        drawSteepness();
        drawThickness();
        drawSearchEdge();
        drawPlaces();
        canvas_.raw("</g>");
        drawHeader();
        return canvas_.document(view_.area.right + kRight, view_.area.bottom + kBottom);
    }

private:
    /// The verdict, then what is not good.
    static QStringList limitLines(const std::vector<LimitVerdict>& verdicts) {
        if (verdicts.empty())
            return {};
        constexpr int kMostLines = 8, kDecimals = 2;
        QStringList lines, good;
        for (const LimitVerdict& each : verdicts) {
            const QString value = std::isfinite(each.value)
                                      ? each.symbol + ' ' + QString::number(each.value, 'f', kDecimals)
                                      : each.symbol;
            if (each.kind == LimitVerdict::Good)
                good.append(value);
            else if (lines.size() < kMostLines)
                lines.append(filledIn("%1: %2, %3", value, each.word(), each.reason));
        }
        lines.prepend("limits: " + overallVerdict(verdicts) +
                      (good.isEmpty() ? QString() : "; good: " + good.join(", ")));
        return lines;
    }

    QString origin() const {
        return picture_.isBackKnown ? "flange back" : "first point (the flange back is not seen)";
    }

    static bool isKnown(double value) { return std::isfinite(value); }

    /// The first place marked at this depth, NaN if none.
    double placeAt(double depth) const {
        constexpr double kNear = 0.01;
        for (int i = 1; i < picture_.places.points.size(); ++i) {
            const KvMath::KvPointXY& p = picture_.places.points.at(i);
            if (std::fabs(static_cast<double>(p.y) - depth) < kNear)
                return static_cast<double>(p.x);
        }
        return std::nan("");
    }

    void drawAxes() {
        drawTicks(canvas_, view_, true);
        drawTicks(canvas_, view_, false);
        canvas_.rect(view_.area, "fill=\"none\" " + stroke("#333", kThinLine));
        canvas_.text({(view_.area.left + view_.area.right) / 2, view_.area.bottom + 44},
                     QString("lateral position from the %1, mm").arg(origin()),
                     "text-anchor=\"middle\" fill=\"#333\"");
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
            places += filledIn("%1,%2 ", QString::number(at.x, 'f', 1), QString::number(at.y, 'f', 1));
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
        if (!picture_.isDefectInSection)
            return;
        const auto isSound = [this](const Vector& point) {
            return !(point.x >= picture_.defect.from && point.x <= picture_.defect.to);
        };
        points.erase(std::remove_if(points.begin(), points.end(), isSound), points.end());
        drawDots(drawing_, points, badColour, 5);
    }

    /// The stretch of the tread, and who saw it.
    void drawDefect() {
        if (!picture_.defect.isKnown())
            return;
        constexpr double kLineHeight = 17, kAbove = 60, kLegs = 6;
        const Vector a = view_.toPixel({picture_.defect.from, kAbove});
        const Vector b = view_.toPixel({picture_.defect.to, kAbove});
        canvas_.rect({a.x, a.y, std::max(b.x, a.x + 2), view_.toPixel({0, 20}).y},
                     QString("fill=\"%1\" fill-opacity=\"0.14\"").arg(badColour));
        canvas_.line(a, b, stroke(badColour, 3));
        const QString head = filledIn("DEFECT at %1 to %2 mm", QString::number(picture_.defect.from, 'f', 0),
                                      QString::number(picture_.defect.to, 'f', 0));
        const QString seen =
            filledIn("%1, record %2%3", sensorName(picture_.defect.scanner), picture_.defect.record,
                     picture_.isDefectInSection ? ", this section" : ", elsewhere on the rim");
        const double wide = std::max(textWidth(head, 14), textWidth(seen, 12)) / 2;
        const double x = std::min(std::max((a.x + b.x) / 2, view_.area.left + wide + kLegs),
                                  view_.area.right - wide - kLegs);
        const QString style = QString("text-anchor=\"middle\" fill=\"%1\" ").arg(badColour);
        canvas_.text({x, a.y + kLineHeight + 2}, head, style + "font-weight=\"bold\" font-size=\"14\"");
        canvas_.text({x, a.y + 2 * kLineHeight + 2}, seen, style + "font-size=\"12\"");
    }

    void thin(const Vector& a, const Vector& b, const QString& colour) {
        canvas_.line(view_.toPixel(a), view_.toPixel(b),
                     stroke(colour, kThinLine, "stroke-dasharray=\"5 4\""));
    }

    /// A dimension line, mm, with its text beside its middle.
    void dimension(const Vector& a, const Vector& b, const QString& text, const QString& colour,
                   const Vector& at) {
        const Vector p = view_.toPixel(a), q = view_.toPixel(b);
        canvas_.line(p, q, stroke(colour, kArrowLine));
        canvas_.arrowHead(p, q, colour);
        canvas_.arrowHead(q, p, colour);
        constexpr double kHeight = 22, kSize = 14;
        const double width = textWidth(text, kSize) + 10;
        const Vector centre = view_.toPixel(at);
        canvas_.rect(
            {centre.x - width / 2, centre.y - kHeight / 2, centre.x + width / 2, centre.y + kHeight / 2},
            QString("rx=\"4\" fill=\"white\" ") + stroke(colour, kThinLine));
        canvas_.text(
            {centre.x, centre.y + kSize / 3}, text,
            QString("text-anchor=\"middle\" font-weight=\"bold\" font-size=\"14\" fill=\"%1\"").arg(colour));
    }

    /// The middle of a text to the right of a dimension that ends at x, mm.
    double beside(double x, const QString& text) const {
        constexpr double kSize = 14, kAround = 18;
        return x + (textWidth(text, kSize) + kAround) / 2 / view_.scaleX;
    }

    void drawHeight() {
        const double height = picture_.values.value[0];
        if (!isKnown(height) || picture_.places.points.isEmpty())
            return;
        const double tread = static_cast<double>(placeX(height));
        const double tip = static_cast<double>(picture_.places.points.first().x);
        thin({tip, 0}, {tread + 5, 0}, heightColour);
        dimension({tread, 0}, {tread, height}, QString("flange height %1 mm").arg(height, 0, 'f', 2),
                  heightColour, {tread + 18, height / 2});
        canvas_.text(view_.toPixel({tread + 1, height + 4.5}),
                     filledIn("tread point, %1 mm from the %2", QString::number(tread),
                              picture_.isBackKnown ? "back" : "first point"),
                     QString("fill=\"%1\"").arg(heightColour));
    }

    /// Lateral position of the tread point: the mark at the depth of the flange height.
    double placeX(double height) const {
        const double x = placeAt(height);
        return isKnown(x) ? x : 0;
    }

    void drawSteepness() {
        const double steepness = picture_.values.value[9];
        if (!isKnown(steepness) || picture_.places.points.size() < 4)
            return;
        constexpr double kLine = -8;
        const KvMath::KvPointXY &outer = picture_.places.points.at(1), &inner = picture_.places.points.at(3);
        const double a = static_cast<double>(outer.x), b = static_cast<double>(inner.x);
        thin({a, static_cast<double>(outer.y)}, {a, kLine - 2}, steepnessColour);
        thin({b, static_cast<double>(inner.y)}, {b, kLine - 2}, steepnessColour);
        const QString text = QString("flange steepness %1 mm").arg(steepness, 0, 'f', 2);
        dimension({a, kLine}, {b, kLine}, text, steepnessColour, {beside(b, text), kLine});
        note({a, static_cast<double>(outer.y)}, QString("%1 mm deep").arg(static_cast<double>(outer.y)),
             {b + 8, 2.4});
        note({b, static_cast<double>(inner.y)},
             QString("%1 mm above the tread")
                 .arg(picture_.values.value[0] - static_cast<double>(inner.y), 0, 'f', 0),
             {b + 9, static_cast<double>(inner.y) - 5});
    }

    /// Words beside a place, with a line to it.
    void note(const Vector& place, const QString& text, const Vector& at) {
        const Vector p = view_.toPixel(place), q = view_.toPixel(at);
        canvas_.line(p, {q.x - 3, q.y - 4},
                     stroke(steepnessColour, kThinLine, "stroke-dasharray=\"1.5 2.5\""));
        canvas_.text(q, text, QString("fill=\"%1\"").arg(steepnessColour));
    }

    void drawThickness() {
        const double thickness = picture_.values.value[1];
        if (!isKnown(thickness) || picture_.places.points.isEmpty())
            return;
        constexpr double kLine = 44;
        const double depth = static_cast<double>(picture_.places.points.last().y);
        thin({0, depth}, {0, kLine + 2}, thicknessColour);
        thin({thickness, depth}, {thickness, kLine + 2}, thicknessColour);
        const QString text =
            filledIn("thickness from %1, %2 mm deep: %3 mm", picture_.isBackKnown ? "back" : "first point",
                     depth, QString::number(thickness, 'f', 2));
        dimension({0, kLine}, {thickness, kLine}, text, thicknessColour, {beside(thickness, text), kLine});
    }

    /// Where the search for breakouts begins.
    void drawSearchEdge() {
        if (!isKnown(picture_.searchFrom))
            return;
        constexpr double kFrom = 22, kTo = 40;
        thin({picture_.searchFrom, kFrom}, {picture_.searchFrom, kTo}, searchColour);
        canvas_.text(view_.toPixel({picture_.searchFrom + 1, kTo - 1.5}),
                     QString("breakouts are searched from %1 mm on").arg(picture_.searchFrom, 0, 'f', 1),
                     QString("fill=\"%1\"").arg(searchColour));
    }

    void drawPlaces() {
        for (const KvMath::KvPointXY& place : picture_.places.points) {
            const Vector at = view_.toPixel({static_cast<double>(place.x), static_cast<double>(place.y)});
            canvas_.circle(at, 5, "fill=\"white\" fill-opacity=\"0.7\" " + stroke("#B00020", 2));
        }
    }

    void drawHeader() {
        canvas_.text({kLeft, 34}, picture_.title, "font-size=\"20\" font-weight=\"bold\" fill=\"#111\"");
        canvas_.text({kLeft, 56}, picture_.subtitle, "fill=\"#555\"");
        if (picture_.hasDefect)
            canvas_.text({view_.area.right, 56}, "DEFECT of the tread",
                         QString("text-anchor=\"end\" font-weight=\"bold\" fill=\"%1\"").arg(badColour));
        const double deviation = picture_.values.value[8];
        const auto radius = static_cast<double>(picture_.radius);
        QStringList facts;
        if (isKnown(radius))
            facts += QString("tip radius %1 mm").arg(radius, 0, 'f', 2);
        if (isKnown(radius) && isKnown(picture_.values.value[0]))
            facts +=
                QString("running diameter %1 mm").arg(2 * (radius - picture_.values.value[0]), 0, 'f', 2);
        if (isKnown(deviation))
            facts += filledIn("height %1%2 mm from nominal %3 mm", deviation < 0 ? "" : "+",
                              QString::number(deviation, 'f', 2), picture_.nominal);
        if (!facts.isEmpty())
            canvas_.text({kLeft, 76}, facts.join(", "), "fill=\"#111\"");
        const bool isGood = overallVerdict(picture_.verdicts) == "good";
        double y = 76;
        for (const QString& line : limits_)
            canvas_.text({kLeft, y += kNoteHeight}, line,
                         QString("font-weight=\"bold\" fill=\"%1\"").arg(isGood ? "#0B7A53" : badColour));
        for (int i = 0; i < picture_.notes.size(); ++i)
            canvas_.text({kLeft, y + kNoteHeight * (i + 1)}, picture_.notes.at(i),
                         QString("fill=\"%1\"").arg(badColour));
    }

    const WheelPicture& picture_;
    const QStringList limits_;
    Drawing drawing_;
    const Projection& view_;
    Canvas& canvas_;
};

}  // namespace

WheelPicture pictureOf(const WheelResult& wheel, const MeasuredSection& section) {
    WheelPicture picture;
    picture.notes = wheel.notes;
    picture.isBackKnown = wheel.isBackKnown();
    picture.profile = section.profile;
    picture.places = section.places;
    picture.values = wheel.values;
    picture.radius = wheel.circle.radius;
    picture.nominal = wheel.nominal;
    picture.searchFrom = section.searchFrom;
    return picture;
}

QByteArray drawWheel(const WheelPicture& picture) { return Painter(picture).paint(); }

}  // namespace KvMeasure
