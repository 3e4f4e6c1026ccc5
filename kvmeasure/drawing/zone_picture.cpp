#include <kvmeasure/drawing/zone_picture.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/axes_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kLeft = 96;  // pixels
constexpr double kTop = 84;
constexpr double kAreaWidth = 900;
constexpr double kAreaHeight = 420;
constexpr double kMargin = 64;  // below and to the right
constexpr double kUpwards = -1.5707963267948966;
const QString pointColour = "#0072B2";
const QString zoneColour = "#1B7F3B";

/// The places of all points, and the zone with a quarter of its width around it.
Projection viewOf(const ZonePicture& picture) {
    double least = 0, greatest = 0, low = picture.from, high = picture.to;
    bool isFirst = true;
    for (const Vector& p : picture.points) {
        if (!isFinite(p))
            continue;
        least = isFirst ? p.x : std::min(least, p.x);
        greatest = isFirst ? p.x : std::max(greatest, p.x);
        isFirst = false;
        low = std::min(low, p.y);
        high = std::max(high, p.y);
    }
    constexpr double kRoom = 0.03, kRoomAbove = 0.25, kThinnest = 1e-9;
    const double width = std::max(greatest - least, kThinnest);
    const double height =
        std::max({high - low, kThinnest, 1e-12 * std::max(std::fabs(low), std::fabs(high))});
    Projection view;
    view.area = {kLeft, kTop, kLeft + kAreaWidth, kTop + kAreaHeight};
    view.origin = {least - kRoom * width, low - kRoomAbove * height};
    view.scaleX = kAreaWidth / (width * (1 + 2 * kRoom));
    view.scaleY = kAreaHeight / (height * (1 + 2 * kRoomAbove));
    return withRoomForNumbers(view);
}

void drawPoints(Drawing& drawing, const ZonePicture& picture) {
    QList<Vector> places;
    places.reserve(static_cast<int>(picture.points.size()));
    for (const Vector& p : picture.points) {
        if (isFinite(p))
            places.append(p);
    }
    constexpr int kMostJoined = 5000;
    if (picture.isJoined && places.size() <= kMostJoined) {
        QList<Vector> pixels;
        for (const Vector& p : places)
            pixels.append(drawing.view.toPixel(p));
        drawing.canvas.polyline(pixels, stroke(pointColour, 0.8, "stroke-opacity=\"0.5\""));
    }
    drawDots(drawing, places, pointColour, 3);
}

void drawBounds(Drawing& drawing, const ZonePicture& picture) {
    const Rect& area = drawing.view.area;
    const double low = drawing.view.toPixel({0, picture.from}).y;
    const double high = drawing.view.toPixel({0, picture.to}).y;
    drawing.canvas.rect({area.left, high, area.right, low},
                        QString("fill=\"%1\" fill-opacity=\"0.08\"").arg(zoneColour));
    for (const double y : {low, high})
        drawing.canvas.line({area.left, y}, {area.right, y}, stroke(zoneColour, 1.6));
}

void drawContacts(Drawing& drawing, const ZonePicture& picture) {
    for (const int contact : picture.contacts) {
        if (contact < 0 || static_cast<std::size_t>(contact) >= picture.points.size())
            continue;
        const auto i = static_cast<std::size_t>(contact);
        const Vector& place = picture.points[i];
        if (!isFinite(place))
            continue;
        const Vector at = drawing.view.toPixel(place);
        const int number = i < picture.numbers.size() ? picture.numbers[i] : contact;
        const bool isHigh = place.y > (picture.from + picture.to) / 2;
        drawing.canvas.circle(at, 6, "fill=\"none\" " + stroke(badColour, 2));
        drawLabel(drawing, at, QString::number(number), badColour, isHigh ? kUpwards : -kUpwards, false);
    }
}

}  // namespace

QByteArray drawZone(const ZonePicture& picture) {
    Drawing drawing(viewOf(picture));
    const Rect& area = drawing.view.area;
    drawTicks(drawing.canvas, drawing.view, /*alongX=*/true);
    drawTicks(drawing.canvas, drawing.view, /*alongX=*/false);
    drawBounds(drawing, picture);
    drawing.canvas.rect(area, "fill=\"none\" " + stroke("#333", 1));
    drawPoints(drawing, picture);
    drawContacts(drawing, picture);
    drawing.canvas.text({(area.left + area.right) / 2, area.bottom + 42},
                        picture.along.isEmpty() ? QString("x, mm") : picture.along,
                        "text-anchor=\"middle\" fill=\"#333\"");
    drawing.canvas.raw(
        filledIn("<text transform=\"translate(22,%1) rotate(-90)\" text-anchor=\"middle\" "
                 "fill=\"#333\">%2</text>",
                 QString::number((area.top + area.bottom) / 2, 'f', 1),
                 (picture.upward.isEmpty() ? QString("distance, mm") : picture.upward).toHtmlEscaped()));
    drawing.canvas.text({area.left, 32}, picture.title,
                        "font-size=\"20\" font-weight=\"bold\" fill=\"#111\"");
    drawing.canvas.text({area.left, 56}, picture.subtitle, "fill=\"#555\"");
    return drawing.canvas.document(area.right + kMargin, area.bottom + kMargin);
}

}  // namespace KvMeasure
