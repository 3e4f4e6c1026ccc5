#include "kvmeasure/calibration_check.h"

#include "kvmeasure/plot_marks.h"

#include <cmath>

namespace KvMeasure {

namespace {

constexpr double micrometres = 1000;  // per mm
constexpr double left = 84;
constexpr double top = 96;
constexpr double width = 648;  // a pixel per sensor column
constexpr double height = 488;
constexpr double panelHeight = height + 120;
constexpr int mostCells = 40'000;

/// The next 1, 2 or 5 times a power of ten.
double roundedUp(double value) {
    if (!(value > 0))
        return 1;
    const double power = std::pow(10.0, std::floor(std::log10(value)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (value <= factor * power)
            return factor * power;
    }
    return 10 * power;
}

QString um(double mm) { return QString::number(mm * micrometres, 'f', std::abs(mm) < 0.1 ? 1 : 0); }

void drawAxes(Canvas& canvas, const Rect& area) {
    constexpr int step = 100;
    for (int column = 0; column < KvMath::kSensorColumns; column += step) {
        const double x = area.left + area.width() * column / KvMath::kSensorColumns;
        canvas.line({x, area.bottom}, {x, area.bottom + 5}, stroke("#333", 1));
        canvas.text({x, area.bottom + 20}, QString::number(column), "text-anchor=\"middle\" fill=\"#333\"");
    }
    for (int row = 0; row < KvMath::kSensorRows; row += step) {
        const double y = area.top + area.height() * row / KvMath::kSensorRows;
        canvas.line({area.left - 5, y}, {area.left, y}, stroke("#333", 1));
        canvas.text({area.left - 9, y + 4.5}, QString::number(row), "text-anchor=\"end\" fill=\"#333\"");
    }
    canvas.text({(area.left + area.right) / 2, area.bottom + 40}, "sensor column",
                "text-anchor=\"middle\" fill=\"#333\"");
    canvas.raw(QString("<text transform=\"translate(30,%1) rotate(-90)\" text-anchor=\"middle\" "
                       "fill=\"#333\">sensor row</text>")
                   .arg((area.top + area.bottom) / 2, 0, 'f', 1));
}

void drawRegions(Canvas& canvas, const Rect& area, const ErrorMap& map) {
    for (int i = 0; i < regionsAcross * regionsAcross; ++i) {
        const ErrorStatistics& region = map.regions[static_cast<std::size_t>(i)];
        const double x = area.left + area.width() * (i % regionsAcross) / regionsAcross;
        const int down = i / regionsAcross;
        const double y = area.top + area.height() * down / regionsAcross;
        const Rect cell{x, y, x + area.width() / regionsAcross, y + area.height() / regionsAcross};
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
    const Rect area{left, y, left + width, y + height};
    Raster raster = thinned(map.raster, mostCells);
    for (float& value : raster.values)
        value *= static_cast<float>(micrometres);
    const double limit = roundedUp(map.all.percentile95 * micrometres);
    const ColourScale scale{ColourScale::Kind::Diverging, -limit, limit, "µm",
                            std::fabs(map.all.worst) * micrometres > limit};
    drawRaster(canvas, area, raster, scale);
    drawRegions(canvas, area, map);
    drawAxes(canvas, area);
    drawColourScale(canvas, {area.right + 24, area.top + 20, area.right + 44, area.bottom}, scale);
    QString head = QString("%1: RMS %2 µm, 95 % within %3 µm, worst %4 µm")
                       .arg(map.half == Half::Z ? "Z" : "X", um(map.all.rms), um(map.all.percentile95),
                            um(map.all.worst));
    canvas.text({area.left, area.top - 12}, head, "font-weight=\"bold\" fill=\"#111\"");
}

}  // namespace

QByteArray drawErrorMaps(const QString& title, const QString& reference, const QList<ErrorMap>& maps) {
    Canvas canvas;
    canvas.text({left, 32}, title + ", errors against " + reference,
                "font-size=\"18\" font-weight=\"bold\" fill=\"#111\"");
    canvas.text({left, 54}, "grey: measured, but empty in the table; white: outside the measured area",
                "font-size=\"12\" fill=\"#666\"");
    for (int i = 0; i < maps.size(); ++i)
        drawPanel(canvas, top + i * panelHeight, maps[i]);
    return canvas.document(left + width + 130, top + static_cast<double>(maps.size()) * panelHeight - 40);
}

}  // namespace KvMeasure
