#pragma once
// The picture of a wheel's circumference.

#include <kvmeasure/base/global.h>
#include <kvmeasure/wheels/circumference.h>

#include <QtCore/QByteArray>

namespace KvMeasure {

/// An SVG document: deviations from the mean circle over the angle, with the flats marked and named, above
/// the amplitudes of the harmonics from order 2 on. Without deviations: axes alone.
KVMEASURE_EXPORT QByteArray drawCircumference(const Circumference& wheel, const QString& title,
                                              const QString& subtitle);

}  // namespace KvMeasure
