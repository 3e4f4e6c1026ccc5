// Files of gauges with rare fields and damage; heads of rails that lack a value.

#include <kvmeasure/wheels/gauge_file.h>
#include <kvmeasure/wheels/rail_values.h>
#include <kvmeasure/wheels/track_gauge.h>
#include <kvmeasure/wheels/wheel_wear.h>
#include <tests/kvmeasure/wheels/sections.h>

namespace {

QByteArray spline(const QByteArray& fields, const QByteArray& points = "1 2\n3 4\n5 7\n") {
    return "header.begin\ntype = 1\nheader.end\nspline.begin\n" + fields + "point.begin\n" + points +
           "point.end\nspline.end\n";
}

TEST(GaugeFiles, RareFieldsMoveThePointsAsStated) {
    const ScratchDirectory scratch;
    const struct {
        const char* what;
        QByteArray content;
        Vector first;
        const char* note;
    } files[] = {
        {"mirrored in both", spline("mirror.y = 1\nmirror.z = 1\n"), {-1, -2}, "mirrored in y and z"},
        {"mirrored in z", spline("mirror.z = 1\n"), {1, -2}, "mirrored in z"},
        {"inverted", spline("inversion = 1\n"), {5, 7}, ""},
        {"shifted in z", spline("shift.z = 2\n"), {1, 4}, "shifted by 0, 2"},
        {"turned in degrees",
         spline("rotate = 90\nunits.ang.f = 57.29577951308232\n"),
         {-2, 1},
         "turned by 90"},
        {"bounds",
         spline("bound.y.min = 2\nbound.y.max = 9\n"),
         {3, 4},
         "left out: 1 point beyond the bounds"},
        {"bounds in z", spline("bound.z.min = 4\nbound.z.max = 6\n"), {3, 4}, "left out: 2 points beyond"},
        {"bounds in the wrong order", spline("bound.y.min = 9\nbound.y.max = 2\n"), {1, 2}, ""},
        {"quotes", spline("name = 'a ! b' ! comment\n"), {1, 2}, ""},
        {"a mark of order",
         "\xEF\xBB\xBF"
         "A=1\n1 2\n3 4\n",
         {1, 2},
         ""},
        {"points not in use", "A=1\n1 2\n\"3 4\n\"no point\n5 6\n", {1, 2}, "left out: 1 point, marked"},
        {"points not in use in blocks",
         spline("", "1 2\n!3 4\n! none\n5 6\n"),
         {1, 2},
         "left out: 1 point, marked"},
        {"reference points in one place",
         "A=1\nRefPoint1=0,0\nRefPoint2=0,0\nRefPoint3=0,5\n1 2\n3 4\n",
         {1, 2},
         ""},
        {"reference points on one line",
         "A=1\nRefPoint1=0,0\nRefPoint2=5,0\nRefPoint3=9,0\n1 2\n3 4\n",
         {1, 2},
         ""},
        {"a comma behind a number", "A=1\n1, 2\n3 4\n", {1, 2}, ""},
        {"commas between columns", "A=1\n1,2,3 4,5\n3 4\n", {1, 2}, ""},
        {"an angle of no unit", spline("rotate = 1\nunits.ang.f = 0\n"), {1, 2}, ""},
        {"an open quote", spline("name = 'a\n\n"), {1, 2}, ""},
        {"a field of no block", spline("").replace("spline.begin", "date = 1\nspline.begin"), {1, 2}, ""},
        {"a comment among points", "A=1\n1 2\n!3 4\n5 6\n", {1, 2}, "left out: 1 point, marked"},
        {"no second reference point", "A=1\nRefPoint1=0,0\nRefPoint3=0,5\n1 2\n3 4\n", {1, 2}, ""},
        {"far ones", "A=1\nRefPoint1=0,0\nRefPoint2=1e200,0\nRefPoint3=0,1e200\n1 2\n3 4\n", {1, 2}, ""},
        {"above", "A=1\nRefPoint1=0,1\nRefPoint2=5,1\nRefPoint3=0,6\n1 2\n3 4\n", {1, 1}, "frame of the"},
        {"turned", "A=1\nRefPoint1=0,0\nRefPoint2=0,5\nRefPoint3=-5,0\n1 2\n3 4\n", {2, -1}, "frame of the"},
        {"raised", "RailGauge=1435\nYoffset=3\n1 2\n3 4\n", {1, 5}, "shifted by the offsets 0, 3"},
        {"a table", "x_mm,y_mm\n1,2\n3,4\n5,6\n", {1, 2}, ""},
        {"a table with a gap", "x_mm,y_mm\n1,2\n3,nan\n5,6\n", {1, 2}, "1 point not set"},
        {"centimetres", "A=1\nUnit=cm\n1 2\n3 4\n", {10, 20}, "a unit of the file is 10 mm"},
        {"two reference points", "A=1\nRefPoint1=0,0\nRefPoint2=5,5\n1 2\n3 4\n", {1, 2}, ""},
        {"reference points of the left hand",
         "A=1\nRefPoint1=0,0\nRefPoint2=5,0\nRefPoint3=0,-5\n1 2\n3 4\n",
         {1, -2},
         "frame of the reference points"},
        {"reference points elsewhere",
         "A=1\nRefPoint1=1,1\nRefPoint2=6,1\nRefPoint3=1,6\n1 2\n3 4\n",
         {0, 1},
         "frame of the reference points"}};
    for (const auto& file : files) {
        SCOPED_TRACE(file.what);
        const GaugeProfile profile = readGaugeProfile(scratch.write("g.dat", file.content));
        ASSERT_FALSE(profile.points.empty());
        EXPECT_NEAR(profile.points[0].x, file.first.x, 1e-9);
        EXPECT_NEAR(profile.points[0].y, file.first.y, 1e-9);
        EXPECT_THAT(profile.notes.join("; "), Says(file.note));
        const bool isOfRail = file.content.startsWith("RailGauge");
        EXPECT_EQ(profile.object == GaugeObject::Rail, isOfRail);
        EXPECT_FALSE(isOfRail && profile.zero != GaugeZero::Unknown);
        EXPECT_EQ(profile.notes.isEmpty(), *file.note == '\0') << profile.notes.join("; ").toStdString();
    }
    EXPECT_EQ(readGaugeProfile(scratch.write("g.dat", files[8].content)).field("spline.name").toStdString(),
              "a ! b");
    TextOptions given;
    given.units.append(*findLengthUnit("cm"));
    EXPECT_EQ(readGaugeProfile(scratch.write("g.dat", spline("")), given).points[0].y, 20);
    EXPECT_EQ(readGaugeProfile(scratch.write("g.dat", spline("").replace("type = 1", "type = 0"))).object,
              GaugeObject::Rail);
    EXPECT_EQ(readGaugeProfile(scratch.write("g.dat", spline("").replace("type = 1", "type = 7"))).object,
              GaugeObject::Unknown);
}

TEST(GaugeFiles, DamageIsNamed) {
    const ScratchDirectory scratch;
    QByteArray many = "A=1\n";
    for (int i = 0; i < 1001; ++i)
        many += "B" + QByteArray::number(i) + "=1\n";
    const Refused files[] = {{many + "1 2\n", "has more than 1000 fields above its points"},
                             {spline("neither\n"), "\"neither\" is no field and no point"},
                             {spline("", "1 x\n"), "\"1 x\" is no point: two numbers are needed"},
                             {spline("", "1 2e10\n"), "a coordinate is beyond 1e9 mm"},
                             {"1,2\n2,3\n3,4\n\n1,2\n2,3\n3,4\n", "holds several profiles, expected one"}};
    for (const auto& file : files)
        EXPECT_THAT([&] { readGaugeProfile(scratch.write("g.dat", file.text)); }, Refuses(file.reason));
    TextOptions options;
    options.givenOfTable = "columns";
    EXPECT_THAT([&] { readGaugeProfile(scratch.write("g.dat", spline("")), options); },
                Refuses("is a gauge's own file; columns is for tables"));
}

/// A head 72 mm wide whose sides run down to 30 mm below its top.
Points head(const std::function<double(double)>& crown, double lean = 0) {
    Points points;
    for (double y = -30; y < -6; y += 0.5)
        points.emplace_back(-36 + lean * y, y);
    for (double x = -36; x <= 36; x += 0.25)
        points.emplace_back(x, crown(x) - (std::fabs(x) > 30 ? std::pow(std::fabs(x) - 30, 2) / 6 : 0));
    for (double y = -6; y > -30; y -= 0.5)
        points.emplace_back(36 - lean * y, y);
    return points;
}

TEST(EvenPoints, LieAtEqualStepsOrAreNone) {
    const Points line{{-50, 7}, {0, 0}, {3, 4}, {3, 9}, {90, 9}};
    const Points even = evenPoints(line, 1, 3, 2.5, 5);
    ASSERT_EQ(even.size(), 5U) << "ten millimetres round a corner";
    const Points expected{{0, 0}, {1.5, 2}, {3, 4}, {3, 6.5}, {3, 9}};
    for (std::size_t i = 0; i < even.size(); ++i)
        EXPECT_LT(length(even[i], expected[i]), 1e-12) << i;
    EXPECT_TRUE(evenPoints(line, 1, 3, 2.5, 4).empty()) << "there would be more";
    for (const auto& [from, to] : {std::pair<std::size_t, std::size_t>{1, 1}, {3, 1}, {1, 5}, {1, 99}})
        EXPECT_TRUE(evenPoints(line, from, to, 2.5, 100).empty()) << from << " to " << to;
}

// The arcs of the published profile, by their centres from the running circle.
TEST(NominalWheel, HasTheArcsAndTheConeOfTheStandard) {
    const struct {
        double from, to, x, y, radius;
    } arcs[] = {{-69.9, -62.8, -49.5, 9.519, 20.5},
                {-62.7, -49.7, -55, 16, 12},
                {-49.6, -39.8, -58.558, 8.835, 20},
                {-38.4, -35.02, -26.21, 16.446, 13}};
    const Points points = s1002Section(0.05).points;
    for (const auto& arc : arcs) {
        for (const Vector& p : points) {
            if (p.x - 70 > arc.from && p.x - 70 < arc.to) {
                EXPECT_NEAR(std::hypot(p.x - 70 - arc.x, p.y - arc.y), arc.radius, 0.001) << p.x - 70;
            }
        }
    }
    for (std::size_t i = 1; i < points.size(); ++i) {
        const double slope = (points[i].y - points[i - 1].y) / (points[i].x - points[i - 1].x);
        if (points[i - 1].x > 103) {
            EXPECT_NEAR(slope, -1 / 15.0, 1e-6);
        }
        EXPECT_LT(points[i].x > 10 ? std::fabs(slope) : 0, std::tan(70.1 * kRadiansPerDegree));
    }
}

TEST(RailValues, HaveTheReasonOfWhatIsMissing) {
    const auto round = [](double x) { return -x * x / 600; };
    const Points whole = head(round);
    const auto without = [&](const std::function<bool(const Vector&)>& lacks) {
        Points points;
        std::remove_copy_if(whole.begin(), whole.end(), std::back_inserter(points), lacks);
        return points;
    };
    Points bent = whole;
    for (Vector& p : bent)
        p.x += p.x > 30 && p.y < -20 ? 3 : 0;
    const struct {
        const char *what, *key, *reason;
        Points points, nominal;
    } cases[] = {
        {"whole", "crownRadius", "", whole, whole},
        {"flat crown",
         "crownRadius",
         "the points lie on a straight line: it has no radius",
         head([](double) { return 0.0; }),
         {}},
        {"rough crown",
         "crownRadius",
         "the crown is straight within its noise",
         head([](double x) { return 0.02 * std::sin(1e4 * x); }),
         {}},
        {"hollow crown",
         "crownRadius",
         "the crown is hollow: no radius",
         head([](double x) { return x * x / 600; }),
         {}},
        {"bent side", "inclination", "the right side is not straight 16 to 26 mm below", bent, {}},
        {"low side",
         "inclination",
         "the left side is not seen 16 to 26 mm below",
         without([](const Vector& p) { return p.x < -30 && p.y < -18; }),
         {}},
        {"gap at the level",
         "headWidth",
         "the left side lies in a gap of",
         without([](const Vector& p) { return p.x < -30 && p.y < -8 && p.y > -25; }),
         {}},
        {"one side of the nominal rail", "areaLost", "the nominal rail: the left side", whole,
         without([](const Vector& p) { return p.x < -20; })},
        {"one side", "headWidth", "the right side", without([](const Vector& p) { return p.x > 20; }), whole},
        {"a gap on top", "W1", "", without([](const Vector& p) { return std::fabs(p.x) < 1; }), whole},
        {"no sides at all", "W1", "the nominal rail", whole,
         without([](const Vector& p) { return p.y < -8; })}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const RailSection rail = railOf(c.points), nominal = railOf(c.nominal);
        ASSERT_EQ(rail.reason.toStdString(), "");
        const RailValues values = railValues(rail, c.nominal.empty() ? nullptr : &nominal);
        const SectionValue* value = findValue(values.values, c.key);
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(value->isKnown(), *c.reason == '\0') << value->reason.toStdString();
        EXPECT_THAT(value->reason, Says(c.reason));
    }
    RailPlaces steep;
    steep.cornerAngle = 80;
    steep.sideDepth = 4;
    const RailSection nominal = railOf(whole);
    const RailValues values = railValues(nominal, &nominal, steep);
    EXPECT_THAT(findValue(values.values, "W3")->reason, Says("does not fall by 80 degrees"));
}

using Change = std::function<Vector(const Vector&)>;
using Lacks = std::function<bool(const Vector&)>;

/// Sections that lack or bend something, by what is done to a whole one.
struct Changed {
    const char* name;
    Change change = [](const Vector& p) { return p; };
    Lacks lacks = [](const Vector&) { return false; };
    std::size_t every = 1;
};

GaugeProfile changed(const Points& whole, const Changed& how) {
    GaugeProfile profile;
    for (std::size_t i = 0; i < whole.size(); i += how.every) {
        if (!how.lacks(whole[i]))
            profile.points.push_back(how.change(whole[i]));
    }
    return profile;
}

void expectValuesOrReasons(const std::vector<SectionValue>& values) {
    EXPECT_FALSE(values.empty());
    for (const SectionValue& value : values)
        EXPECT_EQ(std::isfinite(value.value), value.isKnown())
            << value.key.toStdString() << ' ' << value.value << value.reason.toStdString();
}

TEST(WheelSections, HaveAValueOrAReasonForWhateverPoints) {
    const Points whole = s1002Section(1).points;
    const auto same = [](const Vector& p) { return p; };
    const auto none = [](const Vector&) { return false; };
    const auto between = [](double from, double to) {
        return [from, to](const Vector& p) { return p.x > from && p.x < to; };
    };
    const Changed all[] = {
        {"whole"},
        {"no tread", same, between(60, 200)},
        {"no flange", same, between(-100, 45)},
        {"gap at the tread point", same, between(66, 74)},
        {"gap at the flank", same, between(22, 33)},
        {"gap at the upper flank", same, between(17, 24)},
        {"gap at the root", same, between(33, 48)},
        {"mirrored", [](const Vector& p) { return Vector(-p.x, p.y); }},
        {"upside down", [](const Vector& p) { return Vector(p.x, -p.y); }},
        {"exchanged", [](const Vector& p) { return Vector(p.y, p.x); }},
        {"in metres", [](const Vector& p) { return Vector(p.x / 1000, p.y / 1000); }},
        {"flat", [](const Vector& p) { return Vector(p.x, 0); }},
        {"one place", [](const Vector&) { return Vector(3, 4); }},
        {"low", [](const Vector& p) { return Vector(p.x, p.y * 0.4); }},
        {"high", [](const Vector& p) { return Vector(p.x, p.y * 2); }},
        {"thin", [](const Vector& p) { return Vector(p.x < 45 ? std::max(0.0, p.x - 15) : p.x - 15, p.y); }},
        {"thick", [](const Vector& p) { return Vector(p.x * 1.6, p.y); }},
        {"wide", [](const Vector& p) { return Vector(p.x * 5, p.y); }},
        {"stepped", [](const Vector& p) { return Vector(p.x, std::round(p.y / 3) * 3); }},
        {"coarse", same, none, 12},
        {"few", same, none, 60},
        {"unset", [](const Vector& p) { return p.x > 60 ? Vector(kNaN, kNaN) : p; }},
        {"far", [](const Vector& p) { return Vector(p.x + 1e8, p.y - 1e8); }},
        {"worn", [](const Vector& p) { return Vector(p.x, p.y - (p.x > 40 ? 2 : 0)); }}};
    GaugePlaces other;
    other.belowTip = 0.5;
    other.tread = 125;
    other.aboveTread = 25;
    other.widthHeights = {-5, 5, 10, 100};
    std::vector<WheelSection> sections;
    for (const Changed& how : all) {
        const GaugeProfile profile = changed(whole, how);
        for (const double back : {kNaN, 0.0})
            sections.push_back(wheelSection(profile, back));
        EXPECT_EQ(sections.back().isWheel(), !sections.back().points.empty()) << how.name;
    }
    sections.emplace_back();  // with no reason, as a host may leave it
    int known = 0;
    for (const WheelSection& worn : sections) {
        SCOPED_TRACE(&worn - sections.data());
        if (!worn.points.empty()) {
            expectValuesOrReasons(gaugeValues(worn).values);
            expectValuesOrReasons(gaugeValues(worn, other).values);
        }
        for (const std::size_t nominal : {0U, 2U, 4U, 6U, 9U, 22U, 29U, 46U}) {
            if (worn.points.empty() && worn.reason.isEmpty())
                continue;
            for (const WearAlignment by : {WearAlignment::Tread, WearAlignment::Tip}) {
                const WheelWear wear = wheelWear(worn, sections[nominal], by);
                expectValuesOrReasons(wear.values);
                known += wear.values.front().isKnown() ? 1 : 0;
            }
        }
    }
    EXPECT_GT(known, 100);
    EXPECT_NEAR(wheelWear(sections[46], sections[0], WearAlignment::Tip).values.front().value, 2, 1e-6)
        << "what was taken off";
}

TEST(Rails, HaveAValueOrAReasonForWhateverPoints) {
    const Points whole = head([](double x) { return -x * x / 600; });
    const auto same = [](const Vector& p) { return p; };
    const Changed all[] = {
        {"whole"},
        {"left half", same, [](const Vector& p) { return p.x > -1; }},
        {"right half", same, [](const Vector& p) { return p.x < 1; }},
        {"crown", same, [](const Vector& p) { return p.y < -8; }},
        {"gap at the right side", same, [](const Vector& p) { return p.x > 30 && p.y < -8 && p.y > -22; }},
        {"gap at the left side", same, [](const Vector& p) { return p.x < -30 && p.y < -8 && p.y > -22; }},
        {"gap at the top", same, [](const Vector& p) { return std::fabs(p.x) < 6; }},
        {"gap at the corner", same, [](const Vector& p) { return std::fabs(p.x) > 24 && p.y > -7; }},
        {"flat", [](const Vector& p) { return Vector(p.x, std::min(p.y, -4.0)); }},
        {"lowered", [](const Vector& p) { return Vector(p.x, p.y - 60); }},
        {"worn on the left", [](const Vector& p) { return Vector(std::max(p.x, -33.0), p.y); }},
        {"worn on the right", [](const Vector& p) { return Vector(std::min(p.x, 33.0), p.y); }},
        {"worn on top", [](const Vector& p) { return Vector(p.x, std::min(p.y, -2.0)); }},
        {"leaning", [](const Vector& p) { return Vector(p.x + 0.3 * p.y, p.y); }},
        {"narrow", [](const Vector& p) { return Vector(p.x / 4, p.y); }},
        {"one place", [](const Vector&) { return Vector(1, 1); }},
        {"coarse", same, {[](const Vector&) { return false; }}, 40},
        {"zigzag", [](const Vector& p) { return Vector(p.x + std::round(p.y) * 0.01, p.y); }},
        {"wide", [](const Vector& p) { return Vector(p.x * 1.2, p.y); }},
        {"wide on the right", [](const Vector& p) { return Vector(p.x + (p.x > 20 ? 45 : 0), p.y); }}};
    std::vector<RailSection> rails;
    for (const Changed& how : all)
        rails.push_back(railSection(changed(whole, how)));
    rails.emplace_back();
    rails.back().reason = "no file";
    for (const RailSection& rail : rails) {
        SCOPED_TRACE(&rail - rails.data());
        EXPECT_EQ(rail.isRail(), !rail.points.empty()) << rail.reason.toStdString();
        expectValuesOrReasons(railValues(rail, nullptr).values);
        for (const RailSection& nominal : rails) {
            for (const GaugeSide side : {GaugeSide::Unknown, GaugeSide::Left, GaugeSide::Right}) {
                RailPlaces places;
                places.side = side;
                const RailValues values = railValues(rail, &nominal, places);
                expectValuesOrReasons(values.values);
                const SectionValue* const w1 = findValue(values.values, "W1");
                EXPECT_EQ(w1->isKnown(), std::isfinite(values.w1.worn.x + values.w1.nominal.x));
            }
            TrackGaugeOptions options;
            options.isLevel = true;
            const RailSection left = placedRail(rail, 750, true), right = placedRail(nominal, 750, false);
            for (const double depth : {2.0, 14.0, 29.0}) {
                options.depth = depth;
                TrackGauge gauge = trackGauge(left, right, options);
                expectValuesOrReasons({gauge.gauge});
                EXPECT_EQ(gauge.gauge.isKnown(), std::isfinite(gauge.leftFace.x + gauge.rightFace.y));
            }
        }
    }
    const auto w = [&](std::size_t worn, const char* key) {
        return findValue(railValues(rails[worn], rails.data()).values, key)->value;
    };
    EXPECT_NEAR(w(10, "W2"), 3, 1e-9);
    EXPECT_NEAR(w(11, "W2"), 3, 1e-9);
    EXPECT_NEAR(w(12, "W1"), 2, 1e-9);
    for (const double depth : {0.0, -1.0, kNaN, double(INFINITY)}) {
        TrackGaugeOptions options;
        options.depth = depth;
        EXPECT_THAT([&] { trackGauge(rails[0], rails[0], options); }, Refuses("depth must be above 0, not"));
    }
    RailSection none;
    EXPECT_EQ(trackGauge(none, rails[0]).gauge.reason, "the left rail: has no points");
    EXPECT_EQ(trackGauge(rails[0], none).gauge.reason, "the right rail: has no points");
}

}  // namespace
