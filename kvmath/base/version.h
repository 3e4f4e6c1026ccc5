#pragma once
// What the library is called and which build it is.

#include <kvmath/base/global.h>

namespace KvMath {

/// Sets `name` to "KvMath library" and `version` to "2.1.0.YYYYMMDD" with the build date, for example
/// "2.1.0.20181219". Both are zero-terminated and stay the library's: neither change nor free them. Every
/// call sets the same two pointers. The text is built by the first call, which must not run on two threads at
/// once.
KVMATH_EXPORT void GetVersion(char*& name, char*& version);

}  // namespace KvMath
