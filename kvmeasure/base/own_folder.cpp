#include <kvmeasure/base/own_folder.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/output_file.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace KvMeasure {

namespace {

const QString listName = ".kvmeasure";

}  // namespace

FolderLock::~FolderLock() {
    if (descriptor_ >= 0)
        ::close(descriptor_);
}

void FolderLock::take(const QString& folder) {
    if (!QDir().mkpath(folder))
        throw Error(QString("%1: cannot be made or is no directory; name another one").arg(folder))
            .inFile(folder);
    descriptor_ = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor_ >= 0 && ::flock(descriptor_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        throw Error(
            QString("%1: another run of kvmeasure works in this directory; wait for it, or name another one")
                .arg(folder))
            .inFile(folder);
}

OwnFiles::OwnFiles(const QString& folder) : folder_(folder) {
    constexpr qint64 kLongest = 16 << 20;
    QFile list(pathOf(listName));
    if (!QFileInfo(list).isFile() || !list.open(QIODevice::ReadOnly))
        return;
    for (const QString& name : QString::fromUtf8(list.read(kLongest)).split('\n')) {
        const bool isPlain = !name.isEmpty() && !name.contains('/') && name != "." && name != "..";
        if (isPlain)
            names_.insert(name);
    }
}

void OwnFiles::removeListed() const {
    QStringList names(names_.begin(), names_.end());
    for (const QString& pattern : names.filter("*"))
        names += QDir(folder_).entryList({pattern}, QDir::Files | QDir::System);
    for (const QString& name : qAsConst(names)) {
        const QFileInfo info(pathOf(name));
        if (info.isSymLink() || info.isFile())
            QFile::remove(info.filePath());
    }
}

void OwnFiles::removeAll() {
    removeListed();
    names_.clear();
    QFile::remove(pathOf(listName));
}

bool OwnFiles::holds(const QString& name) const {
    return names_.contains(name) || std::any_of(names_.begin(), names_.end(), [&name](const QString& listed) {
               return listed.contains('*') && QDir::match(listed, name);
           });
}

void OwnFiles::requireOwn(const QStringList& names) const {
    for (const QString& name : names) {
        const QFileInfo info(pathOf(name));
        if ((info.exists() || info.isSymLink()) && !holds(name))
            throw Error(info.filePath() +
                        ": is there already, and not written by this program; name another directory")
                .inFile(info.filePath());
    }
}

void OwnFiles::claim(const QStringList& names) {
    requireOwn(names);
    for (const QString& name : names)
        names_.insert(name);
    save();
}

void OwnFiles::replace(const QStringList& names) {
    requireOwn(names);
    removeListed();
    set(names);
}

void OwnFiles::set(const QStringList& names) {
    names_ = QSet<QString>(names.begin(), names.end());
    save();
}

void OwnFiles::save() const {
    QStringList names(names_.begin(), names_.end());
    std::sort(names.begin(), names.end());
    writeOutputFile(pathOf(listName), (names.join('\n') + '\n').toUtf8());
}

}  // namespace KvMeasure
