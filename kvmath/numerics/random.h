#pragma once
// Random numbers from the runtime's generator, which the library never seeds: runs repeat where the host
// calls srand.

#include <kvmath/base/global.h>

namespace KvMath {

/// Uniform in [0, 1), a multiple of 2^-15: one draw.
KVMATH_EXPORT double randu();

/// Approximately standard normal, in [-6, 6): twelve draws of 2^-15 less 6 (variance about 1, no tails beyond
/// 6).
KVMATH_EXPORT double randn();

}  // namespace KvMath
