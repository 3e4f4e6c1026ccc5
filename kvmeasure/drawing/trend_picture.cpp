// Values over the profiles of a scan, a panel per measurement. Of the values in one column of pixels four are
// drawn, which looks the same at a size that does not grow with the scan.
#include <kvmeasure/drawing/trend_picture.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/drawing/axes_p.h>

#include <QtCore/QSet>

#include <algorithm>

namespace KvMeasure {

namespace {

constexpr double kLeft = 92;  // pixels; room for the value axis
constexpr double kTop = 104;  // title and legend
constexpr double kAreaWidth = 860;
constexpr double kFiguresWidth = 270;
constexpr double kBetween = 34;  // from panel to panel, with the name of the measurement
constexpr double kBottom = 66;
constexpr int kMostPanels = 40;

const QString valueColour = "#0072B2";
const QString meanColour = "#444";
const QString bandColour = "#DDF1E1";
const QString limitColour = "#1B7F3B";
const QString gapColour = "#D5D8DD";

/// Number to show of a value: micrometres, or hundredths of a degree.
QString shown(double value, const QString& unit) {
    constexpr double kWidest = 1e7;
    if (!std::isfinite(value))
        return "-";
    return std::fabs(value) < kWidest ? QString::number(value, 'f', unit == "deg" ? 2 : 3)
                                      : QString::number(value, 'g', 4);
}

/// Places of the profiles on the axis.
class ScanAxis {
public:
    explicit ScanAxis(const Trend& trend);

    bool isZ() const { return isZ_; }
    double pixel(double position) const { return kLeft + (position - from_) / (to_ - from_) * kAreaWidth; }
    double pixelAt(std::size_t i) const { return pixel(position(i)); }
    /// Halfway to the profile before; the edges of the axis at its ends.
    double edgeBefore(std::size_t i) const;
    Ticks ticks() const;

private:
    double position(std::size_t i) const { return isZ_ ? z_[i] : double(i); }

    const std::vector<double>& z_;
    bool isZ_ = false;
    double from_ = 0, to_ = 1;
};

ScanAxis::ScanAxis(const Trend& trend) : z_(trend.z) {
    const auto isFinite = [](double z) { return std::isfinite(z); };
    isZ_ = z_.size() > 1 && z_.front() != z_.back() && std::all_of(z_.begin(), z_.end(), isFinite) &&
           (std::is_sorted(z_.begin(), z_.end()) || std::is_sorted(z_.rbegin(), z_.rend()));
    if (z_.empty())
        return;
    from_ = std::min(position(0), position(z_.size() - 1));
    to_ = std::max(position(0), position(z_.size() - 1));
    constexpr double kLeast = 1e-9;  // of places far off, which double still tells apart
    const double room = std::max(from_ < to_ ? (to_ - from_) * 0.01 : 1.0, kLeast * std::fabs(from_));
    from_ -= room;
    to_ += room;
}

double ScanAxis::edgeBefore(std::size_t i) const {
    const bool isFalling = isZ_ && z_.front() > z_.back();
    if (i == 0 || i >= z_.size())
        return (i == 0) == isFalling ? kLeft + kAreaWidth : kLeft;
    return (pixelAt(i - 1) + pixelAt(i)) / 2;
}

Ticks ScanAxis::ticks() const {
    constexpr int kWanted = 12;
    Ticks ticks = ticksApart(from_, to_, kAreaWidth, kWanted, /*areSideBySide=*/true);
    if (isZ_ || ticks.decimals == 0)
        return ticks;
    QList<double> whole;
    for (const double value : ticks.values) {
        if (std::fabs(value - std::round(value)) < 1e-6)
            whole.append(std::round(value));
    }
    return {whole, 0};
}

/// The values that a panel shows: all of them and the tolerance, unless few values or wide limits would
/// squeeze the rest.
Rect valueRange(const Series& series) {
    constexpr double kFinest = 0.001;  // mm or degrees; a spread below is none
    Rect range{0, 0, 0, 0};
    std::vector<double> sorted;
    for (const double value : series.values) {
        if (!std::isnan(value))
            sorted.push_back(value);
    }
    if (!sorted.empty()) {
        std::sort(sorted.begin(), sorted.end());
        constexpr double kFarTimes = 8;
        const std::size_t cut = sorted.size() / 50;
        range.top = sorted.front();
        range.bottom = sorted.back();
        const double low = sorted[cut];
        const double high = sorted[sorted.size() - 1 - cut];
        if (high > low && high - low < (range.bottom - range.top) / kFarTimes) {
            range.top = std::max(range.top, low - (high - low));
            range.bottom = std::min(range.bottom, high + (high - low));
        }
    }
    double lower = series.tolerance.least();
    double upper = series.tolerance.greatest();
    if (std::isinf(lower) != std::isinf(upper))  // a limit on one side
        (std::isinf(lower) ? lower : upper) = std::isinf(lower) ? upper : lower;
    if (series.hasTolerance && std::isfinite(upper - lower)) {
        constexpr double kWideTimes = 12;
        const double low = sorted.empty() ? lower : std::min(range.top, lower);
        const double high = sorted.empty() ? upper : std::max(range.bottom, upper);
        if (range.height() < kFinest || high - low < kWideTimes * range.height()) {
            range.top = low;
            range.bottom = high;
        }
    }
    const double digits = std::max(std::fabs(range.top), std::fabs(range.bottom)) * 1e-6;
    const double room = std::max({range.height() * 0.1, kFinest * 2, digits});
    return {0, range.top - room, 0, range.bottom + room};
}

/// One measurement in the making.
class Panel {
public:
    Panel(Canvas& canvas, const ScanAxis& axis, const Series& series, const Rect& area)
        : canvas_(canvas), axis_(axis), series_(series), area_(area), range_(valueRange(series)) {}
    void paint(bool isLast);

private:
    double pixelOf(double value) const {
        const double y = area_.bottom - (value - range_.top) / range_.height() * area_.height();
        return std::min(std::max(y, area_.top), area_.bottom);
    }
    bool isInside(double value) const { return value >= range_.top && value <= range_.bottom; }
    void drawGaps();
    void drawTolerance();
    void drawGrid(bool isLast);
    void drawCurve();
    void drawDots();
    void drawFigures();

