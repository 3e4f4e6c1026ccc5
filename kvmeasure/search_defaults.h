#pragma once
// Search parameters that suit a profile.

#include "kvmeasure/arguments.h"

#include <kvmath/profile/profile.h>
#include <kvmath/tsearch/find_params.h>

namespace KvMeasure {

/// Spacing and noise of a scanner line, mm.
struct ProfileScale {
    double spacing = 0;  ///< median distance of neighbouring points
    double noise = 0;    ///< standard deviation of the heights about straight pieces
    double extent = 0;   ///< diagonal of the bounding box
};

ProfileScale measureScale(const KvMath::KvProfile& profile);

KvMath::TSFindTemplateParams estimateSearch(const KvMath::KvProfile& profile);

/// The options that replace single parameters, for the usage of a command, and their application.
std::vector<Option> searchOptions();
void applySearchOptions(const Arguments& arguments, KvMath::TSFindTemplateParams& search);

}  // namespace KvMeasure
