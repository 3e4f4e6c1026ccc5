#pragma once
// Where all benchmarks keep their files.

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QStorageInfo>
#include <QtCore/QString>

namespace Inputs {

/// For QTemporaryDir: in memory, so that no row waits for a disk, where the system offers enough of it for
/// the longest recordings, else where temporary files go.
inline QString scratchFolder() {
    constexpr qint64 kLeastRoom = 2'000'000'000;
    const QString memory = "/dev/shm";
    const bool isUsable =
        QFileInfo(memory).isWritable() && QStorageInfo(memory).bytesAvailable() >= kLeastRoom;
    return (isUsable ? memory : QDir::tempPath()) + "/kvmath-XXXXXX";
}

}  // namespace Inputs
