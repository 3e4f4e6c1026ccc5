#include <kvmath/numerics/random.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

namespace {

TEST(Random, TakesTheUpperBitsOfTheRuntimesDraw) {
    for (unsigned seed = 1; seed < 1000; ++seed) {
        srand(seed);
        double draws = 0.0;
        for (int i = 0; i < 12; ++i)
            draws += std::floor(rand() / (RAND_MAX + 1.0) * 32768.0) / 32768.0;
        const double after = std::floor(rand() / (RAND_MAX + 1.0) * 32768.0) / 32768.0;
        srand(seed);
        ASSERT_EQ(KvMath::randn(), draws - 6.0);
        ASSERT_EQ(KvMath::randu(), after);
    }
}

}  // namespace
