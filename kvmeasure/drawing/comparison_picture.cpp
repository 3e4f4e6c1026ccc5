// Deviations are hairs square to the master, all magnified by one round number, so that the largest is about
// 60 pixels long; limits are magnified alike. Of hairs that share a pixel the greatest is drawn: a picture of
// a million points has no more than its width shows. A pass over the deviations.

#include <kvmeasure/drawing/comparison_picture.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/axes_p.h>
#include <kvmeasure/drawing/dimensions_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kLeft = 84;  // pixels
constexpr double kTop = 84;
constexpr double kBottom = 64;
constexpr double kAreaWidth = 900;
constexpr double kPanelWidth = 340;
constexpr double kUpwards = -1.5707963267948966;
constexpr double kGreatestHair = 60;  // pixels, of the deviation of greatest size
const QString masterColour = "#30363D";
const QString insideColour = "#0072B2";
const QString bandColour = "#1B7F3B";

/// 1, 2 or 5 times a power of ten, at most the value.
double roundedDown(double value) {
    const double unit = std::pow(10.0, std::floor(std::log10(value)));
    for (const double step : {5.0, 2.0}) {
        if (step * unit <= value)
            return step * unit;
    }
    return unit;
}

/// One picture in the making.
class Painter {
public:
    explicit Painter(const ComparisonPicture& picture);
    QByteArray paint();

private:
    double magnification() const;
    Vector hairEnd(const Deviation& deviation, double value) const;
    bool isOutside(double value) const { return value < picture_.lower || value > picture_.upper; }
    void drawFrame();
    void drawMaster();
    void drawHairs();
    void drawLimit(double limit);
    void drawExtreme(int number, double side);
    void drawPanel();

    const ComparisonPicture& picture_;
    const Comparison& result_;
    Drawing drawing_;
    const Projection& view_;
    Canvas& canvas_;
    double times_ = 1;
};

const Comparison nothing;

Painter::Painter(const ComparisonPicture& picture)
    : picture_(picture), result_(picture.comparison == nullptr ? nothing : *picture.comparison),
      drawing_(withRoomForNumbers(
          fitProjection(rangeWithRoom(picture.master.points, 0.8), kLeft, kTop, kAreaWidth))),
      view_(drawing_.view), canvas_(drawing_.canvas), times_(magnification()) {}

double Painter::magnification() const {
    double greatest = 0;
    for (const double limit : {picture_.lower, picture_.upper}) {
        if (std::isfinite(limit))
            greatest = std::max(greatest, std::fabs(limit));
    }
    if (result_.worst() >= 0)
        greatest = std::max(greatest, std::fabs(result_.deviations[std::size_t(result_.worst())].value));
    constexpr double kRounding = 1e-9;  // mm; a deviation below is none
    return greatest > kRounding
               ? std::max(1.0, roundedDown(kGreatestHair / (greatest * std::max(view_.scaleX, view_.scaleY))))
               : 1;
}

Vector Painter::hairEnd(const Deviation& deviation, double value) const {
    return view_.toPixel({deviation.place.x + times_ * value * deviation.outward.x,
                          deviation.place.y + times_ * value * deviation.outward.y});
}

void Painter::drawFrame() {
    const Rect& area = view_.area;
    drawTicks(canvas_, view_, /*alongX=*/true);
    drawTicks(canvas_, view_, /*alongX=*/false);
    canvas_.rect(area, "fill=\"none\" " + stroke("#333", 1));
    canvas_.text({(area.left + area.right) / 2, area.bottom + 42}, "x, mm",
                 "text-anchor=\"middle\" fill=\"#333\"");
    canvas_.raw(filledIn("<text transform=\"translate(22,%1) rotate(-90)\" text-anchor=\"middle\" "
                         "fill=\"#333\">height, mm</text>",
                         QString::number((area.top + area.bottom) / 2, 'f', 1)));
    canvas_.text({area.left, 32}, picture_.title, "font-size=\"20\" font-weight=\"bold\" fill=\"#111\"");
    const QString limits = std::isfinite(picture_.lower) || std::isfinite(picture_.upper)
                               ? QString("; limits dashed, magnified alike")
                               : QString();
    canvas_.text({area.left, 56},
                 filledIn("deviations square to the master, drawn %1 times larger%2", times_, limits),
                 "fill=\"#555\"");
}

void Painter::drawMaster() {
    QList<Vector> places;
    places.reserve(picture_.master.points.size());
    for (const KvMath::KvPointXY& point : picture_.master.points)
        places.append({double(point.x), double(point.y)});
    drawDots(drawing_, places, masterColour, 2);
}

