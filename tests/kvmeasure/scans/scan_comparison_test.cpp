// Scans with known deviations, moved by known motions, against their masters.

#include <kvmeasure/scans/scan_comparison.h>

#include <kvmeasure/base/plane_geometry.h>
#include <tests/kvmeasure/calls.h>

namespace {

using KvMath::KvPointXYZ;

using Surface = std::function<double(double x, double z)>;

constexpr double kStep = 0.25;            // mm, of x and of the profiles
constexpr double kFloatPrecision = 1e-5;  // mm, of coordinates up to 60 mm
const SpaceVector kMiddle{0, 20, 15};

/// Bumps that fix every motion.
double bumps(double x, double z) {
    return 20 + 2 * std::sin(0.35 * x) + 1.5 * std::cos(0.4 * z) + 0.03 * x * z / 10;
}

double flat(double x, double z) { return 20 + 0.1 * x - 0.05 * z; }
double ball(double x, double z) { return std::sqrt(30.0 * 30 - x * x - (z - 15) * (z - 15)) - 10; }
double tube(double x, double) { return std::sqrt(30.0 * 30 - x * x) - 10; }

/// Points of a surface over x -15..15, scan 0..30, as a cloud, turned about the middle and shifted.
Scan sampled(const Surface& height, double noise, unsigned seed, const SpaceMotion& motion = {}) {
    std::mt19937 random(seed);
    std::normal_distribution<double> normal(0, 1);
    Scan scan;
    for (int row = 0; row <= 120; ++row) {
        for (int column = 0; column <= 120; ++column) {
            const double x = -15 + column * kStep;
            const double z = row * kStep;
            const SpaceVector p = motion.apply({x, height(x, z) + noise * normal(random), z});
            scan.add(KvPointXYZ(float(p.x), float(p.y), float(p.z)));
        }
    }
    return scan;
}

Scan scattered(const Surface& height, int count, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> place(0, 30);
    Scan scan;
    for (int i = 0; i < count; ++i) {
        const double x = place(random) - 15;
        const double z = place(random);
        scan.add(KvPointXYZ(float(x), float(height(x, z)), float(z)));
    }
    return scan;
}

Scan asStack(Scan cloud) {
    Scan scan;
    scan.isStack = true;
    scan.stack = takeStack(cloud, "cloud");
    scan.countPoints();
    return scan;
}

SpaceMotion motionOf(const SpaceVector& degrees, const SpaceVector& shift) {
    return SpaceMotion::of(kMiddle, kRadiansPerDegree * degrees, shift);
}

/// A dent of 0.4 mm, 4 mm wide.
double dented(double x, double z) {
    const double squared = (x - 4) * (x - 4) + (z - 11) * (z - 11);
    return bumps(x, z) - (squared < 4 ? 0.4 * std::pow(1 - squared / 4, 2) : 0);
}

ScanComparisonSettings with(Alignment alignment) {
    ScanComparisonSettings settings;
    settings.alignment = alignment;
    return settings;
}

TEST(SpaceMotions, TurnBackAndOneAfterTheOther) {
    constexpr double kPi = 3.14159265358979323846;
    const SpaceVector axes[] = {{1, 0, 0},     {0, 1, 0},       {0, 0, 1},          {0.6, 0, 0.8},
                                {0.6, 0.8, 0}, {0, 0.28, 0.96}, {0.48, -0.6, 0.64}, {0.48, 0.36, -0.8}};
    const SpaceVector place{3, -7, 11}, shift{0.5, 4, -2};
    for (const SpaceVector& axis : axes) {
        for (const double angle : {0.0, 1e-10, 1e-7, 0.3, 1.0, 2.0, 3.1, kPi}) {
            SCOPED_TRACE(testing::Message() << axis.x << ' ' << axis.y << ' ' << axis.z << " by " << angle);
            const SpaceMotion motion = SpaceMotion::of(kMiddle, angle * axis, shift);
            const SpaceVector found = motion.turn();
            // Half a turn is the same about either direction of its axis.
            const bool isOpposite = angle == kPi && dot(found, axis) < 0;
            EXPECT_LT(length((isOpposite ? -1.0 : 1.0) * found - angle * axis), 1e-7);
            // A point on the axis is shifted; one beside it goes round by the chord of the angle.
            EXPECT_LT(length(motion.apply(kMiddle + 5.0 * axis) - (kMiddle + 5.0 * axis + shift)), 1e-12);
            const SpaceVector beside = cross(axis, {0.36, 0.48, -0.8});
            EXPECT_NEAR(length(motion.apply(kMiddle + beside) - (kMiddle + beside + shift)),
                        2 * std::sin(angle / 2) * length(beside), 1e-12);
            const SpaceMotion next = SpaceMotion::of({1, 2, 3}, {0.1, -0.2, 0.3}, {7, 8, 9});
            EXPECT_LT(length(motion.followedBy(next).apply(place) - next.apply(motion.apply(place))), 1e-12);
        }
    }
}

// Points at known distances from a ball. Triangles with sides of up to 0.5 mm, where it falls by 45 degrees,
// lie up to 0.25^2 / 60 mm below it.
TEST(CompareScans, DeviationsAreDistancesFromTheSurface) {
    const SpaceVector centre{0, -10, 15};
    std::mt19937 random(5);
    std::uniform_real_distribution<double> across(-17, 17), off(-0.4, 0.4);
    Scan part;
    std::vector<double> distances;
    std::vector<int> isInside;  // 1, 0: outside, -1: up to half a step and more beyond the border
    for (int i = 0; i < 3000; ++i) {
        const double x = across(random), z = across(random) + 15;
        const SpaceVector foot{x, ball(x, z), z};
        const SpaceVector p = foot + (off(random) / 30) * (foot - centre);
        part.add(KvPointXYZ(float(p.x), float(p.y), float(p.z)));
        distances.push_back(length(p - centre) - 30);
        const double within = 15 - std::max(std::fabs(x), std::fabs(z - 15));
        isInside.push_back(within < 0.001 && within > -0.2 ? -1 : within > 0);
    }
    ScanComparisonSettings settings = with(Alignment::None);
    settings.leavesStraysOut = false;
    for (const bool isStack : {true, false}) {
        const Scan cloud = sampled(ball, 0, 1);
        const ScanComparison result = compareScans(part, isStack ? asStack(cloud) : cloud, settings);
        ASSERT_EQ(result.deviations.size(), distances.size());
        for (std::size_t i = 0; i < distances.size(); ++i) {
            if (isInside[i] >= 0) {
                ASSERT_EQ(std::isfinite(double(result.deviations[i])), isInside[i] == 1) << i;
            }
            if (isInside[i] == 1) {
                ASSERT_GT(double(result.deviations[i]), distances[i] - kFloatPrecision) << i;
                ASSERT_LT(double(result.deviations[i]), distances[i] + 0.0011) << i;
            }
        }
        const auto [least, most] = std::minmax_element(distances.begin(), distances.end());
        EXPECT_NEAR(result.smallest.value, *least, 0.01);
        EXPECT_NEAR(result.largest.value, *most, 0.01);
    }
}

// 0.25 mm along the line and 0.5 mm along the scan: 2 mm are a gap of the one, and none of the other.
TEST(CompareScans, GapsAreMoreThanFiveStepsOfTheirDirection) {
    const bool turns[] = {false, true};
    for (const bool isTurned : turns) {
        Scan master = sampled(flat, 0, 1);
        master.keep([isTurned](float x, float place, float) {
            const double along = isTurned ? double(place) : double(x) + 15;
            const double across = isTurned ? double(x) + 15 : double(place);
            return std::fmod(across, 0.5) == 0 && !(along > 20 && along < 22) &&
                   !(across > 10 && across < 12);
        });
        Scan part;
        for (const double at : {5.1, 10.9, 21.1}) {
            part.add(KvPointXYZ(float(at - 15), float(flat(at - 15, 6.3)), 6.3F));
            part.add(KvPointXYZ(-8.7F, float(flat(-8.7, at)), float(at)));
        }
        const ScanComparison result = compareScans(part, master, with(Alignment::None));
        ASSERT_EQ(result.deviations.size(), 6U);
        for (std::size_t i = 0; i < 6; ++i)
            EXPECT_EQ(std::isnan(result.deviations[i]), i == (isTurned ? 5U : 4U)) << i << isTurned;
        EXPECT_EQ(result.beyond, 1);
        EXPECT_NEAR(result.largest.value - result.smallest.value, 0, kFloatPrecision);
    }
}

TEST(CompareScans, AMasterLiesOnItself) {
    const Scan stack = asStack(sampled(bumps, 0.02, 1));
    Scan moved = stack;
    for (KvMath::KvProfileZ& profile : moved.stack.profiles) {
        for (KvMath::KvPointXY& point : profile.points)
            point.y += 0.125F;
    }
    for (const Scan& scan : {stack, sampled(bumps, 0.02, 1), scattered(bumps, 14'000, 2)}) {
        for (const Alignment alignment : {Alignment::None, Alignment::Registration}) {
            const ScanComparison result = compareScans(scan, scan, with(alignment));
            ASSERT_TRUE(result.isValid()) << result.reason.toStdString();
            EXPECT_GT(double(result.compared), 0.99 * double(scan.points));
            EXPECT_EQ(result.compared + result.beyond + result.strays, scan.points);
            EXPECT_NEAR(result.largest.value, 0, kFloatPrecision);
            EXPECT_NEAR(result.smallest.value, 0, kFloatPrecision);
        }
    }
    const ScanComparison raised = compareScans(moved, stack, with(Alignment::None));
    EXPECT_NEAR(raised.mean, 0.125, 0.02) << "square to the slopes";
    EXPECT_GT(raised.smallest.value, 0);
    EXPECT_LE(raised.largest.value, 0.125 + kFloatPrecision);
}

TEST(CompareScans, FindsADentHoweverThePartLies) {
    const double noise = 0.01;
    const Scan master = asStack(sampled(bumps, noise, 1));
    const struct {
        SpaceVector degrees, shift;
    } cases[] = {
        {{0, 0, 0}, {0, 0, 0}},   {{0, 3, 0}, {6, -30, 4}},  {{2, -4, 5}, {-3, 2, 5}},
        {{-6, 2, 1}, {1, 9, -2}}, {{0, 0, 0}, {16, 5, -12}},
    };  // more than half a bump away
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.degrees.x << ' ' << c.degrees.y << ' ' << c.degrees.z);
        const SpaceMotion away = motionOf(c.degrees, c.shift);
        const ScanComparison result = compareScans(sampled(dented, noise, 2, away), master);
        ASSERT_TRUE(result.isValid()) << result.reason.toStdString();
        EXPECT_TRUE(result.registration.isFixed());
        const SpaceVector back = result.registration.motion.apply(away.apply({4, dented(4, 11), 11}));
        const SpaceVector off = back - SpaceVector{4, dented(4, 11), 11};
        EXPECT_LT(length(off), 5e-3) << "10,000 points of 0.014 mm";
        EXPECT_NEAR(result.smallest.value, -0.4, 0.06)
            << "the surface rises by 40 degrees, noise adds 3 deviations";
        EXPECT_LT(std::hypot(result.smallest.point.x - 4, result.smallest.point.z - 11), 1);
        EXPECT_LT(result.largest.value, 6 * noise);
    }
}

TEST(CompareScans, SaysWhatTheMasterDoesNotDetermine) {
    const struct {
        const char* name;
        Surface surface;
        QStringList free;
    } cases[] = {{"plane", flat, {"shift along (0.99", "shift along (", "turn about the axis along ("}},
                 {"ball", ball, {"turn about", "turn about", "turn about"}},
                 {"tube", tube, {"shift along (0.000, 0.000, 1.000)", "turn about the axis along (0.00"}},
                 {"bumps", bumps, {}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const ScanComparison result = compareScans(sampled(c.surface, 0.02, 1), sampled(c.surface, 0.02, 2));
        ASSERT_EQ(result.registration.parts.size(), 6U);
        QStringList free;
        for (const SpaceMotionPart& part : result.registration.parts) {
            EXPECT_EQ(part.isFree, std::isinf(part.uncertainty));
            if (!part.isFree && c.name == std::string("plane")) {
                // A mean of so many distances, and a slope over points that are spread evenly over 30 mm.
                const double ofMean = result.rms / std::sqrt(double(result.registration.used));
                const double expected =
                    part.isTurn ? ofMean / (30 / std::sqrt(12.0)) * kDegreesPerRadian : ofMean;
                EXPECT_NEAR(part.uncertainty / expected, 1, 0.05) << part.text().toStdString();
            }
            if (!part.isFree)
                continue;
            if (c.name == std::string("plane")) {
                // Along x as far as the plane allows, then along the scan; turns about its normal.
                const SpaceVector normal = unit({-0.1, 1, 0.05}, {}), x{1, 0, 0};
                const SpaceVector first = unit(x - dot(x, normal) * normal, {});
                const SpaceVector expected = part.isTurn      ? normal
                                             : free.isEmpty() ? first
                                                              : cross(first, normal);
                EXPECT_LT(length(part.direction - expected), 2e-3) << part.text().toStdString();
            }
            free.append(part.text());
            if (c.name == std::string("ball")) {
                EXPECT_LT(length(cross(part.pole - SpaceVector{0, -10, 15}, part.direction)), 0.5)
                    << "axes through the centre";
            }
        }
        ASSERT_EQ(free.size(), c.free.size()) << free.join("; ").toStdString();
        for (int i = 0; i < free.size(); ++i)
            EXPECT_TRUE(free[i].startsWith(c.free[i])) << free[i].toStdString();
        EXPECT_LT(result.rms, 0.04);
    }
}

// The first and the fifth part are turns about nearly one direction: no single error tells them apart.
TEST(CompareScans, UncertaintiesOfAMotionAreWhatRunsShow) {
    const auto thinned = [](unsigned seed) {
        Scan scan = sampled(bumps, 0.02, seed);
        scan.keep([](float x, float place, float) {
            return std::fmod(double(x) + 15, 0.75) == 0 && std::fmod(double(place), 0.75) == 0;
        });
        return scan;
    };
    ScanComparisonSettings settings;
    settings.registration.findsStart = false;
    std::array<double, 6> squares{}, stated{};
    for (unsigned run = 0; run < 30; ++run) {
        const ScanRegistration found =
            compareScans(thinned(100 + run), thinned(run + 1), settings).registration;
        ASSERT_EQ(found.parts.size(), 6U);
        for (std::size_t i = 0; i < 6; ++i) {
            const SpaceMotionPart& part = found.parts[i];
            const double error = part.isTurn ? kDegreesPerRadian * dot(found.motion.turn(), part.direction)
                                             : dot(found.motion.apply(kMiddle) - kMiddle, part.direction);
            squares[i] += error * error;
            stated[i] += part.uncertainty * part.uncertainty;
        }
    }
    for (const std::size_t i : {1U, 2U, 3U, 5U})
        EXPECT_NEAR(std::sqrt(stated[i] / squares[i]), 1, 0.4) << i << ": of 30 runs, three deviations";
}

TEST(CompareScans, StraysDoNotCountUnlessToldTo) {
    const auto dentedPlane = [](double x, double z) { return flat(x, z) + dented(x, z) - bumps(x, z); };
    Scan part = sampled(dentedPlane, 0.005, 1);
    part.cloud.points[3000].y += 2;
    part.cloud.points[9000].y -= 3;
    part.cloud.points[9001].y -= 3;
    ScanComparisonSettings settings = with(Alignment::None);
    settings.lower = -0.2;
    settings.upper = 0.2;
    const Scan master = sampled(flat, 0.005, 2);
    const ScanComparison result = compareScans(part, master, settings);
    EXPECT_EQ(result.strays, 3);
    EXPECT_TRUE(std::isnan(result.deviations[3000]));
    EXPECT_LT(result.largest.value, 0.05);
    EXPECT_NEAR(result.smallest.value, -0.4, 0.02);
    EXPECT_NEAR(result.shareOutside, 3.14159 * 4 * (1 - std::sqrt(0.5)) / 900, 2e-4)
        << "the dent below 0.2 mm";
    EXPECT_DOUBLE_EQ(result.bandValue, -2 * result.smallest.value) << "twice the largest size";
    settings.leavesStraysOut = false;
    EXPECT_NEAR(compareScans(part, master, settings).largest.value, 2, 0.05);
}

TEST(CompareScans, APlaneIsFittedToMostOfThePoints) {
    for (const double away : {0.0, 800.0}) {
        Scan moved = sampled([](double x, double z) { return flat(x, z) - (x > 4 && x < 14 ? 12 : 0); }, 0.01,
                             1, motionOf({}, {away, 0, -away}));
        for (int i = 0; i < 300; ++i)
            moved.cloud.points[i * 37].y += float(i % 40);
        HeightPlane fitted;
        ASSERT_TRUE(fitHeightsRobustly(moved, fitted));
        EXPECT_NEAR(fitted.a, 0.1, 2e-4);
        EXPECT_NEAR(fitted.b, -0.05, 2e-4);
        EXPECT_NEAR(fitted.height(away, -away), 20, 2e-3);
    }
    Scan scan = sampled([](double x, double z) { return flat(x, z) - (x > 4 && x < 14 ? 12 : 0); }, 0.01, 1);
    HeightPlane plane;
    ASSERT_TRUE(fitHeightsRobustly(scan, plane));
    const ScanComparison result = compareWithPlane(scan, plane, with(Alignment::None));
    const double upright = 1 / std::sqrt(1 + 0.1 * 0.1 + 0.05 * 0.05);
    EXPECT_NEAR(result.smallest.value, -12 * upright, 0.06);
    EXPECT_EQ(result.beyond, 0);
    EXPECT_EQ(compareWithPlane(sampled(flat, 0, 1), plane).registration.parts.front().isFree, true);
    const Scan off = sampled(flat, 0.01, 1, motionOf({1, 5, -2}, {4, 3, -1}));
    const ScanComparison laid = compareWithPlane(off, plane);
    EXPECT_NEAR(laid.rms, 0.01, 5e-4) << "laid on the plane that it was taken off";
    EXPECT_NEAR(laid.mean, 0, 1e-4);
}

TEST(CompareScans, WithoutEnoughPointsSaysWhy) {
    const Scan master = sampled(bumps, 0.01, 1);
    Scan one;
    one.add(KvPointXYZ(1, 2, 3));
    Scan line;
    for (int i = 0; i < 50; ++i)
        line.add(KvPointXYZ(float(i), 2, 3));
    for (const Alignment alignment : {Alignment::None, Alignment::Registration}) {
        for (const Scan& bad : {Scan(), one})
            EXPECT_EQ(compareScans(bad, master, with(alignment)).reason,
                      "the scan has fewer than three points");
        for (const Scan& bad : {Scan(), one, line})
            EXPECT_EQ(compareScans(master, bad, with(alignment)).reason,
                      "the master has no three neighbouring points that make a surface");
        Scan same;
        for (int i = 0; i < 20; ++i)
            same.add(KvPointXYZ(3, 4, 5));
        EXPECT_FALSE(compareScans(master, same, with(alignment)).isValid());
        compareScans(same, master, with(alignment));
        compareScans(line, master, with(alignment));
    }
    const ScanComparison away =
        compareScans(sampled(bumps, 0, 1, motionOf({}, {500, 0, 0})), master, with(Alignment::None));
    EXPECT_EQ(away.reason, "no point of the scan lies over the master");
    EXPECT_TRUE(std::isnan(away.worst().value));
    ScanComparisonSettings settings = with(Alignment::Template);
    EXPECT_THROW(compareScans(master, master, settings), Error);
    settings = with(Alignment::None);
    settings.lower = 1;
    settings.upper = 0;
    EXPECT_THROW(compareScans(master, master, settings), Error);
}

}  // namespace
