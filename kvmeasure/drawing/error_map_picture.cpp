#include <kvmeasure/drawing/error_map_picture.h>

#include <kvmeasure/drawing/raster_picture_p.h>
#include <kvmeasure/drawing/sensor_map_picture_p.h>

#include <kvmeasure/drawing/dimensions_p.h>

#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kMicrometres = 1000;  // per mm
constexpr double kLeft = 84;
constexpr double kTop = 108;
constexpr double kWidth = 648;  // a pixel per sensor column
constexpr double kHeight = 488;
constexpr double kPanelHeight = kHeight + 120;
constexpr int kMostCells = 40'000;

/// Two digits of a value, rounded up.
double roundedUp(double value) {
    if (!(value > 0))
        return 1;
    const double unit = std::pow(10.0, std::floor(std::log10(value)) - 1);
    constexpr double kRounding = 1e-9;
    return std::ceil(value / unit - kRounding) * unit;
}

QString um(double mm) { return QString::number(mm * kMicrometres, 'f', std::abs(mm) < 0.1 ? 1 : 0); }

void drawRegions(Canvas& canvas, const Rect& area, const ErrorMap& map) {
    for (int i = 0; i < kRegionsAcross * kRegionsAcross; ++i) {
        const ErrorStatistics& region = map.regions[static_cast<std::size_t>(i)];
        const double x = area.left + area.width() * (i % kRegionsAcross) / kRegionsAcross;
        const int down = i / kRegionsAcross;
        const double y = area.top + area.height() * down / kRegionsAcross;
        const Rect cell{x, y, x + area.width() / kRegionsAcross, y + area.height() / kRegionsAcross};
        canvas.rect(cell, "fill=\"none\" " + stroke("#333", 0.5, "stroke-dasharray=\"4 4\""));
        if (region.count == 0)
            continue;
        const QString text = "RMS " + um(region.rms) + " µm";
        const double half = textWidth(text, 12) / 2 + 4;
        const Vector centre = {(cell.left + cell.right) / 2, (cell.top + cell.bottom) / 2};
        canvas.rect({centre.x - half, centre.y - 11, centre.x + half, centre.y + 9},
                    "fill=\"white\" fill-opacity=\"0.85\" rx=\"3\"");
        canvas.text({centre.x, centre.y + 4}, text, "text-anchor=\"middle\" font-size=\"12\" fill=\"#111\"");
    }
}

void drawPanel(Canvas& canvas, double y, const ErrorMap& map) {
    const Rect area{kLeft, y, kLeft + kWidth, y + kHeight};
    Raster raster = thinned(map.raster, kMostCells);
    for (float& value : raster.values)
        value *= static_cast<float>(kMicrometres);
    const double limit = roundedUp(map.all.percentile95 * kMicrometres);
    const ColourScale scale{ColourScale::Kind::Diverging, -limit, limit, "µm",
                            std::fabs(map.all.worst) * kMicrometres > limit};
    drawRaster(canvas, area, raster, scale);
    drawRegions(canvas, area, map);
    drawSensorAxes(canvas, area, KvMath::kSensorRows, "sensor row");
    drawColourScale(canvas, {area.right + 24, area.top + 20, area.right + 44, area.bottom}, scale);
    QString head = QString("%1: RMS %2 µm, 95 % within %3 µm, worst %4 µm")
                       .arg(map.half == Half::Z ? "Z" : "X", um(map.all.rms), um(map.all.percentile95),
                            um(map.all.worst));
    canvas.text({area.left, area.top - 12}, head, "font-weight=\"bold\" fill=\"#111\"");
}

}  // namespace

QByteArray drawErrorMaps(const QString& title, const QString& reference, const QList<ErrorMap>& maps) {
    Canvas canvas;
    canvas.text({kLeft, 32}, title + ", errors against " + reference,
                "font-size=\"18\" font-weight=\"bold\" fill=\"#111\"");
    const QString small = "font-size=\"12\" fill=\"#666\"";
    canvas.text({kLeft, 52}, "grey: measured, but empty in the table; white: outside the measured area",
                small);
    canvas.text({kLeft, 68}, "the colours span the errors of 95 % of the cells, both ways from 0", small);
    for (int i = 0; i < maps.size(); ++i)
        drawPanel(canvas, kTop + i * kPanelHeight, maps[i]);
    return canvas.document(kLeft + kWidth + 130, kTop + static_cast<double>(maps.size()) * kPanelHeight - 40);
}

}  // namespace KvMeasure
