#pragma once
// The version text as a function of the build date, so that every month can be exercised.

#include <cstddef>

namespace KvMath::Internal {

constexpr std::size_t kVersionSize = 64;  ///< characters, the terminating zero included

/// Writes "2.1.0." and the date as YYYYMMDD into `version`. `buildDate` is written as the compiler writes its
/// own, "Dec 19 2018": month in characters 1 to 3, day in 5 and 6 (a leading blank is allowed), year in 8
/// to 11. Characters past the 15th are ignored, missing ones count as absent; a number ends at the first
/// character that is no digit, an unknown month is 00.
void formatVersion(const char* buildDate, char (&version)[kVersionSize]);

}  // namespace KvMath::Internal
