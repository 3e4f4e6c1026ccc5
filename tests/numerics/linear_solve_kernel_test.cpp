#include <kvmath/numerics/linear_solve_p.h>

#include <gmock/gmock.h>

#include <vector>

namespace {

using namespace KvMath::Internal;
using testing::ElementsAreArray;

// The pivot is the largest element in units of its row, the last of equals; a row keeps its unit when it
// moves.
TEST(DecomposeLu, ChoosesRowsByTheirOwnScale) {
    const struct {
        std::vector<double> matrix;
        std::vector<int> rows;
    } cases[] = {{{3, 6, 2, 2}, {1, 1}},
                 {{2, 2, 3, 6}, {0, 1}},
                 {{1, 2, 2, 4.5}, {0, 1}},
                 {{1, 2, 2, 4}, {1, 1}},
                 {{0, 1, 100, 0, 3, 5, 1, 1, 1}, {2, 1, 2}},
                 {{1, 100, 9, 0, 3, 8, 2, 1, 1}, {2, 2, 2}}};
    for (const auto& c : cases) {
        const auto n = c.rows.size();
        std::vector<double> lu = c.matrix;
        std::vector<double> scale(n);
        std::vector<int> rows(n);
        ASSERT_TRUE(decomposeLu(lu.data(), int(n), rows.data(), scale.data()));
        EXPECT_THAT(rows, ElementsAreArray(c.rows)) << c.matrix[0];
        std::vector<double> b(n, 1.0);
        solveLu(lu.data(), int(n), rows.data(), b.data());
        for (std::size_t r = 0; r < n && lu.back() != 1e-20; ++r) {
            double sum = 0.0;
            for (std::size_t k = 0; k < n; ++k)
                sum += c.matrix[r * n + k] * b[k];
            EXPECT_NEAR(sum, 1.0, 1e-13);
        }
    }
    double singular[] = {1, 1, 1, 1};
    double scale[2];
    int rows[2];
    EXPECT_TRUE(decomposeLu(singular, 2, rows, scale));
    EXPECT_EQ(singular[3], 1e-20);
    double zeroRow[] = {1, 1, 0, 0};
    EXPECT_FALSE(decomposeLu(zeroRow, 2, rows, scale));
}

TEST(Eliminate, RefusesPivotsBelowTheLimit) {
    for (const double pivot : {1e-9, -1e-9, 0.99e-9, -0.99e-9}) {
        double b = 1.0;
        double a = pivot;
        EXPECT_EQ(eliminate(&a, &b, 1, 1e-9), pivot * pivot > 0.99e-18) << pivot;
    }
}

}  // namespace
