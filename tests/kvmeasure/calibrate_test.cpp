// Calibration from a simulated scanner to millimetres, held against the scanner's true mapping.

#include <kvmath/profile/profile_zset.h>
#include <tests/kvmeasure/program.h>

#include <QtCore/QXmlStreamReader>

#include <cmath>

namespace {

using testing::HasSubstr;

class Calibrate : public Program {
protected:
    Outcome done(const QString& line) const {
        Outcome result = run(("calibrate " + line).split(' '));
        EXPECT_EQ(result.code, 0) << line.toStdString() << '\n' << result.err;
        return result;
    }
    QJsonObject checked(const QString& line) const { return done("check " + line + " --json").json(); }
};

TEST_F(Calibrate, ZIsAsGoodAsUnitsPositionsAndNoiseAllowAndNothingOutsideIsFilled) {
    for (const QString optics :
         {"", " --tilt 3 --missing 0.05 --missing-columns 20", " --noise 0.05 --z-step -0.05 --z-first 90"}) {
        done("simulate flat.raw" + optics);
        const bool isClean = optics.isEmpty();
        for (const QString builder :
             {isClean ? "triangles" : "triangles --compact", isClean ? "steps --compact" : "steps"}) {
            SCOPED_TRACE((builder + optics).toStdString());
            done("build flat.raw a.tbl --truth flat.raw.truth.json --builder " + builder);
            const QJsonObject report = checked("a.tbl --truth flat.raw.truth.json --svg a.svg");
            const char* expected = builder.startsWith("steps") ? "expectedTruncated" : "expectedRounded";
            EXPECT_NEAR(report["z"].toObject()["rms"].toDouble() / report[expected].toDouble(), 1, 0.1);
            EXPECT_EQ(report["outsideFilled"].toInt(), 0);
            EXPECT_GT(report["outside"].toInt(), 50'000);
            EXPECT_GT(report["insideFilled"].toInt(), 0.997 * report["inside"].toInt());
        }
    }
    QXmlStreamReader picture(read("a.svg"));
    while (!picture.atEnd())
        picture.readNext();
    EXPECT_FALSE(picture.hasError());
    EXPECT_EQ(run({"calibrate", "check", "a.tbl", "--truth", "flat.raw.truth.json", "--limit", "1"}).code, 1);
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
    EXPECT_GT(done("cut a.tbl a.tbl --left 40 --bottom-right 60,100 --json").json()["emptiedX"].toInt(),
              20'000);
    const QJsonObject facts = done("info a.tbl --json").json()["files"].toArray()[0].toObject();
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
        {"mirror full.tbl full.tbl", "which half"},
        {"info flat.raw.truth.json", "is no calibration file"},
        {"check full.tbl --truth flat.raw", "is no truth file"},
        {"build flat.raw flat.raw --z-range 100 --x-range 140", "is read by this command"},
        {"apply full.tbl flat.raw full.tbl --z-range 100 --x-range 140", "is read by this command"},
        {"check full.tbl --truth flat.raw.truth.json --svg full.tbl", "is read by this command"},
        {"simulate s.raw --second s.raw.truth.json", "written twice"},
    };
    for (const auto& [line, reason] : refusals)
        expectRefused(QString("calibrate " + QString(line)).split(' '), reason);
    EXPECT_EQ(read("full.tbl"), before);
}

}  // namespace
