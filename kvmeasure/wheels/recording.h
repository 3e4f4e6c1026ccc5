#pragma once
// The recordings of a pass: found, looked through for damage, split into wheel files.
//
// WheelPass::split calls lookThrough, splitRecording and renumber for each recording, in this order.

#include <kvmeasure/base/global.h>
#include <kvmeasure/wheels/post.h>

#include <kvmath/wheel/wheel_detection.h>

#include <QtCore/QFile>

#include <memory>

namespace KvMeasure {

/// What one scanner recorded.
struct KVMEASURE_EXPORT Recording {
    QString path;                        ///< of the file, as given
    QString inWork;                      ///< its path if it lay in the work directory; names the wheel files
    int index = 0;                       ///< number of the scanner, from 1
    int records = 0;                     ///< whole records, as lookThrough counts them
    qint64 damagedAt = -1;               ///< byte at which these end before the file does; -1: undamaged
    qint64 size = 0;                     ///< of the file, bytes
    int joined = 0;                      ///< wheels made of several runs
    QList<KvMath::WheelPassage> wheels;  ///< runs in order of time; of splitRecording
    std::shared_ptr<QFile> opened;       ///< open from lookThrough to splitRecording, else null

    /// The directory of the wheel files; empty before splitRecording.
    QString directory() const;
    /// Path of the file of a profile of a wheel, both from 1. The file need not exist.
    QString file(int wheel, int profile) const;
};

/// The recordings among the operands, or in operands that are folders, one per scanner, in order of the
/// scanners' numbers. A recording is named STEM_SERIAL.bin. `skipped` gets a sentence for each other file and
/// for a second recording of a scanner. Files are not opened. Throws Error when there is no recording, and
/// for a folder that cannot be read.
KVMEASURE_EXPORT QList<Recording> findRecordings(const QStringList& operands, const PostSettings& settings,
                                                 QStringList& skipped);

/// How recordings are split.
struct Splitting {
    int mode = 0;  ///< as KvMath::ORBIS_detectWheels takes it: 0 by points, 3 by lines
    int join = 3;  ///< >= 0; runs that are at most so many records apart are one wheel
    QString work;  ///< directory of the wheel files; it is made where there is none
};

/// Opens the file, counts its records and looks for damage; sets opened, records, damagedAt and size. An
/// empty file has no records and no damage. Throws Error for what is no regular file or cannot be opened.
KVMEASURE_EXPORT void lookThrough(Recording& recording);

/// Splits the recording into runs, joins them, and undoes those that are then shorter than minProfsInWheel
/// and do not end with the recording. lookThrough comes first; the file is closed after it. Wheel files of
/// an earlier pass are removed first: those after a new, shorter run would belong to it. A recording without
/// wheels leaves no file.
///
/// Throws Error: a work directory that cannot be made or has ".bin" in its path, files in it that no pass
/// wrote (nothing is removed then), a recording that cannot be read, wheel files that cannot be written.
/// Wheel files written so far stay and are listed as own: the next pass removes them.
KVMEASURE_EXPORT void splitRecording(Recording& recording, PostSettings& settings,
                                     const Splitting& splitting);

/// Gives the files of passage i the wheel number numbers[i]; those numbered 0 are removed. The other numbers
/// are > 0 and increase; not checked. One number per passage. Throws Error for a file that cannot be renamed.
KVMEASURE_EXPORT void renumber(Recording& recording, const QList<int>& numbers);

/// The number of wheel files that an earlier pass left in a work directory; 0 where there is none.
KVMEASURE_EXPORT int filesOfEarlierPass(const QList<Recording>& recordings, const QString& work);

}  // namespace KvMeasure
