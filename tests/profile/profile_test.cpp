#include "profile_support.h"

#include <kvmath/core/circle.h>
#include <kvmath/core/line.h>

#include <tests/support/scratch_directory.h>

TEST(ProfileBuffer, AppendsInterleavedPointsAndMayLieInTheProfile) {
    const float buffer[] = {1, 10, 2, 20, 3, 30};
    KvProfile profile(buffer, 3);
    profile.copyFromXYPointsBuffer(nullptr, 5);
    profile.copyFromXYPointsBuffer(buffer, 0);
    EXPECT_THAT(profile, PointsAre({{1, 10}, {2, 20}, {3, 30}}));
    EXPECT_TRUE(std::isnan(profile.minX));
    profile.copyFromXYPointsBuffer(&profile.points.first().x, 1);
    EXPECT_THAT(profile, PointsAre({{1, 10}, {2, 20}, {3, 30}, {1, 10}}));
}

TEST(ProfileRange, FirstOfEqualExtremesWinsAndNaNAtPointZeroSticks) {
    float e[4] = {};
    int at[4] = {};
    const KvProfile ties = profileOf({{2, 5}, {1, 7}, {3, 7}, {1, 5}, {3, 6}, {kNaN, kNaN}});
    ASSERT_TRUE(ties.calcRange(&e[0], &e[1], &e[2], &e[3], at));
    EXPECT_THAT(e, testing::ElementsAre(1, 5, 3, 7));  // min x, min y, max x, max y
    EXPECT_THAT(at, testing::ElementsAre(1, 2, 0, 1));
    ASSERT_TRUE(profileOf({{kNaN, 1}, {5, 2}}).calcRange(&e[0], nullptr, &e[2], nullptr, nullptr));
    EXPECT_TRUE(std::isnan(e[0]) && std::isnan(e[2]));
    KvProfile profile = profileOf({{kNaN, 1}, {5, 2}});
    EXPECT_TRUE(profile.calcRange() && profile.minX == 5);
    EXPECT_TRUE(profile.calcCenterX() == 5 && profile.calcCenterY() == 1.5F);
}

TEST(ProfileRange, RectangleHasItsTopAtTheGreaterYAndStaysForAnEmptyProfile) {
    QRectF rect(7.3, 1e17, 3.1, 1e-9);  // a used one leaves nothing behind
    const KvProfile profile = profileOf({{0, 0}, {2, 3}});
    ASSERT_TRUE(profile.calcRange(rect, nullptr));
    EXPECT_EQ(KvProfile(profile).trim(rect), 2) << "no y lies between top and bottom";
    KvProfile empty;
    EXPECT_FALSE(empty.calcRange() || empty.calcRange(rect, nullptr));
    EXPECT_EQ(rect, QRectF(0, 3, 2, -3));
    EXPECT_TRUE(std::isnan(empty.calcCenterX()) && std::isnan(empty.calcCenterY()));
}

TEST(ProfileSearch, NearestToXAnswersInOwnOrder) {
    const KvProfile p = profileOf({{1, 0}, {4, 1}, {6, 2}, {9, 3}});
    EXPECT_TRUE(p.findNearestToX(5, false) == 2 && p.findNearestToX(5, true) == 1);
    EXPECT_TRUE(p.findNearestToX(10, false) == -1 && p.findNearestToX(0.5F, true) == -1 &&
                p.findNearestToX(2, true) == 0);
    const KvProfile mixed = profileOf({{9, 0}, {kNaN, 0}, {4, 1}, {6, 2}, {1, 3}});
    EXPECT_TRUE(mixed.findNearestToX(5, false) == 0 && mixed.findNearestToX(5, true) == 4);
    KvPointXY found(7, 7);
    EXPECT_TRUE(!p.findNearestToX(kNaN, found, false) && found.x == 7);
    EXPECT_TRUE(p.findNearestToX(4, found, true) && found.y == 1);
}

TEST(ProfileSearch, ZerosAreStrictChangesOfSign) {
    float x[8] = {};
    EXPECT_EQ(profileOf({{1, -1}, {2, 0}, {3, 1}}).findZeros(x), 0);
    EXPECT_EQ(profileOf({{1, -1}, {2, 1}, {3, kNaN}, {4, -1}, {5, 2}}).findZeros(x), 2);
    EXPECT_TRUE(x[0] == 2 && x[1] == 5);
    EXPECT_EQ(profileOf({{1, -1}, {2, 1}}).findZeros(nullptr), 1);
    EXPECT_EQ(profileOf({{1, -1}}).findZeros(x), 0);
}

