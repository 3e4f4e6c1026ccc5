// A scan from above: heights as colours, outline and lines over them. Cells smaller than a pixel are joined
// to means. The colours span the heights between the lowest and the highest half per cent, so that stray
// points do not take them. Linear in the cells.
#include <kvmeasure/drawing/scan_picture.h>

#include <kvmeasure/drawing/axes_p.h>
#include <kvmeasure/drawing/raster_picture_p.h>
#include <kvmeasure/scans/height_grid.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

using KvMath::KvMatrixCloud;

namespace {

constexpr double kLeft = 84;  // pixels; room for the axis along the scan
constexpr double kTop = 96;   // title and legend
constexpr double kBottom = 64;
constexpr double kWidest = 900;
constexpr double kHighest = 900;
constexpr double kBarGap = 24;
constexpr double kBarMargin = 12;
constexpr double kBarWidth = 22;
const QString edgeColour = "#FF8FA3";
const QString hullColour = "#FFFFFF";
const QString lineColour = "#D0006F";

/// The colours' ends: heights that all but a few are between, so that stray points do not take them.
ColourScale scaleOf(const KvMatrixCloud& grid) {
    ColourScale scale;
    scale.unit = "height, mm";
    std::vector<float> heights;
    for (const float height : grid.heights) {
        if (!std::isnan(height))
            heights.push_back(height);
    }
    if (heights.empty())
        return scale;
    const auto few = std::ptrdiff_t(heights.size() / 200);
    std::nth_element(heights.begin(), heights.begin() + few, heights.end());
    scale.from = double(heights[std::size_t(few)]);
    std::nth_element(heights.begin(), heights.end() - 1 - few, heights.end());
    scale.to = double(*(heights.end() - 1 - few));
    scale.to = std::max(scale.to, scale.from + std::max(1e-3, 1e-6 * std::fabs(scale.from)));
    return scale;
}

/// Cells around the grid that leave room for labels.
struct Room {
    int columns = 0, rows = 0;  // on each side

    explicit Room(const KvMatrixCloud& grid) {
        constexpr double kShare = 0.06;
        const double around =
            kShare * std::max(grid.columns * double(grid.stepX), grid.rows * double(grid.stepZ));
        const auto cells = [around](float step, int most) {
            return int(std::min(around / double(step), double(most))) + 1;
        };
        columns = cells(grid.stepX, kMostCells);
        rows = cells(grid.stepZ, kMostCells);
    }
    static constexpr int kMostCells = 1 << 24;
};

/// The grid with the room around at equal scale.
Projection projectionOf(const KvMatrixCloud& grid, const Room& room) {
    const double width = (double(grid.columns) + 2.0 * room.columns) * double(grid.stepX);
    const double height = (double(grid.rows) + 2.0 * room.rows) * double(grid.stepZ);
    Projection view;
    view.scaleX = view.scaleY = std::min(kWidest / width, kHighest / height);
    view.origin = Vector(double(grid.originX) - room.columns * double(grid.stepX),
                         double(grid.originZ) - room.rows * double(grid.stepZ));
    view.area = {kLeft, kTop, kLeft + width * view.scaleX, kTop + height * view.scaleY};
    return view;
}

class ScanPainter {
public:
    explicit ScanPainter(const ScanPicture& picture)
        : picture_(picture), room_(picture.grid), scale_(scaleOf(picture.grid)),
          drawing_(withRoomForNumbers(projectionOf(picture.grid, room_))) {}
    QByteArray paint();

private:
    void drawHeights();
    void drawScale();
    void drawOutline();
    void drawTexts(const QList<PlacedText>& texts, const QString& colour);
    void drawHeader();

