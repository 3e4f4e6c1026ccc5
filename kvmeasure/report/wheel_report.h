#pragma once
// The results of a pass as text, CSV, JSON and binary records, mm. docs/formats.md has their fields.

#include <kvmeasure/base/global.h>
#include <kvmeasure/wheels/pass.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>

namespace KvMeasure {

/// Which results a report has.
struct WheelColumns {
    bool hasSections = false;   ///< values of the sections
    bool hasDistances = false;  ///< distances from back to back
    bool hasDefects = false;    ///< breakouts
};

/// A text table, a row for each wheel, left before right, with its notes; "-" for a missing value. Without
/// wheelsets the heading alone.
KVMEASURE_EXPORT QString wheelTable(const QList<WheelsetResult>& wheelsets, const WheelColumns& columns);

/// The rows of wheelTable as CSV in UTF-8; a missing value is an empty cell.
KVMEASURE_EXPORT QByteArray wheelCsv(const QList<WheelsetResult>& wheelsets, const WheelColumns& columns);

/// Recordings, wheelsets and notes of a pass; a missing value is null.
KVMEASURE_EXPORT QJsonObject wheelJson(const WheelPass& pass, const WheelColumns& columns);

/// KvMath::_WheelProfileValues of each wheelset, left and right: 178 bytes each, little-endian; a missing
/// value is NaN.
KVMEASURE_EXPORT QByteArray wheelRecords(const QList<WheelsetResult>& wheelsets);

/// The values of one section as JSON, with kind, radius and how its flange back is known; a missing value is
/// null.
KVMEASURE_EXPORT QJsonObject wheelValuesJson(const WheelResult& wheel);

/// A nominal flange height for tables, mm; "-" when not known.
KVMEASURE_EXPORT QString nominalText(double nominal);

/// Names of the kinds of wheels, in the order of _WheelProfileValues::wheelType: basic, tram, loko.
KVMEASURE_EXPORT QStringList wheelKinds();

/// A text table of the recordings, their wheels, and the fewest and most profiles of one. Without recordings
/// the heading alone.
KVMEASURE_EXPORT QString runTable(const WheelPass& pass);

}  // namespace KvMeasure
