#include <kvmath/core/interpolant.h>

#include <tests/support/prelude.h>

// On a grid, equal secants in a row and corners between straight parts occur.
static KvPointCloud<KvPointXY> scanLine(TestSupport::Draws& draws, int n, bool grid) {
    KvPointCloud<KvPointXY> cloud;
    for (float x = draws.coordinate(100, 0.25F, 0); cloud.points.size() < n;) {
        x += grid ? 0.25F : static_cast<float>(draws.real(0.05, 0.5));
        cloud.points.append({x, draws.coordinate(grid ? 0.5F : 20, 0.5F, 0)});
    }
    return cloud;
}

// Hermite form in long double, the secants beyond the ends by recursion. Returns value and slope from the
// left.
static std::pair<long double, long double> akima(const QList<KvPointXY>& p, long double x) {
    const int n = static_cast<int>(p.size());
    const auto width = [&](int i) { return static_cast<long double>(p[i + 1].x) - p[i].x; };
    const std::function<long double(int)> secant = [&](int i) -> long double {
        if (n > 2 && (i < 0 || i > n - 2))
            return i < 0 ? 2 * secant(i + 1) - secant(i + 2) : 2 * secant(i - 1) - secant(i - 2);
        i = n == 2 ? 0 : i;
        return (static_cast<long double>(p[i + 1].y) - p[i].y) / width(i);
    };
    const auto slope = [&](int i) {
        const long double w1 = std::fabs(secant(i + 1) - secant(i)),
                          w2 = std::fabs(secant(i - 1) - secant(i - 2));
        return w1 + w2 == 0 ? (secant(i - 1) + secant(i)) / 2
                            : (w1 * secant(i - 1) + w2 * secant(i)) / (w1 + w2);
    };
    int i = 0;
    while (i < n - 2 && p[i + 1].x < x)
        ++i;
    const long double h = width(i), s = (x - p[i].x) / h, r = 1 - s, t0 = slope(i), t1 = slope(i + 1);
    return {r * r * (1 + 2 * s) * p[i].y + s * r * r * h * t0 + s * s * (3 - 2 * s) * p[i + 1].y -
                s * s * r * h * t1,
            6 * s * r * secant(i) + (1 - 4 * s + 3 * s * s) * t0 + (3 * s * s - 2 * s) * t1};
}

TEST(Interpolant, EqualsAnIndependentConstructionInValueAndSlope) {
    TestSupport::Draws draws(6);
    for (int round = 4; round < 120; ++round) {
        const int n = round / 2;
        const KvPointCloud<KvPointXY> cloud = scanLine(draws, n, round % 2 == 0);
        KvPointCloud<KvPointXY> shuffled = cloud;
        std::shuffle(shuffled.points.begin(), shuffled.points.end(), std::mt19937(1));
        shuffled.points << KvPointXY(kNaN, 1) << KvPointXY(1, kInf) << shuffled.points.takeFirst();
        const KvInterpolant spline(shuffled, KvInterpolantAkima);
        ASSERT_EQ(spline.knotCount, n);
        EXPECT_EQ(spline.calcY(cloud.points.first().x), cloud.points.first().y);
        EXPECT_EQ(spline.calcY(cloud.points.last().x), cloud.points.last().y);
        KvPointCloud<KvPointXY> out;  // resampled from the last knot on: that knot alone
        EXPECT_EQ(spline.generatePointCloud(out, 1, cloud.points.last().x, kNaN), 1);
        EXPECT_EQ(out.points.value(0).y, cloud.points.last().y);
        for (int i = 0; i < n - 1; ++i) {  // at the middle, then from the left at the end of the interval
            const KvPointXY a = cloud.points[i], b = cloud.points[i + 1];
            for (const float x : {(a.x + b.x) / 2, b.x})
                EXPECT_NEAR(spline.calcY(x), static_cast<double>(akima(cloud.points, x).first), 1e-5) << n;
            const float* c = spline.coefficients.constData() + 4 * i;
            const double h = static_cast<double>(b.x) - a.x, bend = 2.0 * c[2] * h,
                         twist = 3.0 * c[3] * h * h;
            const double tolerance = 1e-6 * (std::fabs(c[1]) + std::fabs(bend) + std::fabs(twist)),
                         end = c[1] + bend + twist;
            EXPECT_NEAR(end, static_cast<double>(akima(cloud.points, b.x).second), tolerance) << n;
            EXPECT_NEAR(end, i < n - 2 ? c[5] : end, tolerance) << n;
        }
    }
}

