// One raster with the means of the deviations in square cells, a pass over the points. Cells are not finer
// than a pixel, nor than a third more than the distances of the points, so that a whole scan has no empty
// ones.

#include <kvmeasure/drawing/deviation_map.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/axes_p.h>
#include <kvmeasure/drawing/deviation_scale_p.h>
#include <kvmeasure/scans/scan_rows_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kLeft = 84;  // pixels; room for the axis along the scan
constexpr double kTop = 124;
constexpr double kBottom = 64;
constexpr double kWidest = 900;
constexpr double kHighest = 900;
constexpr double kBarGap = 24;
constexpr double kBarMargin = 24;
constexpr double kBarWidth = 22;
constexpr double kLeastTextWidth = 640;
constexpr double kUpwards = -1.5707963267948966;

/// Places of the points seen from above, mm.
Rect extentOf(const DeviationMap& map) {
    Rect extent{0, 0, 0, 0};
    bool isFirst = true;
    Internal::forEachDeviation(map, [&](const SpaceVector& p, float) {
        if (isFirst)
            extent = {p.x, p.z, p.x, p.z};
        isFirst = false;
        extent = {std::min(extent.left, p.x), std::min(extent.top, p.z), std::max(extent.right, p.x),
                  std::max(extent.bottom, p.z)};
    });
    return extent;
}

/// The whole extent with a little room around, at equal scale.
Projection projectionOf(const Rect& extent) {
    constexpr double kRoom = 0.02;
    constexpr double kLeast = 1e-3;  // of the longer side, for points on a line
    const double longer = std::max({extent.width(), extent.height(), 1e-3});
    const double width = std::max(extent.width(), kLeast * longer) + 2 * kRoom * longer;
    const double height = std::max(extent.height(), kLeast * longer) + 2 * kRoom * longer;
    Projection view;
    view.scaleX = view.scaleY = std::min(kWidest / width, kHighest / height);
    view.origin = Vector(extent.left - kRoom * longer, extent.top - kRoom * longer);
    view.area = {kLeft, kTop, kLeft + width * view.scaleX, kTop + height * view.scaleY};
    return view;
}

class MapPainter {
public:
    explicit MapPainter(const DeviationMap& map)
        : map_(map), result_(*map.comparison), scale_(Internal::deviationScale(map)),
          drawing_(withRoomForNumbers(projectionOf(extentOf(map)))) {}
    QByteArray paint();

private:
    void drawDeviations();
    void drawExtreme(const ScanDeviation& extreme, double side);
    QStringList headLines() const;

    const DeviationMap& map_;
    const ScanComparison& result_;
    ColourScale scale_;
    Drawing drawing_;
};

void MapPainter::drawDeviations() {
    constexpr double kWider = 1.34;  // than the point distances
    const Projection& view = drawing_.view;
    const Internal::ScanRows rows(*map_.scan);
    const auto cells = [](double pixels, double mm, double step) {
        return static_cast<int>(std::max(1.0, std::min(pixels, mm / (kWider * step))));
    };
    Raster raster;
    raster.columns = cells(view.area.width(), view.area.width() / view.scaleX, rows.stepX);
    raster.rows = cells(view.area.height(), view.area.height() / view.scaleY, rows.stepZ);
    std::vector<double> sums(std::size_t(raster.columns) * std::size_t(raster.rows));
    std::vector<int> counts(sums.size());
    raster.outside.assign(sums.size(), true);
    Internal::forEachDeviation(map_, [&](const SpaceVector& p, float deviation) {
        const Vector pixel = view.toPixel({p.x, p.z});
        const double column = (pixel.x - view.area.left) / view.area.width() * raster.columns;
        const double row = (pixel.y - view.area.top) / view.area.height() * raster.rows;
        const auto at = raster.cell(std::clamp(static_cast<int>(column), 0, raster.columns - 1),
                                    std::clamp(static_cast<int>(row), 0, raster.rows - 1));
        raster.outside[at] = false;
        if (std::isnan(deviation))
            return;
        sums[at] += double(deviation);
        ++counts[at];
    });
    raster.values.reserve(sums.size());
    for (std::size_t i = 0; i < sums.size(); ++i)
        raster.values.push_back(static_cast<float>(sums[i] / counts[i]));  // NaN for none
    drawRaster(drawing_.canvas, view.area, raster, scale_);
}

void MapPainter::drawExtreme(const ScanDeviation& extreme, double side) {
    if (extreme.number < 0)
        return;
    const bool isOutside = extreme.value < map_.lower || extreme.value > map_.upper;
    const QString colour = isOutside ? badColour : measureColour;
    const Vector at = drawing_.view.toPixel({extreme.point.x, extreme.point.z});
    drawing_.canvas.circle(at, 6, "fill=\"none\" " + stroke(colour, 1.8));
    drawLabel(drawing_, at, (extreme.value > 0 ? "+" : "") + mm(extreme.value) + " mm", colour, side,
              /*isFilled=*/true);
}

QStringList MapPainter::headLines() const {
    if (!result_.isValid())
        return {"NOT COMPARED: " + result_.reason};
    QStringList lines;
    QString figures = filledIn("largest %1, smallest %2, rms %3 mm", mm(result_.largest.value),
                               mm(result_.smallest.value), mm(result_.rms));
    if (!std::isnan(result_.shareOutside))
        figures += filledIn("; %1 outside the limits", percent(result_.shareOutside, 1));
    lines.append(figures);
    lines.append("blue: below the master, red: above; grey: not compared");
    QStringList free;
    for (const SpaceMotionPart& part : result_.registration.parts) {
        if (part.isFree)
            free.append(part.isTurn
                            ? filledIn("turn about (%1, %2, %3)", QString::number(part.direction.x, 'f', 2),
                                       QString::number(part.direction.y, 'f', 2),
                                       QString::number(part.direction.z, 'f', 2))
                            : part.text());
    }
    if (!free.isEmpty())
        lines.append("not determined: " + free.join("; "));
    return lines;
}

QByteArray MapPainter::paint() {
    constexpr double kSmall = 13;
    drawDeviations();
    drawScanAxes(drawing_.canvas, drawing_.view);
    const Rect& area = drawing_.view.area;
    Canvas& canvas = drawing_.canvas;
    canvas.text({area.left, 32}, map_.title, "font-size=\"20\" font-weight=\"bold\" fill=\"#111\"");
    double y = 36;
    double textEnd = area.left + kLeastTextWidth;
    for (const QString& line : headLines()) {
        y += 18;
        canvas.text({area.left, y}, line, "fill=\"#555\"");
        textEnd = std::max(textEnd, area.left + textWidth(line, kSmall));
    }
    drawExtreme(result_.largest, kUpwards);
    drawExtreme(result_.smallest, -kUpwards);
    drawColourScale(
        canvas, {area.right + kBarGap, area.top + 20, area.right + kBarGap + kBarWidth, area.bottom}, scale_);
    const double scaleEnd = area.right + kBarGap + kBarMargin +
                            std::max(kBarWidth + numbersWidth(scale_), textWidth(scale_.unit, kSmall));
    return canvas.document(std::max(scaleEnd, textEnd), area.bottom + kBottom);
}

}  // namespace

QByteArray drawDeviationMap(const DeviationMap& map) {
    if (map.scan != nullptr && map.comparison != nullptr && !map.comparison->deviations.empty())
        return MapPainter(map).paint();
    Canvas canvas;
    canvas.text({kLeft, 32}, map.title, "font-size=\"20\" font-weight=\"bold\" fill=\"#111\"");
    return canvas.document(kLeft + kLeastTextWidth, kTop);
}

}  // namespace KvMeasure
