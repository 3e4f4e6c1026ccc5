// Stray points: those that were put in are found, and zones are those of the rest.

#include <kvmeasure/form/stray_points.h>
#include <tests/kvmeasure/calls.h>

#include <set>

namespace {

/// A bent, inclined plate of 60 by 40 mm with noise; strays of 0.3 to 50 mm at random rows.
std::vector<SpacePoint> plate(std::mt19937& random, int strays, std::set<int>& put) {
    std::normal_distribution<double> noise(0, 0.01);
    std::uniform_real_distribution<double> size(0.3, 50);
    std::vector<SpacePoint> points;
    for (int i = 0; i < 20000; ++i) {
        const double x = i % 200 * 0.3, y = i / 200 * 0.4;  // NOLINT(bugprone-integer-division)
        points.push_back({x, y, 0.4 * x - 0.2 * y + 1e-4 * (x - 30) * (y - 20) + noise(random)});
    }
    while (static_cast<int>(put.size()) < strays) {
        const int at = static_cast<int>(random() % 20000);
        if (put.insert(at).second)
            points[std::size_t(at)][2] += (random() % 2 == 0 ? 1 : -1) * size(random);
    }
    return points;
}

TEST(StrayPoints, AreThoseThatWerePutIn) {
    std::mt19937 random(5);
    for (const int strays : {0, 1, 40, 2000}) {
        SCOPED_TRACE(strays);
        std::set<int> put;
        const std::vector<SpacePoint> points = plate(random, strays, put);
        const StrayPoints found = strayPoints(points, 7);
        EXPECT_EQ(std::set<int>(found.strays.begin(), found.strays.end()), put);
        EXPECT_NEAR(found.deviation, 0.01, 0.0015);
        EXPECT_EQ(found.limit, 7 * found.deviation);
        EXPECT_FALSE(found.text().isEmpty());
        std::vector<SpacePoint> kept;
        for (int i = 0; i < static_cast<int>(points.size()); ++i) {
            if (put.count(i) == 0)
                kept.push_back(points[std::size_t(i)]);
        }
        EXPECT_LT(flatness(kept).minimumZone.width, 0.25);
    }
}

TEST(StrayPoints, OfLinesAndCircles) {
    std::mt19937 random(6);
    std::normal_distribution<double> noise(0, 0.01);
    std::vector<Vector> line, ring;
    for (int i = 0; i < 900; ++i) {
        line.emplace_back(i * 0.05 + 1000, 0.7 * i * 0.05 + noise(random));
        const double angle = i * 0.006, radius = 20 + noise(random) + (i == 700 ? 0.5 : 0);
        ring.emplace_back(radius * std::cos(angle), 300 + radius * std::sin(angle));
    }
    line[17].y += 0.4;
    line[444].y -= 30;
    EXPECT_EQ(strayPoints(line, 7).strays, (std::vector<int>{17, 444}));
    EXPECT_EQ(strayPointsOfCircle(ring, 7).strays, std::vector<int>{700});
}

/// A plate of 40 by 20 mm in steps of 0.2 mm at any place: noise of 0.01 mm along z, and five strays.
std::vector<SpacePoint> inclined(double slopeX, double slopeY) {
    std::mt19937 random(7);
    std::normal_distribution<double> noise(0, 0.01);
    std::vector<SpacePoint> points;
    for (int i = 0; i < 200 * 100; ++i) {
        const double x = 300 + i % 200 * 0.2, y = i / 200 * 0.2 - 500;  // NOLINT(bugprone-integer-division)
        points.push_back({x, y, 70 + slopeX * x + slopeY * y + noise(random) + (i % 4000 == 1234 ? 0.5 : 0)});
    }
    return points;
}

TEST(StrayPoints, FiguresAreSquareToTheSurfaceHoweverItStands) {
    const std::vector<int> put{1234, 5234, 9234, 13234, 17234};
    const double cell = std::sqrt(16 * 39.8 * 19.8 / 20000);  // 16 points in each
    for (const auto& [a, b] : {std::pair(0.0, 0.0), {0.9, -0.6}}) {
        const StrayPoints found = strayPoints(inclined(a, b), 7);
        EXPECT_EQ(found.strays, put);
        EXPECT_NEAR(found.cell, cell, 1e-9);
        // The median of 144 points takes 1 % of the variance of one; that of 20,000 is known to 1 %.
        EXPECT_NEAR(found.deviation * std::sqrt(1 + a * a + b * b), 0.01, 3e-4);
    }
    // Upright plates: x or y is the height.
    for (const std::array<int, 3>& order : {std::array<int, 3>{2, 0, 1}, {0, 2, 1}, {1, 2, 0}, {2, 1, 0}}) {
        std::vector<SpacePoint> turned;
        for (const SpacePoint& p : inclined(0.1, 0.2))
            turned.push_back({p[std::size_t(order[0])], p[std::size_t(order[1])], p[std::size_t(order[2])]});
        const StrayPoints found = strayPoints(turned, 7);
        EXPECT_EQ(found.strays, put);
        EXPECT_NEAR(found.deviation * std::sqrt(1.05), 0.01, 3e-4);
        EXPECT_NEAR(found.cell, cell, 0.05 * cell) << "of sides along the plate, which is inclined";
    }
    EXPECT_EQ(strayPoints(inclined(0, 0), 7, 3).cell, 3);
    EXPECT_EQ(strayPoints(inclined(0, 0), 49, 3).limit, 49 * strayPoints(inclined(0, 0), 49, 3).deviation);
    // Lines in both ways, and a circle, of 0.01 mm square to them; cells for 16 points of 0.05 mm.
    std::mt19937 random(8);
    std::normal_distribution<double> noise(0, 0.01);
    std::vector<Vector> line, upright, ring;
    for (int i = 0; i < 3000; ++i) {
        const double off = noise(random) + (i == 1700 ? 0.5 : 0), way = i * 0.05;
        line.emplace_back(800 + 0.8 * way - 0.6 * off, 90 + 0.6 * way + 0.8 * off);
        upright.emplace_back(50 - off, way - 700);
        ring.emplace_back(7 + (30 + off) * std::cos(way / 30 - 2.5),
                          9 + (30 + off) * std::sin(way / 30 - 2.5));
    }
    for (const auto& [points, side] : {std::pair(&line, 0.8 * 0.8), {&upright, 0.8}}) {
        const StrayPoints found = strayPoints(*points, 7);
        EXPECT_EQ(found.strays, std::vector<int>{1700});
        EXPECT_NEAR(found.deviation, 0.01, 5e-4);
        EXPECT_NEAR(found.cell, side, 0.01 * side);
    }
    const StrayPoints found = strayPointsOfCircle(ring, 7);
    EXPECT_EQ(found.strays, std::vector<int>{1700});
    EXPECT_NEAR(found.deviation, 0.01, 5e-4);
    EXPECT_NEAR(found.cell, 0.8, 0.01);
}

TEST(StrayPoints, OfDegenerateSetsAreNone) {
    const std::vector<SpacePoint> same(50, {1, 2, 3});
    std::vector<SpacePoint> exact, column;
    std::vector<Vector> far;
    for (int i = 0; i < 100; ++i) {
        exact.push_back({double(i % 10), double(i / 10), 0});  // NOLINT(bugprone-integer-division)
        column.push_back({0, 0, double(i)});
        far.emplace_back(std::pow(10, i / 10.0), 0);
    }
    for (const auto& points :
         {std::vector<SpacePoint>{}, same, exact, column, std::vector<SpacePoint>(7, {0, 0, 1})})
        EXPECT_TRUE(strayPoints(points, 5).strays.empty());
    EXPECT_TRUE(strayPoints(far, 5).strays.empty());
    EXPECT_TRUE(strayPointsOfCircle(far, 5, 1e-9).strays.empty());
    EXPECT_GT(strayPoints(far, 5, 0.1).alone, 0);
    EXPECT_TRUE(strayPointsOfCircle(std::vector<Vector>(20, {1, 1}), 5).strays.empty());
}

}  // namespace
