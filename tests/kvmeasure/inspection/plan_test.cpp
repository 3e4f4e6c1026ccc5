// Template files: what is read back, numbers as JSON spells them, and the place of what cannot be read.

#include <kvmeasure/inspection/expression.h>
#include <kvmeasure/inspection/matching.h>
#include <kvmeasure/inspection/near_miss.h>
#include <kvmeasure/inspection/teaching.h>
#include <tests/kvmeasure/calls.h>

#include <QtCore/QRegularExpression>

namespace {

class Plans : public testing::Test {
protected:
    static void write(const QByteArray& bytes) { ScratchDirectory::write("t.json", bytes); }

    static InspectionPlan reread(const QByteArray& text) {
        write(text);
        return readPlan("t.json");
    }

    /// A groove: left land, floor, right land.
    static Segments groove() { return {{{-10, 0}, {-4, 0}}, {{-4, -6}, {4, -6}}, {{4, 0}, {10, 0}}}; }

    static InspectionPlan taught(const QString& measurements) {
        InspectionPlan file;
        file.hasSearch = true;
        file.name = "groove";
        file.search.contourGap = 5;
        file.search.refineIterations = 3;
        buildConstraints(groove(), {{0, 1, 2}, {"left", "floor", "right"}}, TeachTolerances(), file);
        for (const auto& [name, written] : addMeasurements(measurements, file).toStdMap())
            file.tolerances[name] = written.tolerance;
        file.ends = {{"free", "floor.start"}, {"left.end", "bend"}, {"straight", "free"}};
        return file;
    }

    static QByteArray templateOf(const QByteArray& lines, const QByteArray& constraints) {
        return R"({"template": {"numOfLines": )" + lines + R"(, "constraints": [)" + constraints +
               R"(]}, "measurements": []})";
    }

