// Two panels, one above the other: deviations from the mean circle over the angle, with flats as bands, and
// the amplitudes of the harmonics. Every point is drawn: the cost is one pass over them.

#include <kvmeasure/drawing/circumference_picture.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/axes_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kLeft = 84;  // pixels
constexpr double kTop = 84;
constexpr double kWidth = 900;
constexpr double kUpperHeight = 300;
constexpr double kLowerHeight = 170;
constexpr double kBetween = 84;
constexpr double kMargin = 64;
constexpr double kFullTurn = 360;
const QString lineColour = "#0072B2";
const QString flatColour = "#C1121F";

Projection viewOf(const Rect& area, double from, double to, double low, double high) {
    constexpr double kRoom = 0.06, kThinnest = 1e-4;
    const double height = std::max(high - low, kThinnest);
    Projection view;
    view.area = area;
    view.origin = {from, low - kRoom * height};
    view.scaleX = area.width() / (to - from);
    view.scaleY = area.height() / (height * (1 + 3 * kRoom));
    return view;
}

void drawFrame(Drawing& drawing, const QString& along, const QString& upward) {
    constexpr double kBeside = 58, kBelow = 40;
    const Rect& area = drawing.view.area;
    drawTicks(drawing.canvas, drawing.view, /*alongX=*/true);
    drawTicks(drawing.canvas, drawing.view, /*alongX=*/false);
    drawing.canvas.rect(area, "fill=\"none\" " + stroke("#333", 1));
    drawing.canvas.text({(area.left + area.right) / 2, area.bottom + kBelow}, along,
                        "text-anchor=\"middle\" fill=\"#333\"");
    drawing.canvas.raw(filledIn("<text transform=\"translate(%1,%2) rotate(-90)\" text-anchor=\"middle\" "
                                "fill=\"#333\">%3</text>",
                                QString::number(area.left - kBeside, 'f', 1),
                                QString::number((area.top + area.bottom) / 2, 'f', 1),
                                upward.toHtmlEscaped()));
}

/// The points of a stretch of angles, each with the least and greatest of its pixel column.
void drawDeviations(Drawing& drawing, const std::vector<Vector>& points, const QString& style) {
    constexpr std::size_t kMost = 4000;  // points of a viewer's line
    const std::size_t every = points.size() / kMost + 1;
    QList<Vector> pixels;
    const auto finish = [&] {
        if (pixels.size() > 1)
            drawing.canvas.polyline(pixels, style);
        pixels.clear();
    };
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (!std::isfinite(points[i].y))
            finish();
        else if (i % every == 0 || i + 1 == points.size())
            pixels.append(drawing.view.toPixel(points[i]));
    }
    finish();
}

void drawFlat(Drawing& drawing, const WheelFlat& flat, LabelPlacer& labels) {
    constexpr double kLabelHeight = 16, kSize = 13, kDown = 1.57;
    const Rect& area = drawing.view.area;
    const bool isSplit = flat.from > flat.to;
    const std::pair<double, double> parts[] = {{flat.from, isSplit ? kFullTurn : flat.to}, {0, flat.to}};
    for (int i = 0; i < (isSplit ? 2 : 1); ++i) {
        const double left = drawing.view.toPixel({parts[i].first, 0}).x,
                     right = drawing.view.toPixel({parts[i].second, 0}).x;
        drawing.canvas.rect({left, area.top, std::max(right, left + 1), area.bottom},
                            filledIn("fill=\"%1\" fill-opacity=\"0.15\"", flatColour));
    }
    const QString text = flat.reason.isEmpty() ? filledIn("flat %1 mm deep, %2 mm long", fixed(flat.depth, 2),
                                                          fixed(flat.length, 1))
                                               : QString("flat, not measured");
    const double depth = std::isfinite(flat.depth) ? flat.depth : 0;
    const Rect place =
        labels.place(drawing.view.toPixel({flat.angle, -depth}), textWidth(text, kSize), kLabelHeight, kDown);
    drawing.canvas.text({place.left, place.bottom - 4}, text,
                        filledIn("font-size=\"13\" fill=\"%1\"", flatColour));
}

void drawHarmonics(Drawing& drawing, const std::vector<WheelHarmonic>& harmonics) {
    constexpr double kHalf = 0.3;
    drawFrame(drawing, "waves per turn", "amplitude, mm");
    for (const WheelHarmonic& harmonic : harmonics) {
        if (harmonic.order < 2)
            continue;
        const Vector low = drawing.view.toPixel({harmonic.order - kHalf, 0});
        const Vector high = drawing.view.toPixel({harmonic.order + kHalf, harmonic.amplitude});
        drawing.canvas.rect({low.x, high.y, high.x, low.y}, filledIn("fill=\"%1\"", lineColour));
    }
}

}  // namespace

QByteArray drawCircumference(const Circumference& wheel, const QString& title, const QString& subtitle) {
    double low = 0, high = 0, tallest = 0;
    for (const Vector& point : wheel.deviations) {
        low = std::isfinite(point.y) ? std::min(low, point.y) : low;
        high = std::isfinite(point.y) ? std::max(high, point.y) : high;
    }
    int orders = 2;
    for (const WheelHarmonic& harmonic : wheel.harmonics) {
        orders = std::max(orders, harmonic.order);
        tallest = harmonic.order > 1 ? std::max(tallest, harmonic.amplitude) : tallest;
    }
    const double below = kTop + kUpperHeight + kBetween;
    Drawing upper(viewOf({kLeft, kTop, kLeft + kWidth, kTop + kUpperHeight}, 0, kFullTurn, low, high));
    drawFrame(upper, "angle, degrees", "deviation from the mean circle, mm");
    LabelPlacer labels(upper.view.area);
    for (const Vector& point : wheel.deviations) {
        if (std::isfinite(point.y))
            labels.cover(upper.view.toPixel(point));
    }
    drawDeviations(upper, wheel.deviations, stroke(lineColour, 1.6));
    constexpr std::size_t kMostFlats = 50;
    for (std::size_t i = 0; i < std::min(kMostFlats, wheel.flats.size()); ++i)
        drawFlat(upper, wheel.flats[i], labels);
    upper.canvas.text({kLeft, 32}, title, "font-size=\"20\" font-weight=\"bold\" fill=\"#111\"");
    upper.canvas.text({kLeft, 56}, subtitle, "fill=\"#555\"");
    Drawing lower(viewOf({kLeft, below, kLeft + kWidth, below + kLowerHeight}, 1, orders + 1.0, 0, tallest));
    drawHarmonics(lower, wheel.harmonics);
    upper.canvas.add(lower.canvas);
    return upper.canvas.document(kLeft + kWidth + kMargin, below + kLowerHeight + kMargin);
}

}  // namespace KvMeasure
