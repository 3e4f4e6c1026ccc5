#include <kvmath/contours/hull.h>

#include <tests/support/literal_hulls.h>
#include <tests/support/random_data.h>

#include <gmock/gmock.h>

#include <cstring>

namespace {

using namespace KvMath;
using testing::ElementsAre;
using TestSupport::Draws;
using Points = QList<KvVector2D<double>>;

QList<int> coinHull(const Points& points, double R) {
    QList<int> indices;
    EXPECT_TRUE(getCoinHull(points, R, indices));
    return indices;
}

/// Grids with ties and repeated points, clouds, rings, lines with points at exactly the reach; some with
/// values that are not finite, or scaled.
Points drawnPoints(Draws& draws) {
    const int n = draws.chance(0.1) ? draws.integer(0, 3) : draws.integer(4, draws.chance(0.1) ? 400 : 60);
    const int kind = draws.integer(0, 4);
    const double angle = draws.real(0, 7);
    const double scale = draws.chance(0.15) ? std::pow(10, draws.real(-165, 160)) : 1;
    const double hostile[] = {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e308, -1e308};
    Points points;
    for (int i = 0; i < n; ++i) {
        const double a = 6.2831853 * i / n;
        const KvVector2D<double> kinds[] = {{draws.integer(-4, 4) * 0.5, draws.integer(-4, 4) * 0.5},
                                            {3 * std::cos(a), 3 * std::sin(a) * std::cos(a)},
                                            {2.0 * (i % 5), 0.1 * (i / 5)},
                                            {draws.real(-3, 3), draws.real(-3, 3)},
                                            {0.5 * i * std::cos(angle), 0.5 * i * std::sin(angle)}};
        points.append({kinds[kind].x * scale, kinds[kind].y * scale});
        if (draws.chance(0.03))
            (draws.chance(0.5) ? points.last().x : points.last().y) = hostile[draws.integer(0, 4)];
    }
    return points;
}

double drawnRadius(Draws& draws, const Points& points) {
    const double odd[] = {0.0, -1.0, std::nan(""), HUGE_VAL, 1e-300, 1e300, 1e308, 1e-150};
    if (draws.chance(0.25))
        return odd[draws.integer(0, 7)];
    const double scale = points.isEmpty() ? 1 : std::fabs(points.first().x);
    return draws.chance(0.5) ? scale * draws.real(0.05, 3) : 0.25 * draws.integer(1, 12);
}

TEST(Hulls, AreTheLiteralWalksOnAnyInput) {
    Draws draws(71);
    for (int run = 0; run < 6000; ++run) {
        const Points points = drawnPoints(draws);
        const double R = drawnRadius(draws, points);
        QList<int> literal, fast{7};
        const bool isClosed = TestSupport::literalCoinHull(points, R, literal);
        ASSERT_EQ(getCoinHull(points, R, fast), isClosed) << run;
        ASSERT_EQ(fast, literal) << "run " << run << " R " << R << " n " << points.size();
        const int limit = draws.chance(0.2) ? draws.integer(-1, 9) : 0;
        const Points expected = TestSupport::literalPseudoHull(points, R, limit);
        const Points hull = getPseudoConvexHull(points, R, limit);
        ASSERT_EQ(hull.size(), expected.size()) << run;
        for (int i = 0; i < hull.size(); ++i)
            ASSERT_TRUE(std::memcmp(&hull.at(i), &expected.at(i), sizeof hull.at(i)) == 0) << run;
    }
}

// Sides straight to the last bits of coordinates far from the origin, and places all over the inside: what
// may be left out, and which of two turns is less, is a matter of 1e-10.
TEST(CoinHull, TurnsRightAboutSidesThatAreNearlyStraight) {
    Draws draws(75);
    for (int run = 0; run < 300; ++run) {
        const double tilt = draws.real(0, 7), far = std::pow(10, draws.real(4, 8));
        const double bulge = std::pow(10, draws.real(-10, -5));
        Points points;
        for (int i = draws.integer(20, 200); i > 0; --i) {
            const double along = draws.real(-50, 50), side = 50 + bulge * draws.real(0, 1);
            const double u = i % 4 < 2 ? along : (i % 4 == 2 ? side : -side);
            const double v = i % 4 < 2 ? (i % 8 < 4 ? side : draws.real(-50, 50)) : along;
            points.append({far + u * std::cos(tilt) - v * std::sin(tilt),
                           0.5 * far + u * std::sin(tilt) + v * std::cos(tilt)});
        }
        for (const double R : {double(HUGE_VAL), 1e11}) {
            QList<int> literal, fast;
            ASSERT_EQ(getCoinHull(points, R, fast), TestSupport::literalCoinHull(points, R, literal));
            ASSERT_EQ(fast, literal) << "run " << run << " R " << R;
        }
    }
}

// A bowl larger than the coin by one part in so many, round or oval, near the origin and far from it, smooth
// and rough: the coin inside comes near all points at once, and the turns from one to the next are as small
// as 1e-10.
TEST(CoinHull, RollsThroughHollowArcsThatItNearlyFits) {
    Draws draws(77);
    for (int run = 0; run < 150; ++run) {
        const double R = std::pow(10, draws.integer(-2, 3)), reach = draws.real(1, 6.2);
        const double larger = R * (1 + std::pow(10, -draws.integer(0, 12)));
        const double squash = run % 5 < 3 ? 1 : draws.real(0.5, 1);
        const double rough = run % 3 == 0 ? 0 : R * std::pow(10, -draws.integer(2, 12));
        const double far = run % 2 == 0 ? 0 : R * draws.real(-1e4, 1e4);
        const int n = draws.integer(300, 900);
        Points points;
        for (int i = 0; i < n; ++i) {
            const double angle = 3 + reach * i / n, radius = larger + rough * draws.real(-1, 1);
            points.append({far + radius * std::cos(angle), far / 3 + squash * radius * std::sin(angle)});
        }
        QList<int> literal, fast;
        ASSERT_EQ(getCoinHull(points, R, fast), TestSupport::literalCoinHull(points, R, literal)) << run;
        ASSERT_EQ(fast, literal) << "run " << run << " R " << R << " rough " << rough;
    }
}

// Middles of the chords lie inside by an angle of 1e-12 to 1e-10 and are met first.
TEST(CoinHull, TellsTurnsApartThatDifferInTheLastBits) {
    Draws draws(76);
    for (const double bend : {3e-4, 5e-4, 8e-4, 1.2e-3, 2e-3}) {
        Points points;
        for (int i = 0; i < 400; ++i) {
            const double half = bend / 2, a = bend * i + half, depth = std::pow(10, draws.real(-12, -10));
            const double middle = 100 * std::cos(half) - 100 * std::sin(half) * depth;
            points.append({100 * std::cos(bend * i), 100 * std::sin(bend * i)});
            points.append({middle * std::cos(a), middle * std::sin(a)});
        }
        QList<int> literal;
        TestSupport::literalCoinHull(points, HUGE_VAL, literal);
        EXPECT_EQ(coinHull(points, HUGE_VAL), literal) << bend;
    }
}

TEST(CoinHull, KeepsTheCoinFreeOfPoints) {
    Draws draws(72);
    for (int run = 0; run < 300; ++run) {
        Points points;
        for (int i = 0; i < 150; ++i)
            points.append({draws.real(0, 10), draws.real(0, 10)});
        const double R = draws.real(0.3, 4);
        const QList<int> hull = coinHull(points, R);
        for (int k = 1; k < hull.size(); ++k) {
            const auto p = points.at(hull.at(k - 1)), q = points.at(hull.at(k));
            const double dx = q.x - p.x, dy = q.y - p.y, d = std::max(1e-300, std::hypot(dx, dy));
            const double h = std::sqrt(R * R - d * d / 4) / d;
            const double x = (p.x + q.x) / 2 + h * dy, y = (p.y + q.y) / 2 - h * dx;
            for (const auto& other : points)
                ASSERT_TRUE(hull.size() == 2 || std::hypot(other.x - x, other.y - y) > R * (1 - 1e-7)) << run;
        }
    }
}

TEST(Hulls, HaveStatedResultsForFewPoints) {
    EXPECT_THAT(coinHull({}, 1), ElementsAre());
    EXPECT_TRUE(getPseudoConvexHull({{NAN, 0}, {NAN, 1}, {2, NAN}}, 1, 9).isEmpty());
    EXPECT_THAT(coinHull({{NAN, 0}}, 1), ElementsAre(0));
    EXPECT_THAT(coinHull({{NAN, 0}, {NAN, 1}}, 1), ElementsAre(0, 0));
    EXPECT_THAT(coinHull({{0, 0}, {2, 0}}, 0.99), ElementsAre(0, 0));
    EXPECT_THAT(coinHull({{0, 0}, {2, 0}, {2.5, 0}}, 1), ElementsAre(0, 1, 2, 1, 0));  // a thread of points
    EXPECT_THAT(coinHull({{1, 1}, {1, 1}, {0, 0}, {0, 0}}, 5), ElementsAre(2, 0, 2));  // copies close
}

TEST(PseudoConvexHull, EndsWhereTheFirst256CandidatesCross) {
    Points points = {{2, 0},     {2, 9.9},     {1.1, 10},     {0.1, 10},
                     {-0.8, 10}, {-0.4, 10.9}, {0.58, 10.88}, {1.2, 11.4}};  // the last is seen behind them
    for (int count = 1; count < 260; ++count) {
        points.append({0.5 + 0.001 * count, 9.95});
        EXPECT_EQ(getPseudoConvexHull(points, 1, 0).size(), count < 256 ? 8 : 7) << count;
    }
}

// Thousands of points under the coin, hulls of all points, straight lines: no walk may be quadratic.
TEST(Hulls, TakeDenseRoundAndStraightOutlines) {
    Points circle, band, line, rounded;
    Draws draws(73);
    for (int i = 0; i < 50000; ++i) {
        circle.append({100 * std::cos(i * 1.256637e-4), 100 * std::sin(i * 1.256637e-4)});
        band.append({draws.real(0, 100), draws.real(0, 2)});
        line.append({1.0 * i, 3.0 * i});
        rounded.append({1e-3 * i * std::cos(2), 1e-3 * i * std::sin(2)});
    }
    EXPECT_EQ(coinHull(circle, HUGE_VAL).size(), 50001);
    EXPECT_GT(coinHull(band, 1).size(), 300);
    EXPECT_EQ(coinHull(line, 1e9).size(), 99999);  // there and back
    EXPECT_GT(getPseudoConvexHull(circle, HUGE_VAL, 0).size(), 40000);
    EXPECT_EQ(getPseudoConvexHull(line, 1e9, 0).size(), 50000);
    EXPECT_GT(getPseudoConvexHull(rounded, 1e9, 0).size(), 2);
}

}  // namespace
