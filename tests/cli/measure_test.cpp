// Tools on regions from the command line: plans in words and in files, values, verdicts, reasons.

#include <tests/cli/program.h>

namespace {

class Measure : public Program {
protected:
    /// A ridge 2 mm wide and 5 mm high at x = 4 on level ground, moved by dx and dz; a point every 0.1 mm.
    void writeRidge(const QString& name, double dx = 0, double dz = 0) const {
        QByteArray text;
        for (int i = 0; i <= 100; ++i) {
            const double height = i >= 40 && i <= 60 ? 5 : 0;
            text += QByteArray::number(i / 10.0 + dx) + ',' + QByteArray::number(height + dz) + '\n';
        }
        write(name, text);
    }

    void SetUp() override {
        writeRidge("a.csv");
        writeRidge("b.csv", 1.5, -2);
    }

    static QJsonObject valueOf(const Outcome& outcome, int profile, const QString& name) {
        const QJsonArray profiles = outcome.json()["profiles"].toArray();
        for (const QJsonValue& value : profiles.at(profile).toObject()["measurements"].toArray()) {
            if (value.toObject()["name"] == name)
                return value.toObject();
        }
        ADD_FAILURE() << "no value " << name.toStdString() << " in " << outcome.out << outcome.err;
        return {};
    }
};

TEST_F(Measure, GivesValuesWithoutATemplate) {
    const Outcome outcome = run(
        {"measure", "a.csv", "b.csv", "--region", "R = x 0..11", "--region", "T = x -0.5..0.5 at A",
         "--anchor", "A = max in R", "--measure", "top = max in R : 5 +- 0.1; mid = mean in T", "--measure",
         "low = min in R of x : max 1; gone = median in U", "--region", "U = x 20..30", "--json"});
    EXPECT_EQ(outcome.code, 1) << "one region is empty, one top too low";
    const QJsonObject top = valueOf(outcome, 0, "top");
    EXPECT_EQ(top["value"], 5);
    EXPECT_EQ(top["unit"], "mm");
    EXPECT_EQ(top["valid"], true);
    EXPECT_EQ(top["reason"], "");
    EXPECT_EQ(top["nominal"], 5);
    EXPECT_EQ(top["lower"], -0.1);
    EXPECT_EQ(top["upper"], 0.1);
    EXPECT_EQ(top["verdict"], "good");
    EXPECT_EQ(valueOf(outcome, 1, "top")["verdict"], "OUT");
    EXPECT_EQ(valueOf(outcome, 1, "top")["value"], 3);
    for (const int profile : {0, 1}) {
        EXPECT_DOUBLE_EQ(valueOf(outcome, profile, "mid")["value"].toDouble(), (6 * 5.0) / 11 - (profile * 2))
            << "six points on the ridge, five beside it";
    }
    const QJsonObject gone = valueOf(outcome, 0, "gone");
    EXPECT_EQ(gone["valid"], false);
    EXPECT_TRUE(gone["value"].isNull() && gone["u"].isNull() && gone["U"].isNull());
    EXPECT_EQ(gone["reason"], "no point lies in region \"U\"");
}

TEST_F(Measure, TakesTheSamePlanFromAFile) {
    const QStringList words{
        "measure",  "b.csv",           "--filter",  "shift 0 2; sort-x",
        "--region", "R = x ..9 z 1..", "--measure", "left = min in R of x; top = max in R : 5 +- 0.01"};
    const Outcome first = run(words + QStringList{"--out", "plan.json", "--json"});
    ASSERT_EQ(first.code, 0) << first.err << first.out;
    EXPECT_EQ(valueOf(first, 0, "left")["value"], 5.5);
    const Outcome again = run("measure b.csv --plan plan.json --json");
    EXPECT_EQ(again.code, 0) << again.err;
    EXPECT_EQ(again.json()["profiles"], first.json()["profiles"]);
    const Outcome more = run({"measure", "b.csv", "--plan", "plan.json", "--measure", "mid = mean in R"});
    EXPECT_EQ(more.code, 0) << more.err;
    EXPECT_THAT(more.out, AllOf(HasSubstr("left"), HasSubstr("mid"), HasSubstr("good")));
    const Outcome table = run("measure a.csv b.csv --plan plan.json --csv");
    EXPECT_EQ(table.code, 1) << "a.csv is shifted too";
    EXPECT_THAT(table.out, HasSubstr("left_mm,left_U_mm,"));
    EXPECT_EQ(run("match b.csv --template plan.json --json").code, 0);
    const Outcome shown = run("plan show plan.json");
    for (const char* part : {"shift 0 2", "R = x ..9 z 1..", "top = max in R : 5 +0.01 -0.01"})
        EXPECT_THAT(shown.out, HasSubstr(part));
    const Outcome checked = run("plan check plan.json a.csv");
    EXPECT_EQ(checked.code, 1) << "a.csv is shifted too";
    EXPECT_THAT(checked.out, AllOf(HasSubstr("101 of 101 points left"), HasSubstr("91 points"),
                                   HasSubstr("OUT: 4.99 to 5.01")));
}

TEST_F(Measure, MeasuresFilesWithoutUsefulPointsWithAReason) {
    for (const char* text : {"nan,nan\nnan,nan\n", "1,2\n", "1,2\n3,4\n", "1,2\n1,3\n1,4\n"}) {
        write("odd.csv", text);
        const Outcome outcome = run({"measure", "odd.csv", "--filter", "resample 0.1", "--region", "R = all",
                                     "--measure", "top = max in R; low = median in R", "--json"});
        EXPECT_THAT(outcome.code, testing::AnyOf(0, 1, 2)) << text;
        if (outcome.code == 1) {
            EXPECT_NE(valueOf(outcome, 0, "top")["reason"], "") << text;
        }
    }
}

TEST_F(Measure, RefusesPlansThatContradictThemselves) {
    const std::pair<QStringList, const char*> cases[] = {
        {{}, "there is nothing to measure"},
        {{"--region", "R = x 0..1"}, "there is nothing to measure"},
        {{"--measure", "V = max in R"}, "tools[0] \"V\": there is no region \"R\"; known: none"},
        {{"--measure", "V = max in r", "--region", "R = all"}, "did you mean \"R\"?"},
        {{"--measure", "V = max in R; V = min in R", "--region", "R = all"}, "a result \"V\" already"},
        {{"--measure", "V = max in R", "--region", "R = x 3..1"}, "the smaller number comes first"},
        {{"--measure", "V = max in R", "--region", "R = all at A"}, "there is no anchor \"A\""},
        {{"--measure", "V = max in R", "--region", "R = all at A", "--anchor", "A = max in R"},
         "its anchor depends on a region at the same anchor"},
        {{"--measure", "V = max in R", "--region", "R = all; R = all"}, "there is a \"R\" already"},
        {{"--measure", "V = max in R", "--region", "R = all", "--filter", "mediam 5"},
         "did you mean \"median\"?"},
        {{"--measure", "V = high in R", "--region", "R = all"}, "\"high\" is no kind of measurement"}};
    for (const auto& [more, reason] : cases)
        expectRefused(QStringList{"measure", "a.csv"} + more, reason);
    const std::pair<const char*, const char*> documents[] = {
        {R"({"tools": [{"name": "V", "kind": "max", "regoin": "R"}]})", "did you mean \"region\"?"},
        {R"({"tools": [{"name": "V", "kind": "maks"}]})", "tools[0]: \"maks\" is no kind of tool"},
        {R"({"tools": [{"name": "V", "kind": "max", "region": 3}]})", "expected the name of a region"},
        {R"({"tools": [{"name": "V", "kind": "max", "region": "R"}]})", "there is no region \"R\""},
        {R"({"tools": [{"name": "V", "kind": "percentile", "region": "R", "percent": "5"}]})",
         "expected a number under \"percent\""},
        {R"({"tools": {}})", "tools: expected a list"},
        {R"({"regions": [{"name": "R", "x": [1]}]})", "regions[0]: expected [FROM, TO]"},
        {R"({"regions": [{"name": "R", "x": [2, 1]}]})", "regions[0]: its x runs from 2 to 1"},
        {R"({"anchors": [{"name": "A", "kind": "max", "region": "R", "from": [1]}]})", "expected [X, Z]"},
        {R"({"filter": ["median 4"]})", "filter: steps: step 1 \"median 4\""},
        {R"({"tols": [], "tools": []})", "plan: unknown key \"tols\"; did you mean \"tools\"?"},
        {R"({"units": "inch", "tools": []})", "units: a plan is written in mm"}};
    for (const auto& [document, reason] : documents) {
        write("bad.json", document);
        expectRefused("measure a.csv --plan bad.json", reason);
    }
}

}  // namespace
