// The kinds of tools that rest on fitted lines and arcs: known answers, what moving the part does to them,
// their uncertainty against the errors seen, and reasons.

#include <kvmeasure/inspection/kinds/weld_toe.h>
#include <tests/kvmeasure/inspection/shapes.h>

#include <gmock/gmock.h>

namespace {

using namespace TestSupport;
using testing::HasSubstr;

TEST(FittedKinds, FindKnownAnswersWhereverThePartIs) {
    struct Motion {
        const char* name;
        double shift = 0, scale = 1, sign = 1, turn = 0;
        bool isReverse = false;
    };
    for (const Shape& shape : shapes()) {
        for (const Motion& motion :
             {Motion{"as it is"}, Motion{"shift", 50}, Motion{"scale", 0, 20}, Motion{"mirror", 0, 1, -1},
              Motion{"turn", 0, 1, 1, 0.02}, Motion{"reverse", 0, 1, 1, 0, true}}) {
            SCOPED_TRACE(shape.words.toStdString() + ", " + motion.name);
            const auto place = [&](Points points) {
                for (Vector& p : points) {
                    const Vector turned(p.x * std::cos(motion.turn) - p.y * std::sin(motion.turn),
                                        p.x * std::sin(motion.turn) + p.y * std::cos(motion.turn));
                    p = Vector((turned.x * motion.scale + motion.shift) * motion.sign,
                               turned.y * motion.scale);
                }
                if (motion.isReverse)
                    std::reverse(points.begin(), points.end());
                return points;
            };
            const auto values = measure(shape.words, place(scan(shape.height, 0.02, 0.25)),
                                        place(scan(shape.below, 0.02, 0.75)),
                                        regions(motion.scale, motion.shift, motion.sign));
            for (auto truth = shape.truth.begin(); truth != shape.truth.end(); ++truth) {
                const QString& key = truth.key();
                const bool isX = QStringList{"x", "x2", "left", "right", "at"}.contains(key);
                if (motion.turn != 0 && (isX || key.startsWith('z')))
                    continue;
                const QString mirrored = key == "left" ? "right" : key == "right" ? "left" : key;
                const Value value = values[motion.sign < 0 ? mirrored : key];
                ASSERT_TRUE(value.isValid) << key.toStdString() << value.reason.toStdString();
                const double scale = value.unit == "deg"   ? 1
                                     : value.unit == "mm2" ? motion.scale * motion.scale
                                                           : motion.scale;
                const double expected = isX ? (*truth * scale + motion.shift) * motion.sign : *truth * scale;
                EXPECT_NEAR(value.value, expected, shape.worst.value(key, 1e-3) * scale) << key.toStdString();
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
    EXPECT_THAT(measure("step L R", {{1, 1}, {2, 2}}, {}, regions())[""].reason.toStdString(),
                HasSubstr("no point lies in region \"L\""));
    EXPECT_THAT(measure("gap L R", {{-1, 1}, {-2, 2}, {-3, 3}}, {}, regions())[""].reason.toStdString(),
                HasSubstr("no point lies in region \"R\""));
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
        {"strip in M on -1", {{-1.11, -0.11}, {1.01, 1.71}}, -3, 3, true},
    };
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

TEST(FittedKinds, SayWhichUncertaintyIsNone) {
    std::mt19937_64 random(36);
    Points flat = scan([](double) { return 0.0; }, 0.05, 0.3);
    roughen(flat, 0.02, 1, random);
    const Value radius = measure("arc in M", flat, {}, regions())["radius"];
    EXPECT_TRUE(std::isnan(radius.u) && radius.warning.contains("less than three deviations"));
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
