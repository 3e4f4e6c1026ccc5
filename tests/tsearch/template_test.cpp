#include <kvmath/tsearch/template.h>

#include <kvmath/tsearch/constraints.h>
#include <kvmath/tsearch/measurement_list.h>
#include <kvmath/tsearch/template_document.h>

#include <tests/support/prelude.h>
#include <tests/support/stored_forms.h>

namespace {

/// Counts its lives; clones and judgements of a host's own constraint.
class Probe : public TSConstraint {
public:
    Probe(int line, bool verdict) : line_(line), verdict_(verdict) { ++alive; }
    Probe(const Probe& other) : TSConstraint(other), line_(other.line_), verdict_(other.verdict_) { ++alive; }
    Probe& operator=(const Probe&) = delete;
    ~Probe() override { --alive; }
    TSConstraint* clone() override { return verdict_ ? new Probe(*this) : nullptr; }
    bool check(LinePP* /*lines*/, int* /*assignment*/) override { return ++calls, verdict_; }
    int getMaximumLineIndex() override { return std::exchange(line_, line_ + drift_); }
    int getMinimumLineIndex() override { return 0; }
    QString getType() override { return "Probe"; }
    bool save(QMap<QString, QVariant>& /*map*/) override { return verdict_; }
    bool save(QDataStream& /*stream*/) override { return verdict_; }
    bool load(QMap<QString, QVariant>& /*map*/) override { return true; }
    bool load(QDataStream& /*stream*/) override { return true; }

