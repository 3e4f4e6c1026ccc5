// Tables, curves, clouds, spans and JSON of values, with what is missing in them.

#include <kvmeasure/inspection/expression.h>
#include <kvmeasure/report/calibration_facts.h>
#include <kvmeasure/report/error_map_report.h>
#include <kvmeasure/report/html_page.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/match_report.h>
#include <kvmeasure/report/table.h>
#include <tests/kvmeasure/calls.h>

#include <QtCore/QJsonDocument>

#include <cstring>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(Tables, AlignNumbersRightAndKeepTheirColumnsAcrossPieces) {
    Table table({"name", "mm"});
    table.add({"a\nb", "1.5"});
    table.add({"c", "-"});
    table.add({"d"});
    EXPECT_EQ(table.takeText(), "name       mm\n"
                                "a\\u000ab  1.5\n"
                                "c           -\n"
                                "d\n");
    EXPECT_EQ(table.size(), 0);
    table.add({"long enough", "-10.25"});
    EXPECT_EQ(table.takeText(), "long enough  -10.25\n");
    table.add({"e", "2"});
    EXPECT_EQ(table.text(), "e                 2\n") << "as wide as the piece before";
    Table text({"what"});
    text.add({"1"});
    text.add({"x"});
    EXPECT_EQ(text.text(), "what\n1\nx\n");
}

// A curve has at most 60 points, from left to right and from the bottom to the top of its place. Stray points
// take no colours of a cloud.
TEST(HtmlPage, DrawsCurvesAndCloudsToScale) {
    const auto curveOf = [](const std::vector<double>& values) {
        HtmlPage page("");
        page.addTable("", {"a"}, {{"1"}}, {values});
        const QByteArray html = page.html(), start = "<path d=\"";
        const auto from = html.indexOf(start) + start.size();
        return html.contains(start) ? html.mid(from, html.indexOf('"', from) - from) : QByteArray("none");
    };
    EXPECT_EQ(curveOf({1, kNaN, 2, 4}), "M2.0 20.0L45.0 14.0L88.0 2.0");
    EXPECT_EQ(curveOf({3, 3}), "M2.0 20.0L88.0 20.0");
    EXPECT_EQ(curveOf({3, kNaN}), "none");
    for (const auto& [count, drawn] : {std::pair(60U, 60), {61U, 31}, {600U, 60}, {601U, 55}})
        EXPECT_EQ(curveOf(std::vector<double>(count, 1)).count(' '), drawn) << count;

    CloudSample sample;
    for (int i = 0; i < 1000; ++i)
        sample.add(float(i % 5), i < 5 ? 100 : i < 10 ? -60 : float(i % 21), float(i) / 100);
    HtmlPage page("");
    if (!page.addCloud("part", sample))
        GTEST_SKIP() << "no library for clouds is installed";
    const QByteArray html = page.html(), start = "<script type=\"application/json\">";
    const auto from = html.indexOf(start) + start.size();
    const QJsonObject data =
        QJsonDocument::fromJson(html.mid(from, html.indexOf("</script>", from) - from)).object();
    EXPECT_NEAR(data["size"].toArray()[0].toDouble(), 4, 1e-6);
    EXPECT_NEAR(data["size"].toArray()[1].toDouble(), 160, 1e-6);
    EXPECT_NEAR(data["size"].toArray()[2].toDouble(), 9.99, 1e-6);
    EXPECT_NEAR(data["colourFrom"].toDouble(), 60.0 / 160, 1e-6) << "five of 1000 lie below";
    EXPECT_NEAR(data["colourTo"].toDouble(), 80.0 / 160, 1e-6) << "and five above";
    EXPECT_EQ(data["colours"].toArray().size(), 64);
    EXPECT_NE(data["colours"].toArray().first(), data["colours"].toArray().last());
    const QByteArray bytes = QByteArray::fromBase64(data["points"].toString().toLatin1());
    ASSERT_EQ(bytes.size(), 6 * 1000);
    const auto part = [&bytes](int i) {
        return (static_cast<unsigned char>(bytes[2 * i]) +
                256 * static_cast<unsigned char>(bytes[2 * i + 1])) /
               65535.0;
    };
    EXPECT_NEAR(part(3 * 999), 1, 1e-5);
    EXPECT_NEAR(part(3 * 999 + 1), (60 + 999 % 21) / 160.0, 1e-5);
    EXPECT_NEAR(part(3 * 500 + 2), 500.0 / 999, 1e-5);
    EXPECT_THAT(html,
                Says("part: 1000 points; x 0.0000 to 4.0000 mm, scan 0.0000 to 9.9900 mm, height -60.0000 "
                     "to 100.0000 mm; colours from dark, 0.0000 mm, to bright, 20.0000 mm"));
    for (int i = 1; i <= HtmlPage::kMostClouds; ++i)
        EXPECT_EQ(page.addCloud("more", sample), i < HtmlPage::kMostClouds);
}

