#include <kvmeasure/base/module_path_p.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <dlfcn.h>

namespace KvMeasure {

QString modulePath(const char* name) {
    Dl_info library{};
    // By the address of an internal function: that of an exported one may lie in the program.
    if (dladdr(reinterpret_cast<const void*>(&modulePath), &library) == 0)
        return {};
    return QFileInfo(QFile::decodeName(library.dli_fname)).absolutePath() + '/' + name;
}

}  // namespace KvMeasure
