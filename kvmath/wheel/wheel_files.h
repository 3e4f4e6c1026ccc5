#pragma once
// Names of the files that the detection of wheels writes.

#include <kvmath/base/global.h>

#include <QtCore/QString>

namespace KvMath {

/// "WW_PP.bin", the file of a profile of a wheel in the directory of its recording: both numbers, from 1,
/// with at least two digits.
KVMATH_EXPORT QString wheelFileName(int wheel, int profile);

/// The name is one of these: two numbers of at least two digits, with "_" between and ".bin" at the end.
KVMATH_EXPORT bool isWheelFileName(const QString& name);

}  // namespace KvMath
