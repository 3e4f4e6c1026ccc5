// The gauge of a track on heads of known form, however their frame stands.

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
    RailSection onItsSide = left;
    onItsSide.turn.areExchanged = true;
    EXPECT_THAT(reason(onItsSide, right), HasSubstr("no common frame"));
    TrackGaugeOptions none;
    none.depth = 0;
    EXPECT_THAT([&] { trackGauge(left, right, none); }, Refuses("depth"));
}

}  // namespace
