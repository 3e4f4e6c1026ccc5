#pragma once
// Recordings of a train pass and the wheel files made of them: names, settings groups, reading.

#include <kvmath/core/line.h>
#include <kvmath/profile/profile.h>

#include <QtCore/QSettings>
#include <QtCore/QString>

class QFile;

namespace KvMath {
class KvProfileZ;
}

namespace KvMath::Internal {

/// Directory of a recording's wheel files: "./" and the name, its last part without ".bin"; an absolute name
/// stays absolute.
QString wheelDirectory(const QString& recording);

/// "DIRECTORY/WW_PP.bin", both numbers with at least two digits.
QString wheelFile(const QString& directory, int wheel, int profile);

/// Serial number in a recording's own name: the text after its first "_" (without one, all of it) less
/// ".bin", as a decimal number. 0 when it is none.
int serialOf(const QString& recording);

/// Index of the scanner with this serial: the i of the first "SENSOR<i>/SN", i = 1 ... 49, that equals it. 0
/// when a serial of 0, as of a missing key, comes first; 50 when all 49 are others.
int scannerIndex(const QSettings& settings, int serial);

/// The value of "SENSOR<index>/<name>".
QVariant sensorValue(const QSettings& settings, int index, const char* name, const QVariant& fallback);
/// The line of slope "SENSOR<index>/<name>_k" and intercept "..._b".
KvLine levelLine(const QSettings& settings, int index, const char* name, float slope, float intercept);

int truncated(float value);  ///< clamped to int; NaN is 0

/// Reads the next profile, from a plane cloud's record (z NaN) or else a profile's with Z. False at the end
/// of the recording or at a record of neither kind.
bool readNextProfile(QFile& recording, KvProfileZ& profile);

}  // namespace KvMath::Internal
