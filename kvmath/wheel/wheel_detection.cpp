// A recording is read one profile after another; a run of neighbouring profiles that show a wheel is one
// wheel. Its profiles are written as they come, and removed again where the run turns out too short, so that
// memory holds one profile whatever the length of the recording.
#include <kvmath/wheel/wheel_detection.h>

#include <kvmath/base/count_p.h>
#include <kvmath/profile/profile_z.h>
#include <kvmath/wheel/recording_p.h>
#include <kvmath/wheel/wheel_lines_p.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QSettings>

#include <cmath>

namespace KvMath {

namespace {

struct DetectionSettings {
    int minProfiles, window, maxJumps, minPoints, maxParts;
    float maxStep, maxCorrelation, maxGap;
    KvLine high, low;
};

DetectionSettings readSettings(const QSettings& settings, int scanner) {
    const auto value = [&](const char* name, const QVariant& fallback) {
        return Internal::sensorValue(settings, scanner, name, fallback);
    };
    DetectionSettings read;
    read.minProfiles = settings.value(QStringLiteral("minProfsInWheel"), 5).toInt();
    read.window = value("wndSize", 3).toInt();
    read.maxJumps = value("higherPoinInWnd", 1).toInt();
    read.maxStep = value("maxdY", 1.5F).toFloat();
    read.high = Internal::levelLine(settings, scanner, "level", -0.4F, 187.0F);
    read.low = Internal::levelLine(settings, scanner, "lowlevel", 0.0F, 0.0F);
    read.minPoints = value("minPointsIn", 1.5).toInt();
    // Exchanged by design: the correlation serves as the number of parts, the parts as the correlation.
    read.maxParts = Internal::truncated(value("maxCorr", 1.0F).toFloat());
    read.maxCorrelation = static_cast<float>(Internal::truncated(value("parts", 0.0F).toFloat()));
    read.maxGap = value("maxDist", 10.0F).toFloat();
    return read;
}

bool showsWheel(KvProfile& profile, const DetectionSettings& settings, int mode) {
    constexpr int kModeOfTwoLines = 3, kPointsInPart = 5;
    profile.removeNoise(settings.window, settings.maxJumps, settings.maxStep, 0.0F);
    if (mode != kModeOfTwoLines)
        return ORBIS_isWheel(profile, settings.high, settings.minPoints);
    profile.removeLineParts(settings.maxParts, settings.maxCorrelation, settings.maxGap, kPointsInPart);
    return ORBIS_isWheel(profile, settings.high, settings.low, settings.minPoints);
}

/// Numbers the wheels of a recording and keeps their files.
class WheelFiles {
public:
    WheelFiles(QString directory, int minProfiles)
        : directory_(std::move(directory)), minProfiles_(minProfiles) {}

    /// True when the profile begins a wheel.
    bool add(const KvProfileZ& profile, int record) {
        const bool begins = !open_;
        if (begins)
            passages_.append(WheelPassage());
        open_ = true;
        WheelPassage& passage = passages_.last();
        passage.records.append(record);
        passage.z.append(profile.z);
        // As a plane cloud, whichever record it came from.
        profile.KvPointCloud<KvPointXY>::writeToFile(Internal::wheelFile(
            directory_, Internal::countOf(passages_), Internal::countOf(passage.records)));
        return begins;
    }

    /// A profile without wheel: a short run leaves no trace.
    void close() {
        if (open_ && passages_.last().records.size() < minProfiles_) {
            for (int i = 1; i <= passages_.last().records.size(); ++i)
                QFile::remove(Internal::wheelFile(directory_, Internal::countOf(passages_), i));
            passages_.removeLast();
        }
        open_ = false;
    }