TEST(Spans, OfNothingAreEmpty) {
    Span span;
    EXPECT_EQ(span.text(), "-");
    EXPECT_TRUE(span.json().isNull());
    span.add(kNaN);
    EXPECT_TRUE(span.isEmpty());
    span.add(2);
    span.add(kNaN);
    span.add(-1);
    EXPECT_EQ(span.text(), "-1.0000 .. 2.0000");
    EXPECT_EQ(span.json(), QJsonValue(QJsonArray{-1, 2}));
    span.add(kInfinity);
    EXPECT_EQ(span.json(), QJsonValue(QJsonArray{-1, QJsonValue()})) << "JSON has no infinity";
}

/// Cells and positions at the edges of the sensor count, those beyond it do not.
TEST(CalibrationReports, ReachFromEdgeToEdge) {
    RawRecord record;
    record.positions.assign(std::size_t(KvMath::kSensorColumns) * KvMath::kCalibrationSteps, 0);
    record.parameters.assign(KvMath::kCalibrationSteps, 5);
    record.positions[3] = 32;
    record.positions[record.positions.size() - 1] = KvMath::kSensorPositions - 1;
    record.positions[1000] = KvMath::kSensorPositions;
    const QJsonObject raw = factsOf(record).json;
    EXPECT_EQ(raw["found"], 2);
    EXPECT_EQ(raw["beyond"], 1);
    EXPECT_EQ(raw["columns"].toArray(), (QJsonArray{0, 647}));
    EXPECT_EQ(raw["steps"].toArray(), (QJsonArray{3, 999}));
    EXPECT_EQ(raw["rows"].toArray(), (QJsonArray{1, 15615 / 32.0}));
    EXPECT_TRUE(raw["z"].isNull());

    PixelTable table(CalibrationForm::CompactTable);
    table.cells(Half::Z)[0] = 16384;
    table.cells(Half::Z)[PixelTable::kColumns] = 8192;  // the first column of the second row
    table.cells(Half::Z)[KvMath::kSensorRows * PixelTable::kColumns - 1] = 4096;
    const QJsonObject facts = factsOf(table, 100, 50, false).json;
    EXPECT_EQ(raw["form"], "raw record");
    EXPECT_EQ(facts["form"], "compact table");
    EXPECT_EQ(formName(CalibrationForm::FullTable), "full table");
    EXPECT_EQ(facts["filledZ"], 3);
    EXPECT_EQ(facts["columnsZ"].toArray(), (QJsonArray{0, 647}));
    EXPECT_EQ(facts["rowsZ"].toArray(), (QJsonArray{0, 487}));
    EXPECT_EQ(facts["valuesZ"].toArray(), (QJsonArray{25, 100}));
    EXPECT_TRUE(facts["columnsX"].isNull());

    ErrorMap map;
    for (int i = 0; i < 8; ++i)
        map.regions[std::size_t(i)] = {i + 1, 0.001 * i, 0.25, 0.5, -1, 7, 8.5};
    const QList<QStringList> rows = errorMapRows(map);
    ASSERT_EQ(rows.size(), 10);
    EXPECT_EQ(rows[0].join(' '), "all 0 - - - - - -");
    EXPECT_EQ(rows[8].join(' '), "lower middle 8 7.00 250.00 500.00 -1000.00 7 8.5");
    EXPECT_EQ(rows[9].join(' '), "lower right 0 - - - - - -");
}

