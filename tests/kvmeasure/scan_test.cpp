// "kvmeasure scan" from outside: every form of scan, every command, damaged input.

#include "program.h"

#include <kvmath/profile/profile_zset.h>

#include <QtCore/QtEndian>

#include <cmath>
#include <functional>

namespace {

using KvMath::KvPointXY;
using KvMath::KvProfileZ;
using KvMath::KvProfileZSet;
using testing::HasSubstr;

template <class T>
QByteArray bytesOf(std::initializer_list<double> values, bool bigEndian = false) {
    QByteArray bytes;
    for (const double value : values) {
        const T number = static_cast<T>(value);
        QByteArray raw(reinterpret_cast<const char*>(&number), sizeof(T));
        if (bigEndian)
            std::reverse(raw.begin(), raw.end());
        bytes += raw;
    }
    return bytes;
}

const QByteArray xyz = "property float x\nproperty float y\nproperty float z\n";

QByteArray ply(const QByteArray& format, const QByteArray& elements, const QByteArray& body) {
    return "ply\nformat " + format + " 1.0\ncomment a scan\n" + elements + "end_header\n" + body;
}

class ScanProgram : public Program {
protected:
    /// Heights over a grid of places that floats hold exactly.
    void writeStack(const QString& name, const std::function<double(double, double)>& height) const {
        KvProfileZSet stack;
        for (int row = 0; row < 30; ++row) {
            KvProfileZ profile(static_cast<float>(row) * 0.25F);
            for (int column = 0; column < 40; ++column) {
                const float x = static_cast<float>(column) * 0.5F - 8;
                profile.points.append(KvPointXY(x, static_cast<float>(height(double(x), double(profile.z)))));
            }
            stack.append(profile);
        }
        ASSERT_TRUE(stack.writeToFile(path(name)));
    }

    QJsonObject json(QStringList arguments, int code = 0) const {
        const Outcome result = run(QStringList{"scan"} + arguments + QStringList{"--json"});
        EXPECT_EQ(result.code, code) << result.err << arguments.join(' ').toStdString();
        return result.json();
    }

    QJsonObject info(const QStringList& arguments) const {
        return json(QStringList{"info"} + arguments)["files"].toArray()[0].toObject();
    }

    double truth(const QString& name, const QString& key) const {
        for (const QByteArray& line : read(name + ".truth.csv").split('\n')) {
            if (line.startsWith(key.toUtf8() + ','))
                return line.split(',')[1].toDouble();
        }
        ADD_FAILURE() << "no true " << key.toStdString();
        return 0;
    }
};

double plane(double x, double scan) { return 0.01 * x - 0.02 * scan + 5; }

TEST_F(ScanProgram, EveryFormKeepsEveryBitOfAScan) {
    writeStack("0.kvs", [](double x, double scan) { return std::sin(x) + std::exp(scan); });
    QString from = "0.kvs";
    const QStringList steps[] = {{"1.ply"},
                                 {"2.xyz"},
                                 {"3.kvc", "--format", "cloud"},
                                 {"4.ply", "--format", "ply-ascii"},
                                 {"5.csv"},
                                 {"6.ply", "--out-axes", "x,scan,height"}};
    for (const QStringList& to : steps) {
        json(QStringList{"convert", from} + to);
        from = to[0];
    }
    json({"convert", from, "last.kvs", "--axes", "x,scan,height"});
    EXPECT_EQ(read("last.kvs"), read("0.kvs"));
    EXPECT_EQ(info({"4.ply"})["form"].toString(), "PLY, ascii");
    EXPECT_EQ(info({"6.ply"})["scan"], info({"0.kvs"})["height"]) << "axes stay in the file";
}

TEST_F(ScanProgram, TextAndPlyOfEveryKindAreRead) {
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
    };
    for (const QByteArray& file : files) {
        write("a.ply", file);
        const QJsonObject found = info({"a.ply"});
        EXPECT_EQ(found["points"], 2) << file.left(60).toStdString();
        EXPECT_EQ(found["x"].toArray(), (QJsonArray{1, 4}));
        EXPECT_EQ(found["height"].toArray(), (QJsonArray{2, 2}));
    }
}

