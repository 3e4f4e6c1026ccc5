#pragma once
// Error maps of a calibration table as a picture.

#include <kvmeasure/base/global.h>
#include <kvmeasure/calibration/check.h>

#include <QtCore/QByteArray>

namespace KvMeasure {

/// An SVG document with error maps against a reference, one below the other, with their colour scales, in
/// micrometres, and the RMS of each region. Without maps: the title alone.
KVMEASURE_EXPORT QByteArray drawErrorMaps(const QString& title, const QString& reference,
                                          const QList<ErrorMap>& maps);

}  // namespace KvMeasure
