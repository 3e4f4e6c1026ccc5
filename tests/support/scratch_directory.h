#pragma once
// A directory that is current while the object lives, for what is written into the current directory.

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

namespace TestSupport {

struct ScratchDirectory {
    const QString before = QDir::currentPath();
    const QTemporaryDir directory;
    ScratchDirectory() { QDir::setCurrent(directory.path()); }
    ~ScratchDirectory() { QDir::setCurrent(before); }

    /// All bytes of a file in the current directory, or "none".
    static QByteArray read(const char* name) {
        QFile file(QString::fromLatin1(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("none");
    }
};

}  // namespace TestSupport
