#pragma once
// The profiles of any file: one of CSV, those of records one by one, those of a scan.

#include "kvmeasure/arguments.h"
#include "kvmeasure/profile_file.h"
#include "kvmeasure/scan_file.h"

#include <memory>

namespace KvMeasure {

/// True for files whose profiles lie in it as a whole: height maps, grids, PLY, and a cloud record with
/// points at different z. They are read into memory; all others are streamed.
bool isWholeScan(const QString& path);

/// The profiles of a file, one after another.
class ProfileSequence {
public:
    /// With a map or the order of axes given in `scan` the file is read as a whole in any case. Its step and
    /// start are not looked at here. Throws Failure.
    ProfileSequence(const QString& path, const QString& columns, const ScanOptions& scan);
    bool next(LoadedProfile& loaded);  ///< false when there are no more; throws Failure

    qint64 size() const { return source_ ? source_->size() : stack_.size(); }  ///< for progress
    qint64 position() const { return source_ ? source_->position() : index_; }

private:
    QString path_;
    std::unique_ptr<ProfileSource> source_;
    KvMath::KvProfileZSet stack_;
    int index_ = 0;
};

/// The profile that a command for a single one works on: the first of the first operand, or that of
/// --record. Says on standard error when a file has more and none was chosen. Throws Failure.
LoadedProfile takeProfile(const Arguments& arguments);

}  // namespace KvMeasure
