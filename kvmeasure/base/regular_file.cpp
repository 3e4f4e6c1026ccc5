#include <kvmeasure/base/regular_file.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/standard_input_p.h>

#include <QtCore/QFileInfo>

namespace KvMeasure {

void openRegularFile(QFile& file) {
    if (file.fileName() == "-")
        file.setFileName(Internal::standardInputFile());
    const QString path = file.fileName();
    const QFileInfo info(path);
    if (!info.exists())
        throw Error(QString("%1: no such file").arg(path)).inFile(path);
    if (info.isDir())
        throw Error(QString("%1: is a directory; name the files in it").arg(path)).inFile(path);
    if (!info.isFile())
        throw Error(QString("%1: is not a regular file; copy its content to one").arg(path)).inFile(path);
    if (!file.open(QIODevice::ReadOnly))
        throw Error(QString("%1: cannot be read: %2").arg(path, file.errorString())).inFile(path);
}

std::shared_ptr<QFile> openedFile(const QString& path) {
    auto file = std::make_shared<QFile>(path);
    openRegularFile(*file);
    return file;
}

}  // namespace KvMeasure
