// SVG as text, an element a call, with one decimal of a pixel. A label is tried in 16 directions at eight
// distances round its place; the cheapest place by what it would cover wins, labels before points. What has
// been drawn is remembered in a grid of six pixels, so that a label costs the same however many points there
// are.
#include <kvmeasure/drawing/canvas_p.h>

#include <kvmeasure/base/filled_in.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kCell = 6;  // pixels of the grid that remembers what is drawn where

QString pixels(double value) { return QString::number(value, 'f', 1); }

QString pair(const Vector& p) { return pixels(p.x) + ',' + pixels(p.y); }

/// Text as XML wants it; what cannot be printed becomes a question mark.
QString escaped(const QString& text) {
    constexpr int kLongest = 160;
    QString safe;
    for (const QChar letter : text.size() > kLongest ? text.left(kLongest - 3) + "..." : text)
        safe += letter.isPrint() ? letter : QChar('?');
    return safe.toHtmlEscaped();
}

}  // namespace

Projection fitProjection(const Rect& range, double left, double top, double width) {
    constexpr double kLeastHeight = 240;
    constexpr double kMostHeight = 760;
    // Far from the origin a narrow range has no width left in double.
    constexpr double kLeast = 1e-9;
    const auto widened = [](double from, double to) {
        return std::max(to - from, kLeast * std::max(std::fabs(from), std::fabs(to)));
    };
    const double rangeWidth = widened(range.left, range.right);
    const double rangeHeight = widened(range.top, range.bottom);
    Projection projection;
    projection.scaleX = width / rangeWidth;
    projection.scaleY = projection.scaleX;
    double height = rangeHeight * projection.scaleY;
    if (height > kMostHeight) {
        height = kMostHeight;
        projection.scaleX = projection.scaleY = height / rangeHeight;
    }
    double factor = 1;
    for (const double step : {2.0, 3.0, 4.0, 5.0, 10.0, 20.0, 50.0, 100.0, 200.0, 500.0, 1000.0}) {
        if (height * factor < kLeastHeight && height * step <= kMostHeight)
            factor = step;
    }
    projection.scaleY *= factor;
    const double drawn = std::max(kLeastHeight, height * factor);
    projection.area = {left, top, left + width, top + drawn};
    const double centreX = (range.left + range.right) / 2;
    const double centreY = (range.top + range.bottom) / 2;
    projection.origin =
        Vector(centreX - width / projection.scaleX / 2, centreY - drawn / projection.scaleY / 2);
    return projection;
}

Ticks ticksWithin(double from, double to, int wanted) {
    const double extent = to - from;
    const double decades = std::floor(std::log10(extent / wanted));
    constexpr double kMostDecades = 300;
    if (!(std::fabs(decades) < kMostDecades))
        return {};
    const double power = std::pow(10.0, decades);
    double step = power;
    for (const double factor : {2.0, 5.0, 10.0}) {
        if (extent / step > wanted)
            step = power * factor;
    }
    constexpr int kMostDecimals = 9;
    constexpr double kMostDigits = 15;
    const double exponent = std::floor(std::log10(step) + 1e-9);
    const double farthest = std::max(std::fabs(from), std::fabs(to));
    Ticks ticks;
    ticks.decimals = std::clamp(static_cast<int>(-exponent), 0, kMostDecimals);
    if (farthest >= 1e7)  // digits in place of decimals
        ticks.digits =
            static_cast<int>(std::min(kMostDigits, std::floor(std::log10(farthest)) - exponent + 1));
    const double start = std::ceil(from / step);
    for (int i = 0; i < 2 * wanted && (start + i) * step <= to; ++i)
        ticks.values.append((start + i) * step);
    return ticks;
}

void Canvas::line(const Vector& a, const Vector& b, const QString& style) {
    raw(QString("<line x1=\"%1\" y1=\"%2\" x2=\"%3\" y2=\"%4\" %5/>")
            .arg(pixels(a.x), pixels(a.y), pixels(b.x), pixels(b.y), style));
}

void Canvas::polyline(const QList<Vector>& points, const QString& style) {
    QStringList places;
    for (const Vector& point : points)
        places.append(pair(point));
    raw(QString("<polyline points=\"%1\" fill=\"none\" %2/>").arg(places.join(' '), style));
}

void Canvas::arrowHead(const Vector& tip, const Vector& from, const QString& colour) {
    constexpr double kHeadLength = 10;
    constexpr double kHalfWidth = 3.6;
    const double distance = length(from, tip);
    if (distance < 1)
        return;
    const double size = std::min(kHeadLength, distance / 2) / kHeadLength;
    const Vector d((from.x - tip.x) / distance, (from.y - tip.y) / distance);
    const Vector base(tip.x + d.x * kHeadLength * size, tip.y + d.y * kHeadLength * size);
    const Vector side(-d.y * kHalfWidth * size, d.x * kHalfWidth * size);
    raw(QString("<polygon points=\"%1 %2 %3\" fill=\"%4\"/>")
            .arg(pair(tip), pair({base.x + side.x, base.y + side.y}),
                 pair({base.x - side.x, base.y - side.y}), colour));
}

