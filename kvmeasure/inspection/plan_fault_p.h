#pragma once
// Why the library does not take a constraint or a measurement of a template document.

#include <QtCore/QVariant>

namespace KvMeasure::Internal {

/// What is wrong with a constraint that cannot be loaded into a template of so many lines.
QString constraintFault(const QVariantMap& entry, int lines);

/// Says which key of a constraint or measurement names a line that a template of so many lines lacks. Empty
/// where none does.
QString foreignLine(const QVariantMap& entry, int lines);

/// What is wrong with a measurement that cannot be loaded.
QString measurementFault(const QVariantMap& entry);

}  // namespace KvMeasure::Internal
