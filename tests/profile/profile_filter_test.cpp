// The filters against their literal algorithms, and on settings that must switch them off.

#include "profile_support.h"

#include <kvmath/core/line.h>

#include <numeric>

namespace {

using Points = QList<KvPointXY>;

void medianLiteral(const KvProfile& source, KvProfile& dest, int window) {
    for (int i = 0; i < source.points.size() - window; ++i) {
        Points scratch = source.points.mid(i, window);
        bubbleSort(scratch, 0, window, xOf, true);
        dest.points[i].y = scratch[window / 2].y;
    }
}

Points noiseLiteral(const Points& points, int window, int maxJumps, float threshold) {
    Points kept;
    for (int i = 0; i + window < points.size(); i += window) {
        int jumps = 0;
        for (int t = i; t + 1 < i + window; ++t)
            jumps += std::abs(points[t].y - points[t + 1].y) > threshold;
        if (jumps <= maxJumps)
            kept += points.mid(i, window);
    }
    return kept;
}

Points linePartsLiteral(Points points, int maxParts, float maxCorrelation, float maxGap, int minPoints) {
    bubbleSort(points, 0, static_cast<int>(points.size()), xOf, true);
    QList<KvProfile> parts{KvProfile()};
    for (int i = 0; i + 1 < points.size(); ++i) {
        parts.last().points.append(points[i]);
        if (!(points[i].calcDistance(points[i + 1]) > maxGap))
            continue;
        if (parts.size() == maxParts)
            break;
        parts.append(KvProfile());
    }
    Points kept;
    for (const KvProfile& part : parts) {
        if (part.points.size() > minPoints && std::abs(part.calcCorrelation()) < maxCorrelation)
            kept += part.points;
    }
    return kept;
}

KvProfile levelProfile(int size) {
    KvProfile profile;
    for (int i = 0; i < size; ++i)
        profile.points.append(KvPointXY(static_cast<float>(i), 1));
    return profile;
}

}  // namespace

TEST(ProfileFilter, MedianEqualsSortingEveryWindow) {
    Draws draws(2201);
    for (int round = 0; round < 600; ++round) {
        const double run = draws.chance(0.5) ? draws.real(0.8, 1) : draws.real(0, 1);
        const bool wide = round % 10 == 0;           // about where the kernels change over, at 64
        const bool large = wide || round % 10 == 1;  // several blocks of windows side by side
        const KvProfile profile = randomProfile(draws, draws.integer(0, large ? 200 : 50),
                                                draws.chance(0.5) ? (large ? 0.01 : 0.15) : 0, run);
        const int window = wide ? draws.integer(60, 70) : draws.integer(1, 14);
        SCOPED_TRACE(testing::Message() << "round " << round << " window " << window);
        KvProfile dest =
            randomProfile(draws, static_cast<int>(profile.points.size()) + draws.integer(0, 3), 0);
        KvProfile expected = dest;
        medianLiteral(profile, expected, window);
        profile.medFilt(dest, window);
        ASSERT_THAT(dest, HasPointsOf(expected));
        KvProfile inPlace = profile;
        expected = profile;
        medianLiteral(profile, expected, window);
        inPlace.medFilt(inPlace, window);
        ASSERT_THAT(inPlace, HasPointsOf(expected));
    }
}

TEST(ProfileFilter, MovingAverageLandsAtTwoFifthsAndSeesItsOwnResults) {
    KvProfile five = profileOf({{0, 1}, {1, 2}, {2, 6}, {3, 4}, {4, 5}, {5, 11}, {6, 0}});
    five.wndFilter(5);  // means over 1 2 6 4 5, then over 2 3.6 4 5 11
    const float first = 18.0F / 5;
    EXPECT_THAT(
        five,
        PointsAre({{0, 1}, {1, 2}, {2, first}, {3, (2 + first + 4 + 5 + 11) / 5}, {4, 5}, {5, 11}, {6, 0}}));
    KvProfile two = profileOf({{0, 1}, {1, 3}, {2, 9}});
    two.wndFilter(2);  // at a half it would land at 1
    EXPECT_THAT(two, PointsAre({{0, 2}, {1, 3}, {2, 9}}));
    KvProfile large = profileOf({{0, 16777216}, {1, 1}, {2, 1}, {3, 0}});
    large.wndFilter(3);  // a sum in single precision, which takes in neither 1
    EXPECT_EQ(large.points[1].y, 16777216.0F / 3);
}

