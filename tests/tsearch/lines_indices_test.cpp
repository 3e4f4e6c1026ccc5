#include <kvmath/tsearch/lines_indices.h>

#include <tests/support/prelude.h>

TEST(LinesIndecies, DecodesSegmentAndOrientationAndIsFalseAndZeroOutside) {
    const int codes[] = {7, 4, -1};
    const TSLinesIndecies indices(codes, 3);
    const int rows[][4] = {{0, 3, 1, 1}, {1, 2, 0, 1},       {-1, 0, 0, 0},
                           {3, 0, 0, 0}, {INT_MAX, 0, 0, 0}, {INT_MIN, 0, 0, 0}};
    for (const auto& [line, segment, isReversed, isThere] : rows) {
        int found = 9;
        bool reversed = isReversed == 0;
        EXPECT_EQ(indices.getLineIndex(line, found) + indices.getLineOrientation(line, reversed),
                  2 * isThere);
        EXPECT_TRUE(found == segment && reversed == (isReversed != 0)) << line;
        EXPECT_EQ(indices.isAssigned(line), isThere != 0);
    }
    EXPECT_FALSE(indices.isAssigned(2));
    EXPECT_EQ(TSLinesIndecies(nullptr, 5).count() + TSLinesIndecies(codes, -5).count(), 0);
}
