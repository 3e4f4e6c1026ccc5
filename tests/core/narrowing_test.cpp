// double(float(x)) rounds to float in whatever way the compiler arranges it; the build flags see to that.

#include <gtest/gtest.h>

namespace {

struct Pair {
    double x, y;
};

[[gnu::noinline]] Pair narrowed(Pair p) {
    return {static_cast<double>(static_cast<float>(p.x)), static_cast<double>(static_cast<float>(p.y))};
}

}  // namespace

TEST(Narrowing, APairSideBySideIsRoundedToFloat) {
    volatile double x = 0.1, y = 1e10 + 1;  // not known to the compiler
    const Pair pair = narrowed({x, y});
    EXPECT_EQ(pair.x, 0.1000000014901161193847656);
    EXPECT_EQ(pair.y, 1e10);
}
