#pragma once
// Profiles of one scanner line, and stacks of them.

#include <kvmath/profile/profile.h>
#include <kvmath/profile/profile_sd.h>
#include <kvmath/profile/profile_z.h>
#include <kvmath/profile/profile_zset.h>