TEST_F(ScanProgram, HeightMapsAreReadWithTheirDescription) {
    const QByteArray text =
        "key,value\ncolumns,3\nrows,2\nx_step_mm,0.5\nx_origin_mm,-1\nrow_step_mm,2\nheight_step_mm,0.25\n";
    write("a.bin", bytesOf<quint16>({0, 4, 8, 12, 0, 400}));
    write("a.meta.csv", text);
    write("b.bin", bytesOf<quint16>({9, 4, 8, 12, 9, 400}, true));
    write("other.csv", text + "no_data_value,9\nbyte_order,big\nrow_origin_mm,5\n");
    json({"convert", "a.bin", "a.xyz"});
    json({"convert", "b.bin", "b.xyz", "--map", "other.csv"});
    EXPECT_EQ(read("a.xyz"), "-0.5 1 0\n0 2 0\n-1 3 2\n0 100 2\n");
    EXPECT_EQ(read("b.xyz"), "-0.5 1 5\n0 2 5\n-1 3 7\n0 100 7\n");
    for (const char* bad :
         {"row_step_mm,0\n", "row_step_mm,nan\n", "columns,1e18\n", "rows,1.5\n", "byte_order,odd\n"}) {
        write("other.csv", text + bad);
        expectRefused({"scan", "info", "b.bin", "--map", "other.csv"},
                      QByteArray(bad).split(',')[0].toStdString() + " must be");
    }
    write("a.bin", bytesOf<quint16>({0, 4, 8, 12, 0}));
    expectRefused({"scan", "info", "a.bin"}, "holds 10 bytes, 2 rows of 3 columns need 12");
}

TEST_F(ScanProgram, DamagedScansAreRefusedWithTheirPlace) {
    const QByteArray one = QByteArray("\x05\x02\0", 3) + bytesOf<float>({0, 1, 1, 2, 1});
    const QByteArray cloud = QByteArray("\x03\x01\0\0\0", 5) + bytesOf<float>({1, 2, 3});
    const struct {
        QByteArray content;
        const char* reason;
    } cases[] = {
        {one + one.left(22), "offset 23: profile with z record: announces 2 points, the file ends after 1"},
        {one + cloud, "offset 23: XYZ cloud record behind"},
        {QByteArray("\x03\xFF\xFF\xFF\xFF", 5), "announces 4294967295 points"},
        {QByteArray("\x05\0\0", 3) + bytesOf<float>({NAN}), "position along the scan is not a number"},
        {QByteArray("\x02\x01\0", 3) + bytesOf<float>({1, 2}), "--scan-step"},
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
        {QByteArray(20, '\0'), "begins with the byte 0x00"},
    };
    for (const auto& c : cases) {
        write("bad", c.content);
        expectRefused({"scan", "info", "bad"}, c.reason);
        expectRefused({"scan", "outline", "bad"}, c.reason);
    }
}

TEST_F(ScanProgram, PlaneOfAnAreaIsFittedAndWhatLiesAboveItGoes) {
    writeStack("p.kvs", [](double x, double scan) { return plane(x, scan) + (x > 5 ? 3 : 0); });
    const QJsonObject found =
        json({"plane", "p.kvs", "--x", "-8,5", "--remove", "above", "--shift", "-1", "--out", "low.kvs"});
    EXPECT_NEAR(found["a"].toDouble(), 0.01, 1e-6);
    EXPECT_NEAR(found["b"].toDouble(), -0.02, 1e-6);
    EXPECT_NEAR(found["c"].toDouble(), 5, 1e-6);
    EXPECT_NEAR(found["normal"].toArray()[2].toDouble(), 1 / std::sqrt(1.0005), 1e-6);
    EXPECT_EQ(found["removed"], 13 * 30);
    EXPECT_EQ(info({"low.kvs"})["points"], 27 * 30);
    json({"plane", "low.kvs", "--level", "--out", "level.kvs"});
    EXPECT_NEAR(info({"level.kvs"})["height"].toArray()[1].toDouble(), 0, 1e-5);
}

