#pragma once
// The profiles of a second scanner, which go with those that are measured.

#include <kvmeasure/profiles/column_choice.h>
#include <kvmeasure/scans/profile_sequence.h>

#include <QtCore/QStringList>

#include <memory>

namespace KvMeasure {

/// The profiles of the other scanner, of one file after another.
class SecondProfiles {
public:
    explicit SecondProfiles(const QStringList& paths) : paths_(paths) {}

    /// The next one; an empty one where no files were given. Throws Error where there are too few.
    void next(const TextOptions& text, const ScanOptions& scan, KvMath::KvProfile& profile);
    /// Throws Error where files are left.
    void finish(const TextOptions& text, const ScanOptions& scan);

private:
    bool take(const TextOptions& text, const ScanOptions& scan, LoadedProfile& loaded);

    QStringList paths_;
    int file_ = -1;
    std::unique_ptr<ProfileSequence> source_;
};

}  // namespace KvMeasure