TEST(Interpolant, RefusedBuildsDropThePreviousOneExceptForNone) {
    KvPointCloud<KvPointXY> cloud, bad;
    cloud.points = {{0, 1}, {1, 3}, {2, 2}};
    KvInterpolant spline(cloud, KvInterpolantAkima);
    EXPECT_EQ(spline.buildFromPointCloud(bad, KvInterpolantNone), 0);
    EXPECT_EQ(spline.calcY(1), 3.0F);
    EXPECT_EQ(spline.buildFromPointCloud(cloud, static_cast<_KvInterpolantType_>(1)), 0);
    EXPECT_TRUE(spline.knotX.size() + spline.coefficients.size() + spline.knotCount == 0 &&
                std::isnan(spline.lastY));
    EXPECT_EQ(spline.buildAkimaSpline(nullptr), 0);
    using Points = QList<KvPointXY>;
    const Points cases[] = {{},
                            {{1, 1}, {kNaN, 2}},
                            {{2, 1}, {1, 1}},
                            {{0, -3e38F}, {1e-3F, 3e38F}},
                            {{1, 1}, {1, 1}, {2, 1}},
                            {{0, 0}, {1e-10F, 1e20F}, {1, 0}},
                            {{0, 0}, {1e-10F, 1e10F}, {2e-10F, 0}, {1, 7}}};  // beyond a float: c2, c3
    for (const Points& points : cases) {
        bad.points = points;
        EXPECT_EQ(spline.buildFromPointCloud(cloud, KvInterpolantAkima), 3);
        EXPECT_EQ(spline.buildAkimaSpline(&bad), 0);
        EXPECT_TRUE(spline.type == KvInterpolantNone && std::isnan(spline.calcY(1)));
    }
}

TEST(Interpolant, TakesTheIntervalOnTheLeftOfAKnotAndNothingOutside) {
    KvInterpolant spline;
    spline.type = KvInterpolantAkima;
    spline.knotX = {0, 1, 2};
    spline.coefficients = {10, 0, 0, 0, 20, 1, 0, 0};
    spline.knotCount = 3;
    EXPECT_TRUE(spline.calcY(0) == 10.0F && spline.calcY(1) == 10.0F && spline.calcY(2) == 21.0F);
    EXPECT_EQ(spline.calcY(std::nextafter(1.0F, 2.0F)), 20.0F);
    for (const float outside : {-1e-30F, std::nextafter(2.0F, 3.0F), kNaN, kInf})
        EXPECT_TRUE(std::isnan(spline.calcY(outside)));
    KvPointCloud<KvPointXY> out;
    const int torn[][2] = {{9, 8}, {0, 8}, {-1, 8}, {3, 7}};  // knots told, coefficients there are
    for (const auto& [knots, size] : torn) {
        spline.knotCount = knots;
        spline.coefficients.resize(size);
        EXPECT_TRUE(std::isnan(spline.calcY(0)) && spline.generatePointCloud(out, 1, kNaN, kNaN) == 0)
            << knots;
    }
}

TEST(Interpolant, ResamplesAsTheLiteralLoopAndNeverHangs) {
    TestSupport::Draws draws(9);
    const KvPointCloud<KvPointXY> cloud = scanLine(draws, 50, false);
    const KvInterpolant spline(cloud, KvInterpolantAkima);
    const float first = spline.knotX.first(), last = spline.knotX.last();
    for (int round = 0; round < 300; ++round) {
        const float step = draws.chance(0.1) ? kInf : static_cast<float>(draws.real(0.01, 3));
        const float from = first + draws.coordinate(6, 0.5F, 0.2), to = last + draws.coordinate(6, 0.5F, 0.2);
        float x = std::isnan(from) ? first : std::max(from, first);
        KvPointCloud<KvPointXY> out = cloud;
        spline.generatePointCloud(out, step, from, to);
        do {
            const float y = spline.calcY(x);
            ASSERT_TRUE(std::isnan(y) || (!out.points.isEmpty() && out.points.first().x == x));
            EXPECT_TRUE(std::isnan(y) || out.points.takeFirst().y == y);
            x += step;
        } while (x < (std::isnan(to) ? last : std::min(to, last)));
        EXPECT_TRUE(out.points.isEmpty());
    }
    const std::tuple<float, float, int> cases[] = {{0, kNaN, 50},   {-1, kNaN, 50}, {1e-30F, first, 1},
                                                   {kNaN, kNaN, 1}, {1, kInf, 0},   {1, last, 1}};
    for (const auto& [step, from, size] : cases) {
        KvPointCloud<KvPointXY> out = cloud;
        spline.generatePointCloud(out, step, from, kNaN);
        EXPECT_EQ(out.points.size(), size) << step;
    }
    KvPointCloud<KvPointXY> out, unit;
    out.maxX = 7;
    unit.points = {{0, 0}, {1, 1}};
    const KvInterpolant straight(unit, KvInterpolantAkima);
    EXPECT_EQ(straight.generatePointCloud(out, 5e-8F, kNaN, kNaN), 0);  // 20 million
    EXPECT_EQ(straight.generatePointCloud(out, 0.25F, kNaN, kNaN), 4);
    EXPECT_EQ(out.maxX, 7.0F) << "only points are cleared away, with their range";
}

TEST(Interpolant, SlopeOfAParabolaThroughThreePoints) {
    EXPECT_FLOAT_EQ(KvInterpolant().diff3p(3, -1, 0.5F, 4, 8, -1, 13), 7.0F);  // 2x^2 - 5x + 1
}