TEST(JsonOfValues, HasNullForWhatIsMissing) {
    Value missing;
    missing.name = "depth";
    missing.unit = "mm";
    missing.value = 7;
    missing.hasTolerance = true;
    missing.tolerance = {6, -0.1, 0.2, true};
    Value limited = missing;
    limited.isValid = true;
    limited.tolerance = {0, -kInfinity, 6.5, /*hasNominal=*/false};
    const QJsonArray values = jsonValues({missing, limited});
    const QJsonObject first = values[0].toObject(), second = values[1].toObject();
    for (const char* key : {"value", "deviation"})
        EXPECT_TRUE(first.contains(key) && first[key].isNull()) << key;
    EXPECT_EQ(first["valid"], false);
    EXPECT_EQ(first["withinTolerance"], false) << "what is not measured is not good";
    EXPECT_EQ(first["nominal"], 6);
    EXPECT_EQ(second["value"], 7);
    EXPECT_EQ(second["max"], 6.5);
    EXPECT_EQ(second["withinTolerance"], false);
    for (const char* key : {"min", "nominal", "lower", "upper", "deviation"})
        EXPECT_TRUE(second.contains(key) && second[key].isNull()) << key;
    for (const char* key : {"note", "warning", "freeEdges"})
        EXPECT_FALSE(second.contains(key)) << key;
    EXPECT_EQ(second["reason"], "");
    EXPECT_FALSE(QJsonDocument(jsonSegments({{{kNaN, 0}, {1, 1}}})).toJson().contains("nan"));
}

/// Two lines, (0, 0) to (10, 0) and one of no length at (10, 5).
TEST(Reports, SayInEveryFormWhyAValueIsMissing) {
    const Segments segments{KvMath::LinePP({0, 0}, {10, 0}), KvMath::LinePP({10, 5}, {10, 5})};
    constexpr int all[] = {0, 2};
    constexpr int first[] = {0, -1};
    const struct {
        const char* statement;
        const int* codes;
        const char* reason;
    } cases[] = {{"intersection 0 0", all, "its lines do not meet"},
                 {"point 0 1e308", all, "the point is too far away for a number"},
                 {"between 0.start 0.end 1e308", all, "the point is too far away for a number"},
                 {"shift 0 1 90 ref 1", all, "a line that it reads has no length"},
                 {"length 1", first, "a line that it reads was not found"},
                 {"distance 0 1", first, "one of the two values that it is the mean of is missing"},
                 {"far 1 0", nullptr, "no segment was found"}};
    for (const auto& [statement, codes, reason] : cases) {
        InspectionPlan plan;
        plan.lineNames = QStringList{"0", "1"};
        addMeasurements(statement, plan);
        MatchedProfile profile;
        const KvMath::TSLinesIndecies indices(codes, 2);
        profile.found = 1;
        profile.best = evaluate(codes != nullptr ? segments : Segments(), indices, plan);
        profile.assignments.append({"best", indices, profile.best});
        EXPECT_EQ(profile.best.values[0].reason, reason) << statement;
        for (const auto form : {MatchReport::Text, MatchReport::Csv, MatchReport::Json}) {
            for (const int profiles : {1, 2}) {
                QString text;
                MatchReport report(form, plan, false, false, [&](const QString& more) { text += more; });
                for (int i = 0; i < profiles; ++i)
                    report.add(profile);
                report.finish();
                EXPECT_GE(text.count(reason), profiles) << statement << form << text.toStdString();
            }
        }
    }
}

