#pragma once
// Profiles of one scanner line, and stacks of them. KvPlane too: it removes points from a stack.

#include <kvmath/core/plane.h>
#include <kvmath/profile/profile.h>
#include <kvmath/profile/profile_sd.h>
#include <kvmath/profile/profile_z.h>
#include <kvmath/profile/profile_zset.h>
