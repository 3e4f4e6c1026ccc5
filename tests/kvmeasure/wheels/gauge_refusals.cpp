// Files of gauges with rare fields and damage; heads of rails that lack a value.

#include <kvmeasure/wheels/gauge_file.h>
#include <kvmeasure/wheels/rail_values.h>
#include <kvmeasure/wheels/track_gauge.h>
#include <tests/kvmeasure/calls.h>
#include <tests/support/scratch_directory.h>

#include <algorithm>
#include <cmath>
#include <functional>

namespace {

using namespace KvMeasure;
using testing::HasSubstr;
using TestSupport::errorOf;
using TestSupport::textOf;
using Points = std::vector<Vector>;

QByteArray spline(const QByteArray& fields, const QByteArray& points = "1 2\n3 4\n5 7\n") {
    return "header.begin\ntype = 1\nheader.end\nspline.begin\n" + fields + "point.begin\n" + points +
           "point.end\nspline.end\n";
}

TEST(GaugeFiles, RareFieldsMoveThePointsAsStated) {
    const TestSupport::ScratchDirectory scratch;
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
        {"two reference points", "A=1\nRefPoint1=0,0\nRefPoint2=5,5\n1 2\n3 4\n", {1, 2}, ""},
        {"reference points of the left hand",
         "A=1\nRefPoint1=0,0\nRefPoint2=5,0\nRefPoint3=0,-5\n1 2\n3 4\n",
         {1, -2},
         "frame of the reference points"},
        {"reference points elsewhere",
         "A=1\nRefPoint1=1,1\nRefPoint2=6,1\nRefPoint3=1,6\n1 2\n3 4\n",
         {0, 1},
         "frame of the reference points"},
    };
    for (const auto& file : files) {
        SCOPED_TRACE(file.what);
        const GaugeProfile profile = readGaugeProfile(scratch.write("g.dat", file.content));
        ASSERT_FALSE(profile.points.empty());
        EXPECT_NEAR(profile.points[0].x, file.first.x, 1e-9);
        EXPECT_NEAR(profile.points[0].y, file.first.y, 1e-9);
        EXPECT_THAT(profile.notes.join("; ").toStdString(), HasSubstr(file.note));
        EXPECT_EQ(profile.notes.isEmpty(), *file.note == '\0') << profile.notes.join("; ").toStdString();
    }
    EXPECT_EQ(readGaugeProfile(scratch.write("g.dat", files[8].content)).field("spline.name").toStdString(),
              "a ! b");
    EXPECT_EQ(readGaugeProfile(scratch.write("g.dat", spline("").replace("type = 1", "type = 0"))).object,
              GaugeObject::Rail);
    EXPECT_EQ(readGaugeProfile(scratch.write("g.dat", spline("").replace("type = 1", "type = 7"))).object,
              GaugeObject::Unknown);
}

TEST(GaugeFiles, DamageIsNamed) {
    const TestSupport::ScratchDirectory scratch;
    QByteArray many = "A=1\n";
    for (int i = 0; i < 1001; ++i)
        many += "B" + QByteArray::number(i) + "=1\n";
    const struct {
        QByteArray content;
        const char* reason;
    } files[] = {{many + "1 2\n", "has more than 1000 fields above its points"},
                 {spline("neither\n"), "\"neither\" is no field and no point"},
                 {spline("", "1 x\n"), "\"1 x\" is no point: two numbers are needed"},
                 {spline("", "1 2e10\n"), "a coordinate is beyond 1e9 mm"},
                 {"1,2\n2,3\n3,4\n\n1,2\n2,3\n3,4\n", "holds several profiles, expected one"}};
    for (const auto& file : files)
        EXPECT_THAT(textOf(errorOf([&] { readGaugeProfile(scratch.write("g.dat", file.content)); })),
                    HasSubstr(file.reason));
    TextOptions options;
    options.givenOfTable = "columns";
    EXPECT_THAT(textOf(errorOf([&] { readGaugeProfile(scratch.write("g.dat", spline("")), options); })),
                HasSubstr("is a gauge's own file; columns is for tables"));
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

RailSection railOf(const Points& points) {
    GaugeProfile profile;
    profile.points = points;
    return railSection(profile);
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
         without([](const Vector& p) { return p.y < -8; })},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const RailSection rail = railOf(c.points), nominal = railOf(c.nominal);
        ASSERT_EQ(rail.reason.toStdString(), "");
        const RailValues values = railValues(rail, c.nominal.empty() ? nullptr : &nominal);
        const SectionValue* value = findValue(values.values, c.key);
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(value->isKnown(), *c.reason == '\0') << value->reason.toStdString();
        EXPECT_THAT(value->reason.toStdString(), HasSubstr(c.reason));
    }
    RailPlaces steep;
    steep.cornerAngle = 80;
    steep.sideDepth = 4;
    const RailSection nominal = railOf(whole);
    const RailValues values = railValues(nominal, &nominal, steep);
    EXPECT_THAT(findValue(values.values, "W3")->reason.toStdString(),
                HasSubstr("does not fall by 80 degrees"));
}

}  // namespace
