// Files of gauges in every form, turned and damaged; values of gauges, of rails, of wear; limits.

#include <kvmeasure/wheels/gauge_file.h>
#include <kvmeasure/wheels/limits.h>
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

TEST(GaugeSections, StandUprightWhateverWayTheyWereTurned) {
    const Points wheel = nominalWheel();
    for (int turn = 0; turn < 8; ++turn) {
        SCOPED_TRACE(turn);
        GaugeProfile profile;
        profile.points = moved(wheel, [&](const Vector& p) {
            const Vector q((turn & 1) == 0 ? p.x : -p.x, (turn & 2) == 0 ? p.y : -p.y);
            return (turn & 4) == 0 ? q : Vector(q.y, q.x);
        });
        const WheelSection section = wheelSection(profile);
        ASSERT_EQ(section.reason.toStdString(), "");
        const GaugeValues gauge = gaugeValues(section);
        EXPECT_NEAR(valueOf(gauge.values, "Sd"), 32.5, 1e-3);
        EXPECT_NEAR(valueOf(gauge.values, "flangeAngle"), 70, 0.1);
        EXPECT_NEAR(valueOf(gauge.values, "flangeRootRadius"), 13, 0.2);
        EXPECT_NEAR(gauge.marks.lowerFlank.y - gauge.marks.tread.y, 10, 1e-9);
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
    places.aboveTread = 40;
    EXPECT_TRUE(std::isnan(valueOf(gaugeValues(section, places).values, "qR")));
    places.aboveTread = 10;
    EXPECT_NEAR(valueOf(values, "rimWidth"), 135, 1e-6);
    EXPECT_NEAR(valueOf(values, "rollover"), 0.5, 1e-6);
    EXPECT_GT(valueOf(values, "hollow"), 0.2);
    EXPECT_LT(valueOf(values, "hollow"), 1.5);
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

/// A head of radius 300 within 8 mm of its middle, then 80, then 13, with sides 1:20; worn by what is given.
Points head(double height = 0, double side = 0, double middle = 0) {
    Points points;
    const double foot = 36.5;
    for (double y = -40; y < -16; y += 0.25)
        points.emplace_back(middle - foot + (y + 16) / 20, y);
    for (double angle = 87; angle > 12; angle -= 0.5)
        points.emplace_back(middle - foot + 13 - 13 * std::sin(angle / 57.29577951),
                            -15.3 + 13 * std::cos(angle / 57.29577951));
    const double edge = foot - 13 + 13 * std::sin(12 / 57.29577951),
                 low = -15.3 + 13 * std::cos(12 / 57.29577951);
    for (double x = -edge; x <= edge; x += 0.1) {
        const double crown = -x * x / 600;
        const double blend = std::fabs(x) > 8 ? (std::fabs(x) - 8) * (std::fabs(x) - 8) *
                                                    (low + edge * edge / 600) / ((edge - 8) * (edge - 8))
                                              : 0;
        points.emplace_back(middle + x, crown + blend);
    }
    const auto half = static_cast<int>(points.size());
    for (int i = half - 1; i >= 0; --i) {
        const Vector& p = points[static_cast<std::size_t>(i)];
        if (p.x < middle - edge)
            points.emplace_back(2 * middle - p.x, p.y);
    }
    for (Vector& p : points)
        p = Vector(p.x > middle ? p.x - side * std::min(1.0, (p.x - middle) / 30) : p.x, p.y - height);
    return points;
}

TEST(RailValues, AreThoseTheHeadWasWornBy) {
    const RailSection nominal = railOf(head());
    ASSERT_EQ(nominal.reason.toStdString(), "");
    const std::vector<SectionValue> alone = railValues(nominal, nullptr).values;
    EXPECT_NEAR(valueOf(alone, "crownRadius"), 300, 1);
    EXPECT_NEAR(valueOf(alone, "headWidth"), 73, 0.3);
    EXPECT_NEAR(valueOf(alone, "inclination"), 0, 1e-9);
    const double angle = std::atan(1 / 20.0), c = std::cos(angle), s = std::sin(angle);
    const auto lean = [&](const Vector& p) { return Vector(c * p.x + s * p.y, c * p.y - s * p.x); };
    EXPECT_NEAR(valueOf(railValues(railOf(moved(head(), lean)), nullptr).values, "inclination"), 2.8624,
                1e-3);
    EXPECT_THAT(reasonOf(alone, "W1"), Says("--reference"));
    for (const char* key : {"W1", "W2", "W3", "areaLost"})
        EXPECT_NEAR(valueOf(railValues(nominal, &nominal).values, key), 0, 1e-9) << key;
    const RailValues lower = railValues(railOf(head(2.5)), &nominal);
    EXPECT_NEAR(valueOf(lower.values, "W1"), 2.5, 1e-9);
    // Along the normal at 45 degrees to the same arc 2.5 mm lower; the widths of both corners' arcs, summed.
    EXPECT_NEAR(valueOf(lower.values, "W3"), 13 - (std::sqrt(169 - 2.5 * 2.5 / 2) - 2.5 * std::sqrt(0.5)),
                2e-3);
    EXPECT_NEAR(valueOf(lower.values, "areaLost"), 181.13, 0.05);
    const RailValues side = railValues(railOf(head(0, 4)), &nominal);
    EXPECT_NEAR(valueOf(side.values, "W1"), 0, 1e-6);
    EXPECT_NEAR(valueOf(side.values, "W2"), 4, 0.05);
    EXPECT_NEAR(valueOf(side.values, "W3"), 4 * std::sqrt(0.5), 0.4);
    EXPECT_EQ(side.side, GaugeSide::Right);
    RailPlaces left;
    left.side = GaugeSide::Left;
    EXPECT_NEAR(valueOf(railValues(railOf(head(0, 4)), &nominal, left).values, "W2"), 0, 1e-9);
    // Upside down, and in a mirrored frame beside the nominal one.
    const RailSection turned =
        railOf(moved(head(2.5, 4, 5), [](const Vector& p) { return Vector(p.x, -p.y); }));
    EXPECT_EQ(turned.turn.text().toStdString(), "upside down");
    const RailSection beside = railOf(head(0, 0, -5));
    const RailValues mirrored = railValues(turned, &beside);
    EXPECT_TRUE(mirrored.isMirrored);
    EXPECT_EQ(mirrored.side, GaugeSide::Left);
    EXPECT_NEAR(valueOf(mirrored.values, "W1"), 2.5, 1e-6);
    for (const RailSection& apart : {railOf(head(0, 0, 500)), railOf(head(-90))}) {
        for (const char* key : {"W1", "W2", "W3", "areaLost"})
            EXPECT_THAT(reasonOf(railValues(apart, &nominal).values, key), Says("lie apart"));
    }
    Points open;
    for (const Vector& p : head()) {
        if (p.x < 30)
            open.push_back(p);
    }
    EXPECT_THAT(reasonOf(railValues(railOf(open), &nominal).values, "headWidth"),
                Says("the right side is not seen 14 mm below the top"));
    const RailSection half = railOf(open);
    const RailValues oneSided = railValues(railOf(head(2.5)), &half);
    EXPECT_NEAR(valueOf(oneSided.values, "W1"), 2.5, 1e-9);
    EXPECT_EQ(oneSided.side, GaugeSide::Left);
    EXPECT_THAT(reasonOf(oneSided.values, "areaLost"), Says("the nominal rail: the right side"));
}

TEST(WheelLimits, JudgeByDiameter) {
    const ScratchDirectory scratch;
    const QString path =
        scratch.write("limits.csv", "quantity,symbol,diameter_from,diameter_to,minimum,maximum,note\n"
                                    "flange thickness,Sd,840,,20,33,\"22, abroad\"\n"
                                    "flange thickness,Sd,330,840,27.5,33,\nflange gradient,qR,330,,6.5,,\n");
    const WheelLimits limits = readWheelLimits(path);
    const struct {
        double sd, diameter;
        const char* verdict;
    } cases[] = {{20, 900, "good"},    {19.999, 900, "OUT"},      {33, 900, "good"},
                 {33.001, 900, "OUT"}, {25, 840, "OUT"},          {25, 840.001, "good"},
                 {27.5, 840, "good"},  {25, NAN, "NOT MEASURED"}, {30, NAN, "good"},
                 {34, NAN, "OUT"},     {30, 100, "NOT MEASURED"}, {NAN, 900, "NOT MEASURED"}};
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.sd << " at " << each.diameter);
        SectionValue sd{"Sd", "", "mm", each.sd, std::isnan(each.sd) ? "not seen" : "", ""};
        const std::vector<LimitVerdict> verdicts = judge(limits, {sd}, each.diameter);
        ASSERT_EQ(verdicts.size(), 1U);
        EXPECT_EQ(overallVerdict(verdicts).toStdString(), each.verdict);
        EXPECT_EQ(verdicts[0].reason.isEmpty(), verdicts[0].kind == LimitVerdict::Good);
    }
    const Refused refused[] = {
        {"symbol,minimum,maximum\nsd,1,2\n", "did you mean \"Sd\""},
        {"symbol,minimum\nSd,1\n", "there is no \"maximum\""},
        {"symbol,minimum,maximum\nSd,,\n", "neither minimum nor maximum"},
        {"symbol,minimum,maximum\nSd,3,2\n", "minimum 3 is above maximum 2"},
        {"symbol,minimum_cm,maximum_cm\nSd,0.1,0.05\n", "minimum 1 is above maximum 0.5"},
        {"symbol,diameter_from,diameter_to,minimum,maximum\nSd,9,3,1,2\n", "diameter_from 9 is not below"},
        {"symbol,minimum,maximum\nSd,1,2\nSd,1,3\n", "line 3: holds for diameters that line 2"}};
    for (const auto& each : refused)
        EXPECT_THAT([&] { readWheelLimits(scratch.write("r.csv", each.text)); }, Refuses(each.reason));
}

}  // namespace
