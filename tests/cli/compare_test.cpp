// "kvmeasure compare" from outside.

#include <tests/cli/program.h>

namespace {

class CompareProgram : public Program {
protected:
    QJsonObject json(const QStringList& words, int code) const {
        const Outcome outcome = run(QStringList{"compare"} + words + QStringList{"--json"});
        EXPECT_EQ(outcome.code, code) << outcome.err;
        return outcome.json();
    }
};

TEST_F(CompareProgram, GivesDeviationsPlacesAndFreeMotions) {
    QByteArray master;
    QByteArray part;
    QByteArray line;
    for (int i = -200; i <= 200; ++i) {
        const double x = i * 0.1;
        const double height = std::max(0.0, 5 - std::abs(x));  // a roof
        master += QByteArray::number(x) + ',' + QByteArray::number(height) + '\n';
        part += QByteArray::number(x) + ',' + QByteArray::number(height + (i == 100 ? 0.5 : 0)) + '\n';
        line += QByteArray::number(x) + ",3\n";
    }
    write("master.csv", master);
    write("part.csv", part);
    write("line.csv", line);
    const QJsonObject result =
        json({"part.csv", "--master", "master.csv", "--band", "-0.1,0.1", "--svg", "c.svg"}, 1);
    EXPECT_NEAR(result["largest"].toDouble(), 0.5, 1e-3);
    EXPECT_NEAR(result["smallest"].toDouble(), 0, 1e-3);
    EXPECT_NEAR(result["at"].toArray().at(0).toDouble(), 10, 1e-2);
    EXPECT_NEAR(result["shareOutside"].toDouble(), 1.0 / 401, 1e-6);
    EXPECT_TRUE(result["freeMotions"].isArray() && result["freeMotions"].toArray().isEmpty());
    EXPECT_FALSE(result["good"].toBool());
    EXPECT_THAT(read("c.svg").toStdString(), HasSubstr("+0.5000 mm"));

    const QJsonObject free = json({"line.csv", "--master", "line.csv"}, 0);
    ASSERT_EQ(free["freeMotions"].toArray().size(), 1);
    EXPECT_EQ(free["freeMotions"].toArray().at(0).toObject()["text"].toString(),
              "shift along (1.000, 0.000)");
    EXPECT_TRUE(free["shareOutside"].isNull()) << "no band, no share";

    const QJsonObject none = json({"line.csv", "--master", "part.csv", "--align", "template"}, 1);
    EXPECT_TRUE(none["largest"].isNull());
    EXPECT_THAT(none["reason"].toString().toStdString(), HasSubstr("the template is not in the part"));
}

TEST_F(CompareProgram, TakesTheMasterOfAPlan) {
    // A roof 0.2 mm too high; the plan takes its part from x -15 on.
    QByteArray part;
    QByteArray good;
    for (int i = -200; i <= 200; ++i) {
        const double height = 5 - std::abs(i * 0.1);
        part += QByteArray::number(i * 0.1) + ',' + QByteArray::number(height + 0.2) + '\n';
        good += QByteArray::number(i * 0.1) + ',' + QByteArray::number(height) + '\n';
    }
    write("part.csv", part);
    write("good.csv", good);
    write("plan.json", R"({"filter": ["trim-x -15 20"],
                         "master": {"file": "good.csv", "align": "none", "band": [-0.1, 0.1]}})");
    const QJsonObject result = json({"part.csv", "--plan", "plan.json"}, 1);
    EXPECT_NEAR(result["largest"].toDouble(), 0.2, 1e-3) << "as it lies, at the top";
    EXPECT_EQ(result["shareOutside"].toDouble(), 1);
    EXPECT_NEAR(result["compared"].toDouble(), 351, 1);
    EXPECT_NEAR(
        json({"part.csv", "--plan", "plan.json", "--band", "-1,1", "--align", "registration"}, 0)["largest"]
            .toDouble(),
        0, 1e-3);
    const QJsonObject other = json({"part.csv", "--plan", "plan.json", "--master", "part.csv"}, 0);
    EXPECT_EQ(other["largest"].toDouble(), 0) << "--master counts before that of the plan";
}

