#pragma once
// Profiles to files, in the forms that profile_file reads.

#include "kvmeasure/output_file.h"
#include "kvmeasure/profile_file.h"

namespace KvMeasure {

/// Reads "csv", "kv-csv" or "record"; empty: `absent`. Throws Failure.
QStringList formNames();  ///< that parseForm takes
FileForm parseForm(const QString& text, FileForm absent);

/// Writes profiles one after another; the file appears on commit. Coordinates keep all their digits, those
/// that are not finite become unset. CSV holds one profile. Records keep kind, z and tags of the record they
/// come from (coloured ones lose the colours), and are XY clouds otherwise.
class ProfileWriter {
public:
    ProfileWriter(const QString& path, FileForm form) : path_(path), form_(form), file_(path) {}
    void add(const LoadedProfile& loaded);  ///< throws Failure
    void commit() { file_.commit(); }

private:
    QByteArray record(const LoadedProfile& loaded) const;

    QString path_;
    FileForm form_;
    OutputFile file_;
    bool hasProfile_ = false;
};

/// A file of one profile.
void writeProfile(const QString& path, FileForm form, const LoadedProfile& loaded);

}  // namespace KvMeasure
