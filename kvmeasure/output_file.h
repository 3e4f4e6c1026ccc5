#pragma once
// Output files that are either complete or not touched.

#include <QtCore/QByteArray>
#include <QtCore/QSaveFile>
#include <QtCore/QString>
#include <QtCore/QStringList>

namespace KvMeasure {

/// Collects a file under a temporary name beside `path` and renames it on commit, when everything is on the
/// disk, so that whatever stops the program leaves an older file whole. Throws Failure, also for a path that
/// is no regular file.
class OutputFile {
public:
    explicit OutputFile(const QString& path);
    void write(const QByteArray& content);
    void commit();

private:
    [[noreturn]] void fail() const;

    QString path_;
    QSaveFile file_;
};

void writeOutputFile(const QString& path, const QByteArray& content);

/// `path` with "-part" before its suffix, for one file of several.
QString partPath(const QString& path, const QString& part);

/// True when both name the same existing file, or the same place.
bool isSameFile(const QString& path, const QString& other);

/// Throws Failure when an output is one of the inputs or another output. Empty names are none.
void refuseOverwriting(const QStringList& outputs, const QStringList& inputs);

/// Numbers as records and PLY hold them.
void appendLittleEndian(QByteArray& bytes, float value);
void appendLittleEndian(QByteArray& bytes, quint32 value, int size);

}  // namespace KvMeasure
