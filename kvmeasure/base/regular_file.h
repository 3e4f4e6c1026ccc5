#pragma once
// Opening files to be read: regular ones, and standard input as one.

#include <kvmeasure/base/global.h>

#include <QtCore/QFile>
#include <QtCore/QString>

#include <memory>

namespace KvMeasure {

/// Opens the file for reading; "-" is standard input, which is read whole, at most 1 GB, and gets another
/// name. Throws Error with file() for what is missing, a directory, no regular file or may not be read.
KVMEASURE_EXPORT void openRegularFile(QFile& file);
KVMEASURE_EXPORT std::shared_ptr<QFile> openedFile(const QString& path);  ///< the same, of that name

}  // namespace KvMeasure
