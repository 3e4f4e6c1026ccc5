// What the commands for wheels and rails print in words, and what they refuse: called without a process.

#include <simulator/wheel_shape.h>
#include <tests/cli/commands.h>

#include <cmath>

namespace {

using testing::HasSubstr;

QByteArray row(double x, double y) {
    return QByteArray::number(x, 'f', 6) + ',' + QByteArray::number(y, 'f', 6) + '\n';
}

/// Section of the nominal wheel, from the flange back.
QByteArray wheel(double from = 0, double to = 130) {
    QByteArray table = "x_mm,z_mm\n";
    for (int i = 0; from + i * 0.25 <= to; ++i)
        table += row(from + i * 0.25, Simulator::s1002Height(from + i * 0.25));
    return table;
}

/// Head of a rail with a crown of radius 300 mm about this x.
QByteArray rail(double middle = 0, double lower = 0) {
    QByteArray table;
    for (int i = -360; i <= 360; ++i) {
        const double x = i * 0.1;
        table += row(middle + x, -x * x / 600 - 3 * std::max(0.0, std::fabs(x) - 30) - lower);
    }
    return table;
}

TEST_F(Commands, RoundnessTellsValuesFlatsAndReasons) {
    constexpr double kDegree = 3.14159265358979323846 / 180;
    QByteArray oval = "radius_mm,angle\n", flat = "angle,radius\n", third = flat,
               radians = "angle_rad,radius\n";
    for (int i = 0; i < 3600; ++i) {
        const double angle = i * 0.1, chord = 459.6 / std::cos((angle - 100) * kDegree);
        oval += row(460 + 0.1 * std::cos(2 * angle * kDegree), angle);
        flat += row(angle, std::fabs(angle - 100) < 20 ? std::min(460.0, chord) : 460);
        third += row(angle / 3, 460);
        radians += row(angle * kDegree, 460 + 0.2 * std::cos(angle * kDegree));
    }
    write("oval.csv", oval);
    write("flat.csv", flat);
    write("third.csv", third);
    write("radians.csv", radians);
    write("cm.csv", QByteArray(oval).replace("radius_mm", "radius"));
    QByteArray unnamed = "u,v\n", profiles;
    for (int i = 0; i < 720; ++i)
        unnamed += row(i * 0.5, 460);
    for (int i = 0; i < 3; ++i)
        profiles += "x,z\n-1,5\n0,5.1\n1,5\n";
    write("unnamed.csv", unnamed);
    write("profiles.csv", profiles);
    write("two.csv", "angle,radius\n0,460\n1,460\n");
    write("words.csv", "u,v,w\n0,460,1\n");
    QByteArray part = "angle [rad],radius\n";
    for (int i = 0; i < 700; ++i)
        part += row(i * 0.001, 460);
    write("part.csv", part);
    write("named.csv", QByteArray(unnamed).replace("u,v", "angle,r"));
    expect({
        {"wheels roundness oval.csv --orders 3",
         0,
         {"mean radius 460.000 mm", "out-of-roundness 0.2000 mm", "level 37.0 dB", "2 0.1000 180.00 37.0\n",
          "no flat deeper than 0.1 mm"}},
        {"wheels roundness oval.csv --columns angle,radius_mm --orders 1", 0, {"out-of-roundness 0.2000 mm"}},
        {"wheels roundness radians.csv --orders 1", 0, {"eccentricity 0.2000 mm"}},
        {"wheels roundness flat.csv --orders 1",
         1,
         {"flat at from to depth length depth of chord", "100.00 97.61 102.39 0.399 38.32 0.399\n"}},
        {"wheels roundness third.csv",
         1,
         {"mean radius - mm less than a turn: the points have a gap of 240.0"}},
        {"wheels roundness cm.csv --unit cm",
         1,
         {"the median radius is 4600 mm; that of a wheel is 125 to 1300"}},
        {"wheels roundness cm.csv --unit cm,mm", 2, {"--unit is that of the radius; give one"}},
        {"wheels roundness two.csv --svg two.svg",
         1,
         {"nothing is known: 2 points; a circumference needs at least 36"}},
        {"wheels roundness oval.csv --columns angle", 2, {"--columns names two: those of angle and radius"}},
        {"wheels roundness words.csv --diameter 920", 2, {"words.csv: "}},
        {"wheels roundness unnamed.csv --orders 1", 0, {"mean radius 460.000 mm"}},
        {"wheels roundness profiles.csv --diameter 920",
         2,
         {"the profiles have no distance; give it by --step"}},
        {"wheels roundness profiles.csv --diameter 920 --step 1 --x 5..6", 1, {"nothing is known: 0 points"}},
        {"wheels roundness named.csv --orders 400", 0, {"\n harmonics above order 360 are not known: "}},
        {"wheels roundness part.csv", 1, {"no flats looked for: 40.0 degrees are seen; flats are looked"}},
        {"wheels roundness part.csv --json", 1, {"\"flats\": null", "\"flats\": \"40.0 degrees are seen"}},
        {"wheels roundness oval.csv --orders 501", 2, {"--orders must be from 1 to 500, not 501"}},
        {"wheels roundness oval.csv --step 1", 2, {"--step is of profiles; they need --diameter"}},
    });
    EXPECT_THAT(read("two.svg"), HasSubstr("2 points; a circumference needs at least 36"));
}

TEST_F(Commands, RailsTellTheirValuesAndGauge) {
    write("rail.csv", rail());
    write("worn.csv", rail(0, 1));
    write("wheel.csv", wheel());
    write("track.csv", rail(-750) + rail(750));
    QByteArray counted;
    for (int x = 0; x <= 72; ++x)
        counted += row(x, -(x - 36) * (x - 36) / 600.0 - 3 * std::max(0, std::abs(x - 36) - 30));
    write("counted.csv", counted.replace(".000000,", ","));
    write("list.txt", "counted.csv\n");
    expect(
        {{"rails parameters rail.csv worn.csv --reference rail.csv --svg both.svg", 0, {"worn.csv 1.0000"}},
         {"rails parameters wheel.csv", 1, {"no rail: the section has the shape of a wheel"}},
         {"rails parameters wheel.csv rail.csv --svg r.svg", 1, {"\nrail.csv - - - - 68.0471 300.0451"}},
         {"rails parameters counted.csv", 0, {"counted.csv - - - - 68.0471 300.0852"}},
         {"rails parameters --files-from list.txt --out part.csv", 0, {}},
         {"rails gauge track.csv", 0, {"gauge 1431.953 mm", "within 14 mm below the running surface\n"}},
         {"rails gauge track.csv --json", 0, {"\"leftFace\": [", "\"notes\": ["}},
         {"rails gauge rail.csv rail.csv", 1, {"no gauge: "}},
         {"rails gauge rail.csv rail.csv --json", 1, {"\"leftFace\": null"}},
         {"rails gauge rail.csv wheel.csv --rail-origin 750", 1, {"no gauge: "}}});
    EXPECT_THAT(call("rails parameters counted.csv").err, HasSubstr("x counts 0, 1, 2, ..."));
    EXPECT_THAT(call("rails gauge counted.csv counted.csv --rail-origin 750").err,
                HasSubstr("x counts 0, 1, 2, ..."));
    EXPECT_THAT(read("part.csv"), HasSubstr("x counts 0, 1, 2, ..."));
    EXPECT_THAT(read("part.csv"), HasSubstr("give --columns HEIGHT --pitch MM"));
    EXPECT_THAT(read("r-rail.svg"), HasSubstr(">headWidth 68.05 mm, crownRadius 300.05 mm<"));
    EXPECT_THAT(read("both-worn.svg"), HasSubstr("W1 1.00"));
    EXPECT_THAT(read("both-rail.svg"), HasSubstr("W1 0.00"));
}

TEST_F(Commands, GaugeFilesAreToldAndWritten) {
    write("wheel.csv", wheel());
    write("late.csv", wheel(8));
    write("rail.csv", rail());
    write("line.csv", "0,0\n1,0\n2,0\n3,0\n");
    expect({{"wheels info wheel.csv rail.csv",
             0,
             {"of a wheel\n", "of a rail\n", "side -\n", "points 521\n", "x counts from not stated"}},
            {"wheels info wheel.csv line.csv --json",
             1,
             {"\"object\": \"cross-section\"", "and 10 are needed", "\"side\": null"}},
            {"wheels info gone.csv", 2, {"gone.csv: no such file"}},
            {"wheels import wheel.csv out.csv --json", 0, {"\"object\": \"wheel\"", "\"points\": 521"}},
            {"wheels import rail.csv rail2.csv", 0, {"rail2.csv: rail of 721 points"}},
            {"wheels import late.csv late2.csv", 0, {"late2.csv: wheel of 489 points; "}},
            {"wheels import line.csv none.csv", 2, {"line.csv: "}}});
    EXPECT_THAT(read("out.csv"), testing::StartsWith("x_mm,z_mm\n0.000000,"));
    EXPECT_THAT(read("late2.csv"), testing::StartsWith("x_mm,z_mm\n0.000000,"));
}

TEST_F(Commands, SectionsOfFilesAreMeasuredOneByOneAndAsALists) {
    write("wheel.csv", wheel());
    write("half.csv", wheel(0, 65));
    write("low.csv", "x,z\n0,-500\n1,-501\n2,-502\n");
    write("limits.csv", "symbol,minimum,maximum\nSh,27,36\nSd,33,35\n");
    write("list.txt", "wheel.csv\ngone.csv\n");
    write("halves.txt", "half.csv\n");
    QByteArray widths = "10";
    for (int i = 0; i < 100; ++i)
        widths += ",10";
    expect({{"wheels parameters wheel.csv --diameter 920 --widths 10,13~mm --svg w.svg",
             0,
             {"28.0000 32.5000", "0.000 seen", "Sd10 Sd13 reasons\n", " 32.5000 31.2"}},
            {"wheels parameters wheel.csv half.csv --svg both.svg", 1, {"half.csv"}},
            {"wheels parameters --files-from halves.txt --out halves.csv --reference wheel.csv", 1, {}},
            {"wheels parameters wheel.csv --diameter 920 --limits limits.csv --json",
             1,
             {"\"verdict\": \"", "\"symbol\": \"Sd\""}},
            {"wheels parameters wheel.csv --diameter 920 --limits limits.csv",
             1,
             {"limits for a running diameter of 920.00 mm"}},
            {"wheels parameters low.csv --diameter 920",
             2,
             {"low.csv: no radius is above 0; is --diameter right?"}},
            {"wheels parameters wheel.csv --limits limits.csv", 1, {"a section alone has no radius"}},
            {"wheels parameters wheel.csv --widths 201", 2, {"e.g. 10,13; not \"201\""}},
            {"wheels parameters wheel.csv --widths 0",
             2,
             {"needs heights above 0 mm, 200 mm at most, e.g. 10,13; not \"0\""}},
            {"wheels parameters wheel.csv --radii", 1, {"wheel.csv"}},
            {"wheels parameters wheel.csv --widths " + widths, 2, {"--widths takes 100 heights at most"}},
            {"wheels parameters wheel.csv --widths 201", 2, {"200 mm at most"}},
            {"wheels parameters wheel.csv --widths 10,x",
             2,
             {"needs heights above 0 mm, 200 mm at most, e.g. 10,13; not \"x\""}},
            {"wheels parameters wheel.csv --radii --diameter 920", 2, {"leave --diameter out"}},
            {"wheels parameters wheel.csv --join 2", 2, {"--join is of recordings; these are sections"}},
            {"wheels parameters --files-from list.txt --out part.csv --reference S1002 --jobs 2 --stats",
             2,
             {"part.csv: 1 row(s) say NOT READ"}},
            {"wheels parameters --files-from list.txt --out judged.csv --limits limits.csv --diameter 920",
             2,
             {"judged.csv: 1 row(s) say NOT READ"}}});
    EXPECT_THAT(read("part.csv"), HasSubstr("\nwheel.csv,28,32.5,"));
    EXPECT_THAT(read("part.csv"), HasSubstr("NOT READ,gone.csv: no such file"));
    EXPECT_THAT(read("judged.csv"), HasSubstr("Sd"));
    EXPECT_THAT(read("halves.csv"), HasSubstr("\nhalf.csv,,"));
    EXPECT_THAT(read("both-half.svg"), HasSubstr("points"));
}

TEST_F(Commands, ConicityTellsCurveAndContacts) {
    write("wheel.csv", wheel());
    write("rail.csv", rail());
    QByteArray upset;
    for (int i = -360; i <= 360; ++i) {
        const double x = i * 0.1;
        upset += row(x, x * x / 600 + 3 * std::max(0.0, std::fabs(x) - 30));
    }
    write("upset.csv", upset);
    write("tread.csv", wheel(50));
    write("gauge.whl", "Side=%R\nSh=28\n" + wheel().replace("x_mm,z_mm\n", "").replace(',', ' '));
    write("dr.csv", "y,dr\n-4,-0.4\n0,0\n4,0.4\n");
    write("two.csv", "u,v\n-4,-0.4\n0,0\n4,0.4\n");
    write("three.csv", "u,v,w\n-4,-0.4,0\n0,0,0\n4,0.4,0\n");
    write("one.csv", "y,dr\n0,0\n");
    write("flat.csv", "y,dr\n-4,0\n0,0\n4,0\n");
    ASSERT_EQ(call("filter wheel.csv wheel.bin --format record --steps sort-x").code, 0);
    const QString sections = "wheels conicity --right wheel.csv --right-rail rail.csv ";
    expect(
        {{sections + "--gauge 1432 --amplitudes 1..2:0.5", 0, {"right: ", "largest amplitude 10.000 mm"}},
         {"wheels conicity --right gauge.whl --right-rail rail.csv --gauge 1432 --amplitudes 1",
          0,
          {"1 0.3698 0.3694"}},
         {"wheels conicity --right wheel.csv --right-rail upset.csv --gauge 1432 --amplitudes 1",
          0,
          {"1 0.3698 0.3694", "right-rail: upside down"}},
         {"wheels conicity --right gauge.whl --right-rail gauge.whl --gauge 1432",
          2,
          {"gauge.whl: --right-rail: no rail"}},
         {"wheels conicity --right tread.csv --right-rail rail.csv", 1, {"do not reach the running circle"}},
         {"wheels conicity --right wheel.bin --right-rail rail.csv --columns 1,2", 0, {"largest amplitude"}},
         {"wheels conicity --right gone.csv --right-rail rail.csv --gauge 1432", 2, {"gone.csv: no"}},
         {"wheels conicity --delta-r flat.csv --amplitudes 2", 1, {"difference is zero throughout"}},
         {sections + "--gauge 2000 --json", 1, {"\"runningPosition\": null"}},
         {sections + "--gauge 2000 --svg none.svg", 1, {"right"}},
         {sections + "--gauge 1432 --mirror wheel", 2, {"--mirror needs ", "not \"wheel\""}},
         {sections + "--gauge 1432 --amplitudes x", 2, {"needs numbers or ranges FROM..TO:STEP"}},
         {sections + "--gauge 1432 --amplitudes 1..2:0", 2, {"needs a step above 0 behind a range"}},
         {sections + "--gauge 1432 --amplitudes 1..2:x", 2, {"needs a step above 0 behind a range"}},
         {sections + "--gauge 1432 --columns 1,2 --json", 0, {"\"valid\": true"}},
         {"wheels conicity --right rail.csv --right-rail rail.csv --gauge 1432", 2, {"--right: "}},
         {"wheels conicity --delta-r dr.csv --amplitudes 2 --svg c.svg", 0, {"0.0500"}},
         {"wheels conicity --delta-r two.csv --amplitudes 2", 0, {"0.0500"}},
         {"wheels conicity --delta-r three.csv --columns 1,2 --amplitudes 2", 0, {"0.0500"}},
         {"wheels conicity --delta-r three.csv --amplitudes 2",
          2,
          {"has 3 column(s), none of them called y and dr"}},
         {"wheels conicity --delta-r dr.csv --amplitudes 5", 1, {"beyond the largest, 4 mm"}},
         {"wheels conicity --delta-r one.csv",
          1,
          {"the rolling radius difference is known at one shift only"}}});
    EXPECT_THAT(read("c.svg"), HasSubstr("equivalent conicity, tan gamma"));
}

TEST_F(Commands, APostIsCheckedInWords) {
    ASSERT_EQ(call("simulate pass --reference --out post").code, 0);
    write("half.csv", wheel(0, 65));
    write("limits.csv", "symbol,minimum,maximum\nSh,27,36\n");
    const QString check = "wheels check-post post --reference post/reference.csv ";
    expect({{check + "--back-to-back 1360",
             0,
             {"left wheel: these errors change its diameter by 0.00", " for 920.000\n",
              "1360.000 given, difference 0.00"}},
            {check + "--back-to-back 1365 --settings post/settings.ini",
             1,
             {"-2.500", "Y beyond the tolerance", "difference -4.999"}},
            {"wheels check-post post --reference half.csv", 2, {"half.csv: no section of a wheel: no tread"}},
            {"wheels parameters post --back 1", 2, {"--back is for sections; in recordings the flange back"}},
            {"wheels parameters post --radii", 2, {"--radii is of sections; these are recordings"}},
            {"wheels pass post --limits limits.csv --vehicles 1,x",
             2,
             {"--vehicles \"1,x\": expected whole numbers"}},
            {"wheels pass post gone", 2, {"gone: no such file or directory"}},
            {"simulate pass --reference --wheelsets 3 --out p", 2, {"--wheelsets has no effect"}},
            {"simulate pass --flats 14 --breakouts 4 --out p", 2, {"--flats"}}});
    ASSERT_TRUE(QFile::remove("post/pass_1004.bin"));
    expect(
        {{check + "--diameter 921 --right-diameter 919 --tolerance 0.01",
          1,
          {"SENSOR4 - - - - - 0 has no recording", "Z beyond the tolerance", "for 921.000", "for 919.000"}}});
}

TEST_F(Commands, APassWithoutSomeRecordingsIsStoredWithReasons) {
    ASSERT_EQ(call("simulate pass --wheelsets 2 --breakouts 1 --out train").code, 0);
    ASSERT_TRUE(QFile::remove("train/pass_1004.bin") && QFile::remove("train/pass_1011.bin"));
    write("limits.csv", "symbol,minimum,maximum\nSh,27,36\n");
    write("file", "");
    const QString pass = "wheels pass train --no-pictures --out results --store s.db";
    const std::string none = "there is no recording of SENSOR4, SENSOR11; what the others tell";
    expect(
        {{"wheels defects train --mode 3", 2, {none}},
         {"wheels distances train", 0, {"2 distance(s)"}},
         {pass + " --limits limits.csv --bogies 1 --report p.html", 2, {none}},
         {"wheels pass train --out file", 2, {"file/work: cannot be made or is no directory"}},
         {"results s.db --csv", 0, {",Sh,", "NOT MEASURED,SENSOR4 has no recording"}},
         {"results s.db --name defect --csv", 0, {",defect,,0,,,,0,good,\n", ",defect,,1,,,,0,OUT,\n"}},
         {"results s.db --csv --json", 2, {"--json and --csv are two forms of one output; give one of them"}},
         {"wheels check-post train --reference train/reference.csv", 2, {"reference.csv"}}});
    ASSERT_TRUE(QFile::remove("train/pass_1001.bin"));
    expect({{pass + " --limits limits.csv", 2, {"there is no recording of SENSOR1, "}},
            {"wheels distances train", 2, {"there is no recording of SENSOR1;"}},
            {"results s.db --name backToBack --json", 0, {"\"missing\": 2"}}});
}

TEST_F(Commands, APassIsJudgedByItsGroupsInWordsAndOnAPage) {
    ASSERT_EQ(call("simulate pass --wheelsets 3 --out train").code, 0);
    write("limits.csv", "symbol,minimum,maximum\nSh,27,36\nSd,20,33\nDD,,0.3\nDB,,5\nDV,,0.5\n");
    write("wide.csv", "symbol,minimum,maximum\nSh,10,40\n");
    const QString pass = "wheels pass train --no-pictures --out results ";
    expect(
        {{pass + "--limits limits.csv --vehicles 2 --bogies 1,2 --report page.html",
          1,
          {"1 DD 0.7160", "OUT 0.416 above the maximum 0.3", "bogie 2, wheelsets 2 to 3: OUT\n",
           "vehicle 2, wheelsets 3 to 3 (cut short): OUT\n", "train: OUT\n", "3 wheelset(s), 6 wheel(s)"}},
         {pass + "--limits wide.csv --report good.html", 0, {"train: good\n"}},
         {pass + "--vehicles 2", 2, {"--vehicles goes with --limits"}},
         {pass + "--limits wide.csv --vehicles 101", 2, {"--vehicles \"101\": expected whole numbers from"}},
         {pass + "--limits wide.csv --vehicles 0",
          2,
          {"--vehicles \"0\": expected whole numbers from 1 to 100"}}});
    EXPECT_THAT(read("page.html"), HasSubstr("2 to 3"));
    EXPECT_THAT(read("page.html"), HasSubstr("3 to 3 (cut short)"));
    EXPECT_THAT(read("page.html"), HasSubstr("vehicle(s) not good"));
    EXPECT_THAT(read("good.html"), HasSubstr("GOOD: 3 wheelset(s)"));
}

}  // namespace
