#include <kvmath/tsearch/lines_indices.h>

#include <tests/support/prelude.h>

TEST(LinesIndecies, DecodesSegmentAndOrientation) {
    const int codes[] = {7, 4, -1};
    const TSLinesIndecies indices(codes, 3);
    int segment = 9;
    bool reversed = false;
    EXPECT_TRUE(indices.getLineIndex(0, segment) && indices.getLineOrientation(0, reversed));
    EXPECT_TRUE(segment == 3 && reversed);
    EXPECT_TRUE(indices.getLineIndex(1, segment) && indices.getLineOrientation(1, reversed));
    EXPECT_TRUE(segment == 2 && !reversed);
    EXPECT_TRUE(indices.isAssigned(1) && !indices.isAssigned(2));
}

TEST(LinesIndecies, OutsideItIsFalseAndZero) {
    const int codes[] = {7};
    for (int line : {-1, 1, INT_MAX, INT_MIN}) {
        int segment = 9;
        bool reversed = true;
        const TSLinesIndecies indices(codes, 1);
        EXPECT_FALSE(indices.getLineIndex(line, segment) || indices.getLineOrientation(line, reversed) ||
                     indices.isAssigned(line) || segment != 0);
    }
    EXPECT_EQ(TSLinesIndecies(nullptr, 5).count(), 0);
    EXPECT_EQ(TSLinesIndecies(codes, -5).count(), 0);
}
