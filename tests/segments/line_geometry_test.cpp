#include <kvmath/segments/line_geometry.h>

#include <tests/support/literal_lines.h>
#include <tests/support/point_runs.h>
#include <tests/support/prelude.h>

namespace {

const LinePP kUp({1, 2}, {4, 6});  // direction (3, 4) / 5

TEST(LinePP2LineABC, NormalPointsLeftOfTheDirection) {
    LineABC l;
    LinePP2LineABC(kUp, l);
    EXPECT_EQ(l.a, -0.8);
    EXPECT_EQ(l.b, 3.0 / 5);
    EXPECT_DOUBLE_EQ(l.c, -0.4);
    LinePP2LineABC({{1, 1}, {1, 1}}, l);
    EXPECT_TRUE(std::isnan(l.a) && std::isnan(l.b) && std::isnan(l.c));
}

TEST(DistWithDir, LeftIsMinusOneAndOnTheLineIsZero) {
    using Point = KvVector2D<double>;
    int side = 9;
    for (const auto& [q, distance, expected] :
         {std::tuple(Point(-3, 5), 5.0, -1), {Point(5, -1), 5.0, 1}, {Point(1, 2), 0.0, 0}}) {
        EXPECT_DOUBLE_EQ(distWithDir(kUp, q, &side), distance);
        EXPECT_EQ(side, expected);
        EXPECT_EQ(dist(kUp, q), distWithDir(kUp, q, nullptr));
    }
    EXPECT_TRUE(std::isnan(distWithDir({{1, 1}, {1, 1}}, {2, 2}, &side)));
    EXPECT_EQ(side, 0);
}

TEST(Lines, MeetAndHaveFeetAlsoWithoutUnitNormal) {
    const LineABC l1{0, 2, -6};  // y = 3
    const LineABC l2{1, -1, 0};  // y = x
    KvVector2D<double> p;
    linesIntersection(l1, l2, p);
    EXPECT_TRUE(p.x == 3 && p.y == 3);
    linesIntersection(l1, {0, 1, 0}, p);
    EXPECT_FALSE(std::isfinite(p.x) || std::isfinite(p.y));
    p = {0, 4};
    nearestLinePointToPoint(l2, p, p);  // the point may be its own foot
    EXPECT_TRUE(p.x == 2 && p.y == 2);
}

// The direction is chosen without the residual sums wherever they cannot disagree.
TEST(Lsd, ChoosesAsTheResidualSumsDo) {
    LineABC l;
    lsd(&kUp.p1, 0, l);
    EXPECT_TRUE(std::isnan(l.a) && std::isnan(l.b) && std::isnan(l.c));
    l = {1, 2, 3};
    lsd(nullptr, 3, l);
    EXPECT_TRUE(std::isnan(l.a + l.b + l.c));
    Draws draws(1);
    for (int trial = 0; trial < 20000; ++trial) {
        SCOPED_TRACE(trial);
        PointRun run = drawnRun(draws);
        const double narrow = std::pow(10, draws.real(-18, 0));
        const bool symmetric = draws.chance(0.2);
        for (size_t k = 0; k < run.size(); ++k) {
            run[k].y *= narrow;
            if (symmetric)
                run[k] = k % 2 == 0 ? KvVector2D<double>(1 + run[k].y, 0) : KvVector2D<double>(0, 1);
        }
        if (run.empty())
            continue;
        lsd(run.data(), static_cast<int>(run.size()), l);
        const LineABC expected = Literal::leastSquares(run.data(), static_cast<int>(run.size()));
        ASSERT_TRUE(sameBits(l.a, expected.a) && sameBits(l.b, expected.b) && sameBits(l.c, expected.c));
    }
}

}  // namespace
