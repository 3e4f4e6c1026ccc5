#include <kvmath/contours/edge_points.h>
#include <kvmath/contours/segments_p.h>
#include <kvmath/profile/profile_zset.h>

#include <tests/support/random_data.h>

#include <gmock/gmock.h>

#include <cstring>

namespace {

using namespace KvMath;
using Internal::getSegments;
using testing::ElementsAre;
using TestSupport::Draws;

KvProfile along(std::initializer_list<float> ys) {
    KvProfile profile;
    for (float y : ys)
        profile.points.append(KvPointXY(0, y));
    return profile;
}

TEST(Segments, SplitAtRisesAndDropShortRuns) {
    const KvProfile gap = along({0, 1, 2, 10, 11});
    EXPECT_THAT(getSegments(gap, 5, 0.5), ElementsAre(0, 2, 3, 4));
    EXPECT_THAT(getSegments(gap, 5, 1.5), ElementsAre(0, 2));
    EXPECT_THAT(getSegments(gap, 5, 1.0), ElementsAre(0, 2));        // of exactly that length: dropped
    EXPECT_THAT(getSegments(gap, 8, 0.5), ElementsAre(0, 2, 3, 4));  // a rise of exactly Lmax splits
    EXPECT_THAT(getSegments(gap, 8.001, 0.5), ElementsAre(0, 4));
    EXPECT_THAT(getSegments(along({11, 10, 2, 1}), 5, 0.5), ElementsAre(0, 3));  // a fall never does
    EXPECT_THAT(getSegments(along({0, 1, TestSupport::kNaN, 2, 3}), 5, 0.5), ElementsAre(0, 1, 3, 4));
    EXPECT_THAT(getSegments(along({0, 9, 18}), 5, -1), ElementsAre(0, 0, 1, 1));  // the last one is no run
    EXPECT_TRUE(getSegments(along({7}), 5, -1).isEmpty());
    // Single precision: 0.1f - 0 is above 0.1, and so splits.
    EXPECT_THAT(getSegments(along({0, 0.1F, 0.1F}), 0.1, -1), ElementsAre(0, 0, 1, 2));
}

QList<int> literalSegments(const KvProfile& p, double Lmax, double Lmin) {
    QList<int> list;
    const int size = p.points.size();
    if (size < 2)
        return list;
    for (int i = 1; i < size; ++i) {
        const int start = i - 1;
        list.append(start);
        while (i < size && Lmax > double(p.points.at(i).y - p.points.at(i - 1).y))
            ++i;
        const int end = i - 1;
        if (std::fabs(double(p.points.at(end).y - p.points.at(start).y)) > Lmin)
            list.append(end);
        else
            list.removeLast();
    }
    return list;
}

bool isCovered(const KvProfile& p, const QList<int>& segments, float v) {
    for (int k = 0; k < segments.size(); k += 2)
        if (p.points.at(segments.at(k)).y < v && v < p.points.at(segments.at(k + 1)).y)
            return true;
    return false;
}

QList<KvVector2D<double>> literalEdges(KvProfileZSet stack, double Lmax, double Lmin) {
    stack.profiles.prepend(KvProfileZ());
    stack.append(KvProfileZ());
    QList<QList<int>> segments;
    for (const KvProfileZ& profile : stack.profiles)
        segments.append(literalSegments(profile, Lmax, Lmin));
    QList<KvVector2D<double>> edges;
    for (int i = 1; i + 1 < stack.size(); ++i) {
        const auto& points = stack.at(i).points;
        const auto add = [&](int j) { edges.append({double(points.at(j).x), double(points.at(j).y)}); };
        for (int k = 0; k < segments.at(i).size(); k += 2) {
            const int s = segments.at(i).at(k), e = segments.at(i).at(k + 1);
            add(s);
            for (int j = s + 1; j < e; ++j)
                if (!(isCovered(stack.at(i - 1), segments.at(i - 1), points.at(j).y) &&
                      isCovered(stack.at(i + 1), segments.at(i + 1), points.at(j).y)))
                    add(j);
            add(e);
        }
    }
    return edges;
}

TEST(EdgePoints, AreTheLiteralOnesOnAnyStack) {
    Draws draws(81);
    int covered = 0;
    for (int run = 0; run < 1500; ++run) {
        KvProfileZSet stack;
        int points = 0;
        for (int i = draws.integer(0, 6); i > 0; --i) {
            KvProfileZ profile;
            float y = -5;
            for (int j = draws.integer(0, 40); j > 0; --j, ++points) {
                y = draws.chance(0.1) ? draws.coordinate(6, 0.5F, 0.2)
                                      : y + 0.5F * float(draws.integer(0, 2));
                profile.points.append(KvPointXY(float(i), draws.chance(0.01) ? -HUGE_VALF : y));
            }
            stack.append(profile);
        }
        const double odd[] = {0, -1, NAN, HUGE_VAL, -HUGE_VAL};
        const double Lmax = draws.chance(0.1) ? odd[draws.integer(0, 4)] : 0.5 * draws.integer(1, 5);
        const double Lmin = draws.chance(0.1) ? odd[draws.integer(0, 4)] : 0.5 * draws.integer(-1, 4);
        QList<KvVector2D<double>> edges{{1, 2}};
        ASSERT_TRUE(getEdgePoints(stack, Lmax, Lmin, edges));
        const auto literal = literalEdges(stack, Lmax, Lmin);
        ASSERT_EQ(edges.size(), 1 + literal.size());  // appended
        for (int i = 0; i < literal.size(); ++i)
            ASSERT_TRUE(std::memcmp(&edges.at(i + 1), &literal.at(i), sizeof literal.at(i)) == 0) << run;
        covered += literal.size() < points ? 1 : 0;
    }
    EXPECT_GT(covered, 500);
}

}  // namespace