TEST_F(ScanProgram, GridSectionAndSliceKeepPlaces) {
    writeStack("p.kvs", plane);
    const QJsonObject grid = json({"grid", "p.kvs", "--svg", "p.svg"});
    EXPECT_EQ(grid["filled"], 30 * 40) << "measured columns and rows in cells of their own";
    EXPECT_NEAR(grid["firstX"].toDouble(), -8, 1e-6);
    EXPECT_THAT(read("p.svg").toStdString(), HasSubstr("data:image/png;base64,"));
    const QJsonArray points =
        json({"section", "p.kvs", "--from", "-7,1", "--to", "8,6", "--spacing", "0.3"})["points"].toArray();
    EXPECT_EQ(points.size(), 53);
    for (const auto& point : points) {
        const double along = point.toArray()[0].toDouble() / std::hypot(15, 5);
        EXPECT_NEAR(point.toArray()[1].toDouble(), plane(-7 + 15 * along, 1 + 5 * along), 1e-5);
    }
    EXPECT_EQ(json({"slice", "p.kvs", "s.kvs", "--step", "1"})["points"], 30 * 40);
    EXPECT_EQ(info({"s.kvs"})["scan"].toArray(), (QJsonArray{0, 7}));
    expectRefused({"scan", "grid", "p.kvs", "--step-x", "1e-6"}, "too many");
    expectRefused({"scan", "slice", "p.kvs", "p.kvs", "--step", "1"}, "name another file");
}

TEST_F(ScanProgram, OutlinesLieWithinAStepOfTheTruth) {
    for (const char* shape : {"grooved-plate", "tray"}) {
        run({"simulate", "scan", "--shape", shape, "--rotate", "7", "--noise", "0.02", "--dropouts", "60",
             "--strays", "40", "--out", "o.kvs"});
        const QJsonObject found = json({"outline", "o.kvs", "--min-length", "12", "--svg", "o.svg"});
        const QJsonArray lines = found["lines"].toArray();
        ASSERT_EQ(lines.size(), 4) << shape;
        int next = 0;  // by the rotation the hull begins with the far edge
        for (const char* name : {"far", "right", "near", "left"}) {
            const QString edge = QString(name) + " edge ";
            const QJsonObject line = lines[next++].toObject();
            const auto at = [&](const char* end, int axis) { return line[end].toArray()[axis].toDouble(); };
            const double dx = at("p2", 0) - at("p1", 0);
            const double ds = at("p2", 1) - at("p1", 1);
            for (const char* end : {"1", "2"}) {
                const double x = truth("o.kvs", edge + "x" + end) - at("p1", 0);
                const double s = truth("o.kvs", edge + "scan" + end) - at("p1", 1);
                EXPECT_NEAR((dx * s - ds * x) / std::hypot(dx, ds), 0.1, 0.1)
                    << shape << name << ": half a step inside";
            }
            EXPECT_NEAR(line["angleToNext"].toDouble(), 90, 0.3);
        }
        EXPECT_THAT(read("o.svg").toStdString(), HasSubstr("0: "));
    }
}

TEST_F(ScanProgram, SenselessOutlineParametersGetAnAnswer) {
    writeStack("p.kvs", plane);
    for (const char* bad : {"0", "-1", "inf", "nan"}) {
        expectRefused({"scan", "outline", "p.kvs", "--coin", bad}, "--coin");
        expectRefused({"scan", "outline", "p.kvs", "--step", bad}, "--step");
    }
    expectRefused({"scan", "outline", "p.kvs", "--level", "1e9"}, "no point is above");
    EXPECT_EQ(run({"scan", "outline", "p.kvs", "--coin", "1e-6"}).code, 1);
    EXPECT_EQ(run({"scan", "outline", "p.kvs", "--coin", "1e9", "--split", "0", "--step", "1e9"}).code, 1);
}

TEST_F(ScanProgram, InfoPointsToTheScanCommands) {
    writeStack("p.kvs", plane);
    write("a.ply", ply("ascii", "element vertex 1\n" + xyz, "1 2 3\n"));
    for (const char* name : {"p.kvs", "a.ply"})
        EXPECT_THAT(run({"info", name}).out, HasSubstr(std::string("kvmeasure scan info ") + name));
    for (const char* command : {"info", "convert", "slice", "section", "grid", "plane", "outline"})
        EXPECT_THAT(run({"scan", command, "--help"}).out, HasSubstr("Examples\n  kvmeasure scan "));
}

}  // namespace
