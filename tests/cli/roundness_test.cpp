// "wheels roundness" and "simulate circumference".

#include <kvmath/profile/profile_z.h>
#include <simulator/circumference.h>
#include <tests/cli/program.h>

namespace {

using Roundness = Program;

TEST_F(Roundness, ATableAndProfilesRoundTheWheelGiveTheSameFlat) {
    ASSERT_EQ(run("simulate circumference --wave 2:0.05:30 --flat 120:60 --points 1445 --out wheel.csv").code,
              0);
    Simulator::CircumferenceRecipe recipe;
    recipe.waves = {{2, 0.05, 30}};
    recipe.flats = {{120, 60}};
    recipe.points = 1445;
    QFile file("wheel.bin");
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    for (const Simulator::RadiusPoint& point : Simulator::circumferenceOf(recipe)) {
        KvMath::KvProfileZ record;
        record.z = static_cast<float>(point.angle * 460 / 57.29577951308232);
        for (const float x : {-10.0F, 0.0F, 10.0F})
            record.points.append({x, static_cast<float>(460 - point.radius) + (x > 5 ? 7.0F : 0.0F)});
        ASSERT_TRUE(record.writeToFile(file));
    }
    file.close();
    for (const char* line :
         {"wheels roundness wheel.csv --json --svg wheel.svg",
          "wheels roundness wheel.bin --diameter 920 --inward --x -20..5 --json",
          "wheels roundness wheel.bin --diameter 920 --step 2.00026 --inward --x -20..5 --json"}) {
        SCOPED_TRACE(line);
        const Outcome outcome = run(line);
        EXPECT_EQ(outcome.code, 1) << "a flat";
        const QJsonObject json = outcome.json();
        const QJsonObject flat = json["flats"].toArray()[0].toObject();
        EXPECT_NEAR(flat["angle"].toDouble(), 120, 0.1);
        EXPECT_NEAR(flat["depth"].toDouble(), 0.9794, 0.02);
        EXPECT_NEAR(flat["length"].toDouble(), 60, 1.5);
        EXPECT_EQ(json["harmonics"].toArray().size(), 20);
        EXPECT_TRUE(json["reasons"].toObject()["roundness"].isNull());
    }
    EXPECT_THAT(read("wheel.svg").toStdString(), HasSubstr("mm deep"));
    EXPECT_THAT(run("wheels roundness wheel.csv").out,
                HasSubstr("filter: Gaussian (ISO 16610-21), cut-off 5 mm"));
    ASSERT_EQ(run("simulate circumference --out round.csv").code, 0);
    EXPECT_EQ(run("wheels roundness round.csv").code, 0);
}

TEST_F(Roundness, BadInputIsNamed) {
    write("three.csv", "angle,radius\n0,460\n120,460\n240,460\n");
    write("one.csv", "1\n2\n");
    write("words.csv", "angle,radius\nx,y\n");
    write("line.csv", "0,0\n1,0\n2,0\n");
    const Outcome three = run("wheels roundness three.csv --json");
    EXPECT_EQ(three.code, 1);
    EXPECT_TRUE(three.json()["flats"].isNull());
    EXPECT_THAT(three.json()["reasons"].toObject()["flats"].toString().toStdString(), HasSubstr("3 points"));
    const std::pair<const char*, const char*> cases[] = {
        {"wheels roundness none.csv", "none.csv"},
        {"wheels roundness one.csv", "one column"},
        {"wheels roundness words.csv", "words.csv"},
        {"wheels roundness line.csv --diameter 920", "one profile"},
        {"wheels roundness three.csv --step 1", "they need --diameter"},
        {"wheels roundness three.csv --columns angle,radios", "radios"},
        {"wheels roundness three.csv --cutoff 0", "--cutoff"},
        {"wheels roundness three.csv --svg three.csv", "three.csv"},
        {"simulate circumference --out a.csv --flat 1", "--flat"},
        {"simulate circumference --out a.csv --wave 0.5:1:1", "whole number"},
        {"simulate circumference --out a.csv --flat 0:2000", "length: 2000 is outside"}};
    for (const auto& [line, text] : cases)
        expectRefused(line, text);
}

}  // namespace