void Canvas::rect(const Rect& rect, const QString& style) {
    raw(QString("<rect x=\"%1\" y=\"%2\" width=\"%3\" height=\"%4\" %5/>")
            .arg(pixels(rect.left), pixels(rect.top), pixels(rect.width()), pixels(rect.height()), style));
}

void Canvas::circle(const Vector& centre, double radius, const QString& style) {
    raw(QString("<circle cx=\"%1\" cy=\"%2\" r=\"%3\" %4/>")
            .arg(pixels(centre.x), pixels(centre.y), pixels(radius), style));
}

void Canvas::text(const Vector& at, const QString& text, const QString& style) {
    raw(QString("<text x=\"%1\" y=\"%2\" %3>%4</text>")
            .arg(pixels(at.x), pixels(at.y), style, escaped(text)));
}

QByteArray Canvas::document(double width, double height) const {
    const QString head =
        filledIn("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%1\" height=\"%2\" viewBox=\"0 0 %1 %2\" "
                 "font-family=\"DejaVu Sans, Verdana, sans-serif\" font-size=\"13\">\n"
                 "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n",
                 std::ceil(width), std::ceil(height));
    return head.toUtf8() + body_ + "</svg>\n";
}

double textWidth(const QString& text, double size) {
    constexpr double kWidthOfLetter = 0.63;
    return kWidthOfLetter * size * static_cast<double>(text.size());
}

LabelPlacer::LabelPlacer(const Rect& area)
    : area_(area), columns_(static_cast<int>(area.width() / kCell) + 1),
      rows_(static_cast<int>(area.height() / kCell) + 1),
      covered_(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_)) {}

void LabelPlacer::cover(const Vector& at) {
    if (!area_.holds(at))
        return;
    const int column = static_cast<int>((at.x - area_.left) / kCell);
    const int row = static_cast<int>((at.y - area_.top) / kCell);
    covered_[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) +
             static_cast<std::size_t>(column)] = 1;
}

void LabelPlacer::coverLine(const Vector& from, const Vector& to) {
    constexpr double kMostSteps = 2000;
    const double steps = std::min(kMostSteps, std::ceil(length(from, to) / (kCell / 2)) + 1);
    for (double i = 0; i <= steps; ++i)
        cover({from.x + (to.x - from.x) * i / steps, from.y + (to.y - from.y) * i / steps});
}

double LabelPlacer::cost(const Rect& label) const {
    constexpr double kNever = 1e9;
    if (label.left < area_.left || label.right > area_.right || label.top < area_.top ||
        label.bottom > area_.bottom)
        return kNever;
    double sum = 0;
    for (const Rect& other : labels_) {
        if (label.overlaps(other))
            sum += 1000;
    }
    for (double y = label.top; y < label.bottom + kCell; y += kCell) {
        for (double x = label.left; x < label.right + kCell; x += kCell) {
            const auto row = static_cast<std::size_t>((std::min(y, label.bottom) - area_.top) / kCell);
            const auto column = static_cast<std::size_t>((std::min(x, label.right) - area_.left) / kCell);
            sum += covered_[row * static_cast<std::size_t>(columns_) + column] != 0 ? 8 : 0;
        }
    }
    return sum;
}

Rect LabelPlacer::place(const Vector& anchor, double width, double height, double preferred) {
    constexpr int kDirections = 16;
    constexpr double kTurn = 6.283185307179586 / kDirections;
    const Vector inside(std::max(area_.left, std::min(anchor.x, area_.right - width)),
                        std::max(area_.top, std::min(anchor.y, area_.bottom - height)));
    Rect best{inside.x, inside.y, inside.x + width, inside.y + height};
    double bestCost = 1e18;
    for (const double gap : {8.0, 16.0, 28.0, 44.0, 64.0, 90.0, 120.0, 160.0}) {
        for (int i = 0; i < kDirections; ++i) {
            const double step =
                (i + 1) / 2 * (i % 2 == 0 ? 1.0 : -1.0);  // NOLINT(bugprone-integer-division): 0 1 1 2 2
            const double angle = preferred + step * kTurn;
            const double cx = anchor.x + std::cos(angle) * (gap + width / 2);
            const double cy = anchor.y + std::sin(angle) * (gap + height / 2);
            const Rect label{cx - width / 2, cy - height / 2, cx + width / 2, cy + height / 2};
            const double total = cost(label) + gap / 2 + std::fabs(step);
            if (total < bestCost) {
                bestCost = total;
                best = label;
            }
        }
    }
    labels_.append(best);
    return best;
}

}  // namespace KvMeasure
