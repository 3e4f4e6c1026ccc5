// Pages on results: nothing in a name is executed, the data are those of the report, memory has an end.

#include <kvmeasure/base/text.h>
#include <kvmeasure/report/match_page.h>
#include <kvmeasure/report/scan_sketch.h>
#include <kvmeasure/statistics/capability.h>
#include <tests/kvmeasure/calls.h>
#include <tests/kvmeasure/report/pages.h>

#include <QtCore/QRegularExpression>

namespace {

using testing::Not;

MatchedProfile profileOf(const InspectionPlan& plan, const QString& name, double height) {
    MatchedProfile profile;
    profile.name = name;
    profile.z = NAN;
    profile.found = 1;
    Value value;
    value.name = "top";
    value.unit = "mm";
    value.value = height;
    value.isValid = !std::isnan(height);
    value.reason = value.isValid ? "" : "no point";
    value.u = 0.01;
    value.hasTolerance = true;
    value.tolerance = plan.tolerances["top"];
    profile.best.values = {value};
    return profile;
}

InspectionPlan planOf(const QString& name) {
    InspectionPlan plan;
    plan.name = name;
    plan.regions.append(parseRegion("R = all"));
    addTools("top = max in R : 5 +- 0.2", plan);
    return plan;
}

TEST(HtmlPage, ShowsWhatNamesHoldAndExecutesNothing) {
    HtmlPage page(kHostile);
    page.setVerdict(HtmlPage::Bad, kHostile);
    page.addFact(kHostile, kHostile);
    page.addFact("empty", "");
    page.addTable(kHostile, {kHostile, "b"}, {{kHostile}, {"1", "OUT", "left out"}}, {{1, NAN, 2}, {}});
    page.addTable("none", {}, {{"x"}});
    page.addPicture(kHostile, "<svg/>");
    page.addPicture("empty", "");
    page.addPlots("no places", {}, {}, {{"one", "", {}, 0, 1}});
    page.addPlots("no values", {1}, {}, {});
    page.addText(kHostile);
    page.addPlots(kHostile, {1, 2}, {kHostile, kHostile},
                  {{kHostile, kHostile, {1, NAN}, NAN, INFINITY}, {"short", "", {1}, 0, 1}});
    page.setResults({{kHostile, kHostile}, {"line", "\u2028"}});
    const QByteArray html = page.html();
    EXPECT_THAT(html.toStdString(), Not(HasSubstr("<script>alert")));
    EXPECT_THAT(html.toStdString(), Not(HasSubstr("<img src=x")));
    EXPECT_THAT(html.toStdString(), Not(HasSubstr(">empty<")));
    EXPECT_EQ(html.count("<script"), html.count("</script>"));
    EXPECT_EQ(html.count("<table>"), 1);
    EXPECT_EQ(html.count("<figure>"), 1);
    EXPECT_EQ(html.count("<tr><td"), 2);
    EXPECT_FALSE(html.contains("src=\"http") || html.contains("href=\"http")) << "nothing is fetched";
    EXPECT_EQ(dataOf(html, "results")[kHostile].toString(), kHostile);
    const QJsonObject plots = dataOf(html, "plots");
    ASSERT_EQ(plots["series"].toArray().size(), 1) << "a series of another length is left out";
    EXPECT_EQ(plots["series"].toArray()[0].toObject()["values"].toArray(), (QJsonArray{1, QJsonValue()}));
    EXPECT_TRUE(plots["series"].toArray()[0].toObject()["upper"].isNull());
    EXPECT_THAT(HtmlPage("").html(), Says("<h1>Results</h1>"));
}

TEST(CloudSample, KeepsABoundedPartFromAllOverTheScan) {
    constexpr int kPoints = 1'000'000;
    CloudSample sample;
    for (int i = 0; i < kPoints; ++i)
        sample.add(float(i % 320), 1, float(i) / 320);
    sample.add(NAN, 1, 1);
    sample.add(1, INFINITY, 1);
    sample.add(1, 1, NAN);
    EXPECT_EQ(sample.total(), kPoints);
    ASSERT_GE(sample.points().size(), std::size_t(CloudSample::kMost / 2));
    ASSERT_LE(sample.points().size(), std::size_t(CloudSample::kMost));
    std::array<double, 10> shares{};
    for (const CloudSample::Point& point : sample.points())
        shares[std::size_t(point.number * 10 / kPoints)] += 10 / double(sample.points().size());
    for (const double share : shares)
        EXPECT_NEAR(share, 1, 0.08) << "five deviations of a tenth of the points";
    HtmlPage page("");
    EXPECT_FALSE(page.addCloud("empty", CloudSample()));
}

// Places are those along the scan where these ascend, else numbers of profiles.
TEST(MatchPage, SaysWhatIsMissingAndAlongWhatItPlots) {
    InspectionPlan plan = planOf("few");
    plan.lines = KvMath::TSTemplate(1);
    const struct {
        std::vector<double> z;
        const char* along;
        QJsonArray places;
    } cases[] = {{{1, 2.5, 4, 5}, "z, mm", {1, 2.5, 4, 5}},
                 {{1, 1, 2, 3}, "profile", {1, 2, 3, 4}},
                 {{NAN, 1, 2, 3}, "profile", {1, 2, 3, 4}},
                 {{1, 2}, "z, mm", {1, 2}}};
    for (const auto& each : cases) {
        MatchPage page(plan, MatchReport::JsonValues);
        for (const double z : each.z) {
            MatchedProfile profile = profileOf(plan, "p", z == each.z.front() ? 5 : 6);
            profile.z = z;
            profile.found = z == each.z.back() ? 0 : 1;
            profile.best.values[0].u = 0.01 * z;
            profile.best.values[0].isValid = profile.found > 0;
            page.add(profile, [] { return QByteArray("<svg/>"); });
        }
        const QByteArray html = page.html();
        EXPECT_EQ(dataOf(html, "plots")["along"].toString(), each.along);
        EXPECT_EQ(dataOf(html, "plots")["places"].toArray(), each.places);
        const bool isFirst = &each == cases;
        EXPECT_TRUE(html.contains("; the template is not in 1<"));
        EXPECT_EQ(html.contains("1 more pictures of profiles that are not good"), std::isnan(each.z[0]));
        EXPECT_FALSE(html.contains(">0 more pictures"));
        EXPECT_EQ(html.contains("<td class=\"number\">0.0800</td>"), isFirst) << "the greatest U";
    }
    MatchPage one(plan, MatchReport::JsonValues);
    one.add(profileOf(plan, "p", 5), [] { return QByteArray("<svg/>"); });
    const QByteArray html = one.html();
    EXPECT_EQ(html.count("<figure>"), 1) << "the picture of a good profile";
    EXPECT_FALSE(html.contains("id=\"plots\"") || html.contains("that are not good"));
}

// Of more profiles than the table has rows, and of a first one without values.
TEST(MatchPage, ShowsProfilesThatAreNotGoodFirst) {
    const InspectionPlan plan = planOf("many");
    MatchPage page(plan, MatchReport::JsonValues);
    MatchedProfile missing;
    missing.name = "without";
    missing.reason = "a reason";
    page.add(missing, {});
    for (int i = 1; i < 700; ++i)
        page.add(profileOf(plan, QString("part %1").arg(i), i == 600 ? 6 : i == 650 ? NAN : 5), {});
    const QByteArray html = page.html();
    const auto table = html.mid(html.indexOf("500 of 700 profiles, those that are not good first"));
    EXPECT_THAT(table, Says("<th scope=\"col\" class=\"number\">top, mm</th>"));
    EXPECT_THAT(table, Says("<td>a reason</td><td class=\"number\">-</td>"));
    EXPECT_LT(table.indexOf("<td>without<"), table.indexOf("<td>part 600<"));
    EXPECT_LT(table.indexOf("<td>part 600<"), table.indexOf("<td>part 650<"));
    EXPECT_LT(table.indexOf("<td>part 650<"), table.indexOf("<td>part 1<"));
    EXPECT_THAT(table, Says("<td class=\"bad\">NOT MEASURED: top</td><td>no point</td>"));
    EXPECT_EQ(table.count("<tr><td"), 500);
}

TEST(ScanSketch, ShowsAScanInLittle) {
    KvMath::KvProfile profile;
    for (int i = 0; i < 3000; ++i)
        profile.points.append(KvMath::KvPointXY(0.01F * float(i), i == 5 ? NAN : 1));
    const auto shown = [&profile](int lines, double step) {
        ScanSketch sketch;
        for (int i = 0; i < lines; ++i)
            sketch.add(i == 1 ? NAN : step * i, profile);
        HtmlPage page("");
        sketch.addTo(page, kHostile);
        return page.html();
    };
    EXPECT_THAT(shown(1001, 1), Says("250 of 1000 profiles, evenly taken"));
    EXPECT_EQ(shown(1001, 1).count("<script>alert"), 0);
    EXPECT_EQ(shown(3, 1).count("<h2>Scan"), 0) << "two positions";
    EXPECT_EQ(shown(4, 0).count("<h2>Scan"), 0) << "one position";
    EXPECT_EQ(shown(4, 1).count("<figure>"), 1);
    const QByteArray html = shown(4, 1), start = "base64,";
    const auto from = html.indexOf(start) + start.size();
    EXPECT_TRUE(
        QByteArray::fromBase64(html.mid(from, html.indexOf('"', from) - from)).contains(">20</text>"));
}

TEST(HtmlPage, LeavesOutPlotsThatWouldTakeTooMuchRoom) {
    constexpr std::size_t kPlaces = 50'000;
    const std::vector<double> places(kPlaces, 1), values(kPlaces, 0.1234567);
    HtmlPage page("");
    page.addPlots("x", places, {},
                  {{"a", "", values}, {"b", "", values}, {"c", "", values}, {"d", "", values}});
    page.addPlots("x", {1}, {}, {{"second", "", {1}}});
    const QByteArray html = page.html();
    EXPECT_EQ(dataOf(html, "plots")["series"].toArray().size(), 2);
    EXPECT_THAT(html, Says("2 more values have no plot"));
}

TEST(MatchPage, HoldsTheReportAndTheWorstProfiles) {
    const InspectionPlan plan = planOf(kHostile);
    MatchPage page(plan, MatchReport::JsonValues);
    QString json;
    MatchReport report(MatchReport::JsonValues, plan, false, false,
                       [&](const QString& more) { json += more; });
    int drawn = 0;
    for (int i = 0; i < 40; ++i) {
        const double height = i == 30 ? NAN : i == 20 ? 5.5 : 5 + 0.001 * i;
        const MatchedProfile profile = profileOf(plan, QString("part %1").arg(i), height);
        report.add(profile);
        page.add(profile, [&] {
            ++drawn;
            return QByteArray("<svg/>");
        });
    }
    report.finish();
    const QByteArray html = page.html();
    EXPECT_EQ(dataOf(html, "results"), QJsonDocument::fromJson(json.toUtf8()).object());
    EXPECT_EQ(html.count("<figure>"), MatchPage::kMostPictures);
    EXPECT_LT(html.indexOf("part 30: NOT"), html.indexOf("part 20: OUT"));
    EXPECT_LT(html.indexOf("part 20: OUT"), html.indexOf("part 39: good"));
    EXPECT_FALSE(html.contains("part 5: good</fig"));
    EXPECT_THAT(html, Says("NOT GOOD: 2 of 40 profiles"));
    EXPECT_THAT(html, Says("<td class=\"number\">0.0200</td>")) << "U at most";
    EXPECT_EQ(dataOf(html, "plots")["places"].toArray().size(), 40);
}

// From 21 profiles on: places of findings count the profiles without a value, too.
TEST(MatchPage, ChartsTheValuesOfABatch) {
    const InspectionPlan plan = planOf("batch");
    for (const int count : {20, 21}) {
        MatchPage page(plan, MatchReport::JsonValues);
        std::vector<double> values;
        for (int i = 0; i < count; ++i) {
            const double height = i == 3 ? NAN : i == 15 ? 5.15 : 5 + 0.001 * (i % 3);
            page.add(profileOf(plan, kHostile, height), {});
            if (i != 3)
                values.push_back(height);
        }
        const QByteArray html = page.html();
        const QJsonObject series = dataOf(html, "plots")["series"].toArray()[0].toObject();
        EXPECT_EQ(html.contains("<h2>Control charts"), count == 21);
        EXPECT_EQ(series["centre"].isNull(), count == 20);
        EXPECT_THAT(html.toStdString(), Not(HasSubstr("<script>alert")));
        if (count == 20)
            continue;
        EXPECT_EQ(series["findings"].toArray().last().toArray(), (QJsonArray{15, "beyond 3 deviations"}));
        EXPECT_EQ(html.contains("; and "), series["findings"].toArray().size() > 5);
        EXPECT_THAT(html, Says("img src=x onerror=&quot;a()&quot;&gt;'\n\u4e2d: beyond 3 dev"));
        const Capability expected = capability(values, {4.8, 5.2});
        for (const double figure : {expected.cpk, expected.ppk.value})
            EXPECT_THAT(html, Says(">" + QString::number(figure).toStdString()));
    }
}

// Values of every kind: with limits on both sides, on one, on none, out, missing; one profile and two.
TEST(MatchPage, TellsOfEachValueWhatThereIs) {
    InspectionPlan plan = planOf("");
    plan.decision = Decision::Guarded;
    plan.tolerances["gap"].hasNominal = false;
    plan.tolerances["gap"].upper = 3;
    plan.tolerances["gap"].lower = -INFINITY;
    MatchedProfile first = profileOf(plan, "only", 5.5), second = profileOf(plan, "second", 5);
    const auto add = [&](const char* name, double value, const char* unit, const char* reason) {
        for (MatchedProfile* profile : {&first, &second}) {
            Value more;
            more.name = name;
            more.unit = unit;
            more.value = value;
            more.isValid = !std::isnan(value);
            more.reason = reason;
            more.hasTolerance = plan.tolerances.contains(name);
            more.tolerance = plan.tolerances.value(name);
            profile->best.values.append(more);
        }
    };
    add("gap", 2, "mm", "");
    add("far", NAN, "mm", "no point");
    add("share", 0.25, "", "");
    add("none", NAN, "", "no point");
    for (int count = 1; count <= 2; ++count) {
        MatchPage page(plan, MatchReport::JsonValues);
        first.z = 3;
        second.z = 4;
        const auto draw = [] { return QByteArray("<svg/>"); };
        page.add(first, draw);
        if (count == 2)
            page.add(second, draw);
        const QByteArray html = page.html();
        const std::string text = html.toStdString();
        EXPECT_THAT(text, HasSubstr("<h1>Measurement</h1>"));
        EXPECT_THAT(text, HasSubstr("at least U within the limits"));
        EXPECT_THAT(text, HasSubstr(count == 1 ? "NOT GOOD: 1 of 1 profiles" : "NOT GOOD: 2 of 2 profiles"));
        EXPECT_EQ(html.count("<figure>"), count);
        for (const char* cell : {"at most 3", "4.8 to 5.2", "no limits", ">share<", "no point"})
            EXPECT_TRUE(html.contains(cell) || count == 2) << cell;
        if (count == 1)
            EXPECT_THAT(
                text, testing::AllOf(HasSubstr(">OUT<"), HasSubstr(">0.5000<"), HasSubstr(">NOT MEASURED<")));
        else
            EXPECT_THAT(text, testing::AllOf(HasSubstr(">OUT: 1<"), HasSubstr("NOT MEASURED: far, none"),
                                             HasSubstr("\"z, mm\"")));
    }
}

TEST(MatchPage, LeavesOutTheDataOfTooManyProfiles) {
    const InspectionPlan plan = planOf("many");
    MatchPage page(plan, MatchReport::JsonValues);
    for (int i = 0; i < 10000; ++i)
        page.add(profileOf(plan, QString("profile of a rather long name %1").arg(i), 5), {});
    const QByteArray html = page.html();
    EXPECT_LT(html.size(), 5'000'000);
    EXPECT_EQ(dataOf(html, "results")["profilesLeftOut"].toInt(), 10000);
    EXPECT_EQ(dataOf(html, "results")["profileCount"].toInt(), 10000);
    EXPECT_THAT(html, Says("GOOD: 10000 of 10000 profiles"));
    MatchPage empty(plan, MatchReport::Json);
    EXPECT_THAT(empty.html(), Says("NOT GOOD: no profile was measured"));
}

}  // namespace