TEST_F(CompareProgram, ComparesScansOfEveryForm) {
    ASSERT_EQ(run("simulate scan --noise 0.01 --seed 1 --out good.kvs").code, 0);
    ASSERT_EQ(run("simulate scan --noise 0.01 --seed 2 --strays 5 --out part.kvs").code, 0);
    ASSERT_EQ(run("scan convert good.kvs good.xyz").code, 0);
    const QJsonObject result = json(
        {"part.kvs", "--master", "good.kvs", "--band", "-0.1,0.1", "--svg", "map.svg", "--ply", "d.ply"}, 0);
    EXPECT_LT(result["rms"].toDouble(), 0.02);
    EXPECT_LT(result["largest"].toDouble(), 0.1);
    EXPECT_EQ(result["at"].toArray().size(), 3);
    EXPECT_EQ(result["shareOutside"].toDouble(), 0);
    EXPECT_EQ(result["freeMotions"].toArray().size(), 3) << "of a plate without walls";
    EXPECT_THAT(read("map.svg").toStdString(), HasSubstr("deviation, mm"));
    const QByteArray cloud = read("d.ply");
    const auto body = cloud.indexOf("end_header\n") + 11;
    const double compared = result["compared"].toDouble();
    EXPECT_EQ(double(cloud.size() - body), 19 * compared)
        << "five numbers of four bytes less one, three colours";
    EXPECT_EQ(run("scan info d.ply --json").json()["files"].toArray().at(0).toObject()["points"].toDouble(),
              compared);

    const QJsonObject text = json({"good.xyz", "--master", "good.xyz", "--axes", "x,height,scan"}, 0);
    EXPECT_NEAR(text["rms"].toDouble(), 0, 1e-5);
    const QJsonObject plane = json({"part.kvs", "--master", "plane", "--band", "-0.1,0.1"}, 1);
    EXPECT_NEAR(plane["plane"].toArray().at(2).toDouble(), 75, 0.01);
    EXPECT_NEAR(plane["smallest"].toDouble(), -12, 0.1) << "the groove; strays do not count";
    EXPECT_NEAR(json({"part.kvs", "--master", "plane 0,0,70"}, 0)["largest"].toDouble(), 5, 0.1);
    EXPECT_EQ(json({"part.kvs", "--master", "good.kvs", "--record", "150"}, 1)["reason"].toString(),
              "the master has fewer than two points that belong together")
        << "profiles, the first of the master is empty";

    const QJsonObject none =
        json({"part.kvs", "--master", "good.kvs", "--align", "none", "--scan-step", "9"}, 0);
    EXPECT_TRUE(none["valid"].toBool());
    expectRefused("compare part.kvs --master good.kvs --align template", "registration or none");
    expectRefused("compare part.kvs --master good.kvs --plan good.kvs", "--plan is of profiles");
    expectRefused({"compare", "part.kvs", "--master", "plane 1,2"}, "three numbers");
    expectRefused("compare part.kvs --master good.kvs --ply good.kvs", "good.kvs");
    write("cut.ply", cloud.left(5000));
    expectRefused("compare part.kvs --master cut.ply", "cut or damaged");
    write("empty.ply", "");
    expectRefused("compare empty.ply --master good.kvs", "empty.ply");
}

TEST_F(CompareProgram, RefusesWhatHasNoMeaning) {
    write("a.csv", "0,0\n1,0\n2,0\n");
    expectRefused("compare a.csv", "--master");
    expectRefused("compare a.csv --master none.csv", "none.csv");
    expectRefused("compare a.csv --master a.csv --band 0.1,-0.1", "least deviation first");
    expectRefused("compare a.csv --master a.csv --align tempalte", "template");
    write("a.json", R"({"regions": [{"name": "R"}]})");
    expectRefused("compare a.csv --master a.csv --plan a.json", "--align template");
    expectRefused("compare a.csv --plan a.json", "the plan has no master");
    expectRefused("compare a.csv --master a.csv --ply a.ply", "--ply is of scans");
    ASSERT_TRUE(QFile::link("a.csv", "a.svg"));
    expectRefused("compare a.csv --master a.csv --svg a.svg", "name another file");
}

}  // namespace
