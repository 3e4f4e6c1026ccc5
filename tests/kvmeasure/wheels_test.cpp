// Train passes from the simulated post to values, held against the truth.

#include <simulator/train_pass.h>
#include <tests/kvmeasure/program.h>

#include <QtCore/QXmlStreamReader>

#include <cmath>

namespace {

using testing::HasSubstr;

class Wheels : public Program {
protected:
    void pass(const Simulator::PassRecipe& recipe, const QString& folder) const {
        QDir().mkdir(folder);
        ASSERT_TRUE(Simulator::simulatePass(recipe, folder, nullptr));
    }

    /// A small pass whose recordings are quickly split.
    void smallPass(const QString& folder, int wheelsets) const {
        Simulator::PassRecipe recipe;
        recipe.wheelsets = wheelsets;
        recipe.spacing = 40;
        pass(recipe, folder);
    }

    void replace(const QString& file, const char* before, const char* after) const {
        QByteArray text = read(file);
        ASSERT_TRUE(text.contains(before));
        write(file, text.replace(before, after));
    }
};

TEST_F(Wheels, APassIsMeasuredAsWellAsItsNoiseAllows) {
    for (const bool isFaulty : {false, true}) {
        Simulator::PassRecipe recipe;
        recipe.wheelsets = 6;
        recipe.spacing = 30;
        recipe.breakouts = 3;
        recipe.flats = 1;
        recipe.noise = isFaulty ? 0.05 : 0.02;
        recipe.lost = isFaulty ? 0.01 : 0;
        recipe.falseTargets = isFaulty ? 8 : 0;
        recipe.records = isFaulty ? Simulator::RecordKind::Mixed : Simulator::RecordKind::WithZ;
        recipe.seed = isFaulty ? 2 : 1;
        pass(recipe, "train");
        const Outcome outcome = run("wheels pass train --json");
        EXPECT_EQ(outcome.code, 1) << "there are defects";
        const QJsonArray found = outcome.json()["wheelsets"].toArray();
        const auto train = Simulator::trainOf(recipe);
        ASSERT_EQ(found.size(), recipe.wheelsets) << outcome.err;
        const double noise = recipe.noise;
        for (int w = 0; w < found.size(); ++w) {
            const auto& wheelset = train[static_cast<std::size_t>(w)];
            const QJsonObject values = found[w].toObject();
            EXPECT_NEAR(values["backToBack"].toDouble(), wheelset.backToBack, 0.6 * noise + 0.002);
            for (const int side : {0, 1}) {
                SCOPED_TRACE(
                    QString("wheelset %1, side %2, noise %3").arg(w + 1).arg(side).arg(noise).toStdString());
                const QJsonObject wheel = values[side == 0 ? "left" : "right"].toObject();
                const auto& shape = wheelset.wheels[side];
                const auto truth = Simulator::sectionTruth(shape, 0);
                EXPECT_NEAR(wheel["flangeHeight"].toDouble(), truth.flangeHeight, 5 * noise + 0.005);
                EXPECT_NEAR(wheel["flangeThickness"].toDouble(), truth.flangeThickness, 6 * noise + 0.5);
                EXPECT_NEAR(wheel["position18"].toDouble(), truth.position18, 3 * noise + 0.02);
                EXPECT_NEAR(wheel["radius"].toDouble(), truth.tipRadius, 35 * noise + 0.01);
                EXPECT_EQ(wheel["defect"].toBool(),
                          !shape.defects.empty() && shape.defects.front().isBreakout);
            }
        }
    }
    EXPECT_EQ(read("train/wheels/wheels.csv").count('\n'), 13);
    EXPECT_EQ(read("train/wheels/values.bin").size(), 12 * 89);
    QXmlStreamReader picture(read("train/wheels/pictures/wheel_06_right.svg"));
    while (!picture.atEnd())
        picture.readNext();
    EXPECT_FALSE(picture.hasError());

    smallPass("train", 1);
    EXPECT_THAT(run("wheels pass train").err, HasSubstr("overwritten"));
    EXPECT_EQ(QDir("train/wheels/pictures").entryList(QDir::Files).size(), 2);
    EXPECT_FALSE(QFile::exists("train/wheels/work/pass_1004/02_01.bin"));
}

TEST_F(Wheels, ARecordingCutAnywhereGivesTheWheelsBeforeTheCut) {
    smallPass("whole", 2);
    const QByteArray bytes = read("whole/pass_1004.bin");
    const auto recordingOf = [&](const Outcome& outcome) {
        return outcome.json()["recordings"].toArray()[0].toObject();
    };
    const QJsonArray wheels =
        recordingOf(run("wheels detect whole/pass_1004.bin --work a --json"))["runs"].toArray();
    ASSERT_EQ(wheels.size(), 2);
    QList<int> ends;
    for (int place = 0; place < bytes.size(); ends.append(place))
        place += 7 + 8 * (static_cast<unsigned char>(bytes[place + 1]) +
                          256 * static_cast<unsigned char>(bytes[place + 2]));
    QDir().mkdir("cut");
    const int step = static_cast<int>(bytes.size()) / 40;
    for (int cut = 1; cut < bytes.size(); cut += step) {
        write("cut/pass_1004.bin", bytes.left(cut));
        const Outcome outcome =
            run("wheels detect cut/pass_1004.bin --settings whole/settings.ini --work b --json");
        const QJsonObject found = recordingOf(outcome);
        int begun = 0;
        for (const QJsonValue wheel : wheels) {
            begun += ends[wheel.toObject()["firstRecord"].toInt()] <= cut ? 1 : 0;
            const int last = wheel.toObject()["lastRecord"].toInt(),
                      profiles = wheel.toObject()["profiles"].toInt();
            const QString file = QString::asprintf("/pass_1004/%02d_%02d.bin", begun, profiles);
            if (ends[last] <= cut) {
                EXPECT_EQ(read("b" + file), read("a" + file));
            }
        }
        ASSERT_EQ(found["runs"].toArray().size(), begun) << cut;
        const bool isWhole = ends.contains(cut);
        EXPECT_EQ(outcome.code, isWhole ? (begun > 0 ? 0 : 1) : 2) << cut;
        EXPECT_EQ(found["damagedAt"].isNull(), isWhole) << cut;
    }
}

TEST_F(Wheels, SectionsFromTextFilesAreRevolvedWhicheverSideTheyBegin) {
    QByteArray heights, mirrored;
    for (double lateral = 0; lateral <= 130; lateral += 0.1) {
        heights += QByteArray::number(lateral) + ',' +
                   QByteArray::number(Simulator::s1002Height(lateral), 'f', 6) + '\n';
        mirrored += QByteArray::number(500 - lateral) + ',' +
                    QByteArray::number(460 + Simulator::s1002Height(lateral), 'f', 6) + '\n';
    }
    write("heights.csv", heights);
    write("radii.csv", mirrored);
    for (const char* line :
         {"wheels parameters heights.csv --json --svg a.svg", "wheels parameters radii.csv --radii --json"}) {
        const QJsonObject wheel = run(line).json()["sections"].toArray()[0].toObject();
        EXPECT_NEAR(wheel["flangeHeight"].toDouble(), 28, 1e-3);
        EXPECT_NEAR(wheel["flangeThickness"].toDouble(), 9.5031, 0.1);
        EXPECT_NEAR(wheel["position18"].toDouble(), 32.5, 1e-3);
        EXPECT_NEAR(wheel["radius"].toDouble(), 488, 1e-3);
    }
    EXPECT_THAT(read("a.svg").toStdString(), HasSubstr("flange height 28.00"));
    EXPECT_EQ(run("wheels parameters heights.csv --kind tram").code, 0);
}

TEST_F(Wheels, WhatIsMissingIsSaidAndTheRestIsMeasured) {
    smallPass("train", 2);
    QFile::remove("train/pass_1005.bin");
    write("train/pass_1001.bin", read("train/pass_1001.bin") + '\x03');
    write("train/notes.bin", "of another kind");
    const Outcome outcome = run("wheels pass train --no-pictures --json");
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.err, HasSubstr("SENSOR5"));
    EXPECT_THAT(outcome.err, HasSubstr("pass_1001.bin is damaged at byte"));
    EXPECT_EQ(outcome.json()["skipped"].toArray().size(), 1);
    const QJsonObject second = outcome.json()["wheelsets"].toArray()[1].toObject();
    EXPECT_TRUE(second["left"].toObject()["flangeHeight"].isNull());
    EXPECT_GT(second["right"].toObject()["flangeHeight"].toDouble(), 27);
    EXPECT_GT(second["backToBack"].toDouble(), 1350);
    EXPECT_EQ(read("train/wheels/wheels.csv").count('\n'), 5);
}

