// A killed process cannot remove anything, and a folder cannot be without a name as a file can. So each
// folder is locked by its process, which the system undoes however that ends, and whoever makes the next one
// removes those of the same user that nobody holds.

#include <kvmeasure/base/scratch_folder.h>

#include <kvmeasure/base/error.h>

#include <QtCore/QDir>

#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KvMeasure {

namespace {

const QString beginning = "kvmeasure-";

/// The descriptor of a folder of this user that is locked now; -1 when another process holds it.
int lockFolder(const QByteArray& path) {
    const int folder = ::open(path.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder < 0)
        return -1;
    struct stat opened {
    }, named{};
    // Whoever was faster may have removed the folder before the lock was had.
    const bool isOurs = ::flock(folder, LOCK_EX | LOCK_NB) == 0 && ::fstat(folder, &opened) == 0 &&
                        ::stat(path.constData(), &named) == 0 && opened.st_ino == named.st_ino &&
                        opened.st_uid == ::geteuid();
    if (isOurs)
        return folder;
    ::close(folder);
    return -1;
}

void removeLeftOver() {
    const QDir temporary(QDir::tempPath());
    for (const QString& name : temporary.entryList({beginning + '*'}, QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString path = temporary.filePath(name);
        const int lock = lockFolder(QFile::encodeName(path));
        if (lock < 0)
            continue;
        QDir(path).removeRecursively();
        ::close(lock);
    }
}

}  // namespace

ScratchFolder::ScratchFolder() {
    constexpr int kAttempts = 8;
    removeLeftOver();
    for (int i = 0; i < kAttempts && lock_ < 0; ++i) {
        QByteArray path = QFile::encodeName(QDir::tempPath() + '/' + beginning + "XXXXXX");
        if (::mkdtemp(path.data()) == nullptr)
            break;
        root_ = QFile::decodeName(path);
        lock_ = lockFolder(path);
    }
    path_ = root_ + "/work";
    if (lock_ >= 0 && QDir().mkdir(path_))
        return;
    if (lock_ >= 0)
        ::close(lock_);
    throw Error(QDir::tempPath() +
                ": a directory for temporary files cannot be made in it; name another one in TMPDIR");
}

ScratchFolder::~ScratchFolder() {
    QDir(root_).removeRecursively();
    ::close(lock_);
}

}  // namespace KvMeasure