TEST(ProfileFilter, SlopeReadsAndWritesDestination) {
    const KvProfile five = levelProfile(5);
    KvProfile dest = profileOf({{0, 1}, {1, 2}, {2, 4}, {3, 8}, {4, 16}, {9, 9}});
    five.diffFilt(dest, 3);  // upper half of two points; the last window starts at 2
    EXPECT_THAT(dest, PointsAre({{0, 5.0F / 3}, {1, 10.0F / 4}, {2, 20.0F / 5}, {3, 8}, {4, 16}, {9, 9}}));
    KvProfile even = profileOf({{0, 1}, {1, 2}, {2, 4}, {3, 8}, {4, 16}, {5, 32}});
    levelProfile(6).diffFilt(even, 4);
    EXPECT_THAT(even, PointsAre({{0, 2.25F}, {1, 4.5F}, {2, 9}, {3, 8}, {4, 16}, {5, 32}}));
    KvProfile untouched = dest;
    five.diffFilt(untouched, 4);
    EXPECT_THAT(untouched, HasPointsOf(dest));
}

TEST(ProfileFilter, LowPassEqualsTheSumOverItsTapsInPlaceToo) {
    const float c[] = {0,       0.0013F, 0.0047F, 0.0117F, 0.0238F, 0.0407F, 0.0612F,
                       0.0824F, 0.1011F, 0.1139F, 0.1185F, 0.1139F, 0.1011F, 0.0824F,
                       0.0612F, 0.0407F, 0.0238F, 0.0117F, 0.0047F, 0.0013F};
    Draws draws(2203);
    for (int round = 0; round < 100; ++round) {
        const KvProfile source =
            randomProfile(draws, draws.integer(15, 300), draws.chance(0.5) ? 0.02 : 0, 0.7);
        const float gap = draws.coordinate(2, 0.25F, 0.3);
        KvProfile expected = source;
        for (int i = 20; i < source.points.size(); ++i) {
            double sum = 0;
            for (int j = 0; j < 20; ++j)
                sum += double(c[j]) * double(source.points[i - j].y);
            if (!(source.points[i].x - source.points[i - 1].x > gap))
                expected.points[i].y = static_cast<float>(sum);
        }
        KvProfile inPlace = source;
        inPlace.zebFilter20(gap);
        EXPECT_THAT(inPlace, HasPointsOf(expected));
        KvProfile dest = levelProfile(static_cast<int>(source.points.size()) + 1);
        source.zebFilter20(dest, gap);
        dest.points.removeLast();
        EXPECT_THAT(dest, HasPointsOf(source.points.size() < 20
                                          ? levelProfile(static_cast<int>(source.points.size()))
                                          : expected));
    }
}

TEST(ProfileFilter, LevelsKeepOnlyWhatIsProven) {
    const KvProfile p = profileOf({{0, 1}, {1, 2}, {2, 2}, {3, 5}, {kNaN, 0}, {4, kNaN}});
    KvProfile below = p, above = p;
    below.removeHighLevel(KvLine(1, 1));  // (0, 1) and (1, 2) are on the line
    EXPECT_THAT(below, PointsAre({{2, 2}}));
    above.removeLowLevel(KvLine(1, 1));
    EXPECT_THAT(above, PointsAre({{3, 5}}));
    KvProfile onLine = profileOf({{1, 1}});
    onLine.removeHighLevel(KvLine(1, 1e-9F));  // 1 + 1e-9 is 1 in single precision
    EXPECT_TRUE(onLine.points.isEmpty());
    above.removeLowLevel(KvLine());
    EXPECT_TRUE(above.points.isEmpty());
}

TEST(ProfileFilter, MedianBandIsOpenAndSorts) {
    KvProfile p = profileOf({{0, 4}, {1, 1}, {2, 2}, {3, 3}});
    p.removePointsByYMedian(1.5);  // median 2.5: 1 and 4 are on the limits
    EXPECT_THAT(p, PointsAre({{2, 2}, {3, 3}}));
    KvProfile all = profileOf({{0, 0}, {1, 1}, {2, 2}});
    all.removePointsByYMedian(1 + 1e-12);  // compared in double precision
    EXPECT_EQ(all.points.size(), 3);
    all.removePointsByYMedian(0);
    p.removePointsByYMedian(std::nan(""));
    EXPECT_TRUE(all.points.isEmpty() && p.points.isEmpty());
}

