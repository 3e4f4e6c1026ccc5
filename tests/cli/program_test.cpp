// The program from outside.

#include <tests/kvmeasure/program.h>

#include <kvmath/core/point_cloud.h>

#include <tests/support/prelude.h>

#include <QtCore/QMap>

#include <sys/stat.h>

namespace {

class Kvmeasure : public Program {
protected:
    static QByteArray templateOf(const QByteArray& lines, const QByteArray& constraints) {
        return R"({"template": {"numOfLines": )" + lines + R"(, "constraints": [)" + constraints + R"(]},
            "measurements": [], "search": {"contourGap": 9, "splitTolerance": 1, "refineIterations": 0,
            "minLineLength": 1, "allowReversed": false, "cornerTolerance": 1}})";
    }

    /// A groove with its template: left land, floor, right land.
    void teachGroove(const QString& measure) const {
        simulate("groove.csv", "--shape square-groove --noise 0.02 --seed 3");
        const Outcome taught = run({"teach", "groove.csv", "--lines", "left=0,floor=1,right=2", "--measure",
                                    measure, "--out", "groove.json"});
        ASSERT_EQ(taught.code, 0) << taught.err;
    }

    double truth(const QString& name, const QByteArray& key) const {
        for (const QByteArray& line : read(name + ".truth.csv").split('\n')) {
            if (line.split(',').value(0) == key)
                return line.split(',').value(1).toDouble();
        }
        return std::numeric_limits<double>::quiet_NaN();
    }

    static double value(const Outcome& result, const QString& name) {
        const QJsonObject profile = result.json()["profiles"].toArray()[0].toObject();
        const QJsonObject assignment = profile["assignments"].toArray()[0].toObject();
        for (const auto& entry : assignment["measurements"].toArray()) {
            if (entry.toObject()["name"].toString() == name)
                return entry.toObject()["value"].toDouble();
        }
        return std::numeric_limits<double>::quiet_NaN();
    }
};

TEST_F(Kvmeasure, EveryCommandHasHelpWithExamples) {
    for (const char* command :
         {"info", "teach", "match", "fit", "filter", "lines", "scan", "simulate", "calibrate"}) {
        const Outcome result = run({command, "--help"});
        EXPECT_EQ(result.code, 0) << command;
        EXPECT_THAT(result.out, HasSubstr("Examples\n  kvmeasure ")) << command;
    }
    EXPECT_THAT(run("--help").out, HasSubstr("Exit codes"));
    EXPECT_THAT(run("--version").out, HasSubstr("2.1.0.20181219"));
}

TEST_F(Kvmeasure, WrongUseSaysWhatIsWrong) {
    write("p.csv", "0,0\n1,0\n2,0\n3,0\n");
    expectRefused(QStringList(), "which command");
    const char* const cases[][2] = {
        {"mach", "\"match\"?"},
        {"teach p.csv --longset 2", "\"--longest\"?"},
        {"teach p.csv --longest", "needs a value"},
        {"teach p.csv --longest 2.5 --out t", "whole number"},
        {"teach p.csv --split -1", "from 0"},
        {"teach p.csv --json --json", "twice"},
        {"teach p.csv --json=1", "no value"},
        {"teach p.csv --longest 9 --out t", "only 1"},
        {"teach p.csv --lines 0,7 --out t", "\"7\""},
        {"teach p.csv --lines 0,0 --out t", "twice"},
        {"teach p.csv --longest 1", "--out"},
        {"teach p.csv q.csv", "q.csv"},
        {"match p.csv", "--template"},
        {"match p.csv --template none.json", "none.json: "},
        {"fit p.csv --line --circle", "one of"},
        {"fit p.csv --line --known-radius 2", "--circle"},
        {"fit p.csv --plane", "XYZ record"},
        {"filter p.csv --steps sort-x", "OUT"},
        {"simulate profile --dimensions dept=3 --out x", "\"depth\"?"},
        {"teach p.csv --out /dev/full --longest 1", "/dev/full: "},
    };
    for (const auto& [line, reason] : cases)
        expectRefused(line, reason);
    EXPECT_FALSE(QFile::exists("t"));
    const QByteArray before = read("p.csv");
    for (const char* line :
         {"fit p.csv --line --svg p.csv", "lines p.csv --svg ./p.csv", "teach p.csv --svg p.csv",
          "teach p.csv --longest 1 --out p.csv", "scan grid p.csv --out q --svg q"})
        expectRefused(line, "name another file");
    EXPECT_EQ(read("p.csv"), before);
}

