// Two panels beside each other: the difference of the rolling radii over the lateral shift, and the conicity
// over the amplitude by both methods. Both share the canvas of the first. Lines are thinned to some 4,000
// points.
#include <kvmeasure/drawing/conicity_picture.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/drawing/axes_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kLeft = 84;  // pixels
constexpr double kTop = 84;
constexpr double kPanelWidth = 470;
constexpr double kPanelHeight = 420;
constexpr double kBetween = 100;
constexpr double kMargin = 64;  // below and to the right
const QString lineColour = "#0072B2";
const QString regressionColour = "#B45309";
const QString leapColour = "#C1121F";

using Points = std::vector<Vector>;

/// A panel whose range holds all points, and 0 upwards.
Projection viewOf(double left, std::initializer_list<const Points*> lists) {
    double least = 0, greatest = 0, low = 0, high = 0;
    bool isFirst = true;
    for (const Points* points : lists) {
        for (const Vector& p : *points) {
            if (!isFinite(p))
                continue;
            least = isFirst ? p.x : std::min(least, p.x);
            greatest = isFirst ? p.x : std::max(greatest, p.x);
            isFirst = false;
            low = std::min(low, p.y);
            high = std::max(high, p.y);
        }
    }
    constexpr double kRoom = 0.04, kThinnest = 1e-6;
    if (!(greatest > least)) {
        least -= 1;
        greatest += 1;
    }
    const double width = greatest - least, height = std::max(high - low, kThinnest);
    Projection view;
    view.area = {left, kTop, left + kPanelWidth, kTop + kPanelHeight};
    view.origin = {least - kRoom * width, low - kRoom * height};
    view.scaleX = kPanelWidth / (width * (1 + 2 * kRoom));
    view.scaleY = kPanelHeight / (height * (1 + 2 * kRoom));
    return view;
}

void drawAxes(Drawing& drawing, const QString& along, const QString& upward) {
    const Rect& area = drawing.view.area;
    drawTicks(drawing.canvas, drawing.view, /*alongX=*/true);
    drawTicks(drawing.canvas, drawing.view, /*alongX=*/false);
    drawing.canvas.rect(area, "fill=\"none\" " + stroke("#333", 1));
    drawing.canvas.text({(area.left + area.right) / 2, area.bottom + 42}, along,
                        "text-anchor=\"middle\" fill=\"#333\"");
    constexpr double kBeside = 58;
    drawing.canvas.raw(filledIn("<text transform=\"translate(%1,%2) rotate(-90)\" text-anchor=\"middle\" "
                                "fill=\"#333\">%3</text>",
                                QString::number(area.left - kBeside, 'f', 1),
                                QString::number((area.top + area.bottom) / 2, 'f', 1),
                                upward.toHtmlEscaped()));
}

/// The points joined where both neighbours are there; lone ones as dots.
void drawCurve(Drawing& drawing, const Points& points, const QString& style, const QString& colour) {
    constexpr std::size_t kMost = 4000;  // points of a viewer's line
    const std::size_t every = points.size() / kMost + 1;
    QList<Vector> pixels;
    const auto finish = [&] {
        if (pixels.size() > 1)
            drawing.canvas.polyline(pixels, style);
        else if (pixels.size() == 1)
            drawing.canvas.circle(pixels.first(), 3, QString("fill=\"%1\"").arg(colour));
        pixels.clear();
    };
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (!isFinite(points[i]))
            finish();
        else if (i % every == 0 || i + 1 == points.size())
            pixels.append(drawing.view.toPixel(points[i]));
    }
    finish();
}

void drawLegend(Drawing& drawing) {
    const Rect& area = drawing.view.area;
    const struct {
        const char* name;
        QString style;
    } rows[] = {{"by integration", stroke(lineColour, 2)},
                {"by regression", stroke(regressionColour, 1.6, "stroke-dasharray=\"6 4\"")}};
    double y = area.top + 22;
    for (const auto& row : rows) {
        drawing.canvas.line({area.left + 14, y - 4}, {area.left + 44, y - 4}, row.style);
        drawing.canvas.text({area.left + 52, y}, row.name, "fill=\"#333\"");
        y += 20;
    }
}

void drawDifference(Drawing& drawing, const ConicityPicture& picture) {
    const Rect& area = drawing.view.area;
    drawAxes(drawing, "lateral shift of the wheelset, mm", "rolling radius difference, mm");
    const double zero = drawing.view.toPixel({0, 0}).y;
    drawing.canvas.line({area.left, zero}, {area.right, zero}, stroke("#999", 1));
    constexpr std::size_t kMostLeaps = 200;
    for (std::size_t i = 0; i < std::min(kMostLeaps, picture.leaps.size()); ++i) {
        const double x = drawing.view.toPixel({picture.leaps[i], 0}).x;
        if (x >= area.left && x <= area.right)
            drawing.canvas.line({x, area.bottom}, {x, area.bottom - 14}, stroke(leapColour, 1.4));
    }
    if (!picture.leaps.empty())
        drawing.canvas.text({area.right - 10, area.bottom - 22}, "red: touches at two places",
                            QString("text-anchor=\"end\" font-size=\"12\" fill=\"%1\"").arg(leapColour));
    drawCurve(drawing, picture.difference, stroke(lineColour, 2), lineColour);
    if (std::isfinite(picture.runningPosition))
        drawing.canvas.circle(drawing.view.toPixel({picture.runningPosition, 0}), 5,
                              "fill=\"#FFFFFF\" " + stroke(lineColour, 2));
}

}  // namespace

QByteArray drawConicity(const ConicityPicture& picture) {
    Drawing difference(viewOf(kLeft, {&picture.difference}));
    drawDifference(difference, picture);
    const Rect& area = difference.view.area;
    difference.canvas.text({area.left, 32}, picture.title,
                           "font-size=\"20\" font-weight=\"bold\" fill=\"#111\"");
    difference.canvas.text({area.left, 56}, picture.subtitle, "fill=\"#555\"");
    Drawing conicity(viewOf(area.right + kBetween, {&picture.conicity, &picture.regression}));
    drawAxes(conicity, "amplitude, mm", "equivalent conicity, tan gamma");
    drawCurve(conicity, picture.regression, stroke(regressionColour, 1.6, "stroke-dasharray=\"6 4\""),
              regressionColour);
    drawCurve(conicity, picture.conicity, stroke(lineColour, 2), lineColour);
    drawLegend(conicity);
    difference.canvas.add(conicity.canvas);
    return difference.canvas.document(conicity.view.area.right + kMargin, area.bottom + kMargin);
}

}  // namespace KvMeasure
