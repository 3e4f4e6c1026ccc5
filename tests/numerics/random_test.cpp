#include <kvmath/numerics/random.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

namespace {

TEST(Random, TakesTheUpperBitsOfTheRuntimesDraw) {
    for (unsigned seed = 1; seed < 1000; ++seed) {
        srand(seed);
        const double u = KvMath::randu();
        srand(seed);
        ASSERT_EQ(u, std::floor(rand() / (RAND_MAX + 1.0) * 32768.0) / 32768.0);
    }
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
}

}  // namespace