/// A hair per deviation; where several share a pixel of the master, the greatest.
void Painter::drawHairs() {
    int column = -1;
    int row = -1;
    const Deviation* greatest = nullptr;
    const auto draw = [&] {
        if (greatest != nullptr)
            canvas_.line(view_.toPixel(greatest->place), hairEnd(*greatest, greatest->value),
                         stroke(isOutside(greatest->value) ? badColour : insideColour, 1));
    };
    for (const Deviation& deviation : result_.deviations) {
        const Vector at = view_.toPixel(deviation.place);
        const bool isSame = static_cast<int>(at.x) == column && static_cast<int>(at.y) == row;
        if (isSame && std::fabs(deviation.value) <= std::fabs(greatest->value))
            continue;
        if (!isSame)
            draw();
        column = static_cast<int>(at.x);
        row = static_cast<int>(at.y);
        greatest = &deviation;
    }
    draw();
}

void Painter::drawLimit(double limit) {
    constexpr double kJump = 12;  // pixels; farther places are not joined
    if (!std::isfinite(limit))
        return;
    QList<Vector> places;
    const auto draw = [&] {
        if (places.size() > 1)
            canvas_.polyline(places, stroke(bandColour, 1.2, "stroke-dasharray=\"6 4\""));
        places.clear();
    };
    for (const Deviation& deviation : result_.deviations) {
        const Vector place = hairEnd(deviation, limit);
        if (!places.isEmpty() && length(places.last(), place) > kJump)
            draw();
        if (places.isEmpty() || length(places.last(), place) >= 1)
            places.append(place);
    }
    draw();
}

void Painter::drawExtreme(int number, double side) {
    if (number < 0)
        return;
    const Deviation& deviation = result_.deviations[std::size_t(number)];
    const QString colour = isOutside(deviation.value) ? badColour : measureColour;
    const Vector at = hairEnd(deviation, deviation.value);
    canvas_.circle(at, 4.5, "fill=\"none\" " + stroke(colour, 1.8));
    drawLabel(drawing_, at, (deviation.value > 0 ? "+" : "") + mm(deviation.value) + " mm", colour, side,
              false);
}

void Painter::drawPanel() {
    const double x = view_.area.right + 24;
    double y = view_.area.top + 14;
    canvas_.text({x, y}, "Deviations", "font-size=\"15\" font-weight=\"bold\" fill=\"#111\"");
    const auto row = [&](const QString& what, const QString& value, const QString& colour = "#111") {
        y += 24;
        canvas_.text({x, y}, what, QString("fill=\"%1\"").arg(colour));
        canvas_.text({x + kPanelWidth - 48, y}, value,
                     QString("text-anchor=\"end\" font-weight=\"bold\" fill=\"%1\"").arg(colour));
    };
    if (!result_.isValid() || result_.deviations.empty()) {
        row("NOT COMPARED", "", badColour);
        return;
    }
    const auto value = [this](int number) { return result_.deviations[std::size_t(number)].value; };
    for (const auto& extreme : {std::pair<const char*, int>{"largest", result_.largest},
                                std::pair<const char*, int>{"smallest", result_.smallest}})
        row(extreme.first, mm(value(extreme.second)) + " mm",
            isOutside(value(extreme.second)) ? badColour : QString("#111"));
    row("rms", mm(result_.rms) + " mm");
    if (!std::isnan(result_.shareOutside))
        row("outside the limits", percent(result_.shareOutside, 1),
            result_.shareOutside > 0 ? badColour : bandColour);
    for (const MotionPart& part : result_.registration.parts) {
        if (!part.isFree)
            continue;
        row("not determined", "");
        y += 18;
        canvas_.text({x + 10, y}, part.text(), "font-size=\"12\" fill=\"#555\"");
    }
}

QByteArray Painter::paint() {
    drawFrame();
    canvas_.raw(filledIn("<clipPath id=\"area\"><rect x=\"%1\" y=\"%2\" width=\"%3\" "
                         "height=\"%4\"/></clipPath><g clip-path=\"url(#area)\">",
                         view_.area.left, view_.area.top, view_.area.width(), view_.area.height()));
    drawHairs();
    drawMaster();
    drawLimit(picture_.lower);
    drawLimit(picture_.upper);
    drawExtreme(result_.largest, kUpwards);
    drawExtreme(result_.smallest, -kUpwards);
    canvas_.raw("</g>");
    drawPanel();
    return canvas_.document(view_.area.right + kPanelWidth, view_.area.bottom + kBottom);
}

}  // namespace

QByteArray drawComparison(const ComparisonPicture& picture) { return Painter(picture).paint(); }

}  // namespace KvMeasure
