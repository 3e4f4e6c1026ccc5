#pragma once
// Rows of comma-separated values.

#include <kvmeasure/base/global.h>

#include <QtCore/QByteArray>
#include <QtCore/QStringList>

namespace KvMeasure {

/// The fields on one line, with its end. A field with a comma or a quotation mark, and a first field that
/// begins as a comment does, stands in quotation marks; control characters are shown as escapes.
KVMEASURE_EXPORT QString csvRow(QStringList fields);

/// The fields of such a line, with or without its end.
KVMEASURE_EXPORT QList<QByteArray> csvFields(const QByteArray& line);

}  // namespace KvMeasure