TEST(ProfileFilter, RemovalOfNoiseAndStraightPartsEqualsTheLiteralForms) {
    Draws draws(2204);
    for (int round = 0; round < 400; ++round) {
        const KvProfile profile =
            randomProfile(draws, draws.integer(0, 60), draws.chance(0.5) ? 0.05 : 0, 0.6);
        const int window = draws.integer(1, 12);
        const int jumps = draws.integer(-1, 4);
        const float threshold = draws.coordinate(4, 0.25F, 0.05);
        KvProfile noise = profile;
        noise.removeNoise(window, jumps, threshold, kNaN);
        KvProfile expected;
        expected.points = noiseLiteral(profile.points, window, jumps, threshold);
        EXPECT_THAT(noise, HasPointsOf(expected));

        const int parts = draws.chance(0.1) ? INT_MAX : draws.integer(2, 6);
        const float correlation = static_cast<float>(draws.real(0, 1.2));
        const float gap = draws.coordinate(3, 0.25F, 0.05);
        const int least = draws.integer(-1, 5);
        KvProfile curved = profile;
        curved.removeLineParts(parts, correlation, gap, least);
        expected.points = linePartsLiteral(profile.points, parts, correlation, gap, least);
        EXPECT_THAT(curved, HasPointsOf(expected))
            << parts << " " << correlation << " " << gap << " " << least;
    }
}

TEST(ProfileFilter, MeaninglessSettingsDoNothing) {
    const KvProfile p = levelProfile(40);
    KvProfile same = p;
    KvProfile shorter = levelProfile(39);
    for (const int window : {0, -1, INT_MIN, INT_MAX}) {
        p.medFilt(same, window);
        p.diffFilt(same, window);
        p.wndFilterPolar(same, 1, window, 2);
        same.wndFilter(window);
        same.removeNoise(std::min(window, 0), 0, 0, 0);
        same.removeLineParts(std::min(window, 1), 0, 0, 0);
        same.removeNoisyPoints(1, std::min(window, 0));
        same.removeNoisyPoints(window > 0 ? kNaN : 0, 1);
    }
    EXPECT_THAT(same, HasPointsOf(p));
    p.medFilt(shorter, 3);
    p.diffFilt(shorter, 3);
    p.zebFilter20(shorter, kNaN);
    p.wndFilterPolar(shorter, kNaN, 3, 1);
    EXPECT_THAT(shorter, HasPointsOf(levelProfile(39)));
}

TEST(ProfileFilter, SpikesGoAndEdgesStay) {
    // Level, spike of two points, level, a step down, a pit, an unset point and a spike beside it.
    KvProfile p = profileOf(
        {{0, 0}, {2, 9}, {3, 8}, {4, 0.5F}, {6, -20}, {8, -30}, {9, -20}, {10, kNaN}, {11, 5}, {12, -20}});
    KvProfile dest;
    EXPECT_TRUE(p.splashFilter(dest, 2, 0.5F)) << "the spike of two points is wider";
    EXPECT_EQ(dest.points.size(), 7);
    EXPECT_TRUE(p.splashFilter(p, 2, 1));
    EXPECT_THAT(p, PointsAre({{0, 0}, {4, 0.5F}, {6, -20}, {9, -20}, {12, -20}}));
    const KvProfile saw = profileOf({{0, 0}, {1, 3}, {2, 1.5F}, {3, 0}, {4, -1.5F}, {5, -3}, {6, 0}});
    EXPECT_TRUE(saw.splashFilter(dest, 2, 9));
    EXPECT_THAT(dest, HasPointsOf(saw)) << "left by a step of the same sign as it is entered";
    EXPECT_TRUE(profileOf({{0, 0}, {1, 9}, {2, 0}}).splashFilter(dest, 2, 1) && dest.points.size() == 2);
    EXPECT_TRUE(profileOf({{0, 0}, {1, kNaN}, {2, 0}}).splashFilter(dest, 2, 1) && dest.points.size() == 2);
    EXPECT_FALSE(profileOf({{0, 0}, {1, kNaN}}).splashFilter(dest, 2, 1));
    EXPECT_EQ(dest.points.size(), 2);
}

