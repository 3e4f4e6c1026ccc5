// Sections of wheels with the reasons for missing values; the check of a post by a known wheel.

#include <simulator/wheel_shape.h>
#include <tests/cli/program.h>

#include <QtCore/QSettings>

#include <cstring>

namespace {

class WheelValues : public Program {
protected:
    QJsonObject firstSection(const QString& line) const {
        return run(line.split(' ')).json()["sections"].toArray()[0].toObject();
    }
};

/// Section of the nominal wheel from one lateral position to another.
QByteArray nominalSection(double from, double to, double step = 0.1) {
    QByteArray text;
    for (double lateral = from; lateral <= to; lateral += step)
        text += QByteArray::number(lateral) + ',' +
                QByteArray::number(Simulator::s1002Height(lateral), 'f', 6) + '\n';
    return text;
}

TEST_F(WheelValues, ASectionHasItsValuesOrTheReason) {
    QByteArray rail;
    for (double y = -32; y <= 60; y += 0.1)
        rail += QByteArray::number(y) + ',' + QByteArray::number(-y * y / 60) + '\n';
    const QByteArray whole = nominalSection(0, 130, 0.02);
    QByteArray hidden;
    for (const QByteArray& line : whole.split('\n')) {
        const double lateral = line.split(',').first().toDouble();
        if (!line.isEmpty() && (lateral < 20 || lateral > 36))
            hidden += line + '\n';
    }
    write("whole.csv", whole);
    write("late.csv", nominalSection(0.3, 130));
    write("burr.csv", "-0.9,-3\n-0.5,-2\n0,-10\n0,-5\n0,0\n0,5\n" + whole);
    write("hidden.csv", hidden);
    write("stray.csv", "3.8,-4\n" + nominalSection(3.995, 130, 0.2));
    QByteArray glints = whole;  // at the flange tip, of one point and of three
    for (const char* place : {"\n15,", "\n15.02,", "\n15.04,"}) {
        const auto at = glints.indexOf(place) + static_cast<int>(std::strlen(place));
        glints.replace(at, glints.indexOf('\n', at) - at, "29.5");
        if (place[3] == ',')
            write("glint.csv", glints);
    }
    write("glints.csv", glints);
    glints = whole;  // deep, where the flank is not yet 2 mm below the tip
    const auto at = glints.indexOf("\n17,") + 4;
    write("flank.csv", glints.replace(at, glints.indexOf('\n', at) - at, "24"));
    QByteArray open;
    for (const QByteArray& line : whole.split('\n')) {
        const double lateral = line.split(',').first().toDouble();
        if (!line.isEmpty() && (lateral < 30.4 || lateral > 32.03))
            open += line + '\n';
    }
    write("open.csv", open);
    write("lone.csv", "-6,-4\n" + whole);
    write("narrow.csv", nominalSection(0, 65));
    write("few.csv", nominalSection(0, 130, 3));
    write("rail.csv", rail);
    const struct {
        const char *arguments, *note, *back;
        double thickness, deviation;  ///< 0: none
        int code;
    } cases[] = {
        {"whole.csv", "", "seen", 32.5, 1e-9, 0},
        {"whole.csv --nominal 30", "", "seen", 32.5, -2, 0},
        {"late.csv", "flange back is not seen", "assumed", 32.2, 0.00995, 0},
        {"late.csv --back 0", "", "given", 32.5, 1e-9, 0},
        {"burr.csv", "0.90 mm beyond the flange back are left out", "seen", 32.5, 1e-9, 0},
        {"stray.csv", "flange back is not seen", "assumed", 28.7, -Simulator::s1002Height(73.8), 1},
        {"lone.csv", "1 lone point(s) before the section are left out", "seen", 32.5, 1e-9, 0},
        {"glint.csv --diameter 920", "flange tip stands 1.5 mm apart in the section: a ", "seen", 0, 0, 1},
        {"glints.csv --diameter 920", "flange tip stands 1.5 mm apart in the section: a ", "seen", 0, 0, 1},
        {"flank.csv", "the flank of the steepness is seen at several places: a refl", "seen", 32.5, 1e-9, 1},
        {"open.csv", "the flange steepness may be 0.8 mm off", "seen", 32.5, 1e-9, 0},
        {"hidden.csv", "flank of the thickness lies in a gap of", "seen", 0, 1e-9, 1},
        {"narrow.csv", "no tread 70 mm from the flange back: the section ends at 64.9 mm", "seen", 0, 0, 1},
        {"few.csv", "takes 50 points, and the section has 44", "", 0, 0, 1},
        {"rail.csv", "no wheel: the distance of the flange tip from the back is", "", 0, 0, 1}};
    for (const auto& expected : cases) {
        SCOPED_TRACE(expected.arguments);
        const QString line = QString("wheels parameters ") + expected.arguments;
        const QJsonObject wheel = firstSection(line + " --json");
        EXPECT_NEAR(wheel["thicknessFromBack"].toDouble(), expected.thickness, 2e-3);
        EXPECT_EQ(wheel["thicknessFromBack"].isNull(), expected.thickness == 0);
        EXPECT_NEAR(wheel["heightDeviation"].toDouble(), expected.deviation, 1e-3);
        if (*expected.back != '\0') {
            EXPECT_EQ(wheel["flangeBack"].toString(), expected.back);
        }
        const Outcome text = run(line.split(' '));
        EXPECT_EQ(text.code, expected.code);
        EXPECT_TRUE(expected.deviation != 0 || expected.thickness != 0 || wheel["radius"].isNull());
        EXPECT_THAT(text.out, HasSubstr(expected.note));
        EXPECT_THAT(text.out, Not(HasSubstr("nan")));
    }
    const QJsonObject alone = firstSection("wheels parameters whole.csv --json"),
                      given =
                          firstSection("wheels parameters whole.csv --diameter 900 --json --svg given.svg");
    EXPECT_EQ(alone["nominalHeight"].toDouble(), 28);
    EXPECT_TRUE(alone["radius"].isNull() && alone["runningDiameter"].isNull());
    EXPECT_THAT(alone["notes"].toArray()[0].toString().toStdString(), HasSubstr("--diameter or --radii"));
    EXPECT_NEAR(given["runningDiameter"].toDouble(), 900, 1e-3);
    EXPECT_THAT(read("given.svg").toStdString(),
                AllOf(HasSubstr("running diameter 900.00"), HasSubstr(" from nominal 28 mm<")));
    const QJsonObject other = firstSection("wheels parameters rail.csv --diameter 920 --json --svg rail.svg");
    EXPECT_TRUE(other["radius"].isNull() && other["flangeBack"].isNull() && other["backPosition"].isNull());
    EXPECT_THAT(read("rail.svg").toStdString(), HasSubstr("no wheel: "));
    run("wheels parameters late.csv --svg late.svg");
    EXPECT_THAT(read("late.svg").toStdString(), HasSubstr("thickness from first point"));
    expectRefused("wheels parameters whole.csv --back 40", "not behind the flange tip");
}

/// --back places a section that begins behind its back, wherever it lies in the file and whichever side comes
/// first.
TEST_F(WheelValues, AReferenceWithoutItsBackTakesItsPlace) {
    ASSERT_EQ(run("simulate pass --reference --seed 5 --noise 0.05 --out post").code, 0);
    const auto sectionOf = [](double step, double shift, double direction) {
        QByteArray text;
        for (double lateral = 0.25; lateral <= 130; lateral += step)
            text += QByteArray::number(direction * (lateral + shift), 'f', 4) + ',' +
                    QByteArray::number(Simulator::s1002Height(lateral), 'f', 6) + '\n';
        return text;
    };
    const auto check = [this](const char* back) {
        return run(QStringList{"wheels", "check-post", "post", "--reference", "s.csv", "--back-to-back",
                               "1360", "--json", "--back", back});
    };
    const struct {
        double shift, direction;
        const char *back, *wrong;
    } places[] = {{0, 1, "0", "-0.2"}, {5, 1, "5", "4.8"}, {5, -1, "-5", "-4.8"}};
    for (const auto& place : places) {
        SCOPED_TRACE(place.back);
        write("s.csv", sectionOf(place.shift > 0 ? 0.5 : 0.02, place.shift, place.direction));
        expectRefused("wheels check-post post --reference s.csv", "--back gives its place");
        EXPECT_EQ(check(place.back).code, 0);
        const Outcome wrong = check(place.wrong);
        EXPECT_EQ(wrong.code, 1);
        for (const QJsonValue scanner : wrong.json()["scanners"].toArray())
            EXPECT_NEAR(std::fabs(scanner.toObject()["y"].toDouble()), 0.2, 0.01);
    }
    expectRefused("wheels check-post post --reference s.csv --back -120", "is not behind the flange tip");
}

TEST_F(WheelValues, AReferenceWheelTellsTheErrorOfEachScanner) {
    ASSERT_EQ(run("simulate pass --reference --seed 5 --noise 0.05 --out post").code, 0);
    const QString check = "wheels check-post post --reference post/reference.csv --back-to-back 1360 --json";
    EXPECT_EQ(run(check.split(' ')).code, 0);
    EXPECT_THAT(run((check + " --diameter 1000").split(' ')).out, HasSubstr("not the reference wheel"));
    // What the rules put wrong: SENSOR, X, Y, Z.
    const double wrong[][4] = {
        {3, 0, 0, -0.2}, {4, 0, 0, 0.1}, {5, 0.5, 0, 0}, {11, 0, 0.2, 0}, {12, 0, 0, 0}};
    QSettings settings("post/settings.ini", QSettings::IniFormat);
    for (const auto& error : wrong) {
        const QString key = QString("SENSOR%1/rule").arg(error[0]);
        QStringList rule = settings.value(key).toStringList();
        for (int i = 0; i < 3; ++i)
            rule[i] = QString::number(rule[i].toDouble() + error[i + 1], 'g', 12);
        settings.setValue(key, rule);
    }
    settings.sync();
    const Outcome outcome = run(check.split(' '));
    EXPECT_EQ(outcome.code, 1);
    for (const QJsonValue value : outcome.json()["scanners"].toArray()) {
        const QJsonObject scanner = value.toObject();
        const auto* error = std::find_if(std::begin(wrong), std::end(wrong),
                                         [&](const auto& e) { return e[0] == scanner["sensor"].toInt(); });
        const bool isWrong = error != std::end(wrong);
        EXPECT_NEAR(scanner["x"].toDouble(), isWrong ? (*error)[1] : 0, 0.02) << scanner["sensor"].toInt();
        EXPECT_NEAR(scanner["y"].toDouble(), isWrong ? (*error)[2] : 0, 0.005) << scanner["sensor"].toInt();
        EXPECT_NEAR(scanner["z"].toDouble(), isWrong ? (*error)[3] : 0, 0.005) << scanner["sensor"].toInt();
    }
    const QJsonArray wheels = outcome.json()["wheels"].toArray();
    // Of the circle through (-200, -0.2), (0, 0.1) and (200.5, 0) above the flange tips of radius 488.
    EXPECT_NEAR(wheels[0].toObject()["diameterError"].toDouble(), 6.521, 0.15);
    EXPECT_NEAR(wheels[1].toObject()["diameterError"].toDouble(), 0, 0.1);
    expectRefused("wheels check-post post --reference post/reference.csv --tolerance 0", "--tolerance");
    expectRefused("wheels check-post post", "--reference");
    ASSERT_EQ(run("simulate pass --wheelsets 2 --spacing 40 --out train").code, 0);
    expectRefused("wheels check-post train --reference post/reference.csv", "holds 2 wheelsets");
    expectRefused("wheels check-post post --reference post/truth.csv", "post/truth.csv");
}

/// A gauge's file of the nominal wheel, its tread worn by so much.
QByteArray gaugeFile(double wear, const QByteArray& header = "Side=%L\nSh=28.5\nDiameterTaperline=900\n") {
    QByteArray text = header + '\n';
    for (double lateral = 0; lateral <= 130; lateral += 0.1)
        text += QByteArray::number(lateral, 'f', 4) + ' ' +
                QByteArray::number(Simulator::s1002Height(lateral) - (lateral > 45 ? wear : 0), 'f', 6) +
                '\n';
    return text;
}

TEST_F(WheelValues, OfGaugesFilesAreJudgedAndCompared) {
    write("new.whl", gaugeFile(0));
    write("worn.whl", gaugeFile(1.5));
    write("alone.csv", nominalSection(12, 130));
    write("flat.whl", "Sh=1\n" + QByteArray("1 2\n").repeated(20));
    write("limits.csv", "symbol,diameter_from,diameter_to,minimum,maximum\nSh,840,,27,29\nSh,330,840,30,36\n"
                        "treadWear,,,,2\n");
    const struct {
        const char* arguments;
        double sh;
        const char *verdict, *out;
        int code;
    } cases[] = {{"new.whl --limits limits.csv", 28, "good", "900", 0},
                 {"worn.whl --limits limits.csv", 29.5, "OUT", "0.500 above the maximum 29", 1},
                 {"new.whl --limits limits.csv --diameter 700", 28, "OUT", "below the minimum 30", 1},
                 {"worn.whl --reference S1002 --align tip", 29.5, "", "areaLost", 0},
                 {"worn.whl --reference new.whl --widths 10,13mm --l1 3", 29.5, "", "Sd13", 0},
                 {"alone.csv", 0, "", "the flange back is not seen", 1},
                 {"alone.csv --back 0", 28, "", "given", 0},
                 {"flat.whl", 0, "", "no wheel: ", 1}};
    for (const auto& expected : cases) {
        SCOPED_TRACE(expected.arguments);
        const QString line = QString("wheels parameters ") + expected.arguments;
        const QJsonObject wheel = firstSection(line + " --json");
        EXPECT_NEAR(wheel["Sh"].toDouble(), expected.sh, 1e-4);
        EXPECT_EQ(wheel["Sh"].isNull(), expected.sh == 0);
        EXPECT_EQ(wheel["reasons"].toObject().contains("Sh"), expected.sh == 0);
        EXPECT_EQ(wheel["verdict"].toString().toStdString(), expected.verdict);
        const Outcome text = run(line.split(' '));
        EXPECT_EQ(text.code, expected.code);
        EXPECT_THAT(text.out + run((line + " --json").split(' ')).out, HasSubstr(expected.out));
    }
    const QJsonObject worn =
        firstSection("wheels parameters worn.whl --reference S1002 --align tip --svg w.svg --json");
    EXPECT_NEAR(worn["treadWear"].toDouble(), 1.5, 1e-4);
    EXPECT_NEAR(worn["largestWear"].toDouble(), 1.5, 1e-2);
    EXPECT_NEAR(worn["areaLost"].toDouble(), 1.5 * 85, 0.5);
    EXPECT_EQ(worn["stated"].toObject()["Sh"].toDouble(), 28.5);
    EXPECT_THAT(read("w.svg").toStdString(), HasSubstr("largest 1.5"));
    EXPECT_THAT(run("wheels info new.whl").out, AllOf(HasSubstr("left"), HasSubstr("DiameterTaperline")));
    EXPECT_EQ(run("wheels import new.whl new.csv").code, 0);
    EXPECT_NEAR(firstSection("wheels parameters new.csv --json")["Sd"].toDouble(), 32.5, 1e-3);
    expectRefused("wheels parameters new.whl --widths 0", "--widths needs heights above 0 mm");
    expectRefused("wheels parameters new.whl --align tip", "--reference");
    expectRefused("wheels parameters new.whl --reference alone.csv", "the flange back is not seen");
    expectRefused("wheels import flat.whl flat.csv", "no wheel: ");
}

TEST_F(WheelValues, OfRailsHaveTheirReasons) {
    QByteArray rail, worn;
    for (double x = -36; x <= 36.01; x += 0.1) {
        const double z = -x * x / 600 - (std::fabs(x) > 30 ? 3 * (std::fabs(x) - 30) : 0);
        rail += QByteArray::number(x) + ',' + QByteArray::number(z) + '\n';
        worn += QByteArray::number(x) + ',' + QByteArray::number(z - 2) + '\n';
    }
    write("rail.csv", rail);
    write("worn.csv", worn);
    write("wheel.csv", nominalSection(0, 130));
    const auto first = [&](const char* line) { return run(line).json()["sections"].toArray()[0].toObject(); };
    const QJsonObject alone = first("rails parameters rail.csv --json"),
                      wear = first("rails parameters worn.csv --reference rail.csv --svg rail.svg --json"),
                      wheel = first("rails parameters wheel.csv --json");
    EXPECT_NEAR(alone["crownRadius"].toDouble(), 300, 0.5);
    EXPECT_NEAR(alone["headWidth"].toDouble(), 2 * 34.0, 0.3);
    EXPECT_TRUE(alone["W1"].isNull() && alone["reasons"].toObject().contains("W1"));
    EXPECT_NEAR(wear["W1"].toDouble(), 2, 1e-6);
    EXPECT_THAT(read("rail.svg").toStdString(), HasSubstr("W1 2.00"));
    EXPECT_THAT(wheel["reasons"].toObject()["headWidth"].toString().toStdString(),
                HasSubstr("shape of a wheel"));
    EXPECT_EQ(run("rails parameters rail.csv").code, 0);
    EXPECT_EQ(run("rails parameters wheel.csv").code, 1);
    const QJsonObject gauge = run("rails gauge rail.csv rail.csv --rail-origin 750 --json").json();
    EXPECT_NEAR(gauge["gauge"].toDouble(), 1500 - alone["headWidth"].toDouble(), 1);
    EXPECT_TRUE(gauge["uncertainties"].toObject()["gauge"].toObject().contains("U"));
    EXPECT_EQ(run("rails gauge rail.csv rail.csv").code, 1);
    expectRefused("rails gauge rail.csv", "give the file of the other rail, too");
    expectRefused("rails gauge rail.csv --rail-origin 750", "--rail-origin is for two files");
    expectRefused("rails parameters rail.csv --reference wheel.csv", "the shape of a wheel");

    // A list, on one and on several jobs, begun anew where the nominal rail has another content.
    write("list.txt", "worn.csv\nwheel.csv\ngone.csv\nrail.csv\n");
    const QString line = "rails parameters --files-from list.txt --reference rail.csv --out ";
    EXPECT_EQ(run((line + "part.csv --jobs 1").split(' ')).code, 2);
    run((line + "again.csv --jobs 4").split(' '));
    EXPECT_EQ(read("part.csv"), read("again.csv"));
    const QList<QByteArray> rows = read("part.csv").split('\n');
    EXPECT_THAT(rows[0].toStdString(), StartsWith("section,W1_mm,U_W1_mm,W2_mm"));
    EXPECT_THAT(rows[1].toStdString(), StartsWith("worn.csv,2,"));
    EXPECT_THAT(rows[2].toStdString(), HasSubstr("NOT MEASURED,"));
    EXPECT_THAT(rows[3].toStdString(), HasSubstr("NOT READ,gone.csv: no such file"));
    EXPECT_THAT(run((line + "part.csv").split(' ')).err, HasSubstr("complete"));
    write("rail.csv", worn);
    expectRefused((line + "part.csv").split(' '), "another plan or other options");
    expectRefused("rails parameters rail.csv --out part.csv", "--files-from");
    expectRefused("rails parameters --files-from list.txt --out b.csv --svg a.svg",
                  "--svg does not go with --files-from");
}

}  // namespace
