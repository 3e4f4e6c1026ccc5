// "kvmeasure form" and "kvmeasure stats" from outside.

#include <tests/cli/program.h>

namespace {

class FormProgram : public Program {
protected:
    QJsonObject json(const QString& words, int code = 0) const {
        const Outcome outcome = run((words + " --json").split(' '));
        EXPECT_EQ(outcome.code, code) << words.toStdString() << outcome.err;
        EXPECT_THAT(outcome.out, Not(HasSubstr("nan")));
        return outcome.json();
    }
};

TEST_F(FormProgram, ReadsColumnsUnitsAndRowsInDoubles) {
    write("a.csv", "nr,x_mm,z_um\n0,1000,0\n1,1010,\n2,1020,3\n3,1030,1\n4,1040,0\n");
    const QJsonObject line = json("form straightness a.csv --svg a.svg");
    EXPECT_NEAR(line["minimumZoneAlongZ"].toDouble(), 0.003, 1e-15);
    EXPECT_NEAR(line["minimumZone"].toDouble(), 0.003, 1e-15);
    EXPECT_EQ(line["contacts"].toArray(), (QJsonArray{0, 2, 4})) << "rows of the file";
    EXPECT_EQ(line["unset"].toInt(), 1);
    EXPECT_TRUE(line["certificate"].toObject()["valid"].toBool());
    EXPECT_THAT(read("a.svg").toStdString(), HasSubstr("minimum zone 0.003"));
    EXPECT_NEAR(json("form straightness a.csv --columns 1,z_um")["minimumZoneAlongZ"].toDouble(), 0.003,
                1e-15);
    EXPECT_FALSE(json("form straightness a.csv --limit 0.002", 1)["good"].toBool());

    write("p.csv", "0 0 0\n0 1 0\n1 0 0\n1 1 0.5\n");
    EXPECT_NEAR(json("form flatness p.csv")["minimumZoneAlongZ"].toDouble(), 0.25, 1e-15);
    EXPECT_EQ(json("form flatness p.csv")["contacts"].toArray().size(), 4);
    write("r.csv", "u;v\n1001;0\n999;0\n1000;-1\n1000;1,00000001\n");
    const QJsonObject round = json("form roundness r.csv --svg r.svg");
    EXPECT_NEAR(round["minimumZone"].toObject()["roundness"].toDouble(), 5e-9, 6e-9);
    for (const char* method : {"minimumZone", "leastSquares", "circumscribed", "inscribed"})
        EXPECT_NEAR(round[method].toObject()["centre"].toArray().at(0).toDouble(), 1000, 1e-7) << method;
    write("one.csv", "x,y\n1,1\n1,1\n");
    const QJsonObject none = json("form roundness one.csv", 1);
    EXPECT_TRUE(none["minimumZone"].isNull());
    EXPECT_FALSE(none["reasons"].toObject()["minimumZone"].toString().isEmpty());
    EXPECT_EQ(none["certificate"].toObject()["text"].toString(), "there is no zone");
    // Scans and records have their own readers.
    ASSERT_EQ(run("simulate scan --out s.kvs").code, 0);
    EXPECT_GT(json("form flatness s.kvs")["minimumZone"].toDouble(), 1);
    EXPECT_GT(json("form straightness s.kvs --record 100")["minimumZone"].toDouble(), 0);
}

TEST_F(FormProgram, MeasuresStepsAndRoughness) {
    QByteArray steps = "x,z\n", sine = "x,z\n";
    for (int i = 0; i <= 1500; ++i) {
        const double x = i * 0.02;
        steps += QByteArray::number(x, 'f', 4) + ',' +
                 QByteArray::number((x >= 10 && x <= 13   ? -0.5
                                     : x >= 20 && x <= 22 ? -0.7
                                                          : 0) +
                                        0.01 * x,
                                    'f', 6) +
                 '\n';
        sine += QByteArray::number(x / 4, 'f', 6) + ',' +
                QByteArray::number(0.002 * std::sin(80 * x / 4), 'f', 9) + '\n';
    }
    write("steps.csv", steps);
    write("sine.csv", sine);
    const QJsonObject step = json("form step steps.csv --edges 10..13");
    EXPECT_NEAR(step["height"].toDouble(), 0.5, 1e-6);
    EXPECT_NEAR(step["slope"].toDouble(), 0.01, 1e-6);
    EXPECT_TRUE(step["complete"].toBool());
    const QJsonObject both = json("form step steps.csv --edges 10..13,20..22");
    EXPECT_NEAR(both["height"].toDouble(), 0.6, 1e-6);
    EXPECT_EQ(both["steps"].toArray().size(), 2);
    EXPECT_FALSE(json("form step steps.csv --edges 25..28", 0)["complete"].toBool());
    EXPECT_TRUE(json("form step steps.csv --edges 100..103", 1)["height"].isNull());
    const QJsonObject rough = json("form roughness sine.csv --cutoff 0.8 --norm 4287 --svg r.svg");
    EXPECT_NEAR(rough["Ra"].toDouble(), 0.004 / 3.14159265, 2e-6);
    EXPECT_NEAR(rough["Rz"].toDouble(), 0.004, 1e-5);
    EXPECT_EQ(rough["norm"].toString(), "ISO 4287");
    EXPECT_TRUE(json("form roughness sine.csv --cutoff 80", 1)["Ra"].isNull());
}

TEST_F(FormProgram, EvaluatesSectionsThroughScans) {
    QByteArray scan = "x,scan,z\n";
    for (int k = 0; k <= 400; ++k) {
        for (int i = 0; i <= 20; ++i)
            scan += QByteArray::number(i * 0.5) + ',' + QByteArray::number(k * 0.05) + ',' +
                    QByteArray::number(0.01 * std::sin(12 * k * 0.05) + 0.1 * i, 'f', 6) + '\n';
    }
    write("waves.csv", scan);
    const QJsonObject along = json("form roughness waves.csv --axes x,scan,height --at-x 5 --cutoff 2.5");
    EXPECT_NEAR(along["Ra"].toDouble(), 0.02 / 3.14159265, 1e-4);
    EXPECT_EQ(along["points"].toInt(), 401);
    EXPECT_EQ(along["interpolated"].toInt(), 0);
    EXPECT_TRUE(along["notes"].toArray().isEmpty() ||
                !along["notes"].toArray()[0].toString().contains("too small"));
    const QJsonObject between = json("form roughness waves.csv --axes x,scan,height --at-x 5.2 --cutoff 2.5");
    EXPECT_EQ(between["interpolated"].toInt(), 401);
    EXPECT_THAT(between["notes"].toArray().last().toString().toStdString(), HasSubstr("too small"));
    const QJsonObject across = json("form straightness waves.csv --axes x,scan,height --at-scan 1");
    EXPECT_EQ(across["points"].toInt(), 21);
    EXPECT_NEAR(across["minimumZone"].toDouble(), 0, 1e-6);
    EXPECT_NEAR(
        json("form straightness waves.csv --axes x,scan,height --from 5,0 --to 5,20")["minimumZoneAlongZ"]
            .toDouble(),
        0.02, 1e-4);
    expectRefused("form roughness waves.csv --at-x 5 --at-scan 3 --cutoff 2.5", "say where the section runs");
    expectRefused("form roughness waves.csv --axes x,scan,height --at-x 50 --cutoff 2.5",
                  "no heights along this section");
    expectRefused("form straightness waves.csv --at-x 5 --columns 1,2", "--columns goes with a profile");
    expectRefused("form straightness waves.csv --axes x,scan,height", "--axes goes with a section");
}

TEST_F(FormProgram, EvaluatesTables) {
    QByteArray table = "part,appraiser,trial,value [mm]\n";
    for (int i = 0; i < 36; ++i)
        table += QByteArray::number(i / 6) + ',' + (i % 6 < 3 ? "Ann" : "Bob") + ',' +
                 QByteArray::number(i % 3) + ',' + QByteArray::number(i / 6 + 0.01 * (i * i % 7)) + '\n';
    write("t.csv", table + "6,Ann,0,\n");
    const QJsonObject series = json("stats t.csv --column value --limits -1..7 --svg t.svg");
    EXPECT_EQ(series["count"].toInt(), 36);
    EXPECT_EQ(series["missing"].toInt(), 1);
    EXPECT_EQ(series["unit"].toString(), "mm");
    for (const char* key : {"mean", "standardDeviation", "cp", "cpk", "pp", "ppk"})
        EXPECT_TRUE(series[key].isDouble()) << key;
    EXPECT_TRUE(series["ppByPercentiles"].isNull());
    EXPECT_THAT(series["reasons"].toObject()["ppByPercentiles"].toString().toStdString(), HasSubstr("1000"));
    EXPECT_EQ(json("stats series t.csv --column 4")["count"].toInt(), 36);
    const QString study = "stats study t.csv --part part --appraiser appraiser --value value --method ";
    for (const char* method : {"range", "anova"}) {
        const QJsonObject result = json(study + method);
        for (const char* key : {"EV", "AV", "GRR", "PV", "TV", "ndc"})
            EXPECT_TRUE(result[key].isDouble()) << method << key;
    }
    const QJsonObject anova = json("stats anova t.csv --group part --value value");
    EXPECT_EQ(anova["groups"].toInt(), 6);
    EXPECT_GT(anova["F"].toDouble(), 100);
    write("u.csv", table + "0,Cid,0,1\n");
    EXPECT_THAT(json("stats study u.csv", 1)["reason"].toString().toStdString(),
                HasSubstr("part 0, appraiser Cid has 1 of 3"));
}

TEST_F(FormProgram, EvaluatesResultsByTheNamesOfFiles) {
    QByteArray who = "file,part,who\n";
    QStringList files;
    for (int i = 0; i < 12; ++i) {
        const QString name =
            QString("p%1_%2_%3.csv").arg(i / 4).arg(i / 2 % 2 == 0 ? "Ann" : "Bob").arg(i % 2);
        QByteArray points;
        for (int k = 0; k < 50; ++k)
            points += QByteArray::number(k) + ',' + QByteArray::number(i / 4 + 0.01 * (i % 3)) + '\n';
        write(name, points);
        files.append(name);
        who += name.toUtf8() + ',' + QByteArray::number(i / 4) + ',' + (i / 2 % 2 == 0 ? "Ann\n" : "Bob\n");
    }
    write("who.csv", who);
    const QStringList measure = QStringList{"measure"} + files +
                                QStringList{"--region", "R = all", "--measure", "top = max in R : 1 +- 3"};
    write("r.json", QByteArray::fromStdString(run(measure + QStringList{"--json"}).out));
    write("r.csv", QByteArray::fromStdString(run(measure + QStringList{"--csv", "--stats"}).out));
    ASSERT_TRUE(QDir().mkdir("study")) << "a folder called as the command";
    const QJsonObject of[] = {
        json("stats study r.json --value top --group-by p{part}_{appraiser}_{}"),
        json("stats study r.csv --value top --group-by p{part}_{appraiser}_{} --limits -2..4"),
        json("stats study r.csv --value top --group-table who.csv --appraiser who "
             "--limits -2..4 --svg study.svg")};
    for (const QJsonObject& study : of) {
        EXPECT_EQ(study["parts"].toInt(), 3);
        EXPECT_EQ(study["trials"].toInt(), 2);
        EXPECT_NEAR(study["GRR"].toDouble(), of[0]["GRR"].toDouble(), 1e-9);
        EXPECT_NEAR(study["percentOfTolerance"].toObject()["GRR"].toDouble(), 100 * study["GRR"].toDouble(),
                    1e-9);
    }
    EXPECT_THAT(read("study.svg").toStdString(), AllOf(HasSubstr(">Ann<"), HasSubstr(">repeatability<"),
                                                       HasSubstr("3 parts, 2 appraisers, 2 trials")));
    const QJsonArray people =
        json("stats r.json --column top --group-by {}_{who}_{} --by who")["statistics"].toArray();
    ASSERT_EQ(people.size(), 2);
    EXPECT_EQ(people[1].toObject()["name"].toString(), "Bob");
    EXPECT_EQ(people[1].toObject()["count"].toInt(), 6);
    EXPECT_EQ(people[1].toObject()["limits"].toArray(), (QJsonArray{-2, 4}));
    const QJsonObject all = json("stats r.json");
    EXPECT_EQ(all["profileCount"].toInt(), 12);
    EXPECT_EQ(all["statistics"].toArray()[0].toObject()["ppk"], json("stats r.json --column top")["ppk"]);
    EXPECT_FALSE(json("stats r.csv")["statistics"].toArray()[0].toObject().contains("ppk"));
    EXPECT_EQ(
        json("stats linearity r.json --value top --group-by p{reference}_{}")["references"].toArray().size(),
        3);
    EXPECT_TRUE(json("stats linearity r.json --value top --reference file", 2).isEmpty());
    EXPECT_NEAR(json("stats bias r.json --value top --reference 1")["bias"].toDouble(), 0.01, 1e-6);
    expectRefused("stats study r.csv --value top --group-by q{part}_{appraiser}_{}",
                  "line 2: the name \"p0_Ann_0.csv\"");
    expectRefused("stats study r.json --value top --group-by p{part}_{who}", "has no column \"appraiser\"");
    expectRefused("stats study r.json --value tip --group-by p{part}_{appraiser}", "did you mean \"top\"");
    expectRefused("stats r.json --by who", "--column");
    expectRefused("stats r.json --column top --group-by a{b}", "--by");
    expectRefused("stats who.csv", "name a column with --column");
}

TEST_F(FormProgram, LeavesOutWhatItIsTold) {
    QByteArray table = "x,y,z\n";
    for (int i = 0; i < 400; ++i)
        table += QByteArray::number(i % 20) + ',' + QByteArray::number(i / 20) + ',' +
                 QByteArray::number(i == 137 ? 5 : 0.001 * (i % 7)) + '\n';
    write("p.csv", table);
    EXPECT_GT(json("form flatness p.csv")["minimumZone"].toDouble(), 4);
    const QJsonObject clean = json("form flatness p.csv --strays 20");
    EXPECT_LT(clean["minimumZone"].toDouble(), 0.0061);
    EXPECT_EQ(clean["strays"].toObject()["rows"].toArray(), QJsonArray{137});
    const QJsonObject part = json("form flatness p.csv --scan 7,19 --x 0,19");
    EXPECT_LT(part["minimumZone"].toDouble(), 0.0061);
    EXPECT_EQ(part["leftOut"].toInt(), 140);
    for (const QJsonValue& row : part["contacts"].toArray())
        EXPECT_GE(row.toInt(), 140) << "rows of the file";
    EXPECT_EQ(json("form straightness p.csv --columns x,z --height ..4 --strays 20", 2), QJsonObject());
    EXPECT_LT(json("form straightness p.csv --columns y,z --height -1,4")["minimumZone"].toDouble(), 0.0061);
    expectRefused("form flatness p.csv --x 30,40", "no point lies within the limits");
    expectRefused("form flatness p.csv --x 3,2", "--x");
    expectRefused("form flatness p.csv --strays 0", "--strays");
}

TEST_F(FormProgram, RefusesWhatHasNoMeaning) {
    write("t.csv", "part,value,unit\n1,5,mm\n2,6,um\n");
    write("v.csv", "part,value\n1,5\n2,5 mm\n");
    write("short.csv", "x,y,z\n1,2,3\n1,2\n");
    expectRefused("stats t.csv --column vaule",
                  "there is no column \"vaule\"; there are \"part\", \"value\"");
    expectRefused("stats t.csv --column valu", "did you mean \"value\"?");
    expectRefused("stats t.csv --column value", "line 3: unit \"um\" after \"mm\"");
    expectRefused("stats v.csv --column value", "found \"5 mm\"");
    expectRefused("stats v.csv --column value --limits 5", "--limits");
    expectRefused("stats v.csv --column part --limits 5..4", "lesser number first");
    expectRefused("stats studdy v.csv", "did you mean \"study\"?");
    expectRefused("stats anova v.csv --group station", "\"station\"");
    expectRefused("form flatness short.csv", "line 3: has 2 column(s), expected at least 3");
    expectRefused("form flatness v.csv", "of coordinates; 3 are needed");
    expectRefused("form straightness missing.csv", "missing.csv");
    expectRefused("form step short.csv --edges 10-13", "--edges");
    expectRefused("form roughness short.csv", "--cutoff");
    expectRefused("form roughness short.csv --cutoff 0.8 --short-cutoff 1", "below --cutoff");
    expectRefused("form roundess short.csv", "did you mean \"roundness\"?");
    write("far.csv", "x,y\n1,1e300\n2,2\n3,3\n");
    expectRefused("form straightness far.csv", "line 2");
}

}  // namespace
