#include "cli/profile/second_profiles.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>

namespace KvMeasure {

bool SecondProfiles::take(const TextOptions& text, const ScanOptions& scan, LoadedProfile& loaded) {
    while (!source_ || !source_->next(loaded)) {
        if (++file_ >= static_cast<int>(paths_.size()))
            return false;
        source_ = std::make_unique<ProfileSequence>(paths_[file_], text, scan);
    }
    return true;
}

void SecondProfiles::next(const TextOptions& text, const ScanOptions& scan, KvMath::KvProfile& profile) {
    if (paths_.isEmpty())
        return;
    LoadedProfile loaded;
    if (file_ >= static_cast<int>(paths_.size()) || !take(text, scan, loaded))
        throw Error(filledIn("\1second\2 has fewer profiles than the files that are measured: %1",
                             paths_.join(", ")));
    profile = loaded.profile;
}

void SecondProfiles::finish(const TextOptions& text, const ScanOptions& scan) {
    LoadedProfile loaded;
    if (file_ < static_cast<int>(paths_.size()) && take(text, scan, loaded))
        throw Error(filledIn("\1second\2 has more profiles than the files that are measured; the first that "
                             "is left over: %1",
                             loaded.name));
}

}  // namespace KvMeasure
