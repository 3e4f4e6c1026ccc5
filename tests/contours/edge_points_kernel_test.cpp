#include <kvmath/contours/edge_points.h>
#include <kvmath/contours/segments_p.h>
#include <kvmath/profile/profile_zset.h>

#include <tests/support/random_data.h>

#include <gmock/gmock.h>

#include <cstring>

namespace {

using namespace KvMath;
using testing::ElementsAre;
using TestSupport::Draws;

TEST(Segments, SplitAtRisesAndDropShortRuns) {
    const auto segments = [](std::initializer_list<float> ys, double Lmax, double Lmin) {
        KvProfile profile;
        for (float y : ys)
            profile.points.append(KvPointXY(0, y));
        return Internal::getSegments(profile, Lmax, Lmin);
    };
    // A rise of exactly Lmax splits; a run of exactly Lmin is dropped; a fall never splits.
    EXPECT_THAT(segments({0, 1, 2, 10, 11}, 8, 0.5), ElementsAre(0, 2, 3, 4));
    EXPECT_THAT(segments({0, 1, 2, 10, 11}, 5, 1), ElementsAre(0, 2));
    EXPECT_THAT(segments({11, 10, 2, 1}, 5, 0.5), ElementsAre(0, 3));
    EXPECT_THAT(segments({0, 0.1F, 0.1F}, 0.1, -1), ElementsAre(0, 0, 1, 2));  // Lmax is not narrowed
    // Differences are taken in single precision: this one is rounded to 2^24.
    EXPECT_THAT(segments({-1, 16777216, 16777216}, 16777217, -1), ElementsAre(0, 2));
}

QList<int> literalSegments(const KvProfile& p, double Lmax, double Lmin) {
    QList<int> list;
    const auto rise = [&p](int from, int to) { return double(p.points.at(to).y - p.points.at(from).y); };
    for (int i = 1, size = static_cast<int>(p.points.size()); i < size; ++i) {
        const int start = i - 1;
        while (i < size && Lmax > rise(i - 1, i))
            ++i;
        if (std::fabs(rise(start, i - 1)) > Lmin)
            list << start << i - 1;
    }
    return list;
}

/// Of profile i; covered by both neighbours is no edge.
QList<KvVector2D<double>> literalEdges(const KvProfileZSet& stack, int i, double Lmax, double Lmin) {
    const auto isCovered = [&](int neighbour, float v) {
        const KvProfile p = stack.profiles.value(neighbour);  // empty outside
        const QList<int> segments = literalSegments(p, Lmax, Lmin);
        for (int k = 0; k < segments.size(); k += 2)
            if (p.points.at(segments.at(k)).y < v && v < p.points.at(segments.at(k + 1)).y)
                return true;
        return false;
    };
    QList<KvVector2D<double>> edges;
    const QList<int> segments = literalSegments(stack.at(i), Lmax, Lmin);
    for (int k = 0; k < segments.size(); ++k)
        for (int j = segments.at(k), end = segments.at(k / 2 * 2 + 1); j <= end; ++j) {
            const auto [x, y] = stack.at(i).points.at(j);
            if (j == segments.at(k) || (j < end && !(isCovered(i - 1, y) && isCovered(i + 1, y))))
                edges.append({double(x), double(y)});
        }
    return edges;
}

TEST(EdgePoints, AreTheLiteralOnesOnAnyStack) {
    Draws draws(81);
    for (int run = 0; run < 1500; ++run) {
        KvProfileZSet stack;
        for (int i = draws.integer(0, 6); i > 0; --i) {
            KvProfileZ profile;
            float y = -5;
            for (int j = draws.integer(0, 40); j > 0; --j) {
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
        QList<KvVector2D<double>> literal;
        for (int i = 0; i < stack.size(); ++i)
            literal += literalEdges(stack, i, Lmax, Lmin);
        ASSERT_EQ(edges.size(), 1 + literal.size());  // appended
        for (int i = 0; i < literal.size(); ++i)
            ASSERT_TRUE(std::memcmp(&edges.at(i + 1), &literal.at(i), sizeof literal.at(i)) == 0) << run;
    }
}

}  // namespace
