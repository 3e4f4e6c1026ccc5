// A recording with settings of any kind: its wheels, their defects, their distances.

#include "fuzz/fuzz_input.h"
#include "fuzz/scratch_file.h"

#include <kvmath/wheel/wheel_defects.h>
#include <kvmath/wheel/wheel_detection.h>
#include <kvmath/wheel/wheelset_distance.h>

#include <QtCore/QDir>
#include <QtCore/QSettings>

#include <vector>

namespace {

constexpr size_t kMostBytes = 4096;  // each byte may be a file
constexpr int kMostWheels = 64;

const char* const kSensorKeys =
    "level_k level_b lowlevel_k lowlevel_b lowLevel_k lowLevel_b wndSize higherPoinInWnd maxdY minPointsIn "
    "maxCorr parts maxDist k2 b2 pointsHigher polynomDegree maxDeviation minimalDefectsProf";

QVariant anyValue(Fuzz::Input& in) {
    const int kind = in.below(4);
    return kind == 0   ? QVariant(in.integer())
           : kind == 1 ? QVariant(QString::number(in.number()))
           : kind == 2 ? QVariant(QString(in.below(3), QChar(in.byte())))
                       : QVariant(in.number());
}

void choose(QSettings& settings, Fuzz::Input& input) {
    settings.clear();
    settings.setValue("SENSOR1/SN", 100);
    static const QStringList keys = QString(kSensorKeys).split(' ');
    if (!input.isOneIn(4))
        return;
    for (const QString& key : keys)
        if (input.below(8) == 1)
            settings.setValue("SENSOR1/" + key, anyValue(input));
    for (const char* key : {"minProfsInWheel", "calibrLines2"})
        if (input.below(4) == 1)
            settings.setValue(key, anyValue(input));
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > kMostBytes)
        return 0;
    static QSettings settings(Fuzz::scratchPath("settings.ini"), QSettings::IniFormat);
    Fuzz::Input input(data, size);
    const bool isAnalysed = input.isOneIn(8);
    static Fuzz::ScratchFile file("pass_100.bin");
    const QString recording = file.with(QByteArray(reinterpret_cast<const char*>(data), int(size)));
    choose(settings, input);
    int wheels = -1;
    QList<KvMath::WheelPassage> passages;
    const bool isRead =
        KvMath::ORBIS_detectWheels(recording, &settings, input.integer() % 5, &wheels, passages);
    Fuzz::require(isRead && wheels == passages.size(), "a recording that opens is read to its end");

    const int asked = qMin(wheels + input.below(3), kMostWheels);
    if (isAnalysed) {  // takes three times as long as all else
        std::vector<unsigned char> flags(size_t(asked) + 1, 1);
        KvMath::ORBIS_detectDefectsInTrain(recording, &settings, flags.data(), nullptr, asked);
        std::vector<float> distances(size_t(asked) + 1);
        KvMath::ORBIS_calcWheelsDistInTrain(recording, recording, asked, &settings, distances.data());
    }
    if (wheels > 0)
        QDir(Fuzz::scratchPath("pass_100")).removeRecursively();
    return 0;
}
