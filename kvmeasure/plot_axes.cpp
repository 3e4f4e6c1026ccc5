#include "kvmeasure/plot_axes.h"

#include <QtCore/QSet>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

void drawTicks(Canvas& canvas, const Projection& view, bool alongX) {
    const Rect& area = view.area;
    const double scale = alongX ? view.scaleX : view.scaleY;
    const double extent = (alongX ? area.width() : area.height()) / scale;
    const double first = alongX ? view.origin.x : view.origin.y;
    constexpr int ticksWanted = 10;
    const Ticks ticks = ticksWithin(first, first + extent, ticksWanted);
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
            canvas.text({area.left - 9, y + 4.5}, text, "text-anchor=\"end\" fill=\"#333\"");
        }
    }
}

void drawDots(Drawing& drawing, const QList<Vector>& points, const QString& colour, int size) {
    constexpr int mostDots = 20'000;
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
            if (dots.size() > mostDots)
                break;
        }
        if (dots.size() <= mostDots)
            break;
    }
    QString path;
    for (const Vector& dot : dots)
        path += QString("M%1 %2h0").arg(dot.x, 0, 'f', 1).arg(dot.y, 0, 'f', 1);
    drawing.canvas.raw(QString("<path d=\"%1\" stroke=\"%2\" stroke-width=\"%3\" stroke-linecap=\"round\"/>")
                           .arg(path, colour)
                           .arg(size));
}

}  // namespace KvMeasure
