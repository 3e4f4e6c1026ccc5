#pragma once
// What was taken from a text, for those who look at it before they measure.

#include <kvmeasure/base/global.h>
#include <kvmeasure/profiles/profile_text.h>

#include <QtCore/QJsonObject>

namespace KvMeasure {

/// A line per fact: separator and decimal mark, x, height, unset values, lines without points. `options` are
/// those that the text was read with.
KVMEASURE_EXPORT QString takenText(const TextProfiles& text, const TextOptions& options);
/// What to do when the first column, taken as x without a name, counts the points; empty when it does not.
KVMEASURE_EXPORT QString countHint(const TextProfiles& text, const TextOptions& options);
/// The facts of takenText as JSON, null where there is none: encoding, separator, decimalMarks,
/// profilePerRow, x, height, pitch (mm), unset, passedOver, countsPoints. Columns count from 1.
KVMEASURE_EXPORT QJsonObject takenJson(const TextProfiles& text, const TextOptions& options);

}  // namespace KvMeasure
