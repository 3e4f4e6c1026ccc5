// Outputs of the program beside each other: inputs, pictures, folders, and what killed runs leave behind.

#include <tests/cli/program.h>

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <csignal>
#include <random>

namespace {

class Outputs : public Program {
protected:
    static QStringList files(const QString& folder) {
        return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    }
    static std::string listed(const QString& folder) { return files(folder).join(' ').toStdString(); }

    void writeSections(const QStringList& names) const {
        // Tread, fillet and flange of a wheel, heights over the tread.
        QByteArray section;
        for (int i = 0; i <= 135; ++i)
            section += QByteArray::number(i) + ',' +
                       QByteArray::number(i < 32 ? 28 - (i - 14) * (i - 14) * 0.09 : 0) + '\n';
        for (const QString& name : names) {
            QDir().mkpath(QFileInfo(name).path());
            write(name, section);
        }
    }
};

TEST_F(Outputs, DerivedNamesAreNoInputsAndNeverShared) {
    writeSections({"d1/s.csv", "d2/s.csv", "a", "b", "p-a.svg", "S.svg"});
    const QByteArray before = read("S.svg");
    expectRefused("wheels parameters S.svg --svg S.svg", "S.svg: is read by this command");
    EXPECT_EQ(read("S.svg"), before);
    const Outcome run1 = run("wheels parameters d1/s.csv d2/s.csv a b p-a.svg nothing.csv --svg p.svg");
    EXPECT_EQ(run1.code, 2);
    EXPECT_THAT(run1.err, AllOf(HasSubstr("nothing.csv"), HasSubstr("p-a.svg: ")));
    EXPECT_THAT(run1.out, AllOf(HasSubstr("d1/s.csv"), HasSubstr("d2/s.csv"), HasSubstr("p-a.svg")));
    EXPECT_EQ(listed("."), "S.svg a b p-a.svg p-b.svg p-p-a.svg p-s-2.svg p-s.svg");
    EXPECT_EQ(read("p-a.svg"), before);

    simulate("g.csv", "--shape square-groove");
    ASSERT_TRUE(QFile::link("g.csv", "link.csv"));
    ASSERT_EQ(run("calibrate simulate c.raw").code, 0);
    for (const char* words : {"filter g.csv g.csv --steps sort-x", "filter g.csv link.csv --steps sort-x",
                              "filter link.csv g.csv --steps sort-x", "calibrate mirror c.raw ./c.raw",
                              "calibrate cut c.raw c.raw"})
        expectRefused(words, "is read by this command; name another file to write");
    ASSERT_EQ(run("teach g.csv --longest 3 --out g.json").code, 0);
    QFile::copy("g.csv", "m-g.svg");
    const QByteArray profile = read("m-g.svg");
    EXPECT_EQ(run("match g.csv m-g.svg --template g.json --svg m.svg").code, 2);
    EXPECT_EQ(read("m-g.svg"), profile);
}

TEST_F(Outputs, PagesHoldWhatJsonSays) {
    simulate("a.csv", "--shape v-groove");
    simulate("b.csv", "--shape v-groove --noise 0.02");
    const QStringList tool = {"--region", "R = x -2..2", "--measure", "low = min in R : 69 +- 0.1"};
    const auto results = [](const QByteArray& page) {
        const QByteArray start = "<script type=\"application/json\" id=\"results\">";
        const auto from = page.indexOf(start) + start.size();
        return QJsonDocument::fromJson(page.mid(from, page.indexOf("</script>", from) - from)).object();
    };
    const Outcome both =
        run(QStringList{"measure", "a.csv", "b.csv", "--report", "page.html", "--json"} + tool);
    EXPECT_EQ(results(read("page.html")), both.json());
    EXPECT_EQ(read("page.html").count("<figure>"), 2);
    ASSERT_EQ(run("teach a.csv --lines left=1,right=2 --out t.json").code, 0);
    const Outcome match = run("match a.csv --template t.json --report page.html --json");
    EXPECT_EQ(results(read("page.html")), match.json());
    ASSERT_EQ(run("simulate scan --out plate.kvs --rows 20 --columns 20").code, 0);
    write("bad.csv", "<script>,b\n");
    const Outcome view = run("view a.csv plate.kvs bad.csv --out view.html");
    EXPECT_EQ(view.code, 2);
    EXPECT_EQ(read("view.html").count("<figure>"), 2);
    EXPECT_THAT(read("view.html").toStdString(),
                AllOf(HasSubstr("20 profiles"), HasSubstr("NOT READ: bad.csv")));
    EXPECT_EQ(run("view a.csv --out view.html --json").json()["files"].toArray().size(), 1);
    EXPECT_THAT(read("view.html").toStdString(), HasSubstr("\"name\":\"height\""));
    expectRefused("view a.csv --out a.csv", "a.csv: is read by this command");
    expectRefused("match a.csv --template t.json --report page.doc", "a page ends in .html or .pdf");
    write("a.html", read("a.csv"));
    expectRefused("match a.html --template t.json --report a.html", "a.html: is read by this command");
}

// With browsers of our own: none, one that fails, one that prints.
TEST_F(Outputs, PagesArePrintedWholeOrNotAtAll) {
    const QByteArray path = qgetenv("PATH");
    simulate("a.csv", "--shape v-groove");
    write("page.pdf", "older");
    ASSERT_TRUE(QDir().mkdir("programs"));
    qputenv("PATH", QDir("programs").absolutePath().toUtf8());
    expectRefused("view a.csv --out page.pdf",
                  "Chromium, which is not installed (Debian's package chromium)");
    const auto browser = [this](const QByteArray& script) {
        write("programs/chromium", "#!/bin/sh\n" + script);
        QFile::setPermissions("programs/chromium", QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    };
    browser("echo no screen\nexit 3\n");
    expectRefused("view a.csv --out page.pdf",
                  "made no PDF and said \"no screen\"; write a page that ends in");
    browser("for o; do case $o in --print-to-pdf=*) echo %PDF-1.4 >\"${o#*=}\";; esac; done\n");
    expectRefused("view a.csv --out page.pdf", "made no PDF");
    EXPECT_EQ(read("page.pdf"), "older");
    browser("for o; do case $o in --print-to-pdf=*) echo %PDF-1.4 %%EOF >\"${o#*=}\";; esac; done\n");
    EXPECT_EQ(run("view a.csv --out page.pdf").code, 0);
    EXPECT_EQ(read("page.pdf"), "%PDF-1.4 %%EOF\n");
    qputenv("PATH", path);
}

// What a simulation writes beside its data is no data, unless it is named.
TEST_F(Outputs, ViewLeavesTrueValuesOut) {
    ASSERT_TRUE(QDir().mkdir("made"));
    simulate("made/a.csv", "--shape v-groove");
    const Outcome folder = run("view made --out view.html --json");
    EXPECT_EQ(folder.code, 0) << folder.err;
    EXPECT_THAT(folder.out, HasSubstr("left out: true values of simulated data"));
    EXPECT_EQ(run("view made/a.csv.truth.csv --out view.html").code, 2);
}

TEST_F(Outputs, PicturesThatCannotBeDrawnKeepNoResultBack) {
    ASSERT_EQ(run("simulate scan --out plate.xyz --rows 60 --columns 60").code, 0);
    write("plate.xyz", read("plate.xyz") + "1e6 1 1e6\n");
    const Outcome outline = run("scan outline plate.xyz --level 5 --svg plate.svg");
    EXPECT_EQ(outline.code, 2);
    EXPECT_THAT(outline.out, HasSubstr("points above the level"));
    EXPECT_THAT(outline.err,
                AllOf(HasSubstr("plate.svg: the picture is missing"), HasSubstr("--x and --scan")));
    simulate("p.csv", "--shape v-groove");
    const Outcome lines = run("lines p.csv --svg no/folder.svg");
    EXPECT_EQ(lines.code, 2);
    EXPECT_THAT(lines.out, HasSubstr("4 segments"));
    EXPECT_THAT(lines.err, HasSubstr("no/folder.svg: cannot be written"));
    for (const char* points : {"1e38,1\n1e38,2\n1e38,5\n", "1,1e38\n2,1e38\n", "-3e38,-3e38\n3e38,3e38\n"}) {
        write("far.csv", points);
        EXPECT_EQ(run("lines far.csv --unset none --svg far.svg").code, 0) << points;
        EXPECT_THAT(read("far.svg").toStdString(),
                    AllOf(HasSubstr("e+"), Not(HasSubstr("nan")), Not(HasSubstr("inf"))));
    }
}

TEST_F(Outputs, LongNamesFailBeforeAnythingIsWritten) {
    const QString name = QString(250, 'n') + ".csv";
    expectRefused(QStringList{"simulate", "profile", "--out", name}, "File name too long");
    EXPECT_EQ(listed("."), "");
    simulate(QString(240, 'n') + ".csv", "--shape v-groove");
    EXPECT_EQ(files(".").size(), 2);
}

TEST_F(Outputs, OfAPassNeverReplaceFilesOfOthers) {
    ASSERT_EQ(run("simulate pass --wheelsets 2 --spacing 40 --out train").code, 0);
    QDir().mkpath("out/pictures");
    write("out/pictures/wheel_notes.svg", "mine");
    ASSERT_EQ(run("wheels pass train --out out").code, 0);
    const std::string pictures = listed("out/pictures");
    EXPECT_THAT(pictures, HasSubstr("wheel_02_right.svg wheel_notes.svg"));
    write("out/pictures/wheel_90_left.svg", "mine");
    ASSERT_EQ(run("simulate pass --wheelsets 1 --spacing 40 --out train").code, 0);
    ASSERT_EQ(run("wheels pass train --out out").code, 0);
    EXPECT_EQ(listed("out/pictures"),
              ".kvmeasure wheel_01_left.svg wheel_01_right.svg wheel_90_left.svg wheel_notes.svg");
    write("out/work/pass_1003/77_01.bin", "mine");
    expectRefused("wheels pass train --out out",
                  "77_01.bin: is there already, and not written by this program");
    QDir().mkpath("foreign");
    write("foreign/values.bin", "mine");
    expectRefused("wheels pass train --out foreign", "foreign/values.bin: is there already");
    EXPECT_EQ(read("foreign/values.bin") + read("out/work/pass_1003/77_01.bin"), "minemine");
}

TEST_F(Outputs, OneRunAtATimeWorksInAFolder) {
    ASSERT_EQ(run("simulate pass --wheelsets 3 --spacing 40 --out train").code, 0);
    const std::string alone = run("wheels pass train --no-pictures --out alone").out;
    QProcess first, second;
    for (QProcess* process : {&first, &second})
        process->start(KVMEASURE_PROGRAM, QString("wheels pass train --no-pictures --out both").split(' '));
    int done = 0;
    for (QProcess* process : {&first, &second}) {
        ASSERT_TRUE(process->waitForFinished(60'000));
        const std::string err = process->readAllStandardError().toStdString();
        if (process->exitCode() == 2) {
            EXPECT_THAT(err, HasSubstr("another run of kvmeasure works in this directory"));
        } else {
            EXPECT_EQ(process->readAllStandardOutput().toStdString(), alone);
            ++done;
        }
    }
    EXPECT_GE(done, 1);
    EXPECT_EQ(read("both/values.bin"), read("alone/values.bin"));
}

// Killed at random times, the next run finds nothing that misleads it and leaves what an undisturbed one
// leaves.
TEST_F(Outputs, KilledRunsLeaveNothingBehind) {
    ASSERT_EQ(run("simulate pass --wheelsets 2 --spacing 40 --out source").code, 0);
    ASSERT_EQ(run("simulate pass --reference --spacing 40 --out post").code, 0);
    QDir().mkpath("temporary");
    qputenv("TMPDIR", QDir("temporary").absolutePath().toUtf8());
    const struct {
        const char *words, *folder;
        std::string left;
    } commands[] = {{"wheels check-post post --reference post/reference.csv", "temporary", ""},
                    {"info -", "temporary", ""},
                    {"calibrate simulate c/flat.raw --noise 0.05", "c", "flat.raw flat.raw.truth.json"},
                    {"simulate pass --wheelsets 2 --spacing 40 --out train", "train", listed("source")},
                    {"wheels pass source --out out", "out/work", ""}};
    QDir().mkpath("c");
    std::mt19937 random(7);
    for (const auto& command : commands) {
        SCOPED_TRACE(command.words);
        for (int i = 0; i < 12; ++i) {
            QProcess process;
            process.start(KVMEASURE_PROGRAM, QString(command.words).split(' '));
            ASSERT_TRUE(process.waitForStarted());
            process.write("1,2\n2,3\n");  // and no end
            if (!process.waitForFinished(static_cast<int>(random() % 150)))
                ::kill(static_cast<pid_t>(process.processId()), SIGKILL);
            process.waitForFinished();
            EXPECT_THAT(listed("c"), testing::AnyOf("", "flat.raw", "flat.raw flat.raw.truth.json"));
        }
        if (command.words != std::string("info -")) {
            ASSERT_LE(run(command.words).code, 1);
        }
        EXPECT_EQ(listed(command.folder), command.left);
    }
    EXPECT_TRUE(QDir("temporary").isEmpty()) << "what killed runs had there";
    qunsetenv("TMPDIR");
}

}  // namespace
