#pragma once
// The results of a pass as text, CSV, JSON and binary records.

#include "kvmeasure/wheel_pass.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>

namespace KvMeasure {

/// Which results a report has.
struct WheelColumns {
    bool hasSections = false, hasDistances = false, hasDefects = false;
};

QString wheelTable(const QList<WheelsetResult>& wheelsets, const WheelColumns& columns);
QByteArray wheelCsv(const QList<WheelsetResult>& wheelsets, const WheelColumns& columns);
QJsonObject wheelJson(const WheelPass& pass, const WheelColumns& columns);
/// _WheelProfileValues of each wheelset, left and right: 178 bytes.
QByteArray wheelRecords(const QList<WheelsetResult>& wheelsets);

/// The values of one section as JSON.
QJsonObject wheelValuesJson(const KvMath::_WheelProfileValues& values);
/// Names of the kinds of wheels, in the order of _WheelProfileValues::wheelType.
QStringList wheelKinds();

/// Recordings and their runs.
QString runTable(const WheelPass& pass);

}  // namespace KvMeasure
