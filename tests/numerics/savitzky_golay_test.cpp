#include <kvmath/numerics/savitzky_golay.h>

#include <gmock/gmock.h>

#include <climits>
#include <cmath>
#include <vector>

namespace {

using KvMath::SavitzkyGolay1dCoefficients;

// Tables of A. Savitzky, M. J. E. Golay, Anal. Chem. 36 (1964), with the corrections of J. Steinier et al.,
// Anal. Chem. 44 (1972). Up to degree 4 over 9 points the scaled normal matrix has a condition below 1e3: 13
// digits.
TEST(SavitzkyGolay, MeetsThePublishedTables) {
    const struct {
        int order, half, derivative;
        double divisor;
        std::vector<double> table;
    } cases[] = {{2, 2, 0, 35, {-3, 12, 17, 12, -3}},
                 {2, 4, 0, 231, {-21, 14, 39, 54, 59, 54, 39, 14, -21}},
                 {4, 4, 0, 429, {15, -55, 30, 135, 179, 135, 30, -55, 15}},
                 {2, 2, 1, 10, {-2, -1, 0, 1, 2}},
                 {3, 2, 1, 12, {1, -8, 0, 8, -1}},
                 {2, 2, 2, 14, {2, -1, -2, -1, 2}},  // second derivative / 2!
                 {0, 1, 0, 3, {1, 1, 1}},
                 {0, 0, 0, 1, {1}}};
    for (const auto& c : cases) {
        std::vector<double> coeffs(c.table.size());
        ASSERT_TRUE(SavitzkyGolay1dCoefficients(coeffs.data(), c.order, c.half, c.derivative));
        for (std::size_t i = 0; i < coeffs.size(); ++i)
            EXPECT_NEAR(coeffs[i], c.table[i] / c.divisor, 1e-13) << c.order << ' ' << c.half << ' ' << i;
    }
}

TEST(SavitzkyGolay, RefusesWhatDoesNotFitTogether) {
    const int refused[][3] = {
        {2, -1, 0}, {2, 2, 3},    {5, 2, 0}, {-1, 2, 0},     {-1, 2, -1},
        {2, 2, -1}, {1024, 9, 0}, {1, 0, 0}, {1024, 600, 0}, {INT_MAX, INT_MAX, INT_MAX}};
    double untouched = 7.0;
    for (const auto& c : refused)
        EXPECT_FALSE(SavitzkyGolay1dCoefficients(&untouched, c[0], c[1], c[2])) << c[0] << ' ' << c[1];
    EXPECT_EQ(untouched, 7.0);
}

}  // namespace
