#pragma once
// Switch of the trace log. Traces are off until the host turns them on.

#include <kvmath/base/global.h>

namespace KvMath {

/// Messages up to `level` are appended to "kvmath_trace.txt" in the directory that is current when each is
/// written, in Latin-1, every line ended by "\r\n". The file is opened and closed per message; a message that
/// cannot be written is dropped. 1: the plane fits and removals, and the contour functions; 2: also the
/// details of the latter; 0 (the initial state) and less: silence. Process-wide and not synchronised.
KVMATH_EXPORT void SetTrace(int level);

}  // namespace KvMath
