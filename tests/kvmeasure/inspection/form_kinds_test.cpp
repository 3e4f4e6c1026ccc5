// Tools on regions that measure form: the values of the functions behind them, where the region is, reasons.

#include <kvmeasure/form/roughness.h>
#include <kvmeasure/form/straightness.h>
#include <kvmeasure/inspection/kinds/box.h>
#include <kvmeasure/profiles/robust_arc.h>
#include <tests/kvmeasure/calls.h>
#include <tests/kvmeasure/inspection/shapes.h>

#include <map>

namespace {

/// As the profile holds them.
Points rounded(Points points) {
    for (Vector& p : points)
        p = Vector(double(float(p.x)), double(float(p.y)));
    return points;
}

TEST(FormKinds, GiveTheValuesOfTheirFunctions) {
    std::mt19937_64 random(3);
    Points surface = scan([](double x) { return 0.2 * x; }, 0.02, 0.25);
    roughen(surface, 0.01, 1, random);
    const auto straight = measure("straightness in M", surface, {}, regions());
    const Straightness whole = straightness(rounded(surface));
    EXPECT_EQ(straight[""].value, whole.minimumZone.width);
    EXPECT_EQ(straight["z"].value, whole.minimumZoneAlongZ.height);
    EXPECT_EQ(straight["deviation"].value, whole.deviation);
    for (const Value& value : straight)
        EXPECT_TRUE(std::isfinite(value.u)) << value.name.toStdString();

    const auto rough = measure("roughness in M cutoff 0.8 iso4287", surface, {}, regions());
    RoughnessSettings settings;
    settings.norm = RoughnessNorm::Iso4287;
    const Roughness direct = roughness(rounded(surface), settings);
    EXPECT_NEAR(rough["Ra"].value, 1000 * direct.values.ra, 1e-12);
    EXPECT_NEAR(rough["Rz"].value, 1000 * direct.values.rz, 1e-12);
    EXPECT_EQ(rough["RSm"].value, direct.values.rsm);
    EXPECT_EQ(rough["Rz"].unit, "um");
    EXPECT_EQ(rough["RSm"].unit, "mm");
    EXPECT_NE(measure("roughness in M cutoff 0.8", surface, {}, regions())["Ra"].value, rough["Ra"].value);
    EXPECT_THAT(rough["Ra"].notes(), Says("cannot be told from it"));

    const auto bar = [](double x) {
        return std::fabs(x) < 6 ? std::sqrt(49 - x * x) + 0.01 * std::cos(9 * x) : NAN;
    };
    // No circle is better than that of least squares: no contacts decide it.
    const auto three = measure("roundness in M", {{-6, 8.875}, {-4.75, 7.625}, {-0.5, -6}}, {}, regions());
    EXPECT_NEAR(three[""].value, 0, 1e-12);

    const auto round = measure("roundness in M", scan(bar, 0.02, 0.25), {}, regions());
    EXPECT_NEAR(round["radius"].value, 7, 0.02);
    EXPECT_GT(round[""].value, 0.015);
    EXPECT_LE(round[""].value, 0.0205);
    EXPECT_TRUE(std::isnan(round["x"].u));
}

TEST(Kinds, LeaveStrayPointsOutUnlessAllAreToBeFitted) {
    std::mt19937_64 random(4);
    Points line = scan([](double x) { return 0.2 * x; }, 0.05, 0.25);
    Points arc = scan([](double x) { return std::sqrt(100 - x * x); }, 0.05, 0.25);
    for (Points* points : {&line, &arc}) {
        roughen(*points, 0.01, 1, random);
        for (std::size_t i = 3; i < points->size(); i += 20)
            (*points)[i].y += 2;
    }
    for (const bool isRobust : {true, false}) {
        const QString words = isRobust ? "" : " fit all";
        const LineFit fit = fitLine(rounded(line), {isRobust, 3.5});
        const auto found = measure("line in M" + words, line, {}, regions());
        EXPECT_NEAR(found["angle"].value, std::atan2(fit.along.y, fit.along.x) * kDegreesPerRadian, 1e-12);
        EXPECT_NEAR(found["z"].value, fit.centre.y, 1e-12);
        EXPECT_EQ(found["deviation"].value, fit.deviation);
        EXPECT_EQ(found["above"].value, fit.above.distance);
        EXPECT_EQ(found["below"].value, fit.below.distance);
        EXPECT_EQ(fit.rejected > 0, isRobust);
        const ArcFit bow = fitArc(rounded(arc), {isRobust, 3.5});
        const auto round = measure("arc in M" + words, arc, {}, regions());
        EXPECT_EQ(round["radius"].value, bow.circle.radius);
        EXPECT_EQ(round["x"].value, bow.circle.centre.x);
        EXPECT_EQ(round["z"].value, bow.circle.centre.y);
        EXPECT_EQ(round["deviation"].value, bow.deviation);
        EXPECT_EQ(round["radius"].notes().contains("points left out"), isRobust);
    }
}

TEST(FormKinds, MeasureStepsWhereTheRegionIs) {
    // A groove 1.5 deep from -2 to 2; moved, and turned by 10 degrees about (-5, 0).
    const auto groove = [](double x) { return std::fabs(x) < 2 ? -1.5 : 0; };
    const Points points = scan(groove, 0.02, 0.25);
    const auto value = [](const QString& words, const Points& at, const QStringList& anchors,
                          const char* region) {
        KvMath::KvProfile profile;
        for (const Vector& p : at)
            profile.points.append({float(p.x), float(p.y)});
        QList<Anchor> found;
        for (const QString& anchor : anchors)
            found.append(parseAnchor(anchor));
        ToolInput input({parseRegion(region), parseRegion("L = x -30..-3"), parseRegion("P = all")}, found);
        input.load(profile);
        const Tool tool = parseTool("V = step-height in M " + words).tool;
        ToolResults results(tool, {}, /*givesMarks=*/true);
        tool.kind->measure(tool, input, results);
        return results.take().values.first();
    };
    EXPECT_NEAR(value("from -2 to 2", points, {}, "M = all").value, 1.5, 1e-6);
    EXPECT_TRUE(value("from -2 to 2", points, {}, "M = all").warning.isEmpty());
    EXPECT_NEAR(value("from -2 to 2 A2", points, {}, "M = all").value, 1.5, 1e-6);
    EXPECT_THAT(value("from -2 to 2 A2", points, {}, "M = all").notes(), Says("parabola"));
    EXPECT_THAT(value("from -3 to 3", points, {}, "M = all").warning, Says("three widths"));
    Points moved, turned;
    const double angle = 10 / kDegreesPerRadian;
    for (const Vector& p : points) {
        moved.emplace_back(p.x + 3, p.y + 7);
        turned.emplace_back(-5 + (p.x + 5) * std::cos(angle) - p.y * std::sin(angle),
                            (p.x + 5) * std::sin(angle) + p.y * std::cos(angle));
    }
    const char* const anchored = "M = x -8..8 at A";
    EXPECT_NEAR(value("from -2 to 2", moved, {"A = left in P from -7.995 0"}, anchored).value, 1.5, 1e-5);
    EXPECT_NEAR(value("from -2 to 2", turned, {"A = line in L from -5 0 0"}, anchored).value, 1.5, 1e-5);
    EXPECT_THAT(value("from -2 to 2", moved, {"A = left in M"}, anchored).reason,
                Says("depends on the region itself"));
}

TEST(FormKinds, SayWhyThereIsNoValue) {
    const Points line = scan([](double) { return 0.0; }, 0.5, 0.25);
    const struct {
        const char *words, *ending, *reason;
        Points points;
    } rows[] = {{"straightness in M", "", "point", {{1, 1}}},
                {"straightness in M", "z", "same x", {{1, 1}, {1, 2}, {1, 3}}},
                {"roundness in M", "", "", {{1, 1}, {2, 2}, {3, 3}}},
                {"roundness in M", "radius", "", {{1, 1}}},
                {"step-height in M from -2 to 2", "", "left reference", {{0, 0}}},
                {"step-height in M from 2 to -2", "", "not in order", line},
                {"roughness in M cutoff 0.8", "Ra", "pitch", line},
                {"roughness in M cutoff 100", "Rz", "sampling length", line},
                {"roughness in M cutoff 0.8", "Ra", "fewer than three points", {{0, 0}}},
                {"roughness in N cutoff 0.8", "Rsk", "there is no region", line}};
    for (const auto& row : rows) {
        const QString words = row.words;
        QString reason;
        try {
            const Value value = measure(words, row.points, {}, regions())[row.ending];
            EXPECT_FALSE(value.isValid) << row.words;
            reason = value.reason;
        } catch (const Error& error) {
            reason = error.text();
        }
        EXPECT_FALSE(reason.isEmpty()) << row.words;
        EXPECT_THAT(reason, Says(row.reason)) << row.words;
    }
}

// Every kind on points that are too few, in one place, upright, level, or far out: a value or a reason.
TEST(Kinds, HaveAValueOrAReasonForWhateverPoints) {
    const auto along = [](const std::function<double(double)>& height, double pitch = 0.1) {
        Points points;
        for (int i = 0; i * pitch <= 16; ++i)
            points.emplace_back(i * pitch - 8, height(i * pitch - 8));
        return points;
    };
    const auto join = [](Points a, const Points& b) {
        a.insert(a.end(), b.begin(), b.end());
        return a;
    };
    const auto turned = [](Points points) {
        for (Vector& p : points)
            p = Vector(-3 + 0 * p.x, p.x);
        return points;
    };
    const Points level = along([](double) { return 0; }), few{{-3, 1}, {0.5, 2}, {3, 1}};
    const std::pair<const char*, Points> parts[] = {
        {"nothing", {}},
        {"one", {{-3, 1}}},
        {"two", {{-3, 1}, {3, 1}}},
        {"three", few},
        {"one side", Points(level.begin(), level.begin() + 70)},
        {"one place", Points(30, {-3, 1})},
        {"two places", join(Points(20, {-3, 1}), Points(20, {3, 1}))},
        {"upright", turned(level)},
        {"level", level},
        {"few level", along([](double) { return 0; }, 2)},
        {"far", along([](double x) { return 1e30 * x; })},
        {"farther", along([](double x) { return 4e37 * x; })},
        {"mirrored", Points(level.rbegin(), level.rend())},
        {"doubled", join(level, level)},
        {"to and fro", join(level, Points(level.rbegin(), level.rend()))},
        {"spikes", join(level, along([](double x) { return std::fabs(x - 2) < 0.3 ? 50 : 0; }))},
        {"steps", along([](double x) { return std::floor(x); }, 0.05)},
        {"roof", along([](double x) { return -std::fabs(x); })},
        {"valley", along([](double x) { return std::fabs(x); })},
        {"slit", along([](double x) { return std::fabs(x) < 1 ? NAN : 0; })},
        {"bowl", along([](double x) { return x * x / 8; })},
        {"dome", along([](double x) { return 4 - x * x / 8; })},
        {"pit at the end", along([](double x) { return x > 6 ? -2 : 0; })},
        {"ridge", along([](double x) { return std::fabs(x) < 0.09 ? 2 : 0; })}};
    const QString tools =
        "max in M;min in M of x;mean in M;mean in M of x;median in M;percentile 100 in M;percentile 30 in M;"
        "percentile 30 in M of x;bridge in M;bridge in M sheared;bridge in M skip 40 window 60;box in M;"
        "box in M turned;area in M above L;area in M below R;area in M above 0.5 gap 0.01 edges seen;"
        "area in M with S;line in M;line in M fit all;arc in M;arc in M fit all;intersection L R;angle L R;"
        "angle L R opening;dimension L R;dimension L R from centroid to centroid;"
        "dimension L R from left to max;step L R;gap L R;gap L R tangent;gap L R corner;flush L R;"
        "flush L R extreme;flush L R corner edges seen;groove in M;groove in M bottom flat;"
        "groove in M bottom v;groove in M bottom lowest number 2;corner in M;edge in M;"
        "edge in M window 5 rising last;fillet L R in M;fillet L R in M fit all;strip in M;strip in M on L;"
        "strip in M on L number 2 edges seen;thickness M S;thickness M S square;fillet-weld L R in M;"
        "butt-weld L R in M;straightness in M;roundness in M;step-height in M from -1 to 1;"
        "step-height in M from -1 to 1 A2;roughness in M cutoff 0.8;roughness in M cutoff 2.5 iso4287 robust";
    QMap<QString, int> known;
    for (const auto& [name, points] : parts) {
        for (const QString& words : tools.split(';')) {
            for (const Value& value : measure(words, points, few, regions())) {
                SCOPED_TRACE((name + (": " + words + ": " + value.name)).toStdString());
                EXPECT_EQ(value.isValid, value.reason.isEmpty()) << value.reason.toStdString();
                EXPECT_TRUE(!value.isValid || std::isfinite(value.value)) << value.value;
                EXPECT_FALSE(value.u < 0 || std::isinf(value.u)) << value.u;
                known[name] += value.isValid ? 1 : 0;
            }
        }
    }
    EXPECT_EQ(known["nothing"], 0);
    EXPECT_GT(known["level"], 60);
}

TEST(TurnedBox, HasAnEdgeOfTheHullAndHoldsAllPoints) {
    struct Case {
        Points points;
        double width, height;
        Vector centre, along;
    };
    const Case cases[] = {{{{1, 2}}, 0, 0, {1, 2}, {1, 0}},
                          {{{1, 2}, {1, 2}}, 0, 0, {1, 2}, {1, 0}},
                          {Points(7, Vector(-3, 0)), 0, 0, {-3, 0}, {1, 0}},
                          {{{1, 2}, {4, 6}, {1, 2}, {4, 6}}, 0, 5, {2.5, 4}, {0.8, -0.6}},
                          {{{0, 0}, {8, 6}, {4, 3}}, 10, 0, {4, 3}, {0.8, 0.6}},
                          {{{0, 0}, {8, 6}, {5, 10}, {-3, 4}, {2, 4}, {8, 6}}, 10, 5, {2.5, 5}, {0.8, 0.6}},
                          {{{0, 0}, {4, 0}, {4, 2}, {0, 2}, {2, 1}}, 4, 2, {2, 1}, {1, 0}}};
    for (const Case& c : cases) {
        const TurnedBox box = turnedBox(c.points);
        SCOPED_TRACE(testing::Message() << c.points.size() << " points, " << c.width << " by " << c.height);
        EXPECT_TRUE(box.isFound);
        EXPECT_NEAR(box.width, c.width, 1e-12);
        EXPECT_NEAR(box.height, c.height, 1e-12);
        EXPECT_LT(length(box.centre, c.centre), 1e-12);
        EXPECT_LT(length(box.along, c.along), 1e-12);
    }
    EXPECT_FALSE(turnedBox({}).isFound);
}

TEST(Kinds, GiveWhatADrawingSays) {
    const auto along = [](double from, double to, double (*height)(double x)) {
        Points points;
        for (double x = from; x <= to; x += 0.125)
            points.emplace_back(x, height(x));
        return points;
    };
    const Points arc = along(-4, 4, [](double x) { return std::sqrt(25 - x * x) - 3; });
    const Points roof = along(-6, 6, [](double x) { return std::max(0.0, std::min((x + 4) / 2, 5 - x)); });
    const Points stairs = along(-6, 6.375, [](double x) { return (x + 6) * 8 + 1; });  // 1, 2 to 100
    struct Case {
        const char* words;
        const Points& points;
        std::map<std::string, double> values;
    };
    const Case cases[] = {
        {"arc in M",
         arc,
         {{"radius", 5},
          {"x", 0},
          {"z", -3},
          {"angle", 2 * std::asin(0.8) * 180 / 3.141592653589793},
          {"deviation", 0}}},
        {"area in M above 0", roof, {{"", 13.5}, {"x", 1}, {"z", 1}}},
        {"area in M above 1", roof, {{"", 6}, {"x", 4.0 / 3}, {"z", 5.0 / 3}}},
        {"percentile 0 in M", stairs, {{"", 1}}},
        {"percentile 100 in M", stairs, {{"", 100}}},
        {"mean in M", stairs, {{"", 50.5}}},
        {"median in M", stairs, {{"", 50.5}}},
        {"bridge in M skip 10 window 50", stairs, {{"", 70.5}, {"deviation", std::sqrt(40 * 41 / 12.0)}}},
        {"box in M", roof, {{"x", 0}, {"z", 1.5}, {"height", 3}, {"angle", 0}}}};
    for (const Case& c : cases) {
        const auto found = measure(c.words, c.points, {}, regions());
        for (const auto& [name, value] : c.values) {
            const Value got = found[QString::fromStdString(name)];
            EXPECT_TRUE(got.isValid) << c.words << ' ' << name << ' ' << got.reason.toStdString();
            EXPECT_NEAR(got.value, value, 1e-5) << c.words << ' ' << name;
        }
    }
}

}  // namespace
