#pragma once
// Folders that the program fills itself: whose they are while it works, and which of their files are its own.

#include <QtCore/QSet>
#include <QtCore/QStringList>
#include <kvmeasure/base/global.h>

namespace KvMeasure {

/// Holds a folder for this run. Another run on the same folder is refused; however this one ends, the system
/// gives the folder free. Where the file system has no locks, or the folder may not be read, nothing is held.
class KVMEASURE_EXPORT FolderLock {
public:
    FolderLock() = default;                             ///< holds nothing
    FolderLock(const FolderLock&) = delete;             ///< a folder is held once
    FolderLock& operator=(const FolderLock&) = delete;  ///< not copied either
    ~FolderLock();                                      ///< gives the folder free

    /// Takes the folder, and makes it where there is none. Once for each object. Throws Error with its name
    /// when it cannot be made, or when another lock holds it, of this program or of another.
    void take(const QString& folder);

private:
    int descriptor_ = -1;
};

/// The files of a folder that the program wrote, by the list in its file ".kvmeasure". A name is listed
/// before its file is written, so that the next run knows what a killed one left behind. All others belong to
/// the user. Names are those of files in the folder, without a path; one with "*" stands for all files that
/// fit. What cannot be removed stays and is no error. What cannot be listed is: Error with the name of the
/// list.
class KVMEASURE_EXPORT OwnFiles {
public:
    /// Reads the list of a folder, at most 16 MB of it. Without a list that can be read no file is own. Names
    /// with a '/' are passed over.
    explicit OwnFiles(const QString& folder);

    void removeAll();  ///< removes the files of the list, and the list
    /// Throws Error with the name of the first file that is there and not listed.
    void requireOwn(const QStringList& names) const;
    /// Adds names that are about to be written to the list. Throws Error as requireOwn does, the list as it
    /// was.
    void claim(const QStringList& names);
    /// Removes the files of the list, which becomes these names. Throws Error as requireOwn does, before
    /// anything is removed.
    void replace(const QStringList& names);
    void set(const QStringList& names);     ///< makes these names the list, whatever is there
    bool holds(const QString& name) const;  ///< the name is listed, or fits one that is

private:
    QString pathOf(const QString& name) const { return folder_ + '/' + name; }
    void removeListed() const;
    void save() const;

    QString folder_;
    QSet<QString> names_;
};

}  // namespace KvMeasure
