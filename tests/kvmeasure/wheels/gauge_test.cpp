// Files of gauges in every form, turned and damaged; values of gauges and of wear.

#include <kvmeasure/wheels/gauge_file.h>
#include <kvmeasure/wheels/wheel_wear.h>
#include <tests/kvmeasure/wheels/sections.h>

namespace {

QByteArray rows(const Points& points, const char* separator = " ") {
    QByteArray text;
    for (const Vector& p : points)
        text += QByteArray::number(p.x, 'f', 6) + separator + QByteArray::number(p.y, 'f', 6) + '\n';
    return text;
}

/// The nominal wheel from its back to a lateral position, with the back face below it.
Points nominalWheel(double from = 0, double to = 130) {
    Points points;
    if (from == 0) {
        for (double y = -10; y < 9.5; y += 0.5)
            points.emplace_back(0, y);
    }
    for (const Vector& p : s1002Section(0.1).points) {
        if (p.x >= from && p.x <= to)
            points.push_back(p);
    }
    return points;
}

const QByteArray kGaugeHeader =
    "ProgramName=Gauge\nSide=%R\nXoffset=0.0000\nYoffset=0.0000\nRefPoint1=0.0000, 0.0000\n"
    "RefPoint2=10.0000, 0.0000\nRefPoint3=0.0000, 5.0000\nColumnDef=X,Y\nSh=28.01\n";

QByteArray blocks(const QByteArray& fields, const Points& points) {
    return "% a comment\nheader.begin\n  version = 1\n  type = 1 ! wheel\nheader.end\nspline.begin\n" +
           fields + "  point.begin\n!1 2\n" + rows(points, "\t") + "  point.end\nspline.end\n";
}

TEST(GaugeFiles, AreToldByContentAndBroughtIntoTheirFrame) {
    const ScratchDirectory scratch;
    const Points wheel = nominalWheel();
    const Points reversed(wheel.rbegin(), wheel.rend());
    const auto fromCircle = [](const Vector& p) { return Vector(p.x - 70, p.y); };
    const struct {
        const char* name;
        QByteArray content;
    } files[] = {
        {"plain", kGaugeHeader + '\n' + rows(wheel)},
        {"from the field side", kGaugeHeader + rows(reversed)},
        {"four columns", kGaugeHeader + "XYPoints=1300\n" + rows(wheel).replace('\n', " 1 2\n")},
        {"decimal commas", kGaugeHeader.mid(0, 18) + "WheelID=\n" + rows(wheel).replace('.', ',')},
        {"carriage returns, marked points",
         QByteArray(kGaugeHeader + "\" 1 99\n" + rows(wheel)).replace('\n', "\r\n")},
        {"offset", QByteArray(kGaugeHeader).replace("Xoffset=0.0", "Xoffset=2.0") +
                       rows(moved(wheel, [](const Vector& p) { return Vector(p.x - 2, p.y); }))},
        {"frame of reference points",
         QByteArray("Sh=1\nRefPoint1=5,7\nRefPoint2=5,17\nRefPoint3=0,7\n") +
             rows(moved(wheel, [](const Vector& p) { return Vector(5 - p.y, 7 + p.x); }))},
        {"tilt", "Sh=1\nTilt=2.864788975654116\n" +
                     rows(moved(wheel,
                                [&](const Vector& p) {
                                    const double c = std::cos(-0.05), s = std::sin(-0.05);
                                    return Vector(c * p.x - s * p.y, s * p.x + c * p.y);
                                }))},
        {"blocks", blocks("units.len.f = 1000.\n", moved(wheel, fromCircle))},
        {"blocks, mirrored", blocks("mirror.y = 1 ! mode\ninversion = 1\n",
                                    moved(reversed, [&](const Vector& p) { return Vector(70 - p.x, p.y); }))},
        {"blocks in metres",
         blocks("units.len.f=+1.0e0\n",
                moved(wheel, [](const Vector& p) { return Vector((p.x - 70) / 1000, p.y / 1000); }))},
        {"blocks, turned and shifted",
         blocks("shift.y = 1\nrotate = 0.05\nbound.y.min = -200\nbound.y.max = 200\n",
                moved(moved(wheel, fromCircle),
                      [&](const Vector& p) {
                          const double c = std::cos(-0.05), s = std::sin(-0.05);
                          return Vector(c * p.x - s * p.y - 1, s * p.x + c * p.y);
                      }))},
        {"CSV from the running circle", "y_mm,z_mm\n" + rows(moved(wheel, fromCircle), ",")},
        {"CSV in cm",
         "x [cm],z [cm]\n" +
             rows(moved(wheel, [](const Vector& p) { return Vector(p.x / 10, p.y / 10); }), ",")}};
    for (const auto& file : files) {
        SCOPED_TRACE(file.name);
        const GaugeProfile profile = readGaugeProfile(scratch.write("gauge.dat", file.content));
        const WheelSection section = wheelSection(profile);
        ASSERT_EQ(section.reason.toStdString(), "");
        EXPECT_EQ(section.backReason.toStdString(), "");
        const std::vector<SectionValue> values = gaugeValues(section).values;
        EXPECT_NEAR(valueOf(values, "Sh"), 28.0, 1e-4);
        EXPECT_NEAR(valueOf(values, "Sd"), 32.5, 1e-3);
        EXPECT_NEAR(valueOf(values, "qR"), 10.7939, 1e-3);
    }
    const GaugeProfile profile = readGaugeProfile(scratch.write("a.whl", files[0].content));
    EXPECT_EQ(profile.object, GaugeObject::Wheel);
    EXPECT_EQ(profile.zero, GaugeZero::FlangeBack);
    EXPECT_EQ(profile.side.toStdString(), "right");
    EXPECT_EQ(profile.number("sh"), 28.01);
    EXPECT_EQ(profile.field("ColumnDef").toStdString(), "X,Y");
    const Refused damaged[] = {{"A=1\nXYPoints=9\n1 2\n3 4\n", "states 9 points, and 2 follow"},
                               {"A=1\nB=2\n", "no points"},
                               {"A=1\n1 2\n3 x\n", "\"3 x\" is no point"},
                               {"A=1\n1 2\nB=2\n1 2\n", "stands among the points"},
                               {"spline.begin\npoint.begin\n1 2\n", "\"point.end\" is missing"},
                               {"A=1\n1e12 1\n", "beyond 1e9 mm"},
                               {"A=1\n1\n", "two numbers are needed"}};
    for (const auto& file : damaged)
        EXPECT_THAT([&] { readGaugeProfile(scratch.write("d.whl", file.text)); }, Refuses(file.reason));
}

std::function<Vector(const Vector&)> shaken(unsigned seed, double deviation) {
    return [random = std::mt19937(seed), noise = std::normal_distribution<double>(0, deviation)](
               const Vector& p) mutable { return Vector(p.x + noise(random), p.y + noise(random)); };
}

TEST(GaugeSections, StandUprightWhateverWayTheyWereTurned) {
    const Points exact = nominalWheel(), noisy = moved(exact, shaken(7, 0.01));
    const auto turned = [](const Points& points, int turn) {
        Points result = moved(points, [turn](const Vector& p) {
            const Vector q((turn & 1) == 0 ? p.x : -p.x, (turn & 2) == 0 ? p.y : -p.y);
            return (turn & 4) == 0 ? Vector(q.x + 40, q.y - 30) : Vector(q.y + 40, q.x - 30);
        });
        if ((turn & 8) != 0)
            std::reverse(result.begin(), result.end());
        return wheelOf(result);
    };
    const WheelSection first = turned(noisy, 0);
    for (int turn = 0; turn < 16; ++turn) {
        SCOPED_TRACE(turn);
        const WheelSection section = turned(exact, turn);
        ASSERT_EQ(section.reason, "");
        const GaugeValues gauge = gaugeValues(section);
        EXPECT_NEAR(valueOf(gauge.values, "Sd"), 32.5, 1e-3);
        EXPECT_NEAR(valueOf(gauge.values, "flangeAngle"), 70, 0.1);
        EXPECT_NEAR(valueOf(gauge.values, "flangeRootRadius"), 13, 0.2);
        EXPECT_NEAR(gauge.marks.lowerFlank.y - gauge.marks.tread.y, 10, 1e-9);
        const WheelSection again = turned(noisy, turn);
        expectSame(gaugeValues(again).values, gaugeValues(first).values, 1e-6);
        expectSame(wheelWear(again, s1002Section()).values, wheelWear(first, s1002Section()).values, 1e-6);
    }
    // Seen four times, forth and back: sorted by x. Of three times the width they are taken as they run.
    for (const int times : {2, 4}) {
        Points pass = s1002Section(0.1).points, all;
        for (int i = 0; i < times; ++i, std::reverse(pass.begin(), pass.end()))
            all.insert(all.end(), pass.begin(), pass.end());
        const WheelSection section = wheelOf(all);
        EXPECT_EQ(section.notes.filter("run to and fro").size(), times / 4);
        if (times == 4)
            expectSame(gaugeValues(section).values, gaugeValues(wheelOf(pass)).values, 1e-9);
    }
}

TEST(GaugeSections, CountFromTheBackWhereverItIsKnownFrom) {
    using Zero = GaugeZero;
    using Source = BackSource;
    const struct {
        double at, from;  // place of the back in the file; where the section begins, from there
        Zero zero;
        double given;
        Source source;
        const char* note;
    } cases[] = {
        {0, 0, Zero::Unknown, kNaN, Source::File, ""},
        {-70, 0, Zero::Unknown, kNaN, Source::File, ""},
        {20, 0, Zero::Unknown, kNaN, Source::Seen, ""},
        {0.5, 0, Zero::Unknown, kNaN, Source::Seen, ""},
        {0, 0.4, Zero::Unknown, kNaN, Source::File, "is taken at 0 of the file, beside its end at 0.400"},
        {0, 1.1, Zero::Unknown, kNaN, Source::Unknown, ""},
        {20, 3, Zero::Unknown, kNaN, Source::Unknown, ""},
        {20, 3, Zero::Unknown, 20, Source::Given, ""},
        {0, 12, Zero::FlangeBack, kNaN, Source::File, ""},
        {-70, 12, Zero::RunningCircle, kNaN, Source::File, ""},
        {100, 0, Zero::FlangeBack, kNaN, Source::Seen, ""},
        {-20, 0, Zero::FlangeBack, kNaN, Source::Seen, ""}};
    for (const auto& c : cases) {
        for (const double sign : {1.0, -1.0}) {
            SCOPED_TRACE(testing::Message() << &c - cases << ", " << sign);
            GaugeProfile profile = profileOf(moved(
                nominalWheel(c.from), [&](const Vector& p) { return Vector(sign * (p.x + c.at), p.y); }));
            profile.zero = c.zero;
            const WheelSection section = wheelSection(profile, sign * c.given);
            EXPECT_EQ(section.source, c.source);
            EXPECT_EQ(section.backReason.isEmpty(), c.source != Source::Unknown);
            EXPECT_THAT(
                section.notes.join('|'),
                Says(QString(c.note).replace("at 0.4", sign < 0 ? "at -0.4" : "at 0.4").toStdString()));
            EXPECT_EQ(section.notes.size(), (*c.note == '\0' ? 0 : 1) + (sign < 0 ? 1 : 0));
            if (c.source != Source::Unknown) {
                EXPECT_NEAR(section.back, c.at, 1e-9);
                EXPECT_NEAR(valueOf(gaugeValues(section).values, "Sd"), 32.5, 1e-3);
            }
        }
    }
}

TEST(GaugeSections, WhatIsNotSeenHasAReason) {
    const auto rail = [] {
        Points points;
        for (double x = -36; x <= 36; x += 0.2)
            points.emplace_back(x, -x * x / 600 - (std::fabs(x) > 30 ? 3 * (std::fabs(x) - 30) : 0));
        return points;
    }();
    Points undercut = nominalWheel();
    for (Vector& p : undercut)
        p.x += p.y > 8 && p.y < 18 && p.x > 25 ? -0.6 * (18 - p.y) : 0;
    Points twice = nominalWheel(), glint = twice, gap;
    glint[glint.size() / 3].y += 2;
    for (const Vector& p : nominalWheel()) {
        if (p.x < 30 || p.x > 60)
            gap.push_back(p);
    }
    const auto scaled = [](double factor) {
        return moved(nominalWheel(), [&](const Vector& p) { return Vector(p.x / factor, p.y / factor); });
    };
    const struct {
        const char* name;
        Points points;
        const char *key, *reason;
    } cases[] = {{"no back", nominalWheel(12), "Sh", "flange back is not seen"},
                 {"no back", nominalWheel(12), "Sd", "flange back is not seen"},
                 {"no tread", nominalWheel(0, 65), "Sh", "no tread 70 mm from the flange back"},
                 {"flange alone", nominalWheel(0, 50), "Sh", "ends beside the flange, before the tread"},
                 {"no flange", nominalWheel(40), "Sh", "no wheel"},
                 {"flank in a gap", gap, "Sd", "lies in a gap of"},
                 {"a rail", rail, "Sh", "the shape of a rail"},
                 {"cm", scaled(10), "Sh", "give --unit cm"},
                 {"inch", scaled(25.4), "qR", "give --unit inch"},
                 {"m", scaled(1000), "Sh", "as m it is one: give --unit m"},
                 {"um", scaled(0.001), "Sh", "give --unit um"},
                 {"mil", scaled(0.0254), "Sh", "give --unit mil"},
                 {"three points",
                  {Vector(0, 0), Vector(20, 28), Vector(70, 0)},
                  "Sh",
                  "has 3 points, and 10 are needed"},
                 {"a line", moved(rail, [](const Vector& p) { return Vector(p.x, 0); }), "Sh",
                  "no flange of 15 to 50 mm"},
                 {"narrow", nominalWheel(0, 80), "hollow", "the section ends at"},
                 {"no field side", nominalWheel(), "rollover", "does not end upright"},
                 {"no field side", nominalWheel(), "rimWidth", "does not end upright"}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        GaugeProfile profile;
        profile.points = each.points;
        const std::vector<SectionValue> values = gaugeValues(wheelSection(profile)).values;
        EXPECT_TRUE(std::isnan(valueOf(values, each.key)));
        EXPECT_THAT(reasonOf(values, each.key), Says(each.reason));
    }
    GaugeProfile profile;
    profile.points = undercut;
    EXPECT_THAT(findValue(gaugeValues(wheelSection(profile)).values, "flangeAngle")->note, Says("undercut"));
    profile.points.insert(profile.points.end(), undercut.begin(), undercut.end());
    twice.clear();
    for (const Vector& p : nominalWheel()) {
        twice.push_back(p);
        twice.push_back(p);
    }
    profile.points = twice;
    EXPECT_NEAR(valueOf(gaugeValues(wheelSection(profile)).values, "Sd"), 32.5, 1e-3);
    EXPECT_THAT(reasonOf(railValues(railSection(profile), nullptr).values, "headWidth"),
                Says("the shape of a wheel"));
}

TEST(GaugeValues, OfAWornRimAreThoseItWasBuiltWith) {
    Points worn;
    for (const Vector& p : nominalWheel(0, 129)) {
        const double hollow = p.x > 55 && p.x < 100 ? 1.5 * std::sin((p.x - 55) / 45 * 3.14159265358979) : 0;
        worn.emplace_back(p.x, p.y - hollow);
    }
    worn.emplace_back(135.5, -3.5);  // rolled over
    for (double y = -4; y > -20; y -= 0.2)
        worn.emplace_back(135, y);
    GaugeProfile profile;
    profile.points = worn;
    const WheelSection section = wheelSection(profile);
    GaugePlaces places;
    places.widthHeights = {10, 13, 40};
    const std::vector<SectionValue> values = gaugeValues(section, places).values;
    const double loss = 1.5 * std::sin(15 / 45.0 * 3.14159265358979);
    EXPECT_NEAR(valueOf(values, "Sh"), 28 + loss, 1e-3);
    EXPECT_EQ(valueOf(values, "Sd10"), valueOf(values, "Sd"));
    EXPECT_LT(valueOf(values, "Sd13"), valueOf(values, "Sd"));
    EXPECT_THAT(reasonOf(values, "Sd40"), Says("above the flange tip"));
    const auto at = [&section](double tread, double aboveTread) {
        GaugePlaces other;
        other.tread = tread;
        other.aboveTread = aboveTread;
        return gaugeValues(section, other).values;
    };
    EXPECT_TRUE(std::isnan(valueOf(at(70, 40), "qR")));
    EXPECT_THAT(reasonOf(at(25, 1), "Sh"), Says("no wheel: the flange height is"));
    EXPECT_THAT(reasonOf(at(100, 0.5), "Sd"), Says("no wheel: the flange thickness is"));
    EXPECT_THAT(reasonOf(at(100, -30), "Sd"), Says("does not reach the level above the tread"));
    EXPECT_NEAR(valueOf(values, "rimWidth"), 135, 1e-6);
    EXPECT_NEAR(valueOf(values, "rollover"), 0.5, 1e-6);
    EXPECT_GT(valueOf(values, "hollow"), 0.2);
    EXPECT_LT(valueOf(values, "hollow"), 1.5);
    const Points raised =
        moved(nominalWheel(), [](const Vector& p) { return Vector(p.x, p.y + (p.x > 124 ? 14 : 0)); });
    EXPECT_NEAR(valueOf(gaugeValues(wheelOf(raised)).values, "Sd"), 32.5, 1e-3) << "far from the flank";
    GaugeProfile dense;
    dense.points.assign(worn.begin(), worn.end() - 80);
    for (double y = -4; y > -20; y -= 0.002)
        dense.points.emplace_back(135, y);
    EXPECT_NEAR(valueOf(gaugeValues(wheelSection(dense)).values, "rimWidth"), 135, 1e-6);
    const WheelSection nominal = s1002Section();
    EXPECT_NEAR(valueOf(gaugeValues(nominal).values, "hollow"), 0, 1e-9);
    const std::vector<SectionValue> lost = wheelWear(section, nominal, WearAlignment::Tip).values;
    EXPECT_NEAR(valueOf(lost, "treadWear"), loss, 1e-3);
    EXPECT_NEAR(valueOf(lost, "areaLost"), 1.5 * 45 * 2 / 3.14159265358979, 0.05);
    EXPECT_NEAR(valueOf(lost, "largestWear"), 1.5, 0.01);
    EXPECT_NEAR(valueOf(lost, "largestWearAt"), 77.5, 1.5);
    EXPECT_NEAR(valueOf(lost, "areaGained"), 0, 0.01);
    EXPECT_NEAR(valueOf(wheelWear(nominal, nominal).values, "areaLost"), 0, 1e-9);
}

}  // namespace
