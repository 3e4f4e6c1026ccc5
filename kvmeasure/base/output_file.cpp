// The content goes to a file without a name (O_TMPFILE), which gets its name when it is complete: a process
// that is killed leaves nothing behind. To take the place of an existing file it is first linked under a
// passing name and then renamed, since a link cannot replace a file. File systems that know no such files get
// a temporary file that is renamed.
#include <kvmeasure/base/output_file.h>

#include <kvmeasure/base/error.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QSet>
#include <QtCore/QtEndian>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KvMeasure {

namespace {

const QString ownFiles = "/proc/self/fd/";

QString directoryOf(const QString& path) { return QFileInfo(path).path(); }

/// False, with the reason in errno, for a name that is longer than the file system takes.
bool isNameTakeable(const QString& path) {
    const long longest = pathconf(QFile::encodeName(directoryOf(path)).constData(), _PC_NAME_MAX);
    if (longest < 0 || QFile::encodeName(QFileInfo(path).fileName()).size() <= longest)
        return true;
    errno = ENAMETOOLONG;
    return false;
}

}  // namespace

OutputFile::OutputFile(const QString& path)
    : path_(path), target_(QFileInfo(path).isSymLink() ? QFileInfo(path).symLinkTarget() : path),
      named_(path) {
    if (path.isEmpty())
        throw Error("the name of the file to write is empty");
    const QFileInfo info(path);
    if (QStringList{"xlsx", "xls", "ods"}.contains(info.suffix().toLower()))
        throw Error(path + ": spreadsheet files are not written; name it \".csv\", which spreadsheets read")
            .inFile(path);
    if (info.exists() && !info.isFile())
        throw Error(QString("%1: cannot be written: it is not a regular file; name another one").arg(path))
            .inFile(path);
    errno = EACCES;
    if ((info.exists() && !info.isWritable()) || !isNameTakeable(path))
        fail();
    errno = 0;
    file_ = &unnamed_;
    if (openUnnamed())
        return;
    if (errno != 0)
        fail();
    file_ = &named_;
    if (!named_.open(QIODevice::WriteOnly))
        fail();
}

/// False with errno 0 where there are no files without a name.
bool OutputFile::openUnnamed() {
    constexpr mode_t kReadAndWrite = 0666;  // less what the umask takes away
    errno = 0;
    if (!QFileInfo::exists(ownFiles))
        return false;
    const QByteArray directory = QFile::encodeName(directoryOf(target_));
    const int descriptor = ::open(directory.constData(), O_TMPFILE | O_WRONLY | O_CLOEXEC, kReadAndWrite);
    if (descriptor >= 0)
        return unnamed_.open(descriptor, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle);
    if (errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL)
        errno = 0;
    return false;
}

bool OutputFile::nameUnnamed() {
    const int descriptor = unnamed_.handle();
    if (::fsync(descriptor) != 0 && errno != EINVAL && errno != EROFS)
        return false;
    const QByteArray target = QFile::encodeName(target_);
    struct stat old {};
    if (::stat(target.constData(), &old) == 0 && ::fchmod(descriptor, old.st_mode & ALLPERMS) != 0)
        return false;
    const QByteArray own = QFile::encodeName(ownFiles + QString::number(descriptor));
    const auto link = [&own](const QByteArray& name) {
        return ::linkat(AT_FDCWD, own.constData(), AT_FDCWD, name.constData(), AT_SYMLINK_FOLLOW) == 0;
    };
    if (link(target))
        return true;
    if (errno != EEXIST)
        return false;
    // A link cannot take the place of a file, a renamed file can.
    const QByteArray passing =
        QFile::encodeName(directoryOf(target_) + "/.kvmeasure-") + QByteArray::number(::getpid());
    ::unlink(passing.constData());
    if (!link(passing))
        return false;
    if (::rename(passing.constData(), target.constData()) == 0)
        return true;
    const int reason = errno;
    ::unlink(passing.constData());
    errno = reason;
    return false;
}

void OutputFile::write(const QByteArray& content) {
    errno = 0;
    if (file_->write(content) != content.size())
        fail();
}

void OutputFile::commit() {
    errno = 0;
    // The commit does not tell of a buffer that the disk did not take.
    if (!file_->flush() || !(file_ == &named_ ? named_.commit() : nameUnnamed()))
        fail();
}

void OutputFile::fail() const {
    // A write that ends halfway leaves its reason in errno alone.
    const QString reason = errno != 0 || file_ == nullptr ? qt_error_string(errno) : file_->errorString();
    throw Error(QString("%1: cannot be written: %2").arg(path_, reason)).inFile(path_);
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

QString stemOf(const QString& path) {
    const QFileInfo info(path);
    return info.completeBaseName().isEmpty() ? info.fileName() : info.completeBaseName();
}

QString placeOf(const QString& path) {
    const QFileInfo info(path);
    if (info.exists())
        return info.canonicalFilePath();
    const QFileInfo directory(info.absolutePath());
    return directory.exists() ? QDir(directory.canonicalFilePath()).filePath(info.fileName())
                              : info.absoluteFilePath();
}

bool isSameFile(const QString& path, const QString& other) { return placeOf(path) == placeOf(other); }

void refuseOverwriting(const QStringList& outputs, const QStringList& inputs) {
    QSet<QString> read, written;
    for (const QString& input : inputs) {
        if (!input.isEmpty())
            read.insert(placeOf(input));
    }
    for (const QString& output : outputs) {
        if (output.isEmpty())
            continue;
        const QString place = placeOf(output);
        if (read.contains(place))
            throw Error(QString("%1: is read by this command; name another file to write").arg(output))
                .inFile(output);
        if (written.contains(place))
            throw Error(QString("%1: would be written twice; name another file").arg(output)).inFile(output);
        if (!isNameTakeable(output))
            throw Error(QString("%1: cannot be written: %2").arg(output, qt_error_string(errno)))
                .inFile(output);
        written.insert(place);
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
