#include <kvmath/tsearch/template_document.h>

#include <kvmath/tsearch/constraints.h>
#include <kvmath/tsearch/measurement_list.h>
#include <kvmath/tsearch/measurements.h>
#include <kvmath/tsearch/template.h>

#include <tests/support/prelude.h>

namespace {

struct Document {
    TSTemplate templ{2};
    TSMeasurementList measurements;
    QString fileVersion = "old", userVersion = "old", name = "old";

    Document() {
        templ.addConstraint(new TSCLength(1, 2.5, -1e100));
        measurements.addMeasurement(new TSUMLength(1, "width"));
    }
    bool load(const QVariant& doc) {
        return loadTemplate(doc, templ, measurements, fileVersion, userVersion, name);
    }
};

QVariantMap saved() {
    const Document source;
    QVariant doc;
    EXPECT_TRUE(saveTemplate(doc, source.templ, source.measurements, "2.1", "7", "groove"));
    return doc.toMap();
}

TEST(TemplateDocument, ComesBackWholeAndMissingTextsAreEmpty) {
    QVariantMap doc = saved();
    Document d;
    EXPECT_TRUE(d.load(doc));
    QVariant again;
    EXPECT_TRUE(saveTemplate(again, d.templ, d.measurements, d.fileVersion, d.userVersion, d.name));
    EXPECT_EQ(again.toMap(), doc);
    EXPECT_EQ(doc.take("fileVersion"), "2.1");
    EXPECT_EQ(doc.take("userVersion"), "7");
    EXPECT_EQ(doc.take("name"), "groove");
    EXPECT_EQ(doc.keys(), (QStringList{"measurements", "template"}));
    EXPECT_TRUE(d.load(doc) && d.fileVersion.isEmpty() && d.userVersion.isEmpty() && d.name.isEmpty());
}

TEST(TemplateDocument, BothPartsAreRequiredAndBothAreTriedUnlessItIsNoMap) {
    Document d;
    const auto sizes = [&d] {
        return std::pair<int, int>(d.templ.getAllConstraints().size(),
                                   d.measurements.getAllMeasurements().size());
    };
    for (const QVariant& bad : {QVariant(), QVariant("text"), QVariant(QVariantList{saved()})}) {
        EXPECT_FALSE(d.load(bad));
        EXPECT_TRUE(d.name == "old" && sizes() == std::pair(1, 1));
    }
    for (const QVariant& bad : {QVariant(), QVariant(7), QVariant("text")}) {
        QVariantMap doc = saved();
        doc["template"] = bad;
        EXPECT_FALSE(d.load(doc));
        EXPECT_EQ(sizes(), std::pair(0, 1));
        doc = saved();
        doc["measurements"] = bad;
        EXPECT_FALSE(d.load(doc));
        EXPECT_EQ(sizes(), std::pair(1, 0));
    }
}

// What QJsonDocument makes of a bound of 3.0, in Qt 5 and 6, is the integer 3.
TEST(TemplateDocument, FromJsonKeepsWholeBounds) {
    const auto json = [](const QByteArray& lower, const QByteArray& upper) {
        return QByteArray(R"({"name": "slot", "search": {"contourGap": 2}, "template": {"numOfLines": 2,)"
                          R"("constraints": [{"constraintType": "Length", "lineIndex": 1, "lowerBound": )") +
               lower + ", \"upperBound\": " + upper +
               R"(}]}, "measurements": [{"measurementType": "Length", "measureLineIndex": 1}]})";
    };
    for (const auto& [lower, upper] : {std::pair("2", "3"), {"2.0", "3.0"}, {"2e0", "30e-1"}}) {
        Document d;
        QVariant doc;
        ASSERT_TRUE(loadTemplateFromJson(json(lower, upper), d.templ, d.measurements, d.fileVersion,
                                         d.userVersion, d.name));
        double low = 0, high = 0;
        int line = 0;
        ASSERT_EQ(d.templ.getAllConstraints().size(), 1);
        static_cast<TSCLength*>(d.templ.getAllConstraints()[0])->getContraint(line, low, high);
        EXPECT_TRUE(line == 1 && low == 2 && high == 3 && d.name == "slot") << lower;
        EXPECT_EQ(d.measurements.getAllMeasurements().size(), 1);
        ASSERT_TRUE(templateDocumentFromJson(json(lower, upper), doc));
        EXPECT_EQ(doc.toMap()["search"].toMap()["contourGap"], QVariant(2.0)) << "the host's keys too";
    }
    QVariant doc("old");
    EXPECT_TRUE(templateDocumentFromJson(json("\"undefined\"", "3"), doc));
    const QByteArray deep = json("2", QByteArray(3000, '[') + QByteArray(3000, ']'));
    for (const QByteArray& bad :
         {QByteArray(), QByteArray("[1]"), QByteArray("7"), deep, json("2", "3").chopped(1),
          json("null", "3"), json("2", "\"3\""), json("2", "true"), json("[2]", "3")}) {
        Document d;
        doc = "old";
        EXPECT_FALSE(templateDocumentFromJson(bad, doc)) << bad.left(200).toStdString();
        EXPECT_FALSE(
            loadTemplateFromJson(bad, d.templ, d.measurements, d.fileVersion, d.userVersion, d.name));
        EXPECT_TRUE(doc == "old" && d.name == "old" && d.templ.getAllConstraints().size() == 1);
    }
    Document d;
    EXPECT_FALSE(loadTemplateFromJson("{}", d.templ, d.measurements, d.fileVersion, d.userVersion, d.name));
}

}  // namespace
