// Every call that takes a progress: what it is told, and what cancelling at any moment leaves, which is
// nothing.

#include <kvmeasure/base/output_file.h>
#include <kvmeasure/scans/scan_file.h>
#include <kvmeasure/scans/scan_writer.h>
#include <kvmeasure/wheels/pass.h>
#include <simulator/train_pass.h>
#include <tests/kvmeasure/calls.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QDirIterator>

#include <map>

namespace {

using Call = std::function<void(const Progress& progress)>;

/// Content of all files below a folder, without those that the program keeps for itself.
std::map<QString, QByteArray> contentOf(const QString& folder) {
    std::map<QString, QByteArray> content;
    QDirIterator it(folder, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        content[path] = QCryptographicHash::hash(ScratchDirectory::read(path), QCryptographicHash::Sha1);
    }
    return content;
}

/// What the progress of a whole call was told. Numbers ascend, and the last is the total.
std::vector<qint64> toldBy(const Call& call) {
    std::vector<qint64> told;
    qint64 ofTotal = 0;
    call([&](const QString& what, qint64 done, qint64 total) {
        EXPECT_FALSE(what.isEmpty());
        EXPECT_TRUE(told.empty() || done >= told.back());
        EXPECT_LE(done, total);
        ofTotal = total;
        told.push_back(done);
        return true;
    });
    EXPECT_FALSE(told.empty());
    EXPECT_EQ(told.empty() ? 0 : told.back(), ofTotal);
    return told;
}

/// Cancels the call at its n-th report, from 0.
void cancelAt(std::size_t n, const Call& call) {
    std::size_t reports = 0;
    const Error error =
        errorOf([&] { call([&](const QString&, qint64, qint64) { return reports++ != n; }); });
    EXPECT_TRUE(error.isCancelled()) << error.what();
    EXPECT_EQ(reports, n + 2) << "told once more, that it is over";
}

class Progresses : public testing::Test {
protected:
    /// 45 profiles of 1000 points: more than one block of any reader.
    static Scan bigScan(bool isStack) {
        Scan scan;
        scan.isStack = isStack;
        for (int row = 0; row < 45; ++row) {
            KvMath::KvProfileZ profile(0.5F * float(row));
            for (int column = 0; column < 1000; ++column) {
                const float x = 0.1F * float(column), height = 1 + 0.001F * float((row * column) % 977);
                if (isStack)
                    scan.add(profile, x, height);
                else
                    scan.add(KvMath::KvPointXYZ(x, height, profile.z));
            }
            if (isStack)
                scan.add(profile);
        }
        return scan;
    }

    static std::vector<ScanForm> forms() {
        return {ScanForm::Stack, ScanForm::CloudRecord, ScanForm::Xyz,
                ScanForm::Grid,  ScanForm::Ply,         ScanForm::PlyText};
    }

private:
    const ScratchDirectory scratch_;
};

TEST_F(Progresses, OfReadersCancelThem) {
    for (const ScanForm form : forms()) {
        Scan scan = bigScan(form == ScanForm::Stack);
        writeScan("scan", form, false, scan);
        const Call read = [](const Progress& progress) {
            ScanOptions options;
            options.progress = progress;
            EXPECT_EQ(loadScan("scan", options).points, 45'000);
        };
        SCOPED_TRACE(static_cast<int>(form));
        const std::size_t reports = toldBy(read).size();
        for (const std::size_t n : {std::size_t(0), reports / 2, reports - 2}) {
            if (n + 1 < reports)
                cancelAt(n, read);
        }
    }
    ScratchDirectory::write("map", QByteArray(2 * 40 * 30, '\1'));
    ScratchDirectory::write("map.meta.csv",
                            "columns,40\nrows,30\nx_step_mm,1\nrow_step_mm,1\nheight_step_mm,1\n");
    const Call readMap = [](const Progress& progress) {
        ScanOptions options;
        options.progress = progress;
        loadScan("map", options);
    };
    const std::size_t reports = toldBy(readMap).size();
    cancelAt(0, readMap);
    cancelAt(reports - 2, readMap);
}

TEST_F(Progresses, OfWritersCancelThemAndLeaveTheOldFile) {
    ScratchDirectory::write("out", "old");
    for (const ScanForm form : forms()) {
        SCOPED_TRACE(static_cast<int>(form));
        Scan scan = bigScan(form == ScanForm::Stack);
        QString path = "whole";
        const Call write = [&](const Progress& progress) { writeScan(path, form, false, scan, progress); };
        const std::size_t reports = toldBy(write).size();
        ASSERT_GE(reports, 2U);
        QFile::remove(path);
        const auto before = contentOf(".");
        path = "new";
        cancelAt(0, write);
        path = "out";
        cancelAt(reports - 2, write);
        EXPECT_EQ(contentOf("."), before);
    }
}

/// A pass through the work folder; `progress` is told of the steps whose names begin so.
void runPass(const QString& step, const Progress& progress) {
    PostSettings settings("train/settings.ini");
    QStringList skipped;
    Splitting splitting;
    splitting.work = "work";
    WheelPass pass(findRecordings({"train"}, settings, skipped), settings,
                   [&](const QString& what, qint64 done, qint64 total) {
                       return !what.startsWith(step) || progress(what, done, total);
                   });
    pass.split(splitting);
    pass.measureSections({}, [](const MeasuredSection&) {});
    pass.measureDistances();
    pass.searchDefects();
}

TEST_F(Progresses, OfAPassCancelItAndTheNextRunIsUndisturbed) {
    Simulator::PassRecipe recipe;
    recipe.wheelsets = 2;
    recipe.spacing = 60;
    QDir().mkdir("train");
    ASSERT_TRUE(Simulator::simulatePass(recipe, "train", nullptr));
    const auto train = contentOf("train");
    const auto runAll = [] { runPass("none", {}); };
    runAll();
    const auto whole = contentOf("work");
    EXPECT_GT(whole.size(), 20U);
    for (const char* step : {"splitting", "measuring wheelsets", "measuring distances", "searching"}) {
        SCOPED_TRACE(step);
        const Call call = [step](const Progress& progress) { runPass(step, progress); };
        for (const std::size_t n : {0U, 1U}) {
            cancelAt(n, call);
            EXPECT_EQ(contentOf("train"), train) << "the recordings";
        }
    }
    EXPECT_EQ(toldBy([](const Progress& progress) { runPass("searching", progress); }).size(), 9U);
    EXPECT_EQ(contentOf("work"), whole);
}

}  // namespace
