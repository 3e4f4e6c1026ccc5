#pragma once
// A directory that is current while the object lives, for what is written into the current directory.

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

namespace TestSupport {

struct ScratchDirectory {
    const QString before = QDir::currentPath();
    const QTemporaryDir directory;
    ScratchDirectory() { QDir::setCurrent(directory.path()); }
    ~ScratchDirectory() { QDir::setCurrent(before); }

    /// All bytes of a file in the current directory, or "none".
    static QByteArray read(const QString& name) {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("none");
    }

    /// Name of a file in the current directory that now holds these bytes and no others.
    static QString write(const QString& name, const QByteArray& bytes) {
        QFile file(name);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        return name;
    }
};

}  // namespace TestSupport
