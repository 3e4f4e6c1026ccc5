// Pages of train passes: what stands first, what is out, missing or noted, and that
// memory has an end.

#include <kvmeasure/report/pass_page.h>
#include <tests/kvmeasure/calls.h>
#include <tests/kvmeasure/report/pages.h>

namespace {

using testing::Not;

/// A wheel of the document of a pass that is measured, with the limits of its flange height.
QJsonObject wheelOf(const QString& verdict, const QString& reason) {
    const QJsonObject limit{{"symbol", "Sh"},  {"quantity", "flange height"}, {"value", 28.25},
                            {"minimum", 26},   {"maximum", QJsonValue()},     {"verdict", verdict},
                            {"reason", reason}};
    return {{"radius", 480},
            {"flangeHeight", 28.25},
            {"thicknessFromBack", 31},
            {"flangeSteepness", 9},
            {"runningDiameter", 900},
            {"defect", false},
            {"notes", QJsonArray()},
            {"limits", QJsonArray{limit}},
            {"verdict", verdict},
            {"uncertainties", QJsonObject{{"flangeHeight", QJsonObject{{"U", 0.054}}},
                                          {"runningDiameter", QJsonObject{{"reason", "too few points"}}}}}};
}

QJsonObject passOf(const QJsonObject& left, const QJsonObject& right, int count) {
    QJsonArray wheelsets;
    for (int i = 1; i <= count; ++i)
        wheelsets.append(QJsonObject{{"wheelset", i},
                                     {"travel", 1000 * i},
                                     {"backToBack", 1360},
                                     {"left", left},
                                     {"right", right},
                                     {"notes", QJsonArray()}});
    return {{"wheelsets", wheelsets}, {"recordings", QJsonArray()}, {"notes", QJsonArray{kHostile}}};
}

// What stands first is what is worst; a value without limits, and one that is missing, are not called good.
TEST(PassPage, SaysOfEachWheelWhatIsNotGood) {
    const auto with = [](const char* key, const QJsonValue& value) {
        QJsonObject wheel = wheelOf("good", "");
        wheel[key] = value;
        return wheel;
    };
    const QJsonObject good = wheelOf("good", "");
    QJsonObject plain = with("limits", QJsonArray());
    plain.remove("verdict");
    const struct {
        QJsonObject left;
        const char *verdict, *word;
    } cases[] = {
        {good, "&#9675; COMPLETE", "left good; right good"},
        {plain, "&#9675; COMPLETE", "left complete; right good"},
        {with("defect", true), "NOT GOOD: 1 wheel(s) with a defect", "left DEFECT; right good"},
        {with("defect", QJsonValue()), "NOT GOOD: 1 wheel(s) or", "left NOT SEARCHED for defects; right"},
        {with("radius", QJsonValue()), "NOT GOOD: 1 wheel(s) or", "left NOT MEASURED; right good"},
        {with("notes", QJsonArray{kHostile}), "1 wheel(s) or wheelset(s) with notes", "left NOT SURE"},
        {wheelOf("OUT", kHostile), "NOT GOOD: 1 wheel(s) or wheelset(s) out", "left OUT; right good"}};
    for (const auto& expected : cases) {
        const QJsonObject results = passOf(expected.left, good, 1);
        const QByteArray html = PassPage(kHostile).html(results);
        EXPECT_THAT(html.toStdString(),
                    testing::AllOf(HasSubstr(expected.verdict), HasSubstr(expected.word),
                                   Not(HasSubstr("<script>alert")), Not(HasSubstr("<img src=x"))));
        EXPECT_EQ(dataOf(html, "results"), results);
        // What is not good is open, whichever wheel it is.
        const QByteArray mirrored = PassPage(kHostile).html(passOf(good, expected.left, 1));
        EXPECT_THAT(mirrored, Says(expected.verdict));
        for (const QByteArray& page : {html, mirrored})
            EXPECT_EQ(page.contains("<details open"), !QByteArray(expected.verdict).startsWith('&'))
                << expected.verdict;
        EXPECT_THAT(html, Says(">1.00<")) << "m of travel";
        EXPECT_THAT(html.toStdString(),
                    testing::AllOf(HasSubstr("<td class=\"number\">28.250 \u00b1 0.054</td>"),
                                   HasSubstr("at least 26"), HasSubstr("no U: too few points")));
    }
    const QByteArray train = PassPage("").html(passOf(with("radius", QJsonValue()), good, 5));
    EXPECT_EQ(train.count("<details open"), 3) << "the first three";
    EXPECT_EQ(train.count("<details"), 5);
    EXPECT_THAT(train.toStdString(),
                testing::AllOf(HasSubstr("<td class=\"number\">2</td><td>left</td><td class=\"bad\">"),
                               HasSubstr("<td class=\"number\">2</td><td>right</td><td class=\"good\">")));
    EXPECT_THAT(PassPage("").html({}), Says("NOT GOOD: no wheelset was seen"));
    QJsonObject damaged = passOf(good, good, 1);
    damaged["recordings"] = QJsonArray{QJsonObject{{"damagedAt", 17}}};
    EXPECT_THAT(PassPage("").html(damaged), Says("NOT GOOD: 1 recording(s) damaged"));
}

// Limits that differ along the train have no line in the plot; groups without limits and notes without end.
TEST(PassPage, TellsGroupsNotesAndLimitsThatDiffer) {
    QJsonObject results = passOf(wheelOf("good", ""), wheelOf("good", ""), 3);
    QJsonArray wheelsets = results["wheelsets"].toArray(), notes;
    for (int i = 0; i < 3; ++i) {
        QJsonObject wheelset = wheelsets[i].toObject(), left = wheelset["left"].toObject();
        QJsonArray limits;
        const struct {
            const char *symbol, *quantity, *note, *reason;
            QJsonValue least, most;
        } all[] = {{"flangeAngle", "", "new", "", 60 + i, QJsonValue()},
                   {"treadSlope", "slope", "new", "worn", QJsonValue(), 0.1 * i},
                   {"Sd", "", "", "worn", 20, 33},
                   {"qR", "", "", "", QJsonValue(), QJsonValue()}};
        for (const auto& limit : all)
            limits.append(QJsonObject{{"symbol", limit.symbol},
                                      {"quantity", limit.quantity},
                                      {"value", 61},
                                      {"minimum", limit.least},
                                      {"maximum", limit.most},
                                      {"verdict", "good"},
                                      {"note", limit.note},
                                      {"reason", limit.reason}});
        left["limits"] = limits;
        wheelset["left"] = left;
        wheelset["travel"] = i == 1 ? QJsonValue() : QJsonValue(1000);
        wheelsets[i] = wheelset;
    }
    for (int i = 0; i < 300; ++i)
        notes.append(QString("note %1").arg(i));
    results["wheelsets"] = wheelsets;
    results["notes"] = notes;
    results["verdict"] = "good";
    results["bogies"] = QJsonArray{QJsonObject{
        {"bogie", 1}, {"firstWheelset", 1}, {"lastWheelset", 2}, {"cutShort", false}, {"verdict", "good"}}};
    const QByteArray html = PassPage("").html(results);
    for (const char* part : {"GOOD: 3 wheelset(s)", "<h1>Train pass</h1>", "at least 60", "20 .. 33",
                             "at most 0.1", "not known", ">worn; note: new<", ">note: new<", ">worn<",
                             "slope (treadSlope)", ">flangeAngle<", ">note 199<", ">1 to 2<"})
        EXPECT_TRUE(html.contains(part)) << part;
    EXPECT_FALSE(html.contains(">note 200<"));
    QMap<QString, QJsonObject> plots;
    for (const QJsonValue each : dataOf(html, "plots")["series"].toArray())
        plots[each.toObject()["name"].toString()] = each.toObject();
    EXPECT_EQ(plots["left, flangeAngle"]["unit"], "deg");
    EXPECT_TRUE(plots["left, flangeAngle"]["lower"].isNull()) << "60, 61, 62";
    EXPECT_TRUE(plots["left, slope (treadSlope)"]["upper"].isNull());
    EXPECT_EQ(plots["left, Sd"]["upper"], 33);
    results["bogies"] = QJsonArray{QJsonObject{{"bogie", 1}, {"verdict", ""}}};
    results["verdict"] = "NOT MEASURED";
    EXPECT_THAT(PassPage("").html(results).toStdString(),
                testing::AllOf(HasSubstr("1 bogie(s) not good"), HasSubstr(">no limits<")));
    results.remove("bogies");
    EXPECT_THAT(PassPage("").html(results), Says("NOT GOOD: NOT MEASURED"));
}

TEST(PassPage, HoldsTheWorstWheelsOfALongTrainBelow5MB) {
    PassPage page("long");
    WheelResult wheel;
    wheel.defect = 0;
    int drawn = 0;
    for (int i = 0; i < 1000; ++i) {
        wheel.defect = i == 900 ? 1 : 0;
        page.add(wheel, i == 950 ? "OUT" : "good", QString("wheel %1").arg(i), [&] {
            ++drawn;
            return QByteArray(60'000, ' ');
        });
    }
    EXPECT_EQ(drawn, PassPage::kMostPictures + 2);
    QJsonObject results = passOf(wheelOf("good", QString(400, '<')), wheelOf("good", ""), 2000);
    QJsonArray wheelsets = results["wheelsets"].toArray();
    QJsonObject bad = wheelsets[1900].toObject();
    bad["backToBack"] = QJsonValue();
    wheelsets[1900] = bad;
    results["wheelsets"] = wheelsets;
    const QByteArray html = page.html(results);
    EXPECT_LT(html.size(), 5'000'000);
    EXPECT_EQ(dataOf(html, "results")["wheelsetsLeftOut"].toInt(), 2000);
    EXPECT_LT(html.indexOf("<figcaption>wheel 900<"), html.indexOf("<figcaption>wheel 950<"));
    EXPECT_THAT(html, Says("Wheelset 1901: left good; right good; both NOT MEASURED"));
}

}  // namespace
