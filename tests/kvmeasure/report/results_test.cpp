// Results of "match" and "measure" read again, and the statistics made of them.

#include <kvmeasure/report/aqdef_file.h>
#include <kvmeasure/report/match_report.h>
#include <kvmeasure/report/match_results.h>
#include <kvmeasure/report/mqtt_publisher.h>
#include <kvmeasure/report/qif_file.h>
#include <tests/kvmeasure/calls.h>

#include <QtCore/QJsonDocument>

namespace {

MatchResults resultsOf(const QByteArray& bytes) {
    const ScratchDirectory scratch;
    QFile file(ScratchDirectory::write("r", bytes));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return readMatchResults(file, "r");
}

/// A plan with two tools, one of which has a tolerance, and the report of three profiles: 5.1, none, 4.9.
QString reportOf(MatchReport::Form form, bool givesStatistics, Decision decision = Decision::Simple) {
    InspectionPlan plan;
    plan.decision = decision;
    plan.regions.append(parseRegion("R = all"));
    addTools("top = max in R : 5 +- 0.2; box = box in R", plan);
    QString text;
    MatchReport report(form, plan, false, givesStatistics, [&text](const QString& more) { text += more; });
    report.setGivesStatistics(givesStatistics);
    int number = 0;
    for (const double height : {5.1, std::nan(""), 4.9}) {
        MatchedProfile profile;
        profile.name = QString("part_%1.csv").arg(number++);
        profile.z = NAN;
        profile.found = 1;
        Value value;
        value.name = "top";
        value.unit = "mm";
        value.value = height;
        value.isValid = !std::isnan(height);
        value.reason = value.isValid ? "" : "no point";
        value.hasTolerance = true;
        value.tolerance = plan.tolerances["top"];
        profile.best.values = {value};
        report.add(profile);
    }
    report.finish();
    return text;
}

TEST(MatchResults, AreThoseOfTheReport) {
    for (const MatchReport::Form form : {MatchReport::JsonValues, MatchReport::Csv}) {
        const MatchResults results = resultsOf(reportOf(form, false).toUtf8());
        EXPECT_EQ(results.profiles, 3);
        const ValueSeries& top = results.named("top");
        EXPECT_EQ(top.values, (std::vector<double>{5.1, 4.9}));
        EXPECT_EQ(top.missing, 1);
        EXPECT_EQ(top.unit, "mm");
        EXPECT_EQ(top.sources, (QStringList{"part_0.csv", "part_2.csv"}));
        EXPECT_EQ(top.limits.upper, form == MatchReport::Csv ? INFINITY : 5.2);
        EXPECT_THAT([&] { results.named("tip"); }, Refuses("did you mean \"top\""));
    }
    const MatchResults wheels = resultsOf("{\"sections\": [{\"file\": \"a\", \"Sh\": 28.5, \"Sd\": null}, "
                                          "{\"file\": \"b\", \"Sh\": 27.5, \"qR\": 7, \"notes\": []}]}");
    EXPECT_EQ(wheels.profiles, 2);
    EXPECT_EQ(wheels.series.size(), 2) << "Sd is nowhere a number";
    EXPECT_THAT(wheels.named("Sh").values, testing::ElementsAre(28.5, 27.5));
    EXPECT_EQ(wheels.named("qR").sources, QStringList{"b"});
    EXPECT_EQ(wheels.named("qR").missing, 1);
    const MatchResults best = resultsOf("profile,z_mm,assignment,d_mm,d_U_mm,a_deg,verdict,note\np,,best,1,0."
                                        "1,2,found,\np,,2,7,0.1,8,found,\n");
    EXPECT_EQ(best.named("d").values, std::vector<double>{1});
    EXPECT_EQ(best.named("a").unit, "deg");
    EXPECT_EQ(best.series.size(), 2);
    EXPECT_EQ(best.profiles, 1);
    const std::pair<const char*, const char*> refused[] = {
        {"{\"profiles\": 3}", "has no \"profiles\""},
        {"{\"profiles\": [", "is no JSON"},
        {"{}", "has no \"profiles\""},
        {"{\"profiles\": [{\"measurements\": [{}]}]}", "has no name"},
        {"{\"profiles\": [{\"measurements\": [{\"name\": \"a\", \"unit\": \"mm\"}, {\"name\": \"a\"}]}]}",
         "has unit"},
        {"{\"profiles\": [{\"measurements\": [{\"name\": \"a\", \"max\": 1}, {\"name\": \"a\", \"max\": "
         "2}]}]}",
         "another tolerance"},
        {"a,b\n1,2\n", "is no output of"},
        {"a,verdict\n1,2\n", "is no output of"},
        {"a,z_mm,verdict\n1,2,3\n", "is no output of"},
        {"profile,z,verdict\n1,2,3\n", "is no output of"},
        {"profile,z_mm,verdict\nx,y,z\n", ""}};
    for (const auto& [text, reason] : refused) {
        if (*reason != '\0') {
            EXPECT_THAT([bytes = text] { resultsOf(bytes); }, Refuses(reason)) << text;
        } else {
            EXPECT_TRUE(resultsOf(text).series.isEmpty());
        }
    }
}

// What a field has no room for is cut between letters; what a line cannot hold is a blank.
TEST(HandedFiles, HoldAnyTextAndLimitsOnOneSide) {
    const ScratchDirectory scratch;
    const QString face = QString::fromUtf8("\xf0\x9f\x98\x80");
    HandedRun run;
    run.plan = QString(79, 'p') + face;
    run.station = "a" + QString(QChar(0xd800)) + "b" + QChar(0xfffe) + face + QChar(0xd800);
    run.operatorName = "7";
    Value ratio;
    ratio.name = "ratio";
    ratio.unit = "mm";
    ratio.hasTolerance = true;
    ratio.tolerance = {0, 0.5, INFINITY, false};
    run.characteristics = {ratio};
    AqdefFile("a.dfq", run).commit();
    EXPECT_THAT(scratch.read("a.dfq").toStdString(),
                testing::AllOf(HasSubstr("K1002/1 " + std::string(79, 'p') + "\r\n"),
                               HasSubstr("K1206/1 a b \xf0\x9f\x98\x80\r\n"), HasSubstr("K2110/1 0.5\r\n"),
                               HasSubstr("K2121/1 0\r\n")));
    QifFile("a.qif", run).commit();
    EXPECT_THAT(scratch.read("a.qif").toStdString(),
                testing::AllOf(HasSubstr("MinValue"), testing::Not(HasSubstr("MaxValue")),
                               testing::Not(HasSubstr("SHA-256")), testing::Not(HasSubstr("<Results>"))));
}

TEST(MqttPlaces, AreReadFromTheirUrlAndRefusedWithoutATopic) {
    const MqttPlace place = parseMqttPlace("mqtts://me:a%20b@[::1]:99/line/1");
    EXPECT_TRUE(place.isSecure && place.port == 99 && place.user == "me" && place.password == "a b");
    EXPECT_EQ(place.text(), "mqtts://[::1]:99/line/1") << "without the password";
    EXPECT_EQ(parseMqttPlace("mqtt://host/a").text(), "mqtt://host/a");
    const Refused cases[] = {{"http://host/a", "needs mqtt"},
                             {"mqtt:///a", "needs mqtt"},
                             {"mqtt://host:0/a", "needs mqtt"},
                             {"mqtt://host/a?b", "needs mqtt"},
                             {"mqtt://h ost/a", "needs mqtt"},
                             {"mqtt://host/a#b", "name one"},
                             {"mqtt://host/a/%23", "name one"},
                             {"mqtt://host/+/a", "name one"},
                             {"mqtt://host", "names no topic"},
                             {"mqtt://host/a%07", "characters that no topic"},
                             {"mqtt://host/" + QByteArray(70'000, 'a'), "the topic is too long"}};
    for (const Refused& c : cases)
        EXPECT_THAT([&] { parseMqttPlace(c.text); }, Refuses(c.reason)) << c.text.left(30).toStdString();
}

TEST(MatchReport, GivesStatisticsOfEachValue) {
    const QJsonObject json =
        QJsonDocument::fromJson(reportOf(MatchReport::JsonValues, true).toUtf8()).object();
    const QJsonArray all = json["statistics"].toArray();
    ASSERT_EQ(all.size(), 7);  // top with its place, and the five of the box
    const QJsonObject top = all[0].toObject();
    EXPECT_EQ(top["name"].toString(), "top");
    EXPECT_EQ(top["count"].toInt(), 2);
    EXPECT_EQ(top["missing"].toInt(), 1);
    EXPECT_NEAR(top["standardDeviation"].toDouble(), std::sqrt(0.02), 1e-15);
    EXPECT_NEAR(top["pp"].toDouble(), 0.4 / 6 / std::sqrt(0.02), 1e-12);
    EXPECT_NEAR(top["cp"].toDouble(), 0.4 / 6 / (0.2 / 1.1283791670955126), 1e-9);
    EXPECT_EQ(top["limits"].toArray(), (QJsonArray{4.8, 5.2}));
    EXPECT_TRUE(top["normality"].isNull());
    EXPECT_FALSE(top["reasons"].toObject()["normality"].toString().isEmpty());
    const QJsonObject box = all[2].toObject();
    EXPECT_EQ(box["count"].toInt(), 0);
    EXPECT_TRUE(box["mean"].isNull());
    EXPECT_EQ(box["reasons"].toObject()["mean"].toString(), "there is no value");
    EXPECT_FALSE(json["profiles"].toArray().isEmpty());
    for (const MatchReport::Form form : {MatchReport::Text, MatchReport::Csv}) {
        const std::string text = reportOf(form, true).toStdString();
        EXPECT_THAT(text, HasSubstr("Ppk"));
        EXPECT_THAT(text, HasSubstr("0.471405"));
        EXPECT_THAT(reportOf(form, false).toStdString(), testing::Not(HasSubstr("Ppk")));
        const std::string sign = form == MatchReport::Csv ? "# " : "";
        EXPECT_THAT(reportOf(form, false, Decision::Guarded),
                    Says('\n' + sign + "3 profiles\n" + sign +
                         "decision: guarded acceptance, values are good at least U inside their limits\n"));
    }
    // The comments below CSV do not disturb its reader.
    EXPECT_EQ(resultsOf(reportOf(MatchReport::Csv, true).toUtf8()).profiles, 3);
}

TEST(MatchReport, TellsPartsInWhichColumnsTheirValuesStand) {
    InspectionPlan plan;
    plan.regions.append(parseRegion("R = all"));
    addTools("top = max in R : 5 +- 0.2; box = box in R", plan);
    for (const bool hasAll : {false, true}) {
        const PartHead head = MatchReport(MatchReport::Part, plan, hasAll, false, {}).partHead();
        const QStringList columns = QString::fromUtf8(head.columns).trimmed().split(',');
        EXPECT_EQ(columns.contains("assignment"), hasAll);
        ASSERT_EQ(head.values.size(), 7);
        for (const PartValue& value : head.values) {
            EXPECT_EQ(columns.value(value.column), value.name + '_' + value.unit);
            EXPECT_EQ(columns.value(value.column + 1), value.name + "_U_" + value.unit);
        }
        EXPECT_EQ(head.values[0].limits.upper, 5.2);
    }
}

TEST(SeriesReport, NamesTheOutlierWhereverItStands) {
    for (const int at : {0, 3, 8}) {
        ValueSeries series{"d", "mm", {}, {}, {}, 0, {}};
        for (int i = 0; i < 9; ++i) {
            series.values.push_back(i == at ? 9 : 1 + 0.01 * (i % 4));
            series.sources.append(QString("part_%1").arg(i));
        }
        SeriesReport report(series);
        EXPECT_THAT(report.text(), Says("9 in part_" + std::to_string(at) + '\n'));
        EXPECT_EQ(report.json()["outlier"].toObject()["file"].toString(), QString("part_%1").arg(at));
    }
}

TEST(SeriesReport, HasAReasonForEveryNull) {
    ValueSeries one{"d", "mm", {}, {}, {}, 3, {}};
    for (const std::vector<double>& values :
         {std::vector<double>{}, {1.0}, {2.0, 2.0, 2.0}, {1.0, 2.0, 1.5, 1.2}, {1.0, 1.0, 2.0, 2.0}}) {
        for (const Limits& limits : {Limits{}, Limits{0, 3}, Limits{0, INFINITY}}) {
            one.values = values;
            one.limits = limits;
            SeriesSettings settings;
            settings.reference = 1.4;
            SeriesReport report(one, settings);
            const QJsonObject json = report.json();
            for (auto it = json.begin(); it != json.end(); ++it) {
                if (it->isNull()) {
                    EXPECT_FALSE(json["reasons"].toObject()[it.key()].toString().isEmpty())
                        << it.key().toStdString();
                }
            }
            EXPECT_FALSE(report.text().contains("nan"));
            EXPECT_FALSE(seriesTable({one}).contains("nan"));
        }
    }
}

}  // namespace