TEST_F(Wheels, BadInputIsRefusedBeforeAnythingIsWritten) {
    smallPass("train", 1);
    QDir().mkdir("empty");
    write("file", "no directory");
    const QByteArray good = read("train/settings.ini");
    const std::pair<const char*, const char*> settings[] = {
        {"wndSize=3", "wndSize=0"},
        {"wndSize=3", "wndSize=-3"},
        {"wndSize=3", "wndSize=1.5"},
        {"wndSize=3", "; C:\\\nwndSize 3"},
        {"wndSize=3", "# C:\\\nwndSize=4"},
        {"maxdY=6", "maxdY=nan"},
        {"SN=1006", "NS=1006"},
        {"level_b=", "level_b=1e99"},
        {"rule=", "rule=1, "},
        {"minProfsInWheel=5", "minProfsInWheel=0"},
        {"minPointsIn", "minPointsIn=many\nx"},
    };
    for (const auto& [before, after] : settings) {
        write("train/settings.ini", good);
        replace("train/settings.ini", before, after);
        expectRefused("wheels pass train", "train/settings.ini: ");
    }
    const QByteArray odd = "note=\"two\n;lines\"\nlist=1, \\\n2\nlong=" + QByteArray(150'000, 'x') + "\n\x1a";
    write("train/settings.ini",
          "\xEF\xBB\xBF" + QByteArray(good + odd).replace("\n", "\r\n"));  // read as well
    const std::pair<const char*, const char*> refusals[] = {
        {"wheels", "which command"},
        {"wheels passs train", "did you mean \"pass\""},
        {"wheels pass", "nothing to read"},
        {"wheels pass nowhere", "nowhere: no such"},
        {"wheels pass empty", "empty/settings.ini"},
        {"wheels pass empty --settings train/settings.ini", "no recording"},
        {"wheels pass train --settings file", "file: "},
        {"wheels pass train --work file/x", "file/x: cannot be made"},
        {"wheels pass train --work a.bin", "misleads"},
        {"wheels pass train --kind bus", "--kind must be"},
        {"wheels detect train/truth.csv", "no recording"},
        {"wheels parameters file", "file"},
        {"simulate pass --wheelsets 0 --out a", "wheelsets: 0 is outside"},
        {"simulate pass --speed 3 --out a", "belong together"},
    };
    for (const auto& [line, reason] : refusals)
        expectRefused(line, reason);
    EXPECT_FALSE(QFile::exists("train/wheels/wheels.csv"));
}

}  // namespace
