// The panel of residuals below a picture, in its own unit, so that micrometres are seen beside metres. The x
// axis is that of the picture above, unless the residuals lie over an angle.
#include <kvmeasure/drawing/residuals_p.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/drawing/axes_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kPanelHeight = 180;  // pixels
constexpr double kFromAbove = 108;    // the x axis above and the heading of the panel
const QString zeroColour = "#D55E00";
const QString bandColour = "#DDF1E1";
const QString dotColour = "#8A94A0";

double worstOf(const Residuals& residuals) {
    double worst = 0;
    for (const Vector& point : residuals.points) {
        if (std::fabs(point.y) > std::fabs(worst))
            worst = point.y;
    }
    return worst;
}

double errorOf(const Residuals& residuals) {
    return std::isfinite(residuals.standardError) ? residuals.standardError : 0;
}

/// Residuals below 1 mm are shown in micrometres.
struct Unit {
    QString name;
    double perMm;

    QString text(double mm) const { return QString::number(mm * perMm, 'g', 4) + ' ' + name; }
};

Unit unitOf(const Residuals& residuals) {
    const double largest = std::max(std::fabs(worstOf(residuals)), errorOf(residuals));
    return largest < 1 ? Unit{"µm", 1000} : Unit{"mm", 1};
}

void drawBand(Canvas& canvas, const Projection& view, double error) {
    const Rect& area = view.area;
    if (error > 0)
        canvas.rect({area.left, view.toPixel({0, error}).y, area.right, view.toPixel({0, -error}).y},
                    QString("fill=\"%1\"").arg(bandColour));
}

void drawTitles(Canvas& canvas, const Residuals& residuals, const Rect& area, const QString& along) {
    const Unit unit = unitOf(residuals);
    QString scale = "worst " + unit.text(worstOf(residuals));
    if (std::isfinite(residuals.standardError))
        scale = filledIn("band: ±1 standard error, %1; ", unit.text(residuals.standardError)) + scale;
    canvas.text({area.left, area.top - 12}, "Residuals",
                "font-size=\"15\" font-weight=\"bold\" fill=\"#111\"");
    canvas.text({area.right, area.top - 12}, scale, "text-anchor=\"end\" fill=\"#555\"");
    canvas.text({(area.left + area.right) / 2, area.bottom + 42}, along,
                "text-anchor=\"middle\" fill=\"#333\"");
    canvas.raw(filledIn("<text transform=\"translate(22,%1) rotate(-90)\" text-anchor=\"middle\" "
                        "fill=\"#333\">residual, %2</text>",
                        QString::number((area.top + area.bottom) / 2, 'f', 1), unit.name));
}

}  // namespace

Projection residualView(const Residuals& residuals, const Projection& above) {
    constexpr double kFinest = 1e-6;  // mm; a spread below is rounding, and is drawn as none
    constexpr double kRoom = 0.15;    // of the spread on either side
    const double error = errorOf(residuals);
    Rect range{1e300, -std::max(error, kFinest), -1e300, std::max(error, kFinest)};
    for (const Vector& point : residuals.points) {
        range = {std::min(range.left, point.x), std::min(range.top, point.y), std::max(range.right, point.x),
                 std::max(range.bottom, point.y)};
    }
    const double perMm = unitOf(residuals).perMm;
    Projection view = above;
    view.area.top = above.area.bottom + kFromAbove;
    view.area.bottom = view.area.top + kPanelHeight;
    view.origin.y = (range.top - kRoom * range.height()) * perMm;
    view.scaleY = kPanelHeight / ((1 + 2 * kRoom) * range.height() * perMm);
    if (residuals.isOverAngle) {
        constexpr double kLeastWidth = 1e-8;  // degrees; finer ticks have no distinct numbers
        const double width = std::max(range.width(), kLeastWidth);
        constexpr double kRoomAtEnds = 0.03;
        view.origin.x = (range.left + range.right) / 2 - (0.5 + kRoomAtEnds) * width;
        view.scaleX = view.area.width() / ((1 + 2 * kRoomAtEnds) * width);
    }
    return view;
}

Canvas drawResiduals(const Residuals& residuals, const Projection& view, const QString& along) {
    constexpr double kUpwards = -1.5707963267948966;  // pixels
    const Unit unit = unitOf(residuals);
    const double worst = worstOf(residuals);
    Drawing drawing(view);
    Canvas& canvas = drawing.canvas;
    const Rect& area = view.area;
    canvas.raw("<g id=\"residuals\">");
    drawBand(canvas, view, errorOf(residuals) * unit.perMm);
    drawTicks(canvas, view, /*alongX=*/true);
    drawTicks(canvas, view, /*alongX=*/false);
    const double zero = view.toPixel({0, 0}).y;
    canvas.line({area.left, zero}, {area.right, zero}, stroke(zeroColour, 1.4));
    drawing.placer.coverLine({area.left, zero}, {area.right, zero});
    QList<Vector> places;
    places.reserve(residuals.points.size());
    for (const Vector& point : residuals.points)
        places.append({point.x, point.y * unit.perMm});
    drawDots(drawing, places, dotColour, 3);
    canvas.rect(area, "fill=\"none\" " + stroke("#333", 1));
    drawTitles(canvas, residuals, area, along);
    for (const Vector& place : places) {
        if (worst == 0 || place.y != worst * unit.perMm)
            continue;
        const Vector at = view.toPixel(place);
        canvas.circle(at, 5, "fill=\"none\" " + stroke(badColour, 1.8));
        drawLabel(drawing, at, unit.text(worst), badColour, worst > 0 ? kUpwards : -kUpwards, false);
        break;
    }
    canvas.raw("</g>");
    return drawing.canvas;
}

}  // namespace KvMeasure
