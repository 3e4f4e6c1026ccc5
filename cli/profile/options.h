#pragma once
// Options and warnings of all commands that read profiles.

#include "cli/arguments.h"

#include <kvmeasure/scans/profile_sequence.h>

#include <kvmath/segments/find_params.h>

#include <functional>

namespace KvMeasure {

class MatchPage;

constexpr int kLastRecord = 1'000'000'000;  ///< number that --record takes at most

/// The profile that a command for a single one works on: the first of the first operand, or that of
/// --record. Says on standard error when a file has more and none was chosen. Throws Error.
LoadedProfile takeProfile(const Arguments& arguments);
/// The same of profiles that `next` gives one after another, false at their end.
LoadedProfile takeProfile(const Arguments& arguments, const std::function<bool(LoadedProfile&)>& next);

/// Says on standard error what may have been misunderstood.
void complainOf(const LoadedProfile& loaded);

/// Says on a page which files were measured, by which plan, where and by whom.
void addFacts(const Arguments& arguments, MatchPage& page);

/// The options that replace single search parameters, for the usage of a command, and their application.
std::vector<Option> searchOptions();
void applySearchOptions(const Arguments& arguments, KvMath::TSFindTemplateParams& search);

/// The parameters as these options.
QString searchWords(const KvMath::TSFindTemplateParams& search);
/// The same as a sentence, for the user to change.
QString searchText(const KvMath::TSFindTemplateParams& search);

}  // namespace KvMeasure
