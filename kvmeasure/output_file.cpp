#include "kvmeasure/output_file.h"

#include "kvmeasure/failure.h"

#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>

namespace KvMeasure {

void writeOutputFile(const QString& path, const QByteArray& content) {
    const QFileInfo info(path);
    if (info.exists() && !info.isFile())
        throw Failure{QString("%1: cannot be written: it is not a regular file; name another one").arg(path)};
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.commit())
        throw Failure{QString("%1: cannot be written: %2").arg(path, file.errorString())};
}

}  // namespace KvMeasure
