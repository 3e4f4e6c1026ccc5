#pragma once
// Output files that are either complete or not touched.

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace KvMeasure {

/// Writes to a temporary name beside `path` and renames it when everything is on the disk, so that whatever
/// stops the program leaves an older file whole. Throws Failure, also for a path that is no regular file.
void writeOutputFile(const QString& path, const QByteArray& content);

}  // namespace KvMeasure
