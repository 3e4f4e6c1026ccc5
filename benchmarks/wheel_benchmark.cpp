// Detection of wheels with default settings, beside a plain read of the same recording. Profiles of 300
// points with noise, from files in memory; the files of wheels on the disk, too.

#include <benchmarks/inputs.h>
#include <benchmarks/scratch_folder.h>
#include <kvmath/profile/profile_z.h>
#include <kvmath/wheel/wheel_detection.h>
#include <tests/support/random_data.h>

#include <benchmark/benchmark.h>

#include <QtCore/QDir>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>

#include <sys/resource.h>

#include <map>
#include <tuple>

namespace {

using namespace KvMath;

constexpr int kPoints = 300;
constexpr int kFromWheelToWheel = 150;  // profiles

KvProfileZ flat(int points, unsigned seed, float height) {
    TestSupport::Draws draws(seed);
    KvProfileZ profile;
    for (int i = 0; i < points; ++i)
        profile.points.append(
            {0.5F * static_cast<float>(i), height + static_cast<float>(draws.normal(0.05))});
    return profile;
}

/// A recording in which every wheel shows in this many profiles.
class Recording {
public:
    Recording(int profiles, int profilesOfWheel, const QString& folder) : directory(folder) {
        Inputs::Pool surroundings(kPoints,
                                  [](int points, unsigned seed) { return flat(points, seed, 250.0F); });
        Inputs::Pool wheels(kPoints, [](int points, unsigned seed) { return flat(points, seed, 90.0F); });
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            return;
        for (int i = 0; i < profiles; ++i)
            (i % kFromWheelToWheel < profilesOfWheel ? wheels : surroundings).next().writeToFile(file);
        QSettings(settings, QSettings::IniFormat).setValue("SENSOR1/SN", 1);
    }

    const QTemporaryDir directory;
    const QString path = directory.filePath("pass_1.bin");
    const QString settings = directory.filePath("settings.ini");
};

/// Made once each: a long one takes longer than its detection.
const Recording& recordingOf(int profiles, int profilesOfWheel,
                             const QString& folder = Inputs::scratchFolder()) {
    static std::map<std::tuple<int, int, QString>, Recording> recordings;
    return recordings
        .try_emplace(std::tuple(profiles, profilesOfWheel, folder), profiles, profilesOfWheel, folder)
        .first->second;
}

double peakMegabytes() {
    constexpr double kKilobytes = 1024;
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / kKilobytes;
}

void BM_PlainRead(benchmark::State& state) {
    constexpr int kBlock = 65'536;
    const Recording& recording = recordingOf(static_cast<int>(state.range(0)), 0);
    QByteArray block(kBlock, '\0');
    for (auto _ : state) {
        QFile file(recording.path);
        if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
            state.SkipWithError("no file");
        while (file.read(block.data(), kBlock) > 0)
            benchmark::DoNotOptimize(block.constData());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["peakMB"] = peakMegabytes();
}
BENCHMARK(BM_PlainRead)->RangeMultiplier(10)->Range(1000, 100000)->Unit(benchmark::kMillisecond);

/// `keepsFiles`: under names of their own until the end, since a disk's file system takes long to use again
/// what was just removed; at once removed otherwise, since memory is dear.
void detect(benchmark::State& state, const Recording& recording, bool keepsFiles) {
    static int pass = 0;
    QSettings settings(recording.settings, QSettings::IniFormat);
    int wheels = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const QString work = recording.directory.filePath(QString("pass%1_1").arg(++pass));
        QFile::link(recording.path, work + ".bin");
        state.ResumeTiming();
        if (!ORBIS_detectWheels(work + ".bin", &settings, 0, &wheels))
            state.SkipWithError("not read");
        state.PauseTiming();
        if (!keepsFiles)
            QDir(work).removeRecursively();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["wheels"] = wheels;
    state.counters["peakMB"] = peakMegabytes();
}

int profilesOf(const benchmark::State& state) { return static_cast<int>(state.range(0)); }

/// Nothing passes: reading and the two level lines.
void BM_DetectNothing(benchmark::State& state) {
    detect(state, recordingOf(profilesOf(state), 0), /*keepsFiles=*/false);
}
BENCHMARK(BM_DetectNothing)->RangeMultiplier(10)->Range(1000, 100000)->Unit(benchmark::kMillisecond);

/// Every fifth profile is one of a wheel and is written to a new file of its own.
constexpr int kProfilesOfWheel = kFromWheelToWheel / 5;
void BM_DetectWheels(benchmark::State& state) {
    detect(state, recordingOf(profilesOf(state), kProfilesOfWheel), /*keepsFiles=*/false);
}
void BM_DetectWheelsOnDisk(benchmark::State& state) {
    detect(state, recordingOf(profilesOf(state), kProfilesOfWheel, QDir::tempPath() + "/kvmath-XXXXXX"),
           /*keepsFiles=*/true);
}
BENCHMARK(BM_DetectWheels)
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Iterations(2)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DetectWheelsOnDisk)->Arg(1000)->Arg(10000)->Iterations(2)->Unit(benchmark::kMillisecond);

}  // namespace
