#pragma once
// Output files that are either complete or not touched.

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QSaveFile>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <kvmeasure/base/global.h>

namespace KvMeasure {

/// A file that appears whole, or not at all. It is collected without a name in the directory of `path` and
/// gets its name on commit, when everything is on the disk. What ends before that, by an error, by leaving
/// the scope or with the program, leaves an older file as it was. A program that is killed may leave a file
/// of another name beside it: always where the file system has no files without a name, else only if it is
/// killed while an older file is replaced.
///
///     OutputFile file(path);  // refuses what cannot be written before anything is computed
///     file.write(head);
///     file.write(points);
///     file.commit();          // without it there is no file
///
/// All of its functions throw Error with file() `path` and the reason that the system gives.
class KVMEASURE_EXPORT OutputFile {
public:
    /// Begins a file; a link is followed. Throws Error for a name that is empty, too long or a spreadsheet's
    /// (.xlsx, .xls, .ods), for what is there and no regular file, for a file or directory that may not be
    /// written, and for a directory that is not there.
    explicit OutputFile(const QString& path);
    void write(const QByteArray& content);  ///< appends; throws Error where the disk is full
    /// Gives the file its name, in place of an older one, whose permissions it takes over. Once, as the last
    /// call. Throws Error; an older file then stays.
    void commit();

private:
    bool openUnnamed();
    bool nameUnnamed();
    [[noreturn]] void fail() const;

    QString path_;
    QString target_;  ///< path_, or the place that a link of this name points to
    QFile unnamed_;
    QSaveFile named_;  ///< in place of unnamed_ where the file system has no files without a name
    QFileDevice* file_ = nullptr;
};

/// Writes a whole file by way of OutputFile. Throws Error with its name.
KVMEASURE_EXPORT void writeOutputFile(const QString& path, const QByteArray& content);

/// `path` with '-' and `part` before its suffix, for one file of several: "a.svg" and "left" give
/// "a-left.svg". Without a suffix they stand at the end.
KVMEASURE_EXPORT QString partPath(const QString& path, const QString& part);

/// Name of the file without directory and last suffix, as it is put into the names of outputs; that of
/// ".csv" is whole.
KVMEASURE_EXPORT QString stemOf(const QString& path);

/// The place that a name means, as an absolute path: links followed, as far as it exists. Not for an empty
/// name.
KVMEASURE_EXPORT QString placeOf(const QString& path);

/// True when both names mean one place, there or not. Two hard links of a file are two places.
KVMEASURE_EXPORT bool isSameFile(const QString& path, const QString& other);

/// Throws Error with the name of the first output that is at the place of an input or of an output before it,
/// or that is too long. Empty names are none. To be called before anything is written.
KVMEASURE_EXPORT void refuseOverwriting(const QStringList& outputs, const QStringList& inputs);

/// Appends a float in four bytes, lowest first, as records and PLY hold it; NaN keeps its bits.
KVMEASURE_EXPORT void appendLittleEndian(QByteArray& bytes, float value);

/// Appends the `size` lowest bytes of a whole number, lowest first; 0 to 4.
KVMEASURE_EXPORT void appendLittleEndian(QByteArray& bytes, quint32 value, int size);

}  // namespace KvMeasure
