// Clouds, profiles, scans and calibration: small contents in numbers that every machine holds alike.

#include <tests/workflow/golden_formats.h>

#include <kvmath/calibration/table_layout.h>
#include <kvmath/core/level_histogram.h>
#include <kvmath/profile/profile_sd.h>
#include <kvmath/profile/profile_z.h>
#include <kvmeasure/calibration/table.h>
#include <kvmeasure/profiles/profile_file.h>
#include <kvmeasure/scans/scan_writer.h>

#include <algorithm>

namespace Golden {
namespace {

using namespace KvMath;
using namespace KvMeasure;

// ---- Records of points ----

KvProfileZ profile(int i) {
    KvProfileZ made(static_cast<float>(i) + 0.25F);
    for (int k = 0; k < 3 + i; ++k)
        made.points.append({static_cast<float>(k) * 0.5F, static_cast<float>(10 * i - k)});
    return made;
}
KvPointXY planePoint(int i) { return {static_cast<float>(i) * 0.5F, static_cast<float>(i * i) - 2.0F}; }

template <class Point>
KvPointCloud<Point> cloud() {
    KvPointCloud<Point> made;
    for (int i = 0; i < 4; ++i) {
        Point point;
        const KvPointXY p = planePoint(i);
        point.x = p.x;
        point.y = p.y;
        if constexpr (!std::is_same_v<Point, KvPointXY>)
            point.z = static_cast<float>(i / 2) + 0.125F;
        if constexpr (std::is_same_v<Point, KvPointXYZRGB>)
            point.rgb = 0x102030U + static_cast<unsigned>(i);
        made.points.append(point);
    }
    return made;
}

template <class Record>
void writeRecords(const QString& path, std::initializer_list<Record> records) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Append));
    for (const Record& record : records)
        EXPECT_TRUE(record.writeToFile(file));
}

template <class Point>
void writeCloud(const QString& path) {
    writeRecords(path, {cloud<Point>()});
}
void writeProfileZ(const QString& path) { writeRecords(path, {profile(0)}); }
void writeProfileSD(const QString& path) {
    KvProfileSD made(7, -9);
    made.points = profile(0).points;
    made.blockB.reserved[7] = 0xab;
    writeRecords(path, {made});
}
void writeRecording(const QString& path) {
    writeCloud<KvPointXY>(path);
    writeRecords(path, {profile(0), profile(1)});
}

std::string recordFacts(const QString& path) {
    PointFile file(path);
    std::string facts;
    for (RecordHead head; file.nextHead(head);) {
        facts += text(words(recordName(head.marker)), ", ", head.count, " points");
        facts += head.marker == kProfileRecord ? text(", z ", head.z) : "";
        facts += head.tagA != 0 ? text(", tags ", head.tagA, " ", head.tagB) : "";
        KvPointXYZ last;
        file.forEachPoint([&](const KvPointXYZ& point) { last = point; });
        facts += text(", last ", last.x, " ", last.y);
        facts += recordHasZ(head.marker) ? text(" ", last.z, " mm; ") : " mm; ";
    }
    return facts;
}
std::string colourFacts(const QString& path) {
    KvPointCloud<KvPointXYZRGB> read;
    EXPECT_EQ(read.readFromFile(path), 4);
    return recordFacts(path) + text("colour ", std::hex, read.points.last().rgb);
}
std::string tagFacts(const QString& path) {
    KvProfileSD read;
    EXPECT_EQ(read.readFromFile(path), 3);
    return recordFacts(path) + text("reserved ", int(read.blockB.reserved[7]));
}

// ---- Scans ----

template <ScanForm form>
void writeScanAs(const QString& path) {
    Scan scan;
    scan.isStack = form == ScanForm::Stack || form == ScanForm::Grid;
    for (int i = 0; i < 3; ++i) {
        KvProfileZ row(static_cast<float>(i) * 0.25F);
        for (int k = 0; k < 2; ++k) {
            const KvPointXYZ point(static_cast<float>(k), 5.125F - static_cast<float>(i), row.z);
            if (scan.isStack)
                scan.add(row, point.x, point.y);
            else
                scan.add(point);
        }
        if (scan.isStack)
            scan.add(row);
    }
    writeScan(path, form, false, scan);
}

