#pragma once
// The drawing surface of a picture: mm to pixels, SVG elements, labels that keep out of each other's way.

#include <kvmeasure/inspection/matching.h>

#include <QtCore/QByteArray>

namespace KvMeasure {

struct Rect {
    double left = 0, top = 0, right = 0, bottom = 0;

    double width() const { return right - left; }
    double height() const { return bottom - top; }
    bool overlaps(const Rect& other) const {
        return left < other.right && other.left < right && top < other.bottom && other.top < bottom;
    }
    bool holds(const Vector& p) const { return p.x >= left && p.x <= right && p.y >= top && p.y <= bottom; }
};

/// Pixels of places in mm; y grows upwards in mm and downwards in pixels.
struct Projection {
    Vector origin;                  ///< mm at the lower left corner of the area
    double scaleX = 1, scaleY = 1;  ///< pixels per mm
    Rect area;                      ///< pixels

    Vector toPixel(const Vector& mm) const {
        return {area.left + (mm.x - origin.x) * scaleX, area.bottom - (mm.y - origin.y) * scaleY};
    }
};

/// Fits the range of a picture (mm) into an area of this width: equal scale where the height comes out
/// between the limits, otherwise stretched by a round factor or narrowed.
Projection fitProjection(const Rect& range, double left, double top, double width);

/// Round numbers for an axis.
struct Ticks {
    QList<double> values;
    int decimals = 0;
    int digits = 0;  ///< of large values; 0: decimals count

    QString text(double value) const {
        return digits > 0 ? QString::number(value + 0.0, 'g', digits)
                          : QString::number(value == 0 ? 0.0 : value, 'f', decimals);
    }
};

/// The ticks within [from, to]: at steps of 1, 2 or 5 times a power of ten, at most
/// about `wanted` of them; none where from is not below to.
Ticks ticksWithin(double from, double to, int wanted);

/// Collects SVG elements.
class Canvas {
public:
    void line(const Vector& a, const Vector& b, const QString& style);
    void polyline(const QList<Vector>& points, const QString& style);
    void arrowHead(const Vector& tip, const Vector& from, const QString& colour);
    void rect(const Rect& rect, const QString& style);
    void circle(const Vector& centre, double radius, const QString& style);
    void text(const Vector& at, const QString& text, const QString& style);
    void add(const Canvas& other) { body_ += other.body_; }
    void raw(const QString& element) { body_ += element.toUtf8() + '\n'; }
    QByteArray document(double width, double height) const;

private:
    QByteArray body_;
};

double textWidth(const QString& text, double size);  ///< estimated pixels, on the safe side

/// Finds free places for labels near what they name.
class LabelPlacer {
public:
    explicit LabelPlacer(const Rect& area);
    void cover(const Vector& at);  ///< something is drawn here; labels avoid it
    void coverLine(const Vector& from, const Vector& to);

    /// Reserves the best free place for a label near `anchor`, trying the preferred direction (radians,
    /// pixels) first, and gives it.
    Rect place(const Vector& anchor, double width, double height, double preferred);

private:
    double cost(const Rect& label) const;

    Rect area_;
    int columns_ = 0, rows_ = 0;
    std::vector<unsigned char> covered_;
    QList<Rect> labels_;
};

}  // namespace KvMeasure
