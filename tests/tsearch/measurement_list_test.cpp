#include <kvmath/tsearch/measurement_list.h>

#include <kvmath/tsearch/measurement_manager.h>
#include <kvmath/tsearch/measurements.h>
#include <kvmath/tsearch/template.h>
#include <kvmath/tsearch/template_document.h>

#include <tests/support/prelude.h>
#include <tests/support/stored_forms.h>

namespace {

/// A host's own measurement, which counts its lives.
class OwnLength : public TSUMLength {
public:
    OwnLength() : TSUMLength(0, "own") { ++alive; }
    OwnLength(const OwnLength& other) : TSUMLength(other) { ++alive; }
    OwnLength& operator=(const OwnLength&) = delete;
    ~OwnLength() override { --alive; }
    QString getType() override { return "Own length"; }
    TSMeasurement* clone() override { return new OwnLength(*this); }
    static int alive;
};
int OwnLength::alive = 0;

/// One that cannot be copied or saved, and asks for results that it has not named.
class Reluctant : public OwnLength {
public:
    TSMeasurement* clone() override { return nullptr; }
    bool measure(QList<LinePP>& /*lines*/, TSLinesIndecies& /*indices*/) override {
        for (const int k : {-1, 1, INT_MIN, INT_MAX})
            addPoint(k, {}), addLine(k, {}, {}, 0), addAngle(k, {}, {}, {}, 0);
        return succeed();
    }

protected:
    bool saveConcreteUniform(QMap<QString, QVariant>& /*map*/) override { return false; }
};

TEST(Manager, MakesRegisteredTypesOnly) {
    TSManagerOfMeasurements manager;
    EXPECT_EQ(manager.getMeasurement("Length"), nullptr);
    EXPECT_FALSE(manager.registerMeasurement(nullptr));
    auto* prototype = new TSUMLength(3, "a");
    EXPECT_TRUE(manager.registerMeasurement(prototype));
    TSUMLength second(4, "b");
    EXPECT_FALSE(manager.registerMeasurement(&second));
    const std::unique_ptr<TSMeasurement> made(manager.getMeasurement("Length"));
    ASSERT_NE(made, nullptr);
    EXPECT_NE(made.get(), prototype);
    EXPECT_THAT(manager.getTypes(), ElementsAre("Length"));
    EXPECT_EQ(mapOf(*made), mapOf(*prototype));
}

TEST(Manager, HoldsTheNineAndThoseOfAHost) {
    auto& manager = TSManagerOfMeasurements::instance();
    for (const char* type : {"Length", "Inclination angle", "Rotation angle", "Angle between lines",
                             "Line point", "Lines intersection", "Point between two points",
                             "Endpoint shift in direction", "Far line in direction"}) {
        const std::unique_ptr<TSMeasurement> made(manager.getMeasurement(type));
        ASSERT_NE(made, nullptr) << type;
        EXPECT_EQ(made->getType(), type);
    }
    EXPECT_TRUE(manager.registerMeasurement(new OwnLength));
    TSMeasurementList list;
    list.addMeasurement(new OwnLength);
    TSMeasurementList loaded;
    EXPECT_TRUE(loadRecord(loaded, recordOf(list)));
    QVariant map;
    EXPECT_TRUE(list.save(map) && loaded.load(map));
    EXPECT_EQ(loaded.getAllMeasurements().value(0)->getType(), "Own length");
}

TEST(LoadMeasurement, OwnsNothingAfterAFailure) {
    const int before = OwnLength::alive;
    for (const QVariantMap& bad : {QVariantMap(), QVariantMap{{"measurementType", "Width"}},
                                   QVariantMap{{"measurementType", QVariantList{1}}},
                                   QVariantMap{{"measurementType", "Own length"}}}) {
        QVariantMap map = bad;
        TSUMLength other(0, "");
        TSMeasurement* made = &other;
        EXPECT_FALSE(TSMeasurement::loadMeasurement(map, made));
        EXPECT_EQ(made, nullptr);
    }
    EXPECT_EQ(OwnLength::alive, before);
    QVariantMap map;
    EXPECT_FALSE(TSMeasurement::saveMeasurement(map, nullptr));
}

TEST(UniformInfos, MayBeMissingButNotWrong) {
    TSUMFarLineInDirection m({1, 0}, "a", "b", "c");
    const QVariantMap whole = mapOf(m);
    QVariantMap partly = whole;
    partly.remove("linesInfos");
    partly["pointsInfos"] = QVariantList{QVariantMap{{"isActive", false}}, QVariantMap{{"name", "new"}}};
    const auto infos = m.getUniformResultsInfoAll();
    EXPECT_TRUE(m.load(partly));
    EXPECT_TRUE(*infos[0].first == "a" && !*infos[0].second);  // the pointers outlive the load
    EXPECT_TRUE(*infos[1].first == "new" && *infos[2].first == "c");
    m = TSUMFarLineInDirection({1, 0}, "d", "e", "f");
    EXPECT_EQ(*infos[2].first, "f");  // and an assignment
    const QVariantMap before = mapOf(m);
    const QVariantMap entry{{"name", "x"}};
    for (const QVariant& bad : {QVariant(3), QVariant(QVariantList()), QVariant(QVariantList{entry, 7}),
                                QVariant(QVariantList{entry, entry, entry}), QVariant(entry),
                                QVariant(QVariantList{entry, QVariantMap{{"name", 7}}}),
                                QVariant(QVariantList{entry, QVariantMap{{"isActive", "yes"}}})}) {
        QVariantMap map = whole;
        map["pointsInfos"] = bad;
        map["directionX"] = 9.0;
        EXPECT_FALSE(m.load(map));
        EXPECT_EQ(mapOf(m), before);
    }
    for (const char* key : {"linesInfos", "anglesInfos"}) {
        QVariantMap map = whole;
        map[key] = 3;
        EXPECT_TRUE(!m.load(map) && mapOf(m) == before) << key;
    }
}

TEST(UniformInfos, TooLongANameIsNotWritten) {
    TSUMLength m(0, QString(65535, 'x'));
    EXPECT_EQ(recordOf(m).size(), 4 + 4 + 4 + 4 + 65535 + 1 + 4);
    TSUMLength longer(0, QString(32768, QChar(0xe9)));  // two bytes each
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    EXPECT_FALSE(longer.save(stream) || TSMeasurement::saveMeasurement(stream, nullptr));
    *m.getUniformResultsInfoAll()[0].second = false;
    EXPECT_TRUE(recordOf(m).endsWith(QByteArray("x\0\0\0\0\0", 6)));
    for (const char* counts : {"00000000 01000000 ffffffff", "00000000 01000000 00000100",
                               "ffffffff 01000000 00000000", "01000000 00000000 00000000"}) {
        QByteArray hostile = "00000000" + QByteArray(counts);
        hostile = QByteArray::fromHex(hostile) + QByteArray(70000, 'x');
        EXPECT_FALSE(loadRecord(m, hostile));
    }
}

TEST(MeasurementList, OwnsAndCopiesDeeply) {
    const int before = OwnLength::alive;
    {
        TSMeasurementList list;
        auto* held = new OwnLength;
        EXPECT_TRUE(list.addMeasurement(held));
        EXPECT_FALSE(list.addMeasurement(held) || list.addMeasurement(nullptr));
        TSMeasurementList copy(list);
        TSMeasurementList assigned;
        assigned.addMeasurement(new OwnLength);
        assigned = copy;
        const TSMeasurementList& self = assigned;
        assigned = self;
        EXPECT_EQ(OwnLength::alive, before + 3);
        EXPECT_NE(assigned.getAllMeasurements(), list.getAllMeasurements());
        copy.addMeasurement(new TSUMFarLineInDirection({1, 0}, "a", "b", "c"));
        EXPECT_EQ(copy.getUniformResultsInfo().size(), 4);
        list.removeAllMeasurements();
        EXPECT_EQ(OwnLength::alive, before + 2);
    }
    EXPECT_EQ(OwnLength::alive, before);
}

TEST(MeasurementList, OwnsWhatCannotBeCopiedOrSavedAndTellsSo) {
    const int before = OwnLength::alive;
    {
        TSMeasurementList list;
        list.addMeasurement(new Reluctant);
        EXPECT_TRUE(TSMeasurementList(list).getAllMeasurements().isEmpty());
        QVariant doc("as it was");
        EXPECT_FALSE(list.save(doc) || saveTemplate(doc, TSTemplate(1), list, "1", "2", "3"));
        EXPECT_EQ(doc, QVariant("as it was"));
        QList<LinePP> lines;
        TSLinesIndecies indices;
        TSMeasurement* held = list.getAllMeasurements().first();
        EXPECT_TRUE(held->measure(lines, indices) && held->getUniformResult().isEmpty());
        EXPECT_EQ(OwnLength::alive, before + 1);
    }
    EXPECT_EQ(OwnLength::alive, before);
}

TEST(MeasurementList, RecordIsTheDocumentedBytesAndFailuresKeepWhatWasRead) {
    TSMeasurementList list;
    list.addMeasurement(new TSUMLength(2, "a"));
    list.addMeasurement(new TSUMLinePoint(1, 0.5, ""));
    checkRecord(list,
                "02000000"
                "95c5e1a2d5ff2f20 02000000 00000000 01000000 01000000 61 01 00000000"
                "b1aac4b49746fef4 01000000 000000000000e03f 01000000 00000000 01 00000000 00000000",
                [] { return std::make_unique<TSMeasurementList>(); });
    QByteArray bytes = recordOf(list);
    TSMeasurementList loaded(list);
    EXPECT_FALSE(loadRecord(loaded, bytes.left(bytes.size() - 1)));
    EXPECT_EQ(loaded.getAllMeasurements().size(), 1);
    for (const char* count : {"ffffffff", "ffffff7f", "00000080"}) {
        EXPECT_FALSE(loadRecord(loaded, QByteArray::fromHex(count) + bytes.mid(4)));
        EXPECT_LE(loaded.getAllMeasurements().size(), 2);
    }
    for (const QVariant& bad : {QVariant(), QVariant(QVariantMap()), QVariant(QVariantList() << 1)}) {
        EXPECT_FALSE(loaded.load(bad));
        EXPECT_TRUE(loaded.getAllMeasurements().isEmpty());
    }
}

}  // namespace
