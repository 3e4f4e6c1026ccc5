#include <kvmeasure/scans/profile_sequence.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/regular_file.h>
#include <kvmeasure/scans/scan_form_p.h>

#include <cmath>

namespace KvMeasure {

ProfileSequence::ProfileSequence(const QString& path, const TextOptions& text, const ScanOptions& scan)
    : path_(path) {
    Internal::ScanForm form(openedFile(path));
    if (scan.map.isEmpty() && !scan.heightLast && !form.isWholeScan()) {
        source_ = std::make_unique<ProfileSource>(form.file(), path, text);
        return;
    }
    if (!text.givenOfTable.isEmpty())
        refuseTextOptions(text, path, "is a scan");
    ScanOptions asStored = scan;
    asStored.step = std::nan("");
    asStored.units = text.units;
    asStored.unset = text.unset;
    Scan whole = Internal::loadScan(form, path, asStored);
    if (!whole.doubt.isEmpty())
        throw Error(whole.doubt).inFile(path);
    stack_ = takeStack(whole, path);
}

bool ProfileSequence::next(LoadedProfile& loaded) {
    if (source_)
        return source_->next(loaded);
    if (index_ == stack_.size())
        return false;
    loaded = LoadedProfile();
    loaded.name = path_;
    loaded.stem = stemOf(path_);
    if (stack_.size() > 1) {
        loaded.name += QString("#%1").arg(index_);
        loaded.stem += QString("-%1").arg(index_);
    }
    loaded.profile = stack_.at(index_);
    loaded.z = stack_.at(index_).z;
    loaded.head.marker = KvMath::kProfileRecord;
    ++index_;
    return true;
}

}  // namespace KvMeasure
