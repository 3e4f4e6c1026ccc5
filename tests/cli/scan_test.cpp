// "kvmeasure scan" from outside: every form of scan, every command, damaged input.

#include <tests/cli/program.h>
#include <tests/support/scan_bytes.h>

#include <kvmath/profile/profile_zset.h>

#include <QtCore/QtEndian>

namespace {

using KvMath::KvPointXY;
using KvMath::KvProfileZ;
using KvMath::KvProfileZSet;
using TestSupport::bytesOf;
using TestSupport::ply;
using TestSupport::xyz;

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

TEST_F(ScanProgram, DamagedScansAreRefusedByEveryCommand) {
    write("bad", ply("ascii", "element vertex 3\n" + xyz, "1 2 3\n1 2 3"));
    for (const char* command : {"info", "outline", "plane"})
        expectRefused({"scan", command, "bad"}, "hold at most 2");
    write("b.bin", bytesOf<quint16>({9, 4, 8, 12}, true));
    write("map.csv", "columns,2\nrows,2\nx_step_mm,1\nrow_step_mm,2\nheight_step_mm,0.25\nbyte_order,big\n");
    json({"convert", "b.bin", "b.xyz", "--map", "map.csv"});
    EXPECT_EQ(read("b.xyz"), "0 2.25 0\n1 1 0\n0 2 2\n1 3 2\n");
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

TEST_F(ScanProgram, PlanesFarFromTheOriginLoseNoDigits) {
    KvProfileZSet patch;
    for (int row = 0; row <= 20; ++row) {
        KvProfileZ profile(5000 + 0.25F * static_cast<float>(row));
        for (int column = 0; column <= 20; ++column)
            profile.points.append(KvPointXY(0.25F * static_cast<float>(column) - 3000,
                                            static_cast<float>(0.02 * column * 0.25 - 0.01005 * row * 0.25)));
        patch.append(profile);
    }
    ASSERT_TRUE(patch.writeToFile(path("far.kvs")));
    const QJsonObject found = json({"plane", "far.kvs"});
    EXPECT_NEAR(found["a"].toDouble(), 0.02, 1e-7);
    EXPECT_NEAR(found["b"].toDouble(), -0.01005, 1e-7);
    EXPECT_LT(found["rms"].toDouble(), 1e-7);
    const QJsonArray normal = found["normal"].toArray();
    json({"convert", "far.kvs", "far.kvc", "--format", "cloud"});
    const QJsonObject fit = run("fit far.kvc --plane --json").json()["parameters"].toObject();
    EXPECT_NEAR(fit["c"].toDouble() / fit["b"].toDouble(), 0.01005, 1e-7);
    EXPECT_NEAR(normal[1].toDouble() / normal[2].toDouble(), 0.01005, 1e-7);
    KvProfileZ line(0);
    line.points.append(KvPointXY(3000.1F, 0));
    line.points.append(KvPointXY(3000.2F, 0));
    KvProfileZSet straight;
    for (int row = 0; row < 3; ++row) {
        line.points[0].x = 3000.1F + 0.1F * static_cast<float>(row);
        straight.append(KvProfileZ(line));
        straight[row].points.removeLast();
        straight[row].z = 7000.3F + 0.3F * static_cast<float>(row);
    }
    ASSERT_TRUE(straight.writeToFile(path("line.kvs")));
    expectRefused("scan plane line.kvs", "no plane through 3 point(s) that lie on one line");
}

TEST_F(ScanProgram, SectionsKeepUnequallySpacedProfilesAndSayWhatIsInterpolated) {
    KvProfileZSet stack;
    for (const float place : {0.0F, 0.3F, 0.5F, 1.4F, 1.5F, 149.8F}) {
        KvProfileZ profile(place);
        for (const float x : {-1.0F, -0.9F, -0.5F, 0.2F, 0.6F, 1.0F})
            profile.points.append(KvPointXY(x, static_cast<float>(plane(double(x), double(place)))));
        stack.append(profile);
    }
    ASSERT_TRUE(stack.writeToFile(path("u.kvs")));
    EXPECT_EQ(info({"u.kvs"})["profiles"], 6);
    json({"convert", "u.kvs", "cut.kvs", "--scan", "0,149.8"});
    EXPECT_EQ(info({"cut.kvs"})["profiles"], 6) << "the end as it is shown";
    const struct {
        QStringList where;
        int measured, interpolated;
    } cases[] = {{{"--at-x", "0.2"}, 6, 0},
                 {{"--at-x", "0.5"}, 0, 6},
                 {{"--at-scan", "149.8"}, 6, 0},
                 {{"--at-scan", "0.4", "--svg", "s.svg"}, 0, 6},
                 {{"--from", "-1,0.3", "--to", "1,0.3", "--spacing", "0.1"}, 6, 15}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.where.join(' ').toStdString());
        const QJsonObject found = json(QStringList{"section", "u.kvs"} + c.where);
        EXPECT_EQ(found["measured"], c.measured);
        EXPECT_EQ(found["interpolated"], c.interpolated);
        EXPECT_EQ(found["points"].toArray().size(), c.measured + c.interpolated);
        const double given = c.where[1].toDouble();
        for (const auto& point : found["points"].toArray()) {
            const double along = point.toArray()[0].toDouble();
            const double height = c.where[0] == "--at-x"      ? plane(given, along)
                                  : c.where[0] == "--at-scan" ? plane(along, given)
                                                              : plane(along - 1, 0.3);
            EXPECT_NEAR(point.toArray()[1].toDouble(), height, 1e-6);
        }
    }
    EXPECT_THAT(read("s.svg").toStdString(), HasSubstr(">interpolated points<"));
    expectRefused("scan section u.kvs --at-scan 80", "no heights along this section");
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

TEST_F(ScanProgram, OutlinesAreDrawnAndReportedWithTheLevelThatWasFound) {
    run("simulate scan --rotate 7 --noise 0.02 --out o.kvs");
    const QJsonObject found = json({"outline", "o.kvs", "--svg", "o.svg"});
    const QJsonArray lines = found["lines"].toArray();
    ASSERT_EQ(lines.size(), 4);
    EXPECT_NEAR(lines[0].toObject()["angleToNext"].toDouble(), 90, 0.3);
    EXPECT_THAT(found["parameters"].toObject()["levelReason"].toString().toStdString(),
                HasSubstr("% of the points lie about "));
    EXPECT_THAT(read("o.svg").toStdString(), HasSubstr("0: "));
    EXPECT_THAT(run("scan outline o.kvs").out, HasSubstr("\nlevel: "));
    writeStack("plane.kvs", plane);
    expectRefused("scan outline plane.kvs", "(--level 3 takes them all)");
}

TEST_F(ScanProgram, AHeightThatMayBeUnsetIsNotMeasured) {
    QByteArray rows = "x,height,scan\n";
    for (int i = 0; i < 200; ++i) {
        const double x = i % 10, scan = i / 10;  // NOLINT(bugprone-integer-division)
        rows += QString("%1,%2,%3\n").arg(x).arg(i % 17 == 3 ? -9999 : plane(x, scan)).arg(scan).toUtf8();
    }
    write("u.xyz", rows);
    const std::string doubt = "the height -9999 occurs 12 time(s), far outside all others";
    for (const char* command : {"plane u.xyz", "outline u.xyz", "section u.xyz --at-x 3", "grid u.xyz",
                                "convert u.xyz o.kvs", "slice u.xyz o.kvs --step 1", "outline u.xyz --x 0,9"})
        expectRefused((QString("scan ") + command).split(' '), "line 5: " + doubt);
    EXPECT_THAT(info({"u.xyz"})["warning"].toString().toStdString(), HasSubstr(doubt));
    EXPECT_NEAR(json({"plane", "u.xyz", "--height", "-100,100"})["a"].toDouble(), 0.01, 1e-5);
    // Every form takes --unset and asks for it.
    for (const char* name : {"o.kvs", "o.kvc", "o.xyz", "o.csv", "o.ply"}) {
        const QString form = QString(name) == "o.kvc" ? "cloud" : "";
        EXPECT_EQ(json(QStringList{"convert", "u.xyz", name, "--unset", "none"} +
                       (form.isEmpty() ? QStringList() : QStringList{"--format", form}))["points"],
                  200);
        expectRefused({"scan", "plane", name}, doubt);
        EXPECT_THAT(run({"scan", "info", name}).err, HasSubstr("give --unset -9999, otherwise --unset none"));
        EXPECT_EQ(info({name, "--unset", "-9999,0"})["unset"], 12) << name;
    }
    simulate("g.csv", "--shape v-groove");
    ASSERT_EQ(run("teach g.csv --longest 2 --out g.json").code, 0);
    expectRefused("match o.csv --template g.json", doubt);
    EXPECT_THAT(run("match o.csv --template g.json --unset -9999").err, Not(HasSubstr(doubt)));
    expectRefused("match o.csv --template g.json --pitch 1", "is a scan");
    write("m.bin", bytesOf<quint16>({10, 65535, 12, 14, 65535, 11}));
    write("m.meta.csv", "columns,3\nrows,2\nx_step_mm,1\nrow_step_mm,1\nheight_step_mm,1\n");
    expectRefused("scan plane m.bin",
                  "the count 65535 occurs 2 time(s), far outside all others; does it stand for "
                  "\"nothing measured\"? Then write no_data_value,65535 into ./m.meta.csv");
    expectRefused("scan plane m.bin --unset 65535", "stands in ./m.meta.csv, under no_data_value");
    EXPECT_EQ(info({"m.bin", "--unset", "none"})["points"], 6);
}

TEST_F(ScanProgram, UnitsOfTextAndPlyAreTakenOrRefused) {
    write("a.xyz", "1000;2;3000\n4000;2;3000\n");
    write("a.ply", ply("ascii", "element vertex 2\n" + xyz, "1000 2 3000\n4000 2 3000\n"));
    for (const char* name : {"a.xyz", "a.ply"}) {
        EXPECT_EQ(info({name, "--unit", "um"})["x"].toArray(), (QJsonArray{1, 4}));
        const QJsonObject each = info({name, "--unit", "um,mm,cm"});
        EXPECT_EQ(each["height"].toArray(), (QJsonArray{2, 2}));
        EXPECT_EQ(each["scan"].toArray(), (QJsonArray{30000, 30000}));
        const QJsonObject turned = info({name, "--unit", "um,m,mm", "--axes", "x,scan,height"});
        EXPECT_EQ(turned["scan"].toArray(), (QJsonArray{2000, 2000}));
        EXPECT_EQ(turned["height"].toArray(), (QJsonArray{3000, 3000}));
        expectRefused({"scan", "info", name, "--unit", "um,mm"}, "give one unit or three");
    }
    json({"convert", "a.xyz", "a.csv"});
    expectRefused("scan info a.csv --unit um", "--unit is of points in text and PLY");
    write("b.xyz", "x [Mm],y [Mm],z [Mm]\n1,2,3\n");
    expectRefused("scan info b.xyz", "has no unit of length known here");
    EXPECT_EQ(info({"b.xyz", "--unit", "m"})["x"].toArray(), (QJsonArray{1000, 1000}));
}

TEST_F(ScanProgram, OnePlaceHasNoDistance) {
    write("one.xyz", "1,5,0\n1,6,0\n");
    write("row.xyz", "1,5,0\n2,6,0\n3,6,0\n");
    EXPECT_TRUE(info({"one.xyz"})["stepX"].isNull());
    EXPECT_TRUE(info({"one.xyz"})["stepScan"].isNull());
    EXPECT_EQ(info({"row.xyz"})["stepX"], 1);
    EXPECT_TRUE(info({"row.xyz"})["stepScan"].isNull());
}

TEST_F(ScanProgram, SenselessOutlineParametersGetAnAnswer) {
    writeStack("p.kvs", plane);
    for (const char* bad : {"0", "-1", "inf", "nan"}) {
        expectRefused({"scan", "outline", "p.kvs", "--coin", bad}, "--coin");
        expectRefused({"scan", "outline", "p.kvs", "--step", bad}, "--step");
    }
    expectRefused({"scan", "outline", "p.kvs", "--level", "1e9"}, "no point is above");
    EXPECT_EQ(run("scan outline p.kvs --level 0 --coin 1e-6").code, 1);
    EXPECT_EQ(run("scan outline p.kvs --level 0 --coin 1e9 --split 0 --step 1e9").code, 1);
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
