// Options of text, what the commands say of how they took it, and the way out of what is not clear.

#include <tests/cli/program.h>

namespace {

class Text : public Program {};

TEST_F(Text, OptionsReachTheReaderAndItsWayOutNamesThem) {
    write("t.csv", "x,z,q\n1000,5,7\n2000,6,8\n3000,-9999,9\n");
    const Outcome info = run("info t.csv --json --columns x,q --unit um,mm --unset 9");
    const QJsonObject section =
        info.json()["files"].toArray()[0].toObject()["sections"].toArray()[0].toObject();
    EXPECT_EQ(section["x"].toArray(), (QJsonArray{1, 3})) << info.err;
    EXPECT_EQ(section["y"].toArray(), (QJsonArray{7, 8}));
    EXPECT_EQ(section["unset"], 1);
    const std::pair<const char*, const char*> cases[] = {
        {"info t.csv --unit Mm", "--unit needs one or two of nm, um, mm"},
        {"info t.csv --unset x", "--unset needs numbers"},
        {"info t.csv --columns z,zz", "--columns: \"zz\" is no column"},
        {"info t.csv --pitch 1", "--pitch goes with heights alone"},
        {"info t.csv", "Then give --unset -9999, otherwise --unset none"},
        {"fit t.csv --plane --unit um", "leave --unit out"}};
    for (const auto& [line, reason] : cases)
        expectRefused(line, reason);
}

TEST_F(Text, OfSeveralProfilesGivesTheOneThatIsChosen) {
    const QByteArray one = "0,5\n1,6\n2,7\n3,8\n", other = "0,6\n1,7\n2,8\n3,9\n";
    write("three.csv", one + '\n' + other + '\n' + one);
    const Outcome second = run("fit three.csv --line --record 1 --json");
    EXPECT_NEAR(second.json()["parameters"].toObject()["intercept"].toDouble(), 6, 1e-9) << second.err;
    EXPECT_THAT(run("lines three.csv").err, HasSubstr("holds several profiles; this is the first"));
    expectRefused("filter three.csv o --steps sort-x", "holds one profile, the input has several");
}

TEST_F(Text, InfoSaysWhatItTook) {
    write("t.csv", "Line 3\nn;x [um];z_mm\n1;1000,5;-9999\n2;2000,5;7\n\nend\n");
    const Outcome text = run("info t.csv --unset -9999");
    EXPECT_THAT(text.out, HasSubstr("separated by semicolons, decimal marks: commas\n"
                                    "x: column 2 \"x [um]\" in um, height: column 3 \"z_mm\" in mm "
                                    "(columns by the heading, units by the heading)\n"
                                    "unset besides nan: -9999\n"
                                    "no points in line 1 (title), line 2 (heading), line 6 (text below "
                                    "the rows)\n"));
    const QJsonObject json = run("info t.csv --unset -9999 --json").json()["files"].toArray()[0].toObject();
    EXPECT_EQ(json["text"].toObject()["x"].toObject()["column"], 2);
    EXPECT_EQ(json["text"].toObject()["passedOver"].toArray().size(), 3);
    const std::string rows = "1,5.2\n2,6.1\n3,7.3\n", hint = "x counts 0, 1, 2, ... or 1, 2, 3, ...: if";
    for (const char* head : {"", "u,v\n", "x,z\n"}) {
        write("n.csv", QByteArray(head) + rows.c_str());
        const bool isNamed = head[0] == 'x';
        for (const char* command : {"fit n.csv --line", "lines n.csv", "filter n.csv o.csv --steps sort-x"})
            EXPECT_EQ(run(command).err.find(hint) == std::string::npos, isNamed) << command << head;
        EXPECT_EQ(run("fit n.csv --line --columns 1,2").err, "");
    }
}

}  // namespace
