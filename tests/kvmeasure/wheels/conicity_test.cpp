// Contact, rolling radius difference and equivalent conicity against closed forms.

#include <kvmeasure/wheels/conicity.h>
#include <kvmeasure/wheels/rolling_radius.h>
#include <tests/kvmeasure/calls.h>

namespace {

template <class Height>
std::vector<Vector> sampled(double from, double to, double pitch, const Height& height) {
    std::vector<Vector> points;
    const int last = static_cast<int>(std::lround((to - from) / pitch));
    for (int i = 0; i <= last; ++i)
        points.emplace_back(from + i * pitch, height(from + i * pitch));
    return points;
}

/// A circle through height 0 at `middle`, its centre below (rail) or above (hollow wheel).
std::vector<Vector> arc(double from, double to, double pitch, double middle, double radius, int sign) {
    return sampled(from, to, pitch, [=](double x) {
        return sign * (radius - std::sqrt(radius * radius - (x - middle) * (x - middle)));
    });
}

std::vector<Vector> cone(double slope) {
    return sampled(-60, 60, 0.25, [=](double x) { return -slope * x; });
}

WheelsetOnTrack symmetric(const std::vector<Vector>& wheel, const std::vector<Vector>& rail) {
    WheelsetOnTrack wheelset;
    for (const int side : {Left, Right}) {
        wheelset.wheels[side] = ContactProfile(wheel);
        wheelset.rails[side] = ContactProfile(rail);
    }
    return wheelset;
}

ConicityCurve curveOf(const RollingRadii& radii) {
    return ConicityCurve(radii.shifts, radii.differences, ConicitySettings());
}

TEST(ContactProfile, HasNoValueBesideItsPointsAndSaysWhatItIsNot) {
    const ContactProfile none, rail(arc(-35, 35, 0.5, 0, 300, -1));
    for (const double lateral : {-35.1, 35.1, kNaN, double(INFINITY)}) {
        EXPECT_TRUE(std::isnan(rail.height(lateral)) && std::isnan(rail.slope(lateral)) &&
                    rail.gapAt(lateral) == 0);
        EXPECT_TRUE(std::isnan(none.height(lateral)) && std::isnan(none.slope(lateral)) &&
                    none.gapAt(lateral) == 0);
    }
    EXPECT_NEAR(rail.slope(10), -10 / std::sqrt(300 * 300 - 100), 1e-4);
    EXPECT_NEAR(rail.gapAt(10.2), 0.5, 1e-12);
    EXPECT_THAT(
        [] {
            ContactProfile(std::vector<Vector>(100'001, {1, 1}));
        },
        Refuses("has 100001 points; a section has at most 100000"));
    const auto slab = [](double from, double left, double right, double to) {
        return ContactProfile(
            sampled(from, to, 0.5, [=](double x) { return x >= left && x <= right ? 20.0 : 0.0; }));
    };
    EXPECT_THAT(whyNoWheel(slab(-60, -36, 36, 60)), Says("looks like a rail: 14 mm below its top"));
    EXPECT_THAT(whyNoWheel(slab(-60, 20, 45, 60)), Says("has its flange at positive x"));
    EXPECT_THAT(whyNoWheel(slab(-60, 20, 60, 60)), Says("has its flange at positive x"));
    EXPECT_EQ(whyNoWheel(slab(-60, -60, -35, 60)), "");
    EXPECT_THAT(whyNoRail(slab(-60, -10, 20, 60)),
                Says("looks like a wheel: 14 mm below its top it is 31 mm"));
    EXPECT_THAT(whyNoRail(slab(-60, -60, -45, 60)), Says("looks like a wheel"));
    EXPECT_EQ(whyNoRail(slab(-60, -36, 36, 60)) + whyNoRail(rail), "");
    const std::vector<double> shifts{-4, 0, 4}, rising{-0.4, 0, 0.4};
    for (const auto& [diameter, distance] :
         std::vector<std::pair<double, double>>{{0, 1500}, {INFINITY, 1500}, {920, 0}, {920, INFINITY}}) {
        ConicitySettings settings;
        settings.diameter = diameter;
        settings.contactDistance = distance;
        EXPECT_THAT([&] { ConicityCurve(shifts, rising, settings); }, Refuses("must be above 0, not"));
    }
    ShiftSettings settings;
    settings.widestGap = 0;
    const WheelsetOnTrack wheelset = symmetric(cone(0.05), arc(-35, 35, 0.1, 0, 150, -1));
    EXPECT_THAT([&] { rollingRadii(wheelset, settings); }, Refuses("widestGap must be above 0, not 0"));
    EXPECT_THAT(ConicityCurve(shifts, {0.4, 0, -0.4}, {}).reason(), Says("falls through zero at 0 mm"));
    EXPECT_THAT(ConicityCurve(shifts, {0.1, 0.2, 0.3}, {}).reason(), Says("between -4 and 4 mm"));
    EXPECT_THAT(ConicityCurve(shifts, {0.4, 0, 0}, {}).reason(), Says("does not pass through zero"));
    const ConicityCurve tiny(shifts, {-1e-310, 0, 1e-310}, {});
    EXPECT_FALSE(tiny.at(2).isValid());
}

TEST(Conicity, OfConesIsTheirSlope) {
    for (const double slope : {0.001, 0.025, 0.05, 0.2}) {
        SCOPED_TRACE(slope);
        WheelsetOnTrack wheelset = symmetric(cone(slope), arc(-35, 35, 0.1, 0, 150, -1));
        wheelset.diameters[Right] = 920 + 4 * slope;  // runs 1 mm to the left
        wheelset.railOrigins[Left] = 749;
        const RollingRadii radii = rollingRadii(wheelset, ShiftSettings());
        ASSERT_EQ(radii.shifts.size(), 201U) << radii.reason.toStdString();
        EXPECT_TRUE(radii.leaps.empty());
        EXPECT_EQ(radii.shifts[103], 0.3);
        for (std::size_t i = 0; i < radii.shifts.size(); ++i) {
            // The left rail stands 1 mm nearer, so that its wheel rolls 1 mm nearer to the field side.
            EXPECT_NEAR(radii.differences[i], 2 * slope * (radii.shifts[i] + 1) - slope, 1e-6);
            EXPECT_NEAR(radii.contacts[Right][i].rail, -150 * slope / std::sqrt(1 + slope * slope), 1e-3);
        }
        const ConicityCurve curve = curveOf(radii);
        EXPECT_NEAR(curve.runningPosition(), -0.5, 1e-4);
        for (const double amplitude : {0.001, 3.0, 9.0}) {
            const Conicity at = curve.at(amplitude);
            ASSERT_TRUE(at.isValid()) << at.reason.toStdString();
            EXPECT_NEAR(at.tanGamma / slope, 1, 1e-4);
            EXPECT_NEAR(at.regression / slope, 1, 1e-4);
            EXPECT_NEAR(at.wavelength, 2 * 3.14159265358979 * std::sqrt(750 * (460 + slope) / slope), 2);
            EXPECT_NEAR(at.to - at.from, 2 * amplitude, 1e-9);
        }
        EXPECT_THAT(curve.at(9.6).reason, Says("beyond the largest, 9.5"));
    }
}

TEST(RollingRadii, OfArcsFollowTheClosedForm) {
    constexpr double kWheel = 400, kRail = 80, kMiddle = 12, kOffset = -0.75;
    for (const double pitch : {0.1, 0.37, 1.0}) {
        WheelsetOnTrack wheelset =
            symmetric(arc(-60, 60, pitch, kMiddle, kWheel, 1), arc(-35, 35, pitch, 0, kRail, -1));
        wheelset.railOrigins[Left] = wheelset.railOrigins[Right] = 750 + kOffset;
        const RollingRadii radii = rollingRadii(wheelset, ShiftSettings());
        ASSERT_EQ(radii.shifts.size(), 201U) << radii.notes.join(' ').toStdString();
        const auto contact = [](double outwards) {
            return -(kRail * kMiddle + kWheel * (outwards - kOffset)) / (kWheel - kRail);
        };
        const auto radius = [](double x) {
            return kWheel - std::sqrt(kWheel * kWheel - (x - kMiddle) * (x - kMiddle));
        };
        for (std::size_t i = 0; i < radii.shifts.size(); ++i) {
            const double y = radii.shifts[i], right = contact(y), left = contact(-y);
            EXPECT_NEAR(radii.contacts[Right][i].wheel, right, 1e-3 * pitch + 1e-6) << y;
            EXPECT_NEAR(radii.differences[i], radius(right) - radius(left), 1e-4 * pitch + 1e-7) << y;
            EXPECT_NEAR(radii.contacts[Left][i].radius - 460, radius(left) - radius(0), 1e-4) << y;
        }
    }
}

TEST(RollingRadii, KeepTheirSymmetries) {
    std::mt19937 random(7);
    std::normal_distribution<double> noise(0, 0.01);
    const auto rough = [&](std::vector<Vector> points) {
        for (Vector& p : points)
            p.y += noise(random);
        return points;
    };
    WheelsetOnTrack wheelset, exchanged;
    for (const int side : {Left, Right}) {
        std::vector<Vector> wheel = rough(cone(0.05)), rail = rough(arc(-35, 35, 0.1, 0, 300, -1));
        wheelset.wheels[side] = ContactProfile(wheel);
        wheelset.rails[side] = ContactProfile(rail);
        std::reverse(wheel.begin(), wheel.end());
        for (Vector& p : rail)
            p.y += 32;
        exchanged.wheels[1 - side] = ContactProfile(wheel);
        exchanged.rails[1 - side] = ContactProfile(rail);
    }
    const RollingRadii radii = rollingRadii(wheelset, ShiftSettings());
    const RollingRadii mirrored = rollingRadii(exchanged, ShiftSettings());
    const std::size_t count = radii.shifts.size();
    ASSERT_EQ(count, mirrored.shifts.size());
    ASSERT_GT(count, 150U);
    for (std::size_t i = 0; i < count; ++i) {
        EXPECT_EQ(radii.shifts[i], -mirrored.shifts[count - 1 - i]);
        EXPECT_NEAR(radii.differences[i], -mirrored.differences[count - 1 - i], 1e-6) << radii.shifts[i];
    }
    EXPECT_EQ(radii.leaps.size(), mirrored.leaps.size());
    EXPECT_FALSE(radii.leaps.empty()) << "rough sections touch at two places";
    // The contact is where the gap is least of all places.
    for (std::size_t i = 0; i < count; i += 20) {
        const auto gap = [&](double x) {
            return -wheelset.wheels[Right].height(x) - wheelset.rails[Right].height(x + radii.shifts[i]);
        };
        const double least = gap(radii.contacts[Right][i].wheel);
        for (double x = -20; x < 20; x += 0.1)
            ASSERT_GE(gap(x), least - 2e-4) << radii.shifts[i];
    }
    const Conicity at = curveOf(radii).at(5), other = curveOf(mirrored).at(5);
    EXPECT_NEAR(at.tanGamma, other.tanGamma, 1e-6);
    EXPECT_NEAR(at.from, -other.to, 1e-5);
}

TEST(RollingRadii, SayWhereContactEndsOrLeaps) {
    // A tread and a steeper flange root meet in a hollow corner: the contact leaps over it.
    const auto bent =
        sampled(-60, 60, 0.25, [](double x) { return x < -20 ? 1 - 0.3 * (x + 20) : -0.05 * x; });
    const RollingRadii leaping = rollingRadii(symmetric(bent, arc(-35, 35, 0.1, 0, 80, -1)), ShiftSettings());
    ASSERT_EQ(leaping.leaps.size(), 2U);
    const ContactLeap& leap = leaping.leaps.back();
    EXPECT_EQ(leap.side, Right);
    EXPECT_NEAR(leap.from, -80 * 0.05 - leap.shift, 0.1);
    EXPECT_LT(leap.to, -20);
    EXPECT_EQ(leaping.leaps.front().shift, -leap.shift);

    const auto rail = arc(-35, 35, 0.1, 0, 300, -1);
    ShiftSettings settings;
    settings.largest = 12;
    const RollingRadii shortWheel =
        rollingRadii(symmetric(sampled(-25, 25, 0.25, [](double x) { return -0.05 * x; }), rail), settings);
    EXPECT_EQ(shortWheel.shifts.back(), 9.8);
    EXPECT_THAT(shortWheel.notes.join(' '),
                Says("end at 9.8 mm: the contact reaches the end of the points of the right wheel"));
    auto gapped = cone(0.05);
    gapped.erase(gapped.begin() + 160, gapped.begin() + 190);
    EXPECT_THAT(rollingRadii(symmetric(gapped, rail), settings).reason,
                Says("in a gap of 7.75 mm of the points of the left wheel"));
    EXPECT_THAT(
        rollingRadii(symmetric(sampled(5, 60, 0.25, [](double x) { return -x; }), rail), settings).reason,
        Says("do not reach the running circle"));
    WheelsetOnTrack apart = symmetric(cone(0.05), rail);
    apart.railOrigins[Right] = 600;
    EXPECT_THAT(rollingRadii(apart, settings).reason, Says("do not overlap"));
    for (const auto& [largest, step] :
         {std::pair<double, double>{10, 0.001}, {1000, 1}, {0.1, 1}, {kNaN, 1}}) {
        settings.largest = largest;
        settings.step = step;
        EXPECT_THAT([&] { rollingRadii(apart, settings); }, Refuses("50 mm at most"));
    }
}

TEST(ConicityCurve, IntegratesAndRegressesByTheirFormulas) {
    // dr = k y^3 about 0.7: K = 2 * 2 * 1.31102877714606 / (a sqrt(k)), and the slope is 3/5 k a^2.
    constexpr double kFactor = 0.01, kZero = 0.7, kLemniscate = 1.31102877714605987;
    std::vector<double> shifts, differences;
    for (int i = -4000; i <= 5000; ++i) {
        shifts.push_back(i * 0.002);
        differences.push_back(kFactor * std::pow(shifts.back() - kZero, 3));
    }
    const ConicityCurve curve(shifts, differences, ConicitySettings());
    EXPECT_NEAR(curve.runningPosition(), kZero, 1e-3);
    EXPECT_NEAR(curve.largestAmplitude(), 8.7, 1e-6);
    for (const double amplitude : {2.0, 4.5, 8.7}) {
        const Conicity at = curve.at(amplitude);
        const double root = 3.14159265358979 * amplitude * std::sqrt(kFactor) / (4 * kLemniscate);
        EXPECT_NEAR(at.tanGamma / (root * root), 1, ConicityCurve::kIntegrationError);
        EXPECT_NEAR(at.regression, 0.3 * kFactor * amplitude * amplitude, 1e-6);
    }
}

TEST(ConicityCurve, NamesWhatIsDegenerate) {
    const std::vector<double> shifts{-4, -3, -2, -1, 0, 1, 2, 3, 4};
    const struct {
        std::vector<double> differences;
        double amplitude;
        const char* reason;
        double tanGamma;
    } cases[] = {{{0, 0, 0, 0, 0, 0, 0, 0, 0}, 1, "zero throughout", kNaN},
                 {{1, 1, 1, 1, 1, 1, 1, 1, 1}, 1, "does not pass through zero between -4 and 4", kNaN},
                 {{0, 0, 0, 0, 0, 1, 2, 3, 4}, 1, "does not pass through zero", kNaN},
                 {{4, 3, 2, 1, 0, -1, -2, -3, -4}, 1, "falls through zero at 0 mm", kNaN},
                 {{-4, -3, -2, -1, 0, 1, 2, 3, 4},
                  4.001,
                  "beyond the largest, 4 mm: the rolling radius difference is known",
                  kNaN},
                 {{-4, -3, -2, -1, 0, 1, 2, 3, 4}, 0, "must be above 0", kNaN},
                 {{-4, -3, -2, -1, 0, 1, 2, 3, 4}, kNaN, "must be above 0", kNaN},
                 {{-4, -3, -2, -1, 0, 1, 2, 3, 4}, 4, "", 0.5},
                 {{-4, -3, -2, -1, 0, 1, 1, -1, -1}, 2.3, "falls through zero at 2.5 mm", kNaN},
                 // Cylinders up to 2 mm, flanges behind.
                 {{-4, -2, 0, 0, 0, 0, 0, 2, 4}, 2, "no wavelength", 0},
                 {{-4, -2, 0, 0, 1e-12, 0, 0, 2, 4}, 2, "no wavelength", 0},
                 // A bump in the middle hinders small motions alone.
                 {{-4, -3, -2, -1, 1, -1, 2, 3, 4}, 1.2, "no motion has this amplitude", kNaN},
                 {{-4, -3, -2, -0.1, 0.1, -0.1, 2, 3, 4}, 3, "", 0.47}};
    for (const auto& each : cases) {
        SCOPED_TRACE(std::string(each.reason) + " at " + std::to_string(each.amplitude));
        const ConicityCurve curve(shifts, each.differences, ConicitySettings());
        const Conicity at = curve.at(each.amplitude);
        EXPECT_THAT(at.reason, Says(each.reason));
        EXPECT_EQ(at.isValid(), !std::isnan(each.tanGamma));
        EXPECT_EQ(std::isnan(at.wavelength), !at.reason.isEmpty());
        if (each.tanGamma == 0) {
            EXPECT_EQ(at.tanGamma, 0);
            EXPECT_EQ(at.regression, 0);
        }
        if (at.isValid()) {
            EXPECT_NEAR(at.tanGamma, each.tanGamma, 0.02);
        }
    }
    const auto refused = [](const std::vector<double>& y, const std::vector<double>& dr, double diameter) {
        return textOf(errorOf([&] { ConicityCurve(y, dr, ConicitySettings{diameter, 1500}); }));
    };
    EXPECT_THAT(refused({0, 1}, {0}, 920), HasSubstr("2 shifts and 1 differences"));
    EXPECT_THAT(refused({0}, {0}, 920), HasSubstr("needs two"));
    EXPECT_THAT(refused({0, 0}, {0, 1}, 920), HasSubstr("ascend"));
    EXPECT_THAT(refused({0, kNaN}, {0, 1}, 920), HasSubstr("no number"));
    EXPECT_THAT(refused({0, 1}, {0, 1e300}, 920), HasSubstr("no number"));
    EXPECT_THAT(refused({0, 1}, {0, 1}, 0), HasSubstr("diameter must be above 0"));
}

TEST(ContactProfile, KeepsWhatStandsUppermost) {
    // A head with undercut sides, walls, doubled points and a point that is not set.
    const std::vector<Vector> head{{-20, -30}, {-25, -22}, {-30, -16}, {-30, -5}, {-30, -5},
                                   {-20, 0},   {kNaN, 3},  {0, 1},     {20, 0},   {30, -5},
                                   {30, -16},  {25, -22},  {20, -30}};
    std::vector<Vector> backwards(head.rbegin(), head.rend());
    for (const auto& points : {head, backwards}) {
        const ContactProfile profile(points);
        EXPECT_EQ(profile.laterals(), (std::vector<double>{-30, -20, 0, 20, 30}));
        EXPECT_EQ(profile.height(-30), -5);
        EXPECT_EQ(profile.height(0), 1);
        EXPECT_NEAR(profile.height(-10), profile.height(10), 1e-12);
        EXPECT_TRUE(std::isnan(profile.height(30.001)));
        EXPECT_EQ(profile.gapAt(25), 10);
    }
    // A straight line up to a corner stays straight.
    const ContactProfile bent(sampled(-30, 30, 1, [](double x) { return x < 0 ? -x : 0.1 * x; }));
    EXPECT_NEAR(bent.height(-1.3), 1.3, 1e-12);
    EXPECT_NEAR(bent.height(1.7), 0.17, 1e-12);
    // So does a parabola, up to its ends: its secants change evenly.
    const auto parabola = [](double x) { return 3 + x * (0.2 - 0.01 * x); };
    const ContactProfile curved(sampled(-30, 30, 1, parabola));
    for (double x = -29.9; x < 30; x += 0.7)
        EXPECT_NEAR(curved.height(x), parabola(x), 1e-12) << x;
    const struct {
        std::vector<Vector> points;
        const char* reason;
    } refused[] = {{{}, "has 0 point(s)"},
                   {{{0, 0}, {10, 0}, {30, 0}}, "has 3 point(s)"},
                   {{{0, 0}, {30, kNaN}, {40, 0}, {50, 0}}, "has 3 point(s)"},
                   {{{0, 0}, {0, 1}, {0, 2}, {0, 40}}, "is 0 mm wide"},
                   {{{0, 0}, {2, 1}, {7, 2}, {13, 4}}, "another unit"},
                   {{{0, 0}, {2000, 1}, {7000, 2}, {130000, 4}}, "another unit"},
                   {{{0, 0}, {30, 0}, {30, 1}, {0, 1}}, "at different lateral positions"}};
    for (const auto& each : refused)
        EXPECT_THAT([&] { ContactProfile profile(each.points); }, Refuses(each.reason));
    std::vector<Vector> zigzag;
    zigzag.reserve(300);
    for (int i = 0; i < 300; ++i)
        zigzag.emplace_back(i % 2 == 0 ? 0 : 50, i);
    EXPECT_THAT([&] { ContactProfile profile(zigzag); }, Refuses("out of order"));

    const ContactProfile rail(arc(-36, 36, 0.5, 0, 45, -1));
    const ContactProfile flange(sampled(
        -70, 60, 0.5, [](double x) { return x < -40 ? 28 - 0.08 * (x + 55) * (x + 55) : -0.05 * x; }));
    EXPECT_THAT(whyNoWheel(rail), Says("looks like a rail"));
    EXPECT_THAT(whyNoRail(flange), Says("looks like a wheel"));
    const ContactProfile hollow(arc(-36, 36, 0.5, 0, 45, 1));
    EXPECT_THAT(whyNoWheel(hollow), Says("upside down"));
    EXPECT_THAT(whyNoRail(hollow), Says("upside down"));
    EXPECT_EQ(whyNoWheel(flange), QString());
    EXPECT_EQ(whyNoRail(rail), QString());
    EXPECT_NEAR(gaugeFace(rail), -std::sqrt(45 * 45 - 31 * 31), 0.02);
}

}  // namespace
