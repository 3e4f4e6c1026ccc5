#include <kvmath/tsearch/template_document.h>

#include <kvmath/tsearch/constraints.h>
#include <kvmath/tsearch/measurement_list.h>
#include <kvmath/tsearch/measurements.h>
#include <kvmath/tsearch/template.h>

#include <gtest/gtest.h>

using namespace KvMath;

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

TEST(TemplateDocument, ComesBackWhole) {
    EXPECT_EQ(saved().keys(),
              (QStringList{"fileVersion", "measurements", "name", "template", "userVersion"}));
    Document d;
    EXPECT_TRUE(d.load(saved()));
    QVariant again;
    EXPECT_TRUE(saveTemplate(again, d.templ, d.measurements, d.fileVersion, d.userVersion, d.name));
    EXPECT_EQ(again.toMap(), saved());
}

TEST(TemplateDocument, MissingTextsAreEmpty) {
    QVariantMap doc = saved();
    for (const char* key : {"fileVersion", "userVersion", "name"})
        doc.remove(key);
    Document d;
    EXPECT_TRUE(d.load(doc));
    EXPECT_TRUE(d.fileVersion.isEmpty() && d.userVersion.isEmpty() && d.name.isEmpty());
}

TEST(TemplateDocument, BothPartsAreRequiredAndBothAreTried) {
    for (const QVariant& bad : {QVariant(), QVariant(7), QVariant("text")}) {
        QVariantMap doc = saved();
        doc["template"] = bad;
        Document d;
        EXPECT_FALSE(d.load(doc));
        EXPECT_TRUE(d.templ.getAllConstraints().isEmpty());
        EXPECT_EQ(d.measurements.getAllMeasurements().size(), 1);
        doc = saved();
        doc["measurements"] = bad;
        EXPECT_FALSE(d.load(doc));
        EXPECT_EQ(d.templ.getAllConstraints().size(), 1);
        EXPECT_TRUE(d.measurements.getAllMeasurements().isEmpty());
    }
}

TEST(TemplateDocument, WhatIsNoMapChangesNothing) {
    Document d;
    for (const QVariant& bad : {QVariant(), QVariant("text"), QVariant(QVariantList{saved()})})
        EXPECT_FALSE(d.load(bad));
    EXPECT_EQ(d.name, "old");
    EXPECT_EQ(d.templ.getAllConstraints().size(), 1);
    EXPECT_EQ(d.measurements.getAllMeasurements().size(), 1);
}

}  // namespace
