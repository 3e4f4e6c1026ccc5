#pragma once
// Search parameters that suit a profile.

#include "kvmeasure/arguments.h"

#include <kvmath/profile/profile.h>
#include <kvmath/tsearch/find_params.h>

namespace KvMeasure {

KvMath::TSFindTemplateParams estimateSearch(const KvMath::KvProfile& profile);

/// The options that replace single parameters, for the usage of a command, and their application.
std::vector<Option> searchOptions();
void applySearchOptions(const Arguments& arguments, KvMath::TSFindTemplateParams& search);

}  // namespace KvMeasure