TEST(ProfileSearch, HeightAtXFollowsPairAndTolerance) {
    const KvProfile p = profileOf({{0, 0}, {2, 4}, {3, 5}, {3, 7}, {9, 1}});
    const struct {
        float x, tolerance, y;
        int index;  // -9: not written
    } cases[] = {{1, 2, 2, 0},          {1, 1.9F, kNaN, 0}, {2, 0, 4, -9},       {-1, 2, -2, -1},
                 {-2.1F, 2, kNaN, -1},  {10, 6, 0, 4},      {10, 5.9F, kNaN, 4}, {2.5F, 1, 4.5F, 1},
                 {2.5F, kNaN, kNaN, 1}, {3, kNaN, 5, -9},   {6, 6, 4, 3},        {kNaN, 99, kNaN, 4}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "x " << c.x << " tolerance " << c.tolerance);
        int index = -9;
        const float y = p.calcY(c.x, c.tolerance, &index);
        EXPECT_TRUE(y == c.y || (std::isnan(y) && std::isnan(c.y))) << y;
        EXPECT_EQ(index, c.index);
    }
    EXPECT_EQ(profileOf({{1, 3}}).calcY(2, 1, nullptr), 3);
    EXPECT_TRUE(std::isnan(profileOf({{1, 3}}).calcY(2, 0.9F, nullptr)));
    EXPECT_TRUE(std::isnan(KvProfile().calcY(2, 1, nullptr)));
    EXPECT_EQ(profileOf({{0, 0}, {3, 5}, {3, 7}}).calcY(4, 1, nullptr), 6) << "mean of a pair of equal x";
    EXPECT_TRUE(std::isnan(profileOf({{0, 0}, {3, 5}, {3, 7}}).calcY(4, 0.9F, nullptr)));
}

TEST(ProfileOrder, SortAndDuplicatesEqualTheirLiteralForms) {
    Draws draws(2101);
    for (int round = 0; round < 300; ++round) {
        const KvProfile profile = randomProfile(draws, draws.integer(0, 60), 0.1, draws.real(0, 1));
        KvProfile sorted = profile;
        KvProfile expected = profile;
        const KvSortOrder order = draws.chance(0.5) ? KvSortAscending : KvSortNone;
        sorted.sortByY(order);
        bubbleSort(expected.points, 0, static_cast<int>(expected.points.size()), yOf,
                   order == KvSortAscending);
        EXPECT_THAT(sorted, HasPointsOf(expected));

        KvProfile unique = profile;
        expected = profile;
        for (int i = 0; i < expected.points.size(); ++i) {
            for (int k = static_cast<int>(expected.points.size()) - 1; k > i; --k) {
                if (expected.points[k].x == expected.points[i].x)
                    expected.points.removeAt(k);
            }
        }
        EXPECT_EQ(unique.removeDuplicates(), profile.points.size() - expected.points.size());
        EXPECT_THAT(unique, HasPointsOf(expected));
    }
    KvProfile zeros = profileOf({{1, 0}, {-0.0F, 1}, {0.0F, 2}, {kNaN, 3}, {kNaN, 4}});
    EXPECT_EQ(zeros.removeDuplicates(), 1);
}

TEST(ProfileOrder, TrimShorthandsBoundOneAxis) {
    const KvProfile p = profileOf({{-1, -1}, {0, 0}, {1, 1}, {kNaN, kNaN}});
    EXPECT_TRUE(KvProfile(p).trimLower(0) == 1 && KvProfile(p).trimUpper(-1) == 2);
    EXPECT_TRUE(KvProfile(p).trimX(0, 0) == 2 && KvProfile(p).trimY(0, 1) == 1);
    EXPECT_EQ(KvProfile(p).trim(QRectF(-1, -1, 1, 2)), 1);
}

