#pragma once
// Profiles of one scanner line.

#include <kvmath/profile/profile.h>