TEST(ProfileFilter, PolarSpikesAreSeenAcrossTheZeroAngle) {
    // Radius 100, every 2 degrees, a spike at 0 and 2, and the same elsewhere.
    for (const float turn : {0.0F, 130.0F}) {
        KvProfile ring = profileOf({{100, -4}, {100, -2}, {110, 0}, {110, 2}, {100, 4}, {100, 6}, {3, 8}});
        ring.rotatePolar(turn);
        ring.toEvklid();
        KvProfile dest;
        EXPECT_TRUE(ring.splashFilterPolar(dest, 5, 2.01F, 50));
        ring.points.erase(ring.points.begin() + 2, ring.points.begin() + 4);
        ring.points.removeLast();
        EXPECT_THAT(dest, HasPointsOf(ring)) << turn;
    }
}

TEST(ProfileFilter, PolarMeanIsThatOfTheRadiusWithinSteps) {
    Draws draws(2206);
    for (int round = 0; round < 200; ++round) {
        KvProfile p;
        QVector<double> radius, before;
        for (int i = draws.integer(1, 60); i > 0; --i) {
            p.points.append(KvPointXY(100 + draws.coordinate(4, 1, 0), 4.0F * float(i)));
            radius.push_back(double(p.points.last().x));
        }
        p.toEvklid();
        const int n = static_cast<int>(p.points.size()), window = draws.integer(1, n), half = window / 2;
        KvProfile smooth = p;
        p.wndFilterPolar(smooth, 2.5F, window, round % 4);
        QVector<int> run(radius.size());
        for (int i = 1; i < n; ++i)
            run[i] = run[i - 1] + (std::abs(radius[i] - radius[i - 1]) > 2.5);
        for (int pass = std::max(round % 4, 1); pass > 0; --pass) {
            before = radius;
            for (int i = 0; i < n; ++i) {
                int reach = half;  // the same to both sides within the run
                while (i - reach < 0 || i + reach >= n || run[i - reach] != run[i] ||
                       run[i + reach] != run[i])
                    --reach;
                radius[i] = std::accumulate(before.begin() + i - reach, before.begin() + i + reach + 1, 0.0) /
                            (2 * reach + 1);
            }
        }
        for (int i = 0; i < n; ++i) {
            const KvPointXY q = smooth.points[i];
            EXPECT_NEAR(std::hypot(q.x, q.y), radius[i], 1e-4) << round;
            EXPECT_NEAR(std::remainder(std::atan2(q.y, q.x) - M_PI / 45 * (n - i), 2 * M_PI), 0, 1e-6);
        }
    }
}

TEST(ProfileFilter, PolarMeanPassesOverUnsetPoints) {
    const KvProfile p = profileOf({{3, 4}, {kNaN, 0}, {6, 8}, {1, INFINITY}, {15, 20}});
    KvProfile smooth = p;
    p.wndFilterPolar(smooth, 99, 3, 1);
    EXPECT_NEAR(std::hypot(smooth.points[2].x, smooth.points[2].y), (5 + 10 + 25) / 3.0, 1e-5);
    smooth.points[2] = p.points[2];
    EXPECT_THAT(smooth, HasPointsOf(p));
}

TEST(ProfileFilter, SparsePointsAreThoseCountedByBruteForce) {
    Draws draws(2207);
    for (int round = 0; round < 200; ++round) {
        const bool isLine =
            round % 5 == 0;  // several blocks in the order of a line, more neighbours than are looked at
        const KvProfile p =
            randomProfile(draws, draws.integer(0, isLine ? 600 : 200), 0.05, isLine ? 0.98 : 0.0);
        const float radius = static_cast<float>(draws.integer(1, 8)) * 0.25F;
        const int least = draws.integer(1, isLine ? 40 : 12);
        KvProfile expected;
        for (int i = 0; i < p.points.size(); ++i) {
            int others = 0;
            for (int k = 0; k < p.points.size(); ++k)
                others += k != i && p.points[i].calcDistance(p.points[k]) <= radius;
            if (others >= least)
                expected.points.append(p.points[i]);
        }
        KvProfile filtered = p;
        filtered.removeNoisyPoints(radius, least);
        EXPECT_THAT(filtered, HasPointsOf(expected));
    }
}
