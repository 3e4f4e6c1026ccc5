#pragma once
// The figures of error maps of a calibration table, as rows of tables and JSON. docs/formats.md has the keys.

#include <kvmeasure/base/global.h>
#include <kvmeasure/calibration/check.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QStringList>

namespace KvMeasure {

/// Heading of the table of a map; values are in micrometres.
KVMEASURE_EXPORT QStringList errorMapHead(const ErrorMap& map);

/// A row for the whole sensor, and one for each of its regions; "-" where one has no cells.
KVMEASURE_EXPORT QList<QStringList> errorMapRows(const ErrorMap& map);

/// The same, mm; of X with offset and slope.
KVMEASURE_EXPORT QJsonObject errorMapJson(const ErrorMap& map);

/// Heading of the table of single cells.
KVMEASURE_EXPORT QStringList cellSampleHead();

/// A row for each cell beside the truth, mm; "-" where it is not filled.
KVMEASURE_EXPORT QList<QStringList> cellSampleRows(const QList<CellSample>& samples);

/// The same; null where a cell is not filled.
KVMEASURE_EXPORT QJsonArray cellSamplesJson(const QList<CellSample>& samples);

/// A length in mm as micrometres with two decimals.
KVMEASURE_EXPORT QString micrometres(double value);

}  // namespace KvMeasure