    const QList<WheelPassage>& passages() const { return passages_; }

private:
    QString directory_;
    int minProfiles_;
    QList<WheelPassage> passages_;
    bool open_ = false;
};

/// What the trial form adds.
struct Trial {
    QSettings* settings;
    KvProfile summary;
};

/// The wheels from where the recording stands.
QList<WheelPassage> detectIn(QFile& recording, const DetectionSettings& wanted, int mode,
                             const QString& directory, Trial* trial) {
    WheelFiles files(directory, wanted.minProfiles);
    KvProfileZ profile;
    for (int record = 0; Internal::readNextProfile(recording, profile); ++record) {
        if (trial == nullptr) {
            profile.removeHighLevel(wanted.high);
            profile.removeLowLevel(wanted.low);
        }
        if (!showsWheel(profile, wanted, mode)) {
            files.close();
            continue;
        }
        if (files.add(profile, record) && trial != nullptr) {
            const int wheel = Internal::countOf(files.passages()), number = record + 1;
            trial->settings->setValue(QStringLiteral("Wheel_%1/firstProfInWheel").arg(wheel), number);
            trial->summary.points.append({static_cast<float>(wheel), static_cast<float>(number)});
        }
    }
    return files.passages();
}

/// `minProfiles` in place of that of the settings where it is given.
bool detect(const QString& fileName, QSettings* settings, int mode, const int* minProfiles, Trial* trial,
            QList<WheelPassage>& passages) {
    if (settings == nullptr)
        return false;
    const int scanner = Internal::scannerIndex(*settings, Internal::serialOf(fileName));
    if (scanner == 0)
        return false;
    DetectionSettings wanted = readSettings(*settings, scanner);
    if (minProfiles != nullptr)
        wanted.minProfiles = *minProfiles;
    const QString directory = Internal::wheelDirectory(fileName);
    QDir().mkdir(directory);
    QFile recording(fileName);
    if (!recording.open(QIODevice::ReadOnly))
        return false;
    passages = detectIn(recording, wanted, mode, directory, trial);
    return true;
}

/// Whether more than `limit` points satisfy the test.
template <class Test>
bool moreThan(const QList<KvPointXY>& points, int limit, Test test) {
    int count = 0;
    for (const KvPointXY& p : points) {
        if (test(p) && ++count > limit)
            return true;
    }
    return count > limit;
}

}  // namespace

bool ORBIS_detectWheels(QString fileName, QSettings* settings, int mode, int* wheelCount,
                        QList<WheelPassage>& passages) {
    if (wheelCount == nullptr || !detect(fileName, settings, mode, nullptr, nullptr, passages))
        return false;
    *wheelCount = Internal::countOf(passages);
    return true;
}

bool ORBIS_detectWheels(QString fileName, QSettings* settings, int mode, int minProfiles, int* wheelCount,
                        QList<WheelPassage>& passages) {
    if (wheelCount == nullptr || !detect(fileName, settings, mode, &minProfiles, nullptr, passages))
        return false;
    *wheelCount = Internal::countOf(passages);
    return true;
}

QList<WheelPassage> splitWheels(QFile& recording, const QSettings& settings, int scanner, int mode,
                                int minProfiles, const QString& directory) {
    DetectionSettings wanted = readSettings(settings, scanner);
    wanted.minProfiles = minProfiles;
    return recording.isOpen() ? detectIn(recording, wanted, mode, directory, nullptr) : QList<WheelPassage>();
}

bool ORBIS_detectWheels(QString fileName, QSettings* settings, int mode, int* wheelCount) {
    QList<WheelPassage> passages;
    return ORBIS_detectWheels(std::move(fileName), settings, mode, wheelCount, passages);
}

bool ORBIS_detectWheels_Test(QString fileName, QSettings* settings, int mode, int* wheelCount,
                             QSettings* result) {
    Trial trial = {result, {}};
    QList<WheelPassage> passages;
    if (result == nullptr || wheelCount == nullptr ||
        !detect(fileName, settings, mode, nullptr, &trial, passages))
        return false;
    trial.summary.writeToCSVFile(QStringLiteral("test.csv"));
    *wheelCount = Internal::countOf(passages);
    return true;
}

bool ORBIS_isWheel(KvProfile profile, KvLine high, int minPoints) {
    return moreThan(profile.points, minPoints, [&](const KvPointXY& p) { return high.y(p.x) > p.y; });
}

bool ORBIS_isWheel(KvProfile profile, KvLine high, KvLine low, int minPoints) {
    return moreThan(profile.points, minPoints,
                    [&](const KvPointXY& p) { return high.y(p.x) > p.y && low.y(p.x) < p.y; });
}

bool ORBIS_isWheel(KvProfile profile, float contourGap, float lineTolerance, int minLinePoints, float slope,
                   float slopeTolerance, float length, float lengthTolerance) {
    constexpr int kFewPoints = 10;
    if (profile.points.size() < kFewPoints)
        return true;
    const auto contours =
        Internal::contoursOf(Internal::widened(profile.points), static_cast<double>(contourGap));
    for (const Internal::PlanePoints& contour : contours) {
        const Internal::PlanePoints vertices =
            Internal::straightPieces(contour, static_cast<double>(lineTolerance), minLinePoints).vertices;
        for (std::size_t k = 0; k + 1 < vertices.size(); ++k) {
            const KvVector2D<double>&p = vertices[k], &q = vertices[k + 1];
            const double found = std::sqrt((q.x - p.x) * (q.x - p.x) + (q.y - p.y) * (q.y - p.y));
            if (!(std::fabs(found - static_cast<double>(length)) < static_cast<double>(lengthTolerance)))
                continue;
            const KvLine line({static_cast<float>(p.x), static_cast<float>(p.y)},
                              {static_cast<float>(q.x), static_cast<float>(q.y)});
            if (std::fabs(line.k - slope) < slopeTolerance)
                return true;
        }
    }
    return false;
}

}  // namespace KvMath
