#pragma once
// Profiles to files, in the forms that profile_file reads.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/profiles/profile_file.h>

namespace KvMeasure {

/// The names that parseForm takes: csv, kv-csv, record.
KVMEASURE_EXPORT QStringList formNames();

/// The form of a name: "csv" with commas and a heading, "kv-csv" with semicolons and decimal commas,
/// "record"; empty: `absent`. Throws Error with parameter() "form" for other words.
KVMEASURE_EXPORT FileForm parseForm(const QString& text, FileForm absent);

/// Writes profiles one after another; the file appears on commit. Coordinates keep all their digits, those
/// that are not finite become unset. CSV holds one profile. Records keep kind, z and tags of the record they
/// come from (coloured ones lose the colours), and are XY clouds otherwise. As with OutputFile, nothing is
/// left without commit().
class KVMEASURE_EXPORT ProfileWriter {
public:
    /// Begins a file. Throws Error as OutputFile does.
    ProfileWriter(const QString& path, FileForm form) : path_(path), form_(form), file_(path) {}
    /// Writes a profile, which may have no points. Throws Error for a second one in CSV, for more points than
    /// the record can count (65,535 in most), and where the disk is full.
    void add(const LoadedProfile& loaded);
    void commit() { file_.commit(); }  ///< gives the file its name; once, as the last call; throws Error

private:
    QByteArray record(const LoadedProfile& loaded) const;

    QString path_;
    FileForm form_;
    OutputFile file_;
    bool hasProfile_ = false;
};

/// Writes a file of one profile. Throws Error as ProfileWriter does; an older file then stays.
KVMEASURE_EXPORT void writeProfile(const QString& path, FileForm form, const LoadedProfile& loaded);

}  // namespace KvMeasure