TEST(ProfileOrder, ResamplingSortsAndLeavesOutTheEnd) {
    KvProfile p = profileOf({{4, 8}, {0, 0}, {2, 4}, {0, 9}, {1, 2}, {3, 6}});
    KvProfile refused = p;
    EXPECT_EQ(refused.interpolate(0, kNaN, kNaN, KvInterpolantAkima), 0);
    EXPECT_THAT(refused, PointsAre({{0, 0}, {1, 2}, {2, 4}, {3, 6}, {4, 8}}));
    EXPECT_EQ(p.interpolate(0.5F, kNaN, 2.5F, KvInterpolantAkima), 5);
    EXPECT_THAT(p, PointsAre({{0, 0}, {0.5F, 1}, {1, 2}, {1.5F, 3}, {2, 4}}));
}

TEST(ProfilePolar, AnglesAreInZeroTo360AndComeBack) {
    KvProfile p = profileOf({{0, 0}, {0, 2}, {0, -2}, {-2, 0}, {2, 0}, {1, -1e-30F}, {kNaN, 1}});
    p.toPolar();
    EXPECT_THAT(p, PointsAre({{0, 0}, {2, 90}, {2, 270}, {2, 180}, {2, 0}, {1, 0}, {kNaN, kNaN}}));
    Draws draws(2102);
    for (int i = 0; i < 20000; ++i) {
        const KvPointXY from(float(draws.real(-700, 700)), float(draws.real(-700, 700)));
        KvProfile one = profileOf({{from.x, from.y}});
        one.toPolar();
        ASSERT_TRUE(one.points[0].y >= 0 && one.points[0].y < 360);
        one.toEvklid();
        ASSERT_LT(from.calcDistance(one.points[0]), 0.002);
    }
}

TEST(ProfilePolar, RotationsAreCounterClockwise) {
    KvProfile p = profileOf({{3, 1}, {1, 1}});
    KvProfile polar = p;
    p.rotateFixed(90, p.points[1]);  // about an own point
    EXPECT_LE(p.points[1].calcDistance(KvPointXY(1, 1)), 1e-6F);
    EXPECT_LE(p.points[0].calcDistance(KvPointXY(1, 3)), 1e-6F);
    polar.rotatePolar(720);
    EXPECT_EQ(polar.points[0].y, 721);
    polar.rotatePolar(kNaN);
    EXPECT_TRUE(std::isnan(polar.points[0].y) && polar.points[0].x == 3);
}

TEST(ProfileFit, SlopesCorrelationAndLines) {
    const KvProfile slopes = profileOf({{0, 1}, {2, 5}, {2, 6}, {3, 6}}).derivative();
    EXPECT_THAT(slopes, PointsAre({{0, 2}, {2, INFINITY}, {2, 0}}));
    EXPECT_TRUE(profileOf({{1, 1}}).derivative().points.isEmpty() &&
                KvProfile().derivative().points.isEmpty());
    const KvProfile line = profileOf({{0, 1}, {1, 3}, {2, 5}});
    EXPECT_FLOAT_EQ(line.calcCorrelation(), 1.0F);
    EXPECT_FLOAT_EQ(profileOf({{0, 1}, {1, 0}, {2, 0}, {3, 1}}).calcCorrelation(), 0.0F);
    EXPECT_TRUE(std::isnan(profileOf({{0, 1}, {1, 1}}).calcCorrelation()) &&
                std::isnan(KvProfile().calcCorrelation()));
    // Products in single precision: the squares and the product of these rounds away the variance of x.
    EXPECT_FLOAT_EQ(profileOf({{4097.75F, 4097.75F}, {4097.75F, 4098.75F}}).calcCorrelation(),
                    0.0625F / 0.9375F);
    KvLine slope;
    KvCircle circle;
    float error = -1;
    LineABC fitted;
    line.fitByLine(fitted);
    EXPECT_TRUE(line.calcLine(slope) && profileOf({{1, 0}, {0, 1}, {-1, 0}}).calcCircle(circle, &error));
    const double values[] = {double(slope.k), -fitted.a / fitted.b, double(circle.radius), double(error)};
    EXPECT_THAT(values, testing::Pointwise(testing::DoubleNear(1e-6), {2, 2, 1, 0}));
    KvProfile().fitByLine(fitted);
    EXPECT_TRUE(std::isnan(fitted.a));
}