std::string scanFacts(const QString& path) {
    EXPECT_TRUE(looksLikeScan(path) || path.endsWith(".xyz"));
    const Scan scan = loadScan(path, {});
    double sums[3] = {0, 0, 0};
    Scan::forEachPoint(scan, [&](float x, float z, float height) {
        sums[0] += double(x);
        sums[1] += double(z);
        sums[2] += double(height);
    });
    return text(words(scan.form), ": ", scan.stack.size(), " profiles, ", scan.points, " points, ",
                scan.unset, " unset; sums of x ", sums[0], ", scan ", sums[1], ", height ", sums[2], " mm");
}

// ---- Profiles in text ----

void writeProfileCsv(const QString& path) { EXPECT_TRUE(KvProfile(profile(1)).writeToCSVFile(path)); }

std::string profileFacts(const QString& path) {
    TextOptions options;
    options.unset.values.push_back(-9999);
    ProfileSource source(path, options);
    std::string facts;
    for (LoadedProfile loaded; source.next(loaded);) {
        const auto& points = loaded.profile.points;
        facts += text(points.size(), " points, ", loaded.unset, " unset, last ", points.last().x, " ",
                      points.last().y, " mm; ");
    }
    return facts;
}

void writeHistogram(const QString& path) {
    KvPointCloud<KvPointXY> points = cloud<KvPointXY>();
    KvLevelHistogram<KvPointXY> histogram;
    histogram.calcFromPointCloud(points, 2);
    EXPECT_TRUE(histogram.writeToCSV(path));
}
void writeXyzFile(const QString& path) { EXPECT_TRUE(cloud<KvPointXYZ>().compat_writeToXYZFile(path)); }

// ---- Calibration ----
void pack(const QString& path) { put(path, qCompress(bytesOf(path), 9)); }

void writeRaw(const QString& path) {
    RawRecord record;
    record.positions.resize(std::size_t(kSensorColumns) * kCalibrationSteps);
    record.parameters.resize(kCalibrationSteps);
    for (int step = 0; step < kCalibrationSteps; ++step)
        record.parameters[std::size_t(step)] = 0.5 * step - 100;
    for (int column = 300; column < 310; ++column)
        for (int step = 100; step < 200; ++step)
            record.positions[std::size_t(column * kCalibrationSteps + step)] =
                static_cast<unsigned short>(1000 + 16 * step + column);
    saveRaw(record, path);
    pack(path);
}
std::string rawFacts(const QString& path) {
    RawRecord record = loadRaw(unpacked(path));
    const auto found = record.positions.size() -
                       std::size_t(std::count(record.positions.begin(), record.positions.end(), 0));
    return text(found, " positions, column 300 step 100: ", record.columns()[300][100],
                "/32 pixel; z of step 999: ", record.parameters[999], " mm");
}

template <CalibrationForm form>
void writeTable(const QString& path) {
    PixelTable table(form);
    for (int row = 10; row < 20; ++row)
        for (int column = 640; column < 648; ++column) {
            table.cells(Half::Z)[row * kSensorColumns + column] = static_cast<unsigned short>(100 * row);
            table.cells(Half::X)[row * kSensorColumns + column] = static_cast<unsigned short>(16384 - column);
        }
    saveTable(table, path);
    pack(path);
}
std::string tableFacts(const QString& path) {
    PixelTable table = loadTable(unpacked(path));
    return text(words(formName(table.form())), ": ", table.filled(Half::Z), " and ", table.filled(Half::X),
                " cells; row 19 column 647: z ", table.value(Half::Z, 19, 647, 128), ", x ",
                table.value(Half::X, 19, 647, 128), " mm of 128 mm");
}

}  // namespace

