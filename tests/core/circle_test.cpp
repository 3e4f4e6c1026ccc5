#include <kvmath/core/circle.h>

#include <tests/support/prelude.h>

static KvPointCloud<KvPointXY> arc(double x, double y, double r, double from, double to, double sigma) {
    TestSupport::Draws draws(5);
    KvPointCloud<KvPointXY> cloud;
    for (double degrees = from; degrees < to; degrees += (to - from) / 1000) {
        const double angle = degrees * M_PI / 180, distance = r + draws.normal(1) * sigma;
        cloud.points << KvPointXY(static_cast<float>(x + distance * std::cos(angle)),
                                  static_cast<float>(y + distance * std::sin(angle)))
                     << KvPointXY(kNaN, 0) << KvPointXY(0, kNaN);
    }
    return cloud;
}

TEST(CircleFit, RecoversTheCircleAndTheNoiseOfItsPoints) {
    const double cases[][7] = {// x, y, radius, from and to degrees, noise, tolerance
                               {0, 0, 1, 0, 360, 0, 1e-6},         {12, -3, 460, 200, 250, 0, 1e-3},
                               {1e5, -2e5, 30, 0, 360, 0, 3e-3},   {0, 300, 0.05, 0, 180, 0, 4e-5},
                               {100, 200, 25, 0, 360, 0.02, 2e-3}, {1e-3, 2e-3, 1e-4, 0, 300, 0, 1e-9}};
    for (const auto& [x, y, r, from, to, sigma, tolerance] : cases) {
        KvCircle circle;
        float error = -1;
        ASSERT_TRUE(circle.calcFromPointCloud(arc(x, y, r, from, to, sigma), &error));
        EXPECT_TRUE(KvCircle(circle).calcFromPointCloud(arc(x, y, r, from, to, sigma), nullptr));
        EXPECT_NEAR(circle.x, x, tolerance);
        EXPECT_NEAR(circle.y, y, tolerance);
        EXPECT_NEAR(circle.radius, r, tolerance);
        EXPECT_NEAR(error, sigma, 2 * tolerance);
    }
}

TEST(CircleFit, RefusesWhatNoCircleGoesThrough) {
    using Points = QList<KvPointXY>;
    for (const Points& points : {Points(),
                                 {{1, 2}, {5, 7}, {1, 2}},
                                 {{0.1F, 3}, {0.2F, 3}, {0.7F, 3}},
                                 {{0, 0}, {0.1F, 0.3F}, {0.2F, 0.6F}, {0.7F, 2.1F}},
                                 {{0, 0}, {1, 0}, {0, kInf}},
                                 {{-3e38F, 0}, {3e38F, 0}, {0, 1e38F}},  // centre or radius beyond a float
                                 {{0, -3e38F}, {0, 3e38F}, {1e38F, 0}},
                                 {{-3e38F, 0}, {3e38F, 0}, {0, 1.5e38F}}}) {
        KvPointCloud<KvPointXY> cloud;
        cloud.points = points;
        KvCircle circle;
        float error = 8;
        EXPECT_FALSE(circle.calcFromPointCloud(cloud, &error)) << points.size();
        EXPECT_TRUE(std::isnan(circle.radius) && error == 8.0F);
    }
}
