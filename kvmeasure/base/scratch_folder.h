#pragma once
// A folder for files that nobody keeps.

#include <kvmeasure/base/global.h>

#include <QtCore/QString>

namespace KvMeasure {

/// An empty folder in the system's directory for temporary files (TMPDIR, else /tmp). It goes with the
/// object, and so does all that was written into it. What a killed process left there, the next object of the
/// same user removes.
class KVMEASURE_EXPORT ScratchFolder {
public:
    ScratchFolder();  ///< makes the folder; throws Error that names the directory where it cannot be made
    ScratchFolder(const ScratchFolder&) = delete;             ///< a folder has one owner
    ScratchFolder& operator=(const ScratchFolder&) = delete;  ///< not copied either
    ~ScratchFolder();                                         ///< removes the folder

    const QString& path() const { return path_; }  ///< absolute, without a '/' at its end

private:
    QString root_, path_;
    int lock_ = -1;
};

}  // namespace KvMeasure
