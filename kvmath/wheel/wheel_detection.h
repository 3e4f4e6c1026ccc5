#pragma once
// Splits the recording of a scanner during a train pass into files of one wheel each.
//
// A recording is named STEM_SERIAL.bin and holds the scanner's profiles one after another, as records of
// KvPointCloud<KvPointXY> or of KvProfileZ. The profiles of wheel w (from 1) go to "./STEM_SERIAL/ww_pp.bin",
// pp from 1, relative to the current directory (an absolute name keeps its directory). Memory holds one
// profile.

#include <kvmath/core/line.h>
#include <kvmath/profile/profile.h>

#include <QtCore/QString>
#include <QtCore/QVector>

class QFile;
class QSettings;

namespace KvMath {

/// Finds the wheels in a recording and writes their files; `*wheelCount` receives their number.
///
/// Settings of scanner i, the first of 1 to 49 whose "SENSOR<i>/SN" is the serial: "SENSOR<i>/" and
///   level_k -0.4, level_b 187     high level line: points above it go (removeHighLevel)
///   lowlevel_k 0, lowlevel_b 0    low level line: points below it go (removeLowLevel)
///   wndSize 3, higherPoinInWnd 1, maxdY 1.5      removeNoise
///   minPointsIn 1.5, rounded      a wheel profile has more points than this below the high line
///   maxCorr 1, parts 0, maxDist 10               removeLineParts, mode 3 only
/// and for all scanners "minProfsInWheel" 5. The default 1.5 counts as 2, but the text 1.5 of an INI file,
/// where a whole number belongs, as 0. In mode 3 removeLineParts(int(maxCorr), float(int(parts)), maxDist, 5)
/// runs too, deliberately with these two exchanged, and the points must also lie above the low line.
///
/// Wheel profiles that follow one another are one wheel. One of fewer than minProfsInWheel profiles is
/// undone, files and number, when a profile without wheel ends it; at the end of the recording it is kept.
///
/// False, `*wheelCount` untouched: a null pointer, a serial that is not configured (a missing SN ends the
/// search; after 49 others index 50 is used), a recording that cannot be opened. A damaged record ends the
/// recording: true. Files that cannot be written or deleted go unreported; existing ones are overwritten.
KVMATH_EXPORT bool ORBIS_detectWheels(QString fileName, QSettings* settings, int mode, int* wheelCount);

/// Where the profiles of a wheel come from: element p - 1 belongs to file p.
struct WheelPassage {
    QVector<int> records;  ///< number of the record in the recording, from 0
    QVector<float> z;      ///< its place along the scan, mm; NaN for records without Z
};

/// Finds the wheels as the form without passages, and replaces `passages` by one entry per wheel that stays:
/// what scanners that are triggered together saw at one moment has one record number. On false it is left
/// alone.
KVMATH_EXPORT bool ORBIS_detectWheels(QString fileName, QSettings* settings, int mode, int* wheelCount,
                                      QList<WheelPassage>& passages);

/// Finds the wheels as the form before, with `minProfiles` in place of the setting "minProfsInWheel".
KVMATH_EXPORT bool ORBIS_detectWheels(QString fileName, QSettings* settings, int mode, int minProfiles,
                                      int* wheelCount, QList<WheelPassage>& passages);

/// Finds the wheels in an open recording, from where it stands to its end, as ORBIS_detectWheels does, with
/// the settings of scanner `scanner` (not checked) and `minProfiles` in place of "minProfsInWheel". The files
/// go into `directory`, which exists (not made), under the names of wheelFileName. One entry per wheel that
/// stays; none for a recording that is not open.
KVMATH_EXPORT QList<WheelPassage> splitWheels(QFile& recording, const QSettings& settings, int scanner,
                                              int mode, int minProfiles, const QString& directory);

/// ORBIS_detectWheels for trying settings: without the two level cuts; the number of the profile (from 1)
/// that begins wheel w goes to `result` under "Wheel_<w>/firstProfInWheel", and all pairs (w, profile) to
/// "test.csv" in the current directory, undone wheels included. False also for a null result.
KVMATH_EXPORT bool ORBIS_detectWheels_Test(QString fileName, QSettings* settings, int mode, int* wheelCount,
                                           QSettings* result);

/// Whether more than minPoints points lie strictly below the line.
KVMATH_EXPORT bool ORBIS_isWheel(KvProfile profile, KvLine high, int minPoints);
/// Whether more than minPoints points lie strictly below `high` and strictly above `low`.
KVMATH_EXPORT bool ORBIS_isWheel(KvProfile profile, KvLine high, KvLine low, int minPoints);
/// Whether the profile has a straight piece of this length (mm) and slope, each within less than its
/// tolerance. Pieces come from profile2contours (contourGap) and contour2lines (lineTolerance, minLinePoints,
/// which is its number of passes); a vertical piece has slope 0. Fewer than 10 points: true, deliberately.
KVMATH_EXPORT bool ORBIS_isWheel(KvProfile profile, float contourGap, float lineTolerance, int minLinePoints,
                                 float slope, float slopeTolerance, float length, float lengthTolerance);

}  // namespace KvMath