/// A row says each sentence once, with the values that it concerns.
TEST(Reports, GatherWhatIsSaidOfTheValuesOfAProfile) {
    InspectionPlan plan;
    plan.lineNames = QStringList{"0"};
    addMeasurements("a = length 0; b = inclination 0", plan);
    MatchedProfile profile;
    profile.found = 1;
    for (const char* name : {"a", "b"}) {
        Value value;
        value.name = name;
        value.isValid = true;
        value.aboutU = "no uncertainty: why";
        value.warning = *name == 'a' ? "cut short; no uncertainty: why" : "no uncertainty: why";
        profile.best.values.append(value);
    }
    QString text;
    MatchReport report(MatchReport::Csv, plan, false, false, [&](const QString& more) { text += more; });
    report.add(profile);
    report.finish();
    EXPECT_THAT(text, Says(",a: cut short; all values: no uncertainty: why\n"));
}

/// Of numbers of every size and names with every kind of sign: parsed and written by Qt again, the text is
/// the same.
TEST(Reports, WriteJsonAsQtDoes) {
    std::mt19937_64 random(3);
    const auto anyNumber = [&random] {
        double value = 0;
        do {
            const quint64 bits = random();
            std::memcpy(&value, &bits, sizeof(value));
        } while (!std::isfinite(value));
        return value;
    };
    const double known[] = {
        0,   -0.0,     1e-4,   9.999999999999999e-05, 5e-4, 1e15, -1e15, 999999999999999.9, 1e22,
        0.1, -1.0 / 3, 5e-324, 1.7976931348623157e308};
    const QStringList names =
        QString(u8"depth||Höhe \u20ac|a\"b\\c|tab\there|end\n|\x7f|</script>|\U0001F600|").split('|') +
        QStringList{QString(QChar(0xd800))};
    InspectionPlan plan;
    plan.lineNames = QStringList{"a \"wall\"", QString::fromUtf8("é")};
    constexpr int both[] = {0, 2};
    const KvMath::TSLinesIndecies indices(both, 2);
    for (int i = 0; i < 300; ++i) {
        const auto number = [&] {
            return i < 13       ? known[i]
                   : i % 2 == 0 ? anyNumber()
                                : std::ldexp(anyNumber() > 0 ? 1.0 : -0.3, i % 60) / 1000;
        };
        MatchedProfile profile;
        profile.name = names[i % names.size()];
        profile.z = number();
        profile.found = i % 3;
        profile.reason = names[(i + 1) % names.size()];
        profile.segments = {KvMath::LinePP({number(), number()}, {number(), 1}),
                            KvMath::LinePP({0, number()}, {2, 3})};
        Value value;
        value.name = names[(i + 2) % names.size()];
        value.isValid = i % 5 != 0;
        value.value = number();
        value.u = number();
        value.propagatedU = number();
        value.statedU = number();
        value.freeEdges = number();
        value.note = value.warning = names[(i + 3) % names.size()];
        value.hasTolerance = i % 4 != 0;
        value.decision = i % 7 == 0 ? Decision::Guarded : Decision::Simple;
        value.tolerance = {number(), -1, 1, i % 2 == 0};
        profile.best.values = {value, Value()};
        profile.assignments.append({"best", indices, profile.best});
        for (const auto form : {MatchReport::Json, MatchReport::JsonValues}) {
            for (const bool writesLines : {false, true}) {
                MatchReport report(form, plan, false, false, [](const QString&) {});
                report.setWritesLines(writesLines);
                const QByteArray text = report.json(profile);
                const QJsonDocument read = QJsonDocument::fromJson(text);
                ASSERT_TRUE(read.isObject()) << text.toStdString();
                EXPECT_EQ(
                    text,
                    read.toJson(writesLines ? QJsonDocument::Compact : QJsonDocument::Indented).trimmed());
                EXPECT_EQ(read["z"].toDouble(), profile.z);
                const QJsonObject holder =
                    form == MatchReport::Json ? read["assignments"].toArray()[0].toObject() : read.object();
                const QByteArray values = QJsonDocument(jsonValues(profile.best.values)).toJson();
                EXPECT_EQ(QJsonDocument(holder["measurements"].toArray()).toJson(), values);
            }
        }
    }
}

}  // namespace
