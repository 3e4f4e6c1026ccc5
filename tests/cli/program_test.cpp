// The program from outside.

#include <tests/cli/program.h>

#include <kvmath/core/point_cloud.h>

#include <tests/support/prelude.h>

#include <QtCore/QMap>

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

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

/// How often a file is opened as long as this stands.
class Openings {
public:
    explicit Openings(const QString& path) : watch_(::inotify_init1(IN_NONBLOCK)) {
        ::inotify_add_watch(watch_, QFile::encodeName(path).constData(), IN_OPEN | IN_ACCESS | IN_CLOSE);
    }
    ~Openings() { ::close(watch_); }
    Openings(const Openings&) = delete;
    Openings& operator=(const Openings&) = delete;

    int count() const {
        inotify_event events[1024];
        const ssize_t bytes = ::read(watch_, events, sizeof(events));
        return int(std::count_if(events,
                                 events + std::max<ssize_t>(bytes, 0) / ssize_t(sizeof(inotify_event)),
                                 [](const inotify_event& event) { return (event.mask & IN_OPEN) != 0; }));
    }

private:
    int watch_;
};

TEST_F(Kvmeasure, OpensWhatItReadsOnce) {
    simulate("p.csv", "--shape step");
    run("simulate scan --columns 40 --rows 20 --row-step 3 --out stack.kvs");
    run("scan convert stack.kvs cloud.ply");
    run("scan convert stack.kvs cloud.xyz");
    run("calibrate simulate flat.raw");
    run("teach p.csv --longest 2 --out t.json");
    for (const char* file : {"p.csv", "stack.kvs", "cloud.ply", "cloud.xyz"}) {
        for (const char* command : {"info %1", "lines %1", "fit %1 --line", "match %1 --template t.json",
                                    "scan info %1", "filter %1 out.csv --steps median~5",
                                    "filter %1 out.csv --steps median~5 --record 0", "calibrate info %1"}) {
            const QString name = QString(command).contains("calibrate") ? "flat.raw" : file;
            const Openings openings(path(name));
            run(QString(command).arg(name).split(' ').replaceInStrings("~", " "));
            EXPECT_EQ(openings.count(), 1) << command << ' ' << file;
        }
    }
}

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
    const char* const cases[][2] = {{"mach", "\"match\"?"},
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
                                    {"teach p.csv --out /dev/full --longest 1", "/dev/full: "}};
    for (const auto& [line, reason] : cases)
        expectRefused(line, reason);
    EXPECT_FALSE(QFile::exists("t"));
    const QByteArray before = read("p.csv");
    ASSERT_TRUE(QFile::link("p.csv", "p.svg"));
    for (const char* line :
         {"fit p.csv --line --svg p.svg", "lines p.csv --svg ./p.svg", "teach p.csv --svg p.svg",
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
    expectRefused({"filter", "p.csv", "old", "--steps", "median 3; meen 5"}, "step 2 \"meen 5\"");
    ASSERT_TRUE(QFile::link("p.csv", "p.svg"));
    expectRefused("filter p.svg old --steps sort-x --svg p.svg", "name another file");
    EXPECT_EQ(read("old"), "old");
}

TEST_F(Kvmeasure, UnreadablePointsNameThePlace) {
    write("text", "x,y\n1,2\n3,abc\n");
    for (const char* command : {"info", "teach"})
        expectRefused({command, "text"}, "text: line 3: column 2: expected a number, found \"abc\"");
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
        const std::size_t depth = result.out.find("\"depth\"");
        EXPECT_TRUE(depth < result.out.find("\"again\"") && depth < result.out.find("\"far far.x\""))
            << "results in the order that was asked for";
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
    EXPECT_THAT(result.out, AllOf(HasSubstr("good"), HasSubstr("OUT")));
    EXPECT_THAT(read("p.svg").toStdString(), HasSubstr("OUT OF TOLERANCE"));
    write("flat.csv", "0,0\n1,0\n2,0\n3,0\n");
    const Outcome absent = run("match flat.csv --template groove.json");
    EXPECT_EQ(absent.code, 1);
    EXPECT_THAT(absent.out, HasSubstr("NOT FOUND"));
    EXPECT_THAT(absent.out, HasSubstr("the template has 3 lines, the profile 1 segment(s)"));
    EXPECT_EQ(run("match none.csv --template groove.json").out, "") << "no head without a profile";
}

TEST_F(Kvmeasure, DamagedTemplatesNameThePlace) {
    write("p.csv", "0,0\n1,0\n2,0\n4,0\n");
    write("t.json", templateOf("1", R"({"constraintType": "Lenght"})"));
    expectRefused(
        "match p.csv --template t.json",
        "t.json: template.constraints[0]: has an unknown \"constraintType\", \"Lenght\"; did you mean");
    write("t.json", "{");
    expectRefused("match p.csv --template t.json", "t.json: line 1, column ");
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
    const Outcome cut = run({"filter", "copy", "two", "--steps", "trim-y - 2", "--json", "--svg", "p.svg"});
    EXPECT_EQ(cut.json()["profiles"].toArray().size(), 2);
    EXPECT_EQ(read("two").size(), 2 * (27 + 8));
    EXPECT_THAT(read("p-copy-1.svg").toStdString(), HasSubstr("before and after"));
    expectRefused("filter two c --steps sort-x --format csv", "choose one with --record");
    ASSERT_EQ(run("filter two c --steps sort-x --format csv --record 1").code, 0);
    EXPECT_EQ(read("c"), "x_mm,y_mm\n1,0.100000001\n");
    ASSERT_EQ(run("filter c d --steps sort-x --format kv-csv").code, 0);
    EXPECT_EQ(read("d"), "1;0,100000001\n");
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
    QByteArray straight = "0,0\n0.5,0\n";
    for (int count = 3; count <= 12; ++count) {  // also its end points, whatever is rounded
        straight += QByteArray::number(0.5 * (count - 1)) + ",0\n";
        write("straight.csv", straight);
        EXPECT_EQ(run("lines straight.csv --json").json()["segments"].toArray()[0].toObject()["points"],
                  count);
    }
    const Outcome steep = run("lines p.csv --json --min-length 1 --gap 20");
    int walls = 0;
    for (const QJsonValue& segment : steep.json()["segments"].toArray()) {
        const bool isWall = std::fabs(segment.toObject()["direction"].toDouble()) > 80;
        EXPECT_EQ(segment.toObject()["rms"].isNull(), isWall) << "hardly any points lie on a wall";
        walls += isWall ? 1 : 0;
    }
    EXPECT_EQ(walls, 2);
}

}  // namespace
