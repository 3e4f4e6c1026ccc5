// The gauge of a track, and values of rails, on heads of known form, however their frame stands.

#include <kvmeasure/wheels/rail_values.h>
#include <kvmeasure/wheels/track_gauge.h>
#include <tests/kvmeasure/wheels/sections.h>

namespace {

/// A head 72 mm wide with corners of 13 mm, its axis at a lateral position. `flow`: material that stands out
/// 10 mm below the top, on the side towards the other rail.
Points headAt(double middle, int inwards, double flow) {
    Points points;
    constexpr double kHalf = 36, kCorner = 13, kDeep = 30;
    for (double y = -kDeep; y < -kCorner; y += 0.5)
        points.emplace_back(kHalf * -1, y);
    for (int degrees = 0; degrees <= 90; degrees += 3) {
        const double angle = degrees * 0.017453292519943295;
        points.emplace_back(-kHalf + kCorner - kCorner * std::cos(angle),
                            -kCorner + kCorner * std::sin(angle));
    }
    const auto half = static_cast<std::ptrdiff_t>(points.size());
    for (double x = kCorner - kHalf + 0.5; x < kHalf - kCorner; x += 0.5)
        points.emplace_back(x, 0);
    for (std::ptrdiff_t i = half; i-- > 0;)
        points.emplace_back(-points[static_cast<std::size_t>(i)].x, points[static_cast<std::size_t>(i)].y);
    for (Vector& p : points) {
        if (flow > 0 && std::fabs(p.y + kCorner) < 0.25 && p.x * inwards > 0)
            p.x += inwards * flow;
        p.x += middle;
    }
    return points;
}

TEST(TrackGauge, IsTheLeastDistanceOfTheFacesHoweverTheFrameStands) {
    constexpr double kGauge = 1435, kMiddle = kGauge / 2 + 36;
    for (const double angle : {0.0, 0.05, -0.1}) {
        const auto turn = [angle](const Vector& p) {
            return Vector(std::cos(angle) * p.x - std::sin(angle) * p.y + 300,
                          std::sin(angle) * p.x + std::cos(angle) * p.y - 70);
        };
        const RailSection left = railOf(moved(headAt(-kMiddle, 1, 0), turn));
        for (const double flow : {0.0, 1.5}) {
            const RailSection right = railOf(moved(headAt(kMiddle, -1, flow), turn));
            TrackGauge found = trackGauge(left, right);
            ASSERT_TRUE(found.gauge.isKnown()) << found.gauge.reason.toStdString();
            EXPECT_NEAR(found.gauge.value, kGauge - flow, 1e-9);
            EXPECT_NEAR(found.slope, std::tan(angle), 1e-9);
            EXPECT_NEAR(length(found.leftFace, found.rightFace), kGauge - flow, 0.01 + 13 * flow);
            addUncertainty(left, right, {}, found);
            EXPECT_TRUE(found.gauge.uncertainty.isKnown() || !found.gauge.uncertainty.reason.isEmpty());
        }
        for (const double depth : {0.5, 5.0}) {
            TrackGaugeOptions shallow;
            shallow.depth = depth;
            const double corner = 13 - std::sqrt(13 * 13 - (13 - depth) * (13 - depth));
            EXPECT_NEAR(trackGauge(left, railOf(moved(headAt(kMiddle, -1, 1.5), turn)), shallow).gauge.value,
                        kGauge + 2 * corner, 0.04)
                << "the arc has a point every 3 degrees";
        }
    }
    // In frames of their own, of whatever height.
    const RailSection own = railOf(headAt(0, -1, 0));
    RailSection higher = own;
    for (Vector& p : higher.points)
        p.y += 40;
    TrackGaugeOptions level;
    level.isLevel = true;
    EXPECT_NEAR(
        trackGauge(placedRail(own, kMiddle, true), placedRail(higher, kMiddle, false), level).gauge.value,
        kGauge, 1e-9);
    GaugeProfile track;
    track.points = headAt(-kMiddle, 1, 0);
    for (const Vector& p : headAt(kMiddle, -1, 0))
        track.points.push_back(p);
    const auto [a, b] = partedRails(track);
    EXPECT_NEAR(trackGauge(railSection(a), railSection(b)).gauge.value, kGauge, 1e-9);
    EXPECT_TRUE(partedRails(a).first.points.empty());
}

TEST(TrackGauge, IsMissingWithAReason) {
    const RailSection left = railOf(headAt(-750, 1, 0)), right = railOf(headAt(750, -1, 0));
    const auto reason = [](const RailSection& a, const RailSection& b) {
        return trackGauge(a, b).gauge.reason.toStdString();
    };
    EXPECT_THAT(reason(right, left), HasSubstr("exchange them"));
    EXPECT_THAT(reason(left, left), HasSubstr("no common frame"));
    EXPECT_THAT(reason(left, RailSection()), HasSubstr("right rail: has no points"));
    Points cut;
    for (const Vector& p : headAt(750, -1, 0)) {
        if (p.y > -12 || p.x > 750)
            cut.push_back(p);
    }
    EXPECT_THAT(reason(left, railOf(cut)), HasSubstr("right rail: the left side is not seen 14 mm"));
    Points corner;
    for (const Vector& p : headAt(750, -1, 0)) {
        if (p.x < 750 - 12)
            corner.emplace_back(p.x, p.y - (p.x - 750) * (p.x - 750) / 600);
    }
    EXPECT_THAT(reason(left, railOf(corner)), HasSubstr("right rail: its top is not seen"));
    const RailSection other = railOf(moved(corner, [](const Vector& p) { return Vector(-p.x, p.y); }));
    EXPECT_THAT(reason(other, right), HasSubstr("left rail: its top is not seen"));
    RailSection onItsSide = left;
    onItsSide.turn.areExchanged = true;
    EXPECT_THAT(reason(onItsSide, right), HasSubstr("no common frame"));
    TrackGaugeOptions none;
    none.depth = 0;
    EXPECT_THAT([&] { trackGauge(left, right, none); }, Refuses("depth"));
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
    GaugeProfile told = profileOf(head());
    told.object = GaugeObject::Rail;
    EXPECT_EQ(wheelSection(told).reason, "no wheel: the file says that it is of a rail");
    const RailSection nominal = railSection(told);
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

// A head that stands in the middle, planed by 1 mm on one side of its top, is taken in the hand in which its
// form fits.
TEST(RailValues, OfAPlanedHeadAreTakenInTheHandThatFits) {
    const auto planed = [](double height, double sign) {
        return moved(head(height), [sign](const Vector& p) {
            return Vector(sign * p.x, p.y - std::clamp(std::min(p.x - 4, 30 - p.x) / 3, 0.0, 1.0));
        });
    };
    const RailSection nominal = railOf(planed(0, 1));
    for (const double sign : {1.0, -1.0}) {
        const RailValues values = railValues(railOf(planed(2, sign)), &nominal);
        EXPECT_EQ(values.isMirrored, sign < 0);
        EXPECT_EQ(values.notes.filter("mirrored in x").size(), sign < 0 ? 1 : 0);
        EXPECT_NEAR(valueOf(values.values, "W1"), 2, 1e-6);
    }
}

// Upside down, from the other side, with the points the other way round: the same wear, of the side that is
// then the other one. The mirror begins its even steps along the crown at the other end.
TEST(RailValues, AreTheSameInAMirror) {
    std::mt19937 random(8);
    std::uniform_real_distribution<double> draw(0, 3);
    const RailSection nominal = railOf(head());
    for (int run = 0; run < 20; ++run) {
        SCOPED_TRACE(run);
        const double side = 0.5 + draw(random);
        Points worn = moved(head(draw(random), 0, draw(random) - 1.5), [side](const Vector& p) {
            return Vector(p.x - side * std::clamp((p.x - 18) / 10, 0.0, 1.0), p.y);
        });
        const RailValues values = railValues(railOf(worn), &nominal);
        ASSERT_TRUE(findValue(values.values, "areaLost")->isKnown());
        const auto same = [&](const std::function<Vector(const Vector&)>& move) {
            return railValues(railOf(moved(worn, move)), &nominal);
        };
        expectSame(same([](const Vector& p) { return Vector(p.x, -p.y); }).values, values.values, 1e-6);
        RailValues mirrored = same([](const Vector& p) { return Vector(-p.x, p.y); });
        EXPECT_NE(mirrored.side, values.side);
        for (SectionValue& value : mirrored.values)
            value.value *= value.key == "inclination" ? -1 : 1;
        expectSame(mirrored.values, values.values, 2e-3);
        const auto aside = [](const Vector& p) { return Vector(p.x + 20, p.y); };
        const RailSection nominalAside = railOf(moved(head(), aside));
        expectSame(railValues(railOf(moved(worn, aside)), &nominalAside).values, values.values, 1e-6);
        std::reverse(worn.begin(), worn.end());
        expectSame(railValues(railOf(worn), &nominal).values, values.values, 1e-9);
    }
}

}  // namespace