    Canvas& canvas_;
    const ScanAxis& axis_;
    const Series& series_;
    Rect area_;
    Rect range_;  // top is the least value shown, bottom the greatest
    int hidden_ = 0;
};

void Panel::drawGaps() {
    const std::vector<double>& values = series_.values;
    double reached = -1;  // wide enough to be seen, and no two over each other
    for (std::size_t i = 0; i < values.size();) {
        const std::size_t start = i;
        while (i < values.size() && std::isnan(values[i]))
            ++i;
        if (i == start) {
            ++i;
            continue;
        }
        const double a = axis_.edgeBefore(start);
        const double b = axis_.edgeBefore(i);
        const Rect gap{std::min(a, b), area_.top, std::max(std::max(a, b), std::min(a, b) + 1), area_.bottom};
        if (std::floor(gap.left) == reached && gap.width() < 2)
            continue;
        reached = std::floor(gap.left);
        canvas_.rect(gap, QString("fill=\"%1\"").arg(gapColour));
    }
}

void Panel::drawTolerance() {
    if (!series_.hasTolerance)
        return;
    const double limits[] = {series_.tolerance.least(), series_.tolerance.greatest()};
    canvas_.rect({area_.left, pixelOf(limits[1]), area_.right, pixelOf(limits[0])},
                 QString("fill=\"%1\"").arg(bandColour));
    for (const double limit : limits) {
        if (isInside(limit))
            canvas_.line({area_.left, pixelOf(limit)}, {area_.right, pixelOf(limit)},
                         stroke(limitColour, 1, "stroke-dasharray=\"2 3\""));
    }
}

void Panel::drawGrid(bool isLast) {
    const Ticks heights = ticksWithin(range_.top, range_.bottom, area_.height() > 150 ? 6 : 4);
    const QString grid = stroke("#000", 1, "stroke-opacity=\"0.08\"");
    for (const double value : heights.values) {
        const double y = pixelOf(value);
        canvas_.line({area_.left, y}, {area_.right, y}, grid);
        canvas_.line({area_.left - 5, y}, {area_.left, y}, stroke("#333", 1));
        canvas_.text({area_.left - 9, y + 4.5}, heights.text(value), "text-anchor=\"end\" fill=\"#333\"");
    }
    const Ticks places = axis_.ticks();
    for (const double value : places.values) {
        const double x = axis_.pixel(value);
        canvas_.line({x, area_.top}, {x, area_.bottom}, grid);
        canvas_.line({x, area_.bottom}, {x, area_.bottom + 5}, stroke("#333", 1));
        if (isLast)
            canvas_.text({x, area_.bottom + 20}, places.text(value), "text-anchor=\"middle\" fill=\"#333\"");
    }
    canvas_.rect(area_, "fill=\"none\" " + stroke("#333", 1));
    canvas_.text({area_.left, area_.top - 8}, series_.name + ", " + series_.unit,
                 "font-weight=\"bold\" fill=\"#111\"");
}

/// A line through the values, broken where there is none. Of the values in one column of pixels only the
/// first, the least, the greatest and the last are drawn, which looks the same.
void Panel::drawCurve() {
    QList<Vector> run;
    QList<Vector> column;
    const auto endColumn = [&] {
        const auto byHeight = [](const Vector& a, const Vector& b) { return a.y < b.y; };
        if (column.size() > 4) {
            const auto ends = std::minmax_element(column.begin(), column.end(), byHeight);
            column = {column.first(), *ends.first, *ends.second, column.last()};
        }
        run += column;
        column.clear();
    };
    const auto endRun = [&] {
        endColumn();
        if (run.size() > 1)
            canvas_.polyline(run, stroke(valueColour, 1.4, "stroke-linejoin=\"round\""));
        run.clear();
    };
    for (std::size_t i = 0; i < series_.values.size(); ++i) {
        if (std::isnan(series_.values[i])) {
            endRun();
            continue;
        }
        const Vector at(axis_.pixelAt(i), pixelOf(series_.values[i]));
        if (!column.isEmpty() && std::floor(column.first().x) != std::floor(at.x))
            endColumn();
        column.append(at);
    }
    endRun();
}

/// Dots where they stand apart, and always for single values and those out of tolerance; a triangle for what
/// lies outside the panel. One per square of pixels.
void Panel::drawDots() {
    constexpr double kApart = 4;  // pixels
    const std::vector<double>& values = series_.values;
    const bool isSparse = double(values.size()) * kApart < kAreaWidth;
    QSet<qint64> taken;
    const auto isMissing = [&](std::size_t i) { return i >= values.size() || std::isnan(values[i]); };
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (isMissing(i))
            continue;
        const double value = values[i];
        const bool isGood = series_.isGood(value);
        const bool isAlone = isMissing(i + 1) && (i == 0 || isMissing(i - 1));
        hidden_ += isInside(value) ? 0 : 1;
        if (!isSparse && isGood && isInside(value) && !isAlone)
            continue;
        const Vector at(axis_.pixelAt(i), pixelOf(value));
        const qint64 key = (qint64(at.x) * 10'000 + qint64(at.y)) * 2 + (isGood ? 1 : 0);
        if (taken.contains(key))
            continue;
        taken.insert(key);
        const QString colour = isGood ? valueColour : badColour;
        if (isInside(value))
            canvas_.circle(at, isGood ? 2.2 : 3.2, QString("fill=\"%1\"").arg(colour));
        else
            canvas_.arrowHead(at, {at.x, at.y + (value > range_.bottom ? 18.0 : -18.0)}, colour);
    }
}

void Panel::drawFigures() {
    const Statistics& s = series_.statistics;
    const double x = area_.right + 24;
    double y = area_.top + 4;
    const auto row = [&](const QString& what, const QString& number, const QString& colour) {
        y += 17;
        canvas_.text({x, y}, what, "fill=\"#555\" font-size=\"12\"");
        canvas_.text({x + 84, y}, number, QString("fill=\"%1\" font-size=\"12\"").arg(colour));
    };
    const auto number = [this](double value) { return shown(value, series_.unit); };
    row("mean", s.count > 0 ? number(s.mean) + ' ' + series_.unit : QString("-"), "#111");
    row("std dev",
        std::isfinite(s.deviation()) ? QString::number(s.deviation(), 'g', 3) + ' ' + series_.unit
                                     : QString("-"),
        "#111");
    row("min ... max", s.count > 0 ? number(s.minimum) + " ... " + number(s.maximum) : QString("-"), "#111");
    row("measured", filledIn("%1 of %2 profiles", s.count, series_.values.size()), "#111");
    if (series_.hasTolerance) {
        const double lower = series_.tolerance.least();
        const double upper = series_.tolerance.greatest();
        row("tolerance",
            (std::isfinite(lower) ? number(lower) : QString("-")) + " ... " +
                (std::isfinite(upper) ? number(upper) : QString("-")),
            "#111");
        row("out of it", QString::number(s.outside), s.outside > 0 ? badColour : limitColour);
    }
    if (hidden_ > 0)
        canvas_.text({area_.right, area_.top - 8}, QString("%1 beyond the picture's range").arg(hidden_),
                     "text-anchor=\"end\" fill=\"#666\" font-size=\"12\"");
}

void Panel::paint(bool isLast) {
    drawTolerance();
    drawGaps();
    drawGrid(isLast);
    const Statistics& s = series_.statistics;
    if (s.count > 0 && isInside(s.mean))
        canvas_.line({area_.left, pixelOf(s.mean)}, {area_.right, pixelOf(s.mean)},
                     stroke(meanColour, 1.2, "stroke-dasharray=\"9 5\""));
    drawCurve();
    drawDots();
    drawFigures();
}

void drawHeader(Canvas& canvas, const Trend& trend) {
    canvas.text({kLeft, 32}, trend.title, "font-size=\"20\" font-weight=\"bold\" fill=\"#111\"");
    canvas.text({kLeft, 52}, trend.subtitle, "fill=\"#555\"");
    bool hasTolerance = false;
    bool hasGaps = false;
    bool hasOutside = false;
    for (const Series& series : trend.series) {
        hasTolerance = hasTolerance || series.hasTolerance;
        hasGaps = hasGaps || series.statistics.count < static_cast<int>(series.values.size());
        hasOutside = hasOutside || series.statistics.outside > 0;
    }
    double x = kLeft;
    const auto text = [&](const QString& label) {
        canvas.text({x + 29, 73}, label, "fill=\"#333\" font-size=\"12\"");
        x += 29 + textWidth(label, 12) + 20;
    };
    const auto block = [&](const QString& colour, const QString& label) {
        canvas.rect({x, 63, x + 22, 75}, QString("fill=\"%1\"").arg(colour));
        text(label);
    };
    canvas.line({x, 69}, {x + 22, 69}, stroke(valueColour, 1.8));
    text("measured");
    canvas.line({x, 69}, {x + 22, 69}, stroke(meanColour, 1.2, "stroke-dasharray=\"9 5\""));
    text("mean");
    if (hasTolerance)
        block(bandColour, "within tolerance");
    if (hasOutside) {
        canvas.circle({x + 11, 69}, 3.2, QString("fill=\"%1\"").arg(badColour));
        text("out of tolerance");
    }
    if (hasGaps)
        block(gapColour, "not found or not measured");
}

}  // namespace

void Statistics::add(double value, bool isGood) {
    ++count;
    outside += isGood ? 0 : 1;
    const double step = value - mean;
    mean += step / count;
    squares += step * (value - mean);
    minimum = std::min(minimum, value);
    maximum = std::max(maximum, value);
}

QByteArray drawTrend(const Trend& trend) {
    Canvas canvas;
    const ScanAxis axis(trend);
    drawHeader(canvas, trend);
    const int panels = std::min(static_cast<int>(trend.series.size()), kMostPanels);
    const double height = panels < 4 ? 190 : 130;
    double y = kTop;
    for (int i = 0; i < panels; ++i) {
        Panel(canvas, axis, trend.series[i], {kLeft, y, kLeft + kAreaWidth, y + height})
            .paint(i + 1 == panels);
        y += height + kBetween;
    }
    y -= kBetween;
    canvas.text({kLeft + kAreaWidth / 2, y + 42},
                axis.isZ() ? "scan position z, mm" : "number of the profile",
                "text-anchor=\"middle\" fill=\"#333\"");
    if (panels < trend.series.size())
        canvas.text({kLeft, y + 42}, QString("%1 more in the table").arg(trend.series.size() - panels),
                    "fill=\"#666\"");
    return canvas.document(kLeft + kAreaWidth + kFiguresWidth, y + kBottom);
}

}  // namespace KvMeasure
