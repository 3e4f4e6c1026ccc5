#pragma once
// Files of a fuzz target, in a directory of its own that goes with the process.

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

namespace Fuzz {

inline QString scratchPath(const QString& name) {
    static const QTemporaryDir directory;
    return directory.filePath(name);
}

/// Path of a file that now holds these bytes and no others.
inline QString scratchFile(const QString& name, const QByteArray& bytes) {
    QFile file(scratchPath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("scratch file not written");
    return file.fileName();
}

inline QByteArray scratchBytes(const QString& name) {
    QFile file(scratchPath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace Fuzz
