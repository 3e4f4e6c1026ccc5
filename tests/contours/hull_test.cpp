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

constexpr double kInf = std::numeric_limits<double>::infinity();

QList<int> coinHull(const Points& points, double R) {
    QList<int> indices;
    EXPECT_TRUE(getCoinHull(points, R, indices));
    return indices;
}

/// Grids with ties and repeated points, clouds, dense rings; some with values that are not finite, or scaled.
Points drawnPoints(Draws& draws) {
    const int n = draws.chance(0.1) ? draws.integer(0, 3) : draws.integer(4, draws.chance(0.1) ? 400 : 60);
    const int kind = draws.integer(0, 3);
    const double scale = draws.chance(0.15) ? std::pow(10, draws.real(-165, 160)) : 1;
    const double hostile[] = {std::nan(""), kInf, -kInf, 1e308, -1e308};
    Points points;
    for (int i = 0; i < n; ++i) {
        const double a = 6.2831853 * i / n;
        KvVector2D<double> p(draws.real(-3, 3), draws.real(-3, 3));
        if (kind == 0)
            p = {draws.integer(-4, 4) * 0.5, draws.integer(-4, 4) * 0.5};
        else if (kind == 1)
            p = {3 * std::cos(a), 3 * std::sin(a) * std::cos(a)};
        else if (kind == 2)
            p = {2.0 * (i % 5), 0.1 * (i / 5)};
        points.append({p.x * scale, p.y * scale});
        if (draws.chance(0.02))
            points.last().x = hostile[draws.integer(0, 4)];
        if (draws.chance(0.02))
            points.last().y = hostile[draws.integer(0, 4)];
    }
    return points;
}

double drawnRadius(Draws& draws, const Points& points) {
    const double odd[] = {0.0, -1.0, std::nan(""), kInf, 1e-300, 1e300, 1e308, 1e-150};
    if (draws.chance(0.25))
        return odd[draws.integer(0, 7)];
    const double scale = points.isEmpty() ? 1 : std::fabs(points.first().x);
    return draws.chance(0.5) ? scale * draws.real(0.05, 3) : 0.25 * draws.integer(1, 12);
}

TEST(CoinHull, IsTheLiteralWalkOnAnyInput) {
    Draws draws(71);
    int closed = 0;
    for (int run = 0; run < 6000; ++run) {
        const Points points = drawnPoints(draws);
        const double R = drawnRadius(draws, points);
        QList<int> literal, fast{7};
        const bool isClosed = TestSupport::literalCoinHull(points, R, literal);
        ASSERT_EQ(getCoinHull(points, R, fast), isClosed) << run;
        ASSERT_EQ(fast, literal) << "run " << run << " R " << R << " n " << points.size();
        ASSERT_LE(fast.size(), 2 * points.size() + 1);
        closed += isClosed && fast.size() > 3 ? 1 : 0;
    }
    EXPECT_GT(closed, 2000);
}

// Each touched point with the next has a coin to the right of the way that holds no point.
TEST(CoinHull, KeepsTheCoinFreeOfPoints) {
    Draws draws(72);
    for (int run = 0; run < 300; ++run) {
        Points points;
        for (int i = 0; i < 150; ++i)
            points.append({draws.real(0, 10), draws.real(0, 10)});
        const double R = draws.real(0.3, 4);
        const QList<int> hull = coinHull(points, R);
        ASSERT_EQ(hull.first(), hull.last());
        for (int k = 1; k < hull.size(); ++k) {
            const auto p = points.at(hull.at(k - 1)), q = points.at(hull.at(k));
            const double d = std::hypot(q.x - p.x, q.y - p.y);
            if (d == 0)
                continue;
            const double h = std::sqrt(R * R - d * d / 4);
            const double x = (p.x + q.x) / 2 + h * (q.y - p.y) / d, y = (p.y + q.y) / 2 - h * (q.x - p.x) / d;
            for (const auto& other : points)
                ASSERT_GT(std::hypot(other.x - x, other.y - y), R * (1 - 1e-7)) << run << " step " << k;
        }
    }
}

