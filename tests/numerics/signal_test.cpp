#include <kvmath/numerics/signal.h>

#include <tests/support/random_data.h>

#include <gmock/gmock.h>

#include <climits>
#include <cmath>

namespace {

using namespace KvMath;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(ConvoluteCyclicaly, SumsTheWindowInOrder) {
    TestSupport::Draws draws(3);
    for (int round = 0; round < 200; ++round) {
        const int n = draws.integer(1, 12);
        const int half = draws.integer(0, 30);
        std::vector<double> data;
        std::vector<double> weights;
        for (int i = 0; i < n; ++i)
            data.push_back(draws.normal(1.0));
        for (int i = 0; i <= 2 * half; ++i)
            weights.push_back(draws.normal(1.0));
        std::vector<double> expected;
        for (int i = 0; i < n; ++i) {
            double sum = 0.0;
            for (int j = -half; j <= half; ++j)
                sum += data[std::size_t(((i + j) % n + n) % n)] * weights[std::size_t(j + half)];
            expected.push_back(sum);
        }
        convoluteCyclicaly(data.data(), n, weights.data(), half);
        ASSERT_EQ(data, expected) << n << ' ' << half;
    }
    double pulse[] = {1, 0, 0, 0};
    convoluteCyclicaly(nullptr, 0, pulse, 1);
    convoluteCyclicaly(pulse, 4, nullptr, -1);
    EXPECT_EQ(pulse[0], 1.0);
}

TEST(Hist, TruncatesTowardsZero) {
    std::vector<double> values{-0.5, 0.2, 2.9, 3.0, -1.0};
    std::vector<double> centres;
    std::vector<int> counts;
    hist(values, 0.0, 1.0, 3, true, centres, counts);
    EXPECT_THAT(counts, ElementsAre(2, 0, 1));
    EXPECT_THAT(centres, ElementsAre(0.5, 1.5, 2.5));
    hist(values, -1.0, 0.5, 3, false, centres, counts);
    EXPECT_THAT(counts, ElementsAre(1, 1, 3));
    values = {NAN, INFINITY, -INFINITY, 1e300, -1e300};
    hist(values, 0.0, 1.0, 3, true, centres, counts);
    EXPECT_THAT(counts, ElementsAre(0, 0, 0));
    hist(values, NAN, 0.0, 2, true, centres, counts);
    hist(values, 0.0, 1.0, 2, false, values, counts);  // values become the centres
    EXPECT_THAT(values, ElementsAre(0.5, 1.5));
    EXPECT_THAT(counts, ElementsAre(3, 2));
    for (const int bins : {0, -1, INT_MIN, INT_MAX}) {
        hist({1.0}, 0.0, 1.0, bins, false, centres, counts);
        EXPECT_THAT(centres, IsEmpty());
        EXPECT_THAT(counts, IsEmpty());
    }
}

}  // namespace
