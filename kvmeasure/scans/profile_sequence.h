#pragma once
// The profiles of any file: those of text, those of records one by one, those of a scan.
//
//     ProfileSequence profiles(path, TextOptions(), ScanOptions());
//     for (LoadedProfile loaded; profiles.next(loaded);)
//         measure(loaded.profile);

#include <kvmeasure/base/global.h>
#include <kvmeasure/profiles/profile_file.h>
#include <kvmeasure/scans/scan_file.h>

#include <memory>

namespace KvMeasure {

/// True for files whose profiles lie in it as a whole: height maps, grids, PLY, and a cloud record with
/// points at different z. They are read into memory; all others are streamed. Of a file that looks like a
/// scan and is damaged: true. Throws Error as looksLikeScan does.
KVMEASURE_EXPORT bool isWholeScan(const QString& path);
KVMEASURE_EXPORT bool isWholeScan(const std::shared_ptr<QFile>& file);  ///< the same of an open file

/// The profiles of a file, one after another. It holds the file open, or the whole scan in memory.
class KVMEASURE_EXPORT ProfileSequence {
public:
    /// With a map or the order of axes given in `scan` the file is read as a whole in any case. Units and
    /// unset values are those of `text`; the step and start of `scan` are not looked at. `scan.progress` is
    /// told of a file that is read as a whole; cancelling throws Error.
    ///
    /// Throws Error as ProfileSource, loadScan and takeStack do, for text options given for a scan, and for
    /// one with a height that may stand for nothing (Scan::doubt).
    explicit ProfileSequence(const QString& path, const TextOptions& text = {}, const ScanOptions& scan = {});

    /// Replaces `loaded` by the next profile. False when there are no more; `loaded` is then not to be used.
    /// Throws Error at a damaged place. A profile of a scan has its position as z, and is named "path#n", n
    /// from 0, unless it is the only one.
    bool next(LoadedProfile& loaded);

    /// How much there is, for progress: bytes of a streamed file, otherwise profiles.
    qint64 size() const { return source_ ? source_->size() : stack_.size(); }
    /// How much of size() has been read.
    qint64 position() const { return source_ ? source_->position() : index_; }

private:
    QString path_;
    std::unique_ptr<ProfileSource> source_;
    KvMath::KvProfileZSet stack_;
    int index_ = 0;
};

}  // namespace KvMeasure
