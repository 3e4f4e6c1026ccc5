// "kvmeasure wheels conicity" from outside.

#include <tests/cli/program.h>

namespace {

class ConicityProgram : public Program {
protected:
    /// A flange of 28 mm, a fillet and a tread of this slope; a head of radius 300 mm with sides.
    void writeSections(double slope) const {
        QByteArray wheel = "y_mm,z_mm\n", mirrored = "x,z\n", rail = "y,z\n";
        for (double x = -70; x <= 60; x += 0.25) {
            const double tip = 28 - 0.06 * (x + 55) * (x + 55);
            const double z = x < -40 ? tip : -slope * (x + 38);
            wheel += QByteArray::number(x) + ',' + QByteArray::number(z, 'f', 9) + '\n';
            mirrored += QByteArray::number(-x) + ',' + QByteArray::number(z, 'f', 9) + '\n';
        }
        for (double x = -36; x <= 36; x += 0.25) {
            const double side = std::max(0.0, std::fabs(x) - 28);
            rail += QByteArray::number(x) + ',' +
                    QByteArray::number(-x * x / 600 - 0.25 * side * side, 'f', 9) + '\n';
        }
        write("w.csv", wheel);
        write("m.csv", mirrored);
        write("r.csv", rail);
    }
    QJsonObject json(const QString& words, int code = 0) const {
        const Outcome outcome = run((words + " --json").split(' '));
        EXPECT_EQ(outcome.code, code) << words.toStdString() << outcome.err;
        EXPECT_THAT(outcome.out, Not(HasSubstr("nan")));
        return outcome.json();
    }
};

TEST_F(ConicityProgram, MeasuresSectionsOnRails) {
    writeSections(0.05);
    const QJsonObject result =
        json("wheels conicity --right w.csv --left w.csv --right-rail r.csv --left-rail "
             "r.csv --rail-origin 750 --diameter 920 --amplitudes 1..4:0.1 --svg c.svg");
    const QJsonArray conicity = result["conicity"].toArray();
    ASSERT_EQ(conicity.size(), 31);
    EXPECT_EQ(conicity.at(2).toObject()["amplitude"].toDouble(), 1.2);
    for (const auto& value : conicity) {
        const QJsonObject at = value.toObject();
        EXPECT_TRUE(at["valid"].toBool());
        EXPECT_EQ(at["reason"].toString(), QString());
        EXPECT_NEAR(at["tanGamma"].toDouble(), 0.05, 1e-5);
        EXPECT_NEAR(at["wavelength"].toDouble(), 16504.6, 1);
    }
    const QJsonArray difference = result["rollingRadiusDifference"].toArray();
    ASSERT_EQ(difference.size(), 201);
    EXPECT_EQ(difference.at(103).toArray().at(0).toDouble(), 0.3);
    EXPECT_NEAR(difference.at(103).toArray().at(1).toDouble(), 0.03, 1e-6);
    EXPECT_EQ(result["contacts"].toArray().size(), 201);
    EXPECT_EQ(result["leaps"].toArray().size(), 2) << "the flange touches on either side";
    EXPECT_THAT(read("c.svg").toStdString(), HasSubstr("by regression"));
    // The other ways to place the same rails; a wheel that is turned round.
    const double gauge = result["gauge"].toDouble();
    EXPECT_NEAR(gauge, 1500 - 2 * 34.918, 0.1);
    const QJsonObject placed = json(
        QString("wheels conicity --right m.csv --left w.csv --mirror right --right-rail r.csv --gauge %1")
            .arg(gauge, 0, 'f', 12));
    EXPECT_NEAR(placed["railOrigin"].toObject()["left"].toDouble(), 750, 1e-9);
    EXPECT_NEAR(placed["conicity"].toArray().at(0).toObject()["tanGamma"].toDouble(), 0.05, 1e-5);
    // Wheels that stand otherwise are put upright, and their flange back tells x.
    QByteArray fromBack, onItsSide("x,z\n");
    for (const QByteArray& line : read("w.csv").split('\n').mid(1)) {
        if (!line.isEmpty())
            fromBack += QByteArray::number(line.split(',').at(0).toDouble() + 70) + ',' +
                        line.split(',').at(1) + '\n';
        if (!line.isEmpty())
            onItsSide += line.split(',').at(1) + ',' + line.split(',').at(0) + '\n';
    }
    write("b.csv", fromBack);
    write("s.csv", onItsSide);
    for (const char* wheel : {"m.csv", "b.csv", "s.csv"}) {
        const QJsonObject turned =
            json(QString("wheels conicity --right %1 --right-rail r.csv --rail-origin 750 --amplitudes 4")
                     .arg(wheel));
        EXPECT_NEAR(turned["conicity"].toArray().at(0).toObject()["tanGamma"].toDouble(), 0.05, 1e-5)
            << wheel;
        EXPECT_NEAR(turned["leaps"].toArray().at(0).toObject()["y"].toDouble(),
                    result["leaps"].toArray().at(0).toObject()["y"].toDouble(), 1e-9);
        EXPECT_THAT(turned["notes"].toArray().first().toString().toStdString(), HasSubstr("right: "));
    }
    // A smaller right wheel runs to the right, where it rolls on a larger radius.
    const QJsonObject uneven = json("wheels conicity --right w.csv --right-rail r.csv --right-diameter 919.8 "
                                    "--rail-origin 750 --amplitudes 2,4.5");
    EXPECT_NEAR(uneven["runningPosition"].toDouble(), 1, 1e-3);
    EXPECT_THAT(run("wheels conicity --right w.csv --right-rail r.csv --rail-origin 750").out,
                AllOf(HasSubstr("0.0500"), HasSubstr("touches at two places")));
}

TEST_F(ConicityProgram, TakesTablesAndRefusesWhatCannotBe) {
    write("dr.csv", "case,delta_r_mm,y_mm\nE,-0.4,-4\nE,0.4,4\nE,0,0\n");
    const QJsonArray values =
        json("wheels conicity --delta-r dr.csv --diameter 920 --amplitudes 2,4..5:1", 1)["conicity"]
            .toArray();
    ASSERT_EQ(values.size(), 3);
    EXPECT_NEAR(values.at(0).toObject()["tanGamma"].toDouble(), 0.05, 1e-12);
    EXPECT_TRUE(values.at(1).toObject()["valid"].toBool());
    EXPECT_TRUE(values.at(2).toObject()["tanGamma"].isNull());
    EXPECT_THAT(values.at(2).toObject()["reason"].toString().toStdString(),
                HasSubstr("beyond the largest, 4 mm"));

    writeSections(0.05);
    const char* three = "x,z\n0,0\n1,1\n2,2\n";
    write("three.csv", three);
    write("inch.csv", "x [mm],z\n-2.5,0\n-1,0.1\n0,0\n1,0\n2,0\n");
    write("twice.csv", "y,dr\n0,0\n0,1\n");
    write("hole.csv", "y,dr\n-1,-1\n0,\n1,1\n");
    const struct {
        const char* words;
        const char* reason;
    } refused[] = {{"--right w.csv", "--right-rail RAIL is missing"},
                   {"--right r.csv --right-rail r.csv", "r.csv: --right: looks like a rail"},
                   {"--right w.csv --right-rail w.csv", "w.csv: --right-rail: looks like a wheel"},
                   {"--right three.csv --right-rail r.csv", "three.csv: --right: has 3 point(s)"},
                   {"--right inch.csv --right-rail r.csv", "another unit"},
                   {"--right w.csv --right-rail r.csv --amplitudes 1..1e9:1e-9", "up to 100 mm"},
                   {"--right w.csv --right-rail r.csv --amplitudes 1..2:1e-9", "at most 10000"},
                   {"--right w.csv --right-rail r.csv --amplitudes 1..2", "a step above 0"},
                   {"--right w.csv --right-rail r.csv --amplitudes 0", "above 0"},
                   {"--right w.csv --right-rail r.csv --diameter 0", "--diameter must be from 1"},
                   {"--right w.csv --right-rail r.csv --step 1e-9", "--step must be from 0.01"},
                   {"--right w.csv --right-rail r.csv --gauge 1435 --rail-origin 750", "give one"},
                   {"--delta-r dr.csv --right w.csv", "--right has no effect with --delta-r"},
                   {"--delta-r twice.csv", "two rows for y = 0"},
                   {"--delta-r hole.csv", "line 3: no number"},
                   {"--delta-r dr.csv --columns y_mm", "the columns of y and dr"}};
    for (const auto& each : refused)
        expectRefused((QString("wheels conicity ") + each.words).toUtf8().constData(), each.reason);
}

}  // namespace
