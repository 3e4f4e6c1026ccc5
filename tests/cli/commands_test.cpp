// What form, stats and the like print in words, and what they refuse: called without a process.

#include <tests/cli/commands.h>

#include <cmath>

namespace {

using testing::HasSubstr;

QByteArray grooves() {
    QByteArray table = "x,z\n";
    for (int i = 0; i <= 1500; ++i) {
        const double x = i * 0.02, depth = x >= 10 && x <= 13 ? 0.5 : x >= 20 && x <= 22 ? 0.7 : 0;
        table += QByteArray::number(x, 'f', 4) + ',' + QByteArray::number(0.01 * x - depth, 'f', 6) + '\n';
    }
    return table;
}

TEST_F(Commands, FormTellsStepsAndWhatTheyLack) {
    write("g.csv", grooves());
    const std::string none = "fewer than two points in the left reference",
                      isShort = "the points do not cover 3 W";
    expect({{"form step g.csv --edges 10..13,20..22",
             0,
             {"10..13 0.500000 0.01", "20..22 0.700000",
              "mean 0.600000 mm, deviation between them 0.1414 mm\n"}},
            {"form step g.csv --edges 10..13 --type A2", 0, {"0.500000 0.01 - 101, 51, 101 yes"}},
            {"form step g.csv --edges 100..103,10..13",
             1,
             {"100..103 - - - 0, 0, 0 no\n10..13 0.500000", "edges 100..103: " + none, isShort}},
            {"form step g.csv --edges 10..", 2, {"--edges needs two numbers as 10..13, not \"10..\""}},
            {"form step g.csv --edges 28..29.5",
             1,
             {"edges 28..29.5: fewer than two points in the right", isShort}},
            {"form step g.csv --edges 28..29.5,100..103 --json",
             1,
             {"\"reason\": \"edges 28..29.5: fewer than two points in the right", "\"height\": null"}}});
}

TEST_F(Commands, FormTellsZonesInWords) {
    write("g.csv", grooves());
    write("one.csv", "x,y\n1,1\n1,1\n");
    write("p.csv", "0 0 0\n0 1 0\n1 0 0\n1 1 0.5\n");
    write("w.csv", "x,y,w\n0,0,0\n0,1,0\n1,0,0\n1,1,0.5\n");
    write("four.csv", "a,b,c,d\n0,0,1,1\n1,1,1,1\n2,0,1,1\n");
    write("gap.csv", "x,y,z\n,0,1\n0,0,0\n0,1,0\n1,0,0\n");
    write("none.csv", "x,y\n,1\n,2\n");
    write("wall.csv", "0 0 0\n1 0 0\n0 0 1\n1 0.1 1\n");
    expect({{"form straightness g.csv --limit 0.1 --strays 6",
             1,
             {"g.csv: straightness (WIDER THAN THE LIMIT)", "minimum zone along z, mm 0.7\n",
              "rows 0, 1097, 1279 need it", "20 stray points left out: "}},
            {"form straightness one.csv", 1, {"(NO RESULT)", "minimumZone: all points lie in one place\n"}},
            {"form roundness one.csv",
             1,
             {"(NO RESULT)", "minimum zone -\n", "circumscribed roundness 0 mm, radius 0, centre 1, 1",
              "inscribed: fewer than three points in different places\n"}},
            {"form flatness p.csv --svg f.svg", 0, {"minimum zone, mm 0.2357022604\n"}},
            {"form flatness w.csv", 0, {"minimum zone, mm 0.2357022604\n"}},
            {"form straightness four.csv", 0, {"minimum zone, mm 1\n"}},
            {"form flatness gap.csv", 0, {"unset 1\n", "rows 1, 2, 3 need it"}},
            {"form straightness none.csv --x 1,2", 1, {"unset 2\n", "minimumZone: fewer than two points"}},
            {"form flatness wall.csv --svg wall.svg", 0, {"minimum zone, mm 0.04987546681\n"}},
            {"form flatness p.csv --columns 1,2", 2, {"--columns needs 3 columns, e.g. x,y,z"}},
            {"form straightness p.csv --columns 1", 2, {"--columns needs 2 columns, e.g. 1,2"}},
            {"form flatness p.csv --record 1", 2, {"p.csv: is a text; --record goes with binary records"}},
            {"form straightness one.csv --x 5,6", 2, {"one.csv: no point lies within the limits"}},
            {"form straightness one.csv --axes x,height,scan", 2, {"say where it runs, e.g. --at-x 5"}}});
    EXPECT_THAT(read("wall.svg"), HasSubstr(">across the surface, mm<"));
    QByteArray zigzag = "x,y\n";
    for (int i = 0; i <= 100; ++i)
        zigzag += QByteArray::number(i) + (i % 2 == 0 ? ",0\n" : ",0.02\n");
    write("zigzag.csv", zigzag);
    expect({{"form roundness zigzag.csv --svg none.svg", 1, {"a straight strip is no wider than any ring"}},
            {"form roughness one.csv --cutoff 0.8 --svg none.svg", 1, {"NO ROUGHNESS: fewer than three"}}});
    EXPECT_FALSE(QFileInfo::exists("none.svg"));
    EXPECT_THAT(read("f.svg"), HasSubstr("across the surface in the plane of x and z, mm"));
    EXPECT_THAT(read("f.svg"), HasSubstr("flatness: minimum zone 0.235702 mm, contacts 0, 1, 2, 3"));
}

TEST_F(Commands, FormTakesCoordinatesOfRecordsAndScansAsTheyAre) {
    ASSERT_EQ(call("simulate scan --out s.kvs").code, 0);
    write("n.csv", "n,z\n1,2\n3,4\n");
    write("far.csv", "x,y,z\n0,0,1e13\n");
    expect({{"form flatness s.kvs --columns 1,2,3", 2, {"s.kvs: is a scan; leave --columns out"}},
            {"form straightness s.kvs --columns 1,2", 2, {"s.kvs: is no text table; leave --columns out"}},
            {"form straightness s.kvs --at-x 1 --record 3", 2, {"--record goes with a profile"}},
            {"form straightness n.csv", 2, {"n.csv: has 1 column(s) of coordinates; 2 are needed"}},
            {"form flatness far.csv", 2, {"far.csv: line 2: a coordinate is beyond 1e12 mm"}}});
}

TEST_F(Commands, StatsTellLinearityAndBias) {
    write("exact.csv", "reference,value\n1,1.5\n1,1.5\n2,2.5\n2,2.5\n3,3.5\n3,3.5\n");
    write("bent.csv", "reference,value\n1,1.01\n1,1.02\n2,2.03\n2,2.05\n3,3.06\n3,3.07\n");
    write("single.csv", "reference,value\n1,1\n2,2.03\n3,3.05\n");
    write("alone.csv", "reference,value\n1,1\n1,1.1\n");
    write("word.csv", "reference,value\n1,1\nabc,1.1\n");
    write("inf.csv", "reference,value\n1,1\ninf,1.1\n");
    write("equal.csv", "value\n5\n5\n");
    write("one.csv", "value\n5\n");
    expect(
        {{"stats linearity bent.csv",
          0,
          {"6 readings of 3 references", "0.065 0.0014689763 0.12853102 0.0070710678 yes\n",
           "slope 0.025 (95 %: 0.01297764 .. 0.03702236)", "probability of a more bent bias by chance 1\n",
           "the bias changes over the range\n"}},
         {"stats linearity exact.csv",
          0,
          {"1 2 0.5 0.5 0.5 0 -\n", "no test of a bent bias: no reference has readings that differ",
           "the bias does not change over the range beyond chance\n"}},
         {"stats linearity single.csv", 0, {"2 1 0.03 - - - -\n"}},
         {"stats linearity single.csv --json", 0, {"\"reason\": \"fewer than two readings\""}},
         {"stats linearity alone.csv", 1, {"NO LINE: one reference alone"}},
         {"stats linearity alone.csv --json", 1, {"\"reason\": \"one reference alone"}},
         {"stats bias one.csv --reference 5 --json", 1, {"\"count\": 1"}},
         {"stats linearity word.csv", 2, {"word.csv: line 3: the reference \"abc\" is no number"}},
         {"stats linearity inf.csv", 2, {"inf.csv: line 3: the reference \"inf\" is no number"}},
         {"stats bias bent.csv --reference 0",
          0,
          {"bias 2.04\n", "Cg, Cgk: Cg needs both limits\n", "the gauge is biased\n"}},
         {"stats bias bent.csv --reference 2 --limits 0..4", 0, {"Cg 0.1454", "the bias is within chance\n"}},
         {"stats bias equal.csv --reference 5 --limits 4..6",
          0,
          {"Cg, Cgk: all readings are equal: the gauge does not resolve their deviation",
           "all readings are equal\n"}},
         {"stats bias one.csv --reference 5", 1, {"bias, 95 % - .. -\n", "fewer than two readings\n"}},
         {"stats bias one.csv", 2, {"--reference VALUE is missing; it is the true value of the part"}}});
    const QJsonObject exact = call("stats linearity exact.csv --json").json();
    EXPECT_TRUE(exact["linear"].toBool());
    const QJsonObject reasons = exact["reasons"].toObject();
    EXPECT_EQ(reasons["slopeProbability"], "all readings are on the line");
    EXPECT_EQ(reasons["rSquared"], "all biases are equal");
    EXPECT_EQ(
        call("stats bias equal.csv --reference 5 --limits 4..6 --json").json()["reasons"].toObject()["cgk"],
        "all readings are equal: the gauge does not resolve their deviation");
}

TEST_F(Commands, StatsTellStudiesInWords) {
    QByteArray usual = "part,appraiser,value_mm\n", equal = usual, exact = usual;
    for (int part = 1; part <= 3; ++part) {
        for (int reading = 0; reading < 4; ++reading) {
            const QByteArray head = QByteArray::number(part) + (reading < 2 ? ",A," : ",B,");
            usual += head + QByteArray::number(part + (reading < 2 ? 0.1 : 0) + 0.05 * (reading % 2)) + '\n';
            equal += head + "5\n";
            exact += head + QByteArray::number(part) + '\n';
        }
    }
    write("usual.csv", usual);
    write("equal.csv", equal);
    write("exact.csv", exact);
    write("one.csv", "part,appraiser,value\n1,A,2\n");
    const std::string undetermined = "ndc -; the readings of each part are equal: ndc is not determined";
    expect({{"stats study usual.csv --limits 0..4 --svg usual.svg",
             0,
             {"3 parts, 2 appraisers, 2 trials, by analysis of variance", "GRR 0.076034532 7.58 % 11.41 %\n",
              "repeatability, interaction pooled 0.0075 8", "ndc 18\n"}},
            {"stats study usual.csv --method range",
             0,
             {"by average and range", "AV 0.068356966 6.51 %\n", "ndc 18\n"}},
            {"stats study equal.csv --method anova --svg equal.svg", 0, {"TV 0 -\n", undetermined}},
            {"stats study equal.csv --method range --json",
             0,
             {"\"note\": \"the readings of each part are equal"}},
            {"stats study exact.csv", 0, {"PV 1 100.00 %\n", undetermined}},
            {"stats study one.csv --svg one.svg", 1, {"one.csv: NO RESULT: one part alone: "}},
            {"stats study usual.csv --method range --pool 0.1", 2, {"--pool goes with --method anova"}},
            {"stats anova usual.csv --group part", 0, {"F 960\n"}},
            {"stats anova one.csv --group part", 1, {"F -\n", "one group alone: there is nothing"}}});
    EXPECT_THAT(read("usual.svg"), HasSubstr("GRR 7.6 % of all, 11.4 % of the tolerance, 18 categories"));
    EXPECT_THAT(read("usual.svg"), HasSubstr("value, mm"));
    EXPECT_THAT(read("one.svg"), HasSubstr("one part alone: nothing says how parts differ"));
    EXPECT_THAT(read("equal.svg"), HasSubstr("2 trials: GRR - of all, - categories"));
}

TEST_F(Commands, StatsRefuseWhatContradicts) {
    write("t.csv", "part,value\n1,5\n2,6\n");
    write("files.csv", "file,depth\na_1.csv,5\nb_2.csv,6\n");
    write("who.csv", "file,who\na_1.csv,X\n");
    ASSERT_EQ(call("teach t.csv --out t.json --region R~=~all --measure value~=~max~in~R~:~max~5.5").code, 0);
    write("gap.csv", "depth,unit,who\n5,mm,\n6,mm,b\n");
    write("bare", "part,unit\n1,5\n2,6\n");
    write("r.csv", QByteArray::fromStdString(call("match t.csv --template t.json --csv").out));
    expect({
        {"stats t.csv --column value --limits 0..4 --template x",
         2,
         {"--limits and --template both give limits"}},
        {"stats t.csv --column value --by part --svg a.svg",
         2,
         {"--svg goes with one series, --by makes several"}},
        {"stats t.csv --column value --by who --group-by {who}_{}",
         2,
         {"t.csv: there is no column \"profile\" or \"file\""}},
        {"stats files.csv --column depth --by who --group-table who.csv",
         2,
         {"files.csv: line 3: the name \"b_2.csv\" is not in who.csv"}},
        {"stats files.csv --column depth --by who --group-by {who}_{} --group-table who.csv",
         2,
         {"both say what a file name means"}},
        {"stats files.csv --column depth --by who --group-by {who}_{} --names file",
         0,
         {"a 1 5 -", "a, b: no capability without a tolerance\n"}},
        {"stats gap.csv --column depth --by who",
         2,
         {"gap.csv: line 2: column \"who\" is empty beside a value"}},
        {"stats gap.csv --column depth --svg gap.svg", 0, {"mean 5.5\n"}},
        {"stats t.csv --column value --template t.json", 0, {"values outside 1\n"}},
        {"stats t.csv --column value --by part --template t.json", 0, {"1 1 5 - - 5.5 - - - - 0 -\n"}},
        {"stats gap.csv --column depth", 0, {"gap.csv: column depth, mm\n", "mean 5.5\n"}},
        {"stats gap.csv --column depth --by unit", 0, {"\nmm 2 5.5 0.7"}},
        {"stats bare --column unit", 0, {"bare: column unit\n", "mean 5.5\n"}},
        {"stats --column value --svg v.svg t.csv", 0, {"t.csv: column value\n", "mean 5.5\n"}},
        {"stats t.csv --column --json", 2, {"stats series: --column needs a value: --column NAME"}},
        {"stats t.csv --column value --limits ..", 2, {"one of them may be left out, not \"..\""}},
        {"stats t.csv --column value --limits x..5", 2, {"--limits needs two numbers", "not \"x..5\""}},
        {"stats t.csv --column part --template t.json", 0, {"mean 1.5\n", "signals of the run chart none\n"}},
        {"stats r.csv --template t.json", 0, {"\nvalue mm 1 6 - - 5.5 - - - - 1 -\nvalue.at mm 1 2 - - - "}},
    });
    EXPECT_THAT(read("v.svg"), HasSubstr(">value<"));
}

}  // namespace
