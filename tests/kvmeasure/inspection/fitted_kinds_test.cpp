// The kinds of tools that rest on fitted lines and arcs: known answers, what moving the part does to them,
// their uncertainty against the errors seen, and reasons.

#include <kvmeasure/inspection/kinds/thickness.h>
#include <kvmeasure/inspection/kinds/weld_toe.h>
#include <tests/kvmeasure/calls.h>
#include <tests/kvmeasure/inspection/shapes.h>

namespace {

TEST(FittedKinds, FindKnownAnswers) {
    for (const Shape& shape : shapes()) {
        for (const double turn : {0.0, 0.02}) {
            SCOPED_TRACE(testing::Message() << shape.words.toStdString() << ", turned by " << turn);
            const auto turned = [turn](Points points) {
                for (Vector& p : points)
                    p = Vector(p.x * std::cos(turn) - p.y * std::sin(turn),
                               p.x * std::sin(turn) + p.y * std::cos(turn));
                return points;
            };
            const auto values = measure(shape.words, turned(scan(shape.height, 0.02, 0.25)),
                                        turned(scan(shape.below, 0.02, 0.75)), regions());
            for (auto truth = shape.truth.begin(); truth != shape.truth.end(); ++truth) {
                const QString& key = truth.key();
                if (turn != 0 &&
                    (QStringList{"x", "x2", "left", "right", "at"}.contains(key) || key.startsWith('z')))
                    continue;
                ASSERT_TRUE(values[key].isValid) << key.toStdString() << values[key].reason.toStdString();
                EXPECT_NEAR(values[key].value, *truth, shape.worst.value(key, 1e-3)) << key.toStdString();
            }
        }
    }
}

TEST(FittedKinds, SayWhyThereIsNoValue) {
    const double nan = std::nan("");
    const Points bad[] = {{},
                          {{1, 1}},
                          {{-1, 1}, {1, 1}},
                          {{-1, nan}, {nan, 1}, {1, nan}},
                          {{-1, 0}, {-1, 1}, {-1, 2}, {1, 0}, {1, 5}},
                          Points(40, Vector(1, 1)),
                          {{-1, 1e38}, {-2, -1e38}, {-3, 1e38}, {1, 1e38}, {2, 1e38}, {3, 0}}};
    for (const Points& points : bad) {
        for (const Shape& shape : shapes()) {
            const auto values = measure(shape.words, points, points, regions());
            EXPECT_FALSE(values.isEmpty());
            for (const Value& value : values) {
                EXPECT_EQ(value.isValid, value.reason.isEmpty());
                EXPECT_TRUE(!value.isValid || std::isfinite(value.value));
            }
        }
    }
    EXPECT_THAT(measure("step L R", {{1, 1}, {2, 2}}, {}, regions())[""].reason,
                Says("no point lies in region \"L\""));
    EXPECT_THAT(measure("gap L R", {{-1, 1}, {-2, 2}, {-3, 3}}, {}, regions())[""].reason,
                Says("no point lies in region \"R\""));
}

struct ShapeCase {
    const char* words;
    std::function<double(double)> height;
    const char* ending;
    double value;        ///< or NaN: none
    const char* reason;  ///< of the missing value, or its note or warning
    std::function<double(double)> below = {};
};

TEST(FittedKinds, TellShapesThatTheyAreNotFor) {
    const auto flat = [](double) { return 0.0; };
    const auto slope = [](double x) { return 0.8 * x; };
    const auto torn = [](double x) { return x > 1 && x < 3 ? std::nan("") : 0.0; };
    const auto roof = [](double x) { return -std::fabs(x); };
    const auto bent = [](double x) { return x < 0 ? x : 0.01 * x * x - x; };
    const auto vGroove = [](double x) { return std::min(0.0, std::fabs(x) - 3); };
    const auto square = [](double x) { return std::fabs(x) < 2.005 ? -1.5 : 0.0; };
    const auto round = [](double x) { return -std::sqrt(std::max(0.0, 4 - x * x)); };
    const auto two = [](double x) { return x > -6 && x < -3 ? -1.0 : x > 2 && x < 4 ? -2.0 : 0.0; };
    const auto ridge = [](double x) { return std::fabs(x) < 2.005 ? 1.5 : 0.0; };
    const auto concave = [](double x) {
        const double half = 4 * std::sqrt(0.5), rise = 0.5, radius = (half * half + rise * rise) / (2 * rise);
        if (std::fabs(x) >= half)
            return std::fabs(x);
        return half - std::sqrt(radius * radius - x * x) + (radius - rise);
    };
    const auto plates = [](double x) { return std::fabs(x); };
    const auto hill = [](double x) { return std::max(0.0, 1.2 - x * x / 9); };
    const auto bottomless = [](double x) {
        return std::fabs(x) < 0.5 ? std::nan("") : std::min(0.0, std::fabs(x) - 3);
    };
    const auto right = [](double x) { return x > 2 ? 0.0 : std::nan(""); };
    const double none = std::nan("");
    const ShapeCase cases[] = {
        {"groove in M", flat, "depth", none, "no groove: nothing lies below the line over the points"},
        {"groove in M number 3", two, "depth", none, "no groove has that number: the region holds 2"},
        {"groove in M number 1", two, "depth", 1, ""},
        {"groove in M number -1", two, "depth", 2, ""},
        {"groove in M number -2", two, "depth", 1, ""},
        {"groove in M number -3", two, "depth", none, "the region holds 2"},
        {"groove in M deeper 1.7", square, "depth", none, "no groove is deeper than the limit or the noise"},
        {"groove in M wider 4.5", square, "depth", none, "no groove is wider than the limit"},
        {"groove in M bottom v", square, "depth", none, "the groove has no two straight flanks"},
        {"groove in M bottom lowest", vGroove, "depth", 3, "of the lowest point, which noise makes deeper"},
        {"groove in M bottom lowest", bottomless, "depth", 2.5, "points are missing at the bottom"},
        {"groove in M", round, "depth", 2, ""},
        {"groove in R", square, "depth", none, "a rim of the groove lies outside the region"},
        {"corner in M", slope, "x", none, "the lines beside the corner are parallel"},
        {"corner in M", bent, "x", none, "a side of the corner is no straight line"},
        {"corner in M", roof, "radius", none, "the corner is sharp"},
        {"strip in M on K", flat, "width", none, "no strip: nothing is high and wide enough"},
        {"strip in M on K number 2", ridge, "width", none, "no strip has that number: the region holds 1"},
        {"strip in M on K higher 2", ridge, "width", none, "no strip: nothing is high"},
        {"strip in M on K wider 5", ridge, "width", none, "no strip: nothing is high"},
        {"fillet K Q in M", slope, "radius", none, "the lines beside the fillet are parallel"},
        {"fillet K Q in M", plates, "radius", none, "fewer than three points lie between the lines"},
        {"fillet-weld K Q in M", slope, "throat", none, "the plates are parallel"},
        {"fillet-weld K Q in M", plates, "throat", none, "a toe is not found"},
        {"fillet-weld K Q in M", concave, "throat", 4 * std::sqrt(0.5) - 0.5, ""},
        {"fillet-weld K Q in M", concave, "convexity", -0.5, ""},
        {"butt-weld K Q in M", plates, "width", none, "inclined to each other by more than 30 degrees"},
        {"butt-weld K Q in M", flat, "width", none, "a toe is not found"},
        {"butt-weld K Q in M", hill, "cap", 1.2, ""},
        {"thickness K S", flat, "mean", none, "the profiles do not overlap", right},
        {"thickness M S", flat, "mean", 2, "", [](double) { return 2.0; }},
        {"thickness M S square", flat, "mean", 2, "", [](double) { return -2.0; }},
        {"area in M above 1", flat, "", 0, ""},
        {"area in M with S", flat, "", none, "the profiles enclose no area", flat},
        {"area in M with S gap 1", torn, "", 32, "1 gap(s) bridged", [](double) { return 2.0; }},
        {"edge in M window 20 least 2", square, "x", none, "no step of 2 mm or more"},
        {"edge in M window 20 first", square, "x", -2.005, ""},
        {"edge in M window 20 last", square, "x", 2.005, ""},
        {"edge in M window 20 rising", square, "x", 2.005, ""},
        {"intersection L R", slope, "x", none, "the lines are parallel"},
        {"angle L R", roof, "", -90, ""},
        {"angle L R opening", roof, "", 90, ""},
        {"angle R L opening", roof, "", 90, ""},
        {"dimension L R from centroid to centroid", ridge, "dx", 8.2, ""},
        {"dimension K Q from centroid to centroid", ridge, "dx", 13, ""},
        {"bridge in M skip 0 window 10", ridge, "", 1.5, ""},
        {"line in M", flat, "deviation", 0, ""},
        {"roundness in M", flat, "", none, "all points lie on one line"},
        {"straightness in M", ridge, "", 1.5, ""},
        {"step-height in M from -2 to 2", square, "", 1.5, ""}};
    for (const ShapeCase& c : cases) {
        SCOPED_TRACE(c.words);
        const auto values =
            measure(c.words, scan(c.height, 0.02, 0.25), scan(c.below, 0.02, 0.75), regions());
        ASSERT_TRUE(values.contains(c.ending));
        const Value value = values[c.ending];
        EXPECT_EQ(value.isValid, !std::isnan(c.value)) << value.reason.toStdString() << value.value;
        if (value.isValid) {
            EXPECT_NEAR(value.value, c.value, 0.02) << value.note.toStdString();
        }
        const QString said = value.reason + value.note + value.warning;
        EXPECT_THAT(said, Says(c.reason));
    }
}

TEST(FittedKinds, CountGroovesThatNoiseOrOneLineMakesEquallyHigh) {
    const auto three = [](double x) {
        return x > -6 && x < -4 ? -1.0 : x > -1 && x < 2 ? -0.7 : x > 3 && x < 5 ? -1.2 : 0.02 * x;
    };
    for (const double noise : {0.0, 0.001, 0.02, 0.05}) {
        for (std::uint64_t seed = 1; seed <= 20; ++seed) {
            SCOPED_TRACE(testing::Message() << noise << ", " << seed);
            std::mt19937_64 random(seed);
            Points points = scan(three, 0.02, 0.25);
            roughen(points, noise, 1, random);
            const std::pair<int, double> places[] = {{1, -5}, {2, 0.5}, {3, 4}, {-1, 4}, {-3, -5}, {0, 4}};
            for (const auto& [number, x] : places) {
                const QString words = number == 0 ? QString() : " number " + QString::number(number);
                EXPECT_NEAR(measure("groove in M" + words, points, {}, regions())["x"].value, x, 0.2);
            }
            EXPECT_THAT(measure("groove in M number 4", points, {}, regions())["x"].reason,
                        Says("the region holds 3"));
        }
    }
}

TEST(FittedKinds, FindHemsInNoise) {
    // 30 points of a hem of 1.5 mm in noise of 0.1 mm: the extreme points are those of the circles.
    const Shape& gap = shapes()[4];
    ASSERT_EQ(gap.words, "gap L R tangent");
    std::mt19937_64 random(33);
    std::uniform_real_distribution<double> phase;
    int sharp = 0;
    for (int run = 0; run < 100; ++run) {
        Points points = scan(gap.height, 0.05, phase(random));
        roughen(points, 0.1, 1, random);
        sharp += measure(gap.words, points, {}, regions())[""].value < 4 ? 1 : 0;
    }
    EXPECT_LE(sharp, 3);
}

TEST(FittedKinds, FindGapAndFlushOfHemsAtAnyPlace) {
    // Hems of 1.5 mm on both sides, gap 3 mm, flush 0.4 mm, noise 0.02 mm, at 100 places and turns.
    std::mt19937_64 random(35);
    std::uniform_real_distribution<double> draw(-1, 1);
    QMap<QString, int> held;
    for (int run = 0; run < 100; ++run) {
        Points points = scan(shapes()[3].height, 0.05, draw(random));
        for (Vector& p : points)
            p.y += p.x > 0 ? 0.4 : 0;
        roughen(points, 0.02, 1, random);
        const double turn = 0.03 * draw(random);
        const Vector shift(0.15 * draw(random), draw(random));
        for (Vector& p : points)
            p = Vector(p.x * std::cos(turn) - p.y * std::sin(turn) + shift.x,
                       p.x * std::sin(turn) + p.y * std::cos(turn) + shift.y);
        for (const auto& [words, truth] : {std::pair{"gap L R", 3.0}, std::pair{"flush L R", 0.4}}) {
            const Value value = measure(words, points, {}, regions())[""];
            ASSERT_TRUE(value.isValid) << value.reason.toStdString();
            held[words] += std::fabs(value.value - truth) <= value.expandedU() ? 1 : 0;
        }
    }
    for (const int count : held) {  // 95 of 100, within two standard deviations of such a count
        EXPECT_GE(count, 91);
        RecordProperty("held", count);
    }
}

TEST(FittedKinds, MoveFreeEdgesUnlessTheyAreToBeSeen) {
    const Shape& sharp = shapes()[9];
    ASSERT_EQ(sharp.words, "gap L R corner");
    double moved = 0, seen = 0;
    constexpr int runs = 50;
    for (int run = 0; run < runs; ++run) {
        const Points points = scan(sharp.height, 0.1, double(run) / runs);
        moved += measure("gap L R", points, {}, regions())[""].value / runs;
        seen += measure("gap L R edges seen", points, {}, regions())[""].value / runs;
    }
    EXPECT_NEAR(moved, 4.01, 0.01);
    EXPECT_NEAR(seen, 4.11, 0.01);
}

TEST(FittedKinds, TellVoidsOfAStripFromMissingPoints) {
    // A strip of 6 mm in steps of 0.1 mm; from and to: what is missing of it.
    const struct {
        const char* words;
        std::vector<std::pair<double, double>> missing;
        double left, right;
        bool isBridged;
    } cases[] = {
        {"strip in M", {}, -3, 3, false},
        {"strip in M", {{-1.01, -0.11}}, -3, 3, false},                  // a step of 1 mm: just no void
        {"strip in M", {{-1.11, -0.11}}, -0.1, 3, false},                // of 1.1 mm: a void
        {"strip in M", {{-1.11, -0.11}, {1.01, 1.71}}, -3, 3, true},     // as wide ones are missing elsewhere
        {"strip in M", {{-1.91, -0.11}, {1.01, 1.71}}, -0.1, 3, false},  // but not so wide ones
        {"strip in M gap 0.5", {{-1.11, -0.11}, {1.01, 1.71}}, -3, -1.1, false},
        {"strip in M on -1", {{-1.11, -0.11}}, -0.1, 3, false},
        {"strip in M on -1", {{-1.11, -0.11}, {1.01, 1.71}}, -3, 3, true}};
    for (const auto& c : cases) {
        Points points;
        for (int i = -30; i < 30; ++i) {
            const double x = (i + 0.5) / 10;
            const bool isMissing = std::any_of(c.missing.begin(), c.missing.end(),
                                               [x](const auto& m) { return x > m.first && x < m.second; });
            if (!isMissing)
                points.emplace_back(x, 0);
        }
        const auto values = measure(c.words, points, {}, regions());
        SCOPED_TRACE(QString("%1, %2 missing").arg(c.words).arg(c.missing.size()).toStdString());
        EXPECT_NEAR(values["left"].value, c.left, 1e-5);
        EXPECT_NEAR(values["right"].value, c.right, 1e-5);
        EXPECT_TRUE(values["width"].note.contains("0.100 mm more")) << "half a step at each end";
        EXPECT_EQ(values["width"].warning.contains("counts as missing points"), c.isBridged);
        EXPECT_EQ(values["width"].warning.contains("may be missing points"), c.left == -0.1);
    }
}

TEST(FittedKinds, CountStripsFromEitherSide) {
    // Strips of 2, 6 and 1 mm, in steps of 0.1 mm.
    Points points;
    for (const auto& [from, to] : {std::pair(-80, -60), {-30, 30}, {60, 70}})
        for (int i = from; i < to; ++i)
            points.emplace_back((i + 0.5) / 10, 0);
    for (const auto& [number, left] :
         {std::pair(0, -3.0), {1, -8.0}, {2, -3.0}, {3, 6.0}, {-1, 6.0}, {-3, -8.0}})
        EXPECT_NEAR(measure(QString("strip in M number %1").arg(number), points, {}, regions())["left"].value,
                    left, 1e-5)
            << number;
    for (const int number : {4, -4})
        EXPECT_FALSE(
            measure(QString("strip in M number %1").arg(number), points, {}, regions())["left"].isValid);
}

TEST(FittedKinds, TakeNoSpatterForTheFaceOfAWeld) {
    std::mt19937_64 random(37);
    for (const Shape& shape : shapes()) {
        if (!shape.words.contains("weld"))
            continue;
        Points points = scan(shape.height, 0.05, 0.3);
        Points spattered = points;
        for (Vector& p : spattered)  // drops of 0.4 mm beside the toes, ten points wide
            p.y += std::fabs(std::fabs(p.x) - 4.3) < 0.25 ? 0.4 : 0;
        roughen(points, 0.01, 1, random);
        roughen(spattered, 0.01, 1, random);
        const auto clean = measure(shape.words, points, {}, regions());
        const auto values = measure(shape.words, spattered, {}, regions());
        for (const char* ending : {"leg1", "leg2", "width"}) {
            if (clean.contains(ending)) {
                EXPECT_NEAR(values[ending].value, clean[ending].value, 4 * clean[ending].u) << ending;
            }
        }
    }
}

TEST(WeldToe, IsFoundOrRefusedForAnyCorrelationTime) {
    LineFit plate = fitLine({{-8, 0}, {-7, 0.01}, {-6, -0.01}, {-5, 0}, {-4, 0.01}, {-3, 0}});
    ASSERT_TRUE(plate.isFound());
    const Points points = scan([](double x) { return std::max(0.0, x); }, 0.05, 0.3);
    NoiseModel noise;
    noise.deviation = 0.01;
    noise.correlationTime = 1;
    const WeldToe white = findToe(plate, points, 1, noise);
    ASSERT_TRUE(white.reason.isEmpty());
    for (const double time : {0.0, -3.0, 0.5, double(HUGE_VAL), std::nan("")}) {
        noise.correlationTime = time;
        EXPECT_EQ(findToe(plate, points, 1, noise).face, white.face) << time;
        EXPECT_TRUE(findToe(plate, {}, 1, noise).reason.contains("no points leave the plate")) << time;
    }
    noise.correlationTime = 1e300;
    EXPECT_TRUE(findToe(plate, points, 1, noise).reason.contains("no points leave the plate"));
}

TEST(FittedKinds, NoiseOfHeightsIsLessSquareToASlope) {
    std::mt19937_64 random(43);
    Points points = scan([](double x) { return 0.75 * x + 2.5; }, 0.05, 0.3);
    Points second = scan([](double x) { return 0.75 * x; }, 0.05, 0.3);
    roughen(points, 0.01, 1, random);
    roughen(second, 0.01, 1, random);
    const auto vertical = measure("thickness M S", points, second, regions());
    const auto square = measure("thickness M S square", points, second, regions());
    // 4 / 5 of the height, and of its noise; square to it the last 24 of 320 points have nothing below them.
    for (const char* ending : {"mean", "median"})
        EXPECT_NEAR(square[ending].u / vertical[ending].u, 0.8 * std::sqrt(320 / 296.0), 0.01) << ending;
}

// Correlated or not: variances of means add.
TEST(FittedKinds, NoiseOfBothProfilesIsInTheMeanThickness) {
    const Points above = scan([](double) { return 2.0; }, 0.05, 0.3),
                 below = scan([](double) { return 0.0; }, 0.05, 0.8);
    const auto variance = [&](double one, double other) {
        NoiseModel ofOne, ofOther;
        ofOne.deviation = one;
        ofOne.correlationTime = 7;
        ofOther.deviation = other;
        ofOther.correlationTime = 3;
        return std::pow(measureThickness(above, below, ofOne, ofOther).mean.u, 2);
    };
    for (const auto& [one, other] : {std::pair(0.01, 0.01), {0.02, 0.01}, {0.01, 0.03}})
        EXPECT_NEAR(variance(one, other) / (variance(one, 0) + variance(0, other)), 1, 1e-9) << one;
    EXPECT_NEAR(variance(0, 0.01) / (0.01 * 0.01 * 3 / double(above.size())), 1, 0.01);
}

TEST(FittedKinds, SayWhichUncertaintyIsNone) {
    std::mt19937_64 random(36);
    Points flat = scan([](double) { return 0.0; }, 0.05, 0.3);
    roughen(flat, 0.02, 1, random);
    const Value radius = measure("arc in M", flat, {}, regions())["radius"];
    EXPECT_TRUE(std::isnan(radius.u) && radius.warning.contains("less than three deviations"));
    EXPECT_EQ(measure("area in M above -1", flat, {}, regions())[""].warning, "");
    const Value angle = measure("box in M", flat, {}, regions())["angle"];
    EXPECT_TRUE(std::isnan(angle.u) && angle.warning.contains("are not measured"));
    // A hem of 1.5 mm on the left; on the right its points are missing.
    Points torn = scan(shapes()[3].height, 0.05, 0.3);
    torn.erase(std::remove_if(torn.begin(), torn.end(),
                              [](const Vector& p) { return (p.x > 0 && p.x < 3) || (p.x > 5 && p.x < 5.4); }),
               torn.end());
    roughen(torn, 0.02, 1, random);
    EXPECT_TRUE(measure("gap L R", torn, {}, regions())[""].warning.contains("may be of a hem"));
}

}  // namespace
