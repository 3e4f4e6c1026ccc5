// What the library answers when the outside world fails it.

#include <kvmath/calibration/pixel_lookup.h>
#include <kvmath/calibration/table_build.h>
#include <kvmath/calibration/table_io.h>
#include <kvmath/calibration/table_layout.h>
#include <kvmath/core/level_histogram.h>
#include <kvmath/core/point_cloud.h>
#include <kvmath/numerics/svd.h>
#include <kvmath/profile/profile_sd.h>
#include <kvmath/profile/profile_zset.h>
#include <tests/support/child_process.h>
#include <tests/support/scratch_directory.h>

#include <QtCore/QFileInfo>

#include <cstdlib>
#include <functional>
#include <vector>

namespace {

using namespace KvMath;

struct Writer {
    const char* name;
    bool isTrueOnceOpen;  ///< by design
    std::function<bool(const QString& path)> write;
};

template <class Cloud, class Point>
Cloud manyOf(const Point& point, int count = 10000) {
    Cloud cloud;
    for (int i = 0; i < count; ++i)
        cloud.points.append(point);
    return cloud;
}

std::vector<Writer> writers(int count = 10000) {
    const auto plane = manyOf<KvPointCloud<KvPointXY>>(KvPointXY(1, 2), count);
    const auto space = manyOf<KvPointCloud<KvPointXYZ>>(KvPointXYZ(1, 2, 3), count);
    const auto coloured = manyOf<KvPointCloud<KvPointXYZRGB>>(KvPointXYZRGB(1, 2, 3, 4), count);
    const auto profile = manyOf<KvProfileZ>(KvPointXY(1, 2), count);
    const auto tagged = manyOf<KvProfileSD>(KvPointXY(1, 2), count);
    KvProfileZSet stack;
    KvLevelHistogram<KvPointXY> histogram;
    static std::vector<unsigned short> cells(kTableCells, 7);
    static std::vector<unsigned short*> columns(kSensorColumns, cells.data());
    static const std::vector<double> parameters(kCalibrationSteps, 1.0);
    for (int i = 0; i < 5; ++i)
        stack.append(profile);
    for (int i = 0; i < count; ++i)
        histogram.bins[static_cast<float>(i)] = i;
    return {
        {"XY", false, [=](const QString& path) { return plane.writeToFile(path); }},
        {"XYZ", false, [=](const QString& path) { return space.writeToFile(path); }},
        {"XYZRGB", false, [=](const QString& path) { return coloured.writeToFile(path); }},
        {"legacy XYZ", false, [=](const QString& path) { return space.compat_writeToXYZFile(path); }},
        {"profile with z", false, [=](const QString& path) { return profile.writeToFile(path); }},
        {"profile with tags", false, [=](const QString& path) { return tagged.writeToFile(path, false); }},
        {"appended", false, [=](const QString& path) { return tagged.writeToFile(path, true); }},
        {"stack", false, [=](const QString& path) { return stack.writeToFile(path); }},
        {"histogram", false, [=](const QString& path) { return histogram.writeToCSV(path); }},
        {"CSV", true, [=](const QString& path) { return profile.writeToCSVFile(path); }},
        {"raw record", true,
         [](const QString& path) { return saveRawCbrDataToFile(columns.data(), parameters.data(), path); }},
        {"table", true, [](const QString& path) { return saveTableToFile(cells.data(), path); }}};
}

TEST(LibraryFaults, AFullDiskIsToldAndLeavesNoHalfFile) {
    const TestSupport::ScratchDirectory scratch;
    for (const Writer& writer : writers()) {
        for (const rlim_t room : {rlim_t{1}, rlim_t{500}}) {
            EXPECT_TRUE(TestSupport::holdsInChild(
                room, 0, [&] { return writer.write("out") == writer.isTrueOnceOpen; }))
                << writer.name << ' ' << room;
            EXPECT_FALSE(QFileInfo::exists("out")) << writer.name << ' ' << room;
        }
        EXPECT_TRUE(writer.write("out") && QFile::remove("out")) << writer.name << ": with room it works";
    }
}

TEST(LibraryFaults, AnAppendedRecordThatFindsNoRoomIsCutOffAgainAndALinkStays) {
    const TestSupport::ScratchDirectory scratch;
    const QByteArray before(300, 'x');
    scratch.write("records", before);
    const std::vector<Writer> all = writers();
    EXPECT_TRUE(TestSupport::holdsInChild(1000, 0, [&] { return !all[6].write("records"); }));
    EXPECT_EQ(scratch.read("records"), before);
    ASSERT_TRUE(QFile::link("records", "link"));
    EXPECT_TRUE(TestSupport::holdsInChild(1000, 0, [&] { return !all[1].write("link"); }));
    EXPECT_TRUE(QFileInfo("link").isSymLink());
    EXPECT_EQ(scratch.read("records"), QByteArray());
}

TEST(LibraryFaults, PlacesThatTakeNoFileAreRefused) {
    const TestSupport::ScratchDirectory scratch;
    scratch.write("file", "kept");
    for (const int count : {1, 3000, 20000}) {  // all fits a file's buffer, only that of a stack, none
        for (const Writer& writer : writers(count)) {
            for (const char* path : {"missing/out", "file/out", "/proc/out", ".", ""})
                EXPECT_FALSE(writer.write(path)) << writer.name << ": " << path;
            EXPECT_EQ(writer.write("/dev/full"), writer.isTrueOnceOpen) << writer.name << ' ' << count;
            EXPECT_TRUE(QFileInfo::exists("/dev/full")) << writer.name;
        }
    }
    EXPECT_EQ(scratch.read("file"), "kept");
}

TEST(LibraryFaults, WritersToAnOpenFileAnswerFalseAtWhateverByteItIsFull) {
    const TestSupport::ScratchDirectory scratch;
    const auto one = [](const auto& cloud) { return [cloud](QFile& f) { return cloud.writeToFile(f); }; };
    const std::pair<int, std::function<bool(QFile&)>> rows[] = {
        {1, [](QFile& file) { return KvProfile::writeMarker(file, 5); }},
        {11, one(manyOf<KvPointCloud<KvPointXY>>(KvPointXY(1, 2), 1))},
        {17, one(manyOf<KvPointCloud<KvPointXYZ>>(KvPointXYZ(1, 2, 3), 1))},
        {21, one(manyOf<KvPointCloud<KvPointXYZRGB>>(KvPointXYZRGB(1, 2, 3, 4), 1))},
        {15, one(manyOf<KvProfileZ>(KvPointXY(1, 2), 1))},
        {35, one(manyOf<KvProfileSD>(KvPointXY(1, 2), 1))}};
    for (const auto& row : rows) {
        EXPECT_TRUE(TestSupport::holdsInChild(100, 0, [&row] {
            QFile out("out");
            int right = out.open(QIODevice::ReadWrite | QIODevice::Unbuffered) ? 0 : -1;
            for (int room = 0; room <= row.first; ++room)
                right += int(out.seek(100 - room) && row.second(out) == (room == row.first));
            return right == row.first + 1;
        })) << row.first;
    }
}

TEST(LibraryFaults, AFileCutWhileItIsOpenIsACutFileAndARemovedOneIsReadToItsEnd) {
    const TestSupport::ScratchDirectory scratch;
    const auto profile = manyOf<KvProfileZ>(KvPointXY(1, 2));
    for (const qint64 size : {0, 3, 40007}) {
        ASSERT_TRUE(profile.writeToFile("in"));
        QFile open("in"), removed("in");
        ASSERT_TRUE(open.open(QIODevice::ReadOnly) && QFile::resize("in", size));
        KvProfileZ cut, whole, after;
        const int answer = open.size() == size ? cut.readFromFile(open, true) : -7;
        QFile again("in");
        ASSERT_TRUE(again.open(QIODevice::ReadOnly));
        EXPECT_EQ(answer, whole.readFromFile(again, true)) << size;
        EXPECT_EQ(cut.points.size(), whole.points.size()) << size;
        ASSERT_TRUE(profile.writeToFile("in") && removed.open(QIODevice::ReadOnly) && QFile::remove("in"));
        EXPECT_EQ(after.readFromFile(removed), 10000);
    }
}

#if defined(__SANITIZE_ADDRESS__)
#define MAPS_TERABYTES 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define MAPS_TERABYTES 1
#endif
#endif

TEST(LibraryFaults, WithoutMemoryCallsFailAndLeaveWhatTheyWereGiven) {
#ifdef MAPS_TERABYTES
    GTEST_SKIP() << "the sanitizer";
#endif
    const TestSupport::ScratchDirectory scratch;
    std::vector<unsigned short> cells(kTableCells, 7), column(kLookUpCells, 5000);
    std::vector<unsigned short*> columns(kSensorColumns, column.data());
    std::vector<double> parameters(kCalibrationSteps, 1.0), point(1 << 16, 7.0);
    ASSERT_TRUE(saveRawCbrDataToFile(columns.data(), parameters.data(), "raw"));
    int first = 1, last = 5;
    const std::function<bool()> calls[] = {
        [&] { return saveRawCbrDataToFile(columns.data(), parameters.data(), "out"); },
        [&] { return loadRawCbrDataFromFile(columns.data(), parameters.data(), "raw"); },
        [&] { return saveTableToFile(cells.data(), "out"); },
        [&] { return calc_Z(columns.data(), parameters.data(), 1, 1, 0, 9, first, last, cells.data()); },
        [&] { return convert_Pxl2Z(columns.data(), parameters.data(), 1, 1, 0, 9, columns.data()); },
        [&] { return pcaTransform(point.data(), 1, 1 << 16, point.data(), nullptr), point[9] != 7.0; }};
    for (const auto& call : calls)
        EXPECT_TRUE(TestSupport::holdsInChild(0, 1, [&] {
            for (void* volatile taken = &cells; taken != nullptr;)
                taken = std::malloc(1 << 14);
            return !call() && cells[9] == 7 && column[9] == 5000;
        })) << &call - calls;
    EXPECT_FALSE(QFileInfo::exists("out"));
}

TEST(LibraryFaults, HostileRecordsAreRefusedInLittleMemory) {
#ifdef MAPS_TERABYTES
    GTEST_SKIP() << "the sanitizer";
#endif
    const TestSupport::ScratchDirectory scratch;
    constexpr rlim_t memory = 1U << 30;
    constexpr qint64 sizes[] = {0, 5, 1000, qint64{100} << 30};  // the last: 100 GB of holes
    for (const char* head : {"\x02\xFF\xFF\xFF\xFF", "\x03\xFF\xFF\xFF\xFF", "\x04\xFF\xFF\xFF\xFF",
                             "\x05\xFF\xFF\xFF\xFF", "\x85\xFF\xFF\xFF\xFF", "\0\0\0\0\0", "1;2;3"}) {
        for (const qint64 size : sizes) {
            scratch.write("in", QByteArray(head, 5));
            if (!QFile::resize("in", size))
                continue;  // a file system without such files
            const auto answers = [] {
                const QString in = "in";
                std::vector<unsigned short> cells(kTableCells);
                return KvPointCloud<KvPointXYZ>().readFromFile(in) == -1 &&
                       KvPointCloud<KvPointXYZRGB>().readFromFile(in) == -1 &&
                       KvPointCloud<KvPointXY>().readFromFile(in) <= 65535 &&
                       KvProfileZ().readFromFile(in) <= 65535 && KvProfileSD().readFromFile(in) <= 65535 &&
                       KvProfileZSet().readFromFile(in) <= 1 && KvProfileZSet().readFromFile(in, 0, 1) <= 1 &&
                       KvProfile().readFromCSVFile(in, 0, 1) <= 1 && loadTableFromFile(cells.data(), in);
            };
            EXPECT_TRUE(TestSupport::holdsInChild(0, memory, answers)) << int(head[0]) << ", " << size;
        }
    }
}

}  // namespace
