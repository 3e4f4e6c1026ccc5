#include "kvmeasure/output_file.h"

#include "kvmeasure/failure.h"

#include <QtCore/QFileInfo>
#include <QtCore/QtEndian>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace KvMeasure {

OutputFile::OutputFile(const QString& path) : path_(path), file_(path) {
    if (path.isEmpty())
        throw Failure{"the name of the file to write is empty"};
    const QFileInfo info(path);
    if (info.exists() && !info.isFile())
        throw Failure{QString("%1: cannot be written: it is not a regular file; name another one").arg(path)};
    errno = 0;
    if (!file_.open(QIODevice::WriteOnly))
        fail();
}

void OutputFile::write(const QByteArray& content) {
    errno = 0;
    if (file_.write(content) != content.size())
        fail();
}

void OutputFile::commit() {
    errno = 0;
    // The commit does not tell of a buffer that the disk did not take.
    if (!file_.flush() || !file_.commit())
        fail();
}

void OutputFile::fail() const {
    // A write that ends halfway leaves its reason in errno alone.
    throw Failure{QString("%1: cannot be written: %2")
                      .arg(path_, errno != 0 ? qt_error_string(errno) : file_.errorString())};
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

void refuseOverwriting(const QStringList& outputs, const QStringList& inputs) {
    const auto isOneOf = [](const QString& path, const QStringList& others) {
        const auto isIt = [&path](const QString& other) {
            return !other.isEmpty() && isSameFile(path, other);
        };
        return std::any_of(others.begin(), others.end(), isIt);
    };
    for (int i = 0; i < outputs.size(); ++i) {
        if (outputs[i].isEmpty())
            continue;
        if (isOneOf(outputs[i], inputs))
            throw Failure{QString("%1: is read by this command; name another file to write").arg(outputs[i])};
        if (isOneOf(outputs[i], outputs.mid(i + 1)))
            throw Failure{QString("%1: would be written twice; name another file").arg(outputs[i])};
    }
}

void appendLittleEndian(QByteArray& bytes, quint32 value, int size) {
    for (int i = 0; i < size; ++i)
        bytes.append(static_cast<char>((value >> (8 * i)) & 0xFF));
}

void appendLittleEndian(QByteArray& bytes, float value) {
    quint32 bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    bits = qToLittleEndian(bits);
    bytes.append(reinterpret_cast<const char*>(&bits), sizeof(bits));
}

}  // namespace KvMeasure