TEST(CoinHull, EntersNotchesThatAreWiderThanTheCoin) {
    Points square;
    for (int x = 0; x <= 8; ++x)
        for (int y = 0; y <= 8; ++y)
            if (!(x > 2 && x < 6 && y > 3))  // a notch from x = 2 to 6 down to y = 3
                square.append({double(x), double(y)});
    const auto touches = [&square](double R, double x, double y) {
        for (int index : coinHull(square, R))
            if (square.at(index).x == x && square.at(index).y == y)
                return true;
        return false;
    };
    EXPECT_TRUE(touches(1.9, 4, 3));
    EXPECT_TRUE(touches(1.9, 2, 6));
    EXPECT_FALSE(touches(2.1, 4, 3));
    EXPECT_FALSE(touches(2.1, 2, 6));
    EXPECT_TRUE(touches(2.1, 2, 8));
    EXPECT_EQ(coinHull(square, kInf).size(), 30);  // all points of the four sides, the notch bridged
}

TEST(CoinHull, HasStatedResultsForDegenerateInput) {
    EXPECT_THAT(coinHull({}, 1), ElementsAre());
    EXPECT_THAT(coinHull({{NAN, 0}}, 1), ElementsAre(0));
    EXPECT_THAT(coinHull({{NAN, 0}, {NAN, 1}}, 1), ElementsAre(0, 0));
    EXPECT_THAT(coinHull({{3, 3}, {0, 0}, {-1, 0}, {0, 0}}, 0), ElementsAre(2, 2));
    EXPECT_THAT(coinHull({{0, 0}, {2, 0}, {2.5, 0}}, 1), ElementsAre(0, 1, 2, 1, 0));  // a thread of points
    EXPECT_THAT(coinHull({{0, 0}, {2, 0}}, 0.99), ElementsAre(0, 0));
    EXPECT_THAT(coinHull({{1, 1}, {1, 1}, {0, 0}, {0, 0}}, 5),
                ElementsAre(2, 0, 2));  // repeated points close
}

// Points so dense that thousands lie under the coin, far more of them than a quadratic walk could handle.
TEST(CoinHull, WalksDenseAndRoundOutlines) {
    Points circle, band;
    Draws draws(73);
    for (int i = 0; i < 200000; ++i) {
        circle.append({100 * std::cos(i * 3.14159265e-5), 100 * std::sin(i * 3.14159265e-5)});
        band.append({draws.real(0, 100), draws.real(0, 2)});
    }
    EXPECT_EQ(coinHull(circle, kInf).size(), 200001);
    EXPECT_EQ(coinHull(circle, 3).size(), 200001);
    EXPECT_GT(coinHull(band, 1).size(), 300);
    EXPECT_GT(getPseudoConvexHull(circle, kInf, 0).size(), 150000);
    EXPECT_GT(getPseudoConvexHull(band, 1, 0).size(), 300);
}

TEST(PseudoConvexHull, IsTheLiteralWalkOnAnyInput) {
    Draws draws(74);
    for (int run = 0; run < 4000; ++run) {
        const Points points = drawnPoints(draws);
        const double reach = drawnRadius(draws, points);
        const int limit = draws.chance(0.2) ? draws.integer(-1, 9) : 0;
        const Points literal = TestSupport::literalPseudoHull(points, reach, limit);
        const Points fast = getPseudoConvexHull(points, reach, limit);
        ASSERT_EQ(fast.size(), literal.size()) << run;
        for (int i = 0; i < fast.size(); ++i)
            ASSERT_TRUE(std::memcmp(&fast.at(i), &literal.at(i), sizeof fast.at(i)) == 0) << run;
    }
}

TEST(PseudoConvexHull, StartsLowestGoesRoundAndEndsBeforeItsStart) {
    const Points square = {{1, 1}, {0, 0}, {2, 0}, {2, 2}, {0, 2}};
    const auto coordinates = [](const Points& hull) {
        std::vector<std::pair<double, double>> list;
        for (const auto& p : hull)
            list.emplace_back(p.x, p.y);
        return list;
    };
    using P = std::pair<double, double>;
    EXPECT_THAT(coordinates(getPseudoConvexHull(square, 2, 0)),
                ElementsAre(P(0, 0), P(2, 0), P(2, 2), P(0, 2)));
    EXPECT_THAT(coordinates(getPseudoConvexHull(square, 1.5, 0)),
                ElementsAre(P(0, 0), P(2, 0), P(1, 1), P(2, 2)));
    EXPECT_THAT(coordinates(getPseudoConvexHull(square, 9, 3)), ElementsAre(P(0, 0), P(2, 0), P(2, 2)));
    EXPECT_THAT(coordinates(getPseudoConvexHull({{NAN, 1}, {4, 4}}, 1, 0)).size(), 2);
}

}  // namespace