TEST(ProfileDistance, WholeBlocksTakeTheirAbsoluteMean) {
    const KvProfile a = profileOf({{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 5}});
    const KvProfile b = profileOf({{0, 4}, {1, 5}, {2, 1}, {3, 2}, {4, 9}, {5, 9}});
    KvProfile dest = profileOf({{10, 0}, {11, 0}, {12, 0}, {13, 0}, {14, 0}, {15, 7}});
    a.calcDistance(b, dest, 2, 99, /*truncate=*/false);
    a.calcDistance(b, dest, 0, 5, /*truncate=*/true);  // nothing
    KvProfile().calcDistance(b, dest, 2, 5, /*truncate=*/true);
    EXPECT_THAT(dest, PointsAre({{10, 3}, {11, 3}, {12, 2}, {13, 2}, {14, -4}, {15, 7}}));
    a.calcDistance(dest, dest, INT_MAX, 1, /*truncate=*/true);
    EXPECT_THAT(dest, PointsAre({{10, -2}}));
    KvProfile even = profileOf({{0, 0}, {1, 0}});
    a.calcDistance(b, even, 2, 2, /*truncate=*/false);
    EXPECT_THAT(even, PointsAre({{0, 3}, {1, 3}})) << "the last block ends with the points";
}

struct ProfileText : testing::Test {
    static QString path(const QByteArray& content) { return ScratchDirectory::write("p.csv", content); }
    const ScratchDirectory scratch;
};

TEST_F(ProfileText, WritesDecimalCommasSixDigitsAndBareLineFeeds) {
    const KvProfile p = profileOf({{1.5F, -0.25F}, {1234567, 100000}, {1.0F / 3, 1e-7F}, {kNaN, -INFINITY}});
    ASSERT_TRUE(p.writeToCSVFile("w.csv"));
    EXPECT_EQ(scratch.read("w.csv"), "1,5;-0,25\n1,23457e+06;100000\n0,333333;1e-07\nnan;-inf\n");
    EXPECT_FALSE(p.writeToCSVFile(".")) << "a directory";
    KvProfile back;
    EXPECT_EQ(back.readFromCSVFile("w.csv", 0, 1), 4);
    EXPECT_THAT(back, PointsAre({{1.5F, -0.25F}, {1234570, 100000}, {0.333333F, 1e-7F}, {kNaN, -INFINITY}}));
}

TEST_F(ProfileText, ReadsColumnsUpToTheFirstEmptyLine) {
    KvProfile p = profileOf({{9, 9}});
    EXPECT_EQ(p.readFromCSVFile(path("a;1;2,5\r\nshort;1\n;3;\nb;4.5; x\n5;6;7;\n\n8;9;10\n"), 2, 1), 4);
    EXPECT_THAT(p, PointsAre({{2.5F, 1}, {0, 3}, {0, 4.5F}, {7, 6}}));
    EXPECT_EQ(p.readFromCSVFile(path("1;2\n\r\n3;4\n"), 0, 1), 1) << "a lone CR is an empty line";
    EXPECT_EQ(p.readFromCSVFile(path("1;2\n3;4"), 0, 0), 2);
    EXPECT_EQ(p.readFromCSVFile(path("1;2\n3;4"), -1, 0) + p.readFromCSVFile(path("1;2\n3;4"), 0, INT_MAX) +
                  p.readFromCSVFile(path("\n1;2\n"), 0, 1),
              0);
}

TEST_F(ProfileText, SurvivesFilesThatAreNoProfiles) {
    KvProfile p;
    const QByteArray endless(5 << 20, '7');
    EXPECT_EQ(p.readFromCSVFile(path("1;2\n" + endless + ";1\n3;4\n"), 0, 1), 1);  // ends there
    Draws draws(2103);
    QByteArray garbage;
    for (int i = 0; i < 100000; ++i)
        garbage.append(static_cast<char>(draws.integer(0, 255)));
    EXPECT_LE(p.readFromCSVFile(path(garbage), 0, 0), 100000);
}

TEST_F(ProfileText, FileThatCannotBeOpenedLogsAndKeepsTheProfile) {
    static QString logged;
    const auto before = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString& text) { logged = text; });
    KvProfile p = profileOf({{1, 2}, {3, 4}});
    EXPECT_EQ(p.readFromCSVFile("none.csv", 0, 1), 2);
    qInstallMessageHandler(before);
    EXPECT_TRUE(logged.contains("No such file")) << logged.toStdString();
    EXPECT_THAT(p, PointsAre({{1, 2}, {3, 4}}));
}
