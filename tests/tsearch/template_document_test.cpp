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

}  // namespace