    static void expectRefused(const QByteArray& text, const char* reason) {
        write(text);
        const Error error = errorOf([] { readPlan("t.json"); });
        EXPECT_THAT(textOf(error), testing::AllOf(testing::StartsWith("t.json: "), HasSubstr(reason)));
        EXPECT_EQ(error.file(), "t.json") << reason;
        const auto line = QRegularExpression("^t.json: line (\\d+),").match(error.text());
        EXPECT_EQ(error.line(), line.captured(1).toLongLong()) << reason;
    }

private:
    const ScratchDirectory scratch_;
};

TEST_F(Plans, AreReadAsTheyWereWritten) {
    InspectionPlan file =
        taught("depth=distance floor right : 6 +0.3 -0.1; wide = length floor : max 8.5; p = point 0 0");
    file.fitting = {/*isRaw=*/true, /*compensatesEdges=*/false};
    file.search.allowReversed = true;
    file.filter = parseSteps("median 5; trim-y - 20");
    file.regions = {parseRegion("R = x -6..0.1"), parseRegion("S = second z 1.. at A"),
                    parseRegion("T = all at floor")};
    file.anchors = {parseAnchor("A = line in R from 1 2 30"), parseAnchor("B = template left")};
    addTools("t1 = max in S : max 3; t2 = percentile 5 in T of x\nt3 = area in R above 0.5 : x 1 +- 2", file);
    file.calibration.ofUnit = {{"mm", 0.002}, {"deg", 0.01}};
    file.calibration.ofValue = {{"wide", 0.003}};
    EXPECT_EQ(planFault(file), "");
    const QByteArray text = planText(file);
    const InspectionPlan again = reread(text);
    EXPECT_EQ(planText(again), text);
    EXPECT_EQ(again.calibration.ofUnit, file.calibration.ofUnit);
    EXPECT_EQ(again.calibration.of("wide", "mm"), 0.003);
    EXPECT_EQ(again.lineNames, file.lineNames);
    EXPECT_EQ(again.ends, file.ends);
    EXPECT_EQ(again.tolerances["wide"].text(), "max 8.5");
    EXPECT_EQ(again.means.size(), 1) << "a distance is taken at both ends";
    EXPECT_TRUE(again.hasSearch && again.search.allowReversed && again.fitting.isRaw);
    EXPECT_FALSE(again.fitting.compensatesEdges);
    QStringList names;
    for (const ValueName& value : valueNames(again))
        names << value.name;
    EXPECT_EQ(names.join(' '), "depth wide p.x p.y t1 t1.at t2 t3 t3.x t3.z");
    const InspectionPlan bare = reread(templateOf("2", ""));
    EXPECT_FALSE(bare.hasSearch);
    EXPECT_EQ(bare.lineNames, QStringList({"0", "1"}));
    EXPECT_FALSE(reread(templateOf("0", "")).hasTemplate());
}

TEST_F(Plans, AreToldInTheWordsThatMadeThem) {
    const QStringList statements =
        QString("depth = distance floor left; bottom = length floor; tilt = inclination rise; opening = "
                "angle fall rise; turn = rotation left rise; corner = intersection left fall; quarter = "
                "point rise -0.25; centre = between fall.end rise.start 0.123456789; lift = shift left.end "
                "rise.start 70 ref floor reversed; drop = shift left.start fall.end -90; top = far 0 -1.5; "
                "climb = shift left.end rise.start 20 ref floor reversed")
            .split("; ");
    InspectionPlan plan;
    plan.lineNames = QStringList{"left", "fall", "floor", "rise"};
    plan.lines.setTemplateLinesNumber(5);
    addMeasurements(statements.join("; "), plan);
    plan.means.append({"both", "bottom", "lift"});
    plan.means.append({"lost", "tilt", "nothing"});
    QStringList told, values;
    for (const MeasurementStatement& statement : measurementStatements(plan)) {
        told.append(statement.text);
        values += statement.values;
    }
    QStringList expected = statements;
    expected[1] = "both = mean of bottom and lift";
    expected[2] = "lost = mean of tilt and nothing";
    expected.removeAt(8);
    EXPECT_EQ(told.join('\n').toStdString(), expected.join('\n').toStdString());
    QStringList names;
    for (const ValueName& value : measurementNames(plan))
        names.append(value.name);
    EXPECT_EQ(values.join(' ').toStdString(), names.join(' ').toStdString());
}

TEST_F(Plans, MeansOfShiftsAreADistanceOnlyAsTheWordMakesThem) {
    const QString start = "floor.start left.start 90 ref left";
    const QString end = "floor.end left.start 90 ref left";
    const std::pair<QString, QString> others[] = {{end, start},
                                                  {start, start},
                                                  {start, "rise.end left.start 90 ref left"},
                                                  {start, "floor.end rise.start 90 ref rise"},
                                                  {"floor.start left.end 90 ref left", end},
                                                  {"floor.start left.start 90 ref rise", end},
                                                  {start, "floor.end left.start 90 ref left reversed"},
                                                  {start, "floor.end left.start -90 ref left"}};
    const auto told = [](const QString& first, const QString& second) {
        InspectionPlan plan;
        plan.lineNames = QStringList{"left", "fall", "floor", "rise"};
        plan.lines.setTemplateLinesNumber(4);
        addMeasurements("a = shift " + first + "; b = shift " + second, plan);
        plan.means.append({"depth", "a", "b"});
        return measurementStatements(plan)[0].text;
    };
    EXPECT_EQ(told(start, end), "depth = distance floor left");
    for (const auto& [first, second] : others)
        EXPECT_EQ(told(first, second), "depth = mean of a and b") << qPrintable(first + "; " + second);
}

TEST_F(Plans, AreTaughtFromTheSegmentsThatAreNamed) {
    const Refused cases[] = {{"a", "\"a\" is no segment; expected numbers from 0 to 2"},
                             {"0,-1", "\"-1\" is no segment"},
                             {"3", "\"3\" is no segment"},
                             {"0, b c=1", "\"b c\" is no name"},
                             {"b=0, b=1", "\"b=1\" is there twice"},
                             {"1,1", "\"1\" is there twice"}};
    for (const Refused& c : cases)
        EXPECT_THAT([&] { parseLines(c.text, 3); }, Refuses(c.reason));
    EXPECT_EQ(parseLines("2, b=0", 3).names, QStringList({"0", "b"}));
    EXPECT_TRUE(linesCutByView({}, groove(), parseLines("0", 3)).isEmpty());
    InspectionPlan plan;
    EXPECT_THAT([&] { addMeasurements(QString(1000, ';'), plan); }, Refuses("more than 1000"));
    EXPECT_THAT([&] { addTools(QString(1000, ';'), plan); }, Refuses("more than 1000"));
}

TEST_F(Plans, WholeNumbersAreBoundsLikeAllOthers) {
    const auto find = [](const QByteArray& upper) {
        const InspectionPlan file = reread(templateOf(
            "1",
            R"({"constraintType": "Length", "lineIndex": 0, "lowerBound": 0, "upperBound": )" + upper + "}"));
        return findAssignments({{{0, 0}, {4, 0}}}, file.lines, /*allowReversed=*/false).size();
    };
    for (const auto& [bound, found] : {std::pair("3", 0),
                                       {"3.0", 0},
                                       {"4", 1},
                                       {"4.0", 1},
                                       {"4e0", 1},
                                       {"3.999999999", 0},
                                       {"\"undefined\"", 1}})
        EXPECT_EQ(find(bound), found) << bound;
    expectRefused(
        templateOf("1",
                   R"({"constraintType": "Length", "lineIndex": 0, "lowerBound": 0, "upperBound": "3"})"),
        "expected a number under \"upperBound\"");
}

TEST_F(Plans, WithDamageNameThePlace) {
    const QByteArray good = planText(taught("depth = distance floor right : 6 +- 1; p = point 0 0"));
    const struct {
        const char *from, *to, *reason;
    } cases[] = {
        {"\"means\": [", "\"means\": {", "line "},
        {"\"Length\"", "\"Lenght\"", "unknown \"constraintType\", \"Lenght\"; did you mean \"Length\"?"},
        {"\"lineIndex\": 0", "\"lineIndex\": 9", "\"lineIndex\" names line 9; the template has 3 lines"},
        {"\"lineIndex\": 0", "\"lineIndex\": \"a\"", "has an unusable value under \"lineIndex\""},
        {"\"lineToIndex\": 1", "\"lineToIndeks\": 1", "lacks \"lineToIndex\""},
        {"\"Line point\"", "\"Line pint\"",
         "unknown \"measurementType\", \"Line pint\"; did you mean \"Line point\"?"},
        {"\"measureLineIndex\": 0", "\"measureLineIndex\": 3",
         "\"measureLineIndex\" names line 3; the template has 3"},
        {"\"measurementType\"", "\"type\"", "measurements[0]: lacks \"measurementType\""},
        {"\"isLFStartPoint\"", "\"isLF\"", "measurements[0]: lacks \"isLFStartPoint\""},
        {"\"isActive\": true", "\"isActive\": 0.5e400", "illegal number"},
        {"\"isActive\": true", "\"isActive\": \"x\"",
         "measurements[0]: has an unusable value under \"linesInfos\""},
        {"\"contourGap\"", "\"contourGab\"", "expected a number under \"contourGap\""},
        {"\"numOfLines\": 3", "\"numOfLines\": 1e9", "from 0 to 1000"},
        {"\"refineIterations\": 3", "\"refineIterations\": -3", "\"refineIterations\" must be"},
        {"\"measurements\"", "\"measurement\"",
         "plan: unknown key \"measurement\"; did you mean \"measurements\"?"},
        {"\"depth\": {", "\"dept\": {", "known: depth, p.x, p.y; did you mean \"depth\"?"},
        {"\"contourGap\": 5", "\"contourGap\": -5", "search: \"contourGap\" must not be negative"},
        {"\"contourGap\": 5", "\"contourGap\": 5, \"gap\": 5", "search: unknown key \"gap\""},
        {"\"allowReversed\": false", "\"allowReversed\": 0", "expected true or false"},
        {"\"first\": \"depth (start)", "\"first\": \"e", "means: \"depth\" is the mean of \"e\""},
        {"\"left\",", "", "lineNames: expected 3 names"},
        {"\"left\",", "true,", "lineNames[0]: expected a text"},
        {"\"lineIndex\": 0", "\"lineIndex\": -1", "names line -1; the template has 3 lines"},
        {"\"free\",", "", "ends[0]: expected two of \"free\""},
        {"\"free\",", "\"fre\",", "ends[0]: expected two of \"free\""},
        {"\"left\",", "\"right\",", "lineNames[2]: \"right\" is line 0 already"},
        {"\"name\": \"depth\"", "\"name\": \"depth (end)\"", "means: 2 results are named \"depth (end)\""},
        {"\"search\": {", "\"serach\": {", "plan: unknown key \"serach\"; did you mean \"search\"?"},
        {"\"upper\": 1\n", "\"upper\": -2\n", "tolerances: \"depth\": \"lower\" is greater"}};
    for (const auto& c : cases) {
        ASSERT_TRUE(good.contains(c.from)) << c.from;
        expectRefused(QByteArray(good).replace(c.from, c.to), c.reason);
    }
    expectRefused(QByteArray("{\"a\":").repeated(100'000), "expected a template in JSON");
    expectRefused("[]", "expected a JSON object");
    expectRefused("", "line 1, column ");
    expectRefused(QByteArray((4 << 20) + 1, ' '), "a template has at most 4194304");
}

TEST_F(Plans, WithDamagedToolsNameThePlace) {
    InspectionPlan plan = taught("depth = distance floor right");
    plan.regions = {parseRegion("R = x -6..0.1 at A"), parseRegion("S = second z 1..2"),
                    parseRegion("T = all at B")};
    plan.anchors = {parseAnchor("A = line in S from 1 2 30"), parseAnchor("B = template left")};
    addTools("t1 = max in S;; t2 = percentile 5 in T of x; t3 = area in R above 0.5", plan);
    plan.calibration.ofUnit = {{"mm", 0.002}};
    plan.master.emplace();
    plan.master->profile.points = {{0, 1}, {7, 1}};
    plan.master->lower = -0.5;
    const QByteArray good = planText(plan);
    EXPECT_EQ(planText(reread(good)), good);
    EXPECT_EQ(plan.master->text(), "master: 2 points, align registration, band -0.5..");
    const struct {
        const char *from, *to, *reason;
    } cases[] = {
        {"\"name\": \"A\"", "\"name\": \"1\"", "\"1\" is no name: letters, digits, - and _"},
        {"\"region\": \"S\"", "\"region\": \"\"", "the region is missing"},
        {"\"line\": \"left\"", "\"line\": \"\"", "the template line is missing"},
        {"\"region\": \"S\"", "\"region\": \"Q\"", "there is no region \"Q\"; known: R, S, T"},
        {"\"line\": \"left\"", "\"line\": \"lft\"", "there is no template line \"lft\"; known: left, "},
        {"\"at\": \"A\"", "\"at\": \"Q\"", "there is no anchor \"Q\"; known: A, B, left, floor, right"},
        {"\"profile\": \"second\"", "\"profile\": \"third\"", "under \"profile\", found \"third\""},
        {"\"name\": \"t2\"", "\"name\": \"t1\"", "tools[1] \"t1\": there is a result \"t1\" already"},
        {"\"name\": \"t2\"", "\"name\": \"depth\"", "there is a result \"depth\" already"},
        {"\"points\": [", "\"points\": [[\"a\", 1], ", "master.points[0]: expected two numbers [X, Z]"},
        {"\"points\": [", "\"points\": [[1], ", "master.points[0]: expected two numbers [X, Z]"},
        {"\"points\": [", "\"points\": [[1, \"a\"], ", "master.points[0]: expected two numbers [X, Z]"},
        {"\"name\": \"master\"", "\"name\": \"1\"", "\"1\" is no name"},
        {"-0.5", "1e300, -1", "master"},
        {"0.002", "-0.002", "calibration"},
        {"0.002", "1e300", "calibration"},
        {"\"bend\"", "\"curve\"", "expected two of \"free\", \"straight\", "},
        {"\"numOfLines\": 3", "\"numOfLines\": 2.5", "from 0 to 1000"},
        {"\"refineIterations\": 3", "\"refineIterations\": 2.5", "\"refineIterations\" must be"},
        {"\"refineIterations\": 3", "\"refineIterations\": 1e9", "\"refineIterations\" must be"},
        {"\"align\": \"registration\"", "\"align\": \"registr\"", "\"align\" must be none, reg"}};
    for (const auto& c : cases) {
        ASSERT_TRUE(good.contains(c.from)) << c.from;
        expectRefused(QByteArray(good).replace(c.from, c.to), c.reason);
    }
    plan.anchors[0].taught.turn = plan.anchors[1].taught.place.y = NAN;
    for (const Anchor& anchor : plan.anchors)
        EXPECT_EQ(anchor.fault(), "its taught place is not finite");
    std::swap(plan.regions[1].minZ, plan.regions[1].maxZ);
    EXPECT_EQ(plan.regions[1].fault(), "its z runs from 2 to 1; the smaller number comes first");
    plan.master->upper = -1;
    plan.master->keepsAll = true;
    EXPECT_EQ(plan.master->fault(), "the band needs its least deviation first");
    EXPECT_EQ(plan.master->text(), "master: 2 points, align registration, all points, band -0.5..-1");
    plan.master->profile.points[1].x = NAN;
    EXPECT_EQ(plan.master->fault(), "a master needs two points");
    EXPECT_EQ(plan.tools[0].set("of", "x") + plan.tools[0].set("none", "x"), "has no setting \"none\"");
    EXPECT_TRUE(std::isnan(plan.tools[0].number("none")) && plan.tools[0].region("none").isEmpty());
    plan.tools[0].kind = nullptr;
    EXPECT_EQ(plan.tools[0].fault(), "has no kind");
    EXPECT_EQ(plan.tools[0].set("of", "x"), "has no setting \"of\"");
}

TEST_F(Plans, NamesMayBeNumbersOrEmptyAndEqualWhereNothingNamesThem) {
    QByteArray odd = planText(taught("depth = distance floor right"));
    odd.replace("\"kvmeasure\"", "\"another host\"");  // which may have keys of its own
    odd.replace("\"means\"", "\"-\"").replace(" (start)", "").replace(" (end)", "");
    odd.replace("\"ends\"", "\"*\"").replace("\"left\"", "0").replace("\"right\"", "\"\"");
    EXPECT_EQ(reread(odd).lineNames, QStringList({"0", "floor", "2"}));
    expectRefused(QByteArray(odd).replace("\"tolerances\": {", R"("tolerances": {"depth": {"min": 1})"),
                  "tolerances: \"depth\": 2 results are named \"depth\"");
}

TEST_F(Plans, ThatAreNotFoundSayWhichConstraintRefusesTheNearestAssignment) {
    Segments segments{{{0, 0}, {4, 0}}, {{4, 0}, {4.2, 6}}};
    const QByteArray first =
        R"({"constraintType": "Length", "lineIndex": 0, "lowerBound": 5.0, "upperBound": 6.1},)";
    const QByteArray keys = R"("lineFromIndex": 0, "lineToIndex": 1, "lowerBound": 0.5, "upperBound": )";
    const QByteArray shift = R"(1.5, "directionAngle": 0.0, "isFromLineReference": true)";
    const std::pair<QByteArray, const char*> cases[] = {
        {R"("Endpoint distance", )" + keys + "1.0",
         "but endpoint distance from line 0 to line 1 is 7.3239 mm, allowed are 0.5000 to 1.0000\n"},
        {R"("Endpoint distance", "lineFromIndex": 1, "lineToIndex": 0, "lowerBound": 0.5, "upperBound": 1.0)",
         "but endpoint distance from line 1 to line 0 is "},
        {R"("Endpoint distance w/c", )" + keys + "9.0", "is 7.3239 mm, more than between their other ends\n"},
        {R"("Length", "lineIndex": 0, "lowerBound": 6.5, "upperBound": "undefined")",
         "but length of line 0 is 6.0033 mm, allowed is at least 6.5000\n"},
        {R"("Length", "lineIndex": 0, "lowerBound": "undefined", "upperBound": 5.5)",
         "but length of line 0 is 6.0033 mm, allowed is at most 5.5000\n"},
        {R"("Inclination angle", "lineIndex": 1, "lowerBound": "undefined", "upperBound": -0.5)",
         "is 0.0000 deg, allowed is at most -28.6479\n"},
        {R"("Endpoint shift in direction", )" + keys + shift,
         "line 0 to line 1 is -6.1366 mm, allowed are 0.5"},
        {R"("Rotation angle", )" + keys + R"(3.1, "direction": 1)",
         "is 88.0908 deg to the right, allowed are 28.6479 to 177.6169 to the left\n"},
        {R"("Length", "lineIndex": 0, "lowerBound": -6.5, "upperBound": "undefined")",  // acts as 6.5
         "but length of line 0 is 6.0033 mm, allowed is at least 6.5000\n"}};
    for (const auto& [second, reason] : cases) {
        const InspectionPlan file = reread(templateOf("2", first + R"({"constraintType": )" + second + "}"));
        ASSERT_TRUE(findAssignments(segments, file.lines, false).isEmpty()) << reason;
        const NearMiss near = nearMiss(segments, file, false);
        EXPECT_TRUE(near.isNearest);
        EXPECT_EQ(near.reasons.size(), 1);
        EXPECT_THAT(near.text.toStdString() + '\n',
                    testing::AllOf(HasSubstr("nearest: line 0 = segment 1, line 1 = segment 0; "),
                                   HasSubstr(reason)));
    }
    const NearMiss few = nearMiss(segments, reread(templateOf("3", "")), false);
    EXPECT_FALSE(few.isNearest);
    EXPECT_EQ(few.text, "the template has 3 lines, the profile 2 segment(s)");
}

}  // namespace