TEST_F(Kvmeasure, TextErrorsQuoteTheStatementAndLeaveTheOldFile) {
    write("p.csv", "0,0\n1,0\n2,0\n3,0\n");
    write("old", "old");
    for (const char* text :
         {"length 9", "lenght 0", "length", "length 0 0", "length 0.start", "point 0 nan", "shift 0 0 1e9",
          "shift 0 0 90 refer 0", "far 0 0", "length 0; length 0", "length 0 : 3", "point 0 0 : 3 +- 1"})
        expectRefused({"teach", "p.csv", "--longest", "1", "--out", "old", "--measure", text},
                      QString(text).split("; ").last().toStdString());
    for (const char* text :
         {"median 3; meen 5", "trim-y 5 1", "median 2.5", "mean 1e9", "trim-x nan 3", "resample 1e-6"})
        expectRefused({"filter", "p.csv", "old", "--steps", text},
                      QString(text).split("; ").last().toStdString());
    expectRefused({"filter", "p.csv", "old", "--steps", "; ;"}, "names no step");
    expectRefused("filter p.csv old --steps sort-x --svg p.csv", "name another file");
    EXPECT_EQ(read("old"), "old");
}

TEST_F(Kvmeasure, UnreadablePointsNameThePlace) {
    const QByteArray xy3("\x02\x03\x00", 3);
    const struct {
        const char* name;
        QByteArray content;
        const char* reason;
    } cases[] = {
        {"empty", "", "is empty"},
        {"garbage", QByteArray("\x7f\x45\x4c\x01\x00", 5), "offset 3: byte 0x01"},
        {"text", "x,y\n1,2\n3,abc\n", "line 3: column 2: expected a number, found \"abc\""},
        {"inf", "1,inf\n", "line 1: column 2"},
        {"commas", "-1,0\n-1,0,0,02\n", "line 2: \"-1,0,0,02\" may be two numbers with decimal commas"},
        {"huge", "1,1e300\n", "too large for a coordinate"},
        {"zero", QByteArray("1,2\n", 4).repeated(2000) + QByteArray("1,\0\n", 4),
         "line 2001: holds a zero byte"},
        {"long", QByteArray(100'000, '1'), "line 1: is longer than 4096 bytes"},
        {"header", "x,y\n", "holds no point"},
        {"second", xy3 + QByteArray(24, '\0') + '\x09', "offset 27: byte 0x09"},
        {"cut", xy3 + QByteArray(23, '\0'),
         "offset 0: XY cloud record: announces 3 points, the file ends after 2"},
        {"head", QByteArray("\x03\xff", 2), "its head needs 5 bytes"},
        {"count", QByteArray("\x03\xff\xff\xff\xff", 5),
         "announces 4294967295 points, the file ends after 0"},
    };
    for (const auto& c : cases) {
        write(c.name, c.content);
        expectRefused({"teach", c.name, "--record", "1"}, c.reason);
        if (c.name != std::string("header"))
            expectRefused({"info", c.name}, c.reason);
    }
    ASSERT_TRUE(QFile::resize(write("sparse.csv", "1,2\n"), 10'000'000'000));
    expectRefused("info sparse.csv", "offset 4: byte 0x00");
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    for (const char* command : {"info", "teach"}) {
        expectRefused({command, "none.csv"}, "none.csv: no such file");
        expectRefused({command, "."}, "is a directory");
        expectRefused({command, "pipe"}, "is not a regular file");
        expectRefused({command, "/dev/zero"}, "is not a regular file");
    }
}

TEST_F(Kvmeasure, InfoTellsFormsApartByContent) {
    KvPointCloud<KvPointXY> xy;
    xy.points = {{1, 2}, {3, kNaN}};
    KvPointCloud<KvPointXYZ> xyz;
    xyz.points = {{-1, 5, 9}};
    ASSERT_TRUE(xy.writeToFile("records") && xyz.writeToFile("second"));
    write("records", read("records") + read("second"));
    write("library", "1,5;2\n2,5;-3e-1\n");
    write("ordinary", "\xEF\xBB\xBFx_mm,z_mm\r\n1.5,2\r\n2.5,nan\r\n");
    const Outcome result = run("info --json records library ordinary");
    EXPECT_EQ(result.code, 0) << result.err;
    const QJsonArray files = result.json()["files"].toArray();
    const auto section = [&files](int i, int j) {
        return files[i].toObject()["sections"].toArray()[j].toObject();
    };
    EXPECT_TRUE(section(0, 0)["kind"] == "XY cloud" && section(0, 0)["unset"] == 1);
    EXPECT_TRUE(section(0, 1)["offset"] == 19 && section(0, 1)["z"].toArray()[0] == 9);
    EXPECT_EQ(files[1].toObject()["form"].toString(), "CSV with semicolons");
    EXPECT_FLOAT_EQ(float(section(1, 0)["y"].toArray()[0].toDouble()), -0.3F);
    EXPECT_TRUE(section(2, 0)["x"].toArray()[1] == 2.5 && section(2, 0)["points"] == 2);
    write("four", "1,5,2,75\n");
    EXPECT_THAT(run("info --columns 1,4 four").out, HasSubstr("75.0000 .. 75.0000"));
    write("four", "x,y,i,n\n1,5,2,75\n");
    EXPECT_THAT(run("info four").out, HasSubstr("5.0000 .. 5.0000"));
}

TEST_F(Kvmeasure, TaughtPartAndItsTurnedNoisyCopyAreMeasuredRight) {
    teachGroove(
        "depth = distance floor right; again = shift floor.end right 90 ref right; width = length floor;"
        "open = angle left right; turn = rotation left right; tilt = inclination floor;"
        "root = point floor 0.5; apex = intersection left right; mid = between left right; far = far 0 -1");
    simulate("copy.csv",
             "--shape square-groove --noise 0.04 --seed 9 --rotate 2 --dx 1.5 --dy -4 --dropouts 1");
    for (const char* name : {"groove.csv", "copy.csv"}) {
        const Outcome result = run({"match", name, "--template", "groove.json", "--json"});
        ASSERT_EQ(result.code, 0) << result.out << result.err;
        EXPECT_NEAR(value(result, "depth"), truth("groove.csv", "depth"), 0.03) << name;
        EXPECT_NEAR(value(result, "again"), truth("groove.csv", "depth"), 0.05) << name;
        EXPECT_NEAR(value(result, "open"), 180, 0.3) << name;
        EXPECT_NEAR(value(result, "tilt"), name[0] == 'c' ? 2 : 0, 0.3) << name;
    }
}

TEST_F(Kvmeasure, ToleranceDecidesTheExitCode) {
    teachGroove("depth = distance floor right : +- 0.2; width = length floor : 100 +1 -2");
    const Outcome result = run("match groove.csv --template groove.json --svg p.svg");
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.out, testing::AllOf(HasSubstr("good"), HasSubstr("OUT")));
    EXPECT_THAT(read("p.svg").toStdString(), HasSubstr("OUT OF TOLERANCE"));
    write("flat.csv", "0,0\n1,0\n2,0\n3,0\n");
    const Outcome absent = run("match flat.csv --template groove.json");
    EXPECT_EQ(absent.code, 1);
    EXPECT_THAT(absent.out, HasSubstr("NOT FOUND"));
    EXPECT_THAT(absent.out, HasSubstr("the template has 3 lines, the profile 1 segment(s)"));
    EXPECT_EQ(run("match none.csv --template groove.json").out, "") << "no head without a profile";
}

TEST_F(Kvmeasure, TemplateThatIsNotFoundNamesTheConstraintThatRefusesTheNearestAssignment) {
    write("z.csv", "0,0\n1,0\n2,0\n4,0\n4.1,3\n4.2,6\n");
    const QByteArray first =
        R"({"constraintType": "Length", "lineIndex": 0, "lowerBound": 5.0, "upperBound": 6.1},)";
    const QByteArray keys = R"("lineFromIndex": 0, "lineToIndex": 1, "lowerBound": 0.5, "upperBound": )";
    const QByteArray shift = R"(1.5, "directionAngle": 0.0, "isFromLineReference": true)";
    const std::pair<QByteArray, const char*> cases[] = {
        {R"("Endpoint distance", )" + keys + "1.0",
         "but endpoint distance from line 0 to line 1 is 7.3239 mm, allowed are 0.5000 to 1.0000\n"},
        {R"("Endpoint distance w/c", )" + keys + "9.0", "is 7.3239 mm, more than between their other ends\n"},
        {R"("Length", "lineIndex": 0, "lowerBound": 6.5, "upperBound": "undefined")",
         "but length of line 0 is 6.0033 mm, allowed is at least 6.5000\n"},
        {R"("Endpoint shift in direction", )" + keys + shift,
         "line 0 to line 1 is -6.1366 mm, allowed are 0.5"},
        {R"("Rotation angle", )" + keys + R"(3.1, "direction": 1)",
         "is 88.0908 deg to the right, allowed are 28.6479 to 177.6169 to the left\n"},
    };
    for (const auto& [second, reason] : cases) {
        write("t.json", templateOf("2", first + R"({"constraintType": )" + second + "}"));
        EXPECT_THAT(run("match z.csv --template t.json").out,
                    testing::AllOf(HasSubstr("nearest: line 0 = segment 1, line 1 = segment 0; "),
                                   HasSubstr(reason)));
    }
}

TEST_F(Kvmeasure, TemplateOfManyRefusalsIsExplainedInTimeAndShort) {
    QByteArray saw;
    for (int i = 0; i < 600; ++i)
        saw += QByteArray::number(0.25 * i) + ',' + QByteArray::number(std::abs(i % 40 - 20) * 0.25) + '\n';
    write("saw.csv", saw);
    const QByteArray no = R"({"constraintType": "Length", "lineIndex": 3, "lowerBound": 9, "upperBound": 9})";
    write("t.json", templateOf("4", (no + ',').repeated(9999) + no));
    EXPECT_THAT(run("match saw.csv --template t.json").out,
                testing::AllOf(HasSubstr("\ngot farthest: line 0 = "), HasSubstr("; and 9997 more\n")));
}

TEST_F(Kvmeasure, WholeNumbersInTemplatesStayBounds) {
    write("p.csv", "0,0\n1,0\n2,0\n4,0\n");
    const auto bounded = [](const char* upper) {
        const QByteArray length =
            R"({"constraintType": "Length", "lineIndex": 0, "lowerBound": 0, "upperBound": )";
        return templateOf("1", length + upper + "}");
    };
    for (const auto& [bound, code] : {std::pair("3", 1), {"3.0", 1}, {"4", 0}, {"\"undefined\"", 0}}) {
        write("t.json", bounded(bound));
        EXPECT_EQ(run("match p.csv --template t.json").code, code) << bound;
    }
    write("t.json", bounded("\"3\""));
    expectRefused("match p.csv --template t.json", "expected a number under \"upperBound\"");
}

TEST_F(Kvmeasure, DamagedTemplatesNameThePlace) {
    teachGroove("depth = distance floor right : +- 1; p = point 0 0");
    const QByteArray good = read("groove.json");
    const struct {
        const char* from;
        const char* to;
        const char* reason;
    } cases[] = {
        {"\"means\": [", "\"means\": {", "line "},
        {"\"Length\"", "\"Lenght\"", "template.constraints[0]: has an unknown"},
        {"\"contourGap\"", "\"contourGab\"", "expected a number under \"contourGap\""},
        {"\"numOfLines\": 3", "\"numOfLines\": 1e9", "from 0 to 1000"},
        {"\"refineIterations\": 3", "\"refineIterations\": -3", "\"refineIterations\" must be"},
        {"\"measurements\"", "\"measurement\"", "measurements: expected a list"},
        {"\"depth\": {", "\"dept\": {", "known: p.x, p.y, depth; did you mean \"depth\"?"},
    };
    for (const auto& c : cases) {
        QByteArray bad = good;
        ASSERT_TRUE(bad.contains(c.from)) << c.from;
        write("bad.json", bad.replace(c.from, c.to));
        expectRefused("match groove.csv --template bad.json", c.reason);
    }
    write("bad.json", QByteArray("{\"a\":").repeated(100'000));
    expectRefused("match groove.csv --template bad.json", "expected a template in JSON");
}

TEST_F(Kvmeasure, TemplateWithoutConstraintsIsGivenUpInTime) {
    QByteArray zigzag;
    for (int i = 0; i < 200; ++i)
        zigzag += QByteArray::number(i) + ',' + QByteArray::number(i % 2 * 5) + '\n';
    write("zigzag.csv", zigzag);
    write("t.json", templateOf("8", "").replace("false", "true"));
    expectRefused("match zigzag.csv --template t.json", "too many ways");
}

TEST_F(Kvmeasure, SimulationRepeatsWithItsSeed) {
    for (const char* seed : {"7", "8", "07"})
        simulate(seed, {"--noise", "0.1", "--seed", seed});
    EXPECT_EQ(read("7"), read("07"));
    EXPECT_NE(read("7"), read("8"));
}

TEST_F(Kvmeasure, FitStatesParametersAndResiduals) {
    write("bent.csv", "1000,1\n1001,0\n1002,1\n1003,4\n,\n");  // (x - 1001)^2
    write("octagon.csv", "12,5\n2,15\n-8,5\n2,-5\n8,13\n-4,13\n8,-3\n-4,-3\n");
    write("upright.csv", "1,1\n1,2\n1,3\n");
    KvPointCloud<KvPointXYZ> table;
    for (int i = 0; i < 9; ++i)
        table += KvPointXYZ(float(i % 3), float(i / 3), float(i % 3) - 5.0F);
    ASSERT_TRUE(table.writeToFile("table.bin"));
    const double root = std::sqrt(0.5);
    const struct {
        const char* arguments;
        QMap<QString, double> parameters;
        double rms, error;
    } cases[] = {
        {"bent.csv --line", {{"slope", 1}, {"intercept", -1000}}, 1.0, std::sqrt(2.0)},
        {"bent.csv --parabola", {{"a", 1}, {"b", -2002}, {"c", 1002001}}, 0, 0},
        {"octagon.csv --circle", {{"x", 2}, {"y", 5}, {"radius", 10}}, 0, 0},
        {"octagon.csv --circle --known-radius 9", {{"x", 2}, {"y", 5}, {"radius", 9}}, 1, std::sqrt(8.0 / 6)},
        {"table.bin --plane", {{"a", -root}, {"b", 0}, {"c", root}, {"d", 5 * root}}, 0, 0}};
    for (const auto& c : cases) {
        const Outcome result = run(("fit --json " + std::string(c.arguments)).c_str());
        ASSERT_EQ(result.code, 0) << result.err << c.arguments;
        for (auto it = c.parameters.begin(); it != c.parameters.end(); ++it)
            EXPECT_NEAR(result.json()["parameters"].toObject()[it.key()].toDouble(), it.value(), 1e-5)
                << it.key().toStdString();
        EXPECT_NEAR(result.json()["rms"].toDouble(), c.rms, 1e-5);
        EXPECT_NEAR(result.json()["standardError"].toDouble(), c.error, 1e-5);
    }
    EXPECT_EQ(run("fit upright.csv --line").code, 1);
    EXPECT_EQ(run("fit octagon.csv --circle --svg o.svg").code, 0);
    EXPECT_EQ(run("fit table.bin --plane --svg t.svg").code, 0);
    EXPECT_THAT(read("t.svg").toStdString(), HasSubstr("distance from the plane"));
    EXPECT_TRUE(read("o.svg").contains("<polyline"));
}

TEST_F(Kvmeasure, FilteredProfilesKeepFormDigitsTagsAndNumber) {
    const QByteArray head("\x85\x02\x00"
                          "abcdefghijklmnopqrstuvwx",
                          27);
    const QByteArray points = QByteArray::fromHex("0000803fcdcccc3d 000000400000a040");
    write("two", (head + points) + (head + points));
    ASSERT_EQ(run({"filter", "two", "copy", "--steps", "shift 0 0"}).code, 0);
    EXPECT_EQ(read("copy"), read("two"));
    const Outcome cut = run({"filter", "two", "two", "--steps", "trim-y - 2", "--json", "--svg", "p.svg"});
    EXPECT_EQ(cut.json()["profiles"].toArray().size(), 2);
    EXPECT_EQ(read("two").size(), 2 * (27 + 8));
    EXPECT_THAT(read("p-two-1.svg").toStdString(), HasSubstr("before and after"));
    expectRefused("filter two c --steps sort-x --format csv", "choose one with --record");
    ASSERT_EQ(run("filter two c --steps sort-x --format csv --record 1").code, 0);
    EXPECT_EQ(read("c"), "x_mm,y_mm\n1,0.100000001\n");
    ASSERT_EQ(run("filter c c --steps sort-x --format kv-csv").code, 0);
    EXPECT_EQ(read("c"), "1;0,100000001\n");
}

TEST_F(Kvmeasure, LinesAreTheSegmentsOfTeachWithTheirNoise) {
    simulate("p.csv", "--shape square-groove --noise 0.02 --seed 3");
    const Outcome lines = run("lines p.csv --json");
    const QJsonArray found = lines.json()["segments"].toArray();
    const QJsonArray taught = run("teach p.csv --json").json()["segments"].toArray();
    ASSERT_TRUE(found.size() == 3 && taught.size() == 3);
    for (int i = 0; i < found.size(); ++i) {
        EXPECT_EQ(found[i].toObject()["p1"], taught[i].toObject()["p1"]);
        EXPECT_EQ(found[i].toObject()["p2"], taught[i].toObject()["p2"]);
        EXPECT_NEAR(found[i].toObject()["rms"].toDouble(), 0.02, 0.005);
    }
}

}  // namespace
