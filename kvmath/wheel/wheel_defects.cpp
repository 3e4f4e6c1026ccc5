#include <kvmath/wheel/wheel_defects.h>

#include <kvmath/core/line.h>
#include <kvmath/wheel/recording_p.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QSettings>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>

namespace KvMath {

namespace {

struct DefectTest {
    KvLine high, low;
    float maxDeviation;
    int maxOutliers, degree, allowedProfiles;
};

DefectTest readTest(const QSettings& settings, int scanner) {
    const auto value = [&](const char* name, const QVariant& fallback) {
        return Internal::sensorValue(settings, scanner, name, settings.value(QLatin1String(name), fallback));
    };
    DefectTest test;
    test.high = Internal::levelLine(settings, scanner, "level", -0.4F, 187.0F);
    test.low = Internal::levelLine(settings, scanner, "lowLevel", -0.4F, 67.0F);
    // By design the three settings reach the test in the order of the file, not of their names.
    test.maxDeviation = value("polynomDegree", 20).toFloat();
    test.maxOutliers = Internal::truncated(value("maxDeviation", 0.3F).toFloat());
    test.degree = value("pointsHigher", 5).toInt();
    test.allowedProfiles = value("minimalDefectsProf", 1).toInt();
    return test;
}

bool isDefective(const QString& path, const DefectTest& test) {
    KvProfile profile;
    profile.readFromFile(path);
    profile.removeHighLevel(test.high);
    profile.removeLowLevel(test.low);
    return !ORBIS_detectWheelDefect(profile, test.maxDeviation, test.maxOutliers, test.degree);
}

int countDefective(const QString& directory, int wheel, const DefectTest& test) {
    int count = 0;
    const QString unnumbered = Internal::wheelFile(directory, wheel, 0);
    if (QFile::exists(unnumbered) && isDefective(unnumbered, test))
        ++count;
    for (int i = 1; QFile::exists(Internal::wheelFile(directory, wheel, i)); ++i)
        count += isDefective(Internal::wheelFile(directory, wheel, i), test) ? 1 : 0;
    return count;
}

/// The wheels that have files: a large count must not cost a look for files that cannot be there.
std::set<int> wheelsWithFiles(const QString& directory) {
    std::set<int> wheels;
    const QStringList names = QDir(directory).entryList({QStringLiteral("*.bin")});
    for (const QString& name : names)
        wheels.insert(name.section('_', 0, 0).toInt());
    return wheels;
}

}  // namespace

bool ORBIS_detectWheelDefect(const KvProfile& profile, float maxDeviation, int maxOutliers, int degree) {
    KvProfile fitted = profile;
    fitted.polynomFit(degree);
    int outliers = 0;
    for (int i = 0; i < profile.points.size(); ++i) {
        if (std::fabs(profile.points.at(i).y - fitted.points.at(i).y) > maxDeviation)
            ++outliers;
    }
    return outliers <= maxOutliers;
}

bool ORBIS_detectDefectsInTrain(QString fileName, QSettings* settings, unsigned char* flags1,
                                unsigned char* flags2, int wheelCount) {
    constexpr int kLastScannerOfFirstArray = 10;
    if (settings == nullptr)
        return false;
    const int scanner = Internal::scannerIndex(*settings, Internal::serialOf(fileName));
    const QString directory = Internal::wheelDirectory(fileName);
    unsigned char* flags = scanner > kLastScannerOfFirstArray ? flags2 : flags1;
    if (scanner == 0 || !QDir(directory).exists() || (flags == nullptr && wheelCount > 0))
        return false;
    const DefectTest test = readTest(*settings, scanner);
    if (wheelCount < 1)
        return true;
    if (test.allowedProfiles < 0)
        std::memset(flags, 0, static_cast<std::size_t>(wheelCount));  // even no defective profile is too many
    for (const int wheel : wheelsWithFiles(directory)) {
        if (wheel >= 0 && wheel < wheelCount && countDefective(directory, wheel, test) > test.allowedProfiles)
            flags[wheel] = 0;
    }
    return true;
}

}  // namespace KvMath
