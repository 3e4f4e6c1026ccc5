#include "kvmeasure/output_file.h"

#include "kvmeasure/failure.h"

#include <QtCore/QFileInfo>

namespace KvMeasure {

OutputFile::OutputFile(const QString& path) : path_(path), file_(path) {
    const QFileInfo info(path);
    if (info.exists() && !info.isFile())
        throw Failure{QString("%1: cannot be written: it is not a regular file; name another one").arg(path)};
    if (!file_.open(QIODevice::WriteOnly))
        fail();
}

void OutputFile::write(const QByteArray& content) {
    if (file_.write(content) != content.size())
        fail();
}

void OutputFile::commit() {
    if (!file_.commit())
        fail();
}

void OutputFile::fail() const {
    throw Failure{QString("%1: cannot be written: %2").arg(path_, file_.errorString())};
}

void writeOutputFile(const QString& path, const QByteArray& content) {
    OutputFile file(path);
    file.write(content);
    file.commit();
}

QString partPath(const QString& path, const QString& part) {
    const QString suffix = QFileInfo(path).suffix();
    if (suffix.isEmpty())
        return path + '-' + part;
    return path.left(path.size() - suffix.size() - 1) + '-' + part + '.' + suffix;
}

bool isSameFile(const QString& path, const QString& other) {
    const QFileInfo a(path);
    const QFileInfo b(other);
    return a.exists() && b.exists() ? a.canonicalFilePath() == b.canonicalFilePath()
                                    : a.absoluteFilePath() == b.absoluteFilePath();
}

}  // namespace KvMeasure
