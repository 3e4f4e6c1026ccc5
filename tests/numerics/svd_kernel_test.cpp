#include <kvmath/numerics/svd_p.h>

#include <tests/numerics/literal_svd.h>
#include <tests/support/random_data.h>

#include <gtest/gtest.h>

namespace {

using KvMath::Internal::pythag;

TEST(Pythag, RoundsTheRatioToSinglePrecision) {
    EXPECT_NE(pythag(1.0, 0.1), std::hypot(1.0, 0.1));
    EXPECT_EQ(pythag(1.0, 1e-46), 1.0);  // the ratio underflows
    EXPECT_EQ(pythag(0.0, 0.0), 0.0);
    EXPECT_EQ(pythag(0.0, -7.0), 7.0);
    TestSupport::Draws draws(1);
    for (int i = 0; i < 10'000; ++i) {
        const double a = draws.normal(std::pow(10.0, draws.integer(-300, 300)));
        const double b = a * draws.normal(2.0);
        ASSERT_EQ(pythag(a, b), TestSupport::literalPythag(a, b));
        ASSERT_NEAR(pythag(a, b) / std::hypot(a, b), 1.0, 4.5e-8);
    }
}

}  // namespace
