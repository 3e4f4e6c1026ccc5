#pragma once
// What a calibration file holds, as rows of a table and as JSON.

#include <kvmeasure/base/global.h>
#include <kvmeasure/calibration/table.h>

#include <QtCore/QJsonObject>
#include <QtCore/QStringList>

namespace KvMeasure {

/// Rows "what, value", and the same under the keys of "calibrate info" (docs/formats.md).
struct CalibrationFacts {
    QList<QStringList> rows;  ///< in their order
    QJsonObject json;         ///< with "form"
};

/// What a raw record holds: how many positions, where, and the z of its ends.
KVMEASURE_EXPORT CalibrationFacts factsOf(const RawRecord& record);

/// What a table holds: filled cells, and their columns, sensor rows and values, for ranges in mm or, with
/// KvMath::kUnitsPerRange, in table units. `hasGradient`: of a full table also the steepest and flattest mm
/// per sensor row.
KVMEASURE_EXPORT CalibrationFacts factsOf(PixelTable& table, double zRange, double xRange, bool hasGradient);

}  // namespace KvMeasure
