#include <kvmeasure/base/module_path_p.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QLibrary>

#include <dlfcn.h>

namespace KvMeasure {

QString modulePath(const char* name) {
    Dl_info library{};
    // By the address of an internal function: that of an exported one may lie in the program.
    if (dladdr(reinterpret_cast<const void*>(&modulePath), &library) == 0)
        return {};
    return QFileInfo(QFile::decodeName(library.dli_fname)).absolutePath() + '/' + name;
}

QFunctionPointer moduleFunction(const char* module, const char* function, const char* missing,
                                const char* failed) {
    const QString path = modulePath(module);
    if (!QFileInfo::exists(path))
        throw Error(filledIn(missing, path));
    QLibrary library(path);
    library.setLoadHints(QLibrary::PreventUnloadHint);
    const QFunctionPointer found = library.resolve(function);
    if (found == nullptr)
        throw Error(filledIn(failed, library.errorString()));
    return found;
}

}  // namespace KvMeasure
