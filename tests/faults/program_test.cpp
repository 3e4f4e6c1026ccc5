// What the program answers when the outside world fails it.

#include <tests/cli/program.h>

#include <QtCore/QDirIterator>

#include <cerrno>

namespace {

using testing::HasSubstr;

class ProgramFaults : public Program {
protected:
    /// Through a shell, in front of whose "exec" stands `before` and behind whose command `after`.
    Outcome runIn(const QString& before, const QString& arguments, const QString& after = "") const {
        QProcess process;
        process.start("/bin/sh", {"-c", before + "exec '" KVMEASURE_PROGRAM "' " + arguments + after});
        Outcome result;
        EXPECT_TRUE(process.waitForFinished(60'000)) << arguments.toStdString();
        if (process.exitStatus() == QProcess::NormalExit)
            result.code = process.exitCode();
        result.err = process.readAllStandardError().toStdString();
        return result;
    }

    const std::string tooLarge_ = qt_error_string(EFBIG).toStdString();

    static QStringList filesIn(const QString& folder) {
        QStringList files;
        QDirIterator it(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (it.hasNext())
            files << it.next();
        return files;
    }
};

/// %1 is the place of the output.
const char* const writingCommands[] = {
    "simulate profile --out %1",    "simulate scan --out %1",
    "calibrate simulate %1",        "calibrate build flat.raw %1 --truth flat.raw.truth.json",
    "calibrate mirror flat.raw %1", "filter part.csv %1 --steps 'median 5'",
    "lines part.csv --svg %1",      "teach part.csv --longest 3 --out %1",
    "fit part.csv --line --svg %1", "scan convert plate.kvs %1 --format ply",
    "scan grid plate.kvs --out %1", "scan outline plate.kvs --svg %1"};

TEST_F(ProgramFaults, AnOutputThatCannotBeWrittenIsNamedAndNothingOfItStays) {
    ASSERT_EQ(run("simulate profile --shape square-groove --out part.csv").code, 0);
    ASSERT_EQ(run("simulate scan --out plate.kvs").code, 0);
    ASSERT_EQ(run("calibrate simulate flat.raw").code, 0);
    QDir().mkdir("out");
    for (const QString command : writingCommands) {
        SCOPED_TRACE(command.toStdString());
        write("out/a file", "kept");
        const Outcome full = runIn("trap '' XFSZ; ulimit -f 1; ", command.arg("'out/a file'"));
        EXPECT_EQ(full.code, 2);
        EXPECT_THAT(full.err, HasSubstr("out/a file: cannot be written: " + tooLarge_));
        EXPECT_EQ(read("out/a file"), "kept");
        EXPECT_EQ(filesIn("out"), QStringList("out/a file"));
        for (const QString place : {"missing/x", "part.csv/x", "/proc/x", "out"}) {
            const Outcome refused = runIn("", command.arg(place));
            EXPECT_EQ(refused.code, 2);
            EXPECT_THAT(refused.err, HasSubstr(place.toStdString() + ": cannot be written"));
        }
    }
}

TEST_F(ProgramFaults, FoldersHoldNoHalfFilesAfterAFullDisk) {
    EXPECT_EQ(runIn("trap '' XFSZ; ulimit -f 1; ", "simulate pass --wheelsets 1 --out train").code, 2);
    EXPECT_EQ(filesIn("train"), QStringList());
    ASSERT_EQ(run("simulate pass --wheelsets 1 --out train").code, 0);
    const Outcome full = runIn("trap '' XFSZ; ulimit -f 1; ", "wheels detect train --work work");
    EXPECT_EQ(full.code, 2);
    EXPECT_THAT(full.err, HasSubstr(".bin: cannot be written: " + tooLarge_));
    for (const QString& file : filesIn("work"))
        EXPECT_LT(QFileInfo(file).size(), 512) << file.toStdString();
}

TEST_F(ProgramFaults, StandardOutputThatTakesNothingIsAFailure) {
    write("ü b.csv", "1,2\n2,3\n3,4\n");
    for (const QString command : {"info 'ü b.csv'", "info 'ü b.csv' --json", "lines 'ü b.csv'", "--help"}) {
        const Outcome full = runIn("", command, " >/dev/full");
        EXPECT_EQ(full.code, 2) << command.toStdString();
        EXPECT_THAT(full.err, HasSubstr("standard output cannot be written: "));
        EXPECT_EQ(runIn("", command, " >&-").code, 2) << command.toStdString();
    }
}

TEST_F(ProgramFaults, InputsOfAHundredGigabytesAreRefusedAtOnce) {
    write("part", "1,2\n2,3\n");
    for (const QByteArray& head : {QByteArray("\x03\xFF\xFF\xFF\xFF"), QByteArray("\x04\xFF\xFF\xFF\xFF"),
                                   QByteArray("\0", 1), QByteArray("1,2\n")}) {
        write("huge", head);
        if (!QFile::resize("huge", qint64{100} << 30))
            GTEST_SKIP() << "no such files here";
        for (const char* command : {"info huge", "lines huge", "fit huge --line", "scan info huge",
                                    "calibrate info huge", "match part --template huge"})
            expectRefused(command, "kvmeasure: ");
    }
}

}  // namespace
