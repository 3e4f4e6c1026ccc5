// Plans from the command line: one language for lines and regions, plans that are extended, a master,
// decision rules, uncertainty by simulated noise.

#include <tests/cli/program.h>

namespace {

class PlanCommands : public Program {
protected:
    void SetUp() override {
        ASSERT_EQ(run("simulate profile --shape v-groove --noise 0.01 --out good.csv").code, 0);
        const Outcome taught =
            run({"teach", "good.csv", "--lines", "left=0,in=1,out=2,right=3", "--measure",
                 "depth = shift left.end in.end -90 : 6 +- 0.1", "--out", "t.json", "--json"});
        ASSERT_EQ(taught.code, 0) << taught.err;
    }

    /// The values of the first profile by name.
    QMap<QString, QJsonObject> values(const QStringList& arguments, int code = 0) const {
        const Outcome outcome = run(arguments + QStringList{"--json"});
        EXPECT_EQ(outcome.code, code) << outcome.err << outcome.out;
        const QJsonObject profile = outcome.json()["profiles"].toArray().at(0).toObject();
        QJsonArray list = profile["measurements"].toArray();
        if (!profile.contains("measurements"))
            list = profile["assignments"].toArray().at(0).toObject()["measurements"].toArray();
        if (outcome.json().contains("measurements"))
            list = outcome.json()["measurements"].toArray();
        QMap<QString, QJsonObject> named;
        for (const QJsonValue& value : list)
            named[value.toObject()["name"].toString()] = value.toObject();
        return named;
    }
};

TEST_F(PlanCommands, OneTextMeasuresLinesAndRegions) {
    const QStringList text{"--region", "R = x -30..-8; left2 = x -20..-8", "--measure",
                           "width = length in; high = max in R; turn = angle left in; "
                           "flat = angle R left2; meet = intersection in out"};
    for (const QStringList& command :
         {QStringList{"match", "good.csv", "--template", "t.json"},
          QStringList{"measure", "good.csv", "--plan", "t.json"},
          QStringList{"teach", "good.csv", "--plan", "t.json", "--out", "more.json"}}) {
        const auto found = values(command + text);
        EXPECT_EQ(found.keys().join(' '), "depth flat high high.at meet.x meet.y turn width")
            << command.join(' ').toStdString();
        EXPECT_NEAR(found["turn"]["value"].toDouble(), 135, 0.3) << "between template lines";
        EXPECT_NEAR(found["flat"]["value"].toDouble(), 0, 0.3) << "between regions";
    }
    const auto again = values({"measure", "good.csv", "--plan", "more.json"});
    EXPECT_EQ(again.size(), 8) << "what teach has written";
    const std::pair<const char*, const char*> refused[] = {
        {"a = angle lefd in",
         "\"lefd\" behind \"angle\" is neither a region (R) nor a template line (left, in, "},
        {"a = maks in R", "expected length, inclination,"},
        {"a = meen in R", "edge, "},
        {"a = meen in R", "; did you mean \"mean\"?"},
        {"a = max in R; b = length left; a = length in", "there is a result \"a\" already"},
        {"depth = max in R", "there is a result \"depth\" already"},
        {"a = max in R : +- 1", "no taught value of \"a\""},
        {"length R", "\"R\" is no template line"}};
    for (const auto& [words, reason] : refused)
        expectRefused(
            {"match", "good.csv", "--template", "t.json", "--region", "R = all", "--measure", words}, reason);
    expectRefused({"measure", "good.csv", "--measure", "w = length 0"}, "of a template, and there is none");
    for (const char* command : {"teach", "match", "measure"})
        EXPECT_THAT(run({command, "--help"}).out,
                    AllOf(HasSubstr("inclination LINE"), HasSubstr("box in REGION")));
}

TEST_F(PlanCommands, TeachingExtendsPlans) {
    const QStringList teach{"teach", "good.csv", "--out", "p.json"};
    const auto first =
        values(teach + QStringList{"--region", "R = x 8..20", "--filter", "sort-x", "--measure",
                                   "m = mean in R : +- 0.05; b = bridge in R : deviation max 1"});
    EXPECT_NEAR(first["m"]["nominal"].toDouble(), 0, 0.01) << "a taught value without a template";
    EXPECT_EQ(first["m"]["nominal"], first["m"]["value"]);
    const auto more =
        values(teach + QStringList{"--plan", "p.json", "--longest", "2", "--region", "S = x -2..2 at 1",
                                   "--measure", "l = length 0; n = min in S"});
    EXPECT_EQ(more.keys().join(' '), "b b.deviation l m n n.at") << "the plan is replaced by a longer one";
    EXPECT_THAT(run("plan show p.json").out,
                AllOf(HasSubstr("sort-x"), HasSubstr("--gap"), HasSubstr("free edges")));
    expectRefused(teach + QStringList{"--plan", "p.json", "--lines", "0"}, "cannot be replaced");
    expectRefused(teach + QStringList{"--region", "R = all", "--gap", "3"}, "--gap makes a template");
    run("simulate profile --shape step --out step.csv");
    expectRefused({"teach", "step.csv", "--plan", "t.json", "--out", "q.json"}, "is not in the taught part");
}

TEST_F(PlanCommands, AMasterGivesValuesWithLimits) {
    QDir(path(".")).mkdir("plans");
    QByteArray master, part;
    for (int i = 0; i <= 300; ++i) {
        const double x = i / 10.0;
        master += QByteArray::number(x) + ',' + QByteArray::number(x < 10 ? 0 : 5) + '\n';
        const double bump = i == 200 ? 0.3 : i == 50 || i == 51 ? -0.2 : 0;
        part += QByteArray::number(x) + ',' + QByteArray::number((x < 10 ? 0 : 5) + bump) + '\n';
    }
    write("master.csv", master);
    write("part.csv", part);
    const QStringList compared{"--master", "master.csv", "--align", "none", "--band", "-0.25,0.25"};
    const auto found = values(QStringList{"measure", "part.csv", "--out", "plans/p.json"} + compared, 1);
    EXPECT_NEAR(found["master.largest"]["value"].toDouble(), 0.3, 1e-6);
    EXPECT_NEAR(found["master.smallest"]["value"].toDouble(), -0.2, 1e-6);
    EXPECT_NEAR(found["master.shareOutside"]["value"].toDouble(), 1.0 / 301, 1e-9);
    EXPECT_EQ(found["master.shareOutside"]["verdict"], "OUT")
        << "none may be outside unless a tolerance says so";
    const QByteArray plan = read("plans/p.json");
    EXPECT_THAT(plan.toStdString(), HasSubstr("\"../master.csv\"")) << "named from the plan's folder";
    write("plans/q.json", QByteArray(plan).replace("\"tolerances\": {", R"("tolerances": {
        "master.largest": {"max": 0.31}, "master.shareOutside": {"max": 0.01})"));
    EXPECT_EQ(values({"match", "part.csv", "--template", "plans/q.json"})["master.largest"]["verdict"],
              "good");
    EXPECT_THAT(run("plan show plans/q.json").out,
                AllOf(HasSubstr("master: master.csv (301 points), align none, band -0.25..0.25"),
                      HasSubstr("master.largest : max 0.31")));
    EXPECT_THAT(run("plan check plans/p.json part.csv").out, HasSubstr("master.smallest"));
    // The part is moved: only an alignment finds the same.
    ASSERT_EQ(run({"filter", "part.csv", "moved.csv", "--steps", "shift 1.5 2"}).code, 0);
    const auto moved = values({"measure", "moved.csv", "--plan", "plans/q.json", "--align", "registration"});
    EXPECT_NEAR(moved["master.largest"]["value"].toDouble(), 0.3, 0.02);
    ASSERT_EQ(run({"filter", "master.csv", "same.csv", "--steps", "shift 1.5 2"}).code, 0);
    EXPECT_NEAR(values({"measure", "same.csv", "--plan", "plans/q.json", "--align",
                        "template"})["master.largest"]["value"]
                    .toDouble(),
                0, 1e-3);
    QFile::remove(path("master.csv"));
    expectRefused("plan show plans/p.json", "master.csv");
    expectRefused("measure part.csv --plan plans/p.json", "plans/p.json: master: ");
    write("bad.json", R"({"master": {"points": [[0, 0], [1, 1]], "name": "t"},
        "regions": [{"name": "R"}], "tools": [{"name": "t.largest", "kind": "max", "region": "R"}]})");
    expectRefused("plan show bad.json", "\"t.largest\" is no name");
    expectRefused("measure part.csv --band -1,1 --measure m=max~in~R", "--band goes with --master");
}

TEST_F(PlanCommands, AGuardBandKeepsValuesUAwayFromTheirLimits) {
    const QStringList text{"measure", "good.csv", "--region", "R = x 8..20", "--measure"};
    const auto plain = values(text + QStringList{"m = mean in R"});
    const double value = plain["m"]["value"].toDouble();
    const double expanded = plain["m"]["U"].toDouble();
    ASSERT_GT(expanded, 0);
    const auto limit = [&](double share) {
        return "m = mean in R : max " + QString::number(value + share * expanded, 'g', 12);
    };
    EXPECT_EQ(values(text + QStringList{limit(0.9)})["m"]["verdict"], "good");
    const auto near = values(text + QStringList{limit(0.9), "--decision", "guarded"}, 1);
    EXPECT_EQ(near["m"]["verdict"], "OUT");
    EXPECT_EQ(near["m"]["decision"], "guarded");
    EXPECT_THAT(near["m"]["warning"].toString().toStdString(), HasSubstr("less than U inside"));
    EXPECT_EQ(
        values(text + QStringList{limit(1.1), "--decision", "guarded", "--out", "g.json"})["m"]["verdict"],
        "good");
    const Outcome table = run("measure good.csv --plan g.json");
    EXPECT_EQ(table.code, 0);
    EXPECT_THAT(table.out, HasSubstr("guarded acceptance"));
    EXPECT_EQ(run("measure good.csv --plan g.json --json").json()["decision"], "guarded");
    EXPECT_EQ(run("measure good.csv --plan g.json --decision simple --json").json().contains("decision"),
              false);
    EXPECT_THAT(values({"match", "good.csv", "--template", "t.json", "--raw", "--decision", "guarded"},
                       1)["depth"]["warning"]
                    .toString()
                    .toStdString(),
                HasSubstr("its uncertainty is not known"));
    // What the plan states of the calibration is added in quadrature.
    write("c.json", read("g.json").replace("\"units\"", R"("calibration": {"u": {"mm": 0.03}}, "units")"));
    const auto stated = values({"measure", "good.csv", "--plan", "c.json"}, 1)["m"];
    EXPECT_NEAR(stated["u"].toDouble(), std::hypot(expanded / 2, 0.03), 1e-12);
    EXPECT_EQ(stated["uStated"], 0.03);
    EXPECT_THAT(run("plan show c.json").out, AllOf(HasSubstr("guarded"), HasSubstr("u 0.03 mm")));
}

TEST_F(PlanCommands, SimulatedNoiseGivesTheUncertaintyThatPropagationGives) {
    const QStringList text{"measure",   "good.csv",
                           "--region",  "R = x 8..20; T = all",
                           "--measure", "m = mean in R; d = dimension R T from left to min; b = box in R"};
    const auto simulated = values(text + QStringList{"--uncertainty", "monte-carlo", "400"});
    const auto propagated = values(text);
    const double u = simulated["m"]["u"].toDouble();
    EXPECT_NEAR(u / propagated["m"]["u"].toDouble(), 1, 0.15) << "400 runs: 3.5 % of scatter";
    EXPECT_EQ(simulated["m"]["uPropagated"], propagated["m"]["u"]);
    EXPECT_EQ(simulated["m"]["U"].toDouble(), 2 * u);
    EXPECT_GT(simulated["d"]["u"].toDouble(), 0);
    EXPECT_GT(simulated["b.width"]["u"].toDouble(), 0) << "noise on heights does not move it";
    EXPECT_EQ(simulated["b.width"]["u"], propagated["b.width"]["u"]);
    EXPECT_EQ(values(text + QStringList{"--uncertainty=monte-carlo 400", "--jobs", "2"})["m"]["u"], u)
        << "the same seed";
    const auto ofLines =
        values({"match", "good.csv", "--template", "t.json", "--uncertainty", "monte-carlo", "100"});
    EXPECT_NEAR(ofLines["depth"]["u"].toDouble(), 0.003, 0.002);
    EXPECT_THAT(run("match good.csv --template t.json --uncertainty monte-carlo 20").out, HasSubstr(" U "));
    for (const char* wrong :
         {"monte-carlo", "monte-carlo 1", "monte-carlo 1e9", "monte-carlo 2.5", "guess 5"})
        expectRefused(text + QStringList{"--uncertainty", wrong}, "--uncertainty needs");
}

}  // namespace
