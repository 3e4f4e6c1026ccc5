#pragma once
// The one draw of the library.

namespace KvMath::Internal {

/// Uniform integer in 0..32767 from one call of the runtime's `rand`, whatever RAND_MAX is. Never seeds.
int draw15();

}  // namespace KvMath::Internal
