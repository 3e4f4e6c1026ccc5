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
        EXPECT_EQ(indices.isReversed(line), isReversed != 0);
        EXPECT_EQ(indices.code(line), isThere != 0 ? codes[line] : -1);
        const QList<LinePP> segments{{}, {}, {{1, 2}, {3, 4}}, {{5, 6}, {7, 8}}};
        LinePP taken({9, 9}, {9, 9});
        EXPECT_EQ(indices.getLine(segments, line, taken), isThere != 0);
        EXPECT_EQ(taken.p1.x, isThere == 0 ? 9 : isReversed != 0 ? 7 : 1);
        EXPECT_EQ(taken.p2.y, isThere == 0 ? 9 : isReversed != 0 ? 6 : 4);
        EXPECT_FALSE(indices.getLine(segments.mid(0, segment), line, taken)) << "segment beyond the list";
    }
    LinePP none;
    EXPECT_FALSE(indices.getLine({{{1, 2}, {3, 4}}}, 2, none)) << "not assigned";
    EXPECT_FALSE(indices.isAssigned(2));
    EXPECT_EQ(indices.code(2), -1);
    EXPECT_EQ(TSLinesIndecies(nullptr, 5).count() + TSLinesIndecies(codes, -5).count(), 0);
    for (const int* given : {codes, static_cast<const int*>(nullptr)}) {
        for (const int count : {3, 2, 0, -5}) {
            TSLinesIndecies set(codes, 3);
            set.setCodes(given, count);
            EXPECT_EQ(set.count(), given == nullptr ? 0 : std::max(count, 0)) << count;
        }
    }
}
