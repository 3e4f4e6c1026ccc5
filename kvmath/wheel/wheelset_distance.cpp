// The distance is that of the calibrated reference lines and the offset on each side of the line through the
// first half of the profile. Of every wheel all files are read to choose one, a profile at a time.
#include <kvmath/wheel/wheelset_distance.h>

#include <kvmath/base/count_p.h>
#include <kvmath/wheel/recording_p.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QSettings>

#include <cmath>
#include <limits>
#include <utility>

namespace KvMath {

namespace {

KvProfile firstHalf(const KvProfile& profile) {
    KvProfile half = profile;
    half.points = profile.points.mid(0, profile.points.size() / 2);
    return half;
}

/// Offset of the fitted line from the reference line, square to the latter.
double offset(const KvProfile& half, const KvLine& reference) {
    KvLine line;
    half.calcLine(line);
    return (static_cast<double>(line.b) - static_cast<double>(reference.b)) *
           std::fabs(std::cos(std::atan(static_cast<double>(reference.k))));
}

/// One side of the track.
struct Side {
    QString directory;
    KvLine reference, level;
};

bool findSide(const QString& recording, const QSettings& settings, Side& side) {
    const int serial = Internal::serialOf(recording);
    const auto isOf = [&](int sensor) {
        return Internal::sensorValue(settings, sensor, "SN", 0).toInt() == serial;
    };
    const int sensor = isOf(1) ? 1 : 2;
    side.directory = Internal::wheelDirectory(recording);
    if ((sensor == 2 && !isOf(2)) || !QDir(side.directory).exists())
        return false;
    const auto value = [&](const char* name) {
        return Internal::sensorValue(settings, sensor, name, 0.0F).toFloat();
    };
    side.reference = {value("k2"), value("b2")};
    side.level = Internal::levelLine(settings, sensor, "level", 0.0F, 0.0F);
    return true;
}

KvProfile cutProfile(const Side& side, int wheel, int number) {
    KvProfile profile;  // stays empty when there is no such file
    profile.readFromFile(Internal::wheelFile(side.directory, wheel, number));
    profile.removeHighLevel(side.level);
    return profile;
}

/// The profile of a wheel that is measured; false without first file or without points.
///
/// By design a look at file k is counted under k + 1, since the file names run one behind the count; only the
/// first file is looked at twice and found under 1. So the profile behind the fullest is taken.
bool chooseProfile(const Side& side, int wheel, KvProfile& chosen) {
    if (!QFile::exists(Internal::wheelFile(side.directory, wheel, 1)))
        return false;
    int most = Internal::countOf(cutProfile(side, wheel, 1).points);
    int remembered = most > 0 ? 1 : 0;
    for (int k = 2; QFile::exists(Internal::wheelFile(side.directory, wheel, k)); ++k) {
        const int count = Internal::countOf(cutProfile(side, wheel, k).points);
        if (count > most) {
            most = count;
            remembered = k + 1;
        }
    }
    if (remembered == 0)
        return false;
    chosen = cutProfile(side, wheel, remembered);
    return true;
}

}  // namespace

float ORBIS_calcWheelsDist(KvProfile& profileA, KvProfile& profileB, KvLine refA, KvLine refB,
                           float calibDistance) {
    const KvProfile halfA = firstHalf(profileA), halfB = firstHalf(profileB);
    profileA = halfA;
    profileB = halfB;
    return static_cast<float>(offset(halfA, refA) + static_cast<double>(calibDistance) + offset(halfB, refB));
}

bool ORBIS_calcWheelsDistInTrain(QString recordingA, QString recordingB, int firstWheel, int wheelCount,
                                 QSettings* settings, float* const distances) {
    Side a, b;
    if (settings == nullptr || !findSide(recordingA, *settings, a) || !findSide(recordingB, *settings, b))
        return false;
    if (wheelCount < 1)
        return true;
    if (distances == nullptr || firstWheel < 1 ||
        wheelCount - 1 > std::numeric_limits<int>::max() - firstWheel)
        return false;
    const float calibDistance = settings->value(QStringLiteral("calibrLines2"), 0.0F).toFloat();
    for (int i = 0; i < wheelCount; ++i) {
        const int wheel = firstWheel + i;
        KvProfile profileA, profileB;
        if (!chooseProfile(a, wheel, profileA) || !chooseProfile(b, wheel, profileB))
            return false;
        distances[i] = ORBIS_calcWheelsDist(profileA, profileB, a.reference, b.reference, calibDistance);
    }
    return true;
}

bool ORBIS_calcWheelsDistInTrain(QString recordingA, QString recordingB, int wheelCount, QSettings* settings,
                                 float* const distances) {
    return ORBIS_calcWheelsDistInTrain(std::move(recordingA), std::move(recordingB), 1, wheelCount, settings,
                                       distances);
}

}  // namespace KvMath
