// Names of files, and what outputs do to them.

#include <tests/cli/program.h>

namespace {

class Names : public Program {};

TEST_F(Names, WithPercentSignsAreNoPatterns) {
    simulate("a%1b%2c%3.csv", "--shape v-groove");
    EXPECT_THAT(run("lines a%1b%2c%3.csv").out,
                HasSubstr("a%1b%2c%3.csv: 640 points, 1 contour, 4 segments"));
    write("%2", "0,0\n1,x%3\n");
    expectRefused("lines %2", "%2: line 2: column 2: expected a number, found \"x%3\"");
    ASSERT_EQ(run("simulate pass --wheelsets 1 --out run%2").code, 0);
    EXPECT_EQ(read("run%2/settings.ini").left(9), "[General]");
    EXPECT_FALSE(read("run%2/pass_1001.bin").isEmpty());
}

TEST_F(Names, ControlCharactersDoNotReachTheTerminal) {
    const QString name = QString::fromUtf8("a\033[31m\n\u202E.csv");
    const auto shown = HasSubstr("a\\u001b[31m\\u000a\\u202e.csv");
    simulate(name, "--shape v-groove");
    EXPECT_THAT(run({"match", name, "--template", name}).err, AllOf(shown, Not(HasSubstr("\033"))));
    EXPECT_THAT(run({"info", name}).out, AllOf(HasSubstr("a\\u001b[31m"), Not(HasSubstr("\033"))));
    EXPECT_EQ(run({"info", name, "--json"}).json()["files"].toArray().size(), 1);
}

TEST_F(Names, AreOnOneLineOfEveryText) {
    // The characters 1 and 2 mark parameters in texts of the library.
    const QString name = "\1units\2a\nb", profile = name + ".csv", plate = name + ".xyz", out = name + ".out";
    simulate(profile, "--shape v-groove");
    ASSERT_EQ(run({"simulate", "scan", "--out", plate, "--rows", "20", "--columns", "20"}).code, 0);
    ASSERT_EQ(run({"teach", profile, "--longest", "2", "--out", name}).code, 0);
    const QStringList commands[] = {
        {"info", profile},
        {"lines", profile},
        {"fit", profile, "--line"},
        {"teach", profile},
        {"teach", profile, "--longest", "2", "--out", out},
        {"filter", profile, out, "--steps", "sort-x"},
        {"compare", profile, "--master", profile},
        {"match", profile, "--template", name},
        {"match", profile, "--template", name, "--csv"},
        {"simulate", "profile", "--out", profile},
        {"simulate", "pass", "--wheelsets", "1", "--out", name + "-pass"},
        {"wheels", "parameters", name + "-pass/reference.csv"},
        {"calibrate", "simulate", name + ".raw"},
        {"calibrate", "info", name + ".raw"},
        {"calibrate", "build", name + ".raw", name + ".dtf", "--z-range", "100", "--x-range", "140"},
        {"calibrate", "check", name + ".dtf", "--truth", name + ".raw.truth.json"},
        {"calibrate", "mirror", name + ".dtf", out, "--z"},
        {"scan", "info", plate},
        {"scan", "convert", plate, name + ".kvs"},
        {"scan", "slice", plate, name + ".kvs", "--step", "1"},
        {"scan", "section", plate, "--at-x", "0"},
        {"scan", "grid", plate},
        {"scan", "plane", plate},
        {"scan", "outline", plate, "--level", "5"}};
    for (const QStringList& words : commands) {
        const Outcome outcome = run(words);
        const std::string text = outcome.out + outcome.err;
        EXPECT_EQ(text.find("a\nb"), std::string::npos) << words.join(' ').toStdString() << '\n' << text;
        EXPECT_NE(text.find("\\u0001units\\u0002a\\u000ab"), std::string::npos)
            << words.join(' ').toStdString() << '\n'
            << text;
    }
}

TEST_F(Names, ThatAreNotUtf8AreRefusedAsSuch) {
    QProcess shell;
    shell.start("sh", {"-c", "'" KVMEASURE_PROGRAM "' info \"$(printf 'a\\377.csv')\""});
    ASSERT_TRUE(shell.waitForFinished());
    EXPECT_EQ(shell.exitCode(), 2);
    EXPECT_THAT(shell.readAllStandardError().toStdString(), HasSubstr("is not UTF-8"));
}

}  // namespace
