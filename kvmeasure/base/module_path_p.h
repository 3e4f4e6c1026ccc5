#pragma once

#include <QtCore/QFunctionPointer>
#include <QtCore/QString>

namespace KvMeasure {

/// Where a module of the library lies, by its path from the folder of the library, wherever that was
/// installed. Empty: the library does not know its own place.
QString modulePath(const char* name);

/// A function of such a module, which stays loaded: what the modules bring cannot be unloaded. Throws Error
/// with the text `missing` where the module is not there, `failed` where it cannot be loaded; %1 of them is
/// its path, and the reason.
QFunctionPointer moduleFunction(const char* module, const char* function, const char* missing,
                                const char* failed);

}  // namespace KvMeasure
