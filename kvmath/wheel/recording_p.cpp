#include <kvmath/wheel/recording_p.h>

#include <kvmath/core/line.h>
#include <kvmath/core/record_layout.h>
#include <kvmath/profile/profile_z.h>
#include <kvmath/wheel/wheel_files.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cmath>
#include <limits>

namespace KvMath::Internal {

namespace {

constexpr int kScannersAtMost = 49;

QString withoutExtension(QString name) { return name.remove(QStringLiteral(".bin")); }

/// The name as given, less every ".bin" in its last part: a directory may be called so.
QString withoutOwnExtension(const QString& name) {
    const QString own = QFileInfo(name).fileName();
    return name.chopped(own.size()) + withoutExtension(own);
}

}  // namespace

QString wheelDirectory(const QString& recording) {
    const QString name = withoutOwnExtension(recording);
    return QDir::isAbsolutePath(name) ? name : QStringLiteral("./") + name;
}

QString wheelFile(const QString& directory, int wheel, int profile) {
    return directory + QLatin1Char('/') + wheelFileName(wheel, profile);
}

int serialOf(const QString& recording) {
    const QString name = withoutExtension(QFileInfo(recording).fileName());
    return name.mid(name.indexOf('_') + 1).toInt();
}

int scannerIndex(const QSettings& settings, int serial) {
    for (int i = 1; i <= kScannersAtMost; ++i) {
        const int configured = sensorValue(settings, i, "SN", 0).toInt();
        if (configured == 0)
            return 0;
        if (configured == serial)
            return i;
    }
    return kScannersAtMost + 1;  // by design: the search goes on with the index behind the last
}

QVariant sensorValue(const QSettings& settings, int index, const char* name, const QVariant& fallback) {
    return settings.value(QStringLiteral("SENSOR%1/%2").arg(QString::number(index), QLatin1String(name)),
                          fallback);
}

KvLine levelLine(const QSettings& settings, int index, const char* name, float slope, float intercept) {
    const auto part = [&](const char* suffix, float fallback) {
        return sensorValue(settings, index, (QByteArray(name) + suffix).constData(), fallback).toFloat();
    };
    return {part("_k", slope), part("_b", intercept)};
}

int truncated(float value) {
    constexpr float kLimit = 2147483648.0F;
    if (std::isnan(value))
        return 0;
    if (value >= kLimit)
        return std::numeric_limits<int>::max();
    return value < -kLimit ? std::numeric_limits<int>::min() : static_cast<int>(value);
}

bool readNextProfile(QFile& recording, KvProfileZ& profile) {
    char marker = 0;
    // The marker tells which of the two readers can succeed; trying both would read every record with Z
    // twice.
    if (recording.peek(&marker, 1) != 1)
        return false;
    if (marker == kProfileRecord)
        return profile.readFromFile(recording, false) >= 0;
    profile.z = std::numeric_limits<float>::quiet_NaN();
    return profile.KvPointCloud<KvPointXY>::readFromFile(recording) >= 0;
}

}  // namespace KvMath::Internal
