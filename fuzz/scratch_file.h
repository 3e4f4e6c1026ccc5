#pragma once
// Files of a fuzz target, in a directory of its own that goes with the process; scripts/fuzz puts it into
// memory.

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

namespace Fuzz {

inline QString scratchPath(const QString& name) {
    static const QTemporaryDir directory;
    return directory.filePath(name);
}

inline QByteArray scratchBytes(const QString& name) {
    QFile file(scratchPath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// A file that stays open, so that the next input only takes the place of the last one.
class ScratchFile {
public:
    explicit ScratchFile(const char* name) : file_(scratchPath(name)) {
        if (!file_.open(QIODevice::ReadWrite | QIODevice::Unbuffered))
            qFatal("scratch file not opened");
    }
    /// Its path; it now holds these bytes and no others.
    QString with(const QByteArray& bytes) {
        if (!rewind() || file_.write(bytes) != bytes.size() || !cut())
            qFatal("scratch file not written");
        return file_.fileName();
    }
    QFile& device() { return file_; }  ///< for functions that take an open file
    bool rewind() { return file_.seek(0); }
    bool cut() { return file_.resize(file_.pos()); }  ///< ends where it was last written
    /// What stands from the beginning to where it was last written.
    QByteArray written() {
        const qint64 end = file_.pos();
        return rewind() ? file_.read(end) : QByteArray();
    }

private:
    QFile file_;
};

}  // namespace Fuzz
