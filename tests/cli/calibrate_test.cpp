// Calibration from a simulated scanner to millimetres, held against the scanner's true mapping.

#include <kvmath/profile/profile_zset.h>
#include <tests/cli/program.h>

#include <QtCore/QXmlStreamReader>

namespace {

class Calibrate : public Program {
protected:
    Outcome done(const QString& line) const {
        Outcome result = run(("calibrate " + line).split(' '));
        EXPECT_EQ(result.code, 0) << line.toStdString() << '\n' << result.err;
        return result;
    }
    QJsonObject checked(const QString& line) const { return done("check " + line + " --json").json(); }
};

TEST_F(Calibrate, TheErrorMapIsReportedAndDrawn) {
    done("simulate flat.raw");
    for (const QString builder : {"triangles", "steps --compact"}) {
        done("build flat.raw a.tbl --truth flat.raw.truth.json --builder " + builder);
        const QJsonObject report = checked("a.tbl --truth flat.raw.truth.json --svg a.svg");
        const char* expected = builder == "triangles" ? "expectedRounded" : "expectedTruncated";
        EXPECT_NEAR(report["z"].toObject()["rms"].toDouble() / report[expected].toDouble(), 1, 0.1);
        EXPECT_GE(report["samples"].toArray().size(), 9);
    }
    QXmlStreamReader picture(read("a.svg"));
    while (!picture.atEnd())
        picture.readNext();
    EXPECT_FALSE(picture.hasError());
    const struct {
        const char* options;
        int code;
        const char* verdict;
    } pages[] = {{"--truth flat.raw.truth.json --limit 1", 1, "OUT: RMS of Z "},
                 {"--truth flat.raw.truth.json --limit 100", 0, "GOOD: RMS of Z "},
                 {"--against flat.raw --z-range 100 --x-range 140", 0, "COMPLETE: RMS of Z "}};
    for (const auto& expected : pages) {
        const Outcome check =
            run((QString("calibrate check a.tbl --report <b>.html --json ") + expected.options).split(' '));
        EXPECT_EQ(check.code, expected.code) << check.err;
        const bool isJudged = QString(expected.options).contains("--limit");
        EXPECT_EQ(check.json()["good"], isJudged ? QJsonValue(expected.code == 0) : QJsonValue());
        EXPECT_EQ(check.json().contains("reason"), !isJudged);
        const QByteArray page = read("<b>.html"), start = "<script type=\"application/json\" id=\"results\">";
        const auto from = page.indexOf(start) + start.size();
        EXPECT_EQ(QJsonDocument::fromJson(page.mid(from, page.indexOf("</script>", from) - from)).object(),
                  check.json());
        EXPECT_THAT(page.toStdString(), HasSubstr(expected.verdict));
        EXPECT_EQ(page.count("<figure>"), 1);
    }
    ASSERT_TRUE(QFile::copy("flat.raw", "<b>.raw"));
    const QJsonArray viewed = run("view a.tbl <b>.raw --out view.html --json").json()["files"].toArray();
    const QJsonArray known = run("calibrate info a.tbl <b>.raw --json").json()["files"].toArray();
    ASSERT_EQ(viewed.size(), 2);
    for (int i = 0; i < 2; ++i) {
        QJsonObject facts = viewed[i].toObject()["facts"].toObject();
        facts["file"] = viewed[i].toObject()["file"];
        EXPECT_EQ(facts, known[i].toObject());
    }
    EXPECT_EQ(read("view.html").count("<figure>"), 2);
    EXPECT_EQ(read("view.html").count("<b>"), 0);
    const QString line = "calibrate check a.tbl --truth flat.raw.truth.json --report ";
    for (const char* page : {"a.doc", "nowhere/a.html"})
        expectRefused((line + page).split(' '),
                      page[0] == 'a' ? "a page ends in .html or .pdf" : "nowhere/a.html");
    ASSERT_TRUE(QFile::copy("a.tbl", "a.html"));
    expectRefused("calibrate check a.html --truth flat.raw.truth.json --report a.html",
                  "is read by this command");
}

TEST_F(Calibrate, ReflectionsAreLeftOutUnlessTheyAreKept) {
    const QString units = " --truth flat.raw.truth.json";
    for (const QString faults : {" --reflections 0.001"}) {
        SCOPED_TRACE(faults.toStdString());
        done("simulate flat.raw --seed 7" + faults);
        done("build flat.raw all.tbl --keep-strays" + units);
        EXPECT_GT(checked("all.tbl" + units)["z"].toObject()["rms"].toDouble(), 0.1);
        const Outcome told = done("build flat.raw clean.tbl" + units);
        EXPECT_THAT(told.out, HasSubstr("from the median of their neighbours"));
        const QJsonObject report = checked("clean.tbl" + units);
        EXPECT_NEAR(report["z"].toObject()["rms"].toDouble() / report["expectedRounded"].toDouble(), 1, 0.15);
        EXPECT_LT(std::fabs(report["z"].toObject()["worst"].toDouble()), 0.2) << "mm";
        EXPECT_EQ(report["outsideFilled"].toInt(), 0);
    }
    done("simulate noise.raw --reflections 1");
    expectRefused("calibrate build noise.raw a.tbl --z-range 100 --x-range 140", "the positions scatter by ");
    done("simulate teeth.raw --target toothed");
    expectRefused("calibrate build teeth.raw a.tbl --z-range 100 --x-range 140",
                  "is this the record of a flat");
}

TEST_F(Calibrate, StepsThatATableCannotHoldAndHolesAreSaid) {
    const QString units = " --truth flat.raw.truth.json";
    done("simulate flat.raw --z-origin -20");
    const Outcome cut = run(("calibrate build flat.raw a.tbl" + units).split(' '));
    EXPECT_EQ(cut.code, 1) << "a fifth of the area is lost";
    EXPECT_THAT(cut.out, HasSubstr("steps 0 to 199 (z -20 to -0.1 mm): z below zero"));
    EXPECT_THAT(cut.out, HasSubstr("--z-offset 20"));
    done("build flat.raw a.tbl --z-offset 20" + units);
    const QJsonObject report = checked("a.tbl --z-offset 20" + units);
    EXPECT_NEAR(report["z"].toObject()["rms"].toDouble() / report["expectedRounded"].toDouble(), 1, 0.1);
    EXPECT_NEAR(checked("a.tbl --against flat.raw --z-offset 20" + units)["z"].toObject()["mean"].toDouble(),
                0, 0.001);
    done("apply a.tbl flat.raw one.csv --step 100 --z-offset 20" + units);
    EXPECT_NEAR(read("one.csv").split('\n')[300].split(',')[1].toDouble(), -10, 0.02);
    const QByteArray before = read("a.tbl");
    const std::pair<const char*, const char*> empty[] = {
        {"simulate flat.raw --z-origin -60", "mostly empty: steps 0 to 599 (z -60 to -0.1 mm): z below zero"},
        {"simulate flat.raw --z-origin 300",
         "mostly empty: steps 0 to 999 (z 300 to 399.9 mm): z beyond twice"}};
    for (const auto& [line, reason] : empty) {
        done(line);
        expectRefused(("calibrate build flat.raw a.tbl" + units).split(' '), reason);
    }
    EXPECT_EQ(read("a.tbl"), before);
    done("simulate flat.raw");
    QByteArray record = read("flat.raw");
    for (int column = 0; column < 648; ++column)
        record.replace(2 * (1000 * column + 300), 10, QByteArray(10, '\0'));
    write("flat.raw", record);
    EXPECT_THAT(
        done("build flat.raw a.tbl" + units).out,
        HasSubstr("steps 300 to 304 (z 29.9 to 30.5 mm): without any line; the table has a hole there"));
}

TEST_F(Calibrate, ATableGivesTheHeightsOfASecondRecordAndTeethGiveX) {
    done("simulate flat.raw --second again.raw");
    done("simulate teeth.raw --target toothed --seed 5 --missing 0.02");
    const QString built = "build flat.raw a.tbl --truth flat.raw.truth.json";
    EXPECT_EQ(done(built).code, 0);
    EXPECT_GT(checked("a.tbl --truth flat.raw.truth.json")["x"].toObject()["rms"].toDouble(), 1) << "mm";
    done(built + " --teeth teeth.raw --tooth-pitch 10 --tooth-height 5");
    EXPECT_LT(checked("a.tbl --truth flat.raw.truth.json")["x"].toObject()["rms"].toDouble(), 0.003);
    EXPECT_LT(
        checked("a.tbl --against again.raw --z-range 100 --x-range 140")["z"].toObject()["rms"].toDouble(),
        0.004);

    done("apply a.tbl again.raw again.zset --pitch 0.5 --z-range 100 --x-range 140");
    KvMath::KvProfileZSet stack;
    ASSERT_EQ(stack.readFromFile(path("again.zset")), 1000);
    for (int step = 37; step < 963; step += 37) {  // beyond lies the border of the table
        const KvMath::KvProfileZ& profile = stack.at(step);
        EXPECT_EQ(profile.z, 0.5F * float(step));
        ASSERT_GT(profile.points.size(), 550);
        for (const KvMath::KvPointXY& point : profile.points) {
            ASSERT_NEAR(double(point.y), 0.1 * step + 0.05, 0.015);
            ASSERT_TRUE(point.x > 10.9F && point.x < 129.1F) << "the target lies between 11 and 129 mm";
        }
    }
    done("apply a.tbl again.raw one.csv --step 500 --rows library --truth flat.raw.truth.json");
    EXPECT_EQ(read("one.csv").count('\n'), 649);
}

TEST_F(Calibrate, ChangesOfTablesAreThoseOfTheLibrary) {
    done("simulate flat.raw");
    done("build flat.raw a.tbl --truth flat.raw.truth.json");
    done("mirror a.tbl b.tbl --z --x");
    done("mirror b.tbl c.tbl --z --x");
    EXPECT_NE(read("b.tbl"), read("a.tbl"));
    EXPECT_EQ(read("c.tbl"), read("a.tbl"));
    done("mirror flat.raw b.raw");
    done("mirror b.raw c.raw");
    EXPECT_EQ(read("c.raw"), read("flat.raw"));
    EXPECT_GT(done("cut a.tbl cut.tbl --left 40 --bottom-right 60,100 --json").json()["emptiedX"].toInt(),
              20'000);
    const QJsonObject facts = done("info cut.tbl --json").json()["files"].toArray()[0].toObject();
    EXPECT_EQ(facts["columnsZ"].toArray()[0].toInt(), 40);
    EXPECT_EQ(facts["form"].toString(), "full table");
}

TEST_F(Calibrate, WrongUseSaysWhatAndLeavesFilesWhole) {
    done("simulate flat.raw");
    done("build flat.raw full.tbl --z-range 100 --x-range 140");
    done("build flat.raw small.tbl --z-range 100 --x-range 140 --compact");
    write("none.raw", QByteArray(1304000, '\0'));
    const QByteArray before = read("full.tbl");
    const std::pair<const char*, const char*> refusals[] = {
        {"", "which command"},
        {"bild flat.raw", "did you mean \"build\""},
        {"simulate a.raw --distance 10", "distance: 10 is outside"},
        {"build flat.raw full.tbl", "--z-range MM is missing"},
        {"build none.raw full.tbl --z-range 1 --x-range 1", "gives no table"},
        {"build flat.raw full.tbl --z-range 100 --x-range 9 --columns 5,700", "--columns needs"},
        {"build flat.raw full.tbl --z-range 100 --x-range 140 --teeth flat.raw --tooth-pitch 10 "
         "--tooth-height 5",
         "no teeth"},
        {"apply small.tbl flat.raw full.tbl --rows library --z-range 100 --x-range 140",
         "needs a full table"},
        {"apply flat.raw flat.raw full.tbl --z-range 100 --x-range 140", "is a raw record; expected a table"},
        {"cut small.tbl full.tbl", "only full ones"},
        {"mirror full.tbl full.tbl", "is read by this command"},
        {"mirror full.tbl other.tbl", "which half"},
        {"info flat.raw.truth.json", "is no calibration file"},
        {"check full.tbl --truth flat.raw", "is no truth file"},
        {"build flat.raw flat.raw --z-range 100 --x-range 140", "is read by this command"},
        {"apply full.tbl flat.raw full.tbl --z-range 100 --x-range 140", "is read by this command"},
        {"check full.tbl --truth flat.raw.truth.json --svg full.svg", "is read by this command"},
        {"simulate s.raw --second s.raw.truth.json", "written twice"}};
    ASSERT_TRUE(QFile::link("full.tbl", "full.svg"));
    for (const auto& [line, reason] : refusals)
        expectRefused(QString("calibrate " + QString(line)).split(' '), reason);
    EXPECT_EQ(read("full.tbl"), before);
}

}  // namespace
