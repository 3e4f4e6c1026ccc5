#pragma once

#include <QtCore/QString>

namespace KvMeasure {

/// Where a module of the library lies, by its path from the folder of the library, wherever that was
/// installed. Empty: the library does not know its own place.
QString modulePath(const char* name);

}  // namespace KvMeasure