    const ScanPicture& picture_;
    Room room_;
    ColourScale scale_;
    Drawing drawing_;
};

/// Cells, joined to means where they are smaller than pixels.
void ScanPainter::drawHeights() {
    const KvMatrixCloud& grid = picture_.grid;
    const Rect& area = drawing_.view.area;
    const qint64 allColumns = qint64(grid.columns) + 2 * room_.columns;
    const qint64 allRows = qint64(grid.rows) + 2 * room_.rows;
    Raster raster;
    raster.columns = int(std::min(allColumns, std::max(qint64(1), qint64(area.width()))));
    raster.rows = int(std::min(allRows, std::max(qint64(1), qint64(area.height()))));
    std::vector<double> sums(std::size_t(raster.columns) * std::size_t(raster.rows));
    std::vector<int> counts(sums.size());
    for (int row = 0; row < grid.rows; ++row) {
        const qint64 line = raster.rows - 1 - (qint64(row) + room_.rows) * raster.rows / allRows;
        for (int column = 0; column < grid.columns; ++column) {
            const float height = grid.height(row, column);
            if (std::isnan(height))
                continue;
            const qint64 place = (qint64(column) + room_.columns) * raster.columns / allColumns;
            const auto at = std::size_t(line * raster.columns + place);
            sums[at] += double(height);
            ++counts[at];
        }
    }
    for (std::size_t i = 0; i < sums.size(); ++i) {
        raster.values.push_back(static_cast<float>(sums[i] / counts[i]));  // NaN for none
        raster.outside.push_back(counts[i] == 0);
    }
    drawRaster(drawing_.canvas, area, raster, scale_);
}

void ScanPainter::drawScale() {
    const Rect& area = drawing_.view.area;
    drawColourScale(drawing_.canvas,
                    {area.right + kBarGap, area.top, area.right + kBarGap + kBarWidth, area.bottom}, scale_);
}

void ScanPainter::drawOutline() {
    drawDots(drawing_, picture_.edgePoints, edgeColour, 2);
    QList<Vector> places;
    for (const Vector& place : picture_.hull)
        places.append(drawing_.view.toPixel(place));
    if (!places.isEmpty()) {
        drawing_.canvas.polyline(places, stroke("#222", 2.6, "stroke-linejoin=\"round\""));
        drawing_.canvas.polyline(places, stroke(hullColour, 1.2, "stroke-linejoin=\"round\""));
    }
    for (const KvMath::LinePP& line : picture_.lines) {
        const Vector a = drawing_.view.toPixel(line.p1);
        const Vector b = drawing_.view.toPixel(line.p2);
        drawing_.canvas.line(a, b, stroke(lineColour, 2.6, "stroke-linecap=\"round\""));
        drawing_.canvas.circle(a, 3.2, QString("fill=\"%1\"").arg(lineColour));
        drawing_.canvas.circle(b, 3.2, QString("fill=\"%1\"").arg(lineColour));
        drawing_.placer.coverLine(a, b);
    }
}

void ScanPainter::drawTexts(const QList<PlacedText>& texts, const QString& colour) {
    for (const PlacedText& text : texts)
        drawLabel(drawing_, drawing_.view.toPixel(text.at), text.text, colour,
                  std::atan2(-text.towards.y, text.towards.x), /*isFilled=*/true);
}

void ScanPainter::drawHeader() {
    Canvas& canvas = drawing_.canvas;
    canvas.text({drawing_.view.area.left, 32}, picture_.title,
                "font-size=\"20\" font-weight=\"bold\" fill=\"#111\"");
    canvas.text({drawing_.view.area.left, 54}, picture_.subtitle, "fill=\"#555\"");
    double x = drawing_.view.area.left;
    const auto entry = [&](const QString& text, const QString& colour, double width, bool isShown) {
        if (!isShown)
            return;
        if (colour == hullColour)
            canvas.line({x, 72}, {x + 22, 72}, stroke("#222", width + 2));
        canvas.line({x, 72}, {x + 22, 72}, stroke(colour, width, "stroke-linecap=\"round\""));
        canvas.text({x + 28, 76.5}, text, "fill=\"#333\"");
        x += 28 + textWidth(text, 13) + 20;
    };
    entry("edge points", edgeColour, 4, !picture_.edgePoints.isEmpty());
    entry("hull", hullColour, 1.5, !picture_.hull.isEmpty());
    entry("lines", lineColour, 2.6, !picture_.lines.isEmpty());
}

QByteArray ScanPainter::paint() {
    drawHeights();
    drawScanAxes(drawing_.canvas, drawing_.view);
    drawHeader();
    drawOutline();
    drawTexts(picture_.angles, "#1D3557");
    drawTexts(picture_.lengths, lineColour);
    drawScale();
    const Rect& area = drawing_.view.area;
    return drawing_.canvas.document(area.right + kBarGap + kBarWidth + numbersWidth(scale_) + kBarMargin,
                                    area.bottom + kBottom);
}

}  // namespace

QByteArray drawScan(const ScanPicture& picture) {
    const KvMatrixCloud& grid = picture.grid;
    const bool isSet = grid.rows > 0 && grid.columns > 0 && grid.stepX > 0 && grid.stepZ > 0 &&
                       std::isfinite(grid.stepX + grid.stepZ + grid.originX + grid.originZ);
    if (isSet)
        return ScanPainter(picture).paint();
    ScanPicture empty = picture;
    empty.grid.resize(1, 1);
    empty.grid.originX = empty.grid.originZ = 0;
    empty.grid.stepX = empty.grid.stepZ = 1;
    return ScanPainter(empty).paint();
}

}  // namespace KvMeasure
