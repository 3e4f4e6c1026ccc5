// Lists of files measured in one run: rows, failures, going on, merging.

#include <tests/cli/program.h>

#include <QtCore/QDir>

namespace {

class Archive : public Program {
protected:
    void SetUp() override {
        for (const char* seed : {"1", "2", "3"})
            simulate(QString("part %1.csv").arg(seed),
                     {"--shape", "v-groove", "--noise", "0.02", "--seed", seed});
        ASSERT_EQ(run({"teach", "part 1.csv", "--lines", "0,1,2,3", "--measure",
                       "depth = shift 0.end 1.end -90 : 6 +- 0.05", "--out", "t.json"})
                      .code,
                  0);
    }

    Outcome match(const QString& list, const QString& out, const QStringList& more = {}) const {
        return run(QStringList{"match", "--template", "t.json", "--files-from", list, "--out", out} + more);
    }
};

TEST_F(Archive, EveryLineHasItsRowsAndMergedPartsAreOneRun) {
    QDir().mkpath("folder");
    write("flat.csv", "x,z\n0,0\n1,0\n2,0\n3,0\n");
    write("odd \"é\", 日.csv", read("part 2.csv"));
    write("#.csv", read("part 3.csv"));
    const QByteArray first = "\xEF\xBB\xBFpart 1.csv\r\n\r\n./part 2.csv\nfolder\ngone.csv\n";
    const QByteArray second = "odd \"é\", 日.csv\n#.csv\nflat.csv\n-\nbad\xFFname\n\npart 1.csv";
    write("all.txt", first + second);
    write("1.txt", first);
    write("2.txt", second);
    const Outcome whole = match("all.txt", "all.csv", {"--stats", "--json"});
    EXPECT_EQ(whole.code, 2);
    EXPECT_THAT(whole.err, HasSubstr("1 line(s) name a file again, the first is \"part 1.csv\""));
    EXPECT_THAT(whole.err, HasSubstr("4 row(s) say NOT READ"));
    const QList<QByteArray> rows = read("all.csv").split('\n');
    const char* const starts[] = {
        "profile,z_mm,depth_mm,depth_U_mm,verdict,note",
        "part 1.csv,,6.0",
        "./part 2.csv,,6.0",
        "folder,,,,NOT READ,folder: is a directory",
        "gone.csv,,,,NOT READ,gone.csv: no such file",
        "\"odd \"\"é\"\", 日.csv\",,6.0",
        "\"#.csv\",,",
        "flat.csv,,,,NOT FOUND,\"the template has 4 lines, the profile 1 segment(s)\"",
        "-,,,,NOT READ,standard input cannot be in a list",
        "bad�name,,,,NOT READ,the name is not UTF-8",
        "part 1.csv,,6.0",
        "# part {"};
    ASSERT_EQ(rows.size(), int(std::size(starts)) + 1);
    for (std::size_t i = 0; i < std::size(starts); ++i)
        EXPECT_THAT(rows[int(i)].toStdString(), StartsWith(starts[i]));

    EXPECT_EQ(match("1.txt", "1.csv", {"--jobs", "3"}).code, 2);
    EXPECT_EQ(match("2.txt", "2.csv").code, 2);
    const Outcome merged = run("merge 1.csv 2.csv --out merged.csv --stats --json");
    EXPECT_EQ(merged.code, 0) << merged.err;
    EXPECT_THAT(merged.err,
                HasSubstr("1 file(s) were measured before in these parts, the first is \"part 1.csv\""));
    EXPECT_EQ(read("merged.csv"), read("all.csv"));
    EXPECT_EQ(merged.json()["statistics"], whole.json()["statistics"]);
    // The same files measured at once, their values never written: another way to the same figures.
    const Outcome direct = run({"match", "part 1.csv", "part 2.csv", "part 2.csv", "part 3.csv", "part 1.csv",
                                "--template", "t.json", "--json", "--stats"});
    const QJsonObject told = direct.json()["statistics"].toArray()[0].toObject();
    const QJsonObject ours = merged.json()["statistics"].toArray()[0].toObject();
    for (const char* key :
         {"count", "mean", "standardDeviation", "minimum", "maximum", "limits", "cpk", "ppk"})
        EXPECT_EQ(ours[key], told[key]) << key;
    EXPECT_EQ(ours["percentiles"].toObject()["50"], told["median"]);
}

TEST_F(Archive, ACompletePartIsLeftAloneAndAnotherPlanRefused) {
    write("l.txt", "part 1.csv\npart 2.csv\n");
    EXPECT_EQ(match("l.txt", "p.csv").code, 0);
    const QByteArray part = read("p.csv");
    QFile::remove("part 1.csv");
    const Outcome again = match("l.txt", "p.csv", {"--jobs", "2"});
    EXPECT_EQ(again.code, 0);
    EXPECT_THAT(again.err, HasSubstr("p.csv: is complete; nothing was done"));
    const QString out = "p.csv";
    const QStringList base{"match", "--template", "t.json", "--files-from", "l.txt", "--out"};
    expectRefused(base + QStringList{out, "--edge-compensation", "off"},
                  "made with another plan or other options");
    expectRefused(base + QStringList{out, "--unit", "um"}, "made with another plan or other options");
    expectRefused(base + QStringList{"t.json"}, "t.json: is read by this command");
    expectRefused(base + QStringList{"p2.json"}, "name it .csv");
    expectRefused(base + QStringList{"x.csv", "--svg", "x.svg"}, "--svg does not go with --files-from");
    expectRefused(base + QStringList{"x.csv", "part 2.csv"}, "put it into the list");
    expectRefused("match part --template t.json --out x.csv", "--out goes with --files-from");
    expectRefused("match --template t.json --files-from l.txt", "--out PART is missing");
    EXPECT_EQ(read("p.csv"), part);

    const struct {
        QByteArray list;
        const char* reason;
    } lists[] = {{"\n\r\n", "names no file"},
                 {QByteArray("a\0b", 3), "bytes 0"},
                 {QByteArray(1 << 17, 'a'), "longer than 64 kB"}};
    for (const auto& wrong : lists) {
        write("wrong.txt", wrong.list);
        expectRefused("match --template t.json --files-from wrong.txt --out x.csv", wrong.reason);
    }
    EXPECT_EQ(read("x.csv"), "none");
    EXPECT_EQ(read("x.csv.partial"), "none");
}

/// A plan with a master in a file: what the file holds counts, not where it lies.
TEST_F(Archive, TheMasterBelongsToThePlan) {
    write("l.txt", "part 1.csv\n");
    const auto measure = [this](const QString& master) {
        return run({"measure", "--files-from", "l.txt", "--master", master, "--region", "R = all",
                    "--measure", "top = max in R", "--out", "m.csv"});
    };
    EXPECT_EQ(measure("part 2.csv").code, 0);
    write("copy.csv", read("part 2.csv"));
    EXPECT_THAT(measure("copy.csv").err, HasSubstr("nothing was done"));
    EXPECT_THAT(measure("part 3.csv").err, HasSubstr("another plan"));
}

}  // namespace
