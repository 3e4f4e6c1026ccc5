#pragma once
// What the test of samples/formats goes through: the formats, who writes them, and what their files hold.

#include <gtest/gtest.h>

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QString>

#include <sstream>
#include <string>
#include <vector>

namespace Golden {

/// A file that a version of the library wrote, or read.
struct File {
    const char* name;   ///< in samples/formats
    const char* facts;  ///< what is read from it
};

/// A form of files.
struct Format {
    /// Writes a new file with the content of the newest one. Null: the library only reads this form.
    void (*write)(const QString& path);
    std::string (*facts)(const QString& path);  ///< reads a file
    std::vector<File> files;                    ///< one for each version, oldest first
};

std::vector<Format> pointFormats();   ///< points, profiles, scans, calibration
std::vector<Format> resultFormats();  ///< templates, plans, results, stores, files of wheels

inline QByteArray bytesOf(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

inline void put(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size()) << path.toStdString();
}

template <class... Part>
std::string text(const Part&... parts) {
    std::ostringstream stream;
    (stream << ... << parts);
    return stream.str();
}
inline std::string words(const QString& string) { return string.toStdString(); }

/// Of what is written for others, and not read here.
inline std::string sizeFacts(const QString& path) {
    const QByteArray bytes = bytesOf(path);
    return text(bytes.size(), " bytes, ", bytes.count('\n'), " lines");
}

/// A large file is kept as qCompress packs it: its size, 4 bytes big-endian, and a zlib stream. The path of
/// the plain one, in the current folder.
inline QString unpacked(const QString& path) {
    const QString plain = QFileInfo(path).completeBaseName();
    put(plain, qUncompress(bytesOf(path)));
    return plain;
}

}  // namespace Golden
