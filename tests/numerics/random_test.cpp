#include <kvmath/numerics/random.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

namespace {

TEST(Random, IsUniformInSteps) {
    srand(1);
    double sum = 0.0;
    for (int i = 0; i < 100'000; ++i) {
        const double u = KvMath::randu();
        ASSERT_TRUE(u >= 0.0 && u < 1.0 && u * 32768.0 == std::floor(u * 32768.0));
        sum += u;
    }
    EXPECT_NEAR(sum / 100'000, 0.5, 4 * std::sqrt(1.0 / 12 / 100'000));
}

TEST(Random, NormalIsTwelveDraws) {
    srand(2);
    double draws = 0.0;
    for (int i = 0; i < 12; ++i)
        draws += KvMath::randu();
    const double after = KvMath::randu();
    srand(2);
    EXPECT_EQ(KvMath::randn(), draws - 6.0);
    EXPECT_EQ(KvMath::randu(), after);
    double squares = 0.0;
    for (int i = 0; i < 20'000; ++i) {
        const double g = KvMath::randn();
        ASSERT_TRUE(g >= -6.0 && g < 6.0);
        squares += g * g;
    }
    EXPECT_NEAR(squares / 20'000, 1.0, 4 * std::sqrt(2.0 / 20'000));
}

}  // namespace