std::vector<Format> pointFormats() {
    return {
        {writeCloud<KvPointXY>, recordFacts, {{"cloud-xy.1.bin", "XY cloud, 4 points, last 1.5 7 mm; "}}},
        {writeCloud<KvPointXYZ>,
         recordFacts,
         {{"cloud-xyz.1.bin", "XYZ cloud, 4 points, last 1.5 7 1.125 mm; "}}},
        {writeCloud<KvPointXYZRGB>,
         colourFacts,
         {{"cloud-xyzrgb.1.bin", "XYZRGB cloud, 4 points, last 1.5 7 1.125 mm; colour 102033"}}},
        {writeProfileZ,
         recordFacts,
         {{"profile-z.1.bin", "profile with z, 3 points, z 0.25, last 1 -2 mm; "}}},
        {writeProfileSD,
         tagFacts,
         {{"profile-sd.1.bin", "profile with tags, 3 points, tags 7 -9, last 1 -2 mm; reserved 171"}}},
        {writeRecording,
         recordFacts,
         {{"recording.1.bin", "XY cloud, 4 points, last 1.5 7 mm; profile with z, 3 points, z 0.25, last 1 "
                              "-2 mm; profile with z, 4 points, z 1.25, last 1.5 7 mm; "}}},
        {writeXyzFile, sizeFacts, {{"points.1.xyz-floats", "64 bytes, 0 lines"}}},
        {writeScanAs<ScanForm::Stack>,
         scanFacts,
         {{"stack.1.bin", "records \"profile with z\": 3 profiles, 6 points, 0 unset; sums of x 3, scan 1.5, "
                          "height 24.75 mm"}}},
        {writeScanAs<ScanForm::CloudRecord>,
         scanFacts,
         {{"scan-cloud.1.bin",
           "records \"XYZ cloud\": 0 profiles, 6 points, 0 unset; sums of x 3, scan 1.5, height 24.75 mm"}}},
        {writeScanAs<ScanForm::Xyz>,
         scanFacts,
         {{"scan.1.xyz", "XYZ text: 0 profiles, 6 points, 0 unset; sums of x 3, scan 1.5, height 24.75 mm"}}},
        {writeScanAs<ScanForm::Grid>,
         scanFacts,
         {{"scan-grid.1.csv",
           "CSV grid, 2 columns: 3 profiles, 6 points, 0 unset; sums of x 3, scan 1.5, height 24.75 mm"}}},
        {writeScanAs<ScanForm::Ply>,
         scanFacts,
         {{"scan.1.ply", "PLY, binary little-endian: 0 profiles, 6 points, 0 unset; sums of x 3, scan 1.5, "
                         "height 24.75 mm"}}},
        {writeScanAs<ScanForm::PlyText>,
         scanFacts,
         {{"scan-ascii.1.ply",
           "PLY, ascii: 0 profiles, 6 points, 0 unset; sums of x 3, scan 1.5, height 24.75 mm"}}},
        {nullptr,
         scanFacts,
         {{"points-big-endian.1.ply",
           "PLY, binary big-endian: 0 profiles, 3 points, 0 unset; sums of x 1.5, scan 2, height 30 mm"}}},
        {nullptr,
         scanFacts,
         {{"height-map.1.raw", "height map, 2 rows of 3 columns: 2 profiles, 5 points, 1 unset; sums of x "
                               "-2.5, scan 50.75, height 30.1 mm"}}},
        {writeProfileCsv, profileFacts, {{"profile.1.csv", "4 points, 0 unset, last 1.5 7 mm; "}}},
        {nullptr, profileFacts, {{"profile-utf16.1.txt", "2 points, 1 unset, last 1.5005 -0.12525 mm; "}}},
        {nullptr,
         profileFacts,
         {{"profile-several.1.csv", "2 points, 1 unset, last 1 2.5 mm; 2 points, 1 unset, last 0.5 4 mm; "}}},
        {writeHistogram, sizeFacts, {{"level-histogram.1.csv", "31 bytes, 6 lines"}}},
        {writeRaw,
         rawFacts,
         {{"raw-record.1.qz",
           "1000 positions, column 300 step 100: 2900/32 pixel; z of step 999: 399.5 mm"}}},
        {writeTable<CalibrationForm::FullTable>,
         tableFacts,
         {{"table-full.1.qz",
           "full table: 80 and 80 cells; row 19 column 647: z 14.8438, x 122.945 mm of 128 mm"}}},
        {writeTable<CalibrationForm::CompactTable>,
         tableFacts,
         {{"table-compact.1.qz",
           "compact table: 80 and 80 cells; row 19 column 647: z 14.8438, x 122.945 mm of 128 mm"}}}};
}

}  // namespace Golden
