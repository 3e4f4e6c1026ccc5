// Hosts and the program on several threads. What is computed at once equals what one thread computes; whether
// any of it races is seen by ThreadSanitizer: preset "threads".

#include <kvmeasure/base/error.h>
#include <kvmeasure/inspection/part_measurement.h>
#include <kvmeasure/profiles/profile_file.h>
#include <kvmeasure/report/results_store.h>
#include <kvmeasure/scans/scan_writer.h>
#include <tests/support/scratch_directory.h>

#include <QtCore/QProcess>

#include <atomic>
#include <cmath>
#include <thread>

namespace {

using namespace KvMeasure;

constexpr int kHosts = 8;
const QString kPlan = KVMATH_SAMPLES "/formats/plan.1.json";  // a template, every kind of tool, a master
const QString kParts[] = {KVMATH_SAMPLES "/v-groove.csv", KVMATH_SAMPLES "/v-groove-moved.csv"};

/// work(0) ... work(kHosts - 1), each on a thread, all begun at once.
template <class Work>
void onThreads(const Work& work) {
    std::atomic<int> waiting{kHosts};
    std::vector<std::thread> threads;
    for (int i = 0; i < kHosts; ++i)
        threads.emplace_back([&waiting, &work, i] {
            for (--waiting; waiting > 0;)
                std::this_thread::yield();
            try {
                work(i);
            } catch (const Error& error) {
                ADD_FAILURE() << error.what();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

KvMath::KvProfile profileOf(const QString& path) {
    ProfileSource source(path, {});
    LoadedProfile loaded;
    source.next(loaded);
    return loaded.profile;
}

/// All values of a part; 1e99 for one that is missing.
std::vector<double> valuesOf(PartMeasurement& part, const KvMath::KvProfile& profile) {
    std::vector<double> values;
    for (const Value& value : part.measure(profile, profile).best.values) {
        values.push_back(value.isValid ? value.value : 1e99);
        values.push_back(std::isnan(value.u) ? -1 : value.u);
    }
    return values;
}

std::vector<double> valuesWith(const InspectionPlan& plan, const QString& path) {
    PartMeasurement part(plan);
    return valuesOf(part, profileOf(path));
}

// The first of this program: no table of kinds, steps, units or words has been used before.
TEST(Threads, MakeEveryTableOnceWhereverItIsUsedFirst) {
    std::vector<double> found[kHosts];
    onThreads([&found](int i) {
        EXPECT_FALSE(loadScan(KVMATH_SAMPLES "/formats/scan.1.xyz", {}).form.isEmpty());
        found[i] = valuesWith(readPlan(kPlan), kParts[0]);
    });
    EXPECT_GT(found[0].size(), 200U);
    for (const std::vector<double>& values : found)
        EXPECT_EQ(values, found[0]);
    EXPECT_EQ(valuesWith(readPlan(kPlan), kParts[0]), found[0]);
}

TEST(Threads, OfHostsMeasureAtOnceWithOnePlan) {
    const InspectionPlan plan = readPlan(kPlan);
    const KvMath::KvProfile profiles[] = {profileOf(kParts[0]), profileOf(kParts[1])};
    const std::vector<double> alone[] = {valuesWith(plan, kParts[0]), valuesWith(plan, kParts[1])};
    onThreads([&](int host) {
        PartMeasurement part(plan);
        for (int i = host; i < host + 4; ++i)
            EXPECT_EQ(valuesOf(part, profiles[i % 2]), alone[i % 2]) << host;
    });
}

TEST(Threads, AreCancelledFromAnother) {
    const TestSupport::ScratchDirectory scratch;
    Scan scan;
    for (int i = 0; i < 200'000; ++i)
        scan.add(KvMath::KvPointXYZ(static_cast<float>(i % 100), 1, static_cast<float>(i / 100)));
    writeScan("scan.ply", ScanForm::PlyText, false, scan);
    std::atomic<int> running{0};
    std::atomic<bool> isCancelled{false};
    std::thread canceller([&] {
        while (running < kHosts)
            std::this_thread::yield();
        isCancelled = true;
    });
    onThreads([&](int /*host*/) {
        bool isFirst = true;
        ScanOptions options;
        options.progress = [&](const QString&, qint64 /*done*/, qint64 /*total*/) {
            running += isFirst ? 1 : 0;
            for (isFirst = false; !isCancelled;)
                std::this_thread::yield();
            return !isCancelled;
        };
        try {
            loadScan("scan.ply", options);
            ADD_FAILURE() << "not cancelled";
        } catch (const Error& error) {
            EXPECT_TRUE(error.isCancelled()) << error.what();
        }
    });
    canceller.join();
}

TEST(Threads, StoreEachInAStoreOfItsOwn) {
    const TestSupport::ScratchDirectory scratch;
    std::atomic<int> stored{0};
    std::atomic<bool> hasDriver{true};
    onThreads([&](int host) {
        try {
            ResultsStore store(QString("%1.db").arg(host), ResultsStore::Access::Add);
            const qint64 run = store.beginRun({});
            stored += store.addParts(run, {StoredPart()});
            store.endRun(run);
        } catch (const Error&) {  // no driver for SQLite here
            hasDriver = false;
        }
    });
    EXPECT_EQ(stored, hasDriver ? kHosts : 0);
}

TEST(Threads, OfTheProgramGiveWhatOneGives) {
    const TestSupport::ScratchDirectory scratch;
    QByteArray list;
    for (int i = 0; i < 60; ++i)
        list += (kParts[i % 2] + '\n').toUtf8();
    TestSupport::ScratchDirectory::write("list.txt", list);
    const auto run = [](const char* jobs, const QStringList& words) {
        QProcess process;
        process.start(KVMEASURE_PROGRAM, words + QStringList{"--jobs", jobs});
        EXPECT_TRUE(process.waitForFinished(100'000));
        EXPECT_LE(process.exitCode(), 1) << process.readAllStandardError().toStdString();
        return process.readAllStandardOutput();
    };
    QStringList parts{"match", "--template", KVMATH_SAMPLES "/v-groove.template.json", "--csv"};
    for (int i = 0; i < 60; ++i)
        parts.append(kParts[i % 2]);
    EXPECT_EQ(run("4", parts), run("1", parts));
    const QStringList listed{"match", "--template", parts[2], "--files-from", "list.txt", "--out"};
    run("1", listed + QStringList("one.csv"));
    run("4", listed + QStringList("four.csv"));
    EXPECT_EQ(TestSupport::ScratchDirectory::read("one.csv"),
              TestSupport::ScratchDirectory::read("four.csv"));
}

}  // namespace
