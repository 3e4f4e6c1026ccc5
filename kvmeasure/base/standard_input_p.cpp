#include <kvmeasure/base/standard_input_p.h>

#include <kvmeasure/base/error.h>

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace KvMeasure::Internal {

namespace {

/// Opens a file without a name, which the system takes back however the program ends.
bool openUnnamed(QFile& file) {
    constexpr mode_t kOwnerOnly = 0600;
    const QByteArray folder = QFile::encodeName(QDir::tempPath());
    int descriptor = ::open(folder.constData(), O_TMPFILE | O_RDWR | O_CLOEXEC, kOwnerOnly);
    if (descriptor < 0) {  // a file system without such files
        QByteArray name = folder + "/kvmeasure-XXXXXX";
        descriptor = ::mkostemp(name.data(), O_CLOEXEC);
        ::unlink(name.constData());
    }
    return descriptor >= 0 && file.open(descriptor, QIODevice::ReadWrite, QFileDevice::AutoCloseHandle);
}

}  // namespace

QString standardInputFile() {
    constexpr qint64 kLargest = 1 << 30;
    constexpr qint64 kBytesAtOnce = 1 << 20;
    static QFile copy;
    const auto nameOfCopy = [] { return "/proc/self/fd/" + QString::number(copy.handle()); };
    if (copy.isOpen())
        return nameOfCopy();
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        throw Error("standard input cannot be read: " + input.errorString());
    if (!openUnnamed(copy))
        throw Error("standard input cannot be copied to a temporary file: " + copy.errorString());
    while (true) {
        const QByteArray bytes = input.read(kBytesAtOnce);
        if (bytes.isEmpty())
            break;
        if (copy.size() + bytes.size() > kLargest)
            throw Error("standard input: has more than 1 GB; name a file");
        if (copy.write(bytes) != bytes.size() || !copy.flush())
            throw Error("standard input cannot be copied to a temporary file: " + copy.errorString());
    }
    if (input.error() != QFileDevice::NoError)
        throw Error("standard input cannot be read: " + input.errorString());
    return nameOfCopy();
}

}  // namespace KvMeasure::Internal
