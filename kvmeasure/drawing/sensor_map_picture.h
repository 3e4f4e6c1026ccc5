#pragma once
// What a calibration file holds, over the sensor, as a picture.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/raster.h>
#include <kvmeasure/calibration/table.h>

#include <QtCore/QByteArray>

namespace KvMeasure {

/// Values over the columns of the sensor.
struct SensorMap {
    QString heading;                 ///< e.g. "Z"
    QString unit;                    ///< of the values
    QString down;                    ///< what the rows are, e.g. "sensor row"
    int rows = KvMath::kSensorRows;  ///< of these, from 0 at the top
    Raster raster;                   ///< NaN where there is no value; a whole number of its rows for each
};

/// Z and X of a table, in table units.
KVMEASURE_EXPORT QList<SensorMap> sensorMapsOf(const PixelTable& table);

/// The sensor row of the line over the steps of a record; none where it was not found, or beyond the sensor.
KVMEASURE_EXPORT QList<SensorMap> sensorMapsOf(const RawRecord& record);

/// An SVG document with the maps, one below the other, with their colour scales. Without maps: the title.
KVMEASURE_EXPORT QByteArray drawSensorMaps(const QString& title, const QList<SensorMap>& maps);

}  // namespace KvMeasure
