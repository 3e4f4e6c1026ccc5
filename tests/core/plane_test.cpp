#include <kvmath/core/plane.h>

#include <tests/support/prelude.h>

TEST(Plane, ThroughThreePointsIsInSinglePrecisionAndNotNormalised) {
    KvPlane plane;
    plane.calcFromPoints({2, 0, 0}, {0, 3, 0}, {0, 0, 4});
    EXPECT_TRUE(plane.a == 12.0 && plane.b == 8.0 && plane.c == 6.0 && plane.d == -24.0);
    EXPECT_FLOAT_EQ(plane.calcDistance({0, 0, 0}), static_cast<float>(24.0 / std::sqrt(244.0)));
    plane.calcFromPoints({1000.1F, 3, 7}, {0.3F, 3.7F, 1}, {-5.1F, 2.9F, 0.11F});
    EXPECT_EQ(plane.d, static_cast<double>(static_cast<float>(plane.d)));
    EXPECT_LT(KvPlane::calcDistance(plane, {0.3F, 3.7F, 1}), 1e-4F);
}

// Checked by the normal equations: sums of float products, which leave a visible mark at this distance.
TEST(PlaneFit, SolvesTheNormalEquationsForBothKindsOfCloud) {
    TestSupport::Draws draws(21);
    for (int round = 0; round < 50; ++round) {
        KvPointCloud<KvPointXYZ> cloud;
        cloud.points = {{kNaN, 1, 2}, {1, kNaN, 2}};
        QList<Vector3D> scan = {{kNaN, 1, 2}, {1, kNaN, 2}};
        QList<const Vector3D*> pointers = {nullptr};
        double s[3][4] = {}, fit[3], same[3];
        for (int i = 0; i < 8 + 5 * round; ++i) {
            const auto x = static_cast<float>(draws.real(90, 110)),
                       y = static_cast<float>(draws.real(190, 230));
            const float z =
                draws.chance(0.1) ? kNaN : 0.2F * x - 3 * y + static_cast<float>(draws.normal(0.1));
            cloud.points.append({x, y, z});
            scan.append({x, y, z});
            const float rows[3][4] = {{x * x, x * y, x, x * z}, {x * y, y * y, y, y * z}, {x, y, 1, z}};
            for (int k = 0; k < 12 && !std::isnan(z); ++k)
                s[k / 4][k % 4] += static_cast<double>(rows[k / 4][k % 4]);
        }
        for (const Vector3D& p : qAsConst(scan))
            pointers.append(&p);
        ASSERT_TRUE(KvPlane::calcFromPointCloud(cloud, fit[0], fit[1], fit[2]));
        ASSERT_TRUE(KvPlane::calcFromPointCloud(pointers, same[0], same[1], same[2]));
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR(s[i][0] * fit[0] + s[i][1] * fit[1] + s[i][2] * fit[2], s[i][3],
                        1e-9 * std::fabs(s[i][3]));
            EXPECT_EQ(same[i], fit[i]);
        }
    }
}

TEST(PlaneFit, TakesThreePoints) {
    KvPointCloud<KvPointXYZ> cloud;
    cloud.points = {{0, 0, 4}, {2, 0, 8}, {0, 1, 1}};
    double a = 0, b = 0, c = 0;
    ASSERT_TRUE(KvPlane::calcFromPointCloud(cloud, a, b, c));
    EXPECT_TRUE(a == 2 && b == -3 && c == 4) << a << ' ' << b << ' ' << c;
}

TEST(PlaneFit, FailureLeavesTheCoefficients) {
    using Points = QList<KvPointXYZ>;
    for (const Points& points : {Points{{0.1F, 2.7F, 3}, {4.3F, 5, 6}, {7, 1, kNaN}},  // two usable ones
                                 Points{{0.5F, 2.75F, 3}, {4.5F, 5, 6}, {8.5F, 7.25F, 1}}}) {
        KvPointCloud<KvPointXYZ> cloud;
        cloud.points = points;
        double a = 7, b = 8, c = 9;
        EXPECT_FALSE(KvPlane::calcFromPointCloud(cloud, a, b, c));
        EXPECT_TRUE(a == 7 && b == 8 && c == 9);
    }
}

TEST(PlaneRemoval, KeepsInOrderWhatIsNotStrictlyBeyondTheThreshold) {
    TestSupport::Draws draws(4);
    for (int round = 0; round < 100; ++round) {
        const bool up = round % 2 == 0;
        const double shift = draws.integer(-2, 2), a = draws.integer(-1, 1);
        PointCloud cloud;
        cloud.profiles() << Profile3D() << Profile3D();
        QList<const Vector3D*> kept;
        int beyond = 0;
        for (int i = 0; i < 40; ++i) {
            const float x = draws.coordinate(3, 1, 0.1), z = draws.coordinate(4, 1, 0.1);
            Vector3D* p = draws.chance(0.1) ? nullptr : new Vector3D(x, 2, z);
            cloud.profiles()[i / 20].append(p);
            const double above = p ? static_cast<double>(z) - (a * static_cast<double>(x) + 2 * 0.5 + 1) : 0;
            if (p && (up ? above > -shift : above < shift))
                ++beyond;
            else
                kept.append(p);
        }
        EXPECT_EQ(KvPlane::removePointsRelativelyPlane(cloud, up, shift, a, 0.5, 1), beyond);
        for (Profile3D& profile : cloud.profiles())
            for (int i = 0; i < profile.size(); ++i)
                EXPECT_EQ(profile[i], kept.takeFirst());
        EXPECT_TRUE(kept.isEmpty());
    }
}
