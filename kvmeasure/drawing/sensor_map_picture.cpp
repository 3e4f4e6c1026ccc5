#include <kvmeasure/drawing/sensor_map_picture.h>

#include <kvmeasure/drawing/dimensions_p.h>
#include <kvmeasure/drawing/raster_picture_p.h>
#include <kvmeasure/drawing/sensor_map_picture_p.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMeasure {

namespace {

constexpr double kLeft = 84;
constexpr double kTop = 96;
constexpr double kWidth = 648;  // a pixel per sensor column
constexpr double kHeight = 488;
constexpr double kPanelHeight = kHeight + 120;

Raster emptyRaster(int rows) {
    Raster raster;
    raster.columns = KvMath::kSensorColumns;
    raster.rows = rows;
    raster.values.assign(static_cast<std::size_t>(rows) * std::size_t{KvMath::kSensorColumns},
                         std::numeric_limits<float>::quiet_NaN());
    return raster;
}

void drawPanel(Canvas& canvas, double y, const SensorMap& map) {
    constexpr int kMostCells = 40'000;
    const Rect area{kLeft, y, kLeft + kWidth, y + kHeight};
    ColourScale scale;
    scale.unit = map.unit;
    double least = std::numeric_limits<double>::infinity(), greatest = -least;
    for (const float value : map.raster.values) {
        least = std::fmin(least, static_cast<double>(value));
        greatest = std::fmax(greatest, static_cast<double>(value));
    }
    const bool isEmpty = !(least <= greatest);
    scale.from = isEmpty ? 0 : least;
    scale.to = isEmpty || !(greatest > least) ? scale.from + 1 : greatest;
    drawRaster(canvas, area, thinned(map.raster, kMostCells), scale);
    drawSensorAxes(canvas, area, map.rows, map.down);
    drawColourScale(canvas, {area.right + 24, area.top + 20, area.right + 44, area.bottom}, scale);
    canvas.text({area.left, area.top - 12}, isEmpty ? map.heading + ": no value" : map.heading,
                "font-weight=\"bold\" fill=\"#111\"");
}

}  // namespace

void drawSensorAxes(Canvas& canvas, const Rect& area, int rows, const QString& name) {
    constexpr int kStep = 100;
    for (int column = 0; column < KvMath::kSensorColumns; column += kStep) {
        const double x = area.left + area.width() * column / KvMath::kSensorColumns;
        canvas.line({x, area.bottom}, {x, area.bottom + 5}, stroke("#333", 1));
        canvas.text({x, area.bottom + 20}, QString::number(column), "text-anchor=\"middle\" fill=\"#333\"");
    }
    for (int row = 0; row < rows; row += kStep) {
        const double y = area.top + area.height() * row / rows;
        canvas.line({area.left - 5, y}, {area.left, y}, stroke("#333", 1));
        canvas.text({area.left - 9, y + 4.5}, QString::number(row), "text-anchor=\"end\" fill=\"#333\"");
    }
    canvas.text({(area.left + area.right) / 2, area.bottom + 40}, "sensor column",
                "text-anchor=\"middle\" fill=\"#333\"");
    canvas.raw(QString("<text transform=\"translate(30,%1) rotate(-90)\" text-anchor=\"middle\" "
                       "fill=\"#333\">")
                   .arg((area.top + area.bottom) / 2, 0, 'f', 1) +
               name.toHtmlEscaped() + "</text>");
}

QList<SensorMap> sensorMapsOf(const PixelTable& table) {
    QList<SensorMap> maps;
    for (const Half half : {Half::Z, Half::X}) {
        SensorMap map;
        map.heading = half == Half::Z ? "Z" : "X";
        map.unit = "units";
        map.down = "sensor row";
        map.raster = emptyRaster(table.rows());
        for (int row = 0; row < table.rows(); ++row) {
            for (int column = 0; column < PixelTable::kColumns; ++column)
                map.raster.values[map.raster.cell(column, row)] =
                    static_cast<float>(table.value(half, row, column, KvMath::kUnitsPerRange));
        }
        maps.append(map);
    }
    return maps;
}

QList<SensorMap> sensorMapsOf(const RawRecord& record) {
    SensorMap map;
    map.heading = "Place of the line";
    map.unit = "sensor row";
    map.down = "step";
    map.rows = KvMath::kCalibrationSteps;
    map.raster = emptyRaster(map.rows);
    for (std::size_t i = 0; i < record.positions.size(); ++i) {
        const int position = record.positions[i];
        const int column = static_cast<int>(i / KvMath::kCalibrationSteps);
        const int step = static_cast<int>(i % KvMath::kCalibrationSteps);
        if (position > 0 && position < KvMath::kSensorPositions && column < map.raster.columns)
            map.raster.values[map.raster.cell(column, step)] =
                static_cast<float>(position / double(KvMath::kPositionsPerRow));
    }
    return {map};
}

QByteArray drawSensorMaps(const QString& title, const QList<SensorMap>& maps) {
    Canvas canvas;
    canvas.text({kLeft, 32}, title, "font-size=\"18\" font-weight=\"bold\" fill=\"#111\"");
    canvas.text({kLeft, 52}, "grey: no value", "font-size=\"12\" fill=\"#666\"");
    for (int i = 0; i < static_cast<int>(maps.size()); ++i)
        drawPanel(canvas, kTop + i * kPanelHeight, maps[i]);
    return canvas.document(kLeft + kWidth + 130, kTop + static_cast<double>(maps.size()) * kPanelHeight - 40);
}

}  // namespace KvMeasure
