#pragma once
// The recordings of a pass: found, looked through for damage, split into wheel files.

#include "kvmeasure/wheel_post.h"

#include <kvmath/wheel/wheel_detection.h>

namespace KvMeasure {

/// What one scanner recorded.
struct Recording {
    QString path;  ///< as given
    QString link;  ///< the name in the work directory, which places the wheel files
    int index = 0;
    int records = 0;
    qint64 damagedAt = -1;  ///< byte at which the records end before the file does
    qint64 size = 0;
    int joined = 0;  ///< runs that were joined to the one before
    QList<KvMath::WheelPassage> wheels;

    QString directory() const;
    QString file(int wheel, int profile) const;  ///< both from 1
};

/// What there is to work on: the recordings among the operands, or in a folder, with their scanners;
/// `skipped` says what else there was. Throws Failure when there are none.
QList<Recording> findRecordings(const QStringList& operands, const PostSettings& settings,
                                QStringList& skipped);

/// How recordings are split.
struct Splitting {
    int mode = 0;  ///< of ORBIS_detectWheels
    int join = 3;  ///< runs that are at most so many records apart are one wheel
    QString work;  ///< directory of the wheel files
};

/// Counts the records and looks for damage. Throws Failure for what cannot be read.
void lookThrough(Recording& recording);

/// Splits the recording, joins runs. Wheel files of an earlier pass are removed first:
/// those behind a new, shorter run would belong to it. Throws Failure.
void splitRecording(Recording& recording, PostSettings& settings, const Splitting& splitting);

/// Gives the files of passage i the wheel number numbers[i], increasing; those numbered 0 are removed.
void renumber(Recording& recording, const QList<int>& numbers);

/// The number of wheel files in the work directory of an earlier pass.
int filesOfEarlierPass(const QList<Recording>& recordings, const QString& work);

}  // namespace KvMeasure
