// Axes, ticks and points of all pictures. Ticks are tried from many to few until their numbers stand apart.
// Points are thinned to one per square of pixels, with squares doubled until at most 20,000 dots are left, so
// that a picture stays small and looks the same.
#include <kvmeasure/drawing/axes_p.h>

#include <kvmeasure/base/filled_in.h>

#include <QtCore/QSet>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kTextSize = 13;
constexpr double kTickRoom = 9;  // pixels from the area to the numbers of the upright axis

double widest(const Ticks& ticks) {
    double width = 0;
    for (const double value : ticks.values)
        width = std::max(width, textWidth(ticks.text(value), kTextSize));
    return width;
}

Ticks ticksOf(const Projection& view, bool alongX) {
    const double pixels = alongX ? view.area.width() : view.area.height();
    const double first = alongX ? view.origin.x : view.origin.y;
    constexpr int kMost = 10;
    return ticksApart(first, first + pixels / (alongX ? view.scaleX : view.scaleY), pixels, kMost, alongX);
}

}  // namespace

Ticks ticksApart(double from, double to, double pixels, int most, bool areSideBySide) {
    constexpr int kLeast = 2;
    constexpr double kGap = 10, kLineHeight = 16;
    Ticks ticks;
    for (int wanted = most; wanted >= kLeast; --wanted) {
        ticks = ticksWithin(from, to, wanted);
        const double each = areSideBySide ? widest(ticks) + kGap : kLineHeight;
        if (ticks.values.size() < 2 || each <= (ticks.values[1] - ticks.values[0]) / (to - from) * pixels)
            break;
    }
    return ticks;
}

Projection withRoomForNumbers(Projection view) {
    constexpr double kTitleRoom = 30;  // from the edge of the picture
    const double needed = kTitleRoom + widest(ticksOf(view, false)) + kTickRoom;
    const double shift = std::max(0.0, needed - view.area.left);
    view.area.left += shift;
    view.area.right += shift;
    return view;
}

void drawTicks(Canvas& canvas, const Projection& view, bool alongX) {
    const Rect& area = view.area;
    const Ticks ticks = ticksOf(view, alongX);
    for (const double value : ticks.values) {
        const QString text = ticks.text(value);
        if (alongX) {
            const double x = view.toPixel({value, 0}).x;
            canvas.line({x, area.top}, {x, area.bottom}, stroke("#E8EAED", 1));
            canvas.line({x, area.bottom}, {x, area.bottom + 5}, stroke("#333", 1));
            canvas.text({x, area.bottom + 20}, text, "text-anchor=\"middle\" fill=\"#333\"");
        } else {
            const double y = view.toPixel({0, value}).y;
            canvas.line({area.left, y}, {area.right, y}, stroke("#E8EAED", 1));
            canvas.line({area.left - 5, y}, {area.left, y}, stroke("#333", 1));
            canvas.text({area.left - kTickRoom, y + 4.5}, text, "text-anchor=\"end\" fill=\"#333\"");
        }
    }
}

void drawDots(Drawing& drawing, const QList<Vector>& points, const QString& colour, int size) {
    constexpr int kMostDots = 20'000;
    QList<Vector> dots;
    for (double square = 1; square < 100; square *= 2) {
        dots.clear();
        QSet<qint64> taken;
        for (const Vector& point : points) {
            const Vector at = drawing.view.toPixel(point);
            if (!drawing.view.area.holds(at))
                continue;
            const qint64 key = (qint64(at.y / square) << 32) + qint64(at.x / square);
            if (taken.contains(key))
                continue;
            taken.insert(key);
            dots.append(at);
            drawing.placer.cover(at);
            if (dots.size() > kMostDots)
                break;
        }
        if (dots.size() <= kMostDots)
            break;
    }
    QString path;
    for (const Vector& dot : dots)
        path += filledIn("M%1 %2h0", QString::number(dot.x, 'f', 1), QString::number(dot.y, 'f', 1));
    drawing.canvas.raw(filledIn("<path d=\"%1\" stroke=\"%2\" stroke-width=\"%3\" stroke-linecap=\"round\"/>",
                                path, colour, size));
}

Rect rangeWithRoom(const QList<KvMath::KvPointXY>& points, double halfHeight) {
    Rect range{1e300, 1e300, -1e300, -1e300};
    const auto add = [&range](double x, double y) {
        range = {std::min(range.left, x), std::min(range.top, y), std::max(range.right, x),
                 std::max(range.bottom, y)};
    };
    for (const KvMath::KvPointXY& point : points) {
        if (isFinite(point))
            add(double(point.x), double(point.y));
    }
    if (range.left > range.right)
        range = {-1, -1, 1, 1};
    const double width = std::max({range.width(), range.height() / 10, 1e-3});
    const double height = std::max({range.height(), width / 1000, 1e-3});
    const Vector centre((range.left + range.right) / 2, (range.top + range.bottom) / 2);
    constexpr double kHalf = 0.56;  // of the extent on either side
    return {centre.x - kHalf * width, centre.y - halfHeight * height, centre.x + kHalf * width,
            centre.y + halfHeight * height};
}

void drawScanAxes(Canvas& canvas, const Projection& view) {
    const Rect& area = view.area;
    drawTicks(canvas, view, /*alongX=*/true);
    drawTicks(canvas, view, /*alongX=*/false);
    canvas.rect(area, "fill=\"none\" " + stroke("#333", 1));
    canvas.text({(area.left + area.right) / 2, area.bottom + 42}, "x, mm",
                "text-anchor=\"middle\" fill=\"#333\"");
    canvas.raw(QString("<text transform=\"translate(22,%1) rotate(-90)\" text-anchor=\"middle\" "
                       "fill=\"#333\">scan, mm</text>")
                   .arg((area.top + area.bottom) / 2, 0, 'f', 1));
}

}  // namespace KvMeasure