    static int alive;
    static int calls;
    int line_;
    int drift_ = 0;  // added at every answer

private:
    bool verdict_;
};
int Probe::alive = 0;
int Probe::calls = 0;

void addAllSix(TSTemplate& templ) {
    templ.addConstraint(new TSCRotationAngle(0, 1, 1, 2, TSCRotationAngle::CounterClockwise));
    templ.addConstraint(new TSCLength(0, 5, kUnset));
    templ.addConstraint(new TSCInclinationAngle(2, -1, 1));
    templ.addConstraint(new TSCEndPointDistance(2, 1, kUnset, 3));
    templ.addConstraint(new TSCEndPointDistanceWithCheck(0, 2, kUnset, 3));
    templ.addConstraint(new TSCEndPointShiftInDirection(1, 2, -1, 1, 0.5, true));
}

TEST(Template, KeepsConstraintsInTheListOfTheirLastLine) {
    TSTemplate templ(3);
    addAllSix(templ);
    QStringList types;
    for (TSConstraint* constraint : templ.getAllConstraints())
        types.append(constraint->getType());
    EXPECT_THAT(types, ElementsAre("Length", "Rotation angle", "Inclination angle", "Endpoint distance",
                                   "Endpoint distance w/c", "Endpoint shift in direction"));
    EXPECT_EQ(templ._getConstraintsForLine(2).size(), 4);
    EXPECT_TRUE(templ._getConstraintsForLine(-1).isEmpty() && templ._getConstraintsForLine(3).isEmpty());
}

TEST(Template, RefusesWhatDoesNotFitAndLeavesItWithTheCaller) {
    TSTemplate templ(2);
    auto* held = new TSCLength(1, 1, 2);
    EXPECT_TRUE(templ.addConstraint(held));
    EXPECT_FALSE(templ.addConstraint(held) || templ.addConstraint(nullptr));
    TSCLength beyond(2, 1, 2);
    TSCEndPointDistance negative(-1, 1, 1, 2);
    EXPECT_FALSE(templ.addConstraint(&beyond) || templ.addConstraint(&negative));
    EXPECT_FALSE(templ.removeConstraint(&beyond));
    Probe below(-1, true);  // contradicts its lowest line, which is 0
    EXPECT_FALSE(templ.addConstraint(&below));
    auto* drifting = new Probe(1, true);
    drifting->drift_ = 1 << 20;
    EXPECT_TRUE(templ.addConstraint(drifting) && templ.removeConstraint(drifting));
    EXPECT_TRUE(templ.removeConstraint(held) && templ.getAllConstraints().isEmpty());
}

TEST(Template, ShrinksOnlyOverLinesWithoutConstraints) {
    TSTemplate templ(1 << 20);
    EXPECT_TRUE(templ.getTemplateLinesNumber() == 65536 && TSTemplate(-3).getTemplateLinesNumber() == 0);
    EXPECT_TRUE(templ.setTemplateLinesNumber(3));
    templ.addConstraint(new TSCLength(1, 1, 2));
    for (int refused : {1, 0, -1, 65537})
        EXPECT_FALSE(templ.setTemplateLinesNumber(refused));
    EXPECT_TRUE(templ.setTemplateLinesNumber(2) && templ.getTemplateLinesNumber() == 2);
}

TEST(Template, OwnsAndCopiesDeeply) {
    {
        TSTemplate templ(2);
        templ.addConstraint(new Probe(1, true));
        TSTemplate copy(templ);
        EXPECT_EQ(Probe::alive, 2);
        TSTemplate assigned(7);
        assigned.addConstraint(new Probe(6, true));
        assigned = copy;
        EXPECT_EQ(Probe::alive, 3);
        EXPECT_EQ(assigned.getTemplateLinesNumber(), 2);
        const TSTemplate& self = assigned;
        assigned = self;
        EXPECT_EQ(assigned._getConstraintsForLine(1).size(), 1);
        EXPECT_NE(assigned._getConstraintsForLine(1), templ._getConstraintsForLine(1));
        copy.removeAllConstraints();
        EXPECT_EQ(Probe::alive, 2);
    }
    EXPECT_EQ(Probe::alive, 0);
}

TEST(Template, ChecksTheLineInOrderUpToTheFirstFailure) {
    TSTemplate templ(3);
    for (bool verdict : {true, false, true})
        templ.addConstraint(new Probe(1, verdict));
    Probe::calls = 0;
    LinePP lines[1];
    int codes[] = {0, 2, 4};
    EXPECT_FALSE(templ.check(lines, codes, 1));
    EXPECT_EQ(Probe::calls, 2);
    for (int level : {0, 2, -1, 3})
        EXPECT_TRUE(templ.check(lines, codes, level));
    auto* moved = new Probe(0, true);
    templ.addConstraint(moved);
    moved->line_ = 9;  // reads a code that a search of three lines does not have
    EXPECT_FALSE(templ.check(lines, codes, 0));
}

TEST(Template, RecordIsTheDocumentedBytesAndEveryCutIsRefused) {
    TSTemplate templ(2);
    templ.addConstraint(new TSCLength(0, 1, kUnset));
    templ.addConstraint(new TSCEndPointDistanceWithCheck(0, 1, 1, kUnset));
    checkRecord(templ,
                "02000000"
                "01000000 95c5e1a2d5ff2f20 00000000 000000000000f03f 7dc39425ad49b2d4"
                "01000000 30992df50f1f8ff0 00000000 01000000 000000000000f03f 7dc39425ad49b2d4",
                [] { return std::make_unique<TSTemplate>(1); });
}

TEST(Template, AllSixTypesSurviveBothForms) {
    TSTemplate templ(3);
    addAllSix(templ);
    TSTemplate fromRecord(0);
    EXPECT_TRUE(loadRecord(fromRecord, recordOf(templ)));
    QVariant saved;
    QVariant again;
    ASSERT_TRUE(templ.save(saved) && fromRecord.save(again));
    EXPECT_EQ(again, saved);
    TSTemplate fromMap(9);
    fromMap.addConstraint(new Probe(8, true));
    EXPECT_TRUE(fromMap.load(saved));
    EXPECT_EQ(recordOf(fromMap), recordOf(templ));
    EXPECT_EQ(Probe::alive, 0);
}

TEST(Template, HostileRecordsFail) {
    const QByteArray length = "95c5e1a2d5ff2f20 00000000 0000000000000000 0000000000000000";
    for (const QByteArray& hex : QList<QByteArray>{
             "ffffffff", "01000100", "ffffff7f",                 // lines
             "01000000 ffffffff", "01000000 ffffff7f" + length,  // counts: negative, more than there is
             "01000000 01000000 0000000000000000",               // unknown type
             "01000000 01000000 95c5e1a2d5ff2f20 01000000 0000000000000000 0000000000000000",
             "01000000 01000000 95c5e1a2d5ff2f20 ffffffff 0000000000000000 0000000000000000"}) {
        TSTemplate templ(1);
        templ.addConstraint(new TSCLength(0, 1, 2));
        EXPECT_FALSE(loadRecord(templ, QByteArray::fromHex(hex))) << hex.constData();
        EXPECT_LE(templ.getAllConstraints().size(), 1);
        for (TSConstraint* constraint : templ.getAllConstraints())
            EXPECT_EQ(mapOf(*constraint)["lowerBound"], QVariant(0.0));  // the read one, never the old one
    }
}

TEST(Template, HostileMapsFail) {
    const QVariantMap entry{
        {"constraintType", "Length"}, {"lineIndex", 0}, {"lowerBound", 1.0}, {"upperBound", 2.0}};
    QVariantMap unknown = entry, beyond = entry;
    unknown["constraintType"] = "Width";
    beyond["lineIndex"] = 1;
    const auto doc = [](const QVariant& lines, const QVariant& list) {
        return QVariant(QVariantMap{{"numOfLines", lines}, {"constraints", list}});
    };
    TSTemplate templ(4);
    EXPECT_TRUE(templ.load(doc(1.0, QVariantList{entry})));
    for (const QVariant& bad :
         {QVariant(), QVariant(3), QVariant(QVariantList{entry}), QVariant(QVariantMap{{"numOfLines", 1}}),
          QVariant(QVariantMap{{"constraints", QVariantList()}}), doc("1", QVariantList{entry}),
          doc(-1, QVariantList()), doc(65537, QVariantList()), doc(1, entry),
          doc(1, QVariantList{QVariant(7)}), doc(1, QVariantList{unknown}), doc(1, QVariantList{beyond}),
          doc(QVariantMap(), QVariantList())}) {
        templ.setTemplateLinesNumber(4);
        templ.addConstraint(new Probe(3, true));
        EXPECT_FALSE(templ.load(bad));
        EXPECT_TRUE(templ.getAllConstraints().isEmpty());
    }
    EXPECT_FALSE(templ.load(doc(1, QVariantList{entry, beyond, entry})));
    EXPECT_EQ(templ.getAllConstraints().size(), 1);  // what was read before the fault
}

TEST(Template, AConstraintThatCannotBeSavedFailsTheTemplateAndIsNotCopied) {
    TSTemplate templ(1);
    templ.addConstraint(new Probe(0, false));
    QVariant doc("as it was");
    EXPECT_FALSE(templ.save(doc) || saveTemplate(doc, templ, TSMeasurementList(), "1", "2", "3"));
    EXPECT_EQ(doc, QVariant("as it was"));
    EXPECT_TRUE(TSTemplate(templ).getAllConstraints().isEmpty() && Probe::alive == 1);
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    EXPECT_FALSE(templ.save(stream));
    QDataStream nowhere;
    EXPECT_FALSE(TSTemplate(1).save(nowhere) || templ.load(nowhere));
}

}  // namespace
