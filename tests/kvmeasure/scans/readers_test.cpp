// Scans of every form from bytes: what each spelling is read as, and where damage is found.

#include <kvmeasure/scans/scan_file.h>
#include <tests/kvmeasure/calls.h>
#include <tests/support/scan_bytes.h>

#include <QtCore/QRegularExpression>

namespace {

class ScanReaders : public testing::Test {
protected:
    static void write(const QString& name, const QByteArray& bytes) { ScratchDirectory::write(name, bytes); }

    /// "x height scan; ..." of all points.
    static std::string pointsOf(const QString& name, const ScanOptions& options = {}) {
        Scan scan = loadScan(name, options);
        QStringList points;
        Scan::forEachPoint(scan, [&points](float x, float place, float height) {
            points << QString("%1 %2 %3").arg(double(x)).arg(double(height)).arg(double(place));
        });
        return points.join("; ").toStdString();
    }

    static void expectDamaged(const QByteArray& content, const char* reason) {
        write("bad", content);
        const Error error = errorOf([] { loadScan("bad", {}); });
        EXPECT_THAT(error, Says(reason));
        EXPECT_EQ(error.file(), "bad") << reason;
        const QRegularExpressionMatch place =
            QRegularExpression("^bad: (line|offset) (\\d+):").match(error.text());
        EXPECT_EQ(error.line(), place.captured(1) == "line" ? place.captured(2).toLongLong() : 0) << reason;
        EXPECT_EQ(error.offset(), place.captured(1) == "offset" ? place.captured(2).toLongLong() : -1)
            << reason;
    }

private:
    const ScratchDirectory scratch_;
};

TEST_F(ScanReaders, TextAndPlyOfEveryKindAreRead) {
    const QByteArray listed = "element vertex 2\nproperty list uchar short q\n" + xyz;
    const QByteArray items = QByteArray("\x02") + bytesOf<qint16>({7, 8});
    const QByteArray doubles = QByteArray("element face 3\nproperty uchar c\n") + "element vertex 2\n" +
                               QByteArray(xyz).replace("float", "float64");
    const QByteArray files[] = {
        ply("ascii", listed, "1 9 1 2 3\n0 4 2 3\n").replace("\n", "\r\n"),
        "\xEF\xBB\xBF" + ply("ascii", "element vertex 3\n" + xyz, "1 2 3\nNaN -nan 3\n4 2 3\n"),
        "NaN 2 3\n1 2 3\n4 -nan 3\n4 2 3\n",
        ply("binary_little_endian", listed,
            items + bytesOf<float>({1, 2, 3}) + items + bytesOf<float>({4, 2, 3})),
        ply("binary_big_endian", doubles, "abc" + bytesOf<double>({1, 2, 3, 4, 2, 3}, true)),
        ply("ascii", "obj_info a\n\nelement vertex 2\nproperty float ~\nproperty list char char z\n" + xyz,
            "7 1 9 1 2 3\n7 0 4 2 3\n"),
        ply("binary_little_endian", "element nothing 3\nelement vertex 2\n" + xyz,
            bytesOf<float>({1, 2, 3, 4, 2, 3})),
        ply("ascii", "comment " + QByteArray(65'526, 'c') + "\nelement vertex 2\n" + xyz, "1 2 3\n4 2 3\n"),
        "1\t2\t3\n# all in inch\n4\t2\t3\n",
        "x_um,y_um,z_mm\n1000,2000,3\n4000,2000,3\n",
        QByteArray("\x03\x03\0\0\0", 5) + bytesOf<float>({1, 2, 3, 7, 7, NAN, 4, 2, 3})};
    for (const QByteArray& file : files) {
        write("a.ply", file);
        EXPECT_EQ(pointsOf("a.ply"), "1 2 3; 4 2 3") << file.left(60).toStdString();
    }
    ScanOptions other;
    other.heightLast = true;
    EXPECT_EQ(pointsOf("a.ply", other), "1 3 2; 4 3 2");
}

TEST_F(ScanReaders, NumbersOfPlyHaveTheSignAndSizeOfTheirType) {
    const auto column = [](const char* type) {
        return "element vertex 2\nproperty " + QByteArray(type) + " x\nproperty float y\nproperty float z\n";
    };
    for (const bool isBig : {false, true}) {
        const QByteArray format = isBig ? "binary_big_endian" : "binary_little_endian",
                         rest = bytesOf<float>({-2, 3}, isBig);
        const struct {
            const char* type;
            QByteArray least, greatest;
            std::string expected;
        } rows[] = {{"char", bytesOf<qint8>({-128}), bytesOf<qint8>({127}), "-128 -2 3; 127 -2 3"},
                    {"uint8", bytesOf<quint8>({0}), bytesOf<quint8>({255}), "0 -2 3; 255 -2 3"},
                    {"short", bytesOf<qint16>({-32768}, isBig), bytesOf<qint16>({32767}, isBig),
                     "-32768 -2 3; 32767 -2 3"},
                    {"uint16", bytesOf<quint16>({256}, isBig), bytesOf<quint16>({65535}, isBig),
                     "256 -2 3; 65535 -2 3"},
                    {"int", bytesOf<qint32>({-70000}, isBig), bytesOf<qint32>({70000}, isBig),
                     "-70000 -2 3; 70000 -2 3"},
                    {"uint", bytesOf<quint32>({1}, isBig), bytesOf<quint32>({16777216}, isBig),
                     "1 -2 3; 1.67772e+07 -2 3"},
                    {"double", bytesOf<double>({-1e9}, isBig), bytesOf<double>({0.5}, isBig),
                     "-1e+09 -2 3; 0.5 -2 3"}};
        for (const auto& row : rows) {
            write("a.ply", ply(format, column(row.type), row.least + rest + row.greatest + rest));
            EXPECT_EQ(pointsOf("a.ply"), row.expected) << row.type << ' ' << format.toStdString();
        }
    }
}

TEST_F(ScanReaders, HeightMapsAreReadWithTheirDescription) {
    const QByteArray text =
        "key,value\ncolumns,3\nrows,2\nx_step_mm,0.5\nx_origin_mm,-1\nrow_step_mm,2\nheight_step_mm,0.25\n";
    write("a.bin", bytesOf<quint16>({0, 4, 8, 12, 0, 400}));
    write("a.meta.csv", text);
    write("b.bin", bytesOf<quint16>({9, 4, 8, 12, 9, 400}, true));
    write("other.csv", text + "no_data_value,9\nbyte_order,big\nrow_origin_mm,5\n");
    ScanOptions other;
    other.map = "other.csv";
    EXPECT_EQ(pointsOf("a.bin"), "-0.5 1 0; 0 2 0; -1 3 2; 0 100 2");
    EXPECT_EQ(pointsOf("b.bin", other), "-0.5 1 5; 0 2 5; -1 3 7; 0 100 7");
    EXPECT_TRUE(loadScan("a.bin", {}).isStack) << "rows are profiles";
    for (const char* bad :
         {"row_step_mm,0\n", "row_step_mm,nan\n", "columns,1e18\n", "rows,1.5\n", "byte_order,odd\n"}) {
        write("other.csv", text + bad);
        const Error error = errorOf([&other] { loadScan("b.bin", other); });
        EXPECT_THAT(error, Says(QByteArray(bad).split(',')[0].toStdString() + " must be"));
        EXPECT_EQ(error.file(), "other.csv");
    }
    write("other.csv", QByteArray(text).replace("rows,2\n", ""));
    EXPECT_THAT([&] { loadScan("b.bin", other); }, Refuses("other.csv: the line \"rows,NUMBER\" is missing"));
    write("a.bin", bytesOf<quint16>({0, 4, 8, 12, 0}));
    EXPECT_THAT([] { loadScan("a.bin", {}); }, Refuses("holds 10 bytes, 2 rows of 3 columns need 12"));
}

TEST_F(ScanReaders, DamagedScansAreRefusedWithTheirPlace) {
    const QByteArray one = QByteArray("\x05\x02\0", 3) + bytesOf<float>({0, 1, 1, 2, 1});
    const QByteArray cloud = QByteArray("\x03\x01\0\0\0", 5) + bytesOf<float>({1, 2, 3});
    const Refused cases[] = {
        {one + one.left(22), "offset 23: profile with z record: announces 2 points, the file ends after 1"},
        {one + cloud, "offset 23: XYZ cloud record behind"},
        {QByteArray("\x03\xFF\xFF\xFF\xFF", 5), "announces 4294967295 points"},
        {QByteArray("\x05\0\0", 3) + bytesOf<float>({NAN}), "position along the scan is not a number"},
        {QByteArray("\x02\x01\0", 3) + bytesOf<float>({1, 2}), "of the profiles with step MM"},
        {QByteArray("\x05\x01\0", 3) + bytesOf<float>({0, NAN, 1}), "no point with numbers"},
        {ply("binary_little_endian", "element vertex 1000000000000000000\n" + xyz, "abc"),
         "the file ends after 0"},
        {ply("ascii", "element f 1000000000000000000\nelement vertex 1\n" + xyz, "1 2 3\n"),
         "the file ends in its elements"},
        {ply("ascii", "element vertex 1\nproperty float x\n", "1\n"), "no number \"y\""},
        {ply("binary_little_endian", "element vertex 3\nproperty list uint double q\n" + xyz,
             QByteArray(60, '\xFF')),
         "beyond the end"},
        {ply("binary_little_endian", "element vertex 4\nproperty list uint double q\n" + xyz,
             QByteArray(60, '\xFF')),
         "the 60 bytes behind its header hold at most 3"},
        {ply("ascii", "element vertex 3\n" + xyz, "1 2 3\n1 2 3"), "hold at most 2"},
        {ply("ascii", "element vertex 2\n" + xyz, "1.5 2.5 3.5\n"), "the file ends after 1"},
        {"1 2 3\n1 b 3\n", "line 2: column 2"},
        {"scan_mm/x_mm,0,1\n0,5\n", "line 2: has 2 columns"},
        {"# unit: inch\n1 2 3\n", "speaks of inch; scans in text are in mm"},
        {"x_mm y z\n1 2 3\n", "column 2: \"y\" has no unit of length known here"},
        {"x,y [V],z\n1,2,3\n", "column 2: \"y [V]\" has no unit of length known here"},
        {"# nothing\n\n", "holds no points"},
        {QByteArray(20, '\0'), "begins with the byte 0x00"}};
    for (const auto& c : cases)
        expectDamaged(c.text, c.reason);
}

TEST_F(ScanReaders, NameTheLineTheElementOrTheVertex) {
    const QByteArray little = "ply\nformat binary_little_endian 1.0\n", ascii = "ply\nformat ascii 1.0\n";
    const QByteArray vertex = xyz + "end_header\n";
    const QByteArray listed = ascii + "element vertex 1\nproperty list uchar short q\n" + vertex;
    const QByteArray face = "element face 1\nproperty list int int q\nproperty int c\n";
    const QByteArray faces = little + face + "element vertex 1\n" + vertex;
    const std::pair<QByteArray, const char*> cases[] = {
        {"ply\nformat asci 1.0\n", "unknown format \"asci\""},
        {"ply\nelement vertex 1\nend_header\n", "the line \"format ...\" is missing"},
        {"ply\n" + QByteArray("comment\n").repeated(10'000), "its header does not end"},
        {"ply\ncomment " + QByteArray(70'000, 'c'), "a line of its header is longer than 65536 bytes"},
        {ascii + "element vertex one\n", "expected \"element NAME COUNT\", found \"element vertex one\""},
        {ascii + "element vertex 1 2\n", "expected \"element NAME COUNT\""},
        {ascii + "element vertex 1\nproperty float x y\n", "a property without element, type or name"},
        {"ply\rb\n", "expected \"ply\" in the first line"},
        {listed + "5 1 2 3\n", "vertex 0: its list \"q\" cannot have 5 entries"},
        {ascii + "property float x\n", "a property without element, type or name: \"property float x\""},
        {ascii + "element vertex 1\nproperty flot x\n", "unknown type \"flot\""},
        {ascii + "element vertex 1\nproperty list float int q\n", "a list must be a whole number"},
        {ascii + "elemnt vertex 1\n", "unknown line \"elemnt vertex 1\""},
        {ascii + "element vertex 2\n" + vertex + "1 2 3\n1 b 3\n", "vertex 1: expected a number for \"y\""},
        {ascii + "element vertex 2\n" + vertex + "1 2 3\n1 2 3 4\n", "has 4 numbers, expected 3; leave out"},
        {listed + "nan 1 2 3\n", "vertex 0: its list \"q\" cannot have nan entries"},
        {listed + "1.5 9 1 2 3\n", "cannot have 1.5 entries"},
        {faces + bytesOf<int>({-1, 0}), "a list goes beyond the end"},
        {faces + bytesOf<int>({1, 5}) + "abc", "the file ends within an element"},
        {QByteArray("1 2 3\n").repeated(1000) + QByteArray("1 \0", 3), "line 1001: holds a zero byte"},
        {QByteArray(17 << 20, '1'), "line 1: is longer than 16777216 bytes"},
        {"scan_mm/x_mm\n", "line 1: has 0 columns"},
        {"scan_mm/x_mm,0,\n", "line 1: column 3: has no x"},
        {"scan_mm/x_mm,0,1\n\n,5,6\n", "line 3: column 1: has no scan position"}};
    for (const auto& [content, reason] : cases)
        expectDamaged(content, reason);
    write("good", faces + bytesOf<int>({1, 5, 6}) + bytesOf<float>({1, 2, 3}));
    EXPECT_EQ(pointsOf("good"), "1 2 3");
}

}  // namespace
